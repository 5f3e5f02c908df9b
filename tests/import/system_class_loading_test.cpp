#include <gtest/gtest.h>

#include <algorithm>

#include "automation/local_object.h"
#include "import/import.h"
#include "platform/objects.h"
#include "server/server.h"
#include "tests/import/import_harness.h"

namespace {

using automation::Variant;
using import_test::Class;
using import_test::Harness;
using importing::AddTavroSpecialClasses;

constexpr const char* kSystemPath = "Logical View::Tavro System Classes";

// The '%' classes the server's Summary query flags as datatype (or system) classes, in the
// query's order, read from the server's own store.
std::vector<std::string> FlaggedClasses(Harness& h, bool datatype) {
    std::vector<std::string> names;
    for (const auto& row : tavro::SummaryOf(h.store(), "USER")) {
        bool flagged = datatype ? row.datatype : row.system;
        if (flagged && !row.name.empty() && row.name[0] == '%') names.push_back(row.name);
    }
    return names;
}

std::vector<std::string> RowsWith(const Harness& h, const std::string& status) {
    std::vector<std::string> names;
    for (const auto& row : h.form.Rows()) {
        EXPECT_EQ(row.icon, 2) << row.className;
        if (row.status == status) names.push_back(row.className);
    }
    return names;
}

std::vector<std::string> SystemCategoryClasses(Harness& h) {
    std::vector<std::string> names;
    for (const auto& category : rosehost::CategoriesByPath(h.model(), kSystemPath)) {
        for (const auto& cls : category->classes) names.push_back(cls->name);
    }
    return names;
}

TEST(AddTavroSpecialClasses, DatatypeRunLoadsEveryPercentDatatypeClassOnce) {
    Harness h;
    h.Save({Class("User.Money", {{"ClassType", "datatype"}})});
    window::LinkMode = window::RunMode::Datatypes;
    std::vector<std::string> expected = FlaggedClasses(h, /*datatype=*/true);
    ASSERT_FALSE(expected.empty());

    EXPECT_TRUE(AddTavroSpecialClasses());
    EXPECT_EQ(RowsWith(h, "Done"), expected);
    EXPECT_EQ(h.form.Rows().size(), expected.size());
    EXPECT_EQ(SystemCategoryClasses(h), expected);
    EXPECT_EQ(
        h.form.StatusHistory(),
        (std::vector<std::string>{"Connecting to Rational Rose ...", "Connecting to Tavro ...",
                                  "Loading Tavro Datatype Classess ...", "Done"}));
    EXPECT_EQ(h.form.CloseCaption(), "Close");
    EXPECT_TRUE(h.boxes.empty());

    // The second run finds them all in the category and creates nothing.
    h.form.ClearLog();
    EXPECT_TRUE(AddTavroSpecialClasses());
    EXPECT_EQ(RowsWith(h, "Already Defined"), expected);
    EXPECT_EQ(SystemCategoryClasses(h), expected);
    EXPECT_EQ(rosehost::CategoriesByPath(h.model(), kSystemPath).size(), 1u);
}

TEST(AddTavroSpecialClasses, SystemRunAfterDatatypeRunSkipsTheClassesAlreadyThere) {
    Harness h;
    window::LinkMode = window::RunMode::Datatypes;
    ASSERT_TRUE(AddTavroSpecialClasses());
    std::vector<std::string> datatypes = SystemCategoryClasses(h);
    h.form.ClearLog();
    window::LinkMode = window::RunMode::System;
    EXPECT_TRUE(AddTavroSpecialClasses());
    EXPECT_EQ(h.form.StatusHistory()[6], "Loading Tavro System Classess ...");
    std::vector<std::string> system = FlaggedClasses(h, /*datatype=*/false);
    std::vector<std::string> done, already;
    for (const std::string& name : system) {
        bool isDatatype = std::find(datatypes.begin(), datatypes.end(), name) != datatypes.end();
        (isDatatype ? already : done).push_back(name);
    }
    EXPECT_EQ(RowsWith(h, "Already Defined"), already);
    EXPECT_EQ(RowsWith(h, "Done"), done);
    EXPECT_FALSE(done.empty());
}

TEST(AddTavroSpecialClasses, OnlyClassesInTheSystemCategoryCount) {
    Harness h;
    window::LinkMode = window::RunMode::Datatypes;
    // Moved out of the category by the user: created again. An empty category is reused.
    h.MakeModelClass("Logical View::Elsewhere::%Library.String");
    h.MakeModelClass(std::string(kSystemPath) + "::%Library.Integer");
    ASSERT_TRUE(AddTavroSpecialClasses());
    EXPECT_EQ(rosehost::CategoriesByPath(h.model(), kSystemPath).size(), 1u);
    for (const auto& row : h.form.Rows()) {
        SCOPED_TRACE(row.className);
        EXPECT_EQ(row.status, row.className == "%Library.Integer" ? "Already Defined" : "Done");
    }
    EXPECT_TRUE(h.ModelClass(std::string(kSystemPath) + "::%Library.String"));
}

// A result set with the given column names whose rows hold the given values.
automation::ObjectRef ScriptedQuery(std::vector<std::string> columns,
                                    std::vector<std::vector<Variant>> rows) {
    auto query = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    auto next = std::make_shared<std::size_t>(0);
    using automation::Args;
    using automation::CallKind;
    query->Define(0, "ColumnCount", [columns](CallKind, const Args&) {
        return Variant(static_cast<std::int32_t>(columns.size()));
    });
    query->Define(0, "ColumnName", [columns](CallKind, const Args& args) {
        return Variant(columns.at(static_cast<std::size_t>(args.at(0).ToInt32() - 1)));
    });
    query->Define(0, "Execute", [](CallKind, const Args&) { return Variant(); });
    query->Define(0, "Close", [](CallKind, const Args&) { return Variant(); });
    query->Define(0, "Next", [next, rows](CallKind, const Args&) {
        if (*next >= rows.size()) return Variant(false);
        ++*next;
        return Variant(true);
    });
    query->Define(0, "ColumnValue", [next, rows](CallKind, const Args& args) {
        return rows.at(*next - 1).at(static_cast<std::size_t>(args.at(0).ToInt32() - 1));
    });
    return query;
}

TEST(AddTavroSpecialClasses, LoadsPercentRowsFlaggedForTheRunInQueryOrder) {
    // Columns in an order of their own; Datatype and System as numbers, texts or nothing.
    const std::vector<std::string> columns = {"System", "Extra", "Name", "Datatype"};
    const std::vector<std::vector<Variant>> rows = {
        {Variant(std::int32_t{1}), Variant("x"), Variant("%Z.Both"), Variant(std::int32_t{1})},
        {Variant(std::int32_t{0}), Variant(""), Variant("%A.Type"), Variant("1")},
        {Variant(std::int32_t{1}), Variant(""), Variant("%B.Sys"), Variant(std::int32_t{0})},
        {Variant(), Variant(""), Variant("%C.Null"), Variant()},
        {Variant(std::int32_t{1}), Variant(""), Variant("User.Own"), Variant(std::int32_t{1})},
        {Variant(std::int16_t{-1}), Variant(""), Variant("%D.Minus"), Variant(std::int16_t{2})},
    };
    struct Case {
        std::int16_t mode;
        std::vector<std::string> loaded;
    };
    const Case cases[] = {
        {3, {"%Z.Both", "%A.Type", "%D.Minus"}},
        {4, {"%Z.Both", "%B.Sys", "%D.Minus"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        Harness h;
        h.openQuery = [&](const std::string& className, const std::string& query) {
            EXPECT_EQ(className, "%Dictionary.ClassDefinition");
            EXPECT_EQ(query, "Summary");
            return ScriptedQuery(columns, rows);
        };
        window::LinkMode = static_cast<window::RunMode>(c.mode);
        EXPECT_TRUE(AddTavroSpecialClasses());
        EXPECT_EQ(RowsWith(h, "Done"), c.loaded);
        EXPECT_EQ(SystemCategoryClasses(h), c.loaded);
    }
}

TEST(AddTavroSpecialClasses, NoQualifyingClassGivesAnEmptyLogAndDone) {
    Harness h;
    h.openQuery = [](const std::string&, const std::string&) {
        return ScriptedQuery({"Name", "Datatype", "System"},
                             {{Variant("User.A"), Variant(std::int32_t{1}), Variant()}});
    };
    window::LinkMode = window::RunMode::Datatypes;
    EXPECT_TRUE(AddTavroSpecialClasses());
    EXPECT_TRUE(h.form.Rows().empty());
    EXPECT_EQ(h.form.Status(), "Done");
    EXPECT_EQ(h.form.CloseCaption(), "Close");
}

TEST(AddTavroSpecialClasses, MissingColumnEndsTheProcessAfterItsMessage) {
    const std::vector<std::string> columnSets[] = {
        {"Name", "Datatype"}, {"Name", "System"}, {"name", "Datatype", "System"}};
    for (const auto& columns : columnSets) {
        SCOPED_TRACE(columns.front() + " " + columns.back());
        Harness h;
        h.openQuery = [&](const std::string&, const std::string&) {
            return ScriptedQuery(columns, {});
        };
        window::LinkMode = window::RunMode::Datatypes;
        EXPECT_THROW(AddTavroSpecialClasses(), platform::ProcessEnded);
        ASSERT_EQ(h.boxes.size(), 1u);
        EXPECT_EQ(h.boxes[0].text, "Internal Error in ClassInfo Query");
        EXPECT_EQ(h.boxes[0].buttons, platform::Buttons::Ok);
        EXPECT_EQ(h.boxes[0].icon, platform::Icon::None);
        EXPECT_TRUE(h.form.Rows().empty());
    }
}

TEST(AddTavroSpecialClasses, MissingModellingToolOrServerEndsTheProcessAfterItsMessage) {
    struct Case {
        const char* name;
        bool roseRuns;
        const char* message;
        std::size_t statuses;
    };
    const Case cases[] = {
        {"no modelling tool", false, "Rational Rose is not running", 1},
        {"no server", true, "Unable to connect to Tavro", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Harness h;
        window::LinkMode = window::RunMode::System;
        if (!c.roseRuns) {
            platform::Objects().getActiveObject = [](const std::string&) -> automation::ObjectRef {
                throw automation::AutomationError("ActiveX component can't create object");
            };
        } else {
            server::ServerFactory = nullptr;
        }
        EXPECT_THROW(AddTavroSpecialClasses(), platform::ProcessEnded);
        ASSERT_EQ(h.boxes.size(), 1u);
        EXPECT_EQ(h.boxes[0].text, c.message);
        EXPECT_EQ(h.boxes[0].title, platform::kProgramTitle);
        EXPECT_EQ(h.boxes[0].buttons, platform::Buttons::Ok);
        EXPECT_EQ(h.boxes[0].icon, platform::Icon::None);
        EXPECT_EQ(h.form.StatusHistory().size(), c.statuses);
        EXPECT_EQ(h.form.CloseCaption(), "Cancel");
    }
}

TEST(AddTavroSpecialClasses, UnreadableFlagTakesTheFailureExit) {
    Harness h;
    h.openQuery = [](const std::string&, const std::string&) {
        return ScriptedQuery({"Name", "Datatype", "System"},
                             {{Variant("%A.One"), Variant(std::int32_t{1}), Variant()},
                              {Variant("%B.Two"), Variant("yes"), Variant()},
                              {Variant("%C.Three"), Variant(std::int32_t{1}), Variant()}});
    };
    window::LinkMode = window::RunMode::Datatypes;
    EXPECT_FALSE(AddTavroSpecialClasses());
    EXPECT_EQ(RowsWith(h, "Done"), std::vector<std::string>{"%A.One"});
    EXPECT_EQ(h.form.Rows().size(), 1u);
    EXPECT_EQ(h.form.Status(), "Loading Tavro Datatype Classess ...");
    EXPECT_EQ(h.form.CloseCaption(), "Close");
    EXPECT_TRUE(h.boxes.empty());
}

TEST(AddTavroSpecialClasses, ModellingToolFailureLeavesTheRowInHandUnfinished) {
    // Fail the Nth call into the modelling tool: the run ends with True, or with False and
    // the caption "Close", every finished row done, at most the last row left in progress,
    // and the classes created before the failure still in the model.
    bool completed = false;
    for (int n = 1; !completed && n < 500; ++n) {
        SCOPED_TRACE(n);
        Harness h;
        h.openQuery = [](const std::string&, const std::string&) {
            return ScriptedQuery({"Name", "Datatype", "System"},
                                 {{Variant("%A.One"), Variant(std::int32_t{1}), Variant()},
                                  {Variant("%B.Two"), Variant(std::int32_t{1}), Variant()}});
        };
        window::LinkMode = window::RunMode::Datatypes;
        h.InjectRoseFault(n);
        completed = AddTavroSpecialClasses();
        EXPECT_EQ(h.form.CloseCaption(), "Close");
        EXPECT_TRUE(h.boxes.empty());
        const auto& rows = h.form.Rows();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            bool last = i + 1 == rows.size();
            if (!completed && last && rows[i].icon == 3) {
                EXPECT_EQ(rows[i].status, "");
                continue;
            }
            EXPECT_EQ(rows[i].icon, 2);
            EXPECT_EQ(rows[i].status, "Done");
            EXPECT_TRUE(h.ModelClass(std::string(kSystemPath) + "::" + rows[i].className));
        }
        if (!completed) {
            EXPECT_NE(h.form.Status(), "Done");
        }
    }
    EXPECT_TRUE(completed);
}

}  // namespace
