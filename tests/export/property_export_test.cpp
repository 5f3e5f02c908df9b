// ExportProperty and its type mapping: model attributes become stored properties.
#include <gtest/gtest.h>

#include "export/export.h"
#include "export_world.h"
#include "model/rose.h"
#include "server/server.h"

namespace {

using export_test::ExportWorld;
using export_test::FindProperty;
using export_test::PropertyValue;

TEST(ServerTypeOfRoseType, MapsModelTypeNamesInAnyLetterCase) {
    struct Case {
        const char* roseType;
        const char* serverType;
    };
    const Case cases[] = {
        {"", ""},
        {"Boolean", "%Boolean"},
        {"byte", "%Integer"},
        {"Currency", "%Currency"},
        {"DATE", "%Date"},
        {"Double", "%Float"},
        {"Integer", "%Integer"},
        {"long", "%Integer"},
        {"single", "%Float"},
        {"String", "%String"},
        {"Object", "%Stream"},
        {"vARIANT", "%Stream"},
        {"Person", "Person"},
        {"Shop.Order", "Shop.Order"},
        {"Strings", "Strings"},
    };
    server::ServerClassTypes.Clear();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.roseType);
        EXPECT_EQ(exporting::ServerTypeOfRoseType(c.roseType), c.serverType);
    }
}

TEST(ServerTypeOfRoseType, KnownServerClassesStayAsTheyAre) {
    struct Case {
        const char* roseType;
        const char* serverType;
    };
    const Case cases[] = {
        {"%Library.String", "%Library.String"},
        {"user.person", "user.person"},
        // A server class that bears a model type name wins over the mapping.
        {"date", "date"},
        {"Integer", "%Integer"},
    };
    server::ServerClassTypes.Clear();
    server::ServerClassTypes.Add("%Library.String", server::ClassDesc{server::kDatatypeClass});
    server::ServerClassTypes.Add("User.Person", server::ClassDesc{server::kPersistentClass});
    server::ServerClassTypes.Add("Date", server::ClassDesc{server::kOtherClass});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.roseType);
        EXPECT_EQ(exporting::ServerTypeOfRoseType(c.roseType), c.serverType);
    }
    server::ServerClassTypes.Clear();
}

TEST(ExportProperty, TypeAndCollectionFollowTheModelType) {
    struct Case {
        const char* type;
        const char* collectionProperty;
        const char* serverType;
        const char* collection;
    };
    const Case cases[] = {
        {"Integer", "Single Value", "%Integer", ""},
        {"String", "List", "%String", "list"},
        {"String", "Array", "%String", "array"},
        {"String", "Binary Stream", "%String", "binarystream"},
        {"String", "Character Stream", "%String", "characterstream"},
        {"String", "list", "%String", ""},
        {"Object", "Single Value", "%Stream", "binarystream"},
        {"Object", "List", "%Stream", "binarystream"},
        {"variant", "Array", "%Stream", "characterstream"},
        {"Money", "", "Money", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.type) + " / " + c.collectionProperty);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        auto total = world.AddAttribute(*order, "Total", c.type);
        rosehost::SetToolProperty(*total, "Tavro", "Collection", c.collectionProperty);
        std::string message;
        ASSERT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassCreated);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        const tavro::Item* property = FindProperty(def, "Total");
        ASSERT_NE(property, nullptr);
        EXPECT_EQ(PropertyValue(*property, "Type"), c.serverType);
        EXPECT_EQ(PropertyValue(*property, "Collection"), c.collection);
    }
}

TEST(ExportProperty, ModelClassTypeBecomesItsServerName) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    world.AddClass("Shop", "Customer");
    world.AddAttribute(*order, "Buyer", "Customer");
    world.AddAttribute(*order, "Note", "Logical View::Shop::Missing");
    std::string message;
    exporting::ExportClass(world.ClassObject(*order), message);
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    ASSERT_NE(FindProperty(def, "Buyer"), nullptr);
    EXPECT_EQ(PropertyValue(*FindProperty(def, "Buyer"), "Type"), "Shop.Customer");
    // A type that names no model class is written as it stands.
    ASSERT_NE(FindProperty(def, "Note"), nullptr);
    EXPECT_EQ(PropertyValue(*FindProperty(def, "Note"), "Type"), "Logical View::Shop::Missing");
}

TEST(ExportProperty, PrivateUnlessPublic) {
    struct Case {
        std::int16_t visibility;
        const char* isPrivate;
    };
    const Case cases[] = {{rosehost::kPublic, "0"},
                          {rosehost::kProtected, "1"},
                          {rosehost::kPrivate, "1"},
                          {rosehost::kImplementation, "1"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.visibility);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        world.AddAttribute(*order, "Total", "Integer")->exportControl = c.visibility;
        std::string message;
        exporting::ExportClass(world.ClassObject(*order), message);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        ASSERT_NE(FindProperty(def, "Total"), nullptr);
        EXPECT_EQ(PropertyValue(*FindProperty(def, "Total"), "Private"), c.isPrivate);
    }
}

TEST(ExportProperty, OnlyParametersWithTheAttributesOwnValues) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto code = world.AddAttribute(*order, "Code", "String");
    rosehost::SetToolProperty(*code, "Parameter", "MAXLEN", "80");
    rosehost::SetToolProperty(*code, "Parameter", "PATTERN", "3N");
    rosehost::SetToolProperty(*code, "Parameter", "MINLEN", "");
    // An earlier definition of the property holds a parameter the model no longer gives.
    tavro::ClassDef old;
    old.name = "Shop.Order";
    tavro::Item oldCode;
    oldCode.name = "Code";
    oldCode.parameters["VALUELIST"] = ",a,b";
    old.properties.push_back(oldCode);
    world.Store(old);
    world.SetOverride(true);

    std::string message;
    ASSERT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
              exporting::kClassReplaced);
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    ASSERT_NE(FindProperty(def, "Code"), nullptr);
    std::map<std::string, std::string> expected = {
        {"MAXLEN", "80"}, {"MINLEN", ""}, {"PATTERN", "3N"}};
    EXPECT_EQ(FindProperty(def, "Code")->parameters, expected);
}

TEST(ExportProperty, ParametersClearedOnAPropertyFoundInTheDefinition) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto code = world.AddAttribute(*order, "Code", "String");
    rosehost::SetToolProperty(*code, "Parameter", "SCALE", "2");
    rosehost::SetToolProperty(*code, "Parameter", "MAXVAL", "9");
    automation::ObjectRef definition = world.NewDefinition("Shop.Order");
    ASSERT_TRUE(
        exporting::ExportProperty("Shop.Order", definition, world.AttributeObject(*order, 1)));
    // The second export finds the property it inserted and fills it again; MAXVAL is back at
    // its default by then and so leaves the parameters.
    code->properties.clear();
    rosehost::SetToolProperty(*code, "Parameter", "SCALE", "4");
    ASSERT_TRUE(
        exporting::ExportProperty("Shop.Order", definition, world.AttributeObject(*order, 1)));
    automation::CallByName(definition, "sys_Save");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    ASSERT_EQ(def.properties.size(), 1U);
    std::map<std::string, std::string> expected = {{"SCALE", "4"}};
    EXPECT_EQ(def.properties[0].parameters, expected);
}

TEST(ExportProperty, BooleanKeywordsConvertOrFailTheProperty) {
    struct Case {
        const char* value;
        bool exported;
        const char* stored;
    };
    const Case cases[] = {
        {"True", true, "1"}, {"false", true, "0"}, {"TRUE", true, "1"}, {"0", true, "0"},
        {"-1", true, "1"},   {"2.5", true, "1"},   {"", false, ""},     {"yes", false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("\"") + c.value + "\"");
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        auto total = world.AddAttribute(*order, "Total", "Integer");
        rosehost::SetToolProperty(*total, "Tavro", "Required", c.value);
        automation::ObjectRef definition = world.NewDefinition("Shop.Order");
        EXPECT_EQ(
            exporting::ExportProperty("Shop.Order", definition, world.AttributeObject(*order, 1)),
            c.exported);
        automation::CallByName(definition, "sys_Save");
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        const tavro::Item* property = FindProperty(def, "Total");
        if (!c.exported) {
            // A new property that failed is not inserted.
            EXPECT_EQ(property, nullptr);
            continue;
        }
        ASSERT_NE(property, nullptr);
        EXPECT_EQ(PropertyValue(*property, "Required"), c.stored);
    }
}

TEST(ExportProperty, StringKeywordsCopiedAsTheyStandEmptyIncluded) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto total = world.AddAttribute(*order, "Total", "Integer");
    rosehost::SetToolProperty(*total, "Tavro", "SqlFieldName", "OrderTotal");
    rosehost::SetToolProperty(*total, "Tavro", "InitialExpression", "");
    total->documentation = "Sum of the lines";
    std::string message;
    exporting::ExportClass(world.ClassObject(*order), message);
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    const tavro::Item* property = FindProperty(def, "Total");
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(PropertyValue(*property, "SqlFieldName"), "OrderTotal");
    EXPECT_EQ(PropertyValue(*property, "InitialExpression"), "");
    EXPECT_EQ(PropertyValue(*property, "SqlListType"), "");
    EXPECT_EQ(PropertyValue(*property, "Description"), "Sum of the lines");
}

}  // namespace
