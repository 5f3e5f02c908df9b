// The server reads of one class's import, and the lookup of its model class, walked before
// the import so that they travel together (see automation::AnnounceReads). The walk reads what the
// import routines read, by the same members and arguments: a read it misses only costs the import a
// round trip, and a read it adds costs the server a call the import never needed.
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"

namespace importing {

namespace m = members;
using automation::ObjectRef;
using automation::WalkBranch;

namespace {

void WalkValues(const ObjectRef& def, std::initializer_list<const char*> names) {
    for (const char* name : names) WalkBranch([&] { automation::GetByName(def, name); });
}

void WalkKeywords(const ObjectRef& def, std::span<const install::PropertyDef> keywords) {
    for (const install::PropertyDef& keyword : keywords) {
        if (keyword.kind == install::PropertyKind::Enumeration) continue;
        WalkBranch([&] { automation::GetByName(def, keyword.name); });
    }
}

// Every type parameter, key after key: each key is known only once the one before is read.
void WalkParameters(const ObjectRef& propDef) {
    ObjectRef parameters = automation::GetByName(propDef, m::kParameters).ToObject();
    std::string key;
    for (;;) {
        key = automation::CallByNameReadOnly(parameters, m::kNext, {key}).ToString();
        if (key.empty()) return;
        WalkBranch([&] { automation::CallByNameReadOnly(parameters, m::kGetAt, {key}); });
    }
}

template <class WalkFn>
void WalkMembers(const ObjectRef& classDef, const char* collectionName, WalkFn walk) {
    ObjectRef collection = automation::GetByName(classDef, collectionName).ToObject();
    std::int16_t count = automation::GetByName(collection, m::kCount).ToInt16();
    for (std::int16_t i = 1; i <= count; ++i) {
        WalkBranch(
            [&] { walk(automation::CallByNameReadOnly(collection, m::kGetAt, {i}).ToObject()); });
    }
}

void WalkProperty(const ObjectRef& propDef) {
    WalkValues(propDef, {m::kName, m::kType, m::kDescription, m::kPrivate, m::kCollection,
                         m::kRelationship, m::kRequired, m::kInverse, m::kCardinality});
    WalkKeywords(propDef, install::kAttributeKeywords);
    WalkKeywords(propDef, install::kAssociationKeywords);
    WalkBranch([&] { WalkParameters(propDef); });
}

void WalkMethod(const ObjectRef& methodDef) {
    WalkValues(methodDef, {m::kName, m::kReturnType, m::kFormalSpec, m::kDescription, m::kPrivate});
    WalkKeywords(methodDef, install::kOperationKeywords);
}

void WalkDefinition(const ObjectRef& classDef, bool withMembers) {
    WalkValues(classDef, {m::kName, m::kDescription, m::kSuper, m::kClassType, m::kAbstract});
    WalkKeywords(classDef, install::kClassKeywords);
    if (!withMembers) return;
    // The model class the members go to, looked up in the same rounds.
    if (automation::ReadsAhead(rose::RoseApp)) {
        WalkBranch([&] { naming::FindRoseClass(ServerText(classDef, m::kName)); });
    }
    WalkBranch([&] { WalkMembers(classDef, m::kProperties, WalkProperty); });
    WalkBranch([&] { WalkMembers(classDef, m::kMethods, WalkMethod); });
}

}  // namespace

void AnnounceDefinitionReads(const ObjectRef& classDef, bool withMembers) {
    if (!automation::ReadsAhead(classDef)) return;
    automation::AnnounceReads([&] { WalkDefinition(classDef, withMembers); });
}

}  // namespace importing
