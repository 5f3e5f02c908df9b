// Tool properties in Petal: the `attributes` lists of elements, the default sets a model file
// or an add-in's property file declares, and the add-ins the registry names.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>

#include "hosts/rose/host/host_internal.h"
#include "platform/registry.h"
#include "strings/strings.h"

namespace rosehost {
namespace binding {
namespace {

constexpr std::string_view kDefaultSetPrefix = "default__";

bool IsDefaultSetName(std::string_view name) { return name.starts_with(kDefaultSetPrefix); }

bool ParseInteger(const std::string& text, long long& number) {
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, number);
    return !text.empty() && error == std::errc() && stop == end;
}

// The Attribute objects a `(list Attribute_Set ...)` holds.
std::vector<const petal::Object*> Entries(const petal::Value& list) {
    std::vector<const petal::Object*> out;
    if (list.kind != petal::ValueKind::List) return out;
    for (const petal::Value& item : list.items) {
        if (item.kind == petal::ValueKind::Object && item.object &&
            item.object->kind == "Attribute") {
            out.push_back(item.object.get());
        }
    }
    return out;
}

const petal::Value* EntryValue(const petal::Object& entry) {
    return petal::FindField(entry, "value");
}

void CollectEnums(const petal::Value& list, EnumTable& out) {
    for (const petal::Object* entry : Entries(list)) {
        const petal::Value* value = EntryValue(*entry);
        if (value == nullptr || value->kind != petal::ValueKind::List) continue;
        std::string name = petal::GetText(*entry, "name");
        if (IsDefaultSetName(name)) {
            CollectEnums(*value, out);
            continue;
        }
        // Any other list of entries declares an enumeration: its entries are the literals.
        for (const petal::Object* literal : Entries(*value)) {
            const petal::Value* code = EntryValue(*literal);
            long long number = 0;
            if (code == nullptr || code->kind != petal::ValueKind::Integer ||
                !ParseInteger(code->text, number)) {
                continue;
            }
            out.push_back({name, number, petal::GetText(*literal, "name")});
        }
    }
}

bool SameProperties(const std::vector<ToolProperty>& a, const std::vector<ToolProperty>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const ToolProperty& x, const ToolProperty& y) {
                          return x.tool == y.tool && x.name == y.name && x.value == y.value;
                      });
}

const ToolProperty* FindProperty(const std::vector<ToolProperty>& properties,
                                 const std::string& tool, const std::string& name) {
    for (const ToolProperty& property : properties) {
        if (property.tool == tool && property.name == name) return &property;
    }
    return nullptr;
}

}  // namespace

EnumTable EnumsOf(const petal::Value& attributeSets) {
    EnumTable table;
    CollectEnums(attributeSets, table);
    return table;
}

const petal::Value* DesignPropertySets(const petal::Object& design) {
    const petal::Value* properties = petal::FindField(design, "properties");
    if (properties == nullptr || properties->kind != petal::ValueKind::Object) return nullptr;
    const petal::Value* sets = petal::FindField(*properties->object, "attributes");
    if (sets == nullptr || sets->kind != petal::ValueKind::List) return nullptr;
    return sets;
}

EnumTable DocumentEnums(const petal::Object& design) {
    const petal::Value* sets = DesignPropertySets(design);
    return sets != nullptr ? EnumsOf(*sets) : EnumTable();
}

bool ValueText(const petal::Value& value, const EnumTable& enums, std::string& text) {
    switch (value.kind) {
        case petal::ValueKind::String:
        case petal::ValueKind::TypedText:
        case petal::ValueKind::Integer:
        case petal::ValueKind::Float:
            text = value.text;
            return true;
        case petal::ValueKind::Boolean:
            text = value.boolean ? "TRUE" : "FALSE";
            return true;
        case petal::ValueKind::Enum:
            for (const EnumLiteral& literal : enums) {
                if (literal.set == value.text && literal.code == value.x) {
                    text = literal.name;
                    return true;
                }
            }
            text = std::to_string(value.x);
            return true;
        case petal::ValueKind::Tag:
        case petal::ValueKind::Point:
        case petal::ValueKind::Object:
        case petal::ValueKind::List:
            return false;
    }
    return false;
}

petal::Value ValueFor(const std::string& text, const petal::Value* previous,
                      const EnumTable& enums) {
    if (previous == nullptr) return petal::MakeString(text);
    long long number = 0;
    switch (previous->kind) {
        case petal::ValueKind::Boolean:
            if (strings::EqualNoCase(text, "TRUE")) return petal::MakeBoolean(true);
            if (strings::EqualNoCase(text, "FALSE")) return petal::MakeBoolean(false);
            break;
        case petal::ValueKind::Integer:
            if (ParseInteger(text, number)) return petal::MakeInteger(number);
            break;
        case petal::ValueKind::Enum:
            for (const EnumLiteral& literal : enums) {
                if (literal.set == previous->text && literal.name == text) {
                    return petal::MakeEnum(literal.set, literal.code);
                }
            }
            break;
        case petal::ValueKind::TypedText:
            return petal::MakeTypedText(previous->name, text);
        default:
            break;
    }
    return petal::MakeString(text);
}

std::vector<ToolProperty> ProjectProperties(const petal::Object& object, const EnumTable& enums) {
    std::vector<ToolProperty> out;
    const petal::Value* list = petal::FindField(object, "attributes");
    if (list == nullptr) return out;
    for (const petal::Object* entry : Entries(*list)) {
        const petal::Value* value = EntryValue(*entry);
        std::string text;
        if (value == nullptr || !ValueText(*value, enums, text)) continue;
        out.push_back({petal::GetText(*entry, "tool"), petal::GetText(*entry, "name"), text});
    }
    return out;
}

void WriteProperties(petal::Object& object, const std::vector<ToolProperty>& properties,
                     const EnumTable& enums) {
    if (SameProperties(ProjectProperties(object, enums), properties)) return;
    bool existed = petal::FindField(object, "attributes") != nullptr;
    petal::Value& list = petal::EnsureList(object, "attributes", "Attribute_Set");

    // Entries the element no longer has go; entries that are no single text stay untouched.
    std::vector<const petal::Object*> gone;
    for (const petal::Object* entry : Entries(list)) {
        const petal::Value* value = EntryValue(*entry);
        std::string text;
        if (value == nullptr || !ValueText(*value, enums, text)) continue;
        if (!FindProperty(properties, petal::GetText(*entry, "tool"),
                          petal::GetText(*entry, "name"))) {
            gone.push_back(entry);
        }
    }
    for (const petal::Object* entry : gone) petal::RemoveObject(list, entry);

    for (const ToolProperty& property : properties) {
        petal::Object* found = nullptr;
        for (petal::Value& item : list.items) {
            if (item.kind != petal::ValueKind::Object || !item.object) continue;
            petal::Object& entry = *item.object;
            if (entry.kind == "Attribute" && petal::GetText(entry, "tool") == property.tool &&
                petal::GetText(entry, "name") == property.name) {
                found = &entry;
                break;
            }
        }
        if (found == nullptr) {
            petal::Object entry = petal::NewObject("Attribute");
            entry.fields.push_back({"tool", petal::MakeString(property.tool)});
            entry.fields.push_back({"name", petal::MakeString(property.name)});
            entry.fields.push_back({"value", petal::MakeString(property.value)});
            petal::AppendObject(list, std::move(entry));
            continue;
        }
        petal::Value* value = petal::FindField(*found, "value");
        std::string text;
        if (value != nullptr && ValueText(*value, enums, text) && text == property.value) continue;
        petal::SetField(*found, "value", ValueFor(property.value, value, enums));
    }
    if (!existed && list.items.empty()) petal::RemoveField(object, "attributes");
}

}  // namespace binding

std::vector<PropertySet> PropertySetsOf(const petal::Value& attributeSets) {
    binding::EnumTable enums = binding::EnumsOf(attributeSets);
    std::vector<PropertySet> sets;
    for (const petal::Object* entry : binding::Entries(attributeSets)) {
        const petal::Value* value = binding::EntryValue(*entry);
        std::string setName = petal::GetText(*entry, "name");
        if (value == nullptr || value->kind != petal::ValueKind::List ||
            !binding::IsDefaultSetName(setName)) {
            continue;
        }
        PropertySet set{petal::GetText(*entry, "tool"), setName, {}};
        for (const petal::Object* property : binding::Entries(*value)) {
            const petal::Value* defaultValue = binding::EntryValue(*property);
            std::string text;
            // Enumeration declarations inside a set hold lists and are no properties.
            if (defaultValue == nullptr || !binding::ValueText(*defaultValue, enums, text)) {
                continue;
            }
            set.entries.emplace_back(petal::GetText(*property, "name"), text);
        }
        sets.push_back(std::move(set));
    }
    return sets;
}

std::vector<std::string> InstalledPropertyFiles() {
    const std::string addIns = "SOFTWARE\\Rational Software\\Rose\\AddIns";
    std::vector<std::string> files;
    for (const std::string& name : platform::ListRegistrySubkeys(addIns)) {
        std::string key = addIns + "\\" + name;
        std::string active, directory, file;
        if (!platform::ReadRegistryValue(key, "Active", active) || active != "Yes") continue;
        if (!platform::ReadRegistryValue(key, "PropertyFile", file) || file.empty()) continue;
        platform::ReadRegistryValue(key, "InstallDir", directory);
        std::replace(directory.begin(), directory.end(), '\\', '/');
        std::replace(file.begin(), file.end(), '\\', '/');
        files.push_back(file.front() == '/' ? file : directory + "/" + file);
    }
    return files;
}

void LoadAddInProperties(Model& model, std::vector<std::string>& warnings) {
    // Without the registry no add-in's defaults are known, and elements would show empty
    // tool properties where the add-in expects its defaults: say so at start.
    std::string registry = platform::RegistryFilePath();
    std::error_code absent;
    std::string problem = std::filesystem::exists(registry, absent)
                              ? platform::RegistryFileProblem()
                              : std::string("no such file");
    if (!problem.empty()) {
        warnings.push_back("cannot read the registry file " + registry + ": " + problem +
                           "; no add-in's tool-property defaults are loaded");
    }
    // The model file's own sets were loaded first and win over an add-in's, entry by entry.
    std::vector<PropertySet> own = std::move(model.propertySets);
    model.propertySets.clear();
    for (const std::string& path : InstalledPropertyFiles()) {
        std::vector<PropertySet> sets;
        std::string error;
        if (!ReadPropertyFile(path, sets, error)) {
            warnings.push_back(error);
            continue;
        }
        for (PropertySet& set : sets) AddPropertySet(model, std::move(set));
    }
    for (PropertySet& set : own) {
        auto it = std::find_if(
            model.propertySets.begin(), model.propertySets.end(),
            [&](const PropertySet& s) { return s.tool == set.tool && s.set == set.set; });
        if (it == model.propertySets.end()) {
            model.propertySets.push_back(std::move(set));
            continue;
        }
        for (auto& entry : set.entries) {
            auto same = std::find_if(it->entries.begin(), it->entries.end(),
                                     [&](const auto& e) { return e.first == entry.first; });
            if (same != it->entries.end()) {
                same->second = entry.second;
            } else {
                it->entries.push_back(std::move(entry));
            }
        }
    }
}

}  // namespace rosehost
