#include "automation/rpc.h"
#include "import/import.h"
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"

namespace importing {

namespace m = members;

namespace {

// A type that is an object class becomes an association; a datatype, or a type the server
// does not list, an attribute.
bool IsObjectClass(std::int16_t kind) {
    return kind == server::kSerialClass || kind == server::kPersistentClass ||
           kind == server::kOtherClass;
}

// The model's collection kinds of a server property's `Collection`, matched exactly.
std::string AttributeCollectionOf(const std::string& collection) {
    if (collection == "list") return "List";
    if (collection == "array") return "Array";
    if (collection == "binarystream") return "Binary Stream";
    if (collection == "characterstream") return "Character Stream";
    return "Single Value";
}

// Every type parameter (MAXLEN, VALUELIST, ...) in the server array's key order.
void WriteParameters(const ObjectRef& attribute, const ObjectRef& propDef) {
    ObjectRef parameters = automation::GetByName(propDef, m::kParameters).ToObject();
    std::string key;
    for (;;) {
        key = automation::CallByNameReadOnly(parameters, m::kNext, {key}).ToString();
        if (key.empty()) return;
        std::string value = automation::CallByNameReadOnly(parameters, m::kGetAt, {key}).ToString();
        rose::SetToolProperty(attribute, install::kToolParameter, key, value);
    }
}

ObjectRef ItemOf(const ObjectRef& collection, std::int16_t i) {
    return automation::CallByNameReadOnly(collection, m::kGetAt, {i}).ToObject();
}

std::int16_t CountOf(const ObjectRef& collection) {
    return automation::GetByName(collection, m::kCount).ToInt16();
}

}  // namespace

std::int16_t ImportClassMembers(const ObjectRef& classDef) {
    if (!classDef) return Failed;
    std::string className = ServerText(classDef, m::kName);
    std::string package = naming::PackageOfClassName(className);
    ObjectRef roseClass = naming::FindRoseClass(className);

    ObjectRef properties = automation::GetByName(classDef, m::kProperties).ToObject();
    std::int16_t propertyCount = CountOf(properties);
    for (std::int16_t i = 1; i <= propertyCount; ++i) {
        ObjectRef prop = ItemOf(properties, i);
        std::string typeName = naming::QualifyInPackage(ServerText(prop, m::kType), package);
        std::int16_t kind = GetClassType(typeName);
        ImportResult r = IsObjectClass(kind) ? ImportAssociation(prop, typeName, roseClass)
                                             : ImportAttribute(prop, roseClass, classDef);
        if (r != Done) return r;
    }

    ObjectRef methods = automation::GetByName(classDef, m::kMethods).ToObject();
    std::int16_t methodCount = CountOf(methods);
    for (std::int16_t i = 1; i <= methodCount; ++i) {
        ImportResult r = ImportOperation(ItemOf(methods, i), roseClass, classDef);
        if (r != Done) return r;
    }
    return 0;
}

std::int16_t GetClassType(std::string& typeName) {
    typeName = naming::QualifyClassName(typeName);
    const server::ClassDesc* desc = server::ServerClassTypes.Find(typeName);
    if (!desc) return server::kDatatypeClass;
    return desc->ClassType;
}

ImportResult ImportAttribute(const ObjectRef& propDef, const ObjectRef& roseClass,
                             const ObjectRef& classDef) {
    // The model writes go without waiting; an error among them still surfaces here.
    automation::rpc::Pipeline pipeline;
    return pipeline.Run([&] {
        // The model's attribute type is the server class name itself; no other mapping.
        std::string attrType =
            FullTypeName(ServerText(propDef, m::kType),
                         naming::PackageOfClassName(ServerText(classDef, m::kName)));
        ObjectRef attr =
            rose::CreateAttribute(roseClass, ServerText(propDef, m::kName), attrType, "");
        rose::SetDocText(attr, ServerText(propDef, m::kDescription));
        rose::SetExportValue(rose::AttributeExportControl(attr),
                             ExportValueOf(ServerFlag(propDef, m::kPrivate)));
        rose::SetToolProperty(attr, install::kToolTavro, m::kCollection,
                              AttributeCollectionOf(ServerText(propDef, m::kCollection)));
        WriteKeywords(attr, propDef, install::kAttributeKeywords);
        WriteParameters(attr, propDef);
        return Done;
    });
}

}  // namespace importing
