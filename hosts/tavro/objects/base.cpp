#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"
#include "strings/strings.h"

namespace tavro::objects_internal {

namespace m = members;

Variant NamedObject::Invoke(std::int32_t, CallKind, const Args&) { MemberNotFound(); }

Variant NamedObject::InvokeByName(std::string_view name, CallKind kind, const Args& args) {
    try {
        return Dispatch(name, kind, args);
    } catch (const StoreError& error) {
        Refuse(error.what());
    }
}

bool NamedObject::Implements(std::string_view) const { return false; }

const Variant& Arg(const Args& args, std::size_t index) {
    if (index >= args.size())
        throw automation::AutomationError(std::string(automation::kErrBadArgCount));
    return args[index];
}

std::string OptionalText(const Args& args, std::size_t index) {
    if (index >= args.size()) return "";
    return args[index].ToString();
}

void MemberNotFound() {
    throw automation::AutomationError(std::string(automation::kErrMemberNotFound));
}

void Refuse(const std::string& text) { throw automation::AutomationError(text); }

// Refuses text that would make a stream hold more than kMaxStreamSize bytes.
static void RequireRoom(std::size_t held, std::size_t added) {
    if (added <= kMaxStreamSize && held <= kMaxStreamSize - added) return;
    Refuse("the stream would exceed its limit of " + std::to_string(kMaxStreamSize) + " bytes");
}

Variant StreamObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (strings::EqualNoCase(name, m::kData)) {
        if (kind == CallKind::Put) {
            std::string text = Arg(args, 0).ToString();
            RequireRoom(0, text.size());
            data = std::move(text);
            return {};
        }
        return data;
    }
    if (strings::EqualNoCase(name, m::kWrite)) {
        std::string text = Arg(args, 0).ToString();
        RequireRoom(data.size(), text.size());
        data += text;
        return {};
    }
    if (strings::EqualNoCase(name, m::kWriteLine)) {
        std::string text = Arg(args, 0).ToString() + "\r\n";
        RequireRoom(data.size(), text.size());
        data += text;
        return {};
    }
    if (strings::EqualNoCase(name, m::kClear)) {
        data.clear();
        return {};
    }
    if (strings::EqualNoCase(name, m::kSize)) return static_cast<std::int32_t>(data.size());
    MemberNotFound();
}

}  // namespace tavro::objects_internal
