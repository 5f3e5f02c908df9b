// ExportRelationship through the class export that calls it: the roles of a model association
// become properties of the stored class.
#include <gtest/gtest.h>

#include "export/export.h"
#include "export_world.h"

namespace {

using export_test::ExportWorld;
using export_test::FindProperty;
using export_test::PropertyValue;

struct Shop {
    std::shared_ptr<rosehost::Class> order, line;
    std::shared_ptr<rosehost::Association> association;  // roles[0] "Order", roles[1] "Lines"
};

// Order (role Lines, "0..n") and Line (role Order, "1"), both in category Shop.
Shop MakeShop(ExportWorld& world) {
    Shop shop;
    shop.order = world.AddClass("Shop", "Order");
    shop.line = world.AddClass("Shop", "Line");
    shop.association = world.Associate(*shop.order, *shop.line, "Order", "Lines");
    shop.association->roles[0]->multiplicity = "1";
    shop.association->roles[1]->multiplicity = "0..n";
    return shop;
}

tavro::ClassDef Export(ExportWorld& world, const rosehost::Class& cls, std::string& message) {
    exporting::ExportClass(world.ClassObject(cls), message);
    tavro::ClassDef def;
    EXPECT_TRUE(world.Load("Shop." + cls.name, def));
    return def;
}

TEST(ExportRelationship, OrderAndLinesBecomeRelationshipsBothWays) {
    ExportWorld world;
    Shop shop = MakeShop(world);
    shop.association->documentation = "Lines of an order";
    std::string message;

    tavro::ClassDef order = Export(world, *shop.order, message);
    EXPECT_EQ(message, "");
    const tavro::Item* lines = FindProperty(order, "Lines");
    ASSERT_NE(lines, nullptr);
    EXPECT_EQ(PropertyValue(*lines, "Type"), "Shop.Line");
    EXPECT_EQ(PropertyValue(*lines, "Relationship"), "1");
    EXPECT_EQ(PropertyValue(*lines, "Inverse"), "Order");
    EXPECT_EQ(PropertyValue(*lines, "Cardinality"), "many");
    EXPECT_EQ(PropertyValue(*lines, "Required"), "0");
    EXPECT_EQ(PropertyValue(*lines, "Description"), "Lines of an order");
    EXPECT_EQ(PropertyValue(*lines, "Private"), "0");

    tavro::ClassDef line = Export(world, *shop.line, message);
    const tavro::Item* owner = FindProperty(line, "Order");
    ASSERT_NE(owner, nullptr);
    EXPECT_EQ(PropertyValue(*owner, "Type"), "Shop.Order");
    EXPECT_EQ(PropertyValue(*owner, "Inverse"), "Lines");
    EXPECT_EQ(PropertyValue(*owner, "Cardinality"), "one");
    EXPECT_EQ(PropertyValue(*owner, "Required"), "1");
    EXPECT_EQ(PropertyValue(*owner, "Description"), "Lines of an order");
}

TEST(ExportRelationship, OwnerFromDependentStereotypeOrEitherAggregateEnd) {
    struct Case {
        const char* name;
        const char* kind;
        bool orderEndAggregate;
        bool lineEndAggregate;
        const char* linesCardinality;
        const char* orderCardinality;
    };
    const Case cases[] = {
        {"plain", "", false, false, "many", "one"},
        {"dependent", "dependent", false, false, "children", "parent"},
        {"other letter case", "Dependent", false, false, "many", "one"},
        {"aggregate at the order", "", true, false, "children", "parent"},
        {"aggregate at the line", "", false, true, "children", "parent"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        Shop shop = MakeShop(world);
        shop.association->kind = c.kind;
        shop.association->roles[0]->isAggregate = c.orderEndAggregate;
        shop.association->roles[1]->isAggregate = c.lineEndAggregate;
        std::string message;
        tavro::ClassDef order = Export(world, *shop.order, message);
        tavro::ClassDef line = Export(world, *shop.line, message);
        ASSERT_NE(FindProperty(order, "Lines"), nullptr);
        ASSERT_NE(FindProperty(line, "Order"), nullptr);
        EXPECT_EQ(PropertyValue(*FindProperty(order, "Lines"), "Cardinality"), c.linesCardinality);
        EXPECT_EQ(PropertyValue(*FindProperty(line, "Order"), "Cardinality"), c.orderCardinality);
    }
}

TEST(ExportRelationship, MultiplicityGivesCollectionRequiredAndCardinality) {
    struct Case {
        const char* multiplicity;
        const char* collectionProperty;  // the association's "Collection"
        bool oppositeNamed;
        const char* collection;
        const char* required;
        const char* cardinality;
    };
    const Case cases[] = {
        {"0..1", "List", true, "", "0", "one"},
        {"1", "List", true, "", "1", "one"},
        {"", "List", true, "", "0", ""},
        {"n", "List", true, "list", "0", "many"},
        {"0..n", "Array", true, "array", "0", "many"},
        {"1..n", "List", true, "list", "1", "many"},
        {"0..n", "Single Value", true, "", "0", "many"},
        {"2..5", "List", true, "list", "0", ""},
        {"1", "List", false, "", "1", ""},
        {"1..n", "Array", false, "array", "1", ""},
        {"0..1", "List", false, "", "0", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.multiplicity) + " " + c.collectionProperty +
                     (c.oppositeNamed ? " named" : " unnamed"));
        ExportWorld world;
        Shop shop = MakeShop(world);
        shop.association->roles[1]->multiplicity = c.multiplicity;
        if (!c.oppositeNamed) shop.association->roles[0]->name = "";
        rosehost::SetToolProperty(*shop.association, "Tavro", "Collection", c.collectionProperty);
        std::string message;
        tavro::ClassDef order = Export(world, *shop.order, message);
        EXPECT_EQ(message, "");
        const tavro::Item* lines = FindProperty(order, "Lines");
        ASSERT_NE(lines, nullptr);
        EXPECT_EQ(PropertyValue(*lines, "Collection"), c.collection);
        EXPECT_EQ(PropertyValue(*lines, "Required"), c.required);
        EXPECT_EQ(PropertyValue(*lines, "Cardinality"), c.cardinality);
        EXPECT_EQ(PropertyValue(*lines, "Relationship"), c.oppositeNamed ? "1" : "0");
        EXPECT_EQ(PropertyValue(*lines, "Inverse"), c.oppositeNamed ? "Order" : "");
    }
}

TEST(ExportRelationship, ZeroMultiplicityIsAnInvalidRelationship) {
    for (const char* multiplicity : {"0", "0..0"}) {
        SCOPED_TRACE(multiplicity);
        ExportWorld world;
        Shop shop = MakeShop(world);
        shop.association->roles[1]->multiplicity = multiplicity;
        std::string message;
        tavro::ClassDef order = Export(world, *shop.order, message);
        EXPECT_EQ(message, "1 Invalid Relationship Skipped.");
        EXPECT_EQ(FindProperty(order, "Lines"), nullptr);
    }
}

TEST(ExportRelationship, KeywordThatDoesNotConvertSkipsTheRole) {
    ExportWorld world;
    Shop shop = MakeShop(world);
    rosehost::SetToolProperty(*shop.association, "Tavro", "Transient", "maybe");
    std::string message;
    EXPECT_EQ(exporting::ExportClass(world.ClassObject(*shop.order), message),
              exporting::kClassCreated);
    EXPECT_EQ(message, "1 Invalid Relationship Skipped.");
}

TEST(ExportRelationship, KeywordsComeFromTheAssociation) {
    ExportWorld world;
    Shop shop = MakeShop(world);
    rosehost::SetToolProperty(*shop.association, "Tavro", "Transient", "true");
    rosehost::SetToolProperty(*shop.association, "Tavro", "SqlFieldName", "OrderLines");
    rosehost::SetToolProperty(*shop.association, "Tavro", "Cardinality", "One");
    std::string message;
    tavro::ClassDef order = Export(world, *shop.order, message);
    const tavro::Item* lines = FindProperty(order, "Lines");
    ASSERT_NE(lines, nullptr);
    EXPECT_EQ(PropertyValue(*lines, "Transient"), "1");
    EXPECT_EQ(PropertyValue(*lines, "SqlFieldName"), "OrderLines");
    // The association's own "Cardinality" is not read: the multiplicity decides.
    EXPECT_EQ(PropertyValue(*lines, "Cardinality"), "many");
}

TEST(ExportRelationship, SelfAssociationGivesOnePropertyPerNamedRole) {
    struct Case {
        const char* name;
        const char* ownRole;
        const char* otherRole;
        std::vector<const char*> properties;
    };
    const Case cases[] = {
        {"both named", "Boss", "Staff", {"Boss", "Staff"}},
        {"only the far end named", "", "Staff", {"Staff"}},
        {"only the near end named", "Boss", "", {"Boss"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportWorld world;
        auto person = world.AddClass("Shop", "Person");
        auto association = world.Associate(*person, *person, c.ownRole, c.otherRole);
        association->roles[0]->multiplicity = "0..1";
        association->roles[1]->multiplicity = "0..n";
        std::string message;
        tavro::ClassDef def = Export(world, *person, message);
        EXPECT_EQ(message, "");
        // The near end's role comes first, then the far end's.
        ASSERT_EQ(def.properties.size(), c.properties.size());
        for (std::size_t i = 0; i < c.properties.size(); ++i) {
            EXPECT_EQ(def.properties[i].name, c.properties[i]);
            EXPECT_EQ(PropertyValue(def.properties[i], "Type"), "Shop.Person");
        }
    }
}

TEST(ExportRelationship, RoleWhoseClassIsNotInTheModelKeepsItsName) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto association =
        rosehost::CreateAssociation(*world.model, *order, "", "Logical View::Billing::Invoice");
    association->roles[1]->name = "Invoice";
    association->roles[1]->multiplicity = "0..1";
    std::string message;
    tavro::ClassDef def = Export(world, *order, message);
    const tavro::Item* invoice = FindProperty(def, "Invoice");
    ASSERT_NE(invoice, nullptr);
    EXPECT_EQ(PropertyValue(*invoice, "Type"), "Billing.Invoice");
    EXPECT_EQ(PropertyValue(*invoice, "Relationship"), "0");
}

TEST(ExportRelationship, PrivateWhenTheRoleIsNotPublic) {
    ExportWorld world;
    Shop shop = MakeShop(world);
    shop.association->roles[1]->exportControl = rosehost::kProtected;
    std::string message;
    tavro::ClassDef order = Export(world, *shop.order, message);
    ASSERT_NE(FindProperty(order, "Lines"), nullptr);
    EXPECT_EQ(PropertyValue(*FindProperty(order, "Lines"), "Private"), "1");
}

}  // namespace
