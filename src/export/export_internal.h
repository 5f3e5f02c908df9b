// What the export routines share: the server members they call by name, and the helpers that
// fetch a definition's member by name and copy keywords from model properties.
#pragma once

#include <span>
#include <string>

#include "automation/automation.h"
#include "install/vocabulary.h"

namespace exporting {

// Server members called by export, one table per kind of server object.
namespace member {
// Server classes.
inline constexpr const char* kClassDefinition = "%Dictionary.ClassDefinition";
inline constexpr const char* kPropertyDefinition = "%Dictionary.PropertyDefinition";
inline constexpr const char* kMethodDefinition = "%Dictionary.MethodDefinition";

// The connection factory.
inline constexpr const char* kNewObject = "NewObject";
inline constexpr const char* kOpenObjectById = "OpenObjectById";
inline constexpr const char* kLoadObjectById = "LoadObjectById";

// Every stored object.
inline constexpr const char* kSysOid = "sys_OID";
inline constexpr const char* kSysDelete = "sys_Delete";
inline constexpr const char* kSysClose = "sys_Close";
inline constexpr const char* kSysSave = "sys_Save";

// Class definitions.
inline constexpr const char* kDescription = "Description";
inline constexpr const char* kAbstract = "Abstract";
inline constexpr const char* kClassType = "ClassType";
inline constexpr const char* kSuper = "super";
inline constexpr const char* kProperties = "Properties";
inline constexpr const char* kMethods = "Methods";

// Collections of member definitions (1-based) and the keyed parameter array.
inline constexpr const char* kCount = "Count";
inline constexpr const char* kGetAt = "GetAt";
inline constexpr const char* kInsert = "Insert";
inline constexpr const char* kClear = "Clear";
inline constexpr const char* kSetAt = "SetAt";

// Property and method definitions.
inline constexpr const char* kName = "name";
inline constexpr const char* kType = "Type";
inline constexpr const char* kPrivate = "Private";
inline constexpr const char* kCollection = "Collection";
inline constexpr const char* kParameters = "Parameters";
inline constexpr const char* kRequired = "Required";
inline constexpr const char* kRelationship = "Relationship";
inline constexpr const char* kInverse = "Inverse";
inline constexpr const char* kCardinality = "Cardinality";
inline constexpr const char* kReturnType = "ReturnType";
inline constexpr const char* kFormalSpec = "FormalSpec";
}  // namespace member

// Model properties that export reads outside the keyword tables.
inline constexpr const char* kXmlDefinedProperty = "XmlDefined";
inline constexpr const char* kClassXmlProperty = "TavroClassXml";
inline constexpr const char* kCollectionProperty = "Collection";
inline constexpr const char* kClassTypeProperty = "ClassType";

// A new, unsaved instance of a server class from the connection factory.
automation::ObjectRef NewServerObject(const std::string& className, const std::string& initial);
// The entry of a Properties or Methods collection whose `name` is `name` (the last one when
// several are), or none. Server errors pass to the caller.
automation::ObjectRef FindDefinitionMember(const automation::ObjectRef& collection,
                                           const std::string& name);
// Copies each keyword of `keywords` that export writes one for one from the element's model
// property of tool "Tavro" to the definition member of the same name: strings as they stand,
// Booleans converted (a text that does not convert raises "Type mismatch"). Enumerations and
// the class's ClassType have rules of their own and are left to the caller.
void WriteKeywords(const automation::ObjectRef& element, const automation::ObjectRef& definition,
                   std::span<const install::PropertyDef> keywords);

}  // namespace exporting
