// The model reads of one class's export, walked before the export so that they travel
// together (see automation::AnnounceReads). The walk reads what the export routines read, with
// the same operations and arguments, and nothing else: a read it misses only costs the export
// a round trip, and a read it adds costs the modelling tool a call the export never needed.
#include "export/export_internal.h"
#include "model/rose.h"

namespace exporting {

using automation::ObjectRef;
using automation::WalkBranch;

namespace {

void WalkKeywords(const ObjectRef& element, std::span<const install::PropertyDef> keywords) {
    for (const install::PropertyDef& keyword : keywords) {
        WalkBranch([&] { rose::GetToolProperty(element, install::kToolTavro, keyword.name); });
    }
}

void WalkParameters(const ObjectRef& attribute) {
    ObjectRef toolProperties = rose::ToolProperties(attribute, install::kToolParameter);
    std::int16_t count = rose::Count(toolProperties);
    for (std::int16_t i = 1; i <= count; ++i) {
        WalkBranch([&] {
            std::string name = rose::ToolPropertyName(rose::ToolPropertyAt(toolProperties, i));
            WalkBranch([&] { rose::HasOwnToolProperty(attribute, install::kToolParameter, name); });
            rose::GetToolProperty(attribute, install::kToolParameter, name);
        });
    }
}

void WalkAttribute(const ObjectRef& attribute) {
    WalkBranch([&] { rose::Name(attribute); });
    WalkBranch([&] {
        ObjectRef typeClass = rose::GetTypeClass(attribute);
        if (typeClass) rose::GetQualifiedName(typeClass);
    });
    WalkBranch([&] { rose::TypeName(attribute); });
    WalkBranch([&] { rose::DocText(attribute); });
    WalkBranch([&] { rose::ExportValue(rose::AttributeExportControl(attribute)); });
    WalkKeywords(attribute, install::kAttributeKeywords);
    WalkBranch([&] { WalkParameters(attribute); });
}

void WalkOperation(const ObjectRef& operation) {
    WalkBranch([&] { rose::Name(operation); });
    WalkBranch([&] { rose::ReturnTypeName(operation); });
    WalkBranch([&] { rose::DocText(operation); });
    WalkBranch([&] { rose::ExportValue(rose::OperationExportControl(operation)); });
    WalkBranch([&] {
        ObjectRef parameters = rose::ParameterList(operation);
        std::int16_t count = rose::Count(parameters);
        for (std::int16_t i = 1; i <= count; ++i) {
            WalkBranch([&] {
                ObjectRef parameter = rose::ParameterAt(parameters, i);
                WalkBranch([&] { rose::Name(rose::AsElement(parameter)); });
                WalkBranch([&] { rose::TypeName(parameter); });
                rose::DefaultValue(parameter);
            });
        }
    });
    WalkKeywords(operation, install::kOperationKeywords);
}

void WalkRole(const ObjectRef& role) {
    WalkBranch([&] { rose::Name(role); });
    WalkBranch([&] { rose::RoleClassName(role); });
    WalkBranch([&] {
        ObjectRef roleClass = rose::RoleClass(role);
        if (roleClass) rose::QualifiedName(roleClass);
    });
    WalkBranch([&] { rose::ExportValue(rose::RoleExportControl(role)); });
    WalkBranch([&] { rose::Multiplicity(role); });
    WalkBranch([&] { rose::IsAggregate(role); });
}

void WalkAssociation(const ObjectRef& association, const ObjectRef& roseClass) {
    WalkBranch([&] { WalkRole(rose::RoleOf(association, roseClass)); });
    WalkBranch([&] { WalkRole(rose::OtherRoleOf(association, roseClass)); });
    WalkBranch([&] { rose::DocText(association); });
    WalkBranch([&] { rose::Kind(association); });
    WalkKeywords(association, install::kAssociationKeywords);
}

// Each member collection: its count, its items, and each item's own reads.
template <class ItemFn, class WalkFn>
void WalkItems(const ObjectRef& collection, ItemFn itemAt, WalkFn walk) {
    std::int16_t count = rose::Count(collection);
    for (std::int16_t i = 1; i <= count; ++i) WalkBranch([&] { walk(itemAt(collection, i)); });
}

void WalkClass(const ObjectRef& roseClass) {
    WalkBranch([&] { rose::QualifiedName(roseClass); });
    WalkBranch(
        [&] { rose::GetToolProperty(roseClass, install::kToolTavroHidden, kXmlDefinedProperty); });
    WalkBranch([&] { rose::DocText(roseClass); });
    WalkBranch([&] { rose::IsAbstract(roseClass); });
    WalkBranch([&] { rose::IsPersistent(roseClass); });
    WalkKeywords(roseClass, install::kClassKeywords);
    WalkBranch([&] {
        WalkItems(rose::SuperclassLinks(roseClass), rose::SuperclassLinkAt,
                  [](const ObjectRef& link) {
                      WalkBranch([&] { rose::SuperclassNameText(link); });
                      ObjectRef superClass = rose::SuperclassOf(link);
                      if (superClass) rose::QualifiedName(superClass);
                  });
    });
    WalkBranch([&] { WalkItems(rose::Attributes(roseClass), rose::AttributeAt, WalkAttribute); });
    WalkBranch([&] { WalkItems(rose::Operations(roseClass), rose::OperationAt, WalkOperation); });
    WalkBranch([&] {
        WalkItems(rose::Associations(roseClass), rose::AssociationAt,
                  [&](const ObjectRef& association) { WalkAssociation(association, roseClass); });
    });
}

}  // namespace

void AnnounceClassReads(const ObjectRef& roseClass) {
    if (!automation::ReadsAhead(roseClass)) return;
    automation::AnnounceReads([&] { WalkClass(roseClass); });
}

}  // namespace exporting
