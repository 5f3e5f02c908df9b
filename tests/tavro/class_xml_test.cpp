#include "hosts/tavro/xml/class_xml.h"

#include <gtest/gtest.h>

namespace {

using tavro::ClassDef;
using tavro::Item;
using tavro::ItemKind;

Item MakeItem(ItemKind kind, std::string name, tavro::Values values) {
    Item item;
    item.kind = kind;
    item.name = std::move(name);
    item.values = std::move(values);
    return item;
}

ClassDef SmallOrder() {
    ClassDef def;
    def.name = "Shop.Order";
    def.values = {{"Abstract", "1"}, {"Description", "Orders < 5 & more"}};
    Item total = MakeItem(ItemKind::Property, "Total", {{"Type", "%Integer"}});
    total.parameters = {{"MINVAL", "0"}, {"MAXVAL", "100"}};
    def.properties.push_back(total);
    def.others.push_back(MakeItem(ItemKind::Index, "ByDate", {{"Properties", "Date"}}));
    return def;
}

TEST(RenderClassXml, WritesKeywordsInTableOrderAndParametersInKeyOrder) {
    const char* expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<Class name=\"Shop.Order\">\n"
        "  <Description>Orders &lt; 5 &amp; more</Description>\n"
        "  <Abstract>1</Abstract>\n"
        "  <Property name=\"Total\">\n"
        "    <Type>%Integer</Type>\n"
        "    <Parameter name=\"MAXVAL\">100</Parameter>\n"
        "    <Parameter name=\"MINVAL\">0</Parameter>\n"
        "  </Property>\n"
        "  <Index name=\"ByDate\">\n"
        "    <Properties>Date</Properties>\n"
        "  </Index>\n"
        "</Class>\n";
    EXPECT_EQ(tavro::RenderClassXml(SmallOrder()), expected);
}

TEST(ParseClassXml, ReadsBackWhatRenderWrote) {
    ClassDef def = SmallOrder();
    def.methods.push_back(
        MakeItem(ItemKind::Method, "Recalc",
                 {{"Implementation", "  set x = 1\n  quit x\n"}, {"ClassMethod", "1"}}));
    def.others.push_back(MakeItem(ItemKind::Storage, "Default", {{"Definition", " "}}));
    tavro::XmlParseResult result = tavro::ParseClassXml(tavro::RenderClassXml(def));
    ASSERT_TRUE(result.ok) << result.message;
    EXPECT_EQ(tavro::RenderClassXml(result.def), tavro::RenderClassXml(def));
    EXPECT_EQ(result.def.methods.at(0).values.at("Implementation"), "  set x = 1\n  quit x\n");
    EXPECT_EQ(result.def.others.at(1).values.at("Definition"), " ");
}

TEST(ParseClassXml, AcceptsBooleanWordsAndNormalisesThem) {
    tavro::XmlParseResult result = tavro::ParseClassXml(
        "<Class name=\"A.B\"><Final>True</Final><Abstract>false</Abstract></Class>");
    ASSERT_TRUE(result.ok) << result.message;
    EXPECT_EQ(result.def.values.at("Final"), "1");
    EXPECT_EQ(result.def.values.at("Abstract"), "0");
}

TEST(ParseClassXml, RefusesWhatTheFormatDoesNotKnowAndMalformedXml) {
    struct Case {
        const char* name;
        const char* text;
        const char* message;
        std::size_t offset;
    };
    const Case cases[] = {
        {"unknown class keyword", "<Class name=\"Shop.Order\"><Colour>red</Colour></Class>",
         "unknown element <Colour> in <Class>", 26},
        {"keyword in the wrong case", "<Class name=\"Shop.Order\"><description/></Class>",
         "unknown element <description> in <Class>", 26},
        {"unknown property keyword",
         "<Class name=\"A.B\"><Property name=\"P\"><Colour/></Property></Class>",
         "unknown element <Colour> in <Property>", 38},
        {"parameter outside a property",
         "<Class name=\"A.B\"><Method name=\"M\"><Parameter name=\"X\"/></Method></Class>",
         "unknown element <Parameter> in <Method>", 36},
        {"wrong root", "<Klass name=\"A.B\"/>", "unknown element <Klass>, expected <Class>", 1},
        {"empty package segment", "<Class name=\"Shop..Order\"/>", "bad class name 'Shop..Order'",
         1},
        {"name starting with a digit", "<Class name=\"1Shop.Order\"/>",
         "bad class name '1Shop.Order'", 1},
        {"class without name", "<Class/>", "<Class> has no name", 1},
        {"bad member name", "<Class name=\"A.B\"><Property name=\"To tal\"/></Class>",
         "bad Property name 'To tal'", 19},
        {"not a Boolean", "<Class name=\"A.B\"><Abstract>maybe</Abstract></Class>",
         "<Abstract> is not a Boolean: 'maybe'", 19},
        {"member twice", "<Class name=\"A.B\"><Property name=\"P\"/><Property name=\"p\"/></Class>",
         "Property 'p' given twice", 39},
        {"keyword twice", "<Class name=\"A.B\"><Final>1</Final><Final>0</Final></Class>",
         "<Final> given twice", 35},
        {"unknown attribute", "<Class name=\"A.B\" colour=\"red\"/>",
         "unexpected attribute 'colour' on <Class>", 1},
        {"element inside a keyword",
         "<Class name=\"A.B\"><Description><b>x</b></Description></Class>",
         "unexpected element <b> inside <Description>", 32},
        {"stray text", "<Class name=\"A.B\">text</Class>", "unexpected text inside <Class>", 18},
        {"malformed XML", "<Class name=\"A.B\"><Description>x</Class>",
         "malformed XML: Start-end tags mismatch", 34},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        tavro::XmlParseResult result = tavro::ParseClassXml(c.text);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.message, c.message);
        EXPECT_EQ(result.offset, c.offset);
        EXPECT_TRUE(result.def.name.empty());
    }
}

TEST(IsValidClassName, AcceptsPackagesAndServerNames) {
    struct Case {
        const char* name;
        bool valid;
    };
    const Case cases[] = {{"Shop.Order", true},
                          {"%Library.String", true},
                          {"Person", true},
                          {"Shop.Order.Line2", true},
                          {"", false},
                          {"Shop.", false},
                          {".Order", false},
                          {"Shop.%Order", false},
                          {"Shop.Ord er", false},
                          {"Shop.2Order", false},
                          {"%", false},
                          {"Shop_Order", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(tavro::IsValidClassName(c.name), c.valid);
    }
}

}  // namespace
