// Writing: new and edited elements laid out as the modelling tool lays them out.
#include <gtest/gtest.h>

#include "hosts/rose/petal/petal.h"
#include "test_util.h"

namespace {

using namespace petal;

Object Header(const char* charSet) {
    Object header = NewObject("Petal");
    header.fields.push_back({"version", MakeInteger(50)});
    header.fields.push_back({"charSet", MakeInteger(std::atoi(charSet))});
    return header;
}

TEST(WriteDocument, LaysOutNewObjectsAsTheModellingToolDoes) {
    Object category = NewObject("Class_Category", "pkg", "0123456789AB");
    Object book = NewObject("Class", "Book", "40C81E700047");
    // Set out of order on purpose: each key must land in its usual place.
    SetField(book, "stereotype", MakeString("entity"));
    SetField(book, "documentation", MakeString("A \"book\"\nwith pages\n"));
    Object pages = NewObject("ClassAttribute", "pages", "40C81E7E03A3");
    SetField(pages, "initv", MakeString("100"));
    SetField(pages, "type", MakeString("int"));
    AppendObject(EnsureList(book, "class_attributes", "class_attribute_list"), std::move(pages));
    Object tool = NewObject("Attribute");
    tool.fields.push_back({"tool", MakeString("Tavro")});
    tool.fields.push_back({"name", MakeString("Final")});
    tool.fields.push_back({"value", MakeTypedText("Text", "line one\nline two")});
    AppendObject(EnsureList(book, "attributes", "Attribute_Set"), std::move(tool));
    AppendObject(EnsureList(category, "logical_models", "unit_reference_list"), std::move(book));
    EnsureList(category, "logical_presentations", "unit_reference_list");

    const std::string expected =
        "\n(object Petal\n"
        "    version    \t50\n"
        "    charSet    \t0)\n"
        "\n"
        "(object Class_Category \"pkg\"\n"
        "    quid       \t\"0123456789AB\"\n"
        "    logical_models \t(list unit_reference_list\n"
        "\t(object Class \"Book\"\n"
        "\t    attributes \t(list Attribute_Set\n"
        "\t\t(object Attribute\n"
        "\t\t    tool       \t\"Tavro\"\n"
        "\t\t    name       \t\"Final\"\n"
        "\t\t    value      \t(value Text \n"
        "|line one\n"
        "|line two\n"
        "\t\t    )))\n"
        "\t    quid       \t\"40C81E700047\"\n"
        "\t    documentation \t\n"
        "|A \"book\"\n"
        "|with pages\n"
        "|\n"
        "\t    \n"
        "\t    stereotype \t\"entity\"\n"
        "\t    class_attributes \t(list class_attribute_list\n"
        "\t\t(object ClassAttribute \"pages\"\n"
        "\t\t    quid       \t\"40C81E7E03A3\"\n"
        "\t\t    type       \t\"int\"\n"
        "\t\t    initv      \t\"100\"))))\n"
        "    logical_presentations \t(list unit_reference_list))\n";
    EXPECT_EQ(WriteDocument(Header("0"), category, LineEnd::Lf), expected);

    File reread;
    ASSERT_TRUE(ParseDocument(expected, reread));
    EXPECT_EQ(reread.root, category);
}

TEST(WriteDocument, WritesEveryLineEndAsTheFileHadIt) {
    Object root = NewObject("Class", "A", "0123456789AB");
    SetField(root, "documentation", MakeString("x\ny"));
    std::string crlf = WriteDocument(Header("0"), root, LineEnd::CrLf);
    EXPECT_EQ(crlf,
              "\r\n(object Petal\r\n    version    \t50\r\n    charSet    \t0)\r\n\r\n"
              "(object Class \"A\"\r\n    quid       \t\"0123456789AB\"\r\n"
              "    documentation \t\r\n|x\r\n|y\r\n    )\r\n");
    File reread;
    ASSERT_TRUE(ParseDocument(crlf, reread));
    EXPECT_EQ(reread.lineEnd, LineEnd::CrLf);
    EXPECT_EQ(GetText(reread.root, "documentation"), "x\ny");
}

TEST(WriteDocument, EncodesNewTextInTheFileCodePage) {
    struct Case {
        const char* name;
        const char* charSet;
        std::string utf8;
        std::string bytes;
    };
    const Case cases[] = {
        {"backslash doubled", "0", "C:\\models", "C:\\\\models"},
        {"Latin-1 letter", "0", "caf\u00E9", "caf\xE9"},
        {"euro sign", "0", "\u20AC5",
         "\x80"
         "5"},
        {"letter the code page lacks", "0", "\u4E2D", "?"},
        {"Cyrillic", "204", "\u041F", "\xCF"},
        {"Japanese", "128", "\u30C6", "\x83\x65"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Object root = NewObject("Class", c.utf8);
        std::string out = WriteDocument(Header(c.charSet), root, LineEnd::Lf);
        EXPECT_NE(out.find("(object Class \"" + c.bytes + "\")"), std::string::npos) << out;
    }

    // What the code page lacks is named, element by element, character by character.
    Object category = NewObject("Class_Category", "pkg");
    Object cls = NewObject("Class", "C\u4E2D");
    SetField(cls, "documentation", MakeString("x \u2265 \u2192 \u6F22\u5B57 \u00E9"));
    Object attribute = NewObject("Attribute");
    attribute.fields.push_back({"value", MakeString("\U0001F600")});
    AppendObject(EnsureList(cls, "attributes", "Attribute_Set"), std::move(attribute));
    AppendObject(EnsureList(category, "logical_models", "unit_reference_list"), std::move(cls));
    std::vector<std::string> lost;
    WriteDocument(Header("0"), category, LineEnd::Lf, {}, lost);
    EXPECT_EQ(lost, (std::vector<std::string>{
                        "Class \"pkg::C\u4E2D\", name: \"\u4E2D\" (U+4E2D)",
                        "Attribute of Class \"pkg::C\u4E2D\", value: \"\U0001F600\" (U+1F600)",
                        "Class \"pkg::C\u4E2D\", documentation: \"\u2265\" (U+2265), \"\u2192\" "
                        "(U+2192), \"\u6F22\" (U+6F22), \"\u5B57\" (U+5B57)",
                    }));
    lost.clear();
    WriteDocument(Header("134"), category, LineEnd::Lf, {}, lost);
    EXPECT_TRUE(lost.empty());
}

// Text that every place of a file must give back as it was: a header name (only quotes can
// hold it), a field (quotes or a '|' block), typed text, an enumerated value, a list item.
TEST(WriteDocument, EveryTextReadsBackAsItWas) {
    struct Case {
        const char* name;
        const char* charSet;
        std::string utf8;
    };
    const Case cases[] = {
        {"double quote alone, as a parameter split from ',' \",\"", "0", "\""},
        {"quotes around a word", "0", "say \"hi\""},
        {"backslashes, one before the closing quote", "0", "C:\\dir\\"},
        {"backslash before a quote", "0", "\\\""},
        {"bar at the start of lines", "0", "|a\n|b"},
        {"line breaks, an empty last line", "0", "one\ntwo\n"},
        {"leading blanks and tabs on every line", "0", "  a\n\t b\n   "},
        {"carriage return before a line break", "0", "a\r\nb\r"},
        {"comment sign and parentheses", "0", "# (list x) )"},
        {"two-byte character ending in 0x5C, then a quote", "128", "\u8868\"\u8868"},
        {"two-byte character ending in 0x5C, then a backslash", "128", "\u8868\\\u8868\\"},
    };
    for (LineEnd lineEnd : {LineEnd::Lf, LineEnd::CrLf}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + (lineEnd == LineEnd::Lf ? ", LF" : ", CR LF"));
            Object root = NewObject("Class_Category", c.utf8, "0123456789AB");
            SetField(root, "documentation", MakeString(c.utf8));
            SetField(root, "stereotype", MakeTypedText("Text", c.utf8));
            SetField(root, "exportControl", MakeEnum(c.utf8, 3));
            Value& list = EnsureList(root, "logical_models", "unit_reference_list");
            list.items.push_back(MakeString(c.utf8));
            AppendObject(list, NewObject("Class", c.utf8));
            std::string bytes = WriteDocument(Header(c.charSet), root, lineEnd);
            EXPECT_EQ(ReadBackDifference(bytes, Header(c.charSet), root), "") << bytes;
            File reread;
            ASSERT_TRUE(ParseDocument(bytes, reread)) << bytes;
            EXPECT_EQ(reread.root.names, std::vector<std::string>{c.utf8});
            EXPECT_EQ(GetText(reread.root, "documentation"), c.utf8);
        }
    }
    // Where only quotes can stand, a double quote is written \" as in the tool's property files.
    std::string bytes = WriteDocument(Header("0"), NewObject("Parameter", "\""), LineEnd::Lf);
    EXPECT_NE(bytes.find("(object Parameter \"\\\"\")"), std::string::npos) << bytes;
}

TEST(SetField, PutsNewKeysWhereTheModellingToolWritesThem) {
    struct Case {
        const char* name;
        const char* kind;
        std::vector<std::string> keys;  // existing fields, in file order
        const char* added;
        std::vector<std::string> expected;
    };
    // clang-format off
    const Case cases[] = {
        {"tool properties before quid", "Class", {"quid", "language"}, "attributes",
         {"attributes", "quid", "language"}},
        {"documentation after quid", "ClassAttribute", {"quid", "type"}, "documentation",
         {"quid", "documentation", "type"}},
        {"operation visibility after concurrency", "Operation", {"quid", "result", "concurrency", "uid"},
         "opExportControl", {"quid", "result", "concurrency", "opExportControl", "uid"}},
        {"unknown key of a known kind goes last", "Role", {"quid", "label"}, "Zebra", {"quid", "label", "Zebra"}},
        {"unknown kind appends", "NoteView", {"location", "label"}, "width", {"location", "label", "width"}},
        {"unknown keys keep their place", "Class", {"quid", "Mystery", "language"}, "operations",
         {"quid", "Mystery", "operations", "language"}},
        {"existing key replaced in place", "Class", {"quid", "stereotype"}, "quid", {"quid", "stereotype"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Object o = NewObject(c.kind);
        for (const std::string& key : c.keys) o.fields.push_back({key, MakeString("old")});
        SetField(o, c.added, MakeString("new"));
        std::vector<std::string> keys;
        for (const Field& f : o.fields) keys.push_back(f.key);
        EXPECT_EQ(keys, c.expected);
    }
}

TEST(InsertFieldAfter, PlacesTheFieldAfterTheLastOccurrenceAndRemovalTakesOnlyWhatIsNamed) {
    Object o = NewObject("InterObjView");
    o.fields.push_back({"Focus_Of_Control", MakeString("1")});
    o.fields.push_back({"Focus_Of_Control", MakeString("2")});
    o.fields.push_back({"height", MakeInteger(3)});
    InsertFieldAfter(o, "Focus_Of_Control", "Focus_Of_Control", MakeString("3"));
    ASSERT_EQ(o.fields.size(), 4u);
    EXPECT_EQ(o.fields[2].value.text, "3");
    EXPECT_EQ(o.fields[3].key, "height");
    EXPECT_EQ(RemoveField(o, "Focus_Of_Control"), 3);

    Value list = MakeList("class_attribute_list");
    AppendObject(list, NewObject("ClassAttribute", "a"));
    Object& b = AppendObject(list, NewObject("ClassAttribute", "b"));
    AppendObject(list, NewObject("ClassAttribute", "c"));
    EXPECT_EQ(RemoveObject(list, &b), 1);
    ASSERT_EQ(list.items.size(), 2u);
    EXPECT_EQ(list.items[1].object->names[0], "c");
}

TEST(MakeQuid, WritesTimeAndCounterAsTwelveUpperCaseHexDigits) {
    // 0x40C81DB9 is 2004-06-10 08:37:13 UTC, the time in library.mdl's first quid.
    EXPECT_EQ(MakeQuid(0x40C81DB9, 0x027F), "40C81DB9027F");
    EXPECT_EQ(MakeQuid(0, 1), "000000000001");
}

}  // namespace
