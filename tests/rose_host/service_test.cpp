// The host's service over a socket: what the add-in and the command line reach.
#include <gtest/gtest.h>

#include "automation/rpc.h"
#include "hosts/rose/host/host.h"
#include "support.h"
#include "tests/support/support.h"

namespace rosehost {
namespace {

TEST(ControlObject, ServesTheApplicationAndTheControlCalls) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/library.mdl"), "");
    automation::rpc::Server* self = nullptr;
    automation::rpc::Server server([&](const automation::rpc::ConnectionInfo&) {
        return ControlObject(session, [&self] { self->Stop(); });
    });
    self = &server;
    std::string address = "unix:" + testsupport::MakeTempDir() + "/rose.sock";
    server.Listen(address);
    server.Start();
    {
        automation::ObjectRef root = automation::rpc::Connect(address);
        automation::ObjectRef app = automation::GetByName(root, "Application").ToObject();
        automation::ObjectRef model = automation::Get(app, 209).ToObject();      // ActiveModel
        EXPECT_EQ(automation::Get(model, 100).ToString(), "library");            // Name
        automation::ObjectRef classes = automation::Get(model, 432).ToObject();  // AllClasses
        EXPECT_EQ(automation::Get(classes, 202).ToInt32(), 4);                   // Count

        automation::CallByName(root, "Diagram", {"library::Main"});
        automation::CallByName(root, "Select", {"Book", "Logical View::library::Writer"});
        automation::ObjectRef diagram = automation::Get(model, 12527).ToObject();
        automation::ObjectRef selected = automation::Get(diagram, 12525).ToObject();
        EXPECT_EQ(automation::Get(selected, 202).ToInt32(), 2);
        EXPECT_EQ(automation::CallByName(root, "Status").ToString(),
                  "model \"library\" (" + testsupport::SamplesDir() +
                      "/mdl/library.mdl): 2 categories, 4 classes, 2 class diagrams; current "
                      "diagram \"Main\", 2 selected");
        try {
            automation::CallByName(root, "Select", {"Nobody"});
            ADD_FAILURE() << "selecting a class not drawn succeeded";
        } catch (const automation::AutomationError& e) {
            EXPECT_EQ(e.Description(), "class \"Nobody\" is not on diagram \"Main\"");
        }
        automation::CallByName(root, "Stop", {false});
    }
    server.Join();
}

}  // namespace
}  // namespace rosehost
