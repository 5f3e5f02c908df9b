// Attaching to the running modelling tool, the connection prompt, and the two look-ups.
#include <gtest/gtest.h>

#include "automation/local_object.h"
#include "model/rose.h"
#include "platform/objects.h"
#include "rose_host.h"

namespace {

using automation::ObjectRef;

TEST(ConnectToRose, AttachesToTheRunningApplicationAndKeepsItWhenNoneRuns) {
    auto host = rosehost::NewHost(rosehost::NewModel("shop"));
    InstallRose(host);
    ASSERT_TRUE(rose::ConnectToRose());
    EXPECT_EQ(rose::RoseApp, rosehost::ApplicationObject(host));
    EXPECT_EQ(rose::GetRoseModelName(), "shop");
    platform::Objects().getActiveObject = [](const std::string&) -> ObjectRef {
        throw automation::AutomationError("ActiveX component can't create object");
    };
    EXPECT_FALSE(rose::ConnectToRose());
    EXPECT_EQ(rose::RoseApp, rosehost::ApplicationObject(host));
}

TEST(ConnectToRose, RefusesAnObjectThatIsNotTheApplication) {
    InstallRose(nullptr);
    platform::Objects().getActiveObject = [](const std::string&) -> ObjectRef {
        return std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    };
    EXPECT_FALSE(rose::ConnectToRose());
    EXPECT_EQ(rose::RoseApp, nullptr);
}

TEST(PromptConnectToRose, RetriesUntilTheApplicationRunsThenAsksNothing) {
    auto host = rosehost::NewHost(rosehost::NewModel("shop"));
    InstallRose(nullptr);
    auto ui = std::make_shared<ScriptedUi>();
    InstallUi(ui);
    // The user starts the modelling tool while the first box is open.
    platform::Ui().messageBox = [ui, host](const platform::MessageBoxRequest& request) {
        ui->boxes.push_back(request);
        InstallRose(host);
        return platform::Answer::Retry;
    };
    rose::PromptConnectToRose();
    ASSERT_EQ(ui->boxes.size(), 1u);
    EXPECT_EQ(ui->boxes[0].text, "Unable to connect to Rational Rose");
    EXPECT_EQ(ui->boxes[0].buttons, platform::Buttons::RetryCancel);
    EXPECT_EQ(ui->boxes[0].icon, platform::Icon::None);
    EXPECT_EQ(rose::RoseApp, rosehost::ApplicationObject(host));
    rose::PromptConnectToRose();
    EXPECT_EQ(ui->boxes.size(), 1u);
    platform::ResetUi();
}

TEST(GetRoseClassByKey, FindsTheClassOrNone) {
    auto model = rosehost::NewModel("shop");
    auto person = rosehost::CreateClass(*model, model->top, "Person");
    InstallRose(rosehost::NewHost(model));
    ASSERT_TRUE(rose::ConnectToRose());
    ObjectRef found = rose::GetRoseClassByKey(person->quid);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(rose::Name(found), "Person");
    EXPECT_EQ(rose::GetRoseClassByKey("FFFFFFFFFFFF"), nullptr);
    EXPECT_EQ(rose::GetRoseClassByKey(""), nullptr);
}

TEST(GetRoseModelName, PassesErrorsToTheCaller) {
    InstallRose(nullptr);
    EXPECT_THROW(rose::GetRoseModelName(), automation::AutomationError);
    EXPECT_THROW(rose::GetRoseClassByKey("X"), automation::AutomationError);
}

}  // namespace
