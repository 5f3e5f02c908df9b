#include <gtest/gtest.h>

#include "automation/rpc.h"
#include "hosts/tavro/objects/objects.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using tavro_test::DataDir;
using tavro_test::ErrorOf;
using tavro_test::NewObject;

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
    ObjectRef def = NewObject(writer, "%Dictionary.ClassDefinition", "Shop.Order");
    PutByName(def, "Description", "Orders");
    ObjectRef prop = NewObject(writer, "%Dictionary.PropertyDefinition", "Shop.Order:Total");
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {prop});
    CallByName(def, "sys_Save");

    ObjectRef seen = tavro_test::ClassDefinition(reader, "Shop.Order");
    EXPECT_EQ(GetByName(seen, "Description").ToString(), "Orders");
    EXPECT_EQ(GetByName(GetByName(seen, "Properties").ToObject(), "Count").ToInt32(), 1);
    PutByName(seen, "Description", "mine now");
    EXPECT_EQ(ErrorOf([&] { CallByName(seen, "sys_Save"); }),
              "access denied: user viewer lacks the 'Development' permission");
    EXPECT_EQ(ErrorOf([&] { LoginOver(server, tavro_test::kDeveloper, "guess"); }),
              "access denied: wrong user name or password");
    server.Stop();
    server.Join();
}

}  // namespace
