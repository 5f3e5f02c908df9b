#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"

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

Variant StreamObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (SameName(name, m::kData)) {
        if (kind == CallKind::Put) {
            data = Arg(args, 0).ToString();
            return {};
        }
        return data;
    }
    if (SameName(name, m::kWrite)) {
        data += Arg(args, 0).ToString();
        return {};
    }
    if (SameName(name, m::kWriteLine)) {
        data += Arg(args, 0).ToString() + "\r\n";
        return {};
    }
    if (SameName(name, m::kClear)) {
        data.clear();
        return {};
    }
    if (SameName(name, m::kSize)) return static_cast<std::int32_t>(data.size());
    MemberNotFound();
}

}  // namespace tavro::objects_internal
