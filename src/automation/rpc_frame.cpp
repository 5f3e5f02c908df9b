#include "automation/rpc_frame.h"

namespace automation::rpc {
namespace {

// Reads fields of one frame body; the first field that runs past the end stops it.
struct Reader {
    std::string_view data;  // the whole buffer
    std::size_t pos;
    std::size_t end;  // end of the frame
    FrameStatus status = FrameStatus::Ok;

    bool Need(std::size_t n) {
        if (status != FrameStatus::Ok) return false;
        if (end - pos < n) {
            status = FrameStatus::Truncated;
            return false;
        }
        return true;
    }
    std::uint32_t U32() {
        if (!Need(4)) return 0;
        std::uint32_t v = 0;
        for (int i = 3; i >= 0; --i) {
            v = (v << 8) | static_cast<unsigned char>(data[pos + static_cast<std::size_t>(i)]);
        }
        pos += 4;
        return v;
    }
    std::uint16_t U16() {
        if (!Need(2)) return 0;
        auto lo = static_cast<unsigned char>(data[pos]);
        auto hi = static_cast<unsigned char>(data[pos + 1]);
        pos += 2;
        return static_cast<std::uint16_t>(lo | (hi << 8));
    }
    std::uint8_t U8() {
        if (!Need(1)) return 0;
        return static_cast<std::uint8_t>(data[pos++]);
    }
    std::string Text() {
        std::uint32_t n = U32();
        if (!Need(n)) return {};
        std::string s(data.substr(pos, n));
        pos += n;
        return s;
    }
    void Fail(FrameStatus s) {
        if (status == FrameStatus::Ok) status = s;
    }
};

// The value tag of an object handle that carries its kind.
constexpr std::uint8_t kKindTag = 6;

void PutU8(std::string& out, std::uint8_t v) { out.push_back(static_cast<char>(v)); }

void PutU16(std::string& out, std::uint16_t v) {
    const char bytes[2] = {static_cast<char>(v & 0xff), static_cast<char>(v >> 8)};
    out.append(bytes, 2);
}

void PutU32(std::string& out, std::uint32_t v) {
    const char bytes[4] = {static_cast<char>(v & 0xff), static_cast<char>((v >> 8) & 0xff),
                           static_cast<char>((v >> 16) & 0xff), static_cast<char>(v >> 24)};
    out.append(bytes, 4);
}

void PutText(std::string& out, std::string_view s) {
    PutU32(out, static_cast<std::uint32_t>(s.size()));
    out.append(s);
}

void PutValue(std::string& out, const WireValue& v) {
    if (const auto* object = std::get_if<ObjectHandle>(&v);
        object != nullptr && object->kind != 0) {
        PutU8(out, kKindTag);
        PutU32(out, object->id);
        PutU32(out, object->kind);
        PutU16(out, static_cast<std::uint16_t>(object->iids.size()));
        for (const std::string& iid : object->iids) PutText(out, iid);
        return;
    }
    PutU8(out, static_cast<std::uint8_t>(v.index()));
    switch (static_cast<VariantType>(v.index())) {
        case VariantType::Empty:
            return;
        case VariantType::Bool:
            PutU8(out, std::get<bool>(v) ? 1 : 0);
            return;
        case VariantType::Int16:
            PutU16(out, static_cast<std::uint16_t>(std::get<std::int16_t>(v)));
            return;
        case VariantType::Int32:
            PutU32(out, static_cast<std::uint32_t>(std::get<std::int32_t>(v)));
            return;
        case VariantType::String:
            PutText(out, std::get<std::string>(v));
            return;
        case VariantType::Object:
            PutU32(out, std::get<ObjectHandle>(v).id);
            return;
    }
}

WireValue ReadValue(Reader& r) {
    std::uint8_t tag = r.U8();
    if (r.status != FrameStatus::Ok) return {};
    switch (tag) {
        case 0:
            return {};
        case 1: {
            std::uint8_t b = r.U8();
            if (r.status == FrameStatus::Ok && b > 1) {
                --r.pos;  // point at the offending byte
                r.Fail(FrameStatus::BadField);
            }
            return b == 1;
        }
        case 2:
            return static_cast<std::int16_t>(r.U16());
        case 3:
            return static_cast<std::int32_t>(r.U32());
        case 4:
            return r.Text();
        case 5:
            return ObjectHandle{r.U32()};
        case kKindTag: {
            ObjectHandle object;
            object.id = r.U32();
            object.kind = r.U32();
            // Kind 0 means "no kind told", which travels under the plain handle tag; under
            // this tag it would not encode back to the bytes it came from.
            if (r.status == FrameStatus::Ok && object.kind == 0) {
                r.pos -= 4;  // point at the kind
                r.Fail(FrameStatus::BadField);
                return {};
            }
            std::uint16_t count = r.U16();
            for (std::uint16_t i = 0; i < count && r.status == FrameStatus::Ok; ++i) {
                object.iids.push_back(r.Text());
            }
            return object;
        }
        default:
            --r.pos;
            r.Fail(FrameStatus::BadField);
            return {};
    }
}

bool IsCallKind(std::uint8_t k) {
    return k == static_cast<std::uint8_t>(CallKind::Get) ||
           k == static_cast<std::uint8_t>(CallKind::Put) ||
           k == static_cast<std::uint8_t>(CallKind::Method);
}

void ReadCall(Reader& r, Message& out) {
    out.handle = r.U32();
    std::uint8_t kind = r.U8();
    std::uint8_t byName = r.U8();
    if (r.status != FrameStatus::Ok) return;
    if (!IsCallKind(kind) || byName > 7) {
        r.pos -= 2;
        r.Fail(FrameStatus::BadField);
        return;
    }
    out.kind = static_cast<CallKind>(kind);
    out.byName = (byName & 1) != 0;
    out.noWait = (byName & 2) != 0;
    if ((byName & 4) != 0) {
        out.resultHandle = r.U32();
        if (r.status == FrameStatus::Ok && (out.resultHandle & kClientHandleBit) == 0) {
            r.pos -= 4;
            r.Fail(FrameStatus::BadField);
            return;
        }
        out.resultIid = r.Text();
    }
    if (out.byName) {
        out.text = r.Text();
    } else {
        out.dispid = static_cast<std::int32_t>(r.U32());
    }
    std::uint16_t argc = r.U16();
    // Each value takes at least one byte, so a count beyond the bytes left is a lie that
    // must not make us reserve memory for it.
    if (r.status == FrameStatus::Ok && argc > r.end - r.pos) {
        r.Fail(FrameStatus::Truncated);
        return;
    }
    out.values.reserve(argc);
    for (std::uint16_t i = 0; i < argc && r.status == FrameStatus::Ok; ++i) {
        out.values.push_back(ReadValue(r));
    }
}

}  // namespace

const char* FrameResult::Description() const {
    switch (status) {
        case FrameStatus::Ok:
            return "no error";
        case FrameStatus::Incomplete:
            return "incomplete frame";
        case FrameStatus::TooLarge:
            return "frame exceeds the size limit";
        case FrameStatus::TooShort:
            return "frame length below the smallest frame";
        case FrameStatus::Truncated:
            return "field runs past the end of the frame";
        case FrameStatus::BadType:
            return "unknown message type";
        case FrameStatus::BadField:
            return "field value out of range";
        case FrameStatus::TrailingBytes:
            return "frame longer than its fields";
    }
    return "unknown frame status";
}

FrameResult DecodeFrame(std::string_view buffer, Message& out, std::size_t maxFrameSize) {
    out = Message{};
    if (buffer.size() < kLengthSize) return {FrameStatus::Incomplete, 0, 0};
    Reader r{buffer, 0, kLengthSize};
    std::uint32_t length = r.U32();
    if (length > maxFrameSize) return {FrameStatus::TooLarge, 0, 0};
    if (length < kMinBodySize) return {FrameStatus::TooShort, 0, 0};
    std::size_t frameSize = kLengthSize + length;
    if (buffer.size() < frameSize) return {FrameStatus::Incomplete, 0, frameSize};

    r.end = frameSize;
    std::uint8_t type = r.U8();
    out.requestId = r.U32();
    switch (type) {
        case static_cast<std::uint8_t>(MessageType::Hello):
            out.text = r.Text();
            out.count = r.U32();
            break;
        case static_cast<std::uint8_t>(MessageType::Call):
            ReadCall(r, out);
            break;
        case static_cast<std::uint8_t>(MessageType::Implements):
            out.handle = r.U32();
            out.text = r.Text();
            break;
        case static_cast<std::uint8_t>(MessageType::Release):
            out.handle = r.U32();
            out.count = r.U32();
            break;
        case static_cast<std::uint8_t>(MessageType::Reply):
            out.values.push_back(ReadValue(r));
            break;
        case static_cast<std::uint8_t>(MessageType::Error):
            out.text = r.Text();
            break;
        default:
            return {FrameStatus::BadType, kLengthSize, 0};
    }
    out.type = static_cast<MessageType>(type);
    if (r.status != FrameStatus::Ok) return {r.status, r.pos, 0};
    if (r.pos != frameSize) return {FrameStatus::TrailingBytes, r.pos, 0};
    return {FrameStatus::Ok, frameSize, frameSize};
}

void EncodeFrame(const Message& message, std::string& out) {
    std::size_t start = out.size();
    PutU32(out, 0);  // the length, filled in below
    PutU8(out, static_cast<std::uint8_t>(message.type));
    PutU32(out, message.requestId);
    switch (message.type) {
        case MessageType::Hello:
            PutText(out, message.text);
            PutU32(out, message.count);
            break;
        case MessageType::Call:
            PutU32(out, message.handle);
            PutU8(out, static_cast<std::uint8_t>(message.kind));
            PutU8(out,
                  static_cast<std::uint8_t>((message.byName ? 1 : 0) | (message.noWait ? 2 : 0) |
                                            (message.resultHandle != 0 ? 4 : 0)));
            if (message.resultHandle != 0) {
                PutU32(out, message.resultHandle);
                PutText(out, message.resultIid);
            }
            if (message.byName) {
                PutText(out, message.text);
            } else {
                PutU32(out, static_cast<std::uint32_t>(message.dispid));
            }
            PutU16(out, static_cast<std::uint16_t>(message.values.size()));
            for (const WireValue& v : message.values) PutValue(out, v);
            break;
        case MessageType::Implements:
            PutU32(out, message.handle);
            PutText(out, message.text);
            break;
        case MessageType::Release:
            PutU32(out, message.handle);
            PutU32(out, message.count);
            break;
        case MessageType::Reply:
            PutValue(out, message.values.empty() ? WireValue{} : message.values.front());
            break;
        case MessageType::Error:
            PutText(out, message.text);
            break;
    }
    auto length = static_cast<std::uint32_t>(out.size() - start - kLengthSize);
    for (std::size_t i = 0; i < kLengthSize; ++i) {
        out[start + i] = static_cast<char>((length >> (8 * i)) & 0xff);
    }
}

}  // namespace automation::rpc
