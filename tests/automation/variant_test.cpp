#include <gtest/gtest.h>

#include "automation/automation.h"
#include "automation/local_object.h"

using automation::AutomationError;
using automation::Variant;

namespace {

std::string ErrorOf(const std::function<void()>& fn) {
    try {
        fn();
    } catch (const AutomationError& e) {
        return e.Description();
    }
    return "";
}

}  // namespace

TEST(VariantToBool, ConvertsTextTheWayKeywordsAreRead) {
    struct Case {
        const char* text;
        bool ok;
        bool value;
    } cases[] = {
        {"True", true, true},   {"TRUE", true, true},       {"false", true, false},
        {"fAlSe", true, false}, {"0", true, false},         {"1", true, true},
        {"-1", true, true},     {"2.5", true, true},        {" True ", true, true},
        {"", false, false},     {"yes", false, false},      {"Tru", false, false},
        {"-0.0", true, false},  {"1e999", true, true},      {"0e5", true, false},
        {".5", true, true},     {"nan", false, false},      {"-nan", false, false},
        {"inf", false, false},  {"Infinity", false, false}, {"0x1", false, false},
        {"+-1", false, false},  {"1,000", false, false},    {"1e", false, false},
        {".", false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Variant v(c.text);
        if (!c.ok) {
            EXPECT_EQ(ErrorOf([&] { v.ToBool(); }), "Type mismatch");
            continue;
        }
        EXPECT_EQ(v.ToBool(), c.value);
    }
}

TEST(VariantToString, WritesBooleansAsTrueAndFalse) {
    EXPECT_EQ(Variant(true).ToString(), "True");
    EXPECT_EQ(Variant(false).ToString(), "False");
    EXPECT_EQ(Variant(std::int16_t{-7}).ToString(), "-7");
    EXPECT_EQ(Variant().ToString(), "");
}

TEST(VariantToInt16, RefusesOverflowAndText) {
    EXPECT_EQ(Variant("123").ToInt16(), 123);
    EXPECT_EQ(ErrorOf([] { Variant("40000").ToInt16(); }), "Overflow");
    EXPECT_EQ(ErrorOf([] { Variant("abc").ToInt16(); }), "Type mismatch");
}

TEST(Cast, RefusesAnObjectOfAnotherKind) {
    auto obj = std::make_shared<automation::LocalObject>(
        std::vector<std::string>{"{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"});
    EXPECT_EQ(automation::Cast(obj, "{bc57d1c0-863e-11cf-b3d4-00a0241db1d0}"), obj);
    EXPECT_EQ(ErrorOf([&] { automation::Cast(obj, "{C78E7024-86E4-11CF-B3D4-00A0241DB1D0}"); }),
              "No such interface supported");
    EXPECT_EQ(automation::Cast(nullptr, "{X}"), nullptr);
}

TEST(LocalObject, AnswersByIdAndByNameAndRefusesOthers) {
    auto obj = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    obj->DefineValue(100, "Name", Variant("Person"));
    EXPECT_EQ(automation::Get(obj, 100).ToString(), "Person");
    automation::PutByName(obj, "Name", Variant("Order"));
    EXPECT_EQ(automation::Get(obj, 100).ToString(), "Order");
    EXPECT_EQ(ErrorOf([&] { automation::Get(obj, 101); }), "Member not found");
    EXPECT_EQ(ErrorOf([] { automation::Get(nullptr, 100); }),
              "Object variable or With block variable not set");
}
