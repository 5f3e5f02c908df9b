#include <algorithm>

#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"

namespace tavro::objects_internal {

namespace m = members;

namespace {

// Gets or sets a keyword of a definition. A Boolean keyword accepts a Boolean, an integer
// or a text that converts, since callers write some flags (Required) either way.
bool KeywordMember(ItemKind itemKind, Values& values, std::string_view name, CallKind kind,
                   const Args& args, Variant& result) {
    const Keyword* keyword = FindKeyword(itemKind, name);
    if (keyword == nullptr) return false;
    if (kind == CallKind::Put) {
        const Variant& value = Arg(args, args.empty() ? 0 : args.size() - 1);
        SetValue(
            values, *keyword,
            keyword->kind == ValueKind::Bool ? (value.ToBool() ? "1" : "0") : value.ToString());
        return true;
    }
    std::string text = ValueOf(values, *keyword);
    result = keyword->kind == ValueKind::Bool ? Variant(text == "1") : Variant(std::move(text));
    return true;
}

std::string PutText(const Args& args) {
    return Arg(args, args.empty() ? 0 : args.size() - 1).ToString();
}

// The type parameters of a property: values keyed by parameter name, walked in key order
// with Next, as the add-in reads MAXLEN, VALUELIST and the like.
class ParameterArray : public NamedObject {
  public:
    explicit ParameterArray(std::shared_ptr<Item> item) : item_(std::move(item)) {}

    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        auto& parameters = item_->parameters;
        if (SameName(name, m::kClear)) {
            parameters.clear();
            return {};
        }
        if (SameName(name, m::kSetAt)) {
            parameters[Arg(args, 1).ToString()] = Arg(args, 0).ToString();
            return {};
        }
        if (SameName(name, m::kGetAt)) {
            auto it = parameters.find(Arg(args, 0).ToString());
            return it == parameters.end() ? Variant(std::string()) : Variant(it->second);
        }
        if (SameName(name, m::kNext)) return Next(OptionalText(args, 0));
        if (SameName(name, m::kCount)) return static_cast<std::int32_t>(parameters.size());
        if (SameName(name, m::kIsDefined)) return parameters.count(Arg(args, 0).ToString()) > 0;
        if (SameName(name, m::kRemoveAt)) {
            parameters.erase(Arg(args, 0).ToString());
            return {};
        }
        MemberNotFound();
    }

  private:
    // The key after `key`, "" after the last one; "" as `key` starts the walk.
    Variant Next(const std::string& key) {
        auto& parameters = item_->parameters;
        auto it = key.empty() ? parameters.begin() : parameters.upper_bound(key);
        if (it == parameters.end()) return std::string();
        return it->first;
    }

    std::shared_ptr<Item> item_;
};

void SaveMemberIntoClass(Session& session, const std::string& parent, const Item& item) {
    ClassDef def;
    if (!LoadClass(*session.store, session.ns, parent, def))
        Refuse("class " + parent + " does not exist");
    std::vector<Item>& list = item.kind == ItemKind::Property ? def.properties : def.methods;
    auto same = std::find_if(list.begin(), list.end(),
                             [&](const Item& other) { return SameName(other.name, item.name); });
    if (same == list.end()) {
        list.push_back(item);
    } else {
        *same = item;
    }
    SaveClass(*session.store, session.ns, def, Actor{session.user}, /*replace=*/true);
}

}  // namespace

ItemObject::ItemObject(SessionRef sessionRef, ItemKind kind, std::string parentName,
                       std::string name)
    : session(std::move(sessionRef)),
      parent(std::move(parentName)),
      item(std::make_shared<Item>()) {
    item->kind = kind;
    item->name = std::move(name);
    if (kind == ItemKind::Property) parameters = std::make_shared<ParameterArray>(item);
}

Variant ItemObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (SameName(name, m::kName)) {
        if (kind == CallKind::Put) {
            item->name = PutText(args);
            return {};
        }
        return item->name;
    }
    Variant result;
    if (KeywordMember(item->kind, item->values, name, kind, args, result)) return result;
    if (SameName(name, m::kParent)) return parent;
    if (parameters && SameName(name, m::kParameters)) return parameters;
    if (SameName(name, m::kSysOid)) return parent + ":" + item->name;
    if (SameName(name, m::kSysClose)) return std::int32_t{1};
    if (SameName(name, m::kSysSave)) {
        try {
            SaveMemberIntoClass(*session, parent, *item);
        } catch (const StoreError& error) {
            Refuse(error.what());
        }
        return std::int32_t{1};
    }
    MemberNotFound();
}

std::shared_ptr<ItemObject> ItemObjectOf(SessionRef session, const std::string& parent,
                                         const Item& item) {
    auto object = std::make_shared<ItemObject>(std::move(session), item.kind, parent, item.name);
    *object->item = item;
    return object;
}

Variant CollectionObject::Dispatch(std::string_view name, CallKind, const Args& args) {
    if (SameName(name, m::kCount)) return static_cast<std::int32_t>(items.size());
    if (SameName(name, m::kGetAt)) {
        std::int32_t position = Arg(args, 0).ToInt32();
        if (position < 1 || position > static_cast<std::int32_t>(items.size())) return {};
        return ObjectRef(items[static_cast<std::size_t>(position - 1)]);
    }
    if (SameName(name, m::kInsert)) {
        auto member = std::dynamic_pointer_cast<ItemObject>(Arg(args, 0).ToObject());
        if (!member || member->item->kind != kind_) {
            Refuse(kind_ == ItemKind::Property ? "Insert expects a property definition"
                                               : "Insert expects a method definition");
        }
        member->parent = owner;
        if (std::find(items.begin(), items.end(), member) != items.end()) return {};
        // One member per name: a second definition of a name takes the first one's place.
        auto same = std::find_if(items.begin(), items.end(), [&](const auto& other) {
            return SameName(other->item->name, member->item->name);
        });
        if (same != items.end()) {
            *same = member;
        } else {
            items.push_back(member);
        }
        return {};
    }
    if (SameName(name, m::kRemoveAt)) {
        std::int32_t position = Arg(args, 0).ToInt32();
        if (position < 1 || position > static_cast<std::int32_t>(items.size())) return {};
        ObjectRef removed = items[static_cast<std::size_t>(position - 1)];
        items.erase(items.begin() + (position - 1));
        return removed;
    }
    if (SameName(name, m::kClear)) {
        items.clear();
        return {};
    }
    MemberNotFound();
}

ClassObject::ClassObject(SessionRef session, ClassDef def, bool opened)
    : session_(std::move(session)),
      def_(std::move(def)),
      properties_(std::make_shared<CollectionObject>(ItemKind::Property)),
      methods_(std::make_shared<CollectionObject>(ItemKind::Method)) {
    if (opened) openedId_ = def_.name;
    properties_->owner = methods_->owner = def_.name;
    for (const Item& item : def_.properties)
        properties_->items.push_back(ItemObjectOf(session_, def_.name, item));
    for (const Item& item : def_.methods)
        methods_->items.push_back(ItemObjectOf(session_, def_.name, item));
    def_.properties.clear();
    def_.methods.clear();
}

ClassDef ClassObject::Current() const {
    ClassDef def = def_;
    for (const auto& member : properties_->items) def.properties.push_back(*member->item);
    for (const auto& member : methods_->items) def.methods.push_back(*member->item);
    return def;
}

Variant ClassObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (SameName(name, m::kName)) {
        if (kind != CallKind::Put) return def_.name;
        def_.name = PutText(args);
        properties_->owner = methods_->owner = def_.name;
        for (const auto& member : properties_->items) member->parent = def_.name;
        for (const auto& member : methods_->items) member->parent = def_.name;
        return {};
    }
    Variant result;
    if (KeywordMember(ItemKind::Class, def_.values, name, kind, args, result)) return result;
    if (SameName(name, m::kProperties)) return ObjectRef(properties_);
    if (SameName(name, m::kMethods)) return ObjectRef(methods_);
    if (SameName(name, m::kSysOid)) return openedId_;
    if (SameName(name, m::kSysSave)) return Save();
    if (SameName(name, m::kSysDelete)) return Delete(args);
    if (SameName(name, m::kSysClose)) return std::int32_t{1};
    MemberNotFound();
}

Variant ClassObject::Save() {
    ClassDef def = Current();
    bool replace = !openedId_.empty() && SameName(openedId_, def.name);
    try {
        SaveClass(*session_->store, session_->ns, def, Actor{session_->user}, replace);
    } catch (const StoreError& error) {
        Refuse(error.what());
    }
    openedId_ = def.name;
    return std::int32_t{1};
}

// Deletes the class whose id is given (the add-in passes the definition's own sys_OID), or
// this definition's class when none is given.
Variant ClassObject::Delete(const Args& args) {
    std::string id = OptionalText(args, 0);
    if (id.empty()) id = openedId_;
    if (id.empty()) Refuse("the class definition " + def_.name + " has never been saved");
    try {
        DeleteClass(*session_->store, session_->ns, id, Actor{session_->user});
    } catch (const StoreError& error) {
        Refuse(error.what());
    }
    if (SameName(id, openedId_)) openedId_.clear();
    return std::int32_t{1};
}

}  // namespace tavro::objects_internal
