// What the binding's files share: what a Petal object says about the element it holds (the
// "projection" both loading and syncing use, so that an unchanged element compares equal),
// and the tool-property conversions.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/rose/host/host.h"

namespace rosehost::binding {

// Enumeration literals that a model file declares: (set name, code) -> literal name.
struct EnumLiteral {
    std::string set;
    long long code = 0;
    std::string name;
};
using EnumTable = std::vector<EnumLiteral>;

// The literals declared in a `(list Attribute_Set ...)` of tool entries, at any depth.
EnumTable EnumsOf(const petal::Value& attributeSets);
// The enumerations of a document's Design properties.
EnumTable DocumentEnums(const petal::Object& design);
// The Design's `properties` attribute list, or nullptr.
const petal::Value* DesignPropertySets(const petal::Object& design);

// A tool property's value as text: strings as they are, TRUE/FALSE, numbers as written, an
// enumeration value as its literal's name. False for values that are no single text (lists),
// which the model leaves alone.
bool ValueText(const petal::Value& value, const EnumTable& enums, std::string& text);
// The value to write for `text` where `previous` stood (keeps a Boolean a Boolean, and so on).
petal::Value ValueFor(const std::string& text, const petal::Value* previous,
                      const EnumTable& enums);

// The tool properties an element's `attributes` list holds, in file order.
std::vector<ToolProperty> ProjectProperties(const petal::Object& object, const EnumTable& enums);
// Brings the element's `attributes` list in line with `properties`.
void WriteProperties(petal::Object& object, const std::vector<ToolProperty>& properties,
                     const EnumTable& enums);

// A name as the model shows it: the modelling tool's placeholder for no name reads as "".
std::string ModelName(std::string_view fileName);
std::string HeaderName(const petal::Object& object);
bool IsUnnamed(std::string_view fileName);

// Visibility codes from and to their texts; `absent` is what a missing key means.
std::int16_t VisibilityOf(const petal::Object& object, std::string_view key, std::int16_t absent);
const char* VisibilityText(std::int16_t code);

bool FlagOf(const petal::Object& object, std::string_view key);
// Sets a TRUE flag, or removes the key for false (the modelling tool omits false flags).
void WriteFlag(petal::Object& object, std::string_view key, bool flag);
// Sets a text field, or removes it when the text is "".
void WriteText(petal::Object& object, std::string_view key, const std::string& text);

// The scalar fields of each kind, as the object holds them (children are not filled).
void ProjectElement(const petal::Object& object, Element& element, const EnumTable& enums);
void ProjectCategory(const petal::Object& object, Category& category, const EnumTable& enums);
void ProjectClass(const petal::Object& object, Class& cls, const EnumTable& enums);
void ProjectAttribute(const petal::Object& object, Attribute& attribute, const EnumTable& enums);
void ProjectOperation(const petal::Object& object, Operation& operation, const EnumTable& enums);
void ProjectParameter(const petal::Object& object, Parameter& parameter, const EnumTable& enums);
void ProjectAssociation(const petal::Object& object, Association& association,
                        const EnumTable& enums);
void ProjectRole(const petal::Object& object, Role& role, const EnumTable& enums);
void ProjectSuperclassLink(const petal::Object& object, SuperclassLink& link,
                           const EnumTable& enums);
void ProjectDiagram(const petal::Object& object, Diagram& diagram, const EnumTable& enums);
// A class view's location; false when the object has none.
bool ProjectLocation(const petal::Object& view, std::int16_t& x, std::int16_t& y);

// The objects a list field holds, of one kind.
std::vector<petal::Object*> ListObjects(petal::Object& owner, std::string_view key,
                                        std::string_view kind);
std::vector<const petal::Object*> ListObjects(const petal::Object& owner, std::string_view key,
                                              std::string_view kind);

// An association the model holds: one with exactly two roles.
bool IsModelAssociation(const petal::Object& object);
// The class a class view object draws, or none.
std::shared_ptr<Class> ClassOfView(const Model& model, const petal::Object& view);

inline petal::Object* OriginOf(const Element& element) {
    return static_cast<petal::Object*>(element.origin);
}

// Gives every link to a class that has no quid, or one no class has, the quid of the class
// its qualified name finds (links.cpp): the model's superclass links and roles, and in the
// document every Inheritance, Role, Realize and Uses relationship.
void ResolveLinks(Model& model);
void ResolveLinks(petal::Object& design);

// Where `saved`, the model read back from a synced document, says other than `model`
// (verify.cpp): "" when it says the same, else the first element and field that differ.
std::string ModelDifference(const Model& model, const Model& saved);

// Writing new and changed elements (sync_new.cpp, sync_diagrams.cpp).
struct SyncContext {
    Model& model;
    petal::Document& document;
    EnumTable enums;
    int nextUnnamed = 0;  // the next "$UNNAMED$n" number
};
std::string UnnamedName(SyncContext& context);
void SyncDiagram(SyncContext& context, Diagram& diagram, petal::Object& object);

}  // namespace rosehost::binding
