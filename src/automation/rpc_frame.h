// The frames of the automation protocol, as pure functions on byte buffers.
//
// A frame is a 32-bit little-endian length (of what follows it), a message type byte, a 32-bit
// request id and the message's fields. Integers are little-endian; a text is a 32-bit length
// and its UTF-8 bytes; a value is a type byte (the order of `VariantType`) and its data, an
// object being a 32-bit handle (0 for no object), or, tagged 6, a handle, its kind and the
// kind's interface identifiers (a 16-bit count and texts). Every request but a release carries an
// id that its reply repeats, so that replies can later be matched to calls sent ahead of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "automation/automation.h"
#include "automation/rpc.h"

namespace automation::rpc {

enum class MessageType : std::uint8_t {
    Hello = 1,       // client: text = kHelloMagic, count = protocol version; reply: root object
    Call = 2,        // client: handle, kind, dispid or name, values = arguments
    Implements = 3,  // client: handle, text = interface id; reply: Boolean
    Release = 4,     // client: handle, count = times received; no reply
    Reply = 5,       // server: values = the one result
    Error = 6,       // server: text = error description
};

inline constexpr std::string_view kHelloMagic = "corvansil-rpc";
// 2: an object handle may carry its kind (value tag 6), which a client of 1 cannot read.
// 3: a call may name the handle its object result is to stand under (`resultHandle`).
inline constexpr std::uint32_t kProtocolVersion = 3;

// Handles a client names for the object results of its calls sent ahead; the server numbers
// its own handles below this.
inline constexpr std::uint32_t kClientHandleBit = 0x80000000u;

// An object as it travels: a handle in the table of the connection's server side. The server
// may tell the object's kind with a handle new to the client: a number per connection, with
// the kind's interface identifiers the first time that number is sent.
struct ObjectHandle {
    ObjectHandle() = default;
    ObjectHandle(std::uint32_t handleId) : id(handleId) {}

    std::uint32_t id = 0;
    std::uint32_t kind = 0;         // 0: not told
    std::vector<std::string> iids;  // only with the first handle of its kind
    bool operator==(const ObjectHandle&) const = default;
};

// A `Variant` on the wire; alternatives in the order of `VariantType`.
using WireValue =
    std::variant<std::monostate, bool, std::int16_t, std::int32_t, std::string, ObjectHandle>;

struct Message {
    MessageType type = MessageType::Reply;
    std::uint32_t requestId = 0;
    std::uint32_t handle = 0;  // Call, Implements, Release: the object addressed
    CallKind kind = CallKind::Method;
    bool byName = false;  // Call: text names the member instead of dispid
    // Call: the client goes on without waiting for the reply. After such a call fails, the
    // server answers every later call with the same error, unrun, up to and including the
    // next call the client waits for.
    bool noWait = false;
    // Call: when not 0, the client's handle (kClientHandleBit set) for the call's result. The
    // result must be an object, which the server keeps under that handle instead of sending
    // it back: later calls sent ahead can address it before the reply has arrived. A result
    // that does not offer `resultIid` (unless empty) fails the call.
    std::uint32_t resultHandle = 0;
    std::string resultIid;
    std::int32_t dispid = 0;
    std::uint32_t count = 0;  // Release: times received; Hello: protocol version
    std::string text;         // member name, interface id, error description or hello magic
    std::vector<WireValue> values;

    bool operator==(const Message&) const = default;
};

enum class FrameStatus : std::uint8_t {
    Ok,
    Incomplete,     // the buffer holds only the start of a frame; read more
    TooLarge,       // the length prefix exceeds the limit; nothing was allocated for it
    TooShort,       // the length prefix is below the smallest possible frame
    Truncated,      // a field runs past the end of the frame
    BadType,        // unknown message type
    BadField,       // a call kind, flag, value type or Boolean out of range
    TrailingBytes,  // the frame is longer than its fields
};

struct FrameResult {
    FrameStatus status = FrameStatus::Ok;
    std::size_t offset = 0;  // where decoding stopped, from the start of the buffer
    std::size_t size = 0;    // Ok: bytes the frame took; Incomplete: bytes it needs (0: unknown)

    explicit operator bool() const { return status == FrameStatus::Ok; }
    const char* Description() const;
};

// Bytes of the length prefix and of the smallest frame body (type and request id).
inline constexpr std::size_t kLengthSize = 4;
inline constexpr std::size_t kMinBodySize = 5;

// Decodes the frame at the start of `buffer` into `out`. A frame whose length prefix exceeds
// `maxFrameSize` is refused as soon as the prefix has been seen.
FrameResult DecodeFrame(std::string_view buffer, Message& out,
                        std::size_t maxFrameSize = kMaxFrameSize);

// Appends the frame of `message` to `out`. The caller keeps argument counts below 65536.
void EncodeFrame(const Message& message, std::string& out);

// A value off the wire as a Variant; an object handle other than 0 becomes what `objectOf`
// makes of it (the client's proxy, or the server's own object).
template <class ObjectOf>
Variant VariantOfWire(const WireValue& v, ObjectOf&& objectOf) {
    if (const auto* handle = std::get_if<ObjectHandle>(&v)) {
        if (handle->id == 0) return ObjectRef{};
        return objectOf(*handle);
    }
    return std::visit(
        [](const auto& x) -> Variant {
            using T = std::decay_t<decltype(x)>;
            if constexpr (std::is_same_v<T, std::monostate> || std::is_same_v<T, ObjectHandle>) {
                return {};
            } else {
                return x;
            }
        },
        v);
}

// A Variant as a value on the wire; an object becomes the handle that `handleOf` gives it.
template <class HandleOf>
WireValue WireOfVariant(const Variant& v, HandleOf&& handleOf) {
    switch (v.Type()) {
        case VariantType::Empty:
            return {};
        case VariantType::Bool:
            return v.AsBool();
        case VariantType::Int16:
            return v.AsInt16();
        case VariantType::Int32:
            return v.AsInt32();
        case VariantType::String:
            return v.AsString();
        case VariantType::Object:
            return handleOf(v.AsObject());
    }
    return {};
}

}  // namespace automation::rpc
