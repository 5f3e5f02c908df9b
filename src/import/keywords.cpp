#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"

namespace importing {

std::string ServerText(const automation::ObjectRef& def, const char* member) {
    return automation::GetByName(def, member).ToString();
}

bool ServerFlag(const automation::ObjectRef& def, const char* member) {
    return automation::GetByName(def, member).ToBool();
}

void WriteKeywords(const automation::ObjectRef& element, const automation::ObjectRef& def,
                   std::span<const install::PropertyDef> keywords) {
    for (const install::PropertyDef& keyword : keywords) {
        if (keyword.kind == install::PropertyKind::Enumeration) continue;
        std::string value = keyword.kind == install::PropertyKind::Boolean
                                ? BooleanText(ServerFlag(def, keyword.name))
                                : ServerText(def, keyword.name);
        rose::SetToolProperty(element, install::kToolTavro, keyword.name, value);
    }
}

std::string FullTypeName(const std::string& type, const std::string& package) {
    return naming::QualifyClassName(naming::QualifyInPackage(type, package));
}

std::int16_t ExportValueOf(bool isPrivate) {
    return isPrivate ? rose::kExportPrivate : rose::kExportPublic;
}

}  // namespace importing
