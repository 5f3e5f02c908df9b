#include <algorithm>

#include "model.h"

namespace rosehost {
namespace {

const PropertySet* FindSet(const Model& model, const std::string& tool, const std::string& set) {
    for (const auto& candidate : model.propertySets) {
        if (candidate.tool == tool && candidate.set == set) return &candidate;
    }
    return nullptr;
}

const ToolProperty* FindOwn(const Element& element, const std::string& tool,
                            const std::string& name) {
    for (const auto& property : element.properties) {
        if (property.tool == tool && property.name == name) return &property;
    }
    return nullptr;
}

}  // namespace

std::string DefaultSetName(ElementKind kind) {
    switch (kind) {
        case ElementKind::Class:
            return "default__Class";
        case ElementKind::Attribute:
            return "default__Attribute";
        case ElementKind::Operation:
            return "default__Operation";
        case ElementKind::Association:
            return "default__Association";
        case ElementKind::Category:
            return "default__Category";
        case ElementKind::Role:
            return "default__Role";
    }
    return "";
}

void AddPropertySet(Model& model, PropertySet set) {
    for (auto& existing : model.propertySets) {
        if (existing.tool == set.tool && existing.set == set.set) {
            existing.entries = std::move(set.entries);
            return;
        }
    }
    model.propertySets.push_back(std::move(set));
}

std::string GetToolProperty(const Model& model, const Element& element, ElementKind kind,
                            const std::string& tool, const std::string& name) {
    if (const ToolProperty* own = FindOwn(element, tool, name)) return own->value;
    const PropertySet* set = FindSet(model, tool, DefaultSetName(kind));
    if (!set) return "";
    for (const auto& [entryName, value] : set->entries) {
        if (entryName == name) return value;
    }
    return "";
}

bool HasOwnToolProperty(const Element& element, const std::string& tool, const std::string& name) {
    return FindOwn(element, tool, name) != nullptr;
}

void SetToolProperty(Element& element, const std::string& tool, const std::string& name,
                     const std::string& value) {
    for (auto& property : element.properties) {
        if (property.tool == tool && property.name == name) {
            property.value = value;
            return;
        }
    }
    element.properties.push_back(ToolProperty{tool, name, value});
}

std::vector<std::string> ToolPropertyNames(const Model& model, const Element& element,
                                           ElementKind kind, const std::string& tool) {
    std::vector<std::string> names;
    if (const PropertySet* set = FindSet(model, tool, DefaultSetName(kind))) {
        for (const auto& entry : set->entries) names.push_back(entry.first);
    }
    for (const auto& property : element.properties) {
        if (property.tool != tool) continue;
        if (std::find(names.begin(), names.end(), property.name) != names.end()) continue;
        names.push_back(property.name);
    }
    return names;
}

}  // namespace rosehost
