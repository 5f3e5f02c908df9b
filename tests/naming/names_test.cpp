// The conversions between server class names and model paths, worked by hand.
#include <gtest/gtest.h>

#include "naming/naming.h"

namespace {

struct Case {
    const char* input;
    const char* expected;
};

TEST(QualifyClassName, AddsTheDefaultPackage) {
    const Case cases[] = {
        {"%String", "%Library.String"},
        {"Person", "User.Person"},
        {"Shop.Person", "Shop.Person"},
        {"%Library.String", "%Library.String"},
        {"%", "%Library."},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(naming::QualifyClassName(c.input), c.expected);
    }
}

TEST(PackageOfClassName, IsThePartBeforeTheLastDot) {
    const Case cases[] = {
        {"Shop.Order.Line", "Shop.Order"},
        {"Person", ""},
        {"%Library.String", "%Library"},
        {".Person", ""},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(naming::PackageOfClassName(c.input), c.expected);
    }
}

TEST(ShortClassName, IsThePartAfterTheLastDotExceptForSystemNames) {
    const Case cases[] = {
        {"Shop.Order.Line", "Line"},
        {"Person", "Person"},
        {"%Library.String", "%Library.String"},
        {"Shop.", ""},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(naming::ShortClassName(c.input), c.expected);
    }
}

TEST(QualifyInPackage, QualifiesOnlyBareNonSystemNames) {
    struct PackageCase {
        const char* name;
        const char* package;
        const char* expected;
    };
    const PackageCase cases[] = {
        {"Address", "Shop", "Shop.Address"},
        {"Other.Address", "Shop", "Other.Address"},
        {"%String", "Shop", "%String"},
        {"", "Shop", ""},
    };
    for (const PackageCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(naming::QualifyInPackage(c.name, c.package), c.expected);
    }
}

TEST(RosePathOfClassName, MapsPackagesOntoCategoriesBelowTheTop) {
    const Case cases[] = {
        {"Shop.Order", "Logical View::Shop::Order"},
        {"A.B.C.Cls", "Logical View::A::B::C::Cls"},
        {"Person", "Logical View::User::Person"},
        {"%Library.String", "Logical View::Tavro System Classes::%Library.String"},
        {"%String", "Logical View::Tavro System Classes::%Library.String"},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(naming::RosePathOfClassName(c.input, "Logical View"), c.expected);
    }
    EXPECT_EQ(naming::RosePathOfClassName("Shop.Order", "Top"), "Top::Shop::Order");
}

TEST(ServerClassNameOfRosePath, DropsTheTopAndSystemCategories) {
    const Case cases[] = {
        {"Logical View::Shop::Order", "Shop.Order"},
        {"Logical View::Person", "User.Person"},
        {"Logical View::Shop::Order::Line", "Shop.Order.Line"},
        {"Logical View::A::B::C::Cls", "A.B.C.Cls"},
        {"Logical View::Tavro System Classes::%String", "%String"},
        {"Logical View::Tavro System Classes::%Library.String", "%Library.String"},
        {"Logical View::X::Tavro System Classes::Y", "X.Y"},
        {"(Logical View::Shop::Order)", "Shop.Order"},
        {"(Logical View::Tavro System Classes::%String)", "%String"},
        {"Logical View::%String", "%Library.String"},
        {"Person", "User.Person"},
        {"Logical View::Shop::", "User.Shop"},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(naming::ServerClassNameOfRosePath(c.input, "Logical View"), c.expected);
    }
    // The model's own top goes too; the system-class prefix is known by its standard name only.
    EXPECT_EQ(naming::ServerClassNameOfRosePath("Top::Shop::Order", "Top"), "Shop.Order");
    EXPECT_EQ(naming::ServerClassNameOfRosePath("Top::Tavro System Classes::%String", "Top"),
              "%Library.String");
}

}  // namespace
