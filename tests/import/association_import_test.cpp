#include <gtest/gtest.h>

#include "import/import.h"
#include "tests/import/import_harness.h"

namespace {

using import_test::Class;
using import_test::Harness;
using import_test::Property;
using importing::ImportClass;
using importing::ImportClassMembers;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// The association keywords in their order, with the values of a property that sets none.
const Pairs kDefaultKeywords = {
    {"Calculated", "False"},
    {"ClientName", ""},
    {"Final", "False"},
    {"InitialExpression", "\"\""},
    {"MultiDimensional", "False"},
    {"NotInheritable", "False"},
    {"ReadOnly", "False"},
    {"SqlCollation", ""},
    {"SqlColumnNumber", ""},
    {"SqlComputeCode", ""},
    {"SqlComputed", "False"},
    {"SqlComputeOnChange", ""},
    {"SqlFieldName", ""},
    {"SqlListDelimiter", ""},
    {"SqlListType", ""},
    {"Transient", "False"},
};

// Imports Shop.Order (with `property`) next to the persistent class Shop.Customer and returns
// the associations of Shop.Order.
std::vector<std::shared_ptr<rosehost::Association>> ImportOrderWith(
    Harness& h, std::vector<tavro::Item> properties) {
    h.Save({Class("Shop.Customer", {{"ClassType", "persistent"}}),
            Class("Shop.Order", {{"ClassType", "persistent"}}, std::move(properties))});
    h.LoadClassTypes();
    EXPECT_EQ(ImportClass(h.Open("Shop.Order")), importing::NewClass);
    EXPECT_EQ(ImportClassMembers(h.Open("Shop.Order")), 0);
    return rosehost::AssociationsOf(h.model(), *h.ModelClass("Logical View::Shop::Order"));
}

TEST(ImportAssociation, OneWithoutInverseNamesAndMarksOnlyTheFarEnd) {
    Harness h;
    auto associations = ImportOrderWith(h, {Property("Buyer", "Customer",
                                                     {{"Relationship", "1"},
                                                      {"Cardinality", "one"},
                                                      {"Private", "1"},
                                                      {"Description", "Who pays"}})});
    ASSERT_EQ(associations.size(), 1u);
    const rosehost::Association& a = *associations[0];
    const rosehost::Role& near = *a.roles[0];
    const rosehost::Role& far = *a.roles[1];
    EXPECT_EQ(far.className, "Logical View::Shop::Customer");
    EXPECT_EQ(far.name, "Buyer");
    EXPECT_TRUE(far.isNavigable);
    EXPECT_EQ(far.exportControl, rosehost::kPrivate);
    EXPECT_EQ(far.multiplicity, "0..1");
    EXPECT_EQ(near.name, "");
    EXPECT_FALSE(near.isNavigable);
    EXPECT_EQ(a.kind, "");
    EXPECT_EQ(a.name, "");
    EXPECT_EQ(a.documentation, "Who pays");
    EXPECT_EQ(Harness::OwnProperties(a, "Tavro"), kDefaultKeywords);
}

TEST(ImportAssociation, CardinalitySetsMultiplicityAndAggregation) {
    struct Case {
        const char* cardinality;
        const char* required;
        const char* multiplicity;
        bool aggregate;
    };
    const Case cases[] = {
        {"children", "1", "1..n", false},
        {"children", "0", "0..n", false},
        {"many", "1", "1..n", false},
        {"many", "0", "0..n", false},
        {"parent", "0", "1", true},
        {"parent", "1", "1", true},
        {"one", "1", "1", false},
        {"one", "0", "0..1", false},
        {"", "1", "", false},
        {"One", "0", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.cardinality) + " required " + c.required);
        Harness h;
        auto associations = ImportOrderWith(h, {Property("Buyer", "Customer",
                                                         {{"Relationship", "1"},
                                                          {"Cardinality", c.cardinality},
                                                          {"Required", c.required},
                                                          {"Inverse", "Orders"}})});
        ASSERT_EQ(associations.size(), 1u);
        const rosehost::Association& a = *associations[0];
        EXPECT_EQ(a.roles[1]->name, "Buyer");
        EXPECT_EQ(a.roles[0]->name, "Orders");
        EXPECT_TRUE(a.roles[1]->isNavigable);
        EXPECT_EQ(a.roles[1]->multiplicity, c.multiplicity);
        EXPECT_EQ(a.roles[1]->isAggregate, c.aggregate);
        EXPECT_FALSE(a.roles[0]->isAggregate);
        // Cardinality and Required live in the roles, not in model properties.
        EXPECT_EQ(Harness::OwnProperties(a, "Tavro"), kDefaultKeywords);
    }
}

TEST(ImportAssociation, ObjectReferenceTakesItsMultiplicityFromTheCollection) {
    struct Case {
        const char* collection;
        const char* required;
        const char* kind;
        const char* multiplicity;
    };
    const Case cases[] = {
        {"list", "1", "List", "1..n"},
        {"list", "0", "List", "0..n"},
        {"array", "0", "Array", "0..n"},
        {"array", "1", "Array", "1..n"},
        {"", "0", "Single Value", "0..1"},
        {"", "1", "Single Value", "1"},
        {"characterstream", "0", "Single Value", "0..1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.collection) + " required " + c.required);
        Harness h;
        auto associations = ImportOrderWith(
            h, {Property("Buyer", "Customer",
                         {{"Collection", c.collection}, {"Required", c.required}})});
        ASSERT_EQ(associations.size(), 1u);
        const rosehost::Association& a = *associations[0];
        EXPECT_EQ(a.roles[1]->multiplicity, c.multiplicity);
        Pairs expected = {{"Collection", c.kind}};
        expected.insert(expected.end(), kDefaultKeywords.begin(), kDefaultKeywords.end());
        EXPECT_EQ(Harness::OwnProperties(a, "Tavro"), expected);
    }
}

TEST(ImportAssociation, TwoReferencesOfOneTypeMakeTwoAssociations) {
    Harness h;
    auto associations =
        ImportOrderWith(h, {Property("Buyer", "Customer"), Property("Payer", "Customer")});
    ASSERT_EQ(associations.size(), 2u);
    EXPECT_EQ(associations[0]->roles[1]->name, "Buyer");
    EXPECT_EQ(associations[1]->roles[1]->name, "Payer");
}

TEST(ImportAssociation, SelfRelationshipIsJoinedThroughTheInverseRole) {
    Harness h;
    h.Save({Class(
        "Shop.Node", {{"ClassType", "persistent"}},
        {Property("Up", "Node",
                  {{"Relationship", "1"}, {"Cardinality", "parent"}, {"Inverse", "Down"}}),
         Property("Down", "Node",
                  {{"Relationship", "1"}, {"Cardinality", "children"}, {"Inverse", "Up"}})})});
    h.LoadClassTypes();
    ASSERT_EQ(ImportClass(h.Open("Shop.Node")), importing::NewClass);
    ASSERT_EQ(ImportClassMembers(h.Open("Shop.Node")), 0);
    auto associations =
        rosehost::AssociationsOf(h.model(), *h.ModelClass("Logical View::Shop::Node"));
    ASSERT_EQ(associations.size(), 1u);
    const rosehost::Role& up = *associations[0]->roles[1];
    const rosehost::Role& down = *associations[0]->roles[0];
    EXPECT_EQ(up.name, "Up");
    EXPECT_TRUE(up.isAggregate);
    EXPECT_EQ(up.multiplicity, "1");
    EXPECT_TRUE(up.isNavigable);
    EXPECT_EQ(down.name, "Down");
    EXPECT_FALSE(down.isAggregate);
    EXPECT_EQ(down.multiplicity, "0..n");
    EXPECT_TRUE(down.isNavigable);
}

}  // namespace
