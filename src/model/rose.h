// The link to the running modelling tool: the process-wide application object `RoseApp`, the
// attachment to it, and one small typed face over its automation operations, so that the rest
// of the add-in names operations instead of dispatch ids. Each operation casts its result to
// the interface of the result's kind; an operation that may give no object gives nullptr.
// Errors raised by the modelling tool pass to the caller as automation::AutomationError.
#pragma once

#include <cstdint>
#include <string>

#include "automation/automation.h"
#include "model/rose_ids.h"

namespace rose {

using automation::ObjectRef;

// The application object; empty until `ConnectToRose` succeeds.
extern ObjectRef RoseApp;

// Attaches `RoseApp` to the running "Rose.Application"; false (and `RoseApp` unchanged) when
// none runs or it is not the application.
bool ConnectToRose();
// Repeats `ConnectToRose`, asking "Unable to connect to Rational Rose" (Retry/Cancel) in
// between; Cancel ends the process. Returns only when connected.
void PromptConnectToRose();
// The `Name` of the active model; errors pass to the caller.
std::string GetRoseModelName();
// The class of the active model with that unique key, or nullptr; errors pass to the caller.
ObjectRef GetRoseClassByKey(const std::string& key);

// Visibility values written to an export control.
inline constexpr std::int16_t kExportPublic = 0;
inline constexpr std::int16_t kExportPrivate = 2;

// The diagram kind of a class diagram.
inline constexpr const char* kClassDiagramKind = "ClassDiagram";

namespace detail {
inline ObjectRef GetAs(const ObjectRef& obj, std::int32_t dispid, const char* iid,
                       const automation::Args& args = {}) {
    return automation::Cast(automation::Get(obj, dispid, args).ToObject(), iid);
}
inline ObjectRef CallAs(const ObjectRef& obj, std::int32_t dispid, const char* iid,
                        const automation::Args& args) {
    return automation::Cast(automation::Call(obj, dispid, args).ToObject(), iid);
}
// The same for an object the caller uses at once and only as an object (an element just
// created, an export control): inside a pipeline the call may go without waiting.
inline ObjectRef GetObjectAs(const ObjectRef& obj, std::int32_t dispid, const char* iid) {
    return automation::GetObject(obj, dispid, iid);
}
inline ObjectRef CreateAs(const ObjectRef& obj, std::int32_t dispid, const char* iid,
                          const automation::Args& args) {
    return automation::CallForObject(obj, dispid, iid, args);
}
// A method that only reads: it may run while writes sent ahead elsewhere are unanswered.
inline ObjectRef ReadAs(const ObjectRef& obj, std::int32_t dispid, const char* iid,
                        const automation::Args& args) {
    return automation::Cast(automation::CallReadOnly(obj, dispid, args).ToObject(), iid);
}
inline std::string Text(const ObjectRef& obj, std::int32_t dispid) {
    return automation::Get(obj, dispid).ToString();
}
}  // namespace detail

// --- Application ---
inline ObjectRef ActiveModel(const ObjectRef& app) {
    return detail::GetObjectAs(app, ids::Application::ActiveModel, iid::kModel);
}

// --- Names and documentation (model, category, class, generic element, attribute,
// operation, role) ---
inline std::string Name(const ObjectRef& obj) { return detail::Text(obj, ids::Element::Name); }
inline void SetName(const ObjectRef& obj, const std::string& name) {
    automation::Put(obj, ids::Element::Name, name);
}
// Class, generic element, attribute, operation, association.
inline std::string DocText(const ObjectRef& obj) {
    return detail::Text(obj, ids::Element::DocText);
}
inline void SetDocText(const ObjectRef& obj, const std::string& text) {
    automation::Put(obj, ids::Element::DocText, text);
}
// Category or class.
inline std::string QualifiedName(const ObjectRef& obj) {
    return detail::Text(obj, ids::Class::QualifiedName);
}

// --- Model ---
inline ObjectRef TopCategory(const ObjectRef& model) {
    return detail::GetAs(model, ids::Model::TopCategory, iid::kCategory);
}
inline ObjectRef AllClasses(const ObjectRef& model) {
    return detail::GetAs(model, ids::Model::AllClasses, iid::kClassCollection);
}
inline ObjectRef AllCategories(const ObjectRef& model) {
    return detail::GetAs(model, ids::Model::AllCategories, iid::kCategoryCollection);
}
inline ObjectRef ClassesByPath(const ObjectRef& model, const std::string& path) {
    return detail::ReadAs(model, ids::Model::ClassesByPath, iid::kClassCollection, {path});
}
inline ObjectRef ClassByUniqueKey(const ObjectRef& model, const std::string& key) {
    return detail::ReadAs(model, ids::Model::ClassByUniqueKey, iid::kClass, {key});
}
inline ObjectRef CategoriesByPath(const ObjectRef& model, const std::string& path) {
    return detail::ReadAs(model, ids::Model::CategoriesByPath, iid::kCategoryCollection, {path});
}
inline ObjectRef CurrentDiagram(const ObjectRef& model) {
    return detail::GetAs(model, ids::Model::CurrentDiagram, iid::kDiagram);
}

// --- Category ---
inline ObjectRef ClassDiagrams(const ObjectRef& category) {
    return detail::GetAs(category, ids::Category::ClassDiagrams, iid::kClassDiagramCollection);
}
inline ObjectRef OwnedClasses(const ObjectRef& category) {
    return detail::GetAs(category, ids::Category::OwnedClasses, iid::kClassCollection);
}
inline ObjectRef CreateClass(const ObjectRef& category, const std::string& name) {
    return detail::CallAs(category, ids::Category::CreateClass, iid::kClass, {name});
}
inline ObjectRef CreateCategory(const ObjectRef& category, const std::string& name) {
    return detail::CallAs(category, ids::Category::CreateCategory, iid::kCategory, {name});
}

// --- Class ---
inline std::string UniqueKey(const ObjectRef& cls) {
    return detail::Text(cls, ids::Class::UniqueKey);
}
inline ObjectRef AsElement(const ObjectRef& clsOrParameter) {
    return detail::GetAs(clsOrParameter, ids::Class::AsElement, iid::kElement);
}
inline bool IsAbstract(const ObjectRef& cls) {
    return automation::Get(cls, ids::Class::IsAbstract).ToBool();
}
inline void SetIsAbstract(const ObjectRef& cls, bool value) {
    automation::Put(cls, ids::Class::IsAbstract, value);
}
inline bool IsPersistent(const ObjectRef& cls) {
    return automation::Get(cls, ids::Class::IsPersistent).ToBool();
}
inline void SetIsPersistent(const ObjectRef& cls, bool value) {
    automation::Put(cls, ids::Class::IsPersistent, value);
}
inline ObjectRef OwningCategory(const ObjectRef& cls) {
    return detail::GetAs(cls, ids::Class::OwningCategory, iid::kCategory);
}
inline ObjectRef Attributes(const ObjectRef& cls) {
    return detail::GetAs(cls, ids::Class::Attributes, iid::kAttributeCollection);
}
inline ObjectRef Operations(const ObjectRef& cls) {
    return detail::GetAs(cls, ids::Class::Operations, iid::kOperationCollection);
}
inline ObjectRef SuperclassLinks(const ObjectRef& cls) {
    return detail::GetAs(cls, ids::Class::SuperclassLinks, iid::kSuperclassLinkCollection);
}
inline ObjectRef Associations(const ObjectRef& cls) {
    return detail::GetAs(cls, ids::Class::Associations, iid::kAssociationCollection);
}
inline ObjectRef CreateOperation(const ObjectRef& cls, const std::string& name,
                                 const std::string& returnType) {
    return detail::CreateAs(cls, ids::Class::CreateOperation, iid::kOperation, {name, returnType});
}
inline ObjectRef CreateAttribute(const ObjectRef& cls, const std::string& name,
                                 const std::string& type, const std::string& initialValue) {
    return detail::CreateAs(cls, ids::Class::CreateAttribute, iid::kAttribute,
                            {name, type, initialValue});
}
inline ObjectRef CreateAssociation(const ObjectRef& cls, const std::string& name,
                                   const std::string& otherClassPath) {
    return detail::CreateAs(cls, ids::Class::CreateAssociation, iid::kAssociation,
                            {name, otherClassPath});
}
inline void DeleteAssociation(const ObjectRef& cls, const ObjectRef& association) {
    automation::Call(cls, ids::Class::DeleteAssociation, {association});
}
inline void DeleteOperation(const ObjectRef& cls, const ObjectRef& operation) {
    automation::Call(cls, ids::Class::DeleteOperation, {operation});
}
inline void DeleteAttribute(const ObjectRef& cls, const ObjectRef& attribute) {
    automation::Call(cls, ids::Class::DeleteAttribute, {attribute});
}
inline ObjectRef CreateSuperclassLink(const ObjectRef& cls, const std::string& name,
                                      const std::string& superclassPath) {
    return detail::CreateAs(cls, ids::Class::CreateSuperclassLink, iid::kSuperclassLink,
                            {name, superclassPath});
}
inline void DeleteSuperclassLink(const ObjectRef& cls, const ObjectRef& link) {
    automation::Call(cls, ids::Class::DeleteSuperclassLink, {link});
}
// Called by name, on the class that `GetTypeClass` gives.
inline std::string GetQualifiedName(const ObjectRef& cls) {
    return automation::CallByNameReadOnly(cls, ids::Class::GetQualifiedName).ToString();
}

// --- Tool properties (class, attribute, operation, association) ---
inline std::string GetToolProperty(const ObjectRef& element, const std::string& tool,
                                   const std::string& name) {
    return automation::CallReadOnly(element, ids::AnyElement::GetToolProperty, {tool, name})
        .ToString();
}
// The tool's Boolean answer tells nothing the add-in uses, so the call does not wait for it.
inline void SetToolProperty(const ObjectRef& element, const std::string& tool,
                            const std::string& name, const std::string& value) {
    automation::CallNoResult(element, ids::AnyElement::SetToolProperty, {tool, name, value});
}
inline ObjectRef ToolProperties(const ObjectRef& element, const std::string& tool) {
    return detail::ReadAs(element, ids::AnyElement::ToolProperties, iid::kToolPropertyCollection,
                          {tool});
}
inline bool HasOwnToolProperty(const ObjectRef& element, const std::string& tool,
                               const std::string& name) {
    return automation::CallReadOnly(element, ids::AnyElement::HasOwnToolProperty, {tool, name})
        .ToBool();
}
inline std::string ToolPropertyName(const ObjectRef& property) {
    return detail::Text(property, ids::ToolProperty::Name);
}

// --- Attribute and parameter ---
inline std::string TypeName(const ObjectRef& attributeOrParameter) {
    return detail::Text(attributeOrParameter, ids::Attribute::TypeName);
}
inline ObjectRef AttributeExportControl(const ObjectRef& attribute) {
    return detail::GetObjectAs(attribute, ids::Attribute::ExportControl, iid::kExportControl);
}
// Called by name; nullptr when the type is no class of the model.
inline ObjectRef GetTypeClass(const ObjectRef& attribute) {
    return automation::Cast(
        automation::CallByNameReadOnly(attribute, ids::Attribute::GetTypeClass).ToObject(),
        iid::kClass);
}
inline std::string DefaultValue(const ObjectRef& parameter) {
    return detail::Text(parameter, ids::Parameter::DefaultValue);
}

// --- Operation ---
inline std::string ReturnTypeName(const ObjectRef& operation) {
    return detail::Text(operation, ids::Operation::ReturnTypeName);
}
// Parameter collections are used without a cast.
inline ObjectRef ParameterList(const ObjectRef& operation) {
    return automation::Get(operation, ids::Operation::ParameterList).ToObject();
}
inline ObjectRef OperationExportControl(const ObjectRef& operation) {
    return detail::GetObjectAs(operation, ids::Operation::ExportControl, iid::kExportControl);
}
// `position` is 1-based.
inline void CreateParameter(const ObjectRef& operation, const std::string& name,
                            const std::string& type, const std::string& defaultValue,
                            std::int16_t position) {
    automation::CallNoResult(operation, ids::Operation::CreateParameter,
                             {name, type, defaultValue, position});
}

// --- Export control ---
inline std::int16_t ExportValue(const ObjectRef& exportControl) {
    return automation::Get(exportControl, ids::ExportControl::Value).ToInt16();
}
inline void SetExportValue(const ObjectRef& exportControl, std::int16_t value) {
    automation::Put(exportControl, ids::ExportControl::Value, value);
}

// --- Superclass link ---
inline ObjectRef SuperclassOf(const ObjectRef& link) {
    return detail::GetAs(link, ids::SuperclassLink::SuperclassOf, iid::kClass);
}
inline std::string SuperclassNameText(const ObjectRef& link) {
    return detail::Text(link, ids::SuperclassLink::SuperclassNameText);
}

// --- Association ---
inline std::string Kind(const ObjectRef& association) {
    return detail::Text(association, ids::Association::Kind);
}
inline void SetKind(const ObjectRef& association, const std::string& kind) {
    automation::Put(association, ids::Association::Kind, kind);
}
inline ObjectRef RoleOf(const ObjectRef& association, const ObjectRef& cls) {
    return detail::ReadAs(association, ids::Association::RoleOf, iid::kRole, {cls});
}
inline ObjectRef OtherRoleOf(const ObjectRef& association, const ObjectRef& cls) {
    return detail::ReadAs(association, ids::Association::OtherRoleOf, iid::kRole, {cls});
}
// The roles of an association just created, which the caller only writes to: inside a
// pipeline these calls may go without waiting.
inline ObjectRef RoleOfNew(const ObjectRef& association, const ObjectRef& cls) {
    return detail::CreateAs(association, ids::Association::RoleOf, iid::kRole, {cls});
}
inline ObjectRef OtherRoleOfNew(const ObjectRef& association, const ObjectRef& cls) {
    return detail::CreateAs(association, ids::Association::OtherRoleOf, iid::kRole, {cls});
}

// --- Role ---
inline std::string RoleClassName(const ObjectRef& role) {
    return detail::Text(role, ids::Role::RoleClassName);
}
// A class associated with itself has the same class at both ends.
inline bool IsSelfAssociation(const ObjectRef& role, const ObjectRef& otherRole) {
    return RoleClassName(role) == RoleClassName(otherRole);
}
inline bool IsAggregate(const ObjectRef& role) {
    return automation::Get(role, ids::Role::IsAggregate).ToBool();
}
inline void SetIsAggregate(const ObjectRef& role, bool value) {
    automation::Put(role, ids::Role::IsAggregate, value);
}
inline void SetIsNavigable(const ObjectRef& role, bool value) {
    automation::Put(role, ids::Role::IsNavigable, value);
}
inline std::string Multiplicity(const ObjectRef& role) {
    return detail::Text(role, ids::Role::Multiplicity);
}
inline void SetMultiplicity(const ObjectRef& role, const std::string& value) {
    automation::Put(role, ids::Role::Multiplicity, value);
}
inline ObjectRef RoleExportControl(const ObjectRef& role) {
    return detail::GetObjectAs(role, ids::Role::ExportControl, iid::kExportControl);
}
inline ObjectRef RoleClass(const ObjectRef& role) {
    return detail::GetAs(role, ids::Role::RoleClass, iid::kClass);
}

// --- Diagrams ---
inline std::string KindName(const ObjectRef& diagram) {
    return detail::Text(diagram, ids::Diagram::KindName);
}
inline ObjectRef SelectedItems(const ObjectRef& diagram) {
    return detail::GetAs(diagram, ids::Diagram::SelectedItems, iid::kElementCollection);
}
inline void AddClass(const ObjectRef& classDiagram, const ObjectRef& cls) {
    automation::CallNoResult(classDiagram, ids::ClassDiagram::AddClass, {cls});
}
// The same member called by its name, the way the import draws new classes on the current
// diagram.
inline void AddClassByName(const ObjectRef& diagram, const ObjectRef& cls) {
    automation::CallByName(diagram, ids::ClassDiagram::AddClassByName, {cls});
}
inline ObjectRef ShownClasses(const ObjectRef& classDiagram) {
    return detail::GetAs(classDiagram, ids::ClassDiagram::ShownClasses, iid::kClassCollection);
}
inline void RemoveClass(const ObjectRef& classDiagram, const ObjectRef& cls) {
    automation::CallNoResult(classDiagram, ids::ClassDiagram::RemoveClass, {cls});
}
inline ObjectRef ClassViewOf(const ObjectRef& classDiagram, const ObjectRef& cls) {
    return detail::ReadAs(classDiagram, ids::ClassDiagram::ClassViewOf, iid::kClassView, {cls});
}
inline void Redraw(const ObjectRef& classDiagram) {
    automation::CallNoResult(classDiagram, ids::ClassDiagram::Redraw);
}
inline std::int16_t PlacementA(const ObjectRef& view) {
    return automation::Get(view, ids::ClassView::PlacementA).ToInt16();
}
inline void SetPlacementA(const ObjectRef& view, std::int16_t value) {
    automation::Put(view, ids::ClassView::PlacementA, value);
}
inline std::int16_t PlacementB(const ObjectRef& view) {
    return automation::Get(view, ids::ClassView::PlacementB).ToInt16();
}
inline void SetPlacementB(const ObjectRef& view, std::int16_t value) {
    automation::Put(view, ids::ClassView::PlacementB, value);
}

// --- Collections (1-based) ---
inline std::int16_t Count(const ObjectRef& collection) {
    return automation::Get(collection, ids::Collection::Count).ToInt16();
}
inline ObjectRef ItemAt(const ObjectRef& collection, std::int16_t index) {
    return automation::CallReadOnly(collection, ids::Collection::ItemAt, {index}).ToObject();
}
inline bool ContainsItem(const ObjectRef& collection, const ObjectRef& element) {
    return automation::CallReadOnly(collection, ids::Collection::ContainsItem, {element}).ToBool();
}
inline std::int16_t IndexOfName(const ObjectRef& collection, const std::string& name) {
    return automation::CallReadOnly(collection, ids::Collection::IndexOfName, {name}).ToInt16();
}
// Items cast to their kind.
inline ObjectRef ClassAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kClass);
}
inline ObjectRef CategoryAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kCategory);
}
inline ObjectRef AttributeAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kAttribute);
}
inline ObjectRef OperationAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kOperation);
}
inline ObjectRef AssociationAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kAssociation);
}
inline ObjectRef SuperclassLinkAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kSuperclassLink);
}
inline ObjectRef ClassDiagramAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kClassDiagram);
}
inline ObjectRef ToolPropertyAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kToolProperty);
}
inline ObjectRef ParameterAt(const ObjectRef& c, std::int16_t i) {
    return automation::Cast(ItemAt(c, i), iid::kParameter);
}

}  // namespace rose
