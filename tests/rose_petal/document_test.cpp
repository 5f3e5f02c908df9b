// Models with controlled units: finding units, warning about missing ones, saving safely.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "hosts/rose/petal/petal.h"
#include "test_util.h"
#include "tests/support/support.h"

namespace {

using namespace petal;
using petal_test::CountKind;
using petal_test::FindNamed;
using testsupport::ReadFile;
using testsupport::SamplesDir;

const char* const kUnitFile = "org.eclipse.emf.ecore/model/org.eclipse.emf.Ecore.cat";

// A writable copy of the sample folder holding Ecore.mdl and its unit.
std::string CopyEcoreSample(const testsupport::TempDir& temp) {
    testsupport::CopyTree(SamplesDir() + "/mdl/ecore", temp.path() + "/ecore");
    return temp.path() + "/ecore";
}

PathMap MapOf(std::string symbol, std::string value) {
    return [symbol, value](std::string_view asked) -> std::optional<std::string> {
        if (asked == symbol) return value;
        return std::nullopt;
    };
}

std::set<std::string> FilesIn(const std::string& dir) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

TEST(UnitFileCandidates, ResolvesPathMapSymbolsAndRelativeNames) {
    struct Case {
        const char* name;
        const char* fileName;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"symbol known",
         "$PLUGINS\\ecore\\model\\Ecore.cat",
         {"/opt/plugins/ecore/model/Ecore.cat", "/models/ecore/model/Ecore.cat"}},
        {"symbol unknown", "$OTHER\\Ecore.cat", {"/models/Ecore.cat"}},
        {"model directory", "&\\units\\a.cat", {"/models/units/a.cat"}},
        {"relative name", "units\\a.cat", {"/models/units/a.cat"}},
        {"absolute path", "/srv/a.cat", {"/srv/a.cat"}},
    };
    PathMap map = MapOf("PLUGINS", "/opt/plugins/");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(UnitFileCandidates(c.fileName, "/models", map), c.expected);
    }
}

TEST(DocumentLoad, LoadsAUnitFoundThroughTheEnvironment) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    testsupport::TempDir temp;
    std::string dir = CopyEcoreSample(temp);
    ::setenv("VABASE_PLUGINS_PATH", dir.c_str(), 1);
    Document doc;
    ParseResult r = doc.Load(dir + "/Ecore.mdl");
    ::unsetenv("VABASE_PLUGINS_PATH");
    ASSERT_TRUE(r) << r.message;
    EXPECT_TRUE(doc.warnings().empty());
    EXPECT_EQ(doc.UnitPaths(), std::vector<std::string>{dir + "/" + kUnitFile});
    Object* ecore = FindNamed(doc.model().root, "Class_Category", "ecore");
    ASSERT_NE(ecore, nullptr);
    EXPECT_TRUE(FindField(*ecore, "is_loaded")->boolean);
    EXPECT_EQ(CountKind(doc.model().root, "Class"), 52);
}

TEST(DocumentLoad, WarnsAboutAMissingUnitAndKeepsItsStub) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    testsupport::TempDir temp;
    std::string dir = CopyEcoreSample(temp);
    std::filesystem::remove(dir + "/" + kUnitFile);
    Document doc;
    ASSERT_TRUE(doc.Load(dir + "/Ecore.mdl", MapOf("VABASE_PLUGINS_PATH", dir)));
    EXPECT_EQ(doc.warnings(),
              std::vector<std::string>{
                  "unit \"ecore\" not found: "
                  "$VABASE_PLUGINS_PATH\\org.eclipse.emf.ecore\\model\\org.eclipse.emf.Ecore.cat"});
    EXPECT_TRUE(doc.UnitPaths().empty());
    Object* ecore = FindNamed(doc.model().root, "Class_Category", "ecore");
    ASSERT_NE(ecore, nullptr);
    EXPECT_FALSE(FindField(*ecore, "is_loaded")->boolean);

    std::string before = ReadFile(dir + "/Ecore.mdl");
    ASSERT_EQ(doc.Save(), "");
    EXPECT_EQ(ReadFile(dir + "/Ecore.mdl"), before);
}

TEST(DocumentSave, WritesAnEditInAUnitToTheUnitAndKeepsEverythingElseWithBackups) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    testsupport::TempDir temp;
    std::string dir = CopyEcoreSample(temp);
    std::string model = dir + "/Ecore.mdl";
    std::string unit = dir + "/" + kUnitFile;
    std::string modelBytes = ReadFile(model);
    std::string unitBytes = ReadFile(unit);
    PathMap map = MapOf("VABASE_PLUGINS_PATH", dir);
    Document doc;
    ASSERT_TRUE(doc.Load(model, map));
    // Unchanged: both files written back as they were, each with its backup.
    ASSERT_EQ(doc.Save(), "");
    EXPECT_EQ(ReadFile(model), modelBytes);
    EXPECT_EQ(ReadFile(unit), unitBytes);
    EXPECT_EQ(ReadFile(model + ".bak"), modelBytes);
    EXPECT_EQ(ReadFile(unit + ".bak"), unitBytes);
    EXPECT_EQ(FilesIn(dir),
              (std::set<std::string>{"Ecore.mdl", "Ecore.mdl.bak", "org.eclipse.emf.ecore"}));

    Object* eclass = FindNamed(doc.model().root, "Class", "EClass");
    ASSERT_NE(eclass, nullptr);
    SetField(*eclass, "documentation", MakeString("A modelled class"));
    Object attribute = NewObject("ClassAttribute", "tavroName", doc.NewQuid());
    SetField(attribute, "type", MakeString("String"));
    AppendObject(EnsureList(*eclass, "class_attributes", "class_attribute_list"),
                 std::move(attribute));
    ASSERT_EQ(doc.Save(), "");
    EXPECT_EQ(ReadFile(model), modelBytes);

    Document reloaded;
    ASSERT_TRUE(reloaded.Load(model, map));
    EXPECT_TRUE(reloaded.warnings().empty());
    EXPECT_EQ(reloaded.model().root, doc.model().root);
    Object* again = FindNamed(reloaded.model().root, "Class", "EClass");
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(GetText(*again, "documentation"), "A modelled class");
    // Diagrams, views and tool properties are nothing rose-host models; they must survive.
    File originalModel;
    File originalUnit;
    ASSERT_TRUE(ParseDocument(modelBytes, originalModel));
    ASSERT_TRUE(ParseDocument(ReadFile(unit + ".bak"), originalUnit));
    for (const char* kind : {"ClassView", "InheritView", "AssociationViewNew", "Attribute",
                             "ClassDiagram", "Properties"}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(CountKind(reloaded.model().root, kind),
                  CountKind(originalModel.root, kind) + CountKind(originalUnit.root, kind));
    }
    EXPECT_EQ(CountKind(reloaded.model().root, "ClassAttribute"),
              CountKind(originalUnit.root, "ClassAttribute") + 1);
}

// A model whose logical view holds one class "C" and, for each name, a unit stub "<name>"
// whose file is "<name>.cat" beside the model (or the absolute path given).
std::string ModelText(const std::vector<std::string>& units) {
    std::string stubs;
    for (const std::string& unit : units) {
        std::string file = unit[0] == '/' ? unit : unit + ".cat";
        std::string name = unit[0] == '/' ? unit.substr(unit.rfind('/') + 1) : unit;
        stubs += "\n\t    (object Class_Category \"" + name +
                 "\"\n\t\tis_unit    \tTRUE\n\t\tis_loaded  \tFALSE\n\t\tfile_name  \t\"" + file +
                 "\")";
    }
    return petal_test::Document(
        "    version    \t42\n    charSet    \t0",
        "(object Design \"Logical View\"\n    is_unit    \tTRUE\n    is_loaded  \tTRUE\n"
        "    root_category \t(object Class_Category \"Logical View\"\n"
        "\tlogical_models \t(list unit_reference_list\n"
        "\t    (object Class \"C\"\n\t\tquid       \t\"0123456789AB\")" +
            stubs + ")))");
}

TEST(DocumentLoad, ReadsOnlyRegularFilesOfBoundedSize) {
    testsupport::TempDir temp;
    const std::string& dir = temp.path();
    ASSERT_EQ(::mkfifo((dir + "/fifo.cat").c_str(), 0600), 0);
    ASSERT_EQ(::mkdir((dir + "/folder.cat").c_str(), 0700), 0);
    ASSERT_EQ(SaveFileAtomically(dir + "/huge.cat", ""), "");
    ASSERT_EQ(::truncate((dir + "/huge.cat").c_str(), static_cast<off_t>(kMaxFileBytes) + 1), 0);
    std::string model = dir + "/m.mdl";
    ASSERT_EQ(SaveFileAtomically(model, ModelText({"fifo", "/dev/zero", "folder", "huge"})), "");
    Document doc;
    ASSERT_TRUE(doc.Load(model));
    EXPECT_EQ(
        doc.warnings(),
        (std::vector<std::string>{
            "unit \"fifo\" left unloaded: cannot read " + dir + "/fifo.cat: not a regular file",
            "unit \"zero\" left unloaded: cannot read /dev/zero: not a regular file",
            "unit \"folder\" left unloaded: cannot read " + dir + "/folder.cat: not a regular file",
            "unit \"huge\" left unloaded: cannot read " + dir +
                "/huge.cat: larger than 256 MiB, the most read",
        }));
    ParseResult fifo = doc.Load(dir + "/fifo.cat");
    EXPECT_EQ(fifo.message, "cannot read " + dir + "/fifo.cat: not a regular file");
}

TEST(DocumentSave, RefusesTextItsCodePageCannotHoldUnlessSavedAsANewFile) {
    testsupport::TempDir temp;
    std::string model = temp.path() + "/m.mdl";
    std::string original = ModelText({});
    ASSERT_EQ(SaveFileAtomically(model, original), "");
    Document doc;
    ASSERT_TRUE(doc.Load(model));
    Object* cls = FindNamed(doc.model().root, "Class", "C");
    ASSERT_NE(cls, nullptr);
    const std::string text = "a \u2265 b \u2192 \u6F22\u5B57 \u00E9";
    SetField(*cls, "documentation", MakeString(text));
    EXPECT_EQ(doc.Save(),
              "nothing saved: text that its file's code page cannot hold would turn into '?'; "
              "change it, or save the model under a new name (written in code page GB18030, "
              "charSet 134, which holds every character):\n  " +
                  model +
                  " (code page Windows-1252):\n    Class \"Logical View::C\", documentation: "
                  "\"\u2265\" (U+2265), \"\u2192\" (U+2192), \"\u6F22\" (U+6F22), \"\u5B57\" "
                  "(U+5B57)");
    EXPECT_EQ(ReadFile(model), original);
    EXPECT_EQ(FilesIn(temp.path()), std::set<std::string>{"m.mdl"});

    std::string copy = temp.path() + "/copy.mdl";
    ASSERT_EQ(doc.SaveAs(copy), "");
    Document reloaded;
    ASSERT_TRUE(reloaded.Load(copy));
    EXPECT_EQ(FindField(reloaded.model().header, "charSet")->text, "134");
    EXPECT_EQ(GetText(*FindNamed(reloaded.model().root, "Class", "C"), "documentation"), text);
    EXPECT_EQ(ReadFile(model), original);
}

TEST(DocumentSave, LeavesNewTextThatReadsBackOtherwiseBesideTheUntouchedFile) {
    testsupport::TempDir temp;
    std::string model = temp.path() + "/m.mdl";
    std::string original = ModelText({});
    ASSERT_EQ(SaveFileAtomically(model, original), "");
    Document doc;
    ASSERT_TRUE(doc.Load(model));
    Object* cls = FindNamed(doc.model().root, "Class", "C");
    ASSERT_NE(cls, nullptr);
    // A float whose text has no decimals reads back as a whole number.
    Value odd;
    odd.kind = ValueKind::Float;
    odd.text = "5";
    SetField(*cls, "uid", odd);
    EXPECT_EQ(doc.Save(), "nothing saved: the new text of " + model +
                              " does not read back as the model ((object Class \"C\" reads back "
                              "with another uid); " +
                              model + " is left as it was, and the new text is in " + model +
                              ".rejected");
    EXPECT_EQ(ReadFile(model), original);
    EXPECT_NE(ReadFile(model + ".rejected").find("uid        \t5)"), std::string::npos);
}

TEST(DocumentNewQuid, GivesQuidsNoLoadedFileUses) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    Document doc;
    ASSERT_TRUE(doc.Load(SamplesDir() + "/mdl/library.mdl"));
    std::set<std::string> seen;
    VisitObjects(doc.model().root, [&](const Object& o) { seen.insert(GetText(o, "quid")); });
    for (int i = 0; i < 2000; ++i) {
        std::string quid = doc.NewQuid();
        ASSERT_EQ(quid.size(), 12u);
        EXPECT_EQ(quid.find_first_not_of("0123456789ABCDEF"), std::string::npos);
        EXPECT_TRUE(seen.insert(quid).second) << quid;
    }
}

TEST(SaveFileAtomically, KeepsThePreviousFileAsBackupOrSaysWhyItCannot) {
    testsupport::TempDir temp;
    const std::string& dir = temp.path();
    std::string path = dir + "/model.mdl";
    ASSERT_EQ(SaveFileAtomically(path, "first"), "");
    EXPECT_EQ(FilesIn(dir), std::set<std::string>{"model.mdl"});
    ASSERT_EQ(SaveFileAtomically(path, "second"), "");
    ASSERT_EQ(SaveFileAtomically(path, "third"), "");
    EXPECT_EQ(ReadFile(path), "third");
    EXPECT_EQ(ReadFile(path + ".bak"), "second");
    EXPECT_EQ(FilesIn(dir), (std::set<std::string>{"model.mdl", "model.mdl.bak"}));

    std::string error = SaveFileAtomically("/nonexistent-petal-dir/model.mdl", "x");
    EXPECT_EQ(error.rfind("cannot create a file beside /nonexistent-petal-dir/model.mdl: ", 0), 0u)
        << error;
}

}  // namespace
