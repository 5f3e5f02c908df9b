// The XML transfer: the member list that goes with a class's XML, and the trip of a class's
// XML through the model and back against tavro-host.
#include "hosts/tavro/xml/class_xml.h"

#include <gtest/gtest.h>

#include "automation/local_object.h"
#include "hosts/rose/model/model.h"
#include "platform/objects.h"
#include "server/server.h"
#include "tests/server/server_test_util.h"
#include "tests/support/support.h"

namespace {

using automation::Args;
using automation::CallKind;
using automation::LocalObject;
using automation::ObjectRef;
using automation::Variant;

// What a fake utility instance was given.
struct Transfer {
    std::string xml;
    std::string newClassName;
    std::vector<std::string> writes;
    int clears = 0;
    int saves = 0;
};

// A factory whose utility instances record into `transfer`.
ObjectRef RecordingFactory(const std::shared_ptr<Transfer>& transfer) {
    auto factory = std::make_shared<LocalObject>(std::vector<std::string>{});
    factory->Define(0, "NewObject", [transfer](CallKind, const Args& args) -> Variant {
        EXPECT_EQ(args.size(), 1u);  // the utility gets no initial value
        EXPECT_EQ(args.at(0).ToString(), "%Dictionary.CorvansilUtility");
        auto xmlStream = std::make_shared<LocalObject>(std::vector<std::string>{});
        xmlStream->Define(0, "Data", [transfer](CallKind kind, const Args& a) -> Variant {
            if (kind == CallKind::Put) transfer->xml = a.back().ToString();
            return transfer->xml;
        });
        auto list = std::make_shared<LocalObject>(std::vector<std::string>{});
        list->Define(0, "Clear", [transfer](CallKind, const Args&) -> Variant {
            ++transfer->clears;
            transfer->writes.clear();
            return {};
        });
        list->Define(0, "Write", [transfer](CallKind, const Args& a) -> Variant {
            transfer->writes.push_back(a.at(0).ToString());
            return {};
        });
        auto utility = std::make_shared<LocalObject>(std::vector<std::string>{});
        utility->DefineValue(0, "XmlStream", ObjectRef(xmlStream));
        utility->DefineValue(0, "MemberListStream", ObjectRef(list));
        utility->Define(0, "NewClassName", [transfer](CallKind kind, const Args& a) -> Variant {
            if (kind == CallKind::Put) transfer->newClassName = a.back().ToString();
            return transfer->newClassName;
        });
        utility->Define(0, "SaveFromXmlStream", [transfer](CallKind, const Args&) -> Variant {
            ++transfer->saves;
            return {};
        });
        return ObjectRef(utility);
    });
    return factory;
}

// Builds the members of one model class.
using Build = void (*)(rosehost::Model&, rosehost::Class&);

TEST(SaveClassXml, WritesOneMemberLinePerExportedMember) {
    struct Case {
        const char* name;
        Build build;
        std::vector<std::string> writes;
    };
    const Case cases[] = {
        {"attribute and operation",
         [](rosehost::Model& m, rosehost::Class& c) {
             rosehost::CreateOperation(m, c, "Recalc", "%Integer");
             rosehost::CreateAttribute(m, c, "Total", "%Integer", "");
         },
         {"a:Total\r\n", "m:Recalc\r\n"}},
        {"association with itself",
         [](rosehost::Model& m, rosehost::Class& c) {
             auto boss = rosehost::CreateAssociation(m, c, "", "Logical View::Shop::Order");
             boss->roles[0]->name = "Boss";  // the class's own end
             boss->roles[1]->name = "Staff";
         },
         {"a:Staff\r\n", "a:Boss\r\n"}},
        {"association with another class",
         [](rosehost::Model& m, rosehost::Class& c) {
             auto link = rosehost::CreateAssociation(m, c, "", "Logical View::Shop::Customer");
             link->roles[0]->name = "Orders";
             link->roles[1]->name = "Buyer";
         },
         {"a:Buyer\r\n"}},
        {"roles before attributes",
         [](rosehost::Model& m, rosehost::Class& c) {
             rosehost::CreateAttribute(m, c, "Total", "%Integer", "");
             auto link = rosehost::CreateAssociation(m, c, "", "Logical View::Shop::Customer");
             link->roles[1]->name = "Buyer";
             rosehost::CreateOperation(m, c, "Recalc", "");
             rosehost::CreateAttribute(m, c, "Date", "%Date", "");
         },
         {"a:Buyer\r\n", "a:Total\r\n", "a:Date\r\n", "m:Recalc\r\n"}},
        {"unnamed members",
         [](rosehost::Model& m, rosehost::Class& c) {
             rosehost::CreateAssociation(m, c, "", "Logical View::Shop::Customer");
             rosehost::CreateAssociation(m, c, "", "Logical View::Shop::Order");
             rosehost::CreateAttribute(m, c, "", "%Integer", "");
             rosehost::CreateOperation(m, c, "", "");
         },
         {}},
        {"no members", [](rosehost::Model&, rosehost::Class&) {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        auto model = rosehost::NewModel("shop");
        auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
        auto order = rosehost::CreateClass(*model, shop, "Order");
        rosehost::CreateClass(*model, shop, "Customer");
        c.build(*model, *order);
        server_test::AttachRose(model);
        auto transfer = std::make_shared<Transfer>();
        server::ServerFactory = RecordingFactory(transfer);

        server::SaveClassXml("<Class name=\"Shop.Order\"/>", server_test::RoseClassObject(*order));
        EXPECT_EQ(transfer->writes, c.writes);
        EXPECT_EQ(transfer->clears, 1);
        EXPECT_EQ(transfer->saves, 1);
        EXPECT_EQ(transfer->xml, "<Class name=\"Shop.Order\"/>");
        EXPECT_EQ(transfer->newClassName, "Shop.Order");
        EXPECT_TRUE(ui->boxes.empty());
    }
}

// The definition an XML text holds, rendered without the times the server stamps on a save,
// so that two texts compare by content.
std::string Untimed(const std::string& xml) {
    tavro::XmlParseResult parsed = tavro::ParseClassXml(xml);
    EXPECT_TRUE(parsed.ok) << parsed.message;
    parsed.def.values.erase("TimeCreated");
    parsed.def.values.erase("TimeChanged");
    return tavro::RenderClassXml(parsed.def);
}

void ConnectAs(const server_test::TavroData& data, const char* user, const char* password) {
    server_test::InstallTavroHost(data, {"127.0.0.1:0:USER", user, password});
    std::string nameSpace;
    ASSERT_TRUE(server::ConnectToServer(nameSpace));
}

// Import keeps the XML, the user edits the class in the model, export sends the XML back.
TEST(SaveClassXml, KeepsHiddenPartsAndDropsMembersTheModelNoLongerHas) {
    server_test::TavroData data;
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    auto model = rosehost::NewModel("shop");
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    auto order = rosehost::CreateClass(*model, shop, "Order");
    rosehost::CreateAttribute(*model, *order, "Total", "%Integer", "");
    auto obsolete = rosehost::CreateAttribute(*model, *order, "Obsolete", "%String", "");
    rosehost::CreateOperation(*model, *order, "Recalc", "");
    auto old = rosehost::CreateOperation(*model, *order, "Old", "");
    server_test::AttachRose(model);
    ConnectAs(data, server_test::kDeveloper, server_test::kDeveloperPassword);

    // The first save names every member, so the server keeps the class whole.
    server::SaveClassXml(testsupport::kOrderClassXml, server_test::RoseClassObject(*order));
    std::string xml = server::LoadClassXml("Shop.Order");
    EXPECT_EQ(Untimed(xml), Untimed(testsupport::kOrderClassXml));

    // The model drops a property and a method and gains an unnamed operation.
    rosehost::DeleteAttribute(*order, *obsolete);
    rosehost::DeleteOperation(*order, *old);
    rosehost::CreateOperation(*model, *order, "", "");
    server::SaveClassXml(xml, server_test::RoseClassObject(*order));
    EXPECT_TRUE(ui->boxes.empty());
    // What the server keeps is the class without Obsolete and Old, the rest untouched.
    tavro::ClassDef edited = tavro::ParseClassXml(testsupport::kOrderClassXml).def;
    edited.properties.erase(edited.properties.begin() + 1);
    edited.methods.erase(edited.methods.begin() + 1);
    EXPECT_EQ(Untimed(server::LoadClassXml("Shop.Order")), tavro::RenderClassXml(edited));
}

TEST(SaveClassXml, StoresAMovedClassUnderItsNewName) {
    server_test::TavroData data;
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    auto model = rosehost::NewModel("shop");
    auto sales = rosehost::CreateCategory(*model, model->top, "Sales");
    auto order = rosehost::CreateClass(*model, sales, "Order");
    rosehost::CreateAttribute(*model, *order, "Total", "%Integer", "");
    rosehost::CreateOperation(*model, *order, "Recalc", "");
    server_test::AttachRose(model);
    ConnectAs(data, server_test::kDeveloper, server_test::kDeveloperPassword);

    server::SaveClassXml(testsupport::kOrderClassXml, server_test::RoseClassObject(*order));
    EXPECT_TRUE(ui->boxes.empty());
    EXPECT_TRUE(server::ClassDefinitionExists("Sales.Order"));
    EXPECT_FALSE(server::ClassDefinitionExists("Shop.Order"));
    EXPECT_NE(server::LoadClassXml("Sales.Order").find("<Index name=\"ByTotal\">"),
              std::string::npos);
}

// The text the server raises for the same steps, taken from the server itself.
std::string ServerErrorOf(const std::string& xml, const std::string& newName) {
    try {
        ObjectRef utility =
            tavro_test::NewObject(server::ServerFactory, "%Dictionary.CorvansilUtility");
        automation::PutByName(automation::GetByName(utility, "XmlStream").ToObject(), "Data", xml);
        automation::PutByName(utility, "NewClassName", newName);
        automation::CallByName(utility, "SaveFromXmlStream");
    } catch (const automation::AutomationError& error) {
        return error.Description();
    }
    return "";
}

TEST(SaveClassXml, ShowsTheServerErrorAndReturns) {
    server_test::TavroData data;
    struct Case {
        const char* name;
        const char* user;
        const char* password;
        std::string xml;
    };
    const Case cases[] = {
        {"malformed XML", server_test::kDeveloper, server_test::kDeveloperPassword,
         "<Class name=\"Shop.Order\">"},
        {"user without Development", server_test::kViewer, server_test::kViewerPassword,
         testsupport::kOrderClassXml},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        auto model = rosehost::NewModel("shop");
        auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
        auto order = rosehost::CreateClass(*model, shop, "Order");
        server_test::AttachRose(model);
        // The connection is opened past the add-in's own permission check, so that what the
        // user sees is the server's refusal of the write itself.
        server_test::InstallTavroHost(data, {"127.0.0.1:0:USER", c.user, c.password});
        server::ServerFactory = platform::CreateObject("TavroActiveX.Factory");
        automation::CallByName(server::ServerFactory, "PromptConnection", {"+%up"});
        ASSERT_TRUE(
            automation::CallByName(server::ServerFactory, "OpenConnection", {"127.0.0.1:0:USER"})
                .ToBool());
        std::string expected = ServerErrorOf(c.xml, "Shop.Order");
        ASSERT_FALSE(expected.empty());

        server::SaveClassXml(c.xml, server_test::RoseClassObject(*order));
        EXPECT_EQ(ui->Texts(), std::vector<std::string>{expected});
        EXPECT_EQ(ui->boxes.at(0).buttons, platform::Buttons::Ok);
        EXPECT_EQ(ui->boxes.at(0).title, "Corvansil");
        EXPECT_FALSE(server::ClassDefinitionExists("Shop.Order"));
    }
}

TEST(SaveClassXml, WithoutConnectionShowsTheMissingObject) {
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    auto model = rosehost::NewModel("shop");
    auto order = rosehost::CreateClass(*model, model->top, "Order");
    server_test::AttachRose(model);
    server::SaveClassXml(testsupport::kOrderClassXml, server_test::RoseClassObject(*order));
    EXPECT_EQ(ui->Texts(),
              std::vector<std::string>{"Object variable or With block variable not set"});
}

// The look-ups by class name give nothing without a connection or for a class not there.
TEST(OpenClassDefinition, LoadClassXmlAndClassDefinitionExistsFindOnlyWhatIsThere) {
    server_test::TavroData data;
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    EXPECT_EQ(server::OpenClassDefinition("%Library.String"), nullptr);
    EXPECT_EQ(server::LoadClassXml("%Library.String"), "");
    EXPECT_FALSE(server::ClassDefinitionExists("%Library.String"));
    ConnectAs(data, server_test::kDeveloper, server_test::kDeveloperPassword);
    EXPECT_EQ(server::OpenClassDefinition("Shop.Nowhere"), nullptr);
    EXPECT_EQ(server::LoadClassXml("Shop.Nowhere"), "");
    EXPECT_FALSE(server::ClassDefinitionExists("Shop.Nowhere"));
    ObjectRef definition = server::OpenClassDefinition("%library.string");
    ASSERT_NE(definition, nullptr);
    EXPECT_EQ(automation::GetByName(definition, "name").ToString(), "%Library.String");
    EXPECT_NE(server::LoadClassXml("%Library.String").find("<Class name=\"%Library.String\">"),
              std::string::npos);
    EXPECT_TRUE(server::ClassDefinitionExists("%Library.String"));
    EXPECT_TRUE(ui->boxes.empty());
}

}  // namespace
