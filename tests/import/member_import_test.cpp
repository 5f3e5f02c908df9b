#include <gtest/gtest.h>

#include "import/import.h"
#include "server/server.h"
#include "tests/import/import_harness.h"

namespace {

using import_test::Class;
using import_test::Harness;
using import_test::Method;
using import_test::Property;
using importing::ImportClass;
using importing::ImportClassMembers;
using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(GetClassType, QualifiesTheNameAndAnswersDatatypeForUnknownNames) {
    Harness h;
    server::ServerClassTypes.Add("User.Address", {server::kSerialClass});
    server::ServerClassTypes.Add("Shop.Order", {server::kPersistentClass});
    server::ServerClassTypes.Add("Shop.Thing", {server::kOtherClass});
    server::ServerClassTypes.Add("%Library.String", {server::kDatatypeClass});
    struct Case {
        const char* name;
        const char* qualified;
        std::int16_t kind;
    };
    const Case cases[] = {
        {"%String", "%Library.String", 3},   {"Address", "User.Address", 1},
        {"shop.order", "shop.order", 2},     {"Shop.Thing", "Shop.Thing", 4},
        {"Shop.Nothing", "Shop.Nothing", 3}, {"", "", 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string name = c.name;
        EXPECT_EQ(importing::GetClassType(name), c.kind);
        EXPECT_EQ(name, c.qualified);
    }
}

// Imports one class with the given properties and methods, both passes, and returns the
// model class.
std::shared_ptr<rosehost::Class> ImportOrder(Harness& h, std::vector<tavro::Item> properties,
                                             std::vector<tavro::Item> methods = {}) {
    h.Save({Class("Shop.Order", {}, std::move(properties), std::move(methods))});
    h.LoadClassTypes();
    EXPECT_EQ(ImportClass(h.Open("Shop.Order")), importing::NewClass);
    EXPECT_EQ(ImportClassMembers(h.Open("Shop.Order")), 0);
    return h.ModelClass("Logical View::Shop::Order");
}

TEST(ImportClassMembers, DatatypesAndUnknownTypesBecomeAttributesObjectClassesAssociations) {
    Harness h;
    h.Save({Class("Shop.Address", {{"ClassType", "serial"}}),
            Class("Shop.Customer", {{"ClassType", "persistent"}})});
    auto order = ImportOrder(
        h, {Property("Total", "%Integer"), Property("Ship", "Address"), Property("Note", "Memo"),
            Property("Buyer", "Shop.Customer"), Property("Code", "%Library.String")});
    std::vector<std::pair<std::string, std::string>> attributes;
    for (const auto& a : order->attributes) attributes.emplace_back(a->name, a->type);
    EXPECT_EQ(
        attributes,
        (Pairs{{"Total", "%Library.Integer"}, {"Note", "Shop.Memo"}, {"Code", "%Library.String"}}));
    auto associations = rosehost::AssociationsOf(h.model(), *order);
    ASSERT_EQ(associations.size(), 2u);
    EXPECT_EQ(associations[0]->roles[1]->name, "Ship");
    EXPECT_EQ(associations[0]->roles[1]->className, "Logical View::Shop::Address");
    EXPECT_EQ(associations[1]->roles[1]->name, "Buyer");
    EXPECT_EQ(associations[1]->roles[1]->className, "Logical View::Shop::Customer");
}

TEST(ImportClassMembers, ClassWithMethodsOnlyGetsOperationsOnly) {
    Harness h;
    auto order = ImportOrder(h, {}, {Method("Recalc"), Method("Print")});
    EXPECT_TRUE(order->attributes.empty());
    ASSERT_EQ(order->operations.size(), 2u);
    EXPECT_EQ(order->operations[0]->name, "Recalc");
    EXPECT_EQ(order->operations[1]->name, "Print");
}

TEST(ImportClassMembers, NoDefinitionFails) {
    Harness h;
    EXPECT_EQ(ImportClassMembers(nullptr), importing::Failed);
}

TEST(ImportAttribute, CollectionKindIsMatchedExactly) {
    struct Case {
        const char* collection;
        const char* kind;
    };
    const Case cases[] = {
        {"list", "List"},
        {"array", "Array"},
        {"binarystream", "Binary Stream"},
        {"characterstream", "Character Stream"},
        {"List", "Single Value"},
        {"", "Single Value"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.collection);
        Harness h;
        auto order = ImportOrder(h, {Property("Lines", "%String", {{"Collection", c.collection}})});
        ASSERT_EQ(order->attributes.size(), 1u);
        EXPECT_EQ(Harness::OwnProperties(*order->attributes[0], "Tavro").front(),
                  std::make_pair(std::string("Collection"), std::string(c.kind)));
    }
}

TEST(ImportAttribute, WritesVisibilityKeywordsInOrderAndParametersInKeyOrder) {
    Harness h;
    auto order = ImportOrder(h, {Property("Code", "%String",
                                          {{"Description", "Order code"},
                                           {"Private", "1"},
                                           {"Required", "1"},
                                           {"InitialExpression", "\"A\""},
                                           {"SqlFieldName", "CODE"},
                                           {"Transient", "1"}},
                                          {{"VALUELIST", ",A,B"}, {"MAXLEN", "10"}})});
    ASSERT_EQ(order->attributes.size(), 1u);
    const rosehost::Attribute& code = *order->attributes[0];
    EXPECT_EQ(code.type, "%Library.String");
    EXPECT_EQ(code.initialValue, "");
    EXPECT_EQ(code.documentation, "Order code");
    EXPECT_EQ(code.exportControl, rosehost::kPrivate);
    const Pairs expected = {
        {"Collection", "Single Value"},
        {"Calculated", "False"},
        {"ClientName", ""},
        {"Final", "False"},
        {"InitialExpression", "\"A\""},
        {"MultiDimensional", "False"},
        {"NotInheritable", "False"},
        {"ReadOnly", "False"},
        {"Required", "True"},
        {"SqlCollation", ""},
        {"SqlColumnNumber", ""},
        {"SqlComputeCode", ""},
        {"SqlComputed", "False"},
        {"SqlComputeOnChange", ""},
        {"SqlFieldName", "CODE"},
        {"SqlListDelimiter", ""},
        {"SqlListType", ""},
        {"Transient", "True"},
    };
    EXPECT_EQ(Harness::OwnProperties(code, "Tavro"), expected);
    EXPECT_EQ(Harness::OwnProperties(code, "Parameter"),
              (Pairs{{"MAXLEN", "10"}, {"VALUELIST", ",A,B"}}));
}

TEST(ImportAttribute, PublicPropertyWithoutParametersWritesNoParameterProperty) {
    Harness h;
    auto order = ImportOrder(h, {Property("Total", "%Integer")});
    ASSERT_EQ(order->attributes.size(), 1u);
    EXPECT_EQ(order->attributes[0]->exportControl, rosehost::kPublic);
    EXPECT_TRUE(Harness::OwnProperties(*order->attributes[0], "Parameter").empty());
}

struct ParameterText {
    std::string name, type, defaultValue;
    bool operator==(const ParameterText&) const = default;
};
void PrintTo(const ParameterText& p, std::ostream* out) {
    *out << "{" << p.name << " | " << p.type << " | " << p.defaultValue << "}";
}

TEST(ImportOperation, FormalSpecificationIsSplitTokenByToken) {
    struct Case {
        const char* formalSpec;
        std::vector<ParameterText> parameters;
    };
    const Case cases[] = {
        {"qty:%Integer,price:Money=0",
         {{"qty", "%Library.Integer", ""}, {"price", "Shop.Money", "0"}}},
        {"", {}},
        {"x=5", {{"x", "", "5"}}},
        {"x=5:%Integer", {{"x", "%Library.Integer", "5"}}},
        {"x:%String(MAXLEN=50)", {{"x", "%Library.String(MAXLEN", "50)"}}},
        {"s:%String=\"a,b\"", {{"s", "%Library.String", "\"a"}, {"b\"", "", ""}}},
        {"a, b", {{"a", "", ""}, {" b", "", ""}}},
        {"c:Other.Type", {{"c", "Other.Type", ""}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formalSpec);
        Harness h;
        auto order = ImportOrder(h, {}, {Method("Total", {{"FormalSpec", c.formalSpec}})});
        ASSERT_EQ(order->operations.size(), 1u);
        std::vector<ParameterText> got;
        for (const auto& p : order->operations[0]->parameters)
            got.push_back({p->name, p->type, p->defaultValue});
        EXPECT_EQ(got, c.parameters);
    }
}

TEST(ImportOperation, ReturnTypeIsTheFullServerClassName) {
    struct Case {
        const char* returnType;
        const char* expected;
    };
    const Case cases[] = {
        {"%Integer", "%Library.Integer"}, {"Money", "Shop.Money"}, {"", ""}, {"A.B", "A.B"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.returnType);
        Harness h;
        auto order = ImportOrder(h, {}, {Method("Total", {{"ReturnType", c.returnType}})});
        ASSERT_EQ(order->operations.size(), 1u);
        EXPECT_EQ(order->operations[0]->returnType, c.expected);
    }
}

TEST(ImportOperation, WritesEveryMethodKeywordProcedureBlockAsText) {
    Harness h;
    auto order = ImportOrder(h, {},
                             {Method("Total", {{"Description", "Sum of lines"},
                                               {"Private", "1"},
                                               {"ClassMethod", "1"},
                                               {"ProcedureBlock", "1"},
                                               {"SqlName", "total"},
                                               {"WebMethod", "1"}})});
    ASSERT_EQ(order->operations.size(), 1u);
    const rosehost::Operation& total = *order->operations[0];
    EXPECT_EQ(total.documentation, "Sum of lines");
    EXPECT_EQ(total.exportControl, rosehost::kPrivate);
    const Pairs expected = {
        {"Abstract", "False"}, {"ClassMethod", "True"},     {"ClientName", ""},
        {"CodeMode", "code"},  {"Final", "False"},          {"GenerateAfter", ""},
        {"Language", "tavro"}, {"NotForProperty", "False"}, {"NotInheritable", "False"},
        {"PlaceAfter", ""},    {"ProcedureBlock", "1"},     {"PublicList", ""},
        {"ServerOnly", ""},    {"SoapBindingStyle", ""},    {"SoapBodyUse", ""},
        {"SoapNameSpace", ""}, {"SqlName", "total"},        {"SqlProc", "False"},
        {"WebMethod", "True"},
    };
    EXPECT_EQ(Harness::OwnProperties(total, "Tavro"), expected);
}

}  // namespace
