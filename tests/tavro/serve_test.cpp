#include <gtest/gtest.h>

#include "automation/rpc.h"
#include "hosts/tavro/objects/objects.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::AutomationError;
using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using tavro_test::DataDir;

ObjectRef LoginOver(const automation::rpc::Server& server, const char* user, const char* password) {
    ObjectRef login = automation::rpc::Connect(server.Address());
    return CallByName(login, "Login", {"USER", user, password}).ToObject();
}

// Two clients at once through the network layer: what one saves the other reads, and the
// server refuses the write of a user without "Development" whatever the client does.
TEST(Login, ServesSeveralClientsOverTheNetwork) {
    DataDir dir;
    std::string path = dir.path();
    automation::rpc::Server server(
        [path](const automation::rpc::ConnectionInfo&) { return tavro::NewLoginObject(path); });
    server.Listen("tcp:127.0.0.1:0");
    server.Start();

    ObjectRef writer = LoginOver(server, tavro_test::kDeveloper, tavro_test::kDeveloperPassword);
    ObjectRef reader = LoginOver(server, tavro_test::kViewer, tavro_test::kViewerPassword);
    ObjectRef def =
        CallByName(writer, "NewObject", {"%Dictionary.ClassDefinition", "Shop.Order"}).ToObject();
    PutByName(def, "Description", "Orders");
    ObjectRef prop =
        CallByName(writer, "NewObject", {"%Dictionary.PropertyDefinition", "Shop.Order:Total"})
            .ToObject();
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {prop});
    CallByName(def, "sys_Save");

    ObjectRef seen =
        CallByName(reader, "LoadObjectById", {"%Dictionary.ClassDefinition", "Shop.Order"})
            .ToObject();
    EXPECT_EQ(GetByName(seen, "Description").ToString(), "Orders");
    EXPECT_EQ(GetByName(GetByName(seen, "Properties").ToObject(), "Count").ToInt32(), 1);
    PutByName(seen, "Description", "mine now");
    try {
        CallByName(seen, "sys_Save");
        ADD_FAILURE() << "no error";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Description(),
                  "access denied: user viewer lacks the 'Development' permission");
    }
    try {
        LoginOver(server, tavro_test::kDeveloper, "guess");
        ADD_FAILURE() << "no error";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Description(), "access denied: wrong user name or password");
    }
    server.Stop();
    server.Join();
}

}  // namespace
