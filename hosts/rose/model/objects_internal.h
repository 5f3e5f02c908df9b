// The machinery shared by the object kinds: one table of members per kind (dispatch id, name,
// access, handler), one object class that answers from such a table, snapshot collections,
// and the identity table that hands out the same object for the same element.
#pragma once

#include <cctype>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "objects.h"
#include "strings/strings.h"

namespace rosehost {

struct Host {
    std::shared_ptr<Model> model;
    // During a trial `model` is a copy and this the model it was made of; null otherwise.
    std::shared_ptr<Model> outsideTrial;
    std::uint64_t trial = 0;  // counts trials, so that a trial object ends only its own
    // (element address, kind tag) -> the object handed out for it.
    std::map<std::pair<const void*, int>, std::weak_ptr<automation::Object>> live;
};

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;

// Read: get (or a call without arguments); ReadWrite: also put; Method: called with arguments.
enum class Access : std::uint8_t { Read, ReadWrite, Method };

template <class T>
struct Call {
    const std::shared_ptr<Host>& host;
    const std::shared_ptr<T>& target;
    const Args& args;
    bool put;

    Model& model() const { return *host->model; }
    const Variant& Arg(std::size_t i) const {
        if (i >= args.size()) throw AutomationError(std::string(automation::kErrBadArgCount));
        return args[i];
    }
    // The value of a put is its last argument.
    const Variant& Value() const { return Arg(args.size() - 1); }
};

template <class T>
struct Member {
    std::int32_t dispid;  // 0: reachable by name only
    std::string_view name;
    Access access;
    Variant (*fn)(const Call<T>&);
};

template <class T>
struct Kind {
    int tag;  // tells kinds apart in the identity table; 0: no identity kept
    std::vector<const char*> iids;
    std::vector<Member<T>> members;
};

// Kind tags.
enum : int {
    kTagNone = 0,
    kTagApplication,
    kTagModel,
    kTagCategory,
    kTagClass,
    kTagAttribute,
    kTagOperation,
    kTagParameter,
    kTagAssociation,
    kTagRole,
    kTagSuperclassLink,
    kTagExportControl,
    kTagDiagram,
    kTagClassDiagram,
    kTagClassView
};

// What every object of the host offers besides dispatch: the element it stands for.
class HostObject : public automation::Object {
  public:
    virtual const void* Target() const = 0;
};

template <class T>
class KindObject final : public HostObject {
  public:
    KindObject(std::shared_ptr<Host> host, std::shared_ptr<T> target, const Kind<T>& kind)
        : host_(std::move(host)), target_(std::move(target)), kind_(kind) {}

    Variant Invoke(std::int32_t dispid, CallKind callKind, const Args& args) override {
        for (const auto& member : kind_.members) {
            if (member.dispid != 0 && member.dispid == dispid) return Run(member, callKind, args);
        }
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }
    Variant InvokeByName(std::string_view name, CallKind callKind, const Args& args) override {
        for (const auto& member : kind_.members) {
            if (strings::EqualNoCase(member.name, name)) return Run(member, callKind, args);
        }
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }
    bool Implements(std::string_view iid) const override {
        for (const char* own : kind_.iids) {
            if (automation::SameIid(own, iid)) return true;
        }
        return false;
    }
    std::vector<std::string> InterfaceIds() const override {
        return {kind_.iids.begin(), kind_.iids.end()};
    }
    const void* Target() const override { return target_.get(); }
    const std::shared_ptr<T>& Shared() const { return target_; }

  private:
    Variant Run(const Member<T>& member, CallKind callKind, const Args& args) {
        bool put = callKind == CallKind::Put;
        if (put && member.access != Access::ReadWrite) {
            throw AutomationError(std::string(automation::kErrMemberNotFound));
        }
        return member.fn(Call<T>{host_, target_, args, put});
    }

    std::shared_ptr<Host> host_;
    std::shared_ptr<T> target_;
    const Kind<T>& kind_;
};

// The object for `target`: the one already handed out while it lives, else a new one.
template <class T>
ObjectRef ObjectFor(const std::shared_ptr<Host>& host, const std::shared_ptr<T>& target,
                    const Kind<T>& kind) {
    if (!target) return nullptr;
    if (kind.tag == kTagNone) return std::make_shared<KindObject<T>>(host, target, kind);
    auto key = std::make_pair(static_cast<const void*>(target.get()), kind.tag);
    if (auto existing = host->live[key].lock()) return existing;
    auto object = std::make_shared<KindObject<T>>(host, target, kind);
    host->live[key] = object;
    // Forget objects nobody holds any more, now and then, so the table stays small.
    if (host->live.size() > 1024 && host->live.size() % 1024 == 0) {
        std::erase_if(host->live, [](const auto& entry) { return entry.second.expired(); });
    }
    return object;
}

// The element behind an object argument of kind T; "Type mismatch" for anything else.
template <class T>
std::shared_ptr<T> ArgTarget(const Variant& value) {
    const ObjectRef& object = value.AsObject();
    auto* typed = dynamic_cast<KindObject<T>*>(object.get());
    if (!typed) throw AutomationError(std::string(automation::kErrTypeMismatch));
    return typed->Shared();
}

// A collection as fetched: its items at that moment, 1-based.
template <class T>
class CollectionObject final : public automation::Object {
  public:
    CollectionObject(std::shared_ptr<Host> host, const char* iid,
                     std::vector<std::shared_ptr<T>> items, const Kind<T>& itemKind)
        : host_(std::move(host)), iid_(iid), items_(std::move(items)), itemKind_(itemKind) {}

    Variant Invoke(std::int32_t dispid, CallKind callKind, const Args& args) override;
    Variant InvokeByName(std::string_view name, CallKind callKind, const Args& args) override;
    bool Implements(std::string_view iid) const override {
        return iid_ != nullptr && automation::SameIid(iid_, iid);
    }
    std::vector<std::string> InterfaceIds() const override {
        if (iid_ == nullptr) return {};
        return {iid_};
    }

  private:
    std::shared_ptr<Host> host_;
    const char* iid_;  // nullptr: a collection used without a cast
    std::vector<std::shared_ptr<T>> items_;
    const Kind<T>& itemKind_;
};

inline constexpr std::int32_t kCount = 202;
inline constexpr std::int32_t kItemAt = 203;
inline constexpr std::int32_t kContainsItem = 204;
inline constexpr std::int32_t kIndexOfName = 205;

inline std::int16_t ToCount(std::size_t n) {
    if (n > 32767) throw AutomationError("Overflow");
    return static_cast<std::int16_t>(n);
}

template <class T>
Variant CollectionObject<T>::Invoke(std::int32_t dispid, CallKind callKind, const Args& args) {
    if (callKind == CallKind::Put) {
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }
    auto arg = [&args]() -> const Variant& {
        if (args.empty()) throw AutomationError(std::string(automation::kErrBadArgCount));
        return args.front();
    };
    switch (dispid) {
        case kCount:
            return ToCount(items_.size());
        case kItemAt: {
            std::int32_t index = arg().ToInt32();
            if (index < 1 || static_cast<std::size_t>(index) > items_.size()) {
                throw AutomationError("collection index out of range");
            }
            return ObjectFor(host_, items_[static_cast<std::size_t>(index - 1)], itemKind_);
        }
        case kContainsItem: {
            auto* wanted = dynamic_cast<HostObject*>(arg().ToObject().get());
            if (!wanted) return false;
            for (const auto& item : items_) {
                if (item.get() == wanted->Target()) return true;
            }
            return false;
        }
        case kIndexOfName: {
            std::string name = arg().ToString();
            for (std::size_t i = 0; i < items_.size(); ++i) {
                if (items_[i]->name == name) return ToCount(i + 1);
            }
            return std::int16_t{0};
        }
        default:
            break;
    }
    throw AutomationError(std::string(automation::kErrMemberNotFound));
}

template <class T>
Variant CollectionObject<T>::InvokeByName(std::string_view name, CallKind callKind,
                                          const Args& args) {
    static constexpr std::pair<std::string_view, std::int32_t> kNames[] = {
        {"Count", kCount},
        {"ItemAt", kItemAt},
        {"ContainsItem", kContainsItem},
        {"IndexOfName", kIndexOfName}};
    for (const auto& [known, dispid] : kNames) {
        if (strings::EqualNoCase(known, name)) return Invoke(dispid, callKind, args);
    }
    throw AutomationError(std::string(automation::kErrMemberNotFound));
}

template <class T>
ObjectRef CollectionFor(const std::shared_ptr<Host>& host, const char* iid,
                        std::vector<std::shared_ptr<T>> items, const Kind<T>& itemKind) {
    return std::make_shared<CollectionObject<T>>(host, iid, std::move(items), itemKind);
}

// The tables, one per kind (objects_*.cpp).
struct Application {};
const Kind<Application>& ApplicationKind();
const Kind<Model>& ModelKind();
const Kind<Category>& CategoryKind();
const Kind<Class>& ClassKind();
const Kind<Attribute>& AttributeKind();
const Kind<Operation>& OperationKind();
const Kind<Parameter>& ParameterKind();
const Kind<Association>& AssociationKind();
const Kind<Role>& RoleKind();
const Kind<SuperclassLink>& SuperclassLinkKind();
const Kind<std::int16_t>& ExportControlKind();
const Kind<Element>& ToolPropertyKind();
const Kind<Diagram>& DiagramKind();
const Kind<Diagram>& ClassDiagramKind();
const Kind<ClassView>& ClassViewKind();

// A diagram through the kind that fits it (a class diagram also answers the class diagram's
// members).
ObjectRef DiagramObject(const std::shared_ptr<Host>& host, const std::shared_ptr<Diagram>& diagram);

// The export control of an element: its visibility field, kept alive by the element.
template <class T>
ObjectRef ExportControlObject(const Call<T>& c) {
    return ObjectFor(c.host, std::shared_ptr<std::int16_t>(c.target, &c.target->exportControl),
                     ExportControlKind());
}

// Members shared by every element kind that carries tool properties.
template <class T, ElementKind K>
Variant GetToolPropertyMember(const Call<T>& c) {
    return GetToolProperty(c.model(), *c.target, K, c.Arg(0).ToString(), c.Arg(1).ToString());
}
template <class T, ElementKind K>
Variant SetToolPropertyMember(const Call<T>& c) {
    SetToolProperty(*c.target, c.Arg(0).ToString(), c.Arg(1).ToString(), c.Arg(2).ToString());
    return true;
}
template <class T, ElementKind K>
Variant ToolPropertiesMember(const Call<T>& c) {
    std::vector<std::shared_ptr<Element>> items;
    for (auto& name : ToolPropertyNames(c.model(), *c.target, K, c.Arg(0).ToString())) {
        auto item = std::make_shared<Element>();
        item->name = std::move(name);
        items.push_back(std::move(item));
    }
    return CollectionFor(c.host, iid::kToolPropertyCollection, std::move(items),
                         ToolPropertyKind());
}
template <class T, ElementKind K>
Variant HasOwnToolPropertyMember(const Call<T>& c) {
    return HasOwnToolProperty(*c.target, c.Arg(0).ToString(), c.Arg(1).ToString());
}

template <class T, ElementKind K>
void AddToolPropertyMembers(std::vector<Member<T>>& members) {
    members.push_back({119, "GetToolProperty", Access::Method, GetToolPropertyMember<T, K>});
    members.push_back({110, "SetToolProperty", Access::Method, SetToolPropertyMember<T, K>});
    members.push_back({123, "ToolProperties", Access::Method, ToolPropertiesMember<T, K>});
    members.push_back({124, "HasOwnToolProperty", Access::Method, HasOwnToolPropertyMember<T, K>});
}

// Small handlers many kinds share.
template <class T>
Variant NameMember(const Call<T>& c) {
    if (c.put) {
        c.target->name = c.Value().ToString();
        // Class paths are made of category and class names.
        if constexpr (std::is_same_v<T, Class> || std::is_same_v<T, Category>) {
            ForgetIndex(c.model());
        }
        return {};
    }
    return c.target->name;
}
template <class T>
Variant DocTextMember(const Call<T>& c) {
    if (c.put) {
        c.target->documentation = c.Value().ToString();
        return {};
    }
    return c.target->documentation;
}

}  // namespace rosehost
