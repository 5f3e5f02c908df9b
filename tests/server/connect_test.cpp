// The connection through the client factory: the namespace rule, reuse, the permission check.
#include <gtest/gtest.h>

#include "server/server.h"
#include "tests/server/server_test_util.h"

namespace {

using server_test::FakeServer;
using Reply = FakeServer::Answer;

TEST(ConnectToServer, ReadsTheNamespaceAfterTheSecondColon) {
    struct Case {
        const char* name;
        const char* connection;  // what the dialog answers
        bool opens;              // what OpenConnection answers
        bool connected;
        const char* nameSpace;  // the argument afterwards; it goes in as "EARLIER"
    };
    const Case cases[] = {
        {"host, port and namespace", "127.0.0.1:48100:USER", true, true, "USER"},
        {"one colon", "127.0.0.1:48100", true, true, ""},
        {"no colon", "localhost", true, true, ""},
        {"second colon last", "127.0.0.1:48100:", true, true, ""},
        {"three colons", "db:1972:SHOP:TEST", true, true, "SHOP:TEST"},
        {"empty first parts", "::NS", true, true, "NS"},
        {"dialog cancelled", "", true, false, ""},
        {"connection refused", "127.0.0.1:48100:USER", false, false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        auto fake = std::make_shared<FakeServer>();
        fake->connections = {c.connection};
        fake->opens = c.opens;
        server_test::InstallFakeFactory(fake);

        std::string nameSpace = "EARLIER";
        EXPECT_EQ(server::ConnectToServer(nameSpace), c.connected);
        EXPECT_EQ(nameSpace, c.nameSpace);
        EXPECT_EQ(fake->promptOptions, std::vector<std::string>{"+%up"});
        // The string goes back to the factory unchanged, whatever its shape.
        if (*c.connection != '\0') {
            EXPECT_EQ(fake->openedWith.at(0), c.connection);
        }
        EXPECT_TRUE(ui->boxes.empty());
    }
}

TEST(ConnectToServer, ReusesAnOpenConnectionWithoutDialog) {
    server_test::ResetServerLink();
    server_test::InstallScriptedUi();
    auto fake = std::make_shared<FakeServer>();
    fake->connections = {"127.0.0.1:48100:USER", "127.0.0.1:48100:SHOP"};
    fake->supportsSecurity = Reply::True;
    server_test::InstallFakeFactory(fake);

    std::string first;
    ASSERT_TRUE(server::ConnectToServer(first));
    std::string again = "MINE";
    EXPECT_TRUE(server::ConnectToServer(again));
    EXPECT_EQ(again, "MINE");
    EXPECT_EQ(fake->factories, 1);
    EXPECT_EQ(fake->prompts, 1);
    EXPECT_EQ(fake->permissionQuestions, 1);

    // A dropped connection starts over with a new factory and a new dialog.
    fake->open = false;
    std::string afterDrop = "MINE";
    EXPECT_TRUE(server::ConnectToServer(afterDrop));
    EXPECT_EQ(afterDrop, "SHOP");
    EXPECT_EQ(fake->factories, 2);
    EXPECT_EQ(fake->prompts, 2);
}

TEST(ConnectToServer, FactoryThatCannotBeCreatedFailsSilently) {
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    std::string nameSpace = "EARLIER";
    EXPECT_FALSE(server::ConnectToServer(nameSpace));
    EXPECT_EQ(nameSpace, "");
    EXPECT_TRUE(ui->boxes.empty());
}

TEST(ConnectToServer, AsksForThePermissionOnlyWhenTheServerReportsSecurity) {
    struct Case {
        const char* name;
        Reply supportsSecurity;
        Reply hasPermission;
        bool connected;
        int permissionQuestions;
        std::vector<std::string> boxes;
        int closes;
        bool openAfterwards;
    };
    const std::string refused = "No 'Development' Security Permission";
    const Case cases[] = {
        {"no security feature", Reply::False, Reply::False, true, 0, {}, 0, true},
        {"feature question raises", Reply::Raises, Reply::False, true, 0, {}, 0, true},
        {"permission granted", Reply::True, Reply::True, true, 1, {}, 0, true},
        {"permission refused", Reply::True, Reply::False, false, 1, {refused}, 1, false},
        // The error reaches ConnectToServer: no message, and the connection stays open.
        {"permission question raises", Reply::True, Reply::Raises, false, 1, {}, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        auto fake = std::make_shared<FakeServer>();
        fake->connections = {"127.0.0.1:48100:USER"};
        fake->supportsSecurity = c.supportsSecurity;
        fake->hasPermission = c.hasPermission;
        server_test::InstallFakeFactory(fake);

        std::string nameSpace = "EARLIER";
        EXPECT_EQ(server::ConnectToServer(nameSpace), c.connected);
        EXPECT_EQ(nameSpace, c.connected ? "USER" : "");
        EXPECT_EQ(fake->permissionQuestions, c.permissionQuestions);
        EXPECT_EQ(ui->Texts(), c.boxes);
        for (const auto& box : ui->boxes) {
            EXPECT_EQ(box.buttons, platform::Buttons::Ok);
            EXPECT_EQ(box.title, "Corvansil");
        }
        EXPECT_EQ(fake->closes, c.closes);
        EXPECT_EQ(fake->open, c.openAfterwards);
    }
}

// The same rules against tavro-host itself, through the real client factory.
TEST(ConnectToServer, RefusesAUserWithoutDevelopmentOnTavroHost) {
    server_test::TavroData data;
    struct Case {
        const char* user;
        const char* password;
        bool connected;
        std::vector<std::string> boxes;
    };
    const Case cases[] = {
        {server_test::kDeveloper, server_test::kDeveloperPassword, true, {}},
        {server_test::kViewer,
         server_test::kViewerPassword,
         false,
         {"No 'Development' Security Permission"}},
        {server_test::kDeveloper, "wrong password", false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.user + std::string("/") + c.password);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        server_test::InstallTavroHost(data, {"127.0.0.1:0:USER", c.user, c.password});

        std::string nameSpace;
        EXPECT_EQ(server::ConnectToServer(nameSpace), c.connected);
        EXPECT_EQ(nameSpace, c.connected ? "USER" : "");
        EXPECT_EQ(ui->Texts(), c.boxes);
        ASSERT_NE(server::ServerFactory, nullptr);
        // A refused connection is closed; the factory object stays.
        EXPECT_EQ(automation::CallByName(server::ServerFactory, "ConnectionIsOpen").ToBool(),
                  c.connected);
    }
}

}  // namespace
