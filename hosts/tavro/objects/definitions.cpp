#include <algorithm>

#include "hosts/tavro/objects/members.h"
#include "hosts/tavro/objects/objects_internal.h"
#include "strings/strings.h"

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

const char* KindName(ItemKind kind) { return kind == ItemKind::Property ? "property" : "method"; }

// A member with a name the dictionary would not store is refused where it is made or named,
// so that only that member fails and not the save of its whole class.
void RequireMemberName(ItemKind kind, const std::string& name) {
    if (name.empty()) Refuse(std::string("a ") + KindName(kind) + " definition needs a name");
    if (!IsValidMemberName(name)) {
        Refuse(std::string("bad ") + KindName(kind) + " name '" + name +
               "': a letter or '%', then letters and digits");
    }
}

void RequireClassName(const std::string& name) {
    std::string problem = ClassNameProblem(name);
    if (!problem.empty()) Refuse(problem);
}

// The type parameters of a property: values keyed by parameter name, walked in key order
// with Next, as the add-in reads MAXLEN, VALUELIST and the like.
class ParameterArray : public NamedObject {
  public:
    explicit ParameterArray(std::shared_ptr<Item> item) : item_(std::move(item)) {}

    Variant Dispatch(std::string_view name, CallKind, const Args& args) override {
        auto& parameters = item_->parameters;
        if (strings::EqualNoCase(name, m::kClear)) {
            parameters.clear();
            return {};
        }
        if (strings::EqualNoCase(name, m::kSetAt)) {
            std::string key = Arg(args, 1).ToString();
            if (key.empty()) Refuse("a type parameter needs a name");
            parameters[key] = Arg(args, 0).ToString();
            return {};
        }
        if (strings::EqualNoCase(name, m::kGetAt)) {
            auto it = parameters.find(Arg(args, 0).ToString());
            return it == parameters.end() ? Variant(std::string()) : Variant(it->second);
        }
        if (strings::EqualNoCase(name, m::kNext)) return Next(OptionalText(args, 0));
        if (strings::EqualNoCase(name, m::kCount))
            return static_cast<std::int32_t>(parameters.size());
        if (strings::EqualNoCase(name, m::kIsDefined))
            return parameters.count(Arg(args, 0).ToString()) > 0;
        if (strings::EqualNoCase(name, m::kRemoveAt)) {
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
    auto same = std::find_if(list.begin(), list.end(), [&](const Item& other) {
        return strings::EqualNoCase(other.name, item.name);
    });
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
    // A member named by its id ("Class:member") has its name from the start; one made
    // without an id is named before it is inserted.
    if (!name.empty() || !parent.empty()) RequireMemberName(kind, name);
    item->kind = kind;
    item->name = std::move(name);
    if (kind == ItemKind::Property) parameters = std::make_shared<ParameterArray>(item);
}

Variant ItemObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (strings::EqualNoCase(name, m::kName)) {
        if (kind == CallKind::Put) {
            std::string text = PutText(args);
            RequireMemberName(item->kind, text);
            item->name = std::move(text);
            return {};
        }
        return item->name;
    }
    Variant result;
    if (KeywordMember(item->kind, item->values, name, kind, args, result)) return result;
    if (strings::EqualNoCase(name, m::kParent)) return parent;
    if (parameters && strings::EqualNoCase(name, m::kParameters)) return parameters;
    if (strings::EqualNoCase(name, m::kSysOid)) return parent + ":" + item->name;
    if (strings::EqualNoCase(name, m::kSysClose)) return std::int32_t{1};
    if (strings::EqualNoCase(name, m::kSysSave)) {
        // A member saved on its own writes its class: that class must not be another
        // session's to edit.
        TakeClassLock(session, parent);
        try {
            SaveMemberIntoClass(*session, parent, *item);
        } catch (const StoreError& error) {
            DropClassLock(session, parent);
            Refuse(error.what());
        } catch (...) {
            DropClassLock(session, parent);
            throw;
        }
        DropClassLock(session, parent);
        return std::int32_t{1};
    }
    MemberNotFound();
}

std::shared_ptr<ItemObject> ItemObjectOf(SessionRef session, const std::string& parent,
                                         const Item& item) {
    auto object = std::make_shared<ItemObject>(std::move(session), item.kind, parent, item.name);
    *object->item = item;
    object->fromStore = true;
    return object;
}

Variant CollectionObject::Dispatch(std::string_view name, CallKind, const Args& args) {
    if (strings::EqualNoCase(name, m::kCount)) return static_cast<std::int32_t>(items.size());
    if (strings::EqualNoCase(name, m::kGetAt)) {
        std::int32_t position = Arg(args, 0).ToInt32();
        if (position < 1 || position > static_cast<std::int32_t>(items.size())) return {};
        return ObjectRef(items[static_cast<std::size_t>(position - 1)]);
    }
    if (strings::EqualNoCase(name, m::kInsert)) {
        auto member = std::dynamic_pointer_cast<ItemObject>(Arg(args, 0).ToObject());
        if (!member || member->item->kind != kind_) {
            Refuse(kind_ == ItemKind::Property ? "Insert expects a property definition"
                                               : "Insert expects a method definition");
        }
        RequireMemberName(kind_, member->item->name);
        const std::string& memberName = member->item->name;
        auto same = std::find_if(items.begin(), items.end(), [&](const auto& other) {
            return other == member || strings::EqualNoCase(other->item->name, memberName);
        });
        // The server compares member names without regard to letter case, so two members
        // whose names differ only in case would end as one: the second is refused. A stored
        // member gives way to a new definition of its name, in any case (a rename).
        if (same != items.end() && *same != member && !(*same)->fromStore &&
            (*same)->item->name != memberName) {
            Refuse(std::string(KindName(kind_)) + " " + memberName + " clashes with " +
                   KindName(kind_) + " " + (*same)->item->name + " of " + owner +
                   ": member names are compared without regard to letter case");
        }
        member->parent = owner;
        member->fromStore = false;
        if (same == items.end()) {
            items.push_back(member);
        } else {
            *same = member;
        }
        return {};
    }
    if (strings::EqualNoCase(name, m::kRemoveAt)) {
        std::int32_t position = Arg(args, 0).ToInt32();
        if (position < 1 || position > static_cast<std::int32_t>(items.size())) return {};
        ObjectRef removed = items[static_cast<std::size_t>(position - 1)];
        items.erase(items.begin() + (position - 1));
        return removed;
    }
    if (strings::EqualNoCase(name, m::kClear)) {
        items.clear();
        return {};
    }
    MemberNotFound();
}

ClassObject::ClassObject(SessionRef session, ClassDef def, ClassOrigin origin)
    : session_(std::move(session)),
      def_(std::move(def)),
      properties_(std::make_shared<CollectionObject>(ItemKind::Property)),
      methods_(std::make_shared<CollectionObject>(ItemKind::Method)) {
    if (origin == ClassOrigin::New && !def_.name.empty()) RequireClassName(def_.name);
    if (origin != ClassOrigin::New) openedId_ = def_.name;
    properties_->owner = methods_->owner = def_.name;
    for (const Item& item : def_.properties)
        properties_->items.push_back(ItemObjectOf(session_, def_.name, item));
    for (const Item& item : def_.methods)
        methods_->items.push_back(ItemObjectOf(session_, def_.name, item));
    def_.properties.clear();
    def_.methods.clear();
    // Last, so that nothing above can fail with the lock taken.
    if (origin != ClassOrigin::Loaded) {
        TakeClassLock(session_, def_.name);
        lockedName_ = def_.name;
    }
}

ClassObject::~ClassObject() { Release(); }

void ClassObject::Release() {
    if (lockedName_.empty()) return;
    DropClassLock(session_, lockedName_);
    lockedName_.clear();
}

ClassDef ClassObject::Current() const {
    ClassDef def = def_;
    for (const auto& member : properties_->items) def.properties.push_back(*member->item);
    for (const auto& member : methods_->items) def.methods.push_back(*member->item);
    return def;
}

// A definition given a name is being edited under that name: it takes that class's lock.
void ClassObject::Rename(const std::string& name) {
    RequireClassName(name);
    TakeClassLock(session_, name);
    Release();
    lockedName_ = name;
    def_.name = name;
    properties_->owner = methods_->owner = def_.name;
    for (const auto& member : properties_->items) member->parent = def_.name;
    for (const auto& member : methods_->items) member->parent = def_.name;
}

Variant ClassObject::Dispatch(std::string_view name, CallKind kind, const Args& args) {
    if (strings::EqualNoCase(name, m::kName)) {
        if (kind != CallKind::Put) return def_.name;
        Rename(PutText(args));
        return {};
    }
    Variant result;
    if (KeywordMember(ItemKind::Class, def_.values, name, kind, args, result)) return result;
    if (strings::EqualNoCase(name, m::kProperties)) return ObjectRef(properties_);
    if (strings::EqualNoCase(name, m::kMethods)) return ObjectRef(methods_);
    if (strings::EqualNoCase(name, m::kSysOid)) return openedId_;
    if (strings::EqualNoCase(name, m::kSysSave)) return Save();
    if (strings::EqualNoCase(name, m::kSysDelete)) return Delete(args);
    if (strings::EqualNoCase(name, m::kSysClose)) {
        Release();
        return std::int32_t{1};
    }
    MemberNotFound();
}

// A save ends the editing: the class's lock goes, and so does a lock the session kept for it
// since it deleted the class or stored it from XML.
Variant ClassObject::Save() {
    ClassDef def = Current();
    bool replace = !openedId_.empty() && strings::EqualNoCase(openedId_, def.name);
    TakeClassLock(session_, def.name);
    try {
        SaveClass(*session_->store, session_->ns, def, Actor{session_->user}, replace);
    } catch (const StoreError& error) {
        DropClassLock(session_, def.name);
        Refuse(error.what());
    }
    KeepClassLock(session_, def.name, /*keep=*/false);
    DropClassLock(session_, def.name);
    Release();
    openedId_ = def.name;
    return std::int32_t{1};
}

// Deletes the class whose id is given (the add-in passes the definition's own sys_OID), or
// this definition's class when none is given. The session keeps the class's lock: a class is
// deleted to be written anew, and until then no other session may write or delete it.
Variant ClassObject::Delete(const Args& args) {
    std::string id = OptionalText(args, 0);
    if (id.empty()) id = openedId_;
    if (id.empty()) Refuse("the class definition " + def_.name + " has never been saved");
    TakeClassLock(session_, id);
    try {
        DeleteClass(*session_->store, session_->ns, id, Actor{session_->user});
    } catch (const StoreError& error) {
        DropClassLock(session_, id);
        Refuse(error.what());
    }
    KeepClassLock(session_, id, /*keep=*/true);
    DropClassLock(session_, id);
    if (strings::EqualNoCase(id, openedId_)) openedId_.clear();
    return std::int32_t{1};
}

}  // namespace tavro::objects_internal
