// Reading: what each value looks like in the tree, and where bad input is reported.
#include <gtest/gtest.h>

#include "hosts/rose/petal/petal.h"
#include "test_util.h"

namespace {

using petal::ValueKind;
using petal_test::Document;

const std::string kHeader = "    version    \t50\n    charSet    \t0";

std::string OneField(const std::string& valueText) {
    return Document(kHeader, "(object Class \"Book\"\n    key        \t" + valueText + ")");
}

TEST(ParseDocument, ReadsEveryKindOfValueAndWritesItBack) {
    struct Case {
        const char* name;
        std::string valueText;
        ValueKind kind;
        std::string text;  // text, token, enum or type-name-specific text
        std::int64_t x, y;
    };
    const Case cases[] = {
        {"string", "\"Logical View::library::Book\"", ValueKind::String,
         "Logical View::library::Book", 0, 0},
        {"escaped backslashes", "\"std\\\\:\\\\:stack< int >\"", ValueKind::String,
         "std\\:\\:stack< int >", 0, 0},
        {"empty string", "\"\"", ValueKind::String, "", 0, 0},
        {"block", "\n|Super class for all beings\n|relevant to this system.\n    ",
         ValueKind::String, "Super class for all beings\nrelevant to this system.", 0, 0},
        {"block with trailing line break", "\n|\"stdafx.h\"\n|\n    ", ValueKind::String,
         "\"stdafx.h\"\n", 0, 0},
        {"negative integer", "-2", ValueKind::Integer, "-2", 0, 0},
        {"float keeps its digits", "0.250000", ValueKind::Float, "0.250000", 0, 0},
        {"tag", "@12", ValueKind::Tag, "12", 0, 0},
        {"point", "(88, -345)", ValueKind::Point, "", 88, -345},
        {"enumerated value", "(\"DataMemberVisibilitySet\" 211)", ValueKind::Enum,
         "DataMemberVisibilitySet", 211, 0},
        {"typed text", "(value cardinality \"0..n\")", ValueKind::TypedText, "0..n", 0, 0},
        {"typed text block", "(value Text \n|line one\n|line two\n    )", ValueKind::TypedText,
         "line one\nline two", 0, 0},
        {"empty list", "(list unit_reference_list)", ValueKind::List, "", 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string input = OneField(c.valueText);
        petal::File file;
        petal::ParseResult r = petal::ParseDocument(input, file);
        ASSERT_TRUE(r) << r.line << ": " << r.message;
        const petal::Value* v = petal::FindField(file.root, "key");
        ASSERT_NE(v, nullptr);
        EXPECT_EQ(v->kind, c.kind);
        if (c.kind == ValueKind::Point || c.kind == ValueKind::Enum) {
            EXPECT_EQ(v->x, c.x);
        }
        if (c.kind == ValueKind::Point) {
            EXPECT_EQ(v->y, c.y);
        } else if (c.kind != ValueKind::List) {
            EXPECT_EQ(v->text, c.text);
        }
        EXPECT_EQ(petal::WriteDocument(file), input);
    }
}

TEST(ParseDocument, KeepsRepeatedKeysNamesAndTagsInOrder) {
    std::string input = Document(
        kHeader,
        "(object RoleView \"writers\" @64\n    label      \t\"a\"\n    label      \t\"b\"\n"
        "    Parent_View \t@63)");
    petal::File file;
    ASSERT_TRUE(petal::ParseDocument(input, file));
    EXPECT_EQ(file.root.names, std::vector<std::string>{"writers"});
    EXPECT_EQ(file.root.tag, 64);
    ASSERT_EQ(file.root.fields.size(), 3u);
    EXPECT_EQ(file.root.fields[0].value.text, "a");
    EXPECT_EQ(file.root.fields[1].value.text, "b");
    EXPECT_EQ(petal::WriteDocument(file), input);
}

TEST(ParseDocument, ReportsBadInputWithItsLine) {
    struct Case {
        const char* name;
        std::string input;
        int line;
        int column;
        const char* message;
    };
    const std::string design = "(object Design \"Logical View\"\n    is_unit    \tTRUE";
    const Case cases[] = {
        {"well formed", Document(kHeader, design + ")"), 0, 0, ""},
        {"empty file", "", 1, 1, "expected '(object Petal' at the start of the file"},
        {"other first object", "\n(object Design)\n", 2, 9,
         "expected '(object Petal' at the start of the file"},
        {"header only", "\n(object Petal\n    version    \t50)\n", 4, 1,
         "file ends after the Petal header"},
        {"truncated object", Document(kHeader, design), 8, 1,
         "file ends inside the object opened on line 6"},
        {"truncated list",
         Document(kHeader, design + "\n    logical_models \t(list unit_reference_list\n"
                                    "\t(object Class \"A\")"),
         10, 1, "file ends inside the list opened on line 8"},
        {"one ')' too many", Document(kHeader, design + "))"), 7, 22,
         "unbalanced ')' after the root object"},
        {"text after the root", Document(kHeader, design + ")\n(object Extra)"), 8, 1,
         "unexpected '(' after the root object"},
        {"unknown construct", Document(kHeader, design + "\n    stereotype \t(thing \"x\"))"), 8,
         18, "unknown construct '(thing'"},
        {"object without a kind", Document(kHeader, design + "\n    defaults   \t(object \"x\"))"),
         8, 25, "expected an object kind but found a string"},
        {"name where a value belongs", Document(kHeader, design + "\n    global     \tYES)"), 8, 17,
         "unexpected name 'YES' where a value belongs"},
        {"value where a key belongs", Document(kHeader, design + "\n    \"global\")"), 8, 5,
         "expected a key or ')' in (object Design but found a string"},
        {"string not closed", Document(kHeader, design + "\n    title      \t\"Main)\n"), 8, 17,
         "string not closed before the end of the file"},
        {"bar inside a line", Document(kHeader, design + "\n    title      \t|Main)"), 8, 17,
         "'|' text must start a line"},
        {"bad point", Document(kHeader, design + "\n    location   \t(12, x))"), 8, 22,
         "expected a whole number but found 'x'"},
        {"point without comma", Document(kHeader, design + "\n    location   \t(12 5))"), 8, 21,
         "expected ',' inside a point"},
        {"malformed number", Document(kHeader, design + "\n    zoom       \t1.2.3)"), 8, 17,
         "malformed number"},
        {"non-ASCII outside a string", Document(kHeader, design + "\n    zoom       \t\xC3\xA9)"),
         8, 17, "unexpected byte 0xC3 outside a string"},
        {"byte that code page 1252 lacks",
         Document(kHeader, design + "\n    title      \t\"caf\x81\")"), 8, 17,
         "byte 0x81 is no character of code page 1252"},
        {"broken Shift_JIS text",
         Document("    version    \t50\n    charSet    \t128",
                  design + "\n\n    title      \t\"\x83\x20\")"),
         9, 17, "byte 0x83 starts no character of code page CP932"},
        {"control character", Document(kHeader, design + "\n\x01)"), 8, 1,
         "unexpected byte 0x01 outside a string"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        petal::File file;
        petal::ParseResult r = petal::ParseDocument(c.input, file);
        EXPECT_EQ(r.ok, c.line == 0);
        EXPECT_EQ(r.line, c.line);
        EXPECT_EQ(r.column, c.column);
        EXPECT_EQ(r.message, c.message);
    }
}

TEST(ParseDocument, RefusesNestingDeeperThanTheLimitWithoutCrashing) {
    std::string deep = "(object Design\n    key        \t";
    for (int i = 0; i < 100000; ++i) deep += "(list ";
    petal::File file;
    petal::ParseResult r = petal::ParseDocument(Document(kHeader, deep), file);
    EXPECT_FALSE(r);
    EXPECT_EQ(r.line, 7);
    EXPECT_EQ(r.message, "values nested deeper than 200 levels");
}

TEST(ParseDocument, NeverReadsPastAnyPrefixOfAValidFile) {
    std::string input =
        Document(kHeader,
                 "(object Design \"Logical View\"\n    documentation \t\n|two\n|lines\n    \n"
                 "    key        \t(value Text \"x\")\n    pos        \t(1, 2)\n    e          "
                 "\t(\"S\" 3))");
    // Only the final line end may go: the root object is whole without it.
    for (size_t n = 0; n + 1 < input.size(); ++n) {
        petal::File file;
        petal::ParseResult r = petal::ParseDocument(std::string_view(input).substr(0, n), file);
        EXPECT_FALSE(r) << "prefix of " << n << " bytes";
        EXPECT_GT(r.line, 0);
    }
}

TEST(ParseDocument, ConvertsTextFromTheFileCodePage) {
    struct Case {
        const char* name;
        const char* charSet;
        std::string bytes;
        std::string utf8;
    };
    const Case cases[] = {
        {"ANSI quotes and dash", "0", "\x93quoted\x94 \x96 caf\xE9",
         "\u201Cquoted\u201D \u2013 caf\u00E9"},
        {"Cyrillic", "204", "\xCF\xF0\xE8", "\u041F\u0440\u0438"},
        {"Shift_JIS", "128", "\x83\x65\x83\x58\x83\x67", "\u30C6\u30B9\u30C8"},
        {"Central European", "238", "\x9A\xE8", "\u0161\u010D"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string input = Document(
            std::string("    version    \t50\n    charSet    \t") + c.charSet,
            "(object Class \"" + c.bytes + "\"\n    documentation \t\n|" + c.bytes + "\n    )");
        petal::File file;
        petal::ParseResult r = petal::ParseDocument(input, file);
        ASSERT_TRUE(r) << r.message;
        EXPECT_EQ(file.root.names[0], c.utf8);
        EXPECT_EQ(petal::GetText(file.root, "documentation"), c.utf8);
        EXPECT_EQ(petal::WriteDocument(file), input);
    }
}

}  // namespace
