#include <string_view>
#include <unordered_map>
#include <vector>

#include "export/export_internal.h"
#include "model/rose.h"
#include "server/server.h"

namespace exporting {

using automation::ObjectRef;
using automation::Variant;

ObjectRef NewServerObject(const std::string& className, const std::string& initial) {
    return automation::CallByNameForObject(server::ServerFactory, member::kNewObject, {},
                                           {className, initial});
}

namespace {

// The members of the collections being filled, by name. A definition being filled is locked
// to this session, so nobody else changes its members: walking a collection once and then
// noting what the export itself inserts gives what a walk at each member would find, at the
// cost of one walk per class instead of one per member. Each collection is held, so that the
// object it is found by stays the same object.
struct MemberIndex {
    ObjectRef collection;
    std::unordered_map<std::string, ObjectRef> byName;
};
std::vector<MemberIndex> gIndexes;

// The member collections of the definitions being filled: a definition's collection is one
// object for as long as the definition is, so it is asked for once.
struct HeldCollection {
    ObjectRef definition;
    std::string name;
    ObjectRef collection;
};
std::vector<HeldCollection> gCollections;

MemberIndex& IndexOf(const ObjectRef& collection) {
    for (MemberIndex& index : gIndexes) {
        if (index.collection == collection) return index;
    }
    // A later entry of the same name replaces an earlier one.
    MemberIndex index{collection, {}};
    std::int16_t count = automation::GetByName(collection, member::kCount).ToInt16();
    for (std::int16_t i = 1; i <= count; ++i) {
        ObjectRef entry = automation::CallByName(collection, member::kGetAt, {i}).ToObject();
        index.byName[automation::GetByName(entry, member::kName).ToString()] = entry;
    }
    return gIndexes.emplace_back(std::move(index));
}

}  // namespace

ObjectRef FindDefinitionMember(const ObjectRef& collection, const std::string& name) {
    if (!collection) throw automation::AutomationError(std::string(automation::kErrObjectNotSet));
    MemberIndex& index = IndexOf(collection);
    auto it = index.byName.find(name);
    return it == index.byName.end() ? nullptr : it->second;
}

void NoteInsertedMember(const ObjectRef& collection, const std::string& name,
                        const ObjectRef& entry) {
    for (MemberIndex& index : gIndexes) {
        if (index.collection == collection) index.byName[name] = entry;
    }
}

ObjectRef DefinitionMembers(const ObjectRef& definition, const char* name) {
    for (const HeldCollection& held : gCollections) {
        if (held.definition == definition && held.name == name) return held.collection;
    }
    ObjectRef collection = automation::GetByName(definition, name).ToObject();
    if (collection) gCollections.push_back({definition, name, collection});
    return collection;
}

void ForgetDefinitionMembers() {
    gIndexes.clear();
    gCollections.clear();
}

// The enumerations (Collection, Cardinality) are mapped or not read at all, and a class's
// ClassType follows its persistence; every other keyword is copied as it stands.
static bool IsCopiedKeyword(const install::PropertyDef& keyword) {
    if (keyword.kind == install::PropertyKind::Enumeration) return false;
    return std::string_view(keyword.name) != kClassTypeProperty;
}

void WriteKeywords(const ObjectRef& element, const ObjectRef& definition,
                   std::span<const install::PropertyDef> keywords) {
    for (const install::PropertyDef& keyword : keywords) {
        if (!IsCopiedKeyword(keyword)) continue;
        std::string value = rose::GetToolProperty(element, install::kToolTavro, keyword.name);
        if (keyword.kind == install::PropertyKind::Boolean) {
            automation::PutByName(definition, keyword.name, Variant(value).ToBool());
            continue;
        }
        automation::PutByName(definition, keyword.name, value);
    }
}

}  // namespace exporting
