// The import over sockets, with calls sent ahead and without, the modelling tool failing on
// each of its calls in turn: what the model, the log and the message boxes end up holding
// must not depend on whether calls were sent ahead.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "hosts/rose/host/host.h"
#include "import/import.h"
#include "tests/import/import_harness.h"

namespace {

using namespace import_test;

struct Outcome {
    std::string model;
    std::vector<RowChange> changes;
    std::vector<std::string> boxes;
    std::string error;  // raised out of the run
    int roseCalls = 0;  // calls that reached the modelling tool
};

// Two classes: a new one with attributes (one with type parameters), an object-valued
// property, a relationship and a method; and one already in the model, replaced.
Outcome RunImport(int failAt, bool sendAhead) {
    Harness h;
    h.Save(
        {Class("Shop.A", {{"Description", "first"}, {"ClassType", "persistent"}},
               {Property("Total", "%Integer", {{"Description", "sum"}, {"Private", "1"}}),
                Property("Code", "%String", {{"Required", "1"}}, {{"MAXLEN", "20"}}),
                Property("Owner", "B"),
                Property("Items", "B",
                         {{"Relationship", "1"}, {"Cardinality", "many"}, {"Inverse", "A"}})},
               {Method("Recalc", {{"FormalSpec", "x:%Integer=1,y"}, {"ReturnType", "%Float"}})}),
         Class("Shop.B", {{"Super", "A"}},
               {Property("A", "A",
                         {{"Relationship", "1"}, {"Cardinality", "one"}, {"Inverse", "Items"}})})});
    auto b = h.MakeModelClass("Logical View::Shop::B");
    rosehost::CreateAttribute(h.model(), *b, "Old", "", "");
    h.form.SetCheckValue(window::CheckBox::Override, 1);
    h.Select({"Shop.A", "Shop.B"});
    auto plan = h.ServeOverSockets(failAt, sendAhead);
    Outcome out;
    try {
        importing::ImportClasses();
    } catch (const automation::AutomationError& error) {
        out.error = error.Description();
    }
    // The class XML carries the time the definitions were saved, a second apart or not.
    static const std::regex kTimes("<Time(Created|Changed)>[^<]*<");
    out.model = std::regex_replace(rosehost::ShowModel(h.model()), kTimes, "<Time$1><");
    out.changes = h.form.changes;
    for (const auto& box : h.boxes) out.boxes.push_back(box.text);
    out.roseCalls = plan->calls;
    return out;
}

TEST(ImportClasses, SendingCallsAheadOverSocketsLeavesWhatOneAtATimeLeaves) {
    Outcome clean = RunImport(0, true);
    ASSERT_EQ(clean.error, "");
    ASSERT_EQ(clean.model, RunImport(0, false).model);
    ASSERT_GT(clean.roseCalls, 10);
    for (int n = 1; n <= clean.roseCalls; ++n) {
        SCOPED_TRACE("modelling tool fails on call " + std::to_string(n));
        Outcome waited = RunImport(n, false);
        Outcome ahead = RunImport(n, true);
        EXPECT_EQ(ahead.model, waited.model);
        EXPECT_EQ(ahead.changes, waited.changes);
        EXPECT_EQ(ahead.boxes, waited.boxes);
        EXPECT_EQ(ahead.error, waited.error);
        EXPECT_EQ(ahead.roseCalls, waited.roseCalls);
    }
}

}  // namespace
