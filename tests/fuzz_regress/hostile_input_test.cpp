// Hostile inputs of the kinds fuzzing produces (cut off, nested without end, lengths that
// lie), built here rather than kept as files so that their size and shape stay readable.
#include <gtest/gtest.h>

#include <string>

#include "automation/rpc_frame.h"
#include "hosts/rose/petal/petal.h"
#include "hosts/tavro/xml/class_xml.h"

namespace {

namespace rpc = automation::rpc;

std::string Repeat(const std::string& piece, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

TEST(ParseDocument, RefusesHostileInputWithPlace) {
    struct Case {
        const char* name;
        std::string input;
        int line;
        int column;
        const char* message;
    };
    const Case cases[] = {
        // The k-th "(list" is at depth k + 1; the 200th, at column 3 + 6 * 199, is one too deep.
        {"nested lists", "(object Petal)(object Design\nx " + Repeat("(list ", 100000), 2, 1197,
         "values nested deeper than 200 levels"},
        {"nested objects", "(object Petal)(object Design\nx " + Repeat("(object K k ", 300), 2,
         3 + 12 * 199, "values nested deeper than 200 levels"},
        {"tag beyond int", "(object Petal)(object Design @99999999999)", 1, 30,
         "tag @99999999999 out of range"},
        {"point beyond int64", "(object Petal)(object Design p (99999999999999999999, 1))", 1, 33,
         "expected a whole number but found '99999999999999999999'"},
        {"cut off in a string", "(object Petal)(object Design \"abc", 1, 30,
         "string not closed before the end of the file"},
        {"cut off in an object", "(object Petal)(object Design", 1, 29,
         "file ends inside the object opened on line 1"},
        {"cut off in the header", "(object Petal version", 1, 22,
         "file ends where a value belongs"},
        {"empty", "", 1, 1, "expected '(object Petal' at the start of the file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        petal::File file;
        petal::ParseResult result = petal::ParseDocument(c.input, file);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.line, c.line);
        EXPECT_EQ(result.column, c.column);
        EXPECT_EQ(result.message, c.message);
    }
}

TEST(DecodeFrame, RefusesLyingLengthsWithoutReadingPastThem) {
    struct Case {
        const char* name;
        std::string bytes;
        rpc::FrameStatus status;
        std::size_t offset;
        std::size_t size;
    };
    using namespace std::string_literals;
    const Case cases[] = {
        {"length 4 GiB", "\xFF\xFF\xFF\xFF"s, rpc::FrameStatus::TooLarge, 0, 0},
        {"one past the limit", "\x01\x00\x00\x01\x02"s, rpc::FrameStatus::TooLarge, 0, 0},
        {"below the smallest frame", "\x04\x00\x00\x00\x05\x00\x00\x00"s,
         rpc::FrameStatus::TooShort, 0, 0},
        {"cut off", "\x64\x00\x00\x00\x05\x01\x00\x00\x00\x00"s, rpc::FrameStatus::Incomplete, 0,
         104},
        // Call: type, id, handle, kind, by name, dispid, then 65535 arguments and no bytes.
        {"argument count beyond the frame",
         "\x11\x00\x00\x00\x02\x01\x00\x00\x00\x07\x00\x00\x00\x03\x00\x0C\x00\x00\x00\xFF\xFF"s,
         rpc::FrameStatus::Truncated, 21, 0},
        {"text length beyond the frame", "\x09\x00\x00\x00\x06\x01\x00\x00\x00\xF0\xFF\xFF\xFF"s,
         rpc::FrameStatus::Truncated, 13, 0},
        {"Boolean neither 0 nor 1", "\x07\x00\x00\x00\x05\x01\x00\x00\x00\x01\x02"s,
         rpc::FrameStatus::BadField, 10, 0},
        {"value type out of range", "\x06\x00\x00\x00\x05\x01\x00\x00\x00\x7F"s,
         rpc::FrameStatus::BadField, 9, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        rpc::Message message;
        rpc::FrameResult result = rpc::DecodeFrame(c.bytes, message);
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.offset, c.offset);
        EXPECT_EQ(result.size, c.size);
    }
}

TEST(ParseClassXml, RefusesCutOffTextAtAnOffsetInsideIt) {
    struct Case {
        const char* name;
        std::string text;
        std::size_t offset;
        const char* message;
    };
    const Case cases[] = {
        // The XML parser puts the error one byte past the end for these.
        {"cut off in an attribute name", "<Class nam", 10,
         "malformed XML: Error parsing element attribute"},
        {"cut off after an attribute", "<Class name=\"A\" b", 17,
         "malformed XML: Error parsing element attribute"},
        {"unknown root", "<Klass name=\"A\"/>", 1, "unknown element <Klass>, expected <Class>"},
        {"empty", "", 0, "malformed XML: No document element found"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        tavro::XmlParseResult result = tavro::ParseClassXml(c.text);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.offset, c.offset);
        EXPECT_EQ(result.message, c.message);
    }
}

}  // namespace
