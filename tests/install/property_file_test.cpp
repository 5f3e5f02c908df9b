#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "install/install.h"
#include "install/vocabulary.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> SplitCrLf(const std::string& text) {
    std::vector<std::string> lines;
    std::string::size_type start = 0;
    while (start < text.size()) {
        auto end = text.find("\r\n", start);
        if (end == std::string::npos) {
            lines.push_back(text.substr(start) + "<no CR LF>");
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

using testsupport::ReadFile;

// Line numbers worked out by hand from the entry layout: a scalar entry is 4 lines, a list
// entry 4 lines plus its members plus one closing line.
TEST(PropertyFileText, HoldsTheSingledOutLinesAndByteCount) {
    struct Case {
        int line;
        const char* text;
    };
    // clang-format off
    const Case cases[] = {
        {1, "(object Petal"}, {2, "    version\t42"}, {3, "    _written\t\"Rose 4.5.8054a\""},
        {4, "    charSet\t0)"}, {5, "(list Attribute_Set"}, {6, "    (object Attribute"},
        {7, "    tool\t\"Tavro\""}, {8, "    name\t\"default__Operation\""},
        {9, "    value\t(list Attribute_Set"}, {10, "        (object Attribute"},
        {12, "        name\t\"Abstract\""}, {13, "        value\tFALSE)"}, {86, "  ))"},
        {88, "    tool\t\"Parameter\""}, {89, "    name\t\"default__Attribute\""},
        {97, "        name\t\"MAXLEN\""}, {98, "        value\t50)"},
        {130, "    name\t\"default__Attribute\""}, {138, "        name\t\"CollectionEnum\""},
        {142, "            name\t\"Single Value\""}, {143, "            value\t1)"}, {160, "  ))"},
        {164, "        value\t(\"CollectionEnum\" 1))"}, {175, "        name\t\"InitialExpression\""},
        {176, "        value\t\"\\\"\\\"\")"}, {232, "    name\t\"default__Association\""},
        {244, "            name\t\"\""}, {245, "            value\t1)"},
        {266, "        value\t(\"CardinalityEnum\" 1))"}, {281, "            name\t\"Array\""},
        {283, "  ))"}, {299, "        value\t\"\\\"\\\"\")"}, {351, "    name\t\"default__Class\""},
        {395, "        name\t\"Modified\""}, {396, "        value\t\"3\")"},
        {443, "        name\t\"ViewQuery\""}, {444, "        value\t\"\")"}, {445, "  ))"}, {446, "  )"},
    };
    // clang-format on
    const std::string text = install::PropertyFileText();
    EXPECT_EQ(text.size(), 10978u);
    const auto lines = SplitCrLf(text);
    ASSERT_EQ(lines.size(), 446u);  // the last line ends with CR LF too
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(lines[static_cast<std::size_t>(c.line - 1)], c.text);
    }
}

TEST(PropertyFileText, KeepsItsLexicalRules) {
    const auto lines = SplitCrLf(install::PropertyFileText());
    int emptyCardinality = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SCOPED_TRACE(i + 1);
        const std::string& line = lines[i];
        ASSERT_FALSE(line.empty());
        EXPECT_NE(line.back(), ' ');
        EXPECT_EQ(line.find('\r'), std::string::npos);
        EXPECT_EQ(line.find('\n'), std::string::npos);
        auto tabs = std::count(line.begin(), line.end(), '\t');
        auto text = line.substr(line.find_first_not_of(' '));
        bool keyword = text.rfind("tool", 0) == 0 || text.rfind("name", 0) == 0 ||
                       text.rfind("value", 0) == 0 || text.rfind("version", 0) == 0 ||
                       text.rfind("_written", 0) == 0 || text.rfind("charSet", 0) == 0;
        EXPECT_EQ(tabs, keyword ? 1 : 0);
        for (char c : line) EXPECT_TRUE(c == '\t' || (c >= 32 && c < 127));
        if (text == "name\t\"\"") ++emptyCardinality;
    }
    EXPECT_EQ(emptyCardinality, 1);
}

TEST(PropertySets, DifferWhereTheVocabularyDiffers) {
    using install::PropertyKind;
    struct Case {
        const char* name;
        std::span<const install::PropertyDef> set;
        const char* property;
        bool present;
        PropertyKind kind;
        const char* defaultValue;
    };
    using install::kAssociationKeywords, install::kAttributeKeywords, install::kClassKeywords,
        install::kOperationKeywords;
    // clang-format off
    const Case cases[] = {
        {"operation ProcedureBlock", kOperationKeywords, "ProcedureBlock", true, PropertyKind::String, ""},
        {"class ProcedureBlock", kClassKeywords, "ProcedureBlock", true, PropertyKind::Boolean, "False"},
        {"operation SoapBodyUse", kOperationKeywords, "SoapBodyUse", true, PropertyKind::String, ""},
        {"class SoapBodyUse", kClassKeywords, "SoapBodyUse", true, PropertyKind::String, "literal"},
        {"attribute Required", kAttributeKeywords, "Required", true, PropertyKind::Boolean, "False"},
        {"association Required", kAssociationKeywords, "Required", false, PropertyKind::Boolean, ""},
        {"association Cardinality", kAssociationKeywords, "Cardinality", true, PropertyKind::Enumeration, ""},
        {"parameter MAXLEN", install::kParameterNames, "MAXLEN", true, PropertyKind::Integer, "50"},
        {"class Modified", kClassKeywords, "Modified", true, PropertyKind::String, "3"},
        {"attribute InitialExpression", kAttributeKeywords, "InitialExpression", true, PropertyKind::String, "\"\""},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const install::PropertyDef* property = install::FindProperty(c.set, c.property);
        ASSERT_EQ(property != nullptr, c.present);
        if (!c.present) continue;
        EXPECT_EQ(property->kind, c.kind);
        EXPECT_STREQ(property->defaultValue, c.defaultValue);
    }
    EXPECT_EQ(install::EnumCode(install::kAttributeCollectionEnum, "Character Stream"), 5);
    EXPECT_EQ(install::EnumCode(install::kAssociationCollectionEnum, "Binary Stream"), 0);
}

TEST(WritePropertyFile, ReplacesAnyOlderFileWithTheSameBytes) {
    testsupport::TempDir temp("corvansil-pty");
    const std::string dir = temp.path();
    const std::string path = dir + "/Corvansil.pty";
    std::ofstream(path, std::ios::binary) << std::string(20000, 'x');

    install::WritePropertyFile(dir);
    EXPECT_EQ(ReadFile(path), install::PropertyFileText());
    install::WritePropertyFile(dir);
    EXPECT_EQ(fs::file_size(path), 10978u);
    EXPECT_EQ(ReadFile(path), install::PropertyFileText());
}

}  // namespace
