// The member names of the server's automation objects, one table per kind of object, as the
// add-in calls them. Names are compared without regard to letter case, as the server does.
// The keywords of class, property and method definitions are in xml/dictionary.h.
#pragma once

#include <string_view>

namespace tavro::members {

// Server class names the factory operations accept.
inline constexpr std::string_view kClassDefinition = "%Dictionary.ClassDefinition";
inline constexpr std::string_view kPropertyDefinition = "%Dictionary.PropertyDefinition";
inline constexpr std::string_view kMethodDefinition = "%Dictionary.MethodDefinition";
inline constexpr std::string_view kUtility = "%Dictionary.CorvansilUtility";
inline constexpr std::string_view kSummaryQuery = "Summary";

// The login object given to a network client.
inline constexpr std::string_view kLogin = "Login";

// The session: the factory operations.
inline constexpr std::string_view kNewObject = "NewObject";
inline constexpr std::string_view kOpenObjectById = "OpenObjectById";
inline constexpr std::string_view kLoadObjectById = "LoadObjectById";
inline constexpr std::string_view kClassHandle = "ClassHandle";
inline constexpr std::string_view kOpenQuery = "OpenQuery";
inline constexpr std::string_view kNamespace = "Namespace";
inline constexpr std::string_view kUserName = "UserName";
// A trial session: writes checked and performed, then rolled back (tavro::BeginTrial).
inline constexpr std::string_view kBeginTrial = "BeginTrial";
inline constexpr std::string_view kEndTrial = "EndTrial";

// Every stored object.
inline constexpr std::string_view kSysOid = "sys_OID";
inline constexpr std::string_view kSysSave = "sys_Save";
inline constexpr std::string_view kSysDelete = "sys_Delete";
inline constexpr std::string_view kSysClose = "sys_Close";

// Definitions.
inline constexpr std::string_view kName = "name";
inline constexpr std::string_view kParent = "parent";
inline constexpr std::string_view kProperties = "Properties";
inline constexpr std::string_view kMethods = "Methods";
inline constexpr std::string_view kParameters = "Parameters";

// Collections of definitions (1-based positions).
inline constexpr std::string_view kCount = "Count";
inline constexpr std::string_view kGetAt = "GetAt";
inline constexpr std::string_view kInsert = "Insert";
inline constexpr std::string_view kRemoveAt = "RemoveAt";
inline constexpr std::string_view kClear = "Clear";

// Arrays keyed by text (type parameters), walked in key order.
inline constexpr std::string_view kSetAt = "SetAt";
inline constexpr std::string_view kNext = "Next";
inline constexpr std::string_view kIsDefined = "IsDefined";

// Result sets.
inline constexpr std::string_view kExecute = "Execute";
inline constexpr std::string_view kClose = "Close";
inline constexpr std::string_view kColumnCount = "ColumnCount";
inline constexpr std::string_view kColumnName = "ColumnName";
inline constexpr std::string_view kColumnValue = "ColumnValue";

// Character streams.
inline constexpr std::string_view kData = "Data";
inline constexpr std::string_view kWrite = "Write";
inline constexpr std::string_view kWriteLine = "WriteLine";
inline constexpr std::string_view kSize = "Size";

// The utility class.
inline constexpr std::string_view kXmlStream = "XmlStream";
inline constexpr std::string_view kMemberListStream = "MemberListStream";
inline constexpr std::string_view kNewClassName = "NewClassName";
inline constexpr std::string_view kLoadToXmlStream = "LoadToXmlStream";
inline constexpr std::string_view kSaveFromXmlStream = "SaveFromXmlStream";
inline constexpr std::string_view kSupportFeature = "SupportFeature";
inline constexpr std::string_view kHasSecurityPermission = "HasSecurityPermission";
inline constexpr std::string_view kFeatureSecurity = "Security";

// Columns of the query "Summary", in their order.
inline constexpr std::string_view kSummaryColumns[] = {
    "Name",  "Super",      "Hidden", "Datatype",    "System",
    "Final", "Persistent", "Serial", "TimeChanged", "SqlTableName",
};

}  // namespace tavro::members
