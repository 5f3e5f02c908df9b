#include "hosts/tavro/store/store.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/tavro/tavro_test_util.h"

namespace {

using tavro_test::DataDir;

tavro::ClassDef Described(const char* name, const char* description) {
    tavro::ClassDef def;
    def.name = name;
    def.values["Description"] = description;
    return def;
}

std::string DescriptionOf(tavro::Store& store, const char* name) {
    tavro::ClassDef def;
    if (!tavro::LoadClass(store, "USER", name, def)) return "<none>";
    return def.values["Description"];
}

const tavro::Actor kDev{tavro_test::kDeveloper};

TEST(OpenStore, FindsSavedDefinitionsAfterReopening) {
    DataDir dir;
    {
        auto store = tavro::OpenStore(dir.path());
        tavro::ClassDef def = Described("Shop.Order", "Orders");
        tavro::Item total;
        total.name = "Total";
        total.parameters["MAXVAL"] = "100";
        def.properties.push_back(total);
        tavro::SaveClass(*store, "USER", def, kDev, /*replace=*/false);
    }
    auto store = tavro::OpenStore(dir.path());
    tavro::ClassDef def;
    ASSERT_TRUE(tavro::LoadClass(*store, "USER", "shop.order", def));
    EXPECT_EQ(def.name, "Shop.Order");
    EXPECT_EQ(def.values["Description"], "Orders");
    ASSERT_EQ(def.properties.size(), 1u);
    EXPECT_EQ(def.properties[0].parameters["MAXVAL"], "100");
    EXPECT_FALSE(def.values["TimeChanged"].empty());
}

TEST(InitStore, RefusesADirectoryThatHoldsADatabase) {
    DataDir dir;
    try {
        tavro::InitStore(dir.path(), "other", "pw", tavro::HashCost::Minimal);
        FAIL() << "no error";
    } catch (const tavro::StoreError& error) {
        EXPECT_EQ(std::string(error.what()), dir.path() + " already holds a database");
    }
}

TEST(CheckPassword, AcceptsOnlyTheRightPassword) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    EXPECT_TRUE(tavro::CheckPassword(*store, "dev", tavro_test::kDeveloperPassword));
    EXPECT_TRUE(tavro::CheckPassword(*store, "DEV", tavro_test::kDeveloperPassword));
    EXPECT_FALSE(tavro::CheckPassword(*store, "dev", "dev-secreT"));
    EXPECT_FALSE(tavro::CheckPassword(*store, "dev", ""));
    EXPECT_FALSE(tavro::CheckPassword(*store, "nobody", tavro_test::kDeveloperPassword));
}

TEST(SaveClass, RefusesWritesThatTheActorMayNotMake) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    tavro::SaveClass(*store, "USER", Described("Shop.Order", "one"), kDev, false);
    tavro::SetDevelopment(*store, "dev", false);  // revoked: takes effect on the next write
    const tavro::Actor viewer{"viewer"}, op{"op", true};
    const std::string longest = "Shop." + std::string(tavro::kMaxClassNameLength - 5, 'A');
    const std::string tooLong = longest + "A";
    struct Case {
        const char* name;
        tavro::Actor actor;
        const char* className;
        bool replace;
        const char* message;
    };
    const Case cases[] = {
        {"user without Development", viewer, "Shop.Other", false,
         "access denied: user viewer lacks the 'Development' permission"},
        {"revoked user", kDev, "Shop.Order", true,
         "access denied: user dev lacks the 'Development' permission"},
        {"server class, even for the operator", op, "%Library.String", true,
         "class %Library.String belongs to the server and cannot be changed"},
        {"new class over an existing one", op, "Shop.Order", false,
         "class Shop.Order already exists"},
        {"bad name", op, "Shop..Order", false, "bad class name 'Shop..Order'"},
        {"no package", op, "Solo", false, "class name 'Solo' has no package"},
        {"too long", op, tooLong.c_str(), false,
         "class name of 256 characters is longer than the limit of 255"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            tavro::SaveClass(*store, "USER", Described(c.className, "two"), c.actor, c.replace);
            ADD_FAILURE() << "no error";
        } catch (const tavro::StoreError& error) {
            EXPECT_EQ(std::string(error.what()), c.message);
        }
    }
    EXPECT_EQ(DescriptionOf(*store, "Shop.Order"), "one");
    EXPECT_EQ(DescriptionOf(*store, "Shop.Other"), "<none>");
    EXPECT_TRUE(tavro::ClassHistory(*store, "USER", "Shop.Order").empty());
    tavro::SaveClass(*store, "USER", Described(longest.c_str(), "x"), op, false);
}

TEST(SaveClass, LetsEveryUserWriteWhereTheNamespaceEnforcesNoSecurity) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    tavro::AddNamespace(*store, "OPEN", /*security=*/false);
    tavro::SaveClass(*store, "OPEN", Described("Shop.Order", "x"), tavro::Actor{"viewer"}, false);
    EXPECT_TRUE(tavro::ClassExists(*store, "OPEN", "Shop.Order"));
    EXPECT_FALSE(tavro::ClassExists(*store, "USER", "Shop.Order"));
}

TEST(RestoreClass, BringsBackReplacedAndDeletedDefinitions) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    tavro::SaveClass(*store, "USER", Described("Shop.Order", "one"), kDev, false);
    tavro::SaveClass(*store, "USER", Described("Shop.Order", "two"), kDev, true);
    tavro::DeleteClass(*store, "USER", "Shop.Order", kDev);
    EXPECT_FALSE(tavro::ClassExists(*store, "USER", "Shop.Order"));

    std::vector<tavro::HistoryEntry> history = tavro::ClassHistory(*store, "USER", "Shop.Order");
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0].reason, "replaced");
    EXPECT_EQ(history[1].reason, "deleted");
    EXPECT_EQ(history[1].replacedBy, "dev");

    tavro::RestoreClass(*store, "USER", "Shop.Order", 1, tavro::Actor{"op", true});
    EXPECT_EQ(DescriptionOf(*store, "Shop.Order"), "one");
    EXPECT_EQ(tavro::ClassHistory(*store, "USER", "Shop.Order").size(), 2u);

    tavro::RestoreClass(*store, "USER", "Shop.Order", 0, tavro::Actor{"op", true});
    EXPECT_EQ(DescriptionOf(*store, "Shop.Order"), "two");
    history = tavro::ClassHistory(*store, "USER", "Shop.Order");
    ASSERT_EQ(history.size(), 3u);
    EXPECT_EQ(history[2].reason, "restored");
    EXPECT_NE(history[2].xml.find("<Description>one</Description>"), std::string::npos);
}

TEST(RestoreClass, RefusesAVersionThatWasNeverKept) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    tavro::SaveClass(*store, "USER", Described("Shop.Order", "one"), kDev, false);
    tavro::SaveClass(*store, "USER", Described("Shop.Order", "two"), kDev, true);
    EXPECT_THROW(tavro::RestoreClass(*store, "USER", "Shop.Order", 2, kDev), tavro::StoreError);
    EXPECT_THROW(tavro::RestoreClass(*store, "USER", "Shop.Line", 0, kDev), tavro::StoreError);
    EXPECT_EQ(DescriptionOf(*store, "Shop.Order"), "two");
}

// A run cut off between a delete and its save leaves a class missing; the list names each such
// class with the version that brings it back, and pruning keeps that version.
TEST(DeletedClassesSince, ListsMissingClassesThatPruningKeeps) {
    DataDir dir;
    auto store = tavro::OpenStore(dir.path());
    for (const char* name : {"Shop.Gone", "Shop.Back", "Shop.Kept"}) {
        tavro::SaveClass(*store, "USER", Described(name, "one"), kDev, false);
        tavro::SaveClass(*store, "USER", Described(name, "two"), kDev, true);
    }
    tavro::DeleteClass(*store, "USER", "Shop.Gone", kDev);
    tavro::DeleteClass(*store, "USER", "Shop.Back", kDev);
    tavro::SaveClass(*store, "USER", Described("Shop.Back", "three"), kDev, false);

    std::vector<tavro::DeletedClass> deleted =
        tavro::DeletedClassesSince(*store, "USER", "2000-01-01 00:00:00");
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0].name, "Shop.Gone");
    EXPECT_EQ(deleted[0].version, 2);
    EXPECT_EQ(deleted[0].deletedBy, "dev");
    EXPECT_TRUE(tavro::DeletedClassesSince(*store, "USER", "9999-01-01 00:00:00").empty());

    EXPECT_THROW(tavro::PruneHistory(*store, "", 0), tavro::StoreError);
    EXPECT_EQ(tavro::PruneHistory(*store, "USER", 1), 2);  // one each of Gone and Back
    EXPECT_EQ(tavro::PruneHistory(*store, "", 1), 0);
    deleted = tavro::DeletedClassesSince(*store, "USER", "2000-01-01 00:00:00");
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0].version, 1);
    tavro::RestoreClass(*store, "USER", "Shop.Gone", 0, tavro::Actor{"op", true});
    EXPECT_EQ(DescriptionOf(*store, "Shop.Gone"), "two");
}

TEST(ServeLock, RefusesASecondServerOfOneDataDirectory) {
    DataDir dir;
    {
        tavro::ServeLock first(dir.path());
        try {
            tavro::ServeLock second(dir.path());
            ADD_FAILURE() << "no error";
        } catch (const tavro::StoreError& error) {
            EXPECT_EQ(std::string(error.what()),
                      dir.path() + " is already served by another tavro-host (process " +
                          std::to_string(getpid()) + "); stop that one first");
        }
    }
    tavro::ServeLock again(dir.path());
}

}  // namespace
