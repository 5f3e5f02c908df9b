// An export run over a model file saved by the modelling tool: the library sample's classes,
// their attributes and association roles as the file holds them.
#include <gtest/gtest.h>

#include <filesystem>

#include "export/export.h"
#include "export_world.h"
#include "hosts/rose/host/host.h"
#include "tests/support/support.h"

namespace {

using export_test::ExportWorld;
using export_test::FindProperty;
using export_test::PropertyValue;

const std::string kSamples = testsupport::SamplesDir() + "/mdl";

TEST(ExportClasses, LibrarySampleGoesToTheServerWhole) {
    std::string path = kSamples + "/library.mdl";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample " << path;
    petal::Document document;
    ASSERT_TRUE(document.Load(path).ok);
    ExportWorld world;
    world.UseModel(rosehost::LoadModel(document));
    for (const auto& cls : rosehost::AllClasses(*world.model)) world.Select(*cls);

    exporting::ExportClasses();

    ASSERT_EQ(world.window.Rows().size(), 4U);
    for (const window::LogRow& row : world.window.Rows()) {
        SCOPED_TRACE(row.className);
        EXPECT_EQ(row.status, "New Class Created");
        EXPECT_EQ(row.icon, window::kIconDone);
    }
    EXPECT_EQ(world.window.Status(), "Export complete");

    tavro::ClassDef book;
    ASSERT_TRUE(world.Load("library.Book", book));
    struct Expected {
        const char* property;
        const char* type;
        const char* relationship;
        const char* inverse;
        const char* cardinality;
        const char* required;
    };
    // title: String, pages: int, category: the model's enumeration class; "author" is the
    // far end ("1") of the association with Writer, whose own end is "books".
    const Expected bookProperties[] = {
        {"title", "%String", "0", "", "", "0"},
        {"pages", "int", "0", "", "", "0"},
        {"category", "library.BookCategory", "0", "", "", "0"},
        {"author", "library.Writer", "1", "books", "one", "1"},
    };
    ASSERT_EQ(book.properties.size(), std::size(bookProperties));
    for (const Expected& e : bookProperties) {
        SCOPED_TRACE(e.property);
        const tavro::Item* property = FindProperty(book, e.property);
        ASSERT_NE(property, nullptr);
        EXPECT_EQ(PropertyValue(*property, "Type"), e.type);
        EXPECT_EQ(PropertyValue(*property, "Relationship"), e.relationship);
        EXPECT_EQ(PropertyValue(*property, "Inverse"), e.inverse);
        EXPECT_EQ(PropertyValue(*property, "Cardinality"), e.cardinality);
        EXPECT_EQ(PropertyValue(*property, "Required"), e.required);
    }

    // Library aggregates writers and books through unnamed roles of its own: plain references.
    tavro::ClassDef library;
    ASSERT_TRUE(world.Load("library.Library", library));
    for (const char* name : {"writers", "books"}) {
        SCOPED_TRACE(name);
        const tavro::Item* property = FindProperty(library, name);
        ASSERT_NE(property, nullptr);
        EXPECT_EQ(PropertyValue(*property, "Relationship"), "0");
        EXPECT_EQ(PropertyValue(*property, "Cardinality"), "");
        EXPECT_EQ(PropertyValue(*property, "Private"), "1");
    }
    ASSERT_NE(FindProperty(library, "writers"), nullptr);
    EXPECT_EQ(PropertyValue(*FindProperty(library, "writers"), "Type"), "library.Writer");

    tavro::ClassDef writer;
    ASSERT_TRUE(world.Load("library.Writer", writer));
    const tavro::Item* books = FindProperty(writer, "books");
    ASSERT_NE(books, nullptr);
    EXPECT_EQ(PropertyValue(*books, "Inverse"), "author");
    EXPECT_EQ(PropertyValue(*books, "Cardinality"), "many");
    EXPECT_EQ(PropertyValue(*books, "Required"), "0");
}

}  // namespace
