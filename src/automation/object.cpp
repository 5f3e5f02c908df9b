#include <cctype>

#include "automation/automation.h"
#include "automation/local_object.h"
#include "automation/rpc_ahead.h"

namespace automation {
namespace {

// The object called, or none: a call on no object raises "Object variable ... not set", except
// in a walk of reads ahead, where it reads as nothing so that the walk goes on without the cost
// of raising (see AnnounceReads).
Object* Target(const ObjectRef& obj) {
    if (obj) return obj.get();
    if (rpc::detail::Announcing()) return nullptr;
    throw AutomationError(std::string(kErrObjectNotSet));
}

}  // namespace

Variant Get(const ObjectRef& obj, std::int32_t dispid, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->Invoke(dispid, CallKind::Get, args);
}

void Put(const ObjectRef& obj, std::int32_t dispid, Variant value) {
    Object* target = Target(obj);
    if (target == nullptr) return;
    target->InvokeAs(dispid, CallKind::Put, Args{std::move(value)}, CallUse::NoResult);
}

Variant Call(const ObjectRef& obj, std::int32_t dispid, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->Invoke(dispid, CallKind::Method, args);
}

Variant GetByName(const ObjectRef& obj, std::string_view name, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->InvokeByName(name, CallKind::Get, args);
}

void PutByName(const ObjectRef& obj, std::string_view name, Variant value) {
    Object* target = Target(obj);
    if (target == nullptr) return;
    target->InvokeByNameAs(name, CallKind::Put, Args{std::move(value)}, CallUse::NoResult);
}

Variant CallByName(const ObjectRef& obj, std::string_view name, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->InvokeByName(name, CallKind::Method, args);
}

void CallNoResult(const ObjectRef& obj, std::int32_t dispid, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return;
    target->InvokeAs(dispid, CallKind::Method, args, CallUse::NoResult);
}

void CallByNameNoResult(const ObjectRef& obj, std::string_view name, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return;
    target->InvokeByNameAs(name, CallKind::Method, args, CallUse::NoResult);
}

ObjectRef Object::InvokeForObject(std::int32_t dispid, std::string_view name, bool byName,
                                  CallKind kind, const Args& args, std::string_view iid) {
    Variant result = byName ? InvokeByName(name, kind, args) : Invoke(dispid, kind, args);
    if (iid.empty()) return result.ToObject();
    return Cast(result.ToObject(), iid);
}

static ObjectRef ForObject(const ObjectRef& obj, std::int32_t dispid, std::string_view name,
                           bool byName, CallKind kind, const Args& args, std::string_view iid) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->InvokeForObject(dispid, name, byName, kind, args, iid);
}

ObjectRef GetObject(const ObjectRef& obj, std::int32_t dispid, std::string_view iid,
                    const Args& args) {
    return ForObject(obj, dispid, {}, /*byName=*/false, CallKind::Get, args, iid);
}

ObjectRef GetObjectByName(const ObjectRef& obj, std::string_view name, std::string_view iid,
                          const Args& args) {
    return ForObject(obj, 0, name, /*byName=*/true, CallKind::Get, args, iid);
}

ObjectRef CallForObject(const ObjectRef& obj, std::int32_t dispid, std::string_view iid,
                        const Args& args) {
    return ForObject(obj, dispid, {}, /*byName=*/false, CallKind::Method, args, iid);
}

ObjectRef CallByNameForObject(const ObjectRef& obj, std::string_view name, std::string_view iid,
                              const Args& args) {
    return ForObject(obj, 0, name, /*byName=*/true, CallKind::Method, args, iid);
}

Variant CallReadOnly(const ObjectRef& obj, std::int32_t dispid, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->InvokeAs(dispid, CallKind::Method, args, CallUse::ReadOnly);
}

Variant CallByNameReadOnly(const ObjectRef& obj, std::string_view name, const Args& args) {
    Object* target = Target(obj);
    if (target == nullptr) return {};
    return target->InvokeByNameAs(name, CallKind::Method, args, CallUse::ReadOnly);
}

bool ReadsAhead(const ObjectRef& obj) { return obj && obj->ReadsAhead(); }

void SendLoopAhead(const ObjectRef& obj, const std::vector<LoopCall>& calls, int rounds) {
    if (obj) obj->SendLoopAhead(calls, rounds);
}

bool SameIid(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(a[i])) !=
            std::toupper(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

ObjectRef Cast(const ObjectRef& obj, std::string_view iid) {
    if (!obj) return nullptr;
    if (!obj->Implements(iid)) throw AutomationError(std::string(kErrNoInterface));
    return obj;
}

void LocalObject::Define(std::int32_t dispid, std::string name, MemberFn fn) {
    members_.push_back(Member{dispid, std::move(name), std::move(fn)});
}

void LocalObject::DefineValue(std::int32_t dispid, std::string name, Variant initial) {
    auto value = std::make_shared<Variant>(std::move(initial));
    Define(dispid, std::move(name), [value](CallKind kind, const Args& args) -> Variant {
        if (kind == CallKind::Put) {
            if (args.empty()) throw AutomationError(std::string(kErrBadArgCount));
            *value = args.back();
            return {};
        }
        return *value;
    });
}

Variant LocalObject::Invoke(std::int32_t dispid, CallKind kind, const Args& args) {
    for (auto it = members_.rbegin(); it != members_.rend(); ++it) {
        if (it->dispid != 0 && it->dispid == dispid) return it->fn(kind, args);
    }
    throw AutomationError(std::string(kErrMemberNotFound));
}

Variant LocalObject::InvokeByName(std::string_view name, CallKind kind, const Args& args) {
    for (auto it = members_.rbegin(); it != members_.rend(); ++it) {
        if (!it->name.empty() && it->name == name) return it->fn(kind, args);
    }
    throw AutomationError(std::string(kErrMemberNotFound));
}

std::vector<std::string> LocalObject::InterfaceIds() const { return iids_; }

bool LocalObject::Implements(std::string_view iid) const {
    for (const std::string& own : iids_) {
        if (SameIid(own, iid)) return true;
    }
    return false;
}

}  // namespace automation
