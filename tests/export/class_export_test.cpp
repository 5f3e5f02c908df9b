// ExportClass: one model class becomes one stored class definition.
#include <gtest/gtest.h>

#include "export/export.h"
#include "export_world.h"

namespace {

using export_test::ClassValue;
using export_test::ExportWorld;
using export_test::FindProperty;

tavro::ClassDef StoredClass(const std::string& name, std::vector<std::string> properties = {}) {
    tavro::ClassDef def;
    def.name = name;
    def.values["Description"] = "as it was";
    for (const std::string& property : properties) {
        tavro::Item item;
        item.name = property;
        def.properties.push_back(item);
    }
    return def;
}

TEST(ExportClass, NewClassCarriesClassLevelDataAndKeywords) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    world.AddClass("Shop", "Base");
    world.AddClass("Billing", "Party");
    rosehost::CreateSuperclassLink(*world.model, *order, "", "Logical View::Shop::Base");
    rosehost::CreateSuperclassLink(*world.model, *order, "", "Logical View::Billing::Party");
    order->documentation = "An order of a customer";
    order->isAbstract = true;
    rosehost::SetToolProperty(*order, "Tavro", "ClassType", "serial");
    rosehost::SetToolProperty(*order, "Tavro", "DdlAllowed", "TRUE");
    rosehost::SetToolProperty(*order, "Tavro", "Language", "basic");
    rosehost::SetToolProperty(*order, "Tavro", "ClientDataType", "");

    std::string message = "left over";
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message), exporting::kClassCreated);
    EXPECT_EQ(message, "");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    EXPECT_EQ(ClassValue(def, "Description"), "An order of a customer");
    EXPECT_EQ(ClassValue(def, "Abstract"), "1");
    EXPECT_EQ(ClassValue(def, "ClassType"), "serial");
    EXPECT_EQ(ClassValue(def, "super"), "Shop.Base,Billing.Party");
    EXPECT_EQ(ClassValue(def, "DdlAllowed"), "1");
    EXPECT_EQ(ClassValue(def, "Final"), "0");
    EXPECT_EQ(ClassValue(def, "Language"), "basic");
    EXPECT_EQ(ClassValue(def, "ClientDataType"), "");
    EXPECT_EQ(ClassValue(def, "OdbcType"), "VARCHAR");
    EXPECT_EQ(ClassValue(def, "SoapBindingStyle"), "document");
    EXPECT_EQ(ClassValue(def, "Modified"), "3");
}

TEST(ExportClass, PersistenceDecidesClassTypeAndDefaultSuperClass) {
    struct Case {
        const char* name;
        bool persistent;
        const char* superClass;  // "" for none
        const char* classTypeProperty;
        const char* classType;
        const char* super;
    };
    const Case cases[] = {
        {"persistent alone", true, "", "serial", "persistent", "%Persistent"},
        {"persistent with a super class", true, "Logical View::Shop::Base", "", "persistent",
         "Shop.Base"},
        {"not persistent", false, "", "serial", "serial", ""},
        {"not persistent, no type", false, "", "", "", ""},
        {"super class outside the model", false, "Logical View::Billing::Party", "", "",
         "Billing.Party"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        world.AddClass("Shop", "Base");
        order->isPersistent = c.persistent;
        if (*c.superClass != '\0') {
            rosehost::CreateSuperclassLink(*world.model, *order, "", c.superClass);
        }
        rosehost::SetToolProperty(*order, "Tavro", "ClassType", c.classTypeProperty);
        std::string message;
        ASSERT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassCreated);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        EXPECT_EQ(ClassValue(def, "ClassType"), c.classType);
        EXPECT_EQ(ClassValue(def, "super"), c.super);
    }
}

TEST(ExportClass, ClassOfTheTopCategoryGoesToTheUserPackage) {
    ExportWorld world;
    auto person = world.AddClass("", "Person");
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*person), message),
              exporting::kClassCreated);
    tavro::ClassDef def;
    EXPECT_TRUE(world.Load("User.Person", def));
}

TEST(ExportClass, ExistingClassSkippedWhenOverrideIsClear) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    world.AddAttribute(*order, "Total", "Integer");
    world.Store(StoredClass("Shop.Order", {"Gone"}));
    world.SetOverride(false);
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message), exporting::kClassSkipped);
    EXPECT_EQ(message, "");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    EXPECT_EQ(ClassValue(def, "Description"), "as it was");
    EXPECT_NE(FindProperty(def, "Gone"), nullptr);
    EXPECT_EQ(FindProperty(def, "Total"), nullptr);
}

TEST(ExportClass, ExistingClassDeletedAndWrittenAnewWhenOverrideIsSet) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    world.AddAttribute(*order, "Total", "Integer");
    world.Store(StoredClass("Shop.Order", {"Gone"}));
    world.SetOverride(true);
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
              exporting::kClassReplaced);
    EXPECT_EQ(message, "");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    EXPECT_EQ(ClassValue(def, "Description"), "");
    EXPECT_EQ(FindProperty(def, "Gone"), nullptr);
    EXPECT_NE(FindProperty(def, "Total"), nullptr);
}

TEST(ExportClass, InvalidMemberCountsFollowEachOtherWithoutSeparator) {
    struct Case {
        int badProperties, badMethods, badRelationships;
        const char* message;
    };
    const Case cases[] = {
        {0, 0, 0, ""},
        {2, 1, 0, "2 Invalid Properties Skipped.1 Invalid Method Skipped."},
        {1, 0, 0, "1 Invalid Property Skipped."},
        {0, 3, 0, "3 Invalid Methods Skipped."},
        {0, 0, 1, "1 Invalid Relationship Skipped."},
        {1, 2, 2,
         "1 Invalid Property Skipped.2 Invalid Methods Skipped.2 Invalid Relationships Skipped."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        auto other = world.AddClass("Shop", "Other");
        world.AddAttribute(*order, "Good", "Integer");
        for (int i = 0; i < c.badProperties; ++i) {
            auto bad = world.AddAttribute(*order, "Bad" + std::to_string(i), "Integer");
            rosehost::SetToolProperty(*bad, "Tavro", "ReadOnly", "yes");
        }
        world.AddOperation(*order, "Fine", "");
        for (int i = 0; i < c.badMethods; ++i) {
            auto bad = world.AddOperation(*order, "Wrong" + std::to_string(i), "");
            rosehost::SetToolProperty(*bad, "Tavro", "Final", "");
        }
        for (int i = 0; i < c.badRelationships; ++i) {
            auto bad = world.Associate(*order, *other, "", "Nothing" + std::to_string(i));
            bad->roles[1]->multiplicity = "0";
        }
        std::string message;
        EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassCreated);
        EXPECT_EQ(message, c.message);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        EXPECT_EQ(def.properties.size(), 1U);
        EXPECT_EQ(def.methods.size(), 1U);
    }
}

// The server refuses a member it would not store where the member is made or inserted, so
// the member is counted and the class, deleted first for the override, is written anew.
TEST(ExportClass, ReplacedClassKeepsItsGoodMembersWhenTheServerRefusesOne) {
    struct Case {
        const char* name;
        std::vector<const char*> attributes;
        std::vector<const char*> operations;
        const char* message;
        std::vector<const char*> stored;  // property names, then method names
    };
    const Case cases[] = {
        {"property with a bad name",
         {"Total", "bad_name"},
         {"Recalc"},
         "1 Invalid Property Skipped.",
         {"Total", "Recalc"}},
        {"method without a name",
         {"Total"},
         {"Recalc", ""},
         "1 Invalid Method Skipped.",
         {"Total", "Recalc"}},
        {"names that differ only in case",
         {"Count", "count"},
         {},
         "1 Invalid Property Skipped.",
         {"Count"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        for (const char* name : c.attributes) world.AddAttribute(*order, name, "Integer");
        for (const char* name : c.operations) world.AddOperation(*order, name, "");
        world.Store(StoredClass("Shop.Order", {"Gone"}));
        world.SetOverride(true);
        std::string message;
        EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassReplaced);
        EXPECT_EQ(message, c.message);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        std::vector<std::string> stored;
        for (const tavro::Item& item : def.properties) stored.push_back(item.name);
        for (const tavro::Item& item : def.methods) stored.push_back(item.name);
        EXPECT_EQ(stored, std::vector<std::string>(c.stored.begin(), c.stored.end()));
    }
}

TEST(ExportClass, BooleanClassKeywordThatDoesNotConvertFailsTheClass) {
    for (const char* value : {"", "yes"}) {
        SCOPED_TRACE(std::string("\"") + value + "\"");
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        rosehost::SetToolProperty(*order, "Tavro", "SqlRowIdPrivate", value);
        std::string message;
        EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassFailed);
        EXPECT_EQ(message, "Type mismatch");
        tavro::ClassDef def;
        EXPECT_FALSE(world.Load("Shop.Order", def));
    }
}

bool NamedAsDeleted(const std::string& className) {
    for (const exporting::DeletedClass& deleted : exporting::ClassesDeletedNotSaved()) {
        if (deleted.className == className) return true;
    }
    return false;
}

// A replaced class that fails after its delete stays deleted; its message and the run's list
// name the command that restores it. A stop asked for before the delete changes nothing.
TEST(ExportClass, ReplacedClassThatFailsStaysDeletedAndIsNamedWithItsRestore) {
    struct Case {
        const char* name;
        const char* procedureBlock;
        int stopAtCheck;  // the stop check that first answers true; 0 none
        const char* message;
        bool deleted;
    };
    const Case cases[] = {
        {"stop before the delete", "False", 1, "the run was stopped", false},
        {"keyword that does not convert", "sometimes", 0,
         "Type mismatch; the class was deleted and not saved again, restore it with: "
         "tavro-host class restore USER Shop.Order",
         true},
        {"stop after the delete", "False", 2,
         "the run was stopped; the class was deleted and not saved again, restore it with: "
         "tavro-host class restore USER Shop.Order",
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        rosehost::SetToolProperty(*order, "Tavro", "ProcedureBlock", c.procedureBlock);
        world.Store(StoredClass("Shop.Order"));
        world.SetOverride(true);
        int checks = 0;
        if (c.stopAtCheck != 0) {
            exporting::StopRequested = [&] { return ++checks >= c.stopAtCheck; };
        }
        std::string message;
        EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassFailed);
        exporting::StopRequested = nullptr;
        EXPECT_EQ(message, c.message);
        tavro::ClassDef def;
        EXPECT_EQ(world.Load("Shop.Order", def), !c.deleted);
        EXPECT_EQ(NamedAsDeleted("Shop.Order"), c.deleted);
    }
}

TEST(ExportClass, RefusedSaveAppendsTheServerErrorAfterTheCounts) {
    ExportWorld world("viewer");
    auto order = world.AddClass("Shop", "Order");
    auto bad = world.AddAttribute(*order, "Bad", "Integer");
    rosehost::SetToolProperty(*bad, "Tavro", "Calculated", "perhaps");
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message), exporting::kClassFailed);
    EXPECT_EQ(message,
              "1 Invalid Property Skipped.access denied: user viewer lacks the 'Development' "
              "permission");
}

TEST(ExportClass, NoClassFailsWithTheAutomationError) {
    ExportWorld world;
    std::string message;
    EXPECT_EQ(exporting::ExportClass(nullptr, message), exporting::kClassFailed);
    EXPECT_EQ(message, "Object variable or With block variable not set");
}

constexpr const char* kOrderXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Class name=\"Shop.Order\">\n"
    "  <Description>from the server</Description>\n"
    "  <Property name=\"Total\">\n"
    "    <Type>%Integer</Type>\n"
    "  </Property>\n"
    "  <Storage name=\"Default\"><DataLocation>^Shop.OrderD</DataLocation></Storage>\n"
    "</Class>\n";

TEST(ExportClass, ClassXmlSentFirstOnlyWhenXmlDefinedIsExactlyTrue) {
    struct Case {
        const char* xmlDefined;
        bool keepsStorage;
    };
    const Case cases[] = {{"True", true}, {"true", false}, {"", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("\"") + c.xmlDefined + "\"");
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        world.AddAttribute(*order, "Total", "Currency");
        order->documentation = "from the model";
        rosehost::SetToolProperty(*order, "TavroHidden", "XmlDefined", c.xmlDefined);
        rosehost::SetToolProperty(*order, "TavroHidden", "TavroClassXml", kOrderXml);
        std::string message;
        EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassCreated);
        EXPECT_EQ(message, "");
        EXPECT_TRUE(world.boxes.empty());
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        EXPECT_EQ(ClassValue(def, "Description"), "from the model");
        EXPECT_EQ(def.others.size(), c.keepsStorage ? 1U : 0U);
        ASSERT_NE(FindProperty(def, "Total"), nullptr);
        EXPECT_EQ(export_test::PropertyValue(*FindProperty(def, "Total"), "Type"), "%Currency");
    }
}

TEST(ExportClass, BrokenClassXmlIsShownAndTheExportGoesOn) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    rosehost::SetToolProperty(*order, "TavroHidden", "XmlDefined", "True");
    rosehost::SetToolProperty(*order, "TavroHidden", "TavroClassXml", "<Class");
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*order), message), exporting::kClassCreated);
    EXPECT_EQ(message, "");
    EXPECT_EQ(world.boxes.size(), 1U);
    tavro::ClassDef def;
    EXPECT_TRUE(world.Load("Shop.Order", def));
}

}  // namespace
