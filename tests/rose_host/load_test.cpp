// Loading the sample models into the model, and saving them unchanged.
#include <gtest/gtest.h>

#include <cstdlib>

#include "hosts/rose/host/host.h"
#include "support.h"
#include "tests/support/support.h"

namespace rosehost {
namespace {

struct Counts {
    std::size_t categories = 0, classes = 0, associations = 0, generalisations = 0,
                classDiagrams = 0;
};

Counts CountModel(const Model& model) {
    Counts counts;
    for (const auto& category : AllCategories(model)) {
        ++counts.categories;
        counts.classes += category->classes.size();
        counts.associations += category->associations.size();
        counts.classDiagrams += ClassDiagramsOf(*category).size();
        for (const auto& cls : category->classes) {
            counts.generalisations += cls->superclassLinks.size();
        }
    }
    return counts;
}

struct SampleCase {
    const char* file;
    const char* name;
    Counts counts;
    const char* initialDiagram;
};

// Counts from the samples' own descriptions and, where those are silent, from the objects
// below each file's logical view ("Logical View" itself counts as a category; Ecore's top
// category holds a "Main" diagram besides the unit's six).
const SampleCase kSamples[] = {
    {"library.mdl", "library", {2, 4, 3, 0, 2}, "Main"},
    {"uni.mdl", "uni", {2, 15, 6, 3, 2}, "Main"},
    {"ecore/Ecore.mdl", "Ecore", {2, 52, 39, 18, 7}, "Main"},
};

// Opens a copy of a sample; the Ecore model finds its unit through its path-map symbol.
std::string OpenSample(Session& session, const std::string& copy, const std::string& file) {
    ::setenv("VABASE_PLUGINS_PATH", (copy + "/ecore").c_str(), 1);
    return OpenSession(session, copy + "/" + file);
}

TEST(LoadModel, CountsElementsOfEverySample) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    std::string copy = test::CopySamples();
    for (const SampleCase& c : kSamples) {
        SCOPED_TRACE(c.file);
        Session session;
        ASSERT_EQ(OpenSample(session, copy, c.file), "");
        const Model& model = *ModelOf(*session.host);
        Counts counts = CountModel(model);
        EXPECT_EQ(model.name, c.name);
        EXPECT_EQ(counts.categories, c.counts.categories);
        EXPECT_EQ(counts.classes, c.counts.classes);
        EXPECT_EQ(counts.associations, c.counts.associations);
        EXPECT_EQ(counts.generalisations, c.counts.generalisations);
        EXPECT_EQ(counts.classDiagrams, c.counts.classDiagrams);
        auto current = model.currentDiagram.lock();
        EXPECT_EQ(current ? current->name : "", c.initialDiagram);
        for (const auto& category : AllCategories(model)) {
            for (const auto& diagram : category->diagrams) EXPECT_TRUE(diagram->selected.empty());
        }
    }
}

TEST(LoadModel, ReadsMembersRolesAndViewsOfLibrary) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    Session session;
    ASSERT_EQ(OpenSession(session, testsupport::SamplesDir() + "/mdl/library.mdl"), "");
    const Model& model = *ModelOf(*session.host);
    auto books = ClassesByPath(model, "library::Book");
    ASSERT_EQ(books.size(), 1u);
    const Class& book = *books[0];
    EXPECT_EQ(book.quid, "40C81E700047");
    ASSERT_EQ(book.attributes.size(), 3u);
    EXPECT_EQ(book.attributes[1]->name, "pages");
    EXPECT_EQ(book.attributes[1]->type, "int");
    EXPECT_EQ(book.attributes[1]->initialValue, "100");
    // No exportControl in the file: a private attribute.
    EXPECT_EQ(book.attributes[1]->exportControl, kPrivate);

    const Association& first = *model.top->categories[0]->associations[0];
    EXPECT_EQ(first.name, "");  // "$UNNAMED$0"
    EXPECT_EQ(first.roles[0]->name, "");
    EXPECT_TRUE(first.roles[0]->isAggregate);
    EXPECT_EQ(first.roles[1]->name, "writers");
    EXPECT_EQ(first.roles[1]->className, "Logical View::library::Writer");
    EXPECT_EQ(first.roles[1]->multiplicity, "0..n");
    EXPECT_EQ(first.roles[1]->exportControl, kImplementation);
    EXPECT_TRUE(first.roles[1]->isNavigable);

    const Diagram& main = *model.top->categories[0]->diagrams[0];
    auto view = ClassViewOf(main, book);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->placementA, 1008);
    EXPECT_EQ(view->placementB, 672);
}

TEST(SyncModel, UnchangedModelSavesTheBytesItRead) {
    if (testsupport::SamplesDir().empty()) GTEST_SKIP() << "samples absent";
    std::string copy = test::CopySamples();
    const char* unit = "/ecore/org.eclipse.emf.ecore/model/org.eclipse.emf.Ecore.cat";
    for (const SampleCase& c : kSamples) {
        SCOPED_TRACE(c.file);
        Session session;
        ASSERT_EQ(OpenSample(session, copy, c.file), "");
        std::string saved = copy + "/" + c.file + ".saved";
        ASSERT_EQ(SaveSession(session, saved), "");
        std::string original = testsupport::SamplesDir() + "/mdl/" + c.file;
        EXPECT_TRUE(testsupport::ReadFile(saved) == testsupport::ReadFile(original));
        EXPECT_TRUE(testsupport::ReadFile(copy + unit) ==
                    testsupport::ReadFile(testsupport::SamplesDir() + "/mdl" + unit));
        // Opening the saved copy shows the same model.
        Session again;
        ASSERT_EQ(OpenSession(again, saved), "");
        EXPECT_EQ(ShowModel(*ModelOf(*again.host)), ShowModel(*ModelOf(*session.host)));
    }
}

struct BadCase {
    const char* name;
    const char* bytes;
    const char* message;
};

TEST(OpenSession, RefusesFilesThatAreNoRoseModel) {
    std::string dir = testsupport::MakeTempDir();
    const BadCase cases[] = {
        {"text.mdl", "hello\n",
         " is not a Rose model: line 1, column 1: expected '(object Petal' at the start of the "
         "file"},
        {"unit.cat",
         "\n(object Petal\n    version    \t42)\n\n(object Class_Category \"x\"\n    quid       "
         "\t\"40C81E700047\")\n",
         " is not a Rose model: it holds a Class_Category object where a model holds its Design"},
    };
    for (const BadCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = dir + "/" + c.name;
        testsupport::WriteFile(path, c.bytes);
        Session session;
        EXPECT_EQ(OpenSession(session, path), path + c.message);
    }
    Session session;
    EXPECT_EQ(OpenSession(session, dir + "/absent.mdl"),
              "cannot read " + dir + "/absent.mdl: No such file or directory");
}

TEST(ModelNameOf, IsTheBaseNameWithoutExtension) {
    struct Case {
        const char* path;
        const char* name;
    };
    const Case cases[] = {
        {"/m/library.mdl", "library"}, {"uni.mdl", "uni"}, {"/a.b/model", "model"},
        {"/x/v1.2.mdl", "v1.2"},       {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(ModelNameOf(c.path), c.name);
    }
}

}  // namespace
}  // namespace rosehost
