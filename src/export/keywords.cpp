#include <string_view>

#include "export/export_internal.h"
#include "model/rose.h"
#include "server/server.h"

namespace exporting {

using automation::ObjectRef;
using automation::Variant;

ObjectRef NewServerObject(const std::string& className, const std::string& initial) {
    return automation::CallByName(server::ServerFactory, member::kNewObject, {className, initial})
        .ToObject();
}

ObjectRef FindDefinitionMember(const ObjectRef& collection, const std::string& name) {
    ObjectRef found;
    std::int16_t count = automation::GetByName(collection, member::kCount).ToInt16();
    for (std::int16_t i = 1; i <= count; ++i) {
        ObjectRef entry = automation::CallByName(collection, member::kGetAt, {i}).ToObject();
        if (automation::GetByName(entry, member::kName).ToString() == name) found = entry;
    }
    return found;
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
