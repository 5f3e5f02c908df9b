#include "rpc_test_support.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::LocalObject;
using automation::ObjectRef;
using automation::Variant;

namespace rpctest {

static std::shared_ptr<LocalObject> MakeClass(const std::string& name) {
    auto cls = std::make_shared<LocalObject>(std::vector<std::string>{kClassIid});
    cls->DefineValue(100, "Name", Variant(name));
    cls->DefineValue(412, "IsAbstract", Variant(false));
    cls->Define(0, "GetQualifiedName",
                [name](CallKind, const Args&) { return Variant("Logical View::" + name); });
    return cls;
}

static ObjectRef MakeCollection(std::vector<ObjectRef> items) {
    auto coll = std::make_shared<LocalObject>(std::vector<std::string>{kCollectionIid});
    coll->Define(202, "Count", [items](CallKind, const Args&) {
        return Variant(static_cast<std::int16_t>(items.size()));
    });
    coll->Define(203, "ItemAt", [items](CallKind, const Args& args) {
        if (args.size() != 1) throw AutomationError(std::string(automation::kErrBadArgCount));
        std::int32_t index = args[0].ToInt32();
        if (index < 1 || index > static_cast<std::int32_t>(items.size())) {
            throw AutomationError("Invalid procedure call or argument");
        }
        return Variant(items[static_cast<std::size_t>(index - 1)]);
    });
    coll->Define(204, "ContainsItem", [items](CallKind, const Args& args) {
        if (args.size() != 1) throw AutomationError(std::string(automation::kErrBadArgCount));
        ObjectRef wanted = args[0].ToObject();
        for (const ObjectRef& item : items) {
            if (item == wanted) return Variant(true);
        }
        return Variant(false);
    });
    return coll;
}

ObjectRef MakeApplication() {
    std::vector<ObjectRef> classes = {MakeClass("Person"), MakeClass("Order")};
    auto model = std::make_shared<LocalObject>(std::vector<std::string>{});
    model->DefineValue(100, "Name", Variant("Sample"));
    ObjectRef all = MakeCollection(classes);
    model->Define(432, "AllClasses", [all](CallKind, const Args&) { return Variant(all); });
    model->Define(12475, "ClassByUniqueKey", [classes](CallKind, const Args& args) {
        if (!args.empty() && args[0].ToString() == "KEY-PERSON") return Variant(classes[0]);
        return Variant(ObjectRef{});
    });

    auto app = std::make_shared<LocalObject>(std::vector<std::string>{kAppIid});
    app->Define(209, "ActiveModel", [model](CallKind, const Args&) { return Variant(model); });
    app->Define(0, "Echo", [](CallKind, const Args& args) {
        if (args.size() != 1) throw AutomationError(std::string(automation::kErrBadArgCount));
        return args[0];
    });
    app->Define(0, "Fail",
                [](CallKind, const Args&) -> Variant { throw std::runtime_error("disk full"); });
    return app;
}

int RawConnect(const std::string& address) {
    automation::rpc::detail::Address parsed;
    std::string error;
    if (!automation::rpc::detail::ParseAddress(address, parsed, error)) return -1;
    return automation::rpc::detail::ConnectSocket(parsed, std::chrono::seconds(10), error);
}

std::string ReadUntilClosed(int fd) {
    std::string got;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    char buf[4096];
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd p{fd, POLLIN, 0};
        poll(&p, 1, 100);
        ssize_t n = recv(fd, buf, sizeof buf, MSG_DONTWAIT);
        if (n == 0) return got;
        if (n > 0) got.append(buf, static_cast<std::size_t>(n));
        if (n < 0 && errno == ECONNRESET) return got;
    }
    return got + "<still open>";
}

std::string Describe(std::string bytes) {
    using automation::rpc::Message;
    using automation::rpc::MessageType;
    std::string text;
    while (!bytes.empty()) {
        Message m;
        auto result = automation::rpc::DecodeFrame(bytes, m);
        if (!result) return text + "undecodable: " + result.Description();
        bytes.erase(0, result.size);
        if (m.type == MessageType::Error) {
            text += "Error " + std::to_string(m.requestId) + ": " + m.text + "\n";
        } else {
            text += "Reply " + std::to_string(m.requestId) + "\n";
        }
    }
    return text;
}

}  // namespace rpctest
