#include <algorithm>
#include <cctype>
#include <string_view>

#include "automation/rpc.h"
#include "export/export.h"
#include "export/export_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"

namespace exporting {

using automation::ObjectRef;

namespace {

struct TypeMapping {
    std::string_view roseType;  // upper case
    std::string_view serverType;
};

// The model's own type names and the server datatypes they stand for.
constexpr TypeMapping kTypeMappings[] = {
    {"", ""},
    {"BOOLEAN", "%Boolean"},
    {"BYTE", "%Integer"},
    {"CURRENCY", "%Currency"},
    {"DATE", "%Date"},
    {"DOUBLE", "%Float"},
    {"INTEGER", "%Integer"},
    {"LONG", "%Integer"},
    {"SINGLE", "%Float"},
    {"STRING", "%String"},
    {"OBJECT", "%Stream"},
    {"VARIANT", "%Stream"},
};

struct CollectionMapping {
    std::string_view modelValue;
    std::string_view serverValue;
};

// An attribute's "Collection" model value and the server's collection kind; any other value
// ("Single Value" among them) is a single value, "".
constexpr CollectionMapping kCollectionMappings[] = {
    {"List", "list"},
    {"Array", "array"},
    {"Binary Stream", "binarystream"},
    {"Character Stream", "characterstream"},
};

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string CollectionOfModelValue(const std::string& modelValue) {
    for (const CollectionMapping& mapping : kCollectionMappings) {
        if (modelValue == mapping.modelValue) return std::string(mapping.serverValue);
    }
    return "";
}

// The attribute's type on the server: the server name of the model class its type refers to,
// else its type name mapped.
std::string ServerTypeOfAttribute(const ObjectRef& attribute) {
    ObjectRef typeClass = rose::GetTypeClass(attribute);
    if (!typeClass) return ServerTypeOfRoseType(rose::TypeName(attribute));
    return naming::ServerClassNameOfRosePath(rose::GetQualifiedName(typeClass));
}

// A stream type carries its kind in the collection: "Object" holds bytes, "Variant" text.
std::string StreamCollectionOf(const std::string& roseType) {
    std::string upper = UpperCase(roseType);
    if (upper == "OBJECT") return "binarystream";
    if (upper == "VARIANT") return "characterstream";
    return "";
}

// Only the parameters the attribute gives a value of its own: the property file's defaults
// are the server's defaults too.
void WriteParameters(const ObjectRef& attribute, const ObjectRef& property) {
    ObjectRef parameters = automation::GetObjectByName(property, member::kParameters);
    automation::CallByNameNoResult(parameters, member::kClear);
    ObjectRef toolProperties = rose::ToolProperties(attribute, install::kToolParameter);
    std::int16_t count = rose::Count(toolProperties);
    for (std::int16_t i = 1; i <= count; ++i) {
        std::string name = rose::ToolPropertyName(rose::ToolPropertyAt(toolProperties, i));
        if (!rose::HasOwnToolProperty(attribute, install::kToolParameter, name)) continue;
        std::string value = rose::GetToolProperty(attribute, install::kToolParameter, name);
        automation::CallByNameNoResult(parameters, member::kSetAt, {value, name});
    }
}

// The property of the attribute, filled and inserted into the definition's properties; `name`
// gets the attribute's name as soon as it is read.
void WriteProperty(const std::string& className, const ObjectRef& definition,
                   const ObjectRef& attribute, std::string& name, ObjectRef& properties,
                   ObjectRef& property) {
    properties = DefinitionMembers(definition, member::kProperties);
    name = rose::Name(attribute);

    property = FindDefinitionMember(properties, name);
    if (!property) property = NewServerObject(member::kPropertyDefinition, className + ":" + name);

    std::string type = ServerTypeOfAttribute(attribute);
    automation::PutByName(property, member::kType, type);
    automation::PutByName(property, member::kDescription, rose::DocText(attribute));
    bool isPrivate = rose::ExportValue(rose::AttributeExportControl(attribute)) != 0;
    automation::PutByName(property, member::kPrivate, isPrivate);
    std::string collection = CollectionOfModelValue(
        rose::GetToolProperty(attribute, install::kToolTavro, kCollectionProperty));
    automation::PutByName(property, member::kCollection, collection);
    if (type == "%Stream") {
        std::string streamCollection = StreamCollectionOf(rose::TypeName(attribute));
        if (!streamCollection.empty()) {
            automation::PutByName(property, member::kCollection, streamCollection);
        }
    }
    WriteKeywords(attribute, property, install::kAttributeKeywords);
    WriteParameters(attribute, property);
    automation::CallByNameNoResult(properties, member::kInsert, {property});
}

}  // namespace

std::string ServerTypeOfRoseType(const std::string& roseType) {
    if (server::ServerClassTypes.Find(roseType) != nullptr) return roseType;
    std::string upper = UpperCase(roseType);
    for (const TypeMapping& mapping : kTypeMappings) {
        if (upper == mapping.roseType) return std::string(mapping.serverType);
    }
    return roseType;
}

bool ExportProperty(const std::string& className, const ObjectRef& definition,
                    const ObjectRef& attribute) {
    std::string name;
    try {
        // The writes go without waiting; any error among them still ends up here.
        automation::rpc::Pipeline pipeline;
        ObjectRef properties, property;
        pipeline.Run(
            [&] { WriteProperty(className, definition, attribute, name, properties, property); });
        NoteInsertedMember(properties, name, property);
        NoteMember(className, {name, kPropertyKind, MemberResult::Exported, ""});
        return true;
    } catch (const std::exception& error) {
        NoteMember(className, {name, kPropertyKind, MemberResult::Failed, error.what()});
        return false;
    }
}

}  // namespace exporting
