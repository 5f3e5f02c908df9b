// The class query "Summary": classifying the server's classes and listing them in the window.
#include <gtest/gtest.h>

#include "hosts/tavro/store/store.h"
#include "server/server.h"
#include "tests/server/server_test_util.h"
#include "window/plain_window.h"

namespace {

using automation::Variant;
using server_test::FakeQuery;
using server_test::FakeServer;

// The query's columns in an order of its own, with a column the add-in never reads.
const std::vector<std::string> kShuffledColumns = {"Serial", "TimeChanged", "Datatype", "Name",
                                                   "Hidden", "Persistent",  "Super",    "System"};

// A row in kShuffledColumns order.
std::vector<Variant> Row(const char* name, Variant datatype, Variant persistent, Variant serial,
                         Variant system = std::int32_t{0}) {
    return {serial, "", datatype, name, std::int32_t{0}, persistent, "", system};
}

std::shared_ptr<FakeServer> ConnectedFake(std::shared_ptr<FakeQuery> query) {
    auto fake = std::make_shared<FakeServer>();
    fake->connections = {"127.0.0.1:48100:USER", "127.0.0.1:48100:USER"};
    fake->query = std::move(query);
    server_test::InstallFakeFactory(fake);
    std::string nameSpace;
    EXPECT_TRUE(server::ConnectToServer(nameSpace));
    return fake;
}

TEST(LoadServerClassTypes, ClassifiesEachRowByItsFirstTrueFlagAndFindsNamesInAnyCase) {
    struct Case {
        const char* name;
        Variant datatype, persistent, serial;
        std::int16_t classType;
    };
    const Variant one = std::int32_t{1}, zero = std::int32_t{0};
    const Case cases[] = {
        {"User.Person", zero, one, zero, server::kPersistentClass},
        {"User.Address", zero, zero, one, server::kSerialClass},
        {"User.Util", zero, zero, zero, server::kOtherClass},
        {"User.Both", zero, one, one, server::kPersistentClass},  // persistent comes first
        {"User.Money", one, one, one, server::kDatatypeClass},    // datatype whatever else
        {"User.Text", "1", "0", "0", server::kDatatypeClass},     // the text "1"
        {"User.Short", zero, std::int16_t{-1}, zero, server::kPersistentClass},
        {"User.Flag", zero, true, zero, server::kPersistentClass},
        {"User.Two", zero, zero, "2", server::kSerialClass},  // a non-zero number text
        {"User.Empty", "", Variant(), "0", server::kOtherClass},
        {"User.Word", "yes", zero, zero, server::kOtherClass},
    };
    auto query = std::make_shared<FakeQuery>();
    query->columns = kShuffledColumns;
    for (const Case& c : cases)
        query->rows.push_back(Row(c.name, c.datatype, c.persistent, c.serial));
    // Names are found without regard to case, and the first row of a name is kept.
    query->rows.push_back(Row("USER.PERSON", one, zero, zero));

    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    ConnectedFake(query);
    server::ClassTypes types;
    server::LoadServerClassTypes(types);

    EXPECT_EQ(types.Count(), std::size(cases));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const server::ClassDesc* desc = types.Find(c.name);
        ASSERT_NE(desc, nullptr);
        EXPECT_EQ(desc->ClassType, c.classType);
    }
    ASSERT_NE(types.Find("user.person"), nullptr);
    EXPECT_EQ(types.Find("user.person")->ClassType, server::kPersistentClass);
    EXPECT_EQ(types.Find("User.Persons"), nullptr);
    EXPECT_EQ(query->executes, 1);
    EXPECT_EQ(query->closes, 1);
    EXPECT_TRUE(ui->boxes.empty());
}

TEST(LoadServerClassTypes, MissingColumnEndsTheProcess) {
    const std::vector<std::string> needed = {"Name",   "System",   "Persistent", "Super",
                                             "Hidden", "Datatype", "Serial"};
    for (const std::string& missing : needed) {
        SCOPED_TRACE(missing);
        auto query = std::make_shared<FakeQuery>();
        for (const std::string& column : kShuffledColumns) {
            // A column that differs only in letter case is not the column.
            query->columns.push_back(column == missing ? "x" + column : column);
        }
        query->rows = {Row("User.Person", std::int32_t{0}, std::int32_t{1}, std::int32_t{0})};
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        ConnectedFake(query);
        server::ClassTypes types;
        EXPECT_THROW(server::LoadServerClassTypes(types), platform::ProcessEnded);
        ASSERT_EQ(ui->Texts(), std::vector<std::string>{"Internal Error in ClassInfo Query"});
        EXPECT_EQ(ui->boxes[0].buttons, platform::Buttons::Ok);
        EXPECT_EQ(ui->boxes[0].title, "Corvansil");
        EXPECT_EQ(types.Count(), 0u);
        EXPECT_EQ(query->executes, 0);
    }
}

TEST(LoadServerClassTypes, ClassifiesTheClassesOfTavroHost) {
    server_test::TavroData data;
    {
        auto store = tavro::OpenStore(data.path());
        std::vector<tavro::ClassDef> defs(3);
        defs[0].name = "Shop.Order";
        defs[0].values["super"] = "%Persistent";
        defs[1].name = "Shop.Address";
        defs[1].values["super"] = "%SerialObject";
        defs[2].name = "Shop.Util";
        tavro::SaveClasses(*store, "USER", defs, tavro::Actor{"dev"});
    }
    server_test::ResetServerLink();
    server_test::InstallScriptedUi();
    server_test::InstallTavroHost(
        data, {"127.0.0.1:0:USER", server_test::kDeveloper, server_test::kDeveloperPassword});
    std::string nameSpace;
    ASSERT_TRUE(server::ConnectToServer(nameSpace));
    server::ClassTypes types;
    server::LoadServerClassTypes(types);
    struct Case {
        const char* name;
        std::int16_t classType;
    };
    const Case cases[] = {
        {"shop.order", server::kPersistentClass},
        {"Shop.Address", server::kSerialClass},
        {"Shop.Util", server::kOtherClass},
        {"%Library.String", server::kDatatypeClass},
        {"%Library.Persistent", server::kPersistentClass},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const server::ClassDesc* desc = types.Find(c.name);
        ASSERT_NE(desc, nullptr);
        EXPECT_EQ(desc->ClassType, c.classType);
    }
}

std::vector<std::string> Items(window::ClassList& list) {
    std::vector<std::string> items;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) items.push_back(list.List(i));
    return items;
}

TEST(LoadTavroClassList, ListsDatatypeAndSystemClassesOnlyWhenAskedFor) {
    const Variant one = std::int32_t{1}, zero = std::int32_t{0};
    auto query = std::make_shared<FakeQuery>();
    query->columns = kShuffledColumns;
    query->rows = {
        Row("Shop.Order", zero, one, zero),
        Row("Shop.Money", one, zero, zero),
        Row("%Library.Persistent", zero, one, zero, one),
        Row("%Library.String", one, zero, zero, one),
    };
    struct Case {
        std::int16_t includeDatatype, includeSystem;
        std::vector<std::string> listed;
    };
    const Case cases[] = {
        {0, 0, {"Shop.Order"}},
        {1, 0, {"Shop.Money", "Shop.Order"}},
        {0, 1, {"%Library.Persistent", "Shop.Order"}},
        {1, 1, {"%Library.Persistent", "%Library.String", "Shop.Money", "Shop.Order"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.includeDatatype) + std::to_string(c.includeSystem));
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi();
        ConnectedFake(query);
        window::PlainWindow form;
        window::frmImportExport = &form;
        form.lstAvailableClasses().AddItem("Stale.Entry");
        form.lstSelectedClasses().AddItem("Shop.Kept");
        form.SetCheckValue(window::CheckBox::IncludeDatatype, c.includeDatatype);
        form.SetCheckValue(window::CheckBox::IncludeSystem, c.includeSystem);

        server::LoadTavroClassList();
        window::frmImportExport = nullptr;
        EXPECT_EQ(Items(form.lstAvailableClasses()), c.listed);
        EXPECT_EQ(Items(form.lstSelectedClasses()), std::vector<std::string>{"Shop.Kept"});
        EXPECT_TRUE(ui->boxes.empty());
    }
}

TEST(LoadTavroClassList, RetriesTheConnectionUntilTheUserCancels) {
    struct Case {
        const char* name;
        std::vector<std::string> connections;
        std::vector<platform::Answer> answers;
        bool ends;
        int prompts;
    };
    using platform::Answer;
    const Case cases[] = {
        {"connected at once", {"127.0.0.1:48100:USER"}, {}, false, 1},
        {"retry after a cancelled dialog", {"", "127.0.0.1:48100:USER"}, {Answer::Retry}, false, 2},
        {"cancel", {""}, {Answer::Cancel}, true, 1},
        {"retry then cancel", {"", ""}, {Answer::Retry, Answer::Cancel}, true, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_test::ResetServerLink();
        auto ui = server_test::InstallScriptedUi(c.answers);
        auto fake = std::make_shared<FakeServer>();
        fake->connections = c.connections;
        fake->query = std::make_shared<FakeQuery>();
        fake->query->columns = kShuffledColumns;
        server_test::InstallFakeFactory(fake);
        window::PlainWindow form;
        window::frmImportExport = &form;

        if (c.ends) {
            EXPECT_THROW(server::LoadTavroClassList(), platform::ProcessEnded);
        } else {
            server::LoadTavroClassList();
            EXPECT_EQ(form.Status(), "Connected to USER");
            EXPECT_EQ(form.NamespaceOrModelCaption(), "Tavro Namespace: USER");
        }
        window::frmImportExport = nullptr;
        EXPECT_EQ(fake->prompts, c.prompts);
        EXPECT_EQ(ui->boxes.size(), c.answers.size());
        for (const auto& box : ui->boxes) {
            EXPECT_EQ(box.text, "Unable to connect to Tavro");
            EXPECT_EQ(box.buttons, platform::Buttons::RetryCancel);
            EXPECT_EQ(box.title, "Corvansil");
        }
    }
}

TEST(LoadTavroClassList, MissingListColumnEndsTheProcess) {
    auto query = std::make_shared<FakeQuery>();
    // The list needs only Name, Datatype and System.
    query->columns = {"Name", "Datatype"};
    server_test::ResetServerLink();
    auto ui = server_test::InstallScriptedUi();
    ConnectedFake(query);
    window::PlainWindow form;
    window::frmImportExport = &form;
    EXPECT_THROW(server::LoadTavroClassList(), platform::ProcessEnded);
    window::frmImportExport = nullptr;
    EXPECT_EQ(ui->Texts(), std::vector<std::string>{"Internal Error in ClassInfo Query"});

    // Without Hidden and the other flags the list still loads.
    query->columns = {"System", "Name", "Datatype"};
    query->rows = {{std::int32_t{0}, "Shop.Order", std::int32_t{0}}};
    server_test::ResetServerLink();
    ui = server_test::InstallScriptedUi();
    ConnectedFake(query);
    window::frmImportExport = &form;
    server::LoadTavroClassList();
    window::frmImportExport = nullptr;
    EXPECT_EQ(Items(form.lstAvailableClasses()), std::vector<std::string>{"Shop.Order"});
    EXPECT_TRUE(ui->boxes.empty());
}

}  // namespace
