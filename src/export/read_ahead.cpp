// The model reads of one class's export, walked before the export so that they travel
// together (see automation::AnnounceReads). The walk reads what the export routines read, with
// the same operations and arguments, and nothing else: a read it misses only costs the export
// a round trip, and a read it adds costs the modelling tool a call the export never needed.
#include "export/export_internal.h"
#include "model/rose.h"

namespace exporting {

using automation::ObjectRef;

namespace {

// A branch of the walk: whatever it raises (not read yet, or the read's own error, which the
// export raises again when it makes the read) ends that branch only.
template <class Fn>
void Branch(Fn&& fn) {
    try {
        fn();
    } catch (...) {
    }
}

void WalkKeywords(const ObjectRef& element, std::span<const install::PropertyDef> keywords) {
    for (const install::PropertyDef& keyword : keywords) {
        Branch([&] { rose::GetToolProperty(element, install::kToolTavro, keyword.name); });
    }
}

void WalkParameters(const ObjectRef& attribute) {
    ObjectRef toolProperties = rose::ToolProperties(attribute, install::kToolParameter);
    std::int16_t count = rose::Count(toolProperties);
    for (std::int16_t i = 1; i <= count; ++i) {
        Branch([&] {
            std::string name = rose::ToolPropertyName(rose::ToolPropertyAt(toolProperties, i));
            Branch([&] { rose::HasOwnToolProperty(attribute, install::kToolParameter, name); });
            rose::GetToolProperty(attribute, install::kToolParameter, name);
        });
    }
}

void WalkAttribute(const ObjectRef& attribute) {
    Branch([&] { rose::Name(attribute); });
    Branch([&] {
        ObjectRef typeClass = rose::GetTypeClass(attribute);
        if (typeClass) rose::GetQualifiedName(typeClass);
    });
    Branch([&] { rose::TypeName(attribute); });
    Branch([&] { rose::DocText(attribute); });
    Branch([&] { rose::ExportValue(rose::AttributeExportControl(attribute)); });
    WalkKeywords(attribute, install::kAttributeKeywords);
    Branch([&] { WalkParameters(attribute); });
}

void WalkOperation(const ObjectRef& operation) {
    Branch([&] { rose::Name(operation); });
    Branch([&] { rose::ReturnTypeName(operation); });
    Branch([&] { rose::DocText(operation); });
    Branch([&] { rose::ExportValue(rose::OperationExportControl(operation)); });
    Branch([&] {
        ObjectRef parameters = rose::ParameterList(operation);
        std::int16_t count = rose::Count(parameters);
        for (std::int16_t i = 1; i <= count; ++i) {
            Branch([&] {
                ObjectRef parameter = rose::ParameterAt(parameters, i);
                Branch([&] { rose::Name(rose::AsElement(parameter)); });
                Branch([&] { rose::TypeName(parameter); });
                rose::DefaultValue(parameter);
            });
        }
    });
    WalkKeywords(operation, install::kOperationKeywords);
}

void WalkRole(const ObjectRef& role) {
    Branch([&] { rose::Name(role); });
    Branch([&] { rose::RoleClassName(role); });
    Branch([&] {
        ObjectRef roleClass = rose::RoleClass(role);
        if (roleClass) rose::QualifiedName(roleClass);
    });
    Branch([&] { rose::ExportValue(rose::RoleExportControl(role)); });
    Branch([&] { rose::Multiplicity(role); });
    Branch([&] { rose::IsAggregate(role); });
}

void WalkAssociation(const ObjectRef& association, const ObjectRef& roseClass) {
    Branch([&] { WalkRole(rose::RoleOf(association, roseClass)); });
    Branch([&] { WalkRole(rose::OtherRoleOf(association, roseClass)); });
    Branch([&] { rose::DocText(association); });
    Branch([&] { rose::Kind(association); });
    WalkKeywords(association, install::kAssociationKeywords);
}

// Each member collection: its count, its items, and each item's own reads.
template <class ItemFn, class WalkFn>
void WalkItems(const ObjectRef& collection, ItemFn itemAt, WalkFn walk) {
    std::int16_t count = rose::Count(collection);
    for (std::int16_t i = 1; i <= count; ++i) Branch([&] { walk(itemAt(collection, i)); });
}

void WalkClass(const ObjectRef& roseClass) {
    Branch([&] { rose::QualifiedName(roseClass); });
    Branch(
        [&] { rose::GetToolProperty(roseClass, install::kToolTavroHidden, kXmlDefinedProperty); });
    Branch([&] { rose::DocText(roseClass); });
    Branch([&] { rose::IsAbstract(roseClass); });
    Branch([&] { rose::IsPersistent(roseClass); });
    WalkKeywords(roseClass, install::kClassKeywords);
    Branch([&] {
        WalkItems(rose::SuperclassLinks(roseClass), rose::SuperclassLinkAt,
                  [](const ObjectRef& link) {
                      Branch([&] { rose::SuperclassNameText(link); });
                      ObjectRef superClass = rose::SuperclassOf(link);
                      if (superClass) rose::QualifiedName(superClass);
                  });
    });
    Branch([&] { WalkItems(rose::Attributes(roseClass), rose::AttributeAt, WalkAttribute); });
    Branch([&] { WalkItems(rose::Operations(roseClass), rose::OperationAt, WalkOperation); });
    Branch([&] {
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
