// What a Petal object says about the element it holds. Loading fills the model from these
// projections; syncing projects the object again and writes only where the model differs.
#include <algorithm>
#include <limits>

#include "hosts/rose/host/host_internal.h"

namespace rosehost::binding {
namespace {

constexpr std::string_view kUnnamedPrefix = "$UNNAMED$";

struct VisibilityName {
    std::int16_t code;
    const char* text;
};
constexpr VisibilityName kVisibilities[] = {
    {kPublic, "Public"},
    {kProtected, "Protected"},
    {kPrivate, "Private"},
    {kImplementation, "Implementation"},
};

std::int16_t Clamp16(std::int64_t value) {
    constexpr std::int64_t low = std::numeric_limits<std::int16_t>::min();
    constexpr std::int64_t high = std::numeric_limits<std::int16_t>::max();
    return static_cast<std::int16_t>(std::clamp(value, low, high));
}

}  // namespace

bool IsUnnamed(std::string_view fileName) { return fileName.starts_with(kUnnamedPrefix); }

std::string ModelName(std::string_view fileName) {
    if (IsUnnamed(fileName)) return "";
    return std::string(fileName);
}

std::string HeaderName(const petal::Object& object) {
    return object.names.empty() ? std::string() : ModelName(object.names[0]);
}

std::int16_t VisibilityOf(const petal::Object& object, std::string_view key, std::int16_t absent) {
    const petal::Value* value = petal::FindField(object, key);
    if (value == nullptr || value->kind != petal::ValueKind::String) return absent;
    for (const auto& [code, text] : kVisibilities) {
        if (value->text == text) return code;
    }
    return absent;
}

const char* VisibilityText(std::int16_t code) {
    for (const auto& [known, text] : kVisibilities) {
        if (known == code) return text;
    }
    return "Public";
}

bool FlagOf(const petal::Object& object, std::string_view key) {
    const petal::Value* value = petal::FindField(object, key);
    return value != nullptr && value->kind == petal::ValueKind::Boolean && value->boolean;
}

void WriteFlag(petal::Object& object, std::string_view key, bool flag) {
    if (flag) {
        petal::SetField(object, key, petal::MakeBoolean(true));
        return;
    }
    petal::RemoveField(object, key);
}

void WriteText(petal::Object& object, std::string_view key, const std::string& text) {
    if (text.empty()) {
        petal::RemoveField(object, key);
        return;
    }
    petal::SetField(object, key, petal::MakeString(text));
}

std::vector<petal::Object*> ListObjects(petal::Object& owner, std::string_view key,
                                        std::string_view kind) {
    std::vector<petal::Object*> out;
    petal::Value* list = petal::FindField(owner, key);
    if (list == nullptr || list->kind != petal::ValueKind::List) return out;
    for (petal::Value& item : list->items) {
        if (item.kind == petal::ValueKind::Object && item.object && item.object->kind == kind) {
            out.push_back(item.object.get());
        }
    }
    return out;
}

std::vector<const petal::Object*> ListObjects(const petal::Object& owner, std::string_view key,
                                              std::string_view kind) {
    std::vector<const petal::Object*> out;
    const petal::Value* list = petal::FindField(owner, key);
    if (list == nullptr || list->kind != petal::ValueKind::List) return out;
    for (const petal::Value& item : list->items) {
        if (item.kind == petal::ValueKind::Object && item.object && item.object->kind == kind) {
            out.push_back(item.object.get());
        }
    }
    return out;
}

void ProjectElement(const petal::Object& object, Element& element, const EnumTable& enums) {
    element.name = HeaderName(object);
    element.quid = petal::GetText(object, "quid");
    element.documentation = petal::GetText(object, "documentation");
    element.properties = ProjectProperties(object, enums);
}

void ProjectCategory(const petal::Object& object, Category& category, const EnumTable& enums) {
    ProjectElement(object, category, enums);
}

void ProjectClass(const petal::Object& object, Class& cls, const EnumTable& enums) {
    ProjectElement(object, cls, enums);
    cls.isAbstract = FlagOf(object, "abstract");
    cls.isPersistent = petal::GetText(object, "persistence") == "Persistent";
}

void ProjectAttribute(const petal::Object& object, Attribute& attribute, const EnumTable& enums) {
    ProjectElement(object, attribute, enums);
    attribute.type = petal::GetText(object, "type");
    attribute.typeQuid = petal::GetText(object, "quidu");
    attribute.initialValue = petal::GetText(object, "initv");
    // The modelling tool leaves out the visibility of a private attribute.
    attribute.exportControl = VisibilityOf(object, "exportControl", kPrivate);
}

void ProjectOperation(const petal::Object& object, Operation& operation, const EnumTable& enums) {
    ProjectElement(object, operation, enums);
    operation.returnType = petal::GetText(object, "result");
    operation.exportControl = VisibilityOf(object, "opExportControl", kPublic);
}

void ProjectParameter(const petal::Object& object, Parameter& parameter, const EnumTable& enums) {
    ProjectElement(object, parameter, enums);
    parameter.type = petal::GetText(object, "type");
    parameter.defaultValue = petal::GetText(object, "initv");
}

void ProjectAssociation(const petal::Object& object, Association& association,
                        const EnumTable& enums) {
    ProjectElement(object, association, enums);
    // The association's label text lives in its stereotype.
    association.kind = petal::GetText(object, "stereotype");
}

void ProjectRole(const petal::Object& object, Role& role, const EnumTable& enums) {
    ProjectElement(object, role, enums);
    // The role name as shown is its label; the header only repeats it or holds a placeholder.
    if (petal::FindField(object, "label") != nullptr) role.name = petal::GetText(object, "label");
    role.className = petal::GetText(object, "supplier");
    role.classQuid = petal::GetText(object, "quidu");
    role.multiplicity = petal::GetText(object, "client_cardinality");
    role.isAggregate = FlagOf(object, "is_aggregate");
    role.isNavigable = FlagOf(object, "is_navigable");
    role.exportControl = VisibilityOf(object, "exportControl", kPublic);
}

void ProjectSuperclassLink(const petal::Object& object, SuperclassLink& link,
                           const EnumTable& enums) {
    ProjectElement(object, link, enums);
    if (petal::FindField(object, "label") != nullptr) link.name = petal::GetText(object, "label");
    link.className = petal::GetText(object, "supplier");
    link.classQuid = petal::GetText(object, "quidu");
}

void ProjectDiagram(const petal::Object& object, Diagram& diagram, const EnumTable& enums) {
    ProjectElement(object, diagram, enums);
    diagram.kindName = object.kind;
}

bool ProjectLocation(const petal::Object& view, std::int16_t& x, std::int16_t& y) {
    const petal::Value* location = petal::FindField(view, "location");
    if (location == nullptr || location->kind != petal::ValueKind::Point) return false;
    x = Clamp16(location->x);
    y = Clamp16(location->y);
    return true;
}

}  // namespace rosehost::binding
