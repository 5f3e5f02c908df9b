// The server members the add-in calls, one table per kind of server object. The add-in calls
// them by name; the names are the server's own.
#pragma once

#include <string_view>

namespace server::members {

// The client factory ("TavroActiveX.Factory").
namespace factory {
inline constexpr const char* kProgId = "TavroActiveX.Factory";
inline constexpr std::string_view kPromptConnection = "PromptConnection";
inline constexpr std::string_view kOpenConnection = "OpenConnection";
inline constexpr std::string_view kConnectionIsOpen = "ConnectionIsOpen";
inline constexpr std::string_view kCloseConnection = "CloseConnection";
inline constexpr std::string_view kNewObject = "NewObject";
inline constexpr std::string_view kOpenObjectById = "OpenObjectById";
inline constexpr std::string_view kLoadObjectById = "LoadObjectById";
inline constexpr std::string_view kClassHandle = "ClassHandle";
inline constexpr std::string_view kOpenQuery = "OpenQuery";
// A trial session: every write checked and performed as in a real one, all rolled back at the
// end (what a dry run exports against).
inline constexpr std::string_view kBeginTrial = "BeginTrial";
inline constexpr std::string_view kEndTrial = "EndTrial";
// What the connection dialog is always asked with.
inline constexpr const char* kPromptOptions = "+%up";
}  // namespace factory

// The server classes and the query the add-in names.
namespace classes {
inline constexpr const char* kClassDefinition = "%Dictionary.ClassDefinition";
inline constexpr const char* kPropertyDefinition = "%Dictionary.PropertyDefinition";
inline constexpr const char* kMethodDefinition = "%Dictionary.MethodDefinition";
inline constexpr const char* kUtility = "%Dictionary.CorvansilUtility";
inline constexpr const char* kSummaryQuery = "Summary";
}  // namespace classes

// The result set that OpenQuery gives.
namespace resultset {
inline constexpr std::string_view kExecute = "Execute";
inline constexpr std::string_view kNext = "Next";
inline constexpr std::string_view kClose = "Close";
inline constexpr std::string_view kColumnCount = "ColumnCount";
inline constexpr std::string_view kColumnName = "ColumnName";
inline constexpr std::string_view kColumnValue = "ColumnValue";
}  // namespace resultset

// Columns of the query "Summary" that the add-in reads, found by name.
namespace summary {
inline constexpr const char* kName = "Name";
inline constexpr const char* kSystem = "System";
inline constexpr const char* kPersistent = "Persistent";
inline constexpr const char* kSuper = "Super";
inline constexpr const char* kHidden = "Hidden";
inline constexpr const char* kDatatype = "Datatype";
inline constexpr const char* kSerial = "Serial";
}  // namespace summary

// Every stored object.
namespace stored {
inline constexpr std::string_view kSysOid = "sys_OID";
inline constexpr std::string_view kSysSave = "sys_Save";
inline constexpr std::string_view kSysDelete = "sys_Delete";
inline constexpr std::string_view kSysClose = "sys_Close";
}  // namespace stored

// Class, property and method definitions. Export writes these members and import reads them;
// the keywords beside them are the model property names of install/vocabulary.h.
namespace definition {
inline constexpr const char* kName = "name";
inline constexpr const char* kDescription = "Description";
inline constexpr const char* kPrivate = "Private";
// Class definitions.
inline constexpr const char* kClassType = "ClassType";
inline constexpr const char* kAbstract = "Abstract";
inline constexpr const char* kSuper = "super";
inline constexpr const char* kProperties = "Properties";
inline constexpr const char* kMethods = "Methods";
// Property definitions.
inline constexpr const char* kType = "Type";
inline constexpr const char* kCollection = "Collection";
inline constexpr const char* kParameters = "Parameters";
inline constexpr const char* kRequired = "Required";
inline constexpr const char* kRelationship = "Relationship";
inline constexpr const char* kInverse = "Inverse";
inline constexpr const char* kCardinality = "Cardinality";
// Method definitions.
inline constexpr const char* kReturnType = "ReturnType";
inline constexpr const char* kFormalSpec = "FormalSpec";
// The Properties and Methods collections (1-based) and the Parameters array keyed by text.
inline constexpr const char* kCount = "Count";
inline constexpr const char* kGetAt = "GetAt";
inline constexpr const char* kInsert = "Insert";
inline constexpr const char* kClear = "Clear";
inline constexpr const char* kSetAt = "SetAt";
inline constexpr const char* kNext = "Next";
}  // namespace definition

// The utility class: its class methods, and an instance's XML transfer.
namespace utility {
inline constexpr std::string_view kSupportFeature = "SupportFeature";
inline constexpr std::string_view kHasSecurityPermission = "HasSecurityPermission";
inline constexpr const char* kFeatureSecurity = "Security";
inline constexpr std::string_view kXmlStream = "XmlStream";
inline constexpr std::string_view kLoadToXmlStream = "LoadToXmlStream";
inline constexpr std::string_view kNewClassName = "NewClassName";
inline constexpr std::string_view kMemberListStream = "MemberListStream";
inline constexpr std::string_view kSaveFromXmlStream = "SaveFromXmlStream";
}  // namespace utility

// The utility's character streams.
namespace stream {
inline constexpr std::string_view kData = "Data";
inline constexpr std::string_view kClear = "Clear";
inline constexpr std::string_view kWrite = "Write";
}  // namespace stream

}  // namespace server::members
