#include "tests/server/server_test_util.h"

#include "automation/local_object.h"
#include "hosts/rose/model/objects.h"
#include "hosts/tavro/objects/objects.h"
#include "model/rose.h"
#include "platform/objects.h"
#include "server/server.h"

namespace server_test {

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::LocalObject;
using automation::ObjectRef;
using automation::Variant;

std::vector<std::string> ScriptedUi::Texts() const {
    std::vector<std::string> texts;
    for (const auto& box : boxes) texts.push_back(box.text);
    return texts;
}

std::shared_ptr<ScriptedUi> InstallScriptedUi(std::vector<platform::Answer> answers) {
    auto ui = std::make_shared<ScriptedUi>();
    ui->answers = std::move(answers);
    platform::Ui().messageBox = [ui](const platform::MessageBoxRequest& request) {
        ui->boxes.push_back(request);
        std::size_t n = ui->boxes.size();
        return n <= ui->answers.size() ? ui->answers[n - 1] : platform::Answer::Ok;
    };
    platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
    return ui;
}

void ResetServerLink() {
    server::ServerFactory = nullptr;
    server::ServerNamespace.clear();
    server::ServerClassTypes.Clear();
    platform::ResetUi();
    platform::ResetObjects();
    platform::ResetTavro();
}

namespace {

using Fn = automation::MemberFn;

Variant Answer(FakeServer::Answer answer, const char* what) {
    if (answer == FakeServer::Answer::Raises) throw AutomationError(std::string(what) + " failed");
    return answer == FakeServer::Answer::True;
}

ObjectRef NewFakeQuery(const std::shared_ptr<FakeQuery>& query) {
    auto obj = std::make_shared<LocalObject>(std::vector<std::string>{});
    auto row = std::make_shared<std::size_t>(0);
    obj->Define(0, "Execute", [query, row](CallKind, const Args&) -> Variant {
        ++query->executes;
        *row = 0;
        return {};
    });
    obj->Define(0, "Next", [query, row](CallKind, const Args&) -> Variant {
        if (*row >= query->rows.size()) return false;
        ++*row;
        return true;
    });
    obj->Define(0, "Close", [query](CallKind, const Args&) -> Variant {
        ++query->closes;
        return {};
    });
    obj->Define(0, "ColumnCount", [query](CallKind, const Args&) -> Variant {
        return static_cast<std::int32_t>(query->columns.size());
    });
    obj->Define(0, "ColumnName", [query](CallKind, const Args& args) -> Variant {
        return query->columns.at(static_cast<std::size_t>(args.at(0).ToInt32() - 1));
    });
    obj->Define(0, "ColumnValue", [query, row](CallKind, const Args& args) -> Variant {
        if (*row == 0) throw AutomationError("no current row");
        return query->rows.at(*row - 1).at(static_cast<std::size_t>(args.at(0).ToInt32() - 1));
    });
    return obj;
}

ObjectRef NewFakeUtilityHandle(const std::shared_ptr<FakeServer>& server) {
    auto obj = std::make_shared<LocalObject>(std::vector<std::string>{});
    obj->Define(0, "SupportFeature", [server](CallKind, const Args& args) -> Variant {
        if (args.at(0).ToString() != "Security") return false;
        return Answer(server->supportsSecurity, "SupportFeature");
    });
    obj->Define(0, "HasSecurityPermission", [server](CallKind, const Args&) -> Variant {
        ++server->permissionQuestions;
        return Answer(server->hasPermission, "HasSecurityPermission");
    });
    return obj;
}

ObjectRef NewFakeFactory(const std::shared_ptr<FakeServer>& server) {
    auto obj = std::make_shared<LocalObject>(std::vector<std::string>{});
    obj->Define(0, "PromptConnection", [server](CallKind, const Args& args) -> Variant {
        server->promptOptions.push_back(args.at(0).ToString());
        std::size_t n = static_cast<std::size_t>(server->prompts++);
        return n < server->connections.size() ? server->connections[n] : std::string();
    });
    obj->Define(0, "OpenConnection", [server](CallKind, const Args& args) -> Variant {
        server->openedWith.push_back(args.at(0).ToString());
        server->open = server->opens;
        return server->opens;
    });
    obj->Define(0, "ConnectionIsOpen",
                [server](CallKind, const Args&) -> Variant { return server->open; });
    obj->Define(0, "CloseConnection", [server](CallKind, const Args&) -> Variant {
        ++server->closes;
        server->open = false;
        return true;
    });
    obj->Define(0, "ClassHandle", [server](CallKind, const Args& args) -> Variant {
        if (args.at(0).ToString() != "%Dictionary.CorvansilUtility")
            throw AutomationError("no such class");
        return NewFakeUtilityHandle(server);
    });
    obj->Define(0, "OpenQuery", [server](CallKind, const Args& args) -> Variant {
        if (!server->query || args.at(0).ToString() != "%Dictionary.ClassDefinition" ||
            args.at(1).ToString() != "Summary") {
            throw AutomationError("no such query");
        }
        return NewFakeQuery(server->query);
    });
    return obj;
}

}  // namespace

void InstallFakeFactory(const std::shared_ptr<FakeServer>& server) {
    platform::Objects().createObject = [server](const std::string& progId) -> ObjectRef {
        if (progId != "TavroActiveX.Factory")
            throw AutomationError("ActiveX component can't create object");
        ++server->factories;
        return NewFakeFactory(server);
    };
}

void InstallTavroHost(const TavroData& data, platform::ConnectionChoice choice,
                      std::shared_ptr<int> prompts) {
    std::string dir = data.path();
    platform::Tavro().connectRoot = [dir](const std::string&) {
        return tavro::NewLoginObject(dir);
    };
    platform::Tavro().promptConnection = [choice, prompts](const std::string&) {
        if (prompts) ++*prompts;
        return choice;
    };
    platform::InstallTavroFactory();
}

void AttachRose(const std::shared_ptr<rosehost::Model>& model) {
    auto host = rosehost::NewHost(model);
    platform::Objects().getActiveObject = [host](const std::string&) {
        return rosehost::ApplicationObject(host);
    };
    if (!rose::ConnectToRose()) throw std::runtime_error("rose-host did not attach");
}

ObjectRef RoseClassObject(const rosehost::Class& cls) {
    return rose::ClassByUniqueKey(rose::ActiveModel(rose::RoseApp), cls.quid);
}

}  // namespace server_test
