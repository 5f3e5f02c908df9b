// Edits made through the automation objects, saved, and read back from the saved file.
#include <gtest/gtest.h>

#include <map>

#include "hosts/rose/host/host.h"
#include "support.h"
#include "tests/support/support.h"

namespace rosehost {
namespace {

using automation::Call;
using automation::Get;
using automation::ObjectRef;
using automation::Put;

// Dispatch ids of the modelling tool's operations used here.
constexpr std::int32_t kActiveModel = 209, kCurrentDiagram = 12527, kCategoriesByPath = 12476,
                       kClassesByPath = 12474, kItemAt = 203;
constexpr std::int32_t kCreateClass = 421, kDocText = 203, kIsAbstract = 412, kIsPersistent = 414,
                       kAttributes = 416, kCreateOperation = 427, kCreateAttribute = 428,
                       kCreateAssociation = 429, kDeleteAttribute = 435,
                       kCreateSuperclassLink = 437, kSetToolProperty = 110;
constexpr std::int32_t kAttributeExportControl = 415, kValue = 202, kCreateParameter = 416;
constexpr std::int32_t kOtherRoleOf = 417, kRoleName = 100, kIsNavigable = 616, kMultiplicity = 617;
constexpr std::int32_t kAddClass = 412, kRemoveClass = 419, kClassViewOf = 427, kPlacementA = 203,
                       kPlacementB = 202;

ObjectRef First(const ObjectRef& collection) {
    return Call(collection, kItemAt, {std::int16_t{1}}).ToObject();
}

const petal::Value& Field(const petal::Document& document, const char* key) {
    return *petal::FindField(document.model().root, key);
}

// The class "library::Order", made and filled through the objects.
void EditLibrary(const ObjectRef& model) {
    ObjectRef library = First(Call(model, kCategoriesByPath, {"library", ""}).ToObject());
    ObjectRef order = Call(library, kCreateClass, {"Order"}).ToObject();
    Put(order, kDocText, "What a reader asks for.\nOne per visit.");
    Put(order, kIsAbstract, true);
    Put(order, kIsPersistent, true);
    ObjectRef total = Call(order, kCreateAttribute, {"total", "Currency", "0"}).ToObject();
    Put(Get(total, kAttributeExportControl).ToObject(), kValue, std::int16_t{0});
    ObjectRef place = Call(order, kCreateOperation, {"Place", "Boolean"}).ToObject();
    Call(place, kCreateParameter, {"when", "Date", "", std::int16_t{1}});
    ObjectRef items =
        Call(order, kCreateAssociation, {"", "Logical View::library::Book"}).ToObject();
    ObjectRef far = Call(items, kOtherRoleOf, {order}).ToObject();
    Put(far, kRoleName, "books");
    Put(far, kMultiplicity, "0..n");
    Put(far, kIsNavigable, true);
    Call(order, kCreateSuperclassLink, {"", "Logical View::library::Writer"});
    Call(order, kSetToolProperty, {"Tavro", "ClassType", "persistent"});

    ObjectRef book = First(Call(model, kClassesByPath, {"library::Book", ""}).ToObject());
    ObjectRef pages =
        Call(Get(book, kAttributes).ToObject(), kItemAt, {std::int16_t{2}}).ToObject();
    Call(book, kDeleteAttribute, {pages});
    Call(book, kSetToolProperty, {"Tavro", "Final", "True"});
    Call(Get(model, kCurrentDiagram).ToObject(), kAddClass, {order});
}

TEST(SyncModel, WritesNewAndChangedElementsAndKeepsTheRest) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    std::string dir = testsupport::MakeTempDir();
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/library.mdl"), "");
    EditLibrary(Get(ApplicationObject(session.host), kActiveModel).ToObject());
    ASSERT_EQ(SaveSession(session, dir + "/edited.mdl"), "");
    EXPECT_EQ(ModelOf(*session.host)->name, "edited");

    Session again;
    ASSERT_EQ(OpenSession(again, dir + "/edited.mdl"), "");
    const Model& model = *ModelOf(*again.host);
    auto orders = ClassesByPath(model, "library::Order");
    ASSERT_EQ(orders.size(), 1u);
    const Class& order = *orders[0];
    EXPECT_EQ(order.documentation, "What a reader asks for.\nOne per visit.");
    EXPECT_TRUE(order.isAbstract);
    EXPECT_TRUE(order.isPersistent);
    ASSERT_EQ(order.attributes.size(), 1u);
    EXPECT_EQ(order.attributes[0]->type, "Currency");
    EXPECT_EQ(order.attributes[0]->initialValue, "0");
    EXPECT_EQ(order.attributes[0]->exportControl, kPublic);
    ASSERT_EQ(order.operations.size(), 1u);
    EXPECT_EQ(order.operations[0]->returnType, "Boolean");
    ASSERT_EQ(order.operations[0]->parameters.size(), 1u);
    EXPECT_EQ(order.operations[0]->parameters[0]->name, "when");
    EXPECT_EQ(order.operations[0]->parameters[0]->type, "Date");
    ASSERT_EQ(order.superclassLinks.size(), 1u);
    EXPECT_EQ(order.superclassLinks[0]->className, "Logical View::library::Writer");
    EXPECT_EQ(GetToolProperty(model, order, ElementKind::Class, "Tavro", "ClassType"),
              "persistent");

    auto associations = AssociationsOf(model, order);
    ASSERT_EQ(associations.size(), 1u);
    auto books = OtherRoleOf(model, *associations[0], order);
    ASSERT_TRUE(books);
    EXPECT_EQ(books->name, "books");
    EXPECT_EQ(books->multiplicity, "0..n");
    EXPECT_TRUE(books->isNavigable);
    EXPECT_EQ(books->className, "Logical View::library::Book");

    const Class& book = *ClassesByPath(model, "library::Book")[0];
    ASSERT_EQ(book.attributes.size(), 2u);
    EXPECT_EQ(book.attributes[1]->name, "category");
    EXPECT_TRUE(HasOwnToolProperty(book, "Tavro", "Final"));
    auto current = model.currentDiagram.lock();
    ASSERT_TRUE(current);
    EXPECT_TRUE(ClassViewOf(*current, order));

    // What the model does not cover is as it was read.
    for (const char* key : {"defaults", "root_usecase_package", "root_subsystem",
                            "process_structure", "properties"}) {
        SCOPED_TRACE(key);
        petal::Document original;
        ASSERT_TRUE(original.Load(testsupport::SamplesDir() + "/mdl/library.mdl"));
        EXPECT_TRUE(Field(again.document, key) == Field(original, key));
    }

    // The new objects are laid out for good: saving the reloaded model changes nothing.
    ASSERT_EQ(SaveSession(again, dir + "/again.mdl"), "");
    EXPECT_TRUE(testsupport::ReadFile(dir + "/again.mdl") ==
                testsupport::ReadFile(dir + "/edited.mdl"));
}

TEST(SyncModel, ClassDrawnAgainAtItsPlaceGivesBackTheSameFile) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    std::string dir = testsupport::MakeTempDir();
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/library.mdl"), "");
    ASSERT_EQ(SelectDiagram(session, "library::Main"), "");
    ObjectRef model = Get(ApplicationObject(session.host), kActiveModel).ToObject();
    ObjectRef diagram = Get(model, kCurrentDiagram).ToObject();
    ObjectRef book = First(Call(model, kClassesByPath, {"library::Book", ""}).ToObject());
    // The way a diagram refresh redraws a class: note its place, take it off, put it back.
    ObjectRef view = Call(diagram, kClassViewOf, {book}).ToObject();
    automation::Variant a = Get(view, kPlacementA), b = Get(view, kPlacementB);
    Call(diagram, kRemoveClass, {book});
    ObjectRef again = Call(diagram, kAddClass, {book}).ToObject();
    view = Call(diagram, kClassViewOf, {book}).ToObject();
    Put(view, kPlacementA, a);
    Put(view, kPlacementB, b);
    ASSERT_EQ(SaveSession(session, dir + "/redrawn.mdl"), "");
    EXPECT_TRUE(testsupport::ReadFile(dir + "/redrawn.mdl") ==
                testsupport::ReadFile(testsupport::SamplesDir() + "/mdl/library.mdl"));
}

TEST(SyncModel, ClassTakenOffADiagramTakesItsLinesAlong) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    std::string dir = testsupport::MakeTempDir();
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/library.mdl"), "");
    Model& model = *ModelOf(*session.host);
    Diagram& main = *model.top->categories[0]->diagrams[0];
    ASSERT_TRUE(RemoveClass(main, *ClassesByPath(model, "library::Book")[0]));
    ASSERT_EQ(SaveSession(session, dir + "/off.mdl"), "");
    std::string text = testsupport::ReadFile(dir + "/off.mdl");
    // Book's view was @9; the association views that ended at it went with it.
    EXPECT_EQ(text.find("\"Logical View::library::Book\" @9"), std::string::npos);
    EXPECT_EQ(text.find("@9\n"), std::string::npos);
    EXPECT_EQ(text.find("@9)"), std::string::npos);
    Session again;
    ASSERT_EQ(OpenSession(again, dir + "/off.mdl"), "");
    const Model& reloaded = *ModelOf(*again.host);
    EXPECT_EQ(ShownClasses(*reloaded.top->categories[0]->diagrams[0]).size(), 3u);
}

TEST(SyncModel, NewModelSavesALoadableFile) {
    std::string dir = testsupport::MakeTempDir();
    Session session;
    NewSession(session);
    EXPECT_EQ(ModelOf(*session.host)->name, "");
    EXPECT_EQ(SaveSession(session, ""), "the model has never been saved: give a file name");
    Model& model = *ModelOf(*session.host);
    auto shop = CreateCategory(model, model.top, "shop");
    auto cart = CreateClass(model, shop, "Cart");
    CreateAttribute(model, *cart, "lines", "Integer", "");
    AddClass(*model.currentDiagram.lock(), cart);
    ASSERT_EQ(SaveSession(session, dir + "/shop.mdl"), "");

    Session again;
    ASSERT_EQ(OpenSession(again, dir + "/shop.mdl"), "");
    EXPECT_EQ(ShowModel(*ModelOf(*again.host)), ShowModel(model));
    EXPECT_EQ(ModelOf(*again.host)->name, "shop");
    // Made within the second the model was: the new elements' quids are not the Design's.
    petal::File file;
    ASSERT_TRUE(petal::ParseDocument(testsupport::ReadFile(dir + "/shop.mdl"), file));
    std::map<std::string, std::string> kindOf;
    petal::VisitObjects(file.root, [&](const petal::Object& o) {
        std::string quid = petal::GetText(o, "quid");
        if (quid.empty()) return;
        auto [at, added] = kindOf.emplace(quid, o.kind);
        EXPECT_TRUE(added) << o.kind << " has the quid of a " << at->second;
    });
}

// What an import makes: a subclass and an association end before the class they point at, and
// a method whose FormalSpec `list:%List,sep:%String=","` splits into a parameter named '"'.
TEST(SaveSession, WritesLinksToLaterClassesWithTheirQuidAndOddTextAsItWas) {
    std::string dir = testsupport::MakeTempDir();
    Session session;
    NewSession(session);
    Model& model = *ModelOf(*session.host);
    auto shop = CreateCategory(model, model.top, "shop");
    auto sub = CreateClass(model, shop, "Sub");
    CreateSuperclassLink(model, *sub, "", "Logical View::shop::Base");
    CreateAssociation(model, *sub, "", "Logical View::shop::Base");
    auto join = CreateOperation(model, *sub, "Join", "%String");
    CreateParameter(model, *join, "list", "%List", "", 1);
    CreateParameter(model, *join, "sep", "%String=\"", "", 2);
    CreateParameter(model, *join, "\"", "", "", 3);
    sub->documentation = "  indented\n|barred \\ \"quoted\"\n";
    CreateClass(model, shop, "Base");
    CreateClass(model, shop, "Other");
    ASSERT_EQ(SaveSession(session, dir + "/shop.mdl"), "");
    // Linked later still: the quid is found at the next save too.
    CreateSuperclassLink(model, *sub, "", "Logical View::shop::Other");
    ASSERT_EQ(SaveSession(session, ""), "");

    petal::File file;
    ASSERT_TRUE(petal::ParseDocument(testsupport::ReadFile(dir + "/shop.mdl"), file));
    std::map<std::string, std::string> quids;
    petal::VisitObjects(file.root, [&](const petal::Object& o) {
        if (o.kind == "Class")
            quids["Logical View::shop::" + o.names[0]] = petal::GetText(o, "quid");
    });
    int links = 0;
    petal::VisitObjects(file.root, [&](const petal::Object& o) {
        if (o.kind != "Inheritance_Relationship" && o.kind != "Role") return;
        ++links;
        std::string supplier = petal::GetText(o, "supplier");
        SCOPED_TRACE(o.kind + " to " + supplier);
        ASSERT_TRUE(quids.contains(supplier));
        EXPECT_EQ(petal::GetText(o, "quidu"), quids[supplier]);
    });
    EXPECT_EQ(links, 4);

    Session again;
    ASSERT_EQ(OpenSession(again, dir + "/shop.mdl"), "");
    EXPECT_EQ(ShowModel(*ModelOf(*again.host)), ShowModel(model));
    const Class& reread = *ClassesByPath(*ModelOf(*again.host), "shop::Sub")[0];
    EXPECT_EQ(reread.documentation, sub->documentation);
    ASSERT_EQ(reread.operations[0]->parameters.size(), 3u);
    EXPECT_EQ(reread.operations[0]->parameters[1]->type, "%String=\"");
    EXPECT_EQ(reread.operations[0]->parameters[2]->name, "\"");

    // A name the file can only hold as its placeholder for no name would read back as none.
    std::string saved = testsupport::ReadFile(dir + "/shop.mdl");
    CreateClass(model, shop, "$UNNAMED$7");
    EXPECT_EQ(SaveSession(session, ""),
              "nothing saved: the model does not read back from the text written for it (class "
              "\"Logical View::shop::$UNNAMED$7\": name)");
    EXPECT_EQ(testsupport::ReadFile(dir + "/shop.mdl"), saved);
}

}  // namespace
}  // namespace rosehost
