#include "automation/rpc.h"
#include "import/import.h"
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"

namespace importing {

namespace m = members;

namespace {

// An association with its two ends as seen from the class being imported: `far` at the
// property's type, `near` at the class itself.
struct Ends {
    ObjectRef association;
    ObjectRef far;
    ObjectRef near;
};

// The association that the other side of the relationship already made, if any. Of a class
// associated with itself both ends sit at the class, so the end named by the inverse tells
// which end is this property's.
Ends FindRelationship(const ObjectRef& roseClass, const std::string& propName,
                      const std::string& inverse) {
    ObjectRef associations = rose::Associations(roseClass);
    std::int16_t n = rose::Count(associations);
    for (std::int16_t i = 1; i <= n; ++i) {
        ObjectRef a = rose::AssociationAt(associations, i);
        ObjectRef far = rose::OtherRoleOf(a, roseClass);
        ObjectRef near = rose::RoleOf(a, roseClass);
        if (rose::IsSelfAssociation(far, near)) {
            if (rose::Name(near) == inverse) return {a, far, near};
            if (rose::Name(far) == inverse) return {a, near, far};
            continue;
        }
        if (rose::Name(far) == propName) return {a, far, near};
    }
    return {};
}

bool IsMany(const std::string& cardinality) {
    return cardinality == "children" || cardinality == "many";
}

// The far end's multiplicity and marks of a relationship, by its cardinality; an unknown
// cardinality writes none.
void MarkRelationship(const Ends& ends, const std::string& cardinality, bool required) {
    if (IsMany(cardinality)) {
        if (cardinality == "many") rose::SetKind(ends.association, "");
        rose::SetMultiplicity(ends.far, required ? "1..n" : "0..n");
        return;
    }
    if (cardinality == "parent") {
        rose::SetIsAggregate(ends.far, true);
        rose::SetMultiplicity(ends.far, "1");
        return;
    }
    if (cardinality == "one") {
        rose::SetKind(ends.association, "");
        rose::SetMultiplicity(ends.far, required ? "1" : "0..1");
    }
}

// The far end's multiplicity of an object-valued property, by its collection kind, which the
// association also keeps as a model property.
void MarkReference(const Ends& ends, const std::string& collection, bool required) {
    std::string kind = "Single Value";
    if (collection == "array") kind = "Array";
    if (collection == "list") kind = "List";
    rose::SetToolProperty(ends.association, install::kToolTavro, m::kCollection, kind);
    if (kind == "Single Value") {
        rose::SetMultiplicity(ends.far, required ? "1" : "0..1");
        return;
    }
    rose::SetMultiplicity(ends.far, required ? "1..n" : "0..n");
}

// The model reads of an association's import, the category's lookup and the search for the
// relationship, walked ahead: over our sockets they go out together, a few rounds deep,
// instead of one round trip each. They change nothing, and the walk stops where the import
// would write (a category that is not there yet).
void AnnounceModelReads(const ObjectRef& propDef, const std::string& typeName,
                        const ObjectRef& roseClass) {
    if (!automation::ReadsAhead(roseClass)) return;
    automation::AnnounceReads([&] {
        automation::WalkBranch([&] {
            rose::QualifiedName(naming::FindOrCreateCategory(naming::QualifyClassName(typeName)));
        });
        automation::WalkBranch([&] {
            if (!ServerFlag(propDef, m::kRelationship)) return;
            FindRelationship(roseClass, ServerText(propDef, m::kName),
                             ServerText(propDef, m::kInverse));
        });
    });
}

}  // namespace

ImportResult ImportAssociation(const ObjectRef& propDef, const std::string& typeName,
                               const ObjectRef& roseClass) {
    // The model writes go without waiting; an error among them still surfaces here.
    automation::rpc::Pipeline pipeline;
    return pipeline.Run([&] {
        AnnounceModelReads(propDef, typeName, roseClass);
        // Traps errors of its own, so nothing may be waiting for an answer here: this is the
        // first call of the routine.
        ObjectRef category = naming::FindOrCreateCategory(naming::QualifyClassName(typeName));
        std::string targetPath = rose::QualifiedName(category) +
                                 "::" + naming::ShortClassName(ServerText(propDef, m::kType));
        std::string propName = ServerText(propDef, m::kName);
        std::string inverse = ServerText(propDef, m::kInverse);
        bool relationship = ServerFlag(propDef, m::kRelationship);

        Ends ends;
        if (relationship) ends = FindRelationship(roseClass, propName, inverse);
        if (!ends.association) {
            ends.association = rose::CreateAssociation(roseClass, "", targetPath);
            ends.far = rose::OtherRoleOfNew(ends.association, roseClass);
            ends.near = rose::RoleOfNew(ends.association, roseClass);
            rose::SetIsNavigable(ends.near, false);
        }
        rose::SetName(ends.far, propName);
        rose::SetIsNavigable(ends.far, true);
        rose::SetName(ends.near, inverse);
        rose::SetDocText(ends.association, ServerText(propDef, m::kDescription));
        rose::SetExportValue(rose::RoleExportControl(ends.far),
                             ExportValueOf(ServerFlag(propDef, m::kPrivate)));
        bool required = ServerFlag(propDef, m::kRequired);
        if (relationship) {
            MarkRelationship(ends, ServerText(propDef, m::kCardinality), required);
        } else {
            MarkReference(ends, ServerText(propDef, m::kCollection), required);
        }
        WriteKeywords(ends.association, propDef, install::kAssociationKeywords);
        return Done;
    });
}

}  // namespace importing
