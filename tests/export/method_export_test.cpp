// ExportMethod: model operations become stored methods.
#include <gtest/gtest.h>

#include "export/export.h"
#include "export_world.h"

namespace {

using export_test::ExportWorld;
using export_test::FindMethod;
using export_test::MethodValue;

struct Param {
    const char* name;
    const char* type;
    const char* defaultValue;
};

TEST(ExportMethod, SignatureFromReturnTypeAndParameters) {
    struct Case {
        const char* name;
        const char* returnType;
        std::vector<Param> parameters;
        const char* serverReturnType;
        const char* formalSpec;
    };
    const Case cases[] = {
        {"typed with default",
         "Currency",
         {{"qty", "Integer", ""}, {"rate", "Double", "1.5"}},
         "%Currency",
         "qty:%Integer,rate:%Float=1.5"},
        {"untyped", "", {{"x", "", "5"}, {"y", "", ""}}, "", "x=5,y"},
        {"object", "Boolean", {{"blob", "Object", ""}}, "%Boolean", "blob:%Stream"},
        {"model class", "Person", {{"p", "Person", ""}}, "Person", "p:Person"},
        {"no parameters", "", {}, "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        world.AddClass("Shop", "Person");
        auto operation = world.AddOperation(*order, "Total", c.returnType);
        std::int16_t position = 1;
        for (const Param& p : c.parameters) {
            rosehost::CreateParameter(*world.model, *operation, p.name, p.type, p.defaultValue,
                                      position++);
        }
        std::string message;
        ASSERT_EQ(exporting::ExportClass(world.ClassObject(*order), message),
                  exporting::kClassCreated);
        EXPECT_EQ(message, "");
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        const tavro::Item* method = FindMethod(def, "Total");
        ASSERT_NE(method, nullptr);
        EXPECT_EQ(MethodValue(*method, "ReturnType"), c.serverReturnType);
        EXPECT_EQ(MethodValue(*method, "FormalSpec"), c.formalSpec);
    }
}

TEST(ExportMethod, PrivateUnlessPublic) {
    struct Case {
        std::int16_t visibility;
        const char* isPrivate;
    };
    const Case cases[] = {
        {rosehost::kPublic, "0"}, {rosehost::kProtected, "1"}, {rosehost::kPrivate, "1"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.visibility);
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        world.AddOperation(*order, "Recalc", "")->exportControl = c.visibility;
        std::string message;
        exporting::ExportClass(world.ClassObject(*order), message);
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        ASSERT_NE(FindMethod(def, "Recalc"), nullptr);
        EXPECT_EQ(MethodValue(*FindMethod(def, "Recalc"), "Private"), c.isPrivate);
    }
}

TEST(ExportMethod, KeywordsWrittenByKind) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto recalc = world.AddOperation(*order, "Recalc", "");
    recalc->documentation = "Adds the lines up";
    rosehost::SetToolProperty(*recalc, "Tavro", "ClassMethod", "true");
    // A string for methods, whatever it holds.
    rosehost::SetToolProperty(*recalc, "Tavro", "ProcedureBlock", "maybe");
    rosehost::SetToolProperty(*recalc, "Tavro", "CodeMode", "");
    std::string message;
    exporting::ExportClass(world.ClassObject(*order), message);
    EXPECT_EQ(message, "");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    const tavro::Item* method = FindMethod(def, "Recalc");
    ASSERT_NE(method, nullptr);
    EXPECT_EQ(MethodValue(*method, "ClassMethod"), "1");
    EXPECT_EQ(MethodValue(*method, "ProcedureBlock"), "maybe");
    EXPECT_EQ(MethodValue(*method, "CodeMode"), "");
    EXPECT_EQ(MethodValue(*method, "Language"), "tavro");
    EXPECT_EQ(MethodValue(*method, "Description"), "Adds the lines up");
}

TEST(ExportMethod, BooleanKeywordThatDoesNotConvertLeavesTheMethodOut) {
    for (const char* value : {"", "yes"}) {
        SCOPED_TRACE(std::string("\"") + value + "\"");
        ExportWorld world;
        auto order = world.AddClass("Shop", "Order");
        auto recalc = world.AddOperation(*order, "Recalc", "");
        rosehost::SetToolProperty(*recalc, "Tavro", "WebMethod", value);
        automation::ObjectRef definition = world.NewDefinition("Shop.Order");
        EXPECT_FALSE(
            exporting::ExportMethod("Shop.Order", definition, world.OperationObject(*order, 1)));
        automation::CallByName(definition, "sys_Save");
        tavro::ClassDef def;
        ASSERT_TRUE(world.Load("Shop.Order", def));
        EXPECT_TRUE(def.methods.empty());
    }
}

TEST(ExportMethod, MethodFoundInTheDefinitionIsFilledAgain) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto recalc = world.AddOperation(*order, "Recalc", "Integer");
    automation::ObjectRef definition = world.NewDefinition("Shop.Order");
    ASSERT_TRUE(
        exporting::ExportMethod("Shop.Order", definition, world.OperationObject(*order, 1)));
    recalc->returnType = "String";
    ASSERT_TRUE(
        exporting::ExportMethod("Shop.Order", definition, world.OperationObject(*order, 1)));
    automation::CallByName(definition, "sys_Save");
    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    ASSERT_EQ(def.methods.size(), 1U);
    EXPECT_EQ(MethodValue(def.methods[0], "ReturnType"), "%String");
}

}  // namespace
