#include "automation/rpc.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

#include "automation/automation.h"
#include "automation/rpc_frame.h"
#include "rpc_test_support.h"
#include "tests/support/support.h"

using automation::Args;
using automation::AutomationError;
using automation::ObjectRef;
using automation::Variant;
using automation::VariantType;
using automation::rpc::ClientOptions;
using automation::rpc::Connect;
using automation::rpc::ConnectionInfo;
using automation::rpc::Server;
using rpctest::ErrorOf;
using testsupport::TempDir;

namespace {

// "Type:value" or "error:description", so that a table can name both outcomes.
std::string Outcome(const std::function<Variant()>& fn) {
    try {
        Variant v = fn();
        switch (v.Type()) {
            case VariantType::Empty:
                return "Empty";
            case VariantType::Bool:
                return "Bool:" + v.ToString();
            case VariantType::Int16:
                return "Int16:" + v.ToString();
            case VariantType::Int32:
                return "Int32:" + v.ToString();
            case VariantType::String:
                return "String:" + v.ToString();
            case VariantType::Object:
                return v.AsObject() ? "Object" : "Object:nothing";
        }
    } catch (const std::exception& e) {
        return std::string("error:") + e.what();
    }
    return "?";
}

// A server on a thread of its own, serving one object model to every connection.
struct RunningServer {
    explicit RunningServer(const std::string& address,
                           automation::rpc::RootFactory factory = nullptr) {
        ObjectRef app = rpctest::MakeApplication();
        if (!factory) factory = [app](const ConnectionInfo&) { return app; };
        server = std::make_unique<Server>(std::move(factory));
        server->Listen(address);
        server->Start();
    }
    std::unique_ptr<Server> server;
};

std::string UnixAddress(const TempDir& dir) { return "unix:" + dir.path() + "/run/host.sock"; }

// Waits, boundedly, for something the server does after a connection has gone.
bool Eventually(const std::function<bool()>& condition) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
}

using Step = std::function<Variant(const ObjectRef& app)>;

ObjectRef ModelOf(const ObjectRef& app) { return automation::Get(app, 209).AsObject(); }
ObjectRef ClassesOf(const ObjectRef& app) { return automation::Get(ModelOf(app), 432).AsObject(); }
ObjectRef PersonOf(const ObjectRef& app) {
    return automation::Call(ClassesOf(app), 203, {std::int16_t{1}}).AsObject();
}

}  // namespace

TEST(Connect, GivesTheSameAnswersAsTheObjectsInProcess) {
    struct Case {
        const char* name;
        Step step;
        const char* expected;
    } cases[] = {
        {"property of a fetched object",
         [](const ObjectRef& a) { return automation::Get(ModelOf(a), 100); }, "String:Sample"},
        {"count keeps its 16-bit type",
         [](const ObjectRef& a) { return automation::Get(ClassesOf(a), 202); }, "Int16:2"},
        {"item by index", [](const ObjectRef& a) { return automation::Get(PersonOf(a), 100); },
         "String:Person"},
        {"put then get",
         [](const ObjectRef& a) {
             ObjectRef order = automation::Call(ClassesOf(a), 203, {std::int16_t{2}}).AsObject();
             automation::Put(order, 412, true);
             Variant v = automation::Get(order, 412);
             automation::Put(order, 412, false);
             return v;
         },
         "Bool:True"},
        {"member by name only",
         [](const ObjectRef& a) { return automation::CallByName(PersonOf(a), "GetQualifiedName"); },
         "String:Logical View::Person"},
        {"no object as a result",
         [](const ObjectRef& a) { return automation::Call(ModelOf(a), 12475, {"NO-SUCH-KEY"}); },
         "Object:nothing"},
        {"object found by key",
         [](const ObjectRef& a) {
             ObjectRef cls = automation::Call(ModelOf(a), 12475, {"KEY-PERSON"}).AsObject();
             return automation::Get(cls, 100);
         },
         "String:Person"},
        {"an item handed back is the same element",
         [](const ObjectRef& a) {
             return automation::Call(ClassesOf(a), 204, {Variant(PersonOf(a))});
         },
         "Bool:True"},
        {"the collection itself is no item of it",
         [](const ObjectRef& a) {
             return automation::Call(ClassesOf(a), 204, {Variant(ClassesOf(a))});
         },
         "Bool:False"},
        {"no object handed over",
         [](const ObjectRef& a) { return automation::Call(ClassesOf(a), 204, {ObjectRef{}}); },
         "Bool:False"},
        {"empty text", [](const ObjectRef& a) { return automation::CallByName(a, "Echo", {""}); },
         "String:"},
        {"UTF-8 text",
         [](const ObjectRef& a) {
             return automation::CallByName(a, "Echo",
                                           {"Gr\xc3\xb6\xc3\x9f"
                                            "e"});
         },
         "String:Gr\xc3\xb6\xc3\x9f"
         "e"},
        {"32-bit integer",
         [](const ObjectRef& a) {
             return automation::CallByName(a, "Echo", {std::int32_t{-70000}});
         },
         "Int32:-70000"},
        {"empty value",
         [](const ObjectRef& a) { return automation::CallByName(a, "Echo", {Variant()}); },
         "Empty"},
        {"error of the host",
         [](const ObjectRef& a) { return automation::Call(ClassesOf(a), 203, {std::int16_t{9}}); },
         "error:Invalid procedure call or argument"},
        {"unknown dispatch id", [](const ObjectRef& a) { return automation::Get(ModelOf(a), 999); },
         "error:Member not found"},
        {"wrong argument count",
         [](const ObjectRef& a) { return automation::CallByName(a, "Echo", {}); },
         "error:Invalid number of parameters"},
        {"other exception of the host",
         [](const ObjectRef& a) { return automation::CallByName(a, "Fail"); }, "error:disk full"},
        {"cast to its own kind",
         [](const ObjectRef& a) {
             return Variant(automation::Cast(PersonOf(a), rpctest::kClassIid));
         },
         "Object"},
        {"cast to another kind",
         [](const ObjectRef& a) {
             return Variant(automation::Cast(PersonOf(a), rpctest::kCollectionIid));
         },
         "error:No such interface supported"},
    };

    TempDir dir;
    RunningServer unixServer(UnixAddress(dir));
    RunningServer tcpServer("tcp:127.0.0.1:0");
    ObjectRef inProcess = rpctest::MakeApplication();
    ObjectRef overUnix = Connect(unixServer.server->Address());
    // The TCP client never polls before it sleeps: both ways of waiting give the same answers.
    ClientOptions sleeping;
    sleeping.spin = std::chrono::microseconds(0);
    ObjectRef overTcp = Connect(tcpServer.server->Address(), sleeping);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Outcome([&] { return c.step(inProcess); }), c.expected);
        EXPECT_EQ(Outcome([&] { return c.step(overUnix); }), c.expected);
        EXPECT_EQ(Outcome([&] { return c.step(overTcp); }), c.expected);
    }
}

TEST(Connect, GivesOneProxyPerRemoteObject) {
    TempDir dir;
    RunningServer host(UnixAddress(dir));
    ObjectRef app = Connect(host.server->Address());
    ObjectRef first = PersonOf(app);
    ObjectRef again = automation::Call(ClassesOf(app), 203, {std::int16_t{1}}).AsObject();
    ObjectRef other = automation::Call(ClassesOf(app), 203, {std::int16_t{2}}).AsObject();
    EXPECT_EQ(first.get(), again.get());
    EXPECT_NE(first.get(), other.get());
}

TEST(Connect, ReleasesHandlesOfDroppedProxiesAndOfClosedConnections) {
    TempDir dir;
    RunningServer host(UnixAddress(dir));
    ObjectRef app = Connect(host.server->Address());
    EXPECT_EQ(host.server->HandleCount(), 1u);
    ObjectRef model = ModelOf(app);
    ObjectRef sameModel = ModelOf(app);
    EXPECT_EQ(host.server->HandleCount(), 2u);
    model.reset();
    automation::Get(sameModel, 100);
    EXPECT_EQ(host.server->HandleCount(), 2u);  // the model still has a proxy
    sameModel.reset();
    // The release travels before the next request, so once that is answered it is done.
    automation::CallByName(app, "Echo", {1});
    EXPECT_EQ(host.server->HandleCount(), 1u);

    ObjectRef classes = ClassesOf(app);
    automation::Get(classes, 202);
    EXPECT_EQ(host.server->HandleCount(), 2u);  // the model's handle went again
    app.reset();
    classes.reset();  // the last proxy: the connection closes
    EXPECT_TRUE(Eventually([&] { return host.server->HandleCount() == 0; }));
}

TEST(Connect, KeepsAnObjectAliveWhileAReplyNamesItAgain) {
    // Dropping a proxy and receiving its object again must not leave a dead handle behind.
    TempDir dir;
    RunningServer host(UnixAddress(dir));
    ObjectRef app = Connect(host.server->Address());
    for (int i = 0; i < 200; ++i) {
        ObjectRef person = PersonOf(app);
        ASSERT_EQ(automation::Get(person, 100).ToString(), "Person");
    }
}

TEST(Connect, RefusesObjectsOfAnotherConnection) {
    TempDir dir;
    RunningServer host(UnixAddress(dir));
    ObjectRef one = Connect(host.server->Address());
    ObjectRef two = Connect(host.server->Address());
    EXPECT_EQ(ErrorOf([&] { automation::Call(ClassesOf(one), 204, {Variant(PersonOf(two))}); }),
              "only objects of the same server can be passed to it as arguments");
    EXPECT_EQ(ErrorOf([&] {
                  automation::CallByName(one, "Echo", {Variant(rpctest::MakeApplication())});
              }),
              "only objects of the same server can be passed to it as arguments");
}

TEST(Connect, ReportsWhenNothingAnswers) {
    TempDir dir;
    std::string address = "unix:" + dir.path() + "/none.sock";
    EXPECT_EQ(ErrorOf([&] { Connect(address); }),
              "no automation server answers at " + address + ": No such file or directory");
    EXPECT_EQ(ErrorOf([] { Connect("pipe:/x"); }),
              "malformed address \"pipe:/x\": expected unix:PATH or tcp:HOST:PORT");
    EXPECT_EQ(ErrorOf([] { Connect("tcp:localhost"); }),
              "malformed address \"tcp:localhost\": expected tcp:HOST:PORT");
}

TEST(Connect, PassesOnTheRefusalOfTheRootFactory) {
    TempDir dir;
    RunningServer host(UnixAddress(dir), [](const ConnectionInfo&) -> ObjectRef {
        throw AutomationError("Access Denied");
    });
    EXPECT_EQ(ErrorOf([&] { Connect(host.server->Address()); }), "Access Denied");
}

TEST(Connect, GivesEachConnectionItsOwnRoot) {
    TempDir dir;
    RunningServer host(UnixAddress(dir), [](const ConnectionInfo& info) {
        auto root = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
        root->DefineValue(1, "Id", Variant(static_cast<std::int32_t>(info.id)));
        root->DefineValue(2, "Peer", Variant(info.peer));
        return root;
    });
    ObjectRef one = Connect(host.server->Address());
    ObjectRef two = Connect(host.server->Address());
    EXPECT_EQ(automation::Get(one, 1).ToInt32(), 1);
    EXPECT_EQ(automation::Get(two, 1).ToInt32(), 2);
    EXPECT_EQ(automation::Get(two, 2).ToString(), "unix");
}
