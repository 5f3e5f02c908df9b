#include <gtest/gtest.h>

#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/xml/class_xml.h"
#include "tests/support/support.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using tavro_test::Connect;
using tavro_test::DataDir;
using tavro_test::ErrorOf;

ObjectRef NewUtility(const ObjectRef& factory) {
    return tavro_test::NewObject(factory, "%Dictionary.CorvansilUtility");
}

// SaveClassXml's steps: the XML, the new name, the member list, then the save.
void SaveXml(const ObjectRef& factory, const std::string& xml, const std::string& newName,
             const std::vector<std::string>& memberLines) {
    ObjectRef utility = NewUtility(factory);
    PutByName(GetByName(utility, "XmlStream").ToObject(), "Data", xml);
    PutByName(utility, "NewClassName", newName);
    ObjectRef list = GetByName(utility, "MemberListStream").ToObject();
    CallByName(list, "Clear");
    for (const std::string& line : memberLines) CallByName(list, "Write", {line + "\r\n"});
    CallByName(utility, "SaveFromXmlStream");
}

tavro::ClassDef LoadXml(const ObjectRef& factory, const std::string& className) {
    ObjectRef utility = NewUtility(factory);
    CallByName(utility, "LoadToXmlStream", {className});
    tavro::XmlParseResult parsed = tavro::ParseClassXml(
        GetByName(GetByName(utility, "XmlStream").ToObject(), "Data").ToString());
    EXPECT_TRUE(parsed.ok) << parsed.message;
    return parsed.def;
}

std::vector<std::string> NamesOf(const std::vector<tavro::Item>& items) {
    std::vector<std::string> names;
    for (const tavro::Item& item : items) names.push_back(item.name);
    return names;
}

TEST(SaveFromXmlStream, KeepsHiddenPartsAndOnlyTheListedMembers) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveXml(factory, testsupport::kOrderClassXml, "Sales.Order",
            {"a:Total", "m:Recalc", "a:Missing"});

    tavro::ClassDef def = LoadXml(factory, "Sales.Order");
    EXPECT_EQ(def.name, "Sales.Order");
    EXPECT_EQ(def.values["Description"], "Orders");
    EXPECT_EQ(NamesOf(def.properties), std::vector<std::string>{"Total"});
    EXPECT_EQ(def.properties[0].parameters["MAXVAL"], "100");
    EXPECT_EQ(NamesOf(def.methods), std::vector<std::string>{"Recalc"});
    EXPECT_EQ(def.methods[0].values["Implementation"], "  quit ..Total * 2");
    EXPECT_EQ(NamesOf(def.others),
              (std::vector<std::string>{"ByTotal", "Big", "VERSION", "Default"}));
    EXPECT_EQ(def.others[1].values["SqlQuery"], "SELECT ID FROM Shop.Order WHERE Total > 50");
    EXPECT_EQ(def.others[3].values["DataLocation"], "^Shop.OrderD");

    // An empty member list drops every member.
    SaveXml(factory, testsupport::kOrderClassXml, "Shop.Order", {});
    def = LoadXml(factory, "Shop.Order");
    EXPECT_TRUE(def.properties.empty());
    EXPECT_TRUE(def.methods.empty());
    EXPECT_EQ(def.others.size(), 4u);
}

// The export after an import: the XML first, then the definition opened, edited and saved.
TEST(SysSave, KeepsWhatTheModelCannotShow) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveXml(factory, testsupport::kOrderClassXml, "Shop.Order", {"a:Total", "a:Date", "m:Recalc"});
    ObjectRef def = tavro_test::ClassDefinition(factory, "Shop.Order", "OpenObjectById");
    PutByName(def, "Description", "Orders, edited");
    ObjectRef date =
        tavro_test::NewObject(factory, "%Dictionary.PropertyDefinition", "Shop.Order:Date");
    PutByName(date, "Type", "%Date");
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {date});
    CallByName(def, "sys_Save");

    tavro::ClassDef saved = LoadXml(factory, "Shop.Order");
    EXPECT_EQ(saved.values["Description"], "Orders, edited");
    EXPECT_EQ(NamesOf(saved.properties), (std::vector<std::string>{"Total", "Date"}));
    EXPECT_EQ(saved.methods.at(0).values["Implementation"], "  quit ..Total * 2");
    EXPECT_EQ(NamesOf(saved.others),
              (std::vector<std::string>{"ByTotal", "Big", "VERSION", "Default"}));
}

TEST(SaveFromXmlStream, RefusesBadInputAndStoresNothing) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    ObjectRef viewer = Connect(dir, tavro_test::kViewer, tavro_test::kViewerPassword);
    struct Case {
        const char* name;
        std::string xml;
        const char* newName;
        const char* message;
        bool asViewer = false;
    };
    const Case cases[] = {
        {"malformed", "<Class name=\"Shop.Order\"><Description>x</Class>", "Shop.Order",
         "cannot store the class XML: malformed XML: Start-end tags mismatch (at offset 41)"},
        {"unknown element", "<Class name=\"Shop.Order\"><Colour/></Class>", "Shop.Order",
         "cannot store the class XML: unknown element <Colour> in <Class> (at offset 26)"},
        {"bad name in the XML", "<Class name=\"Shop Order\"/>", "",
         "cannot store the class XML: bad class name 'Shop Order' (at offset 1)"},
        {"bad new name", testsupport::kOrderClassXml, "Shop.Or der",
         "cannot store the class XML: bad class name 'Shop.Or der'"},
        {"server class", testsupport::kOrderClassXml, "%Library.Order",
         "class %Library.Order belongs to the server and cannot be changed"},
        {"user without Development", testsupport::kOrderClassXml, "Shop.Order",
         "access denied: user viewer lacks the 'Development' permission", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(
            ErrorOf([&] { SaveXml(c.asViewer ? viewer : factory, c.xml, c.newName, {"a:Total"}); }),
            c.message);
    }
    ObjectRef query =
        CallByName(factory, "OpenQuery", {"%Dictionary.ClassDefinition", "Summary"}).ToObject();
    CallByName(query, "Execute");
    while (CallByName(query, "Next").ToBool()) {
        EXPECT_EQ(CallByName(query, "ColumnValue", {std::int32_t{1}}).ToString()[0], '%');
    }
}

TEST(LoadToXmlStream, RaisesForAClassThatDoesNotExist) {
    DataDir dir;
    ObjectRef utility = NewUtility(Connect(dir));
    EXPECT_EQ(ErrorOf([&] { CallByName(utility, "LoadToXmlStream", {"Shop.Nothing"}); }),
              "class definition Shop.Nothing does not exist");
}

}  // namespace
