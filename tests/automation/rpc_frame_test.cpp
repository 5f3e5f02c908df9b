#include "automation/rpc_frame.h"

#include <gtest/gtest.h>

#include <initializer_list>

using automation::CallKind;
using automation::rpc::DecodeFrame;
using automation::rpc::EncodeFrame;
using automation::rpc::FrameResult;
using automation::rpc::FrameStatus;
using automation::rpc::Message;
using automation::rpc::MessageType;
using automation::rpc::ObjectHandle;
using automation::rpc::WireValue;

namespace {

std::string Bytes(std::initializer_list<int> bytes) {
    std::string s;
    for (int b : bytes) s.push_back(static_cast<char>(b));
    return s;
}

Message CallById(std::uint32_t id, std::uint32_t handle, CallKind kind, std::int32_t dispid,
                 std::vector<WireValue> args = {}) {
    Message m;
    m.type = MessageType::Call;
    m.requestId = id;
    m.handle = handle;
    m.kind = kind;
    m.dispid = dispid;
    m.values = std::move(args);
    return m;
}

Message ReplyOf(std::uint32_t id, WireValue v) {
    Message m;
    m.requestId = id;
    m.values.push_back(std::move(v));
    return m;
}

}  // namespace

TEST(EncodeFrame, WritesTheBytesOfAGetByDispatchId) {
    // Get ActiveModel (209) on handle 2, request 7: length 17, type, id, handle, kind Get,
    // by id, dispatch id, no arguments.
    std::string out;
    EncodeFrame(CallById(7, 2, CallKind::Get, 209), out);
    EXPECT_EQ(out, Bytes({0x11, 0, 0, 0, 2, 7, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0xd1, 0, 0, 0, 0, 0}));
}

TEST(EncodeFrame, WritesTheBytesOfATextReply) {
    std::string out;
    EncodeFrame(ReplyOf(7, std::string("Person")), out);
    EXPECT_EQ(out,
              Bytes({0x10, 0, 0, 0, 5, 7, 0, 0, 0, 4, 6, 0, 0, 0, 'P', 'e', 'r', 's', 'o', 'n'}));
}

TEST(DecodeFrame, GivesBackEveryMessageEncoded) {
    Message byName;
    byName.type = MessageType::Call;
    byName.requestId = 0xfffffffe;
    byName.handle = 9;
    byName.kind = CallKind::Put;
    byName.byName = true;
    byName.text = "Name";
    byName.values = {WireValue{},
                     true,
                     false,
                     std::int16_t{-32768},
                     std::int32_t{-1},
                     std::string(""),
                     std::string("h\xc3\xa9llo"),
                     ObjectHandle{0},
                     ObjectHandle{0xffffffff}};
    Message hello;
    hello.type = MessageType::Hello;
    hello.requestId = 1;
    hello.text = automation::rpc::kHelloMagic;
    hello.count = 1;
    Message implements;
    implements.type = MessageType::Implements;
    implements.requestId = 3;
    implements.handle = 4;
    implements.text = "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}";
    Message release;
    release.type = MessageType::Release;
    release.handle = 5;
    release.count = 12;
    Message error;
    error.type = MessageType::Error;
    error.requestId = 8;
    error.text = "Member not found";

    Message forObject = CallById(2, 1, CallKind::Method, 428, {std::string("a")});
    forObject.noWait = true;
    forObject.resultHandle = automation::rpc::kClientHandleBit | 5;
    forObject.resultIid = "{A}";

    ObjectHandle introduced{7};
    introduced.kind = 2;
    introduced.iids = {"{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}", "{A}"};
    ObjectHandle ofKnownKind{8};
    ofKnownKind.kind = 2;

    struct Case {
        const char* name;
        Message message;
    } cases[] = {
        {"reply with an object introducing its kind", ReplyOf(6, introduced)},
        {"reply with an object of a kind told before", ReplyOf(6, ofKnownKind)},
        {"call by id", CallById(2, 1, CallKind::Method, -5, {std::int16_t{1}})},
        {"call by name with every value type", byName},
        {"call sent ahead naming its result's handle", forObject},
        {"hello", hello},
        {"implements", implements},
        {"release", release},
        {"reply with object", ReplyOf(6, ObjectHandle{3})},
        {"reply empty", ReplyOf(6, WireValue{})},
        {"error", error},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string buffer;
        EncodeFrame(c.message, buffer);
        buffer += "next";  // a following frame's bytes stay unread
        Message decoded;
        FrameResult result = DecodeFrame(buffer, decoded);
        ASSERT_TRUE(result) << result.Description() << " at " << result.offset;
        EXPECT_EQ(result.size, buffer.size() - 4);
        EXPECT_EQ(decoded, c.message);
    }
}

TEST(DecodeFrame, RefusesMalformedFramesAndSaysWhere) {
    struct Case {
        const char* name;
        std::string bytes;
        FrameStatus status;
        std::size_t offset;
    } cases[] = {
        {"length beyond the limit", Bytes({0xff, 0xff, 0xff, 0x7f}), FrameStatus::TooLarge, 0},
        {"length below the smallest frame", Bytes({4, 0, 0, 0, 5, 1, 0, 0}), FrameStatus::TooShort,
         0},
        {"unknown type", Bytes({5, 0, 0, 0, 9, 1, 0, 0, 0}), FrameStatus::BadType, 4},
        {"client type zero", Bytes({5, 0, 0, 0, 0, 1, 0, 0, 0}), FrameStatus::BadType, 4},
        {"call kind 4", Bytes({0x11, 0, 0, 0, 2, 7, 0, 0, 0, 2, 0, 0, 0, 4, 0, 1, 0, 0, 0, 0, 0}),
         FrameStatus::BadField, 13},
        {"call flags 8", Bytes({0x11, 0, 0, 0, 2, 7, 0, 0, 0, 2, 0, 0, 0, 1, 8, 1, 0, 0, 0, 0, 0}),
         FrameStatus::BadField, 13},
        {"result handle of the server's",
         Bytes({0x11, 0, 0, 0, 2, 7, 0, 0, 0, 2, 0, 0, 0, 1, 4, 1, 0, 0, 0, 0, 0}),
         FrameStatus::BadField, 15},
        {"value type 7", Bytes({6, 0, 0, 0, 5, 1, 0, 0, 0, 7}), FrameStatus::BadField, 9},
        {"object kind cut short", Bytes({0x0e, 0, 0, 0, 5, 1, 0, 0, 0, 6, 3, 0, 0, 0, 1, 0, 0, 0}),
         FrameStatus::Truncated, 18},
        {"Boolean 2", Bytes({7, 0, 0, 0, 5, 1, 0, 0, 0, 1, 2}), FrameStatus::BadField, 10},
        {"text longer than the frame",
         Bytes({0x0c, 0, 0, 0, 6, 1, 0, 0, 0, 100, 0, 0, 0, 'a', 'b', 'c'}), FrameStatus::Truncated,
         13},
        {"argument count beyond the bytes",
         Bytes({0x11, 0, 0, 0, 2, 7, 0, 0, 0, 2, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0xff, 0xff}),
         FrameStatus::Truncated, 21},
        {"release with a byte too many",
         Bytes({0x0e, 0, 0, 0, 4, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0}),
         FrameStatus::TrailingBytes, 17},
        {"reply without its value", Bytes({5, 0, 0, 0, 5, 1, 0, 0, 0}), FrameStatus::Truncated, 9},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Message decoded;
        FrameResult result = DecodeFrame(c.bytes, decoded);
        EXPECT_EQ(result.status, c.status) << result.Description();
        EXPECT_EQ(result.offset, c.offset);
    }
}

TEST(DecodeFrame, AsksForMoreUntilTheWholeFrameIsThere) {
    std::string frame;
    EncodeFrame(CallById(3, 1, CallKind::Method, 12475, {std::string("key"), std::string("")}),
                frame);
    for (std::size_t n = 0; n < frame.size(); ++n) {
        SCOPED_TRACE(n);
        Message decoded;
        FrameResult result = DecodeFrame(std::string_view(frame).substr(0, n), decoded);
        EXPECT_EQ(result.status, FrameStatus::Incomplete);
        EXPECT_EQ(result.size, n < 4 ? 0u : frame.size());
    }
}

TEST(DecodeFrame, NeverReadsPastACorruptedFrame) {
    // Every single-byte change of a valid frame either decodes or is refused; run under the
    // sanitizers this shows that no byte value makes the decoder read outside the buffer.
    std::string frame;
    EncodeFrame(CallById(3, 1, CallKind::Method, 5,
                         {std::string("text"), ObjectHandle{2}, true, std::int16_t{4}}),
                frame);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        for (int value : {0x00, 0x01, 0x06, 0x7f, 0x80, 0xff}) {
            std::string corrupt = frame;
            corrupt[i] = static_cast<char>(value);
            Message decoded;
            FrameResult result = DecodeFrame(corrupt, decoded, 1024);
            EXPECT_LE(result.offset, corrupt.size());
        }
    }
}
