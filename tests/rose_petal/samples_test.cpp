// The real sample models: read, written back byte for byte, edited without losing anything.
#include <gtest/gtest.h>

#include "hosts/rose/petal/petal.h"
#include "test_util.h"
#include "tests/support/support.h"

namespace {

using namespace petal;
using petal_test::CountKind;
using petal_test::FindNamed;
using testsupport::ReadFile;
using testsupport::SamplesDir;

TEST(WriteDocument, ReadsEverySampleAndGivesItBackByteForByte) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    // Counts from the sample folder's description and from reading the files; -1: not counted.
    struct Case {
        const char* file;
        LineEnd lineEnd;
        const char* rootKind;
        int classes, associations, classDiagrams;
    };
    const Case cases[] = {
        {"mdl/library.mdl", LineEnd::Lf, "Design", 4, 3, 2},
        {"mdl/uni.mdl", LineEnd::CrLf, "Design", 15, 9, 2},
        {"mdl/ecore/Ecore.mdl", LineEnd::Lf, "Design", -1, -1, -1},
        {"mdl/ecore/org.eclipse.emf.ecore/model/org.eclipse.emf.Ecore.cat", LineEnd::Lf,
         "Class_Category", 52, 39, 6},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        std::string bytes = ReadFile(SamplesDir() + "/" + c.file);
        File file;
        ParseResult r = ParseDocument(bytes, file);
        ASSERT_TRUE(r) << r.line << ":" << r.column << ": " << r.message;
        EXPECT_EQ(file.lineEnd, c.lineEnd);
        EXPECT_EQ(file.root.kind, c.rootKind);
        if (c.classes >= 0) {
            EXPECT_EQ(CountKind(file.root, "Class"), c.classes);
            EXPECT_EQ(CountKind(file.root, "Association"), c.associations);
            EXPECT_EQ(CountKind(file.root, "ClassDiagram"), c.classDiagrams);
        }
        std::string written = WriteDocument(file);
        EXPECT_TRUE(written == bytes)
            << "first difference at byte "
            << std::mismatch(written.begin(), written.end(), bytes.begin(), bytes.end()).first -
                   written.begin();
        File reread;
        ASSERT_TRUE(ParseDocument(written, reread));
        EXPECT_EQ(reread.header, file.header);
        EXPECT_EQ(reread.root, file.root);
    }
}

TEST(WriteDocument, ChangesOnlyTheEditedLinesOfASample) {
    if (SamplesDir().empty()) GTEST_SKIP() << "no sample folder";
    std::string bytes = ReadFile(SamplesDir() + "/mdl/library.mdl");
    File file;
    ASSERT_TRUE(ParseDocument(bytes, file));
    Object* book = FindNamed(file.root, "Class", "Book");
    ASSERT_NE(book, nullptr);
    SetField(*book, "documentation", MakeString("A written work"));
    Object isbn = NewObject("ClassAttribute", "isbn", "4A0B0C0D0E0F");
    SetField(isbn, "type", MakeString("String"));
    AppendObject(*FindField(*book, "class_attributes"), std::move(isbn));

    std::string expected = bytes;
    const std::string quidLine = "\t\t\tquid       \t\"40C81E700047\"\n";
    size_t at = expected.find(quidLine);
    ASSERT_NE(at, std::string::npos);
    expected.insert(at + quidLine.size(), "\t\t\tdocumentation \t\"A written work\"\n");
    const std::string lastAttribute = "\t\t\t\ttype       \t\"BookCategory\")";
    at = expected.find(lastAttribute, at);
    ASSERT_NE(at, std::string::npos);
    expected.insert(at + lastAttribute.size(),
                    "\n\t\t\t    (object ClassAttribute \"isbn\"\n"
                    "\t\t\t\tquid       \t\"4A0B0C0D0E0F\"\n"
                    "\t\t\t\ttype       \t\"String\")");
    EXPECT_EQ(WriteDocument(file), expected);
}

}  // namespace
