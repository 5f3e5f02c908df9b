#include <cstdint>
#include <string_view>

#include "automation/rpc.h"
#include "export/export.h"
#include "export/export_internal.h"
#include "model/rose.h"
#include "naming/naming.h"

namespace exporting {

using automation::ObjectRef;

namespace {

// What a role's multiplicity makes of the property. A text the model does not use for
// multiplicities counts as "0..n" for the collection and gets no cardinality.
struct MultiplicityRule {
    std::string_view multiplicity;
    bool invalid;                  // "0" and "0..0": no property at all
    bool manyValued;               // the collection kind comes from the association
    std::int16_t required;         // written first as an integer
    const char* cardinality;       // with no owner; nullptr: none written
    const char* ownedCardinality;  // with an owner
};

constexpr MultiplicityRule kMultiplicityRules[] = {
    {"0", true, false, 0, nullptr, nullptr},      {"0..0", true, false, 0, nullptr, nullptr},
    {"", false, false, 0, nullptr, nullptr},      {"0..1", false, false, 0, "one", "parent"},
    {"1", false, false, 1, "one", "parent"},      {"n", false, true, 0, "many", "children"},
    {"0..n", false, true, 0, "many", "children"}, {"1..n", false, true, 1, "many", "children"},
};
constexpr MultiplicityRule kOtherMultiplicity = {"", false, true, 0, nullptr, nullptr};

const MultiplicityRule& RuleOf(const std::string& multiplicity) {
    for (const MultiplicityRule& rule : kMultiplicityRules) {
        if (multiplicity == rule.multiplicity) return rule;
    }
    return kOtherMultiplicity;
}

// Only the association's "Array" and "List" name a collection kind; any other value leaves
// the property's collection as it was.
const char* AssociationCollectionOf(const std::string& modelValue) {
    if (modelValue == "Array") return "array";
    if (modelValue == "List") return "list";
    return nullptr;
}

std::string ServerTypeOfRole(const ObjectRef& role) {
    ObjectRef roleClass = rose::RoleClass(role);
    if (!roleClass) return naming::ServerClassNameOfRosePath(rose::RoleClassName(role));
    return naming::ServerClassNameOfRosePath(rose::QualifiedName(roleClass));
}

// The owning side of a relationship: a "dependent" association (that exact spelling) or an
// aggregate at either end. Every part is read, so that an error in any of them fails the role.
bool HasOwner(const ObjectRef& association, const ObjectRef& role, const ObjectRef& oppositeRole) {
    bool dependent = rose::Kind(association) == "dependent";
    bool oppositeAggregate = rose::IsAggregate(oppositeRole);
    bool roleAggregate = rose::IsAggregate(role);
    return dependent || oppositeAggregate || roleAggregate;
}

}  // namespace

bool ExportRelationship(const std::string& className, const ObjectRef& definition,
                        const ObjectRef& association, const ObjectRef& role,
                        const ObjectRef& oppositeRole) {
    std::string name;
    std::string multiplicity;
    try {
        // The writes go without waiting; any error among them still ends up here.
        automation::rpc::Pipeline pipeline;
        ObjectRef properties, property;
        bool written = pipeline.Run([&] {
            properties = DefinitionMembers(definition, member::kProperties);
            name = rose::Name(role);
            property = FindDefinitionMember(properties, name);
            if (!property)
                property = NewServerObject(member::kPropertyDefinition, className + ":" + name);

            automation::PutByName(property, member::kType, ServerTypeOfRole(role));
            automation::PutByName(property, member::kDescription, rose::DocText(association));
            bool isPrivate = rose::ExportValue(rose::RoleExportControl(role)) != 0;
            automation::PutByName(property, member::kPrivate, isPrivate);

            multiplicity = rose::Multiplicity(role);
            const MultiplicityRule& rule = RuleOf(multiplicity);
            if (rule.invalid) return false;
            const char* collection = "";
            if (rule.manyValued) {
                collection = AssociationCollectionOf(
                    rose::GetToolProperty(association, install::kToolTavro, kCollectionProperty));
            }
            if (collection != nullptr)
                automation::PutByName(property, member::kCollection, collection);
            automation::PutByName(property, member::kRequired, rule.required);

            std::string inverse = rose::Name(oppositeRole);
            if (!inverse.empty()) {
                automation::PutByName(property, member::kRelationship, true);
                automation::PutByName(property, member::kInverse, inverse);
                bool owner = HasOwner(association, role, oppositeRole);
                const char* cardinality = owner ? rule.ownedCardinality : rule.cardinality;
                if (cardinality != nullptr) {
                    automation::PutByName(property, member::kCardinality, cardinality);
                    automation::PutByName(property, member::kRequired, rule.required != 0);
                }
            }
            WriteKeywords(association, property, install::kAssociationKeywords);
            automation::CallByNameNoResult(properties, member::kInsert, {property});
            return true;
        });
        if (!written) {
            NoteMember(className, {name, kRelationshipKind, MemberResult::Skipped,
                                   "the multiplicity \"" + multiplicity + "\" holds no value"});
            return false;
        }
        NoteInsertedMember(properties, name, property);
        NoteMember(className, {name, kRelationshipKind, MemberResult::Exported, ""});
        return true;
    } catch (const std::exception& error) {
        NoteMember(className, {name, kRelationshipKind, MemberResult::Failed, error.what()});
        return false;
    }
}

}  // namespace exporting
