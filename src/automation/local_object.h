// An in-process automation object built from a table of members, for fakes and small
// objects that need no class of their own. Each member answers one dispatch id and/or one
// name; a call the table does not list raises "Member not found".
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "automation/automation.h"

namespace automation {

using MemberFn = std::function<Variant(CallKind kind, const Args& args)>;

struct Member {
    std::int32_t dispid;  // 0: reachable by name only
    std::string name;     // "": reachable by dispatch id only
    MemberFn fn;
};

class LocalObject : public Object {
  public:
    explicit LocalObject(std::vector<std::string> iids) : iids_(std::move(iids)) {}

    // Adds a member; a later member with the same id or name hides an earlier one.
    void Define(std::int32_t dispid, std::string name, MemberFn fn);
    // A property kept in the object: get gives it, put replaces it.
    void DefineValue(std::int32_t dispid, std::string name, Variant initial);

    Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) override;
    Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) override;
    bool Implements(std::string_view iid) const override;
    std::vector<std::string> InterfaceIds() const override;

  private:
    std::vector<std::string> iids_;
    std::vector<Member> members_;
};

}  // namespace automation
