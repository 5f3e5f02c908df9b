// The client factory "TavroActiveX.Factory" against tavro-host served over the RPC transport.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QTimer>
#include <cstdlib>
#include <functional>
#include <optional>

#include "automation/local_object.h"
#include "automation/rpc.h"
#include "hosts/tavro/objects/objects.h"
#include "platform/objects.h"
#include "platform/qt/connection_dialog.h"
#include "platform/tavro_factory.h"
#include "tests/server/server_test_util.h"

namespace {

using automation::CallByName;
using automation::ObjectRef;

// tavro-host's objects served on a free local port for as long as the object lives.
class ServedTavro {
  public:
    explicit ServedTavro(const server_test::TavroData& data)
        : server_([dir = data.path()](const automation::rpc::ConnectionInfo&) {
              return tavro::NewLoginObject(dir);
          }) {
        server_.Listen("tcp:127.0.0.1:0");
        server_.Start();
        std::string address = server_.Address();
        port_ = address.substr(address.rfind(':') + 1);
    }
    const std::string& port() const { return port_; }

  private:
    automation::rpc::Server server_;
    std::string port_;
};

// A factory whose dialog answers with `user` and `password`.
ObjectRef PromptedFactory(const std::string& connection, const std::string& user,
                          const std::string& password) {
    platform::Tavro().promptConnection = [=](const std::string&) {
        return platform::ConnectionChoice{connection, user, password};
    };
    ObjectRef factory = platform::NewTavroFactory();
    EXPECT_EQ(CallByName(factory, "PromptConnection", {"+%up"}).ToString(), connection);
    return factory;
}

TEST(OpenConnection, ConnectsAndLogsInOverTheSocket) {
    server_test::TavroData data;
    ServedTavro served(data);
    const std::string port = served.port();
    struct Case {
        std::string connection;
        const char* password;
        bool opens;
    };
    const Case cases[] = {
        {"127.0.0.1:" + port + ":USER", server_test::kDeveloperPassword, true},
        {"localhost:" + port + ":USER", server_test::kDeveloperPassword, true},
        {"127.0.0.1:" + port + ":USER", "wrong", false},
        {"127.0.0.1:" + port + ":NOWHERE", server_test::kDeveloperPassword, false},
        {"127.0.0.1:" + port + ":%SYS", server_test::kDeveloperPassword, false},
        {"127.0.0.1:" + port, server_test::kDeveloperPassword, false},
        {"127.0.0.1:port:USER", server_test::kDeveloperPassword, false},
        {":" + port + ":USER", server_test::kDeveloperPassword, false},
        {"127.0.0.1:1:USER", server_test::kDeveloperPassword, false},  // nothing listens
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.connection + " " + c.password);
        platform::ResetTavro();
        ObjectRef factory = PromptedFactory(c.connection, server_test::kDeveloper, c.password);
        EXPECT_EQ(CallByName(factory, "OpenConnection", {c.connection}).ToBool(), c.opens);
        EXPECT_EQ(CallByName(factory, "ConnectionIsOpen").ToBool(), c.opens);
    }
}

TEST(OpenConnection, ForwardsTheObjectOperationsToTheSession) {
    server_test::TavroData data;
    ServedTavro served(data);
    platform::ResetTavro();
    const std::string connection = "127.0.0.1:" + served.port() + ":USER";
    ObjectRef factory =
        PromptedFactory(connection, server_test::kViewer, server_test::kViewerPassword);
    EXPECT_THROW(CallByName(factory, "ClassHandle", {"%Dictionary.CorvansilUtility"}),
                 automation::AutomationError);
    ASSERT_TRUE(CallByName(factory, "OpenConnection", {connection}).ToBool());

    ObjectRef utility =
        CallByName(factory, "ClassHandle", {"%Dictionary.CorvansilUtility"}).ToObject();
    EXPECT_TRUE(CallByName(utility, "SupportFeature", {"Security"}).ToBool());
    EXPECT_FALSE(CallByName(utility, "HasSecurityPermission").ToBool());
    ObjectRef definition = tavro_test::ClassDefinition(factory, "%Library.String");
    EXPECT_EQ(automation::GetByName(definition, "name").ToString(), "%Library.String");
    // The optional initial value may be left out or given.
    EXPECT_NE(tavro_test::NewObject(factory, "%Dictionary.CorvansilUtility"), nullptr);
    ObjectRef fresh = tavro_test::NewObject(factory, "%Dictionary.ClassDefinition", "Shop.Order");
    EXPECT_EQ(automation::GetByName(fresh, "name").ToString(), "Shop.Order");
    EXPECT_NE(
        CallByName(factory, "OpenQuery", {"%Dictionary.ClassDefinition", "Summary"}).ToObject(),
        nullptr);

    EXPECT_TRUE(CallByName(factory, "CloseConnection").ToBool());
    EXPECT_FALSE(CallByName(factory, "ConnectionIsOpen").ToBool());
    EXPECT_THROW(CallByName(factory, "OpenQuery", {"%Dictionary.ClassDefinition", "Summary"}),
                 automation::AutomationError);
}

TEST(ConnectionIsOpen, TurnsFalseOnceTheServerHasGone) {
    server_test::TavroData data;
    platform::ResetTavro();
    ObjectRef factory;
    {
        ServedTavro served(data);
        const std::string connection = "127.0.0.1:" + served.port() + ":USER";
        factory =
            PromptedFactory(connection, server_test::kDeveloper, server_test::kDeveloperPassword);
        ASSERT_TRUE(CallByName(factory, "OpenConnection", {connection}).ToBool());
        EXPECT_TRUE(CallByName(factory, "ConnectionIsOpen").ToBool());
    }
    EXPECT_FALSE(CallByName(factory, "ConnectionIsOpen").ToBool());
}

// Sets or removes the three variables for one test and puts them back afterwards.
class TavroEnvironment {
  public:
    TavroEnvironment(const char* connection, const char* user, const char* password) {
        Set("TAVRO_CONNECTION", connection);
        Set("TAVRO_USER", user);
        Set("TAVRO_PASSWORD", password);
    }
    ~TavroEnvironment() {
        for (const auto& [name, value] : saved_) {
            if (value.has_value()) {
                setenv(name.c_str(), value->c_str(), 1);
            } else {
                unsetenv(name.c_str());
            }
        }
    }

  private:
    void Set(const char* name, const char* value) {
        const char* old = std::getenv(name);
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST(PromptConnection, AnswersFromTheEnvironmentWithoutADisplay) {
    struct Case {
        const char* name;
        const char* connection;
        const char* user;
        const char* password;
        const char* answer;
        platform::ConnectionParts fields;  // what the Qt dialog opens with
    };
    const Case cases[] = {
        {"all set", "db:1972:SHOP", "dev", "pw", "db:1972:SHOP", {"db", "1972", "SHOP"}},
        {"no connection: cancelled", nullptr, "dev", "pw", "", {"127.0.0.1", "48100", "USER"}},
        {"empty connection", "", nullptr, nullptr, "", {"127.0.0.1", "48100", "USER"}},
        {"malformed connection", "db", nullptr, nullptr, "db", {"127.0.0.1", "48100", "USER"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TavroEnvironment environment(c.connection, c.user, c.password);
        platform::ResetTavro();
        ObjectRef factory = platform::NewTavroFactory();
        EXPECT_EQ(CallByName(factory, "PromptConnection", {"+%up"}).ToString(), c.answer);
        platform::ConnectionParts fields = platform::qt::InitialConnectionFields();
        EXPECT_EQ(fields.host, c.fields.host);
        EXPECT_EQ(fields.port, c.fields.port);
        EXPECT_EQ(fields.nameSpace, c.fields.nameSpace);
        // Without a QApplication the Qt dialog gives the environment's answer.
        EXPECT_EQ(platform::qt::ShowConnectionDialog("+%up").connection, c.answer);
    }
}

TEST(InstallTavroFactory, LeavesOtherProgIdsToWhatWasThere) {
    platform::ResetObjects();
    auto other = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    platform::Objects().createObject = [other](const std::string& progId) -> ObjectRef {
        if (progId == "Other.Thing") return other;
        throw automation::AutomationError("ActiveX component can't create object");
    };
    platform::InstallTavroFactory();
    EXPECT_EQ(platform::CreateObject("Other.Thing"), other);
    ObjectRef factory = platform::CreateObject("TavroActiveX.Factory");
    ASSERT_NE(factory, nullptr);
    EXPECT_FALSE(CallByName(factory, "ConnectionIsOpen").ToBool());
    EXPECT_NE(platform::CreateObject("tavroactivex.factory"), factory);  // a new one each time
    EXPECT_THROW(platform::CreateObject("Rose.Application"), automation::AutomationError);
    platform::ResetObjects();
}

// The dialog shown on Qt's offscreen platform; `act` runs once it is up, then the dialog is
// left as `act` left it.
platform::ConnectionChoice RunDialog(const std::function<void(QDialog&)>& act) {
    static int argc = 1;
    static char name[] = "server_test";
    static char* argv[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTimer::singleShot(0, &app, [&act] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* dialog = qobject_cast<QDialog*>(widget);
            if (dialog != nullptr && dialog->objectName() == "dlgTavroConnection") act(*dialog);
        }
    });
    return platform::qt::ShowConnectionDialog("+%up");
}

QLineEdit* Field(QDialog& dialog, const char* name) {
    QLineEdit* edit = dialog.findChild<QLineEdit*>(QString::fromLatin1(name));
    EXPECT_NE(edit, nullptr) << name;
    return edit;
}

TEST(ShowConnectionDialog, GivesTheConnectionStringOfTheFieldsOrNoneWhenCancelled) {
    TavroEnvironment environment("db:1972:SHOP", "dev", "pw");
    const char* const fields[] = {"txtServer", "txtPort", "txtNamespace", "txtUser", "txtPassword"};
    std::vector<std::string> shown;
    auto read = [&](QDialog& dialog) {
        shown.clear();
        for (const char* name : fields) shown.push_back(Field(dialog, name)->text().toStdString());
    };
    platform::ConnectionChoice choice = RunDialog([&](QDialog& dialog) {
        read(dialog);
        Field(dialog, "txtNamespace")->setText("SALES");
        Field(dialog, "txtUser")->setText("alice");
        Field(dialog, "txtPort")->setText("48200");
        dialog.accept();
    });
    EXPECT_EQ(shown, (std::vector<std::string>{"db", "1972", "SHOP", "dev", "pw"}));
    EXPECT_EQ(choice.connection, "db:48200:SALES");
    EXPECT_EQ(choice.user, "alice");
    EXPECT_EQ(choice.password, "pw");
    // Shown again after "Unable to connect to Tavro" and Retry: what was typed, but no
    // password; a Cancel there changes nothing that is kept.
    choice = RunDialog([&](QDialog& dialog) {
        read(dialog);
        Field(dialog, "txtUser")->setText("bob");
        dialog.reject();
    });
    EXPECT_EQ(shown, (std::vector<std::string>{"db", "48200", "SALES", "alice", ""}));
    EXPECT_EQ(choice.connection, "");
    RunDialog([&](QDialog& dialog) {
        read(dialog);
        dialog.reject();
    });
    EXPECT_EQ(shown, (std::vector<std::string>{"db", "48200", "SALES", "alice", ""}));
}

}  // namespace
