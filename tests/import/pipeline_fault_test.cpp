// The import and the export over sockets, with calls sent ahead and without, the modelling
// tool or the server failing on each of its calls in turn: what the model, the server, the log
// and the message boxes end up holding must not depend on whether calls were sent ahead.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "export/export.h"
#include "hosts/rose/host/host.h"
#include "import/import.h"
#include "install/vocabulary.h"
#include "tests/import/import_harness.h"
#include "tests/support/defaults.h"

namespace {

using namespace import_test;

struct Outcome {
    std::string model;
    std::vector<RowChange> changes;
    std::vector<std::string> boxes;
    std::string error;  // raised out of the run
    int roseCalls = 0;  // calls that reached the modelling tool
    std::set<std::string> members;
};

// Two classes: a new one with attributes (one with type parameters), an object-valued
// property, a relationship and a method; and one already in the model, replaced.
Outcome RunImport(int failAt, bool sendAhead, bool serverFails = false,
                  const std::string& failMember = "", bool readAhead = true) {
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
    auto plan = h.ServeOverSockets(failAt, sendAhead, serverFails, failMember, readAhead);
    Outcome out;
    try {
        importing::ImportClasses();
    } catch (const automation::AutomationError& error) {
        out.error = error.Description();
    } catch (const platform::ProcessEnded& ended) {
        out.error = "process ended with " + std::to_string(ended.status);
    }
    // The class XML carries the time the definitions were saved, a second apart or not.
    static const std::regex kTimes("<Time(Created|Changed)>[^<]*<");
    out.model = std::regex_replace(rosehost::ShowModel(h.model()), kTimes, "<Time$1><");
    out.changes = h.form.changes;
    for (const auto& box : h.boxes) out.boxes.push_back(box.text);
    out.roseCalls = plan->calls;
    out.members = plan->members;
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

// Reads walked ahead and kept: every member of either side failing on every call, read or
// write, leaves what reading one call at a time leaves.
TEST(ImportClasses, ReadingAheadOverSocketsLeavesWhatReadingOneAtATimeLeaves) {
    for (bool serverFails : {false, true}) {
        Outcome clean = RunImport(0, true, serverFails);
        ASSERT_EQ(clean.error, "");
        ASSERT_GT(clean.members.size(), 10u);
        for (const std::string& member : clean.members) {
            SCOPED_TRACE(std::string(serverFails ? "server" : "modelling tool") + " member " +
                         member + " fails");
            Outcome waited = RunImport(0, true, serverFails, member, false);
            Outcome ahead = RunImport(0, true, serverFails, member, true);
            EXPECT_EQ(ahead.model, waited.model);
            EXPECT_EQ(ahead.changes, waited.changes);
            EXPECT_EQ(ahead.boxes, waited.boxes);
            EXPECT_EQ(ahead.error, waited.error);
        }
    }
}

// --- Export ---

struct ExportOutcome {
    std::string definitions;
    std::vector<RowChange> changes;
    std::vector<std::string> boxes;
    std::string error;
    int calls = 0;  // calls that reached the failing side
    std::set<std::string> members;
};

// The stored definition as text, less the times it was saved.
std::string DefinitionText(tavro::Store& store, const std::string& name) {
    tavro::ClassDef def;
    if (!tavro::LoadClass(store, "USER", name, def)) return name + " absent\n";
    std::string text = "class " + name + "\n";
    auto values = [&text](const tavro::Values& entries, const char* indent) {
        for (const auto& [key, value] : entries) {
            if (key.rfind("Time", 0) != 0) text += indent + key + " = " + value + "\n";
        }
    };
    values(def.values, "  ");
    for (const auto* items : {&def.properties, &def.methods}) {
        for (const tavro::Item& item : *items) {
            text += "  member " + item.name + "\n";
            values(item.values, "    ");
            for (const auto& [key, value] : item.parameters) {
                text += "    parameter " + key + " = " + value + "\n";
            }
        }
    }
    return text;
}

// A persistent class with attributes (a private one, one with a type parameter, a stream),
// an operation with parameters and an association to a second class that has a super class.
ExportOutcome RunExport(int failAt, bool sendAhead, bool serverFails,
                        const std::string& failMember = "", bool readAhead = true) {
    Harness h;
    testsupport::DeclareInstalledDefaults(h.model());
    rosehost::Model& model = h.model();
    auto a = h.MakeModelClass("Logical View::Shop::A");
    auto b = h.MakeModelClass("Logical View::Shop::B");
    a->isPersistent = true;
    a->documentation = "first";
    auto total = rosehost::CreateAttribute(model, *a, "Total", "Integer", "");
    total->exportControl = rosehost::kPrivate;
    auto code = rosehost::CreateAttribute(model, *a, "Code", "String", "");
    code->exportControl = rosehost::kPublic;
    rosehost::SetToolProperty(*code, "Parameter", "MAXLEN", "20");
    rosehost::CreateAttribute(model, *a, "Notes", "Object", "");
    auto recalc = rosehost::CreateOperation(model, *a, "Recalc", "Double");
    rosehost::CreateParameter(model, *recalc, "x", "Integer", "1", 1);
    rosehost::CreateParameter(model, *recalc, "y", "", "", 2);
    auto association = rosehost::CreateAssociation(model, *a, "", rosehost::QualifiedName(*b));
    association->roles[0]->name = "Owner";
    association->roles[1]->name = "Items";
    association->roles[1]->multiplicity = "0..n";
    rosehost::CreateSuperclassLink(model, *b, "", rosehost::QualifiedName(*a));
    rosehost::CreateAttribute(model, *b, "Label", "String", "");
    for (const auto& cls : {a, b}) {
        std::int16_t at = h.form.lstSelectedClasses().AddItem(cls->name);
        h.form.lstSelectedClassIDs().InsertItem(at, cls->quid);
    }
    auto plan = h.ServeOverSockets(failAt, sendAhead, serverFails, failMember, readAhead);
    ExportOutcome out;
    try {
        exporting::ExportClasses();
    } catch (const automation::AutomationError& error) {
        out.error = error.Description();
    } catch (const platform::ProcessEnded& ended) {
        out.error = "process ended with " + std::to_string(ended.status);
    }
    out.definitions = DefinitionText(h.store(), "Shop.A") + DefinitionText(h.store(), "Shop.B");
    out.changes = h.form.changes;
    for (const auto& box : h.boxes) out.boxes.push_back(box.text);
    out.calls = plan->calls;
    out.members = plan->members;
    return out;
}

TEST(ExportClasses, SendingCallsAheadOverSocketsLeavesWhatOneAtATimeLeaves) {
    for (bool serverFails : {false, true}) {
        SCOPED_TRACE(serverFails ? "the server fails" : "the modelling tool fails");
        ExportOutcome clean = RunExport(0, true, serverFails);
        ASSERT_EQ(clean.error, "");
        ASSERT_NE(clean.definitions.find("member Items"), std::string::npos);
        ASSERT_EQ(clean.definitions, RunExport(0, false, serverFails).definitions);
        ASSERT_GT(clean.calls, 10);
        for (int n = 1; n <= clean.calls; ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + " fails");
            ExportOutcome waited = RunExport(n, false, serverFails);
            ExportOutcome ahead = RunExport(n, true, serverFails);
            EXPECT_EQ(ahead.definitions, waited.definitions);
            EXPECT_EQ(ahead.changes, waited.changes);
            EXPECT_EQ(ahead.boxes, waited.boxes);
            EXPECT_EQ(ahead.error, waited.error);
            EXPECT_EQ(ahead.calls, waited.calls);
        }
    }
}

TEST(ExportClasses, ReadingAheadOverSocketsLeavesWhatReadingOneAtATimeLeaves) {
    for (bool serverFails : {false, true}) {
        ExportOutcome clean = RunExport(0, true, serverFails);
        ASSERT_EQ(clean.error, "");
        ASSERT_GT(clean.members.size(), 10u);
        for (const std::string& member : clean.members) {
            SCOPED_TRACE(std::string(serverFails ? "server" : "modelling tool") + " member " +
                         member + " fails");
            ExportOutcome waited = RunExport(0, true, serverFails, member, false);
            ExportOutcome ahead = RunExport(0, true, serverFails, member, true);
            EXPECT_EQ(ahead.definitions, waited.definitions);
            EXPECT_EQ(ahead.changes, waited.changes);
            EXPECT_EQ(ahead.boxes, waited.boxes);
            EXPECT_EQ(ahead.error, waited.error);
        }
    }
}

}  // namespace
