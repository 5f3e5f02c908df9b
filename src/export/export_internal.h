// What the export routines share: the server members they call by name, and the helpers that
// fetch a definition's member by name and copy keywords from model properties.
#pragma once

#include <span>
#include <string>

#include "automation/automation.h"
#include "export/export.h"
#include "install/vocabulary.h"
#include "server/members.h"

namespace exporting {

// The server members export calls (server/members.h holds them, one table per kind).
namespace member {
using namespace server::members::definition;
using namespace server::members::stored;
using server::members::classes::kClassDefinition;
using server::members::classes::kMethodDefinition;
using server::members::classes::kPropertyDefinition;
using server::members::factory::kLoadObjectById;
using server::members::factory::kNewObject;
using server::members::factory::kOpenObjectById;
}  // namespace member

// Model properties that export reads outside the keyword tables.
inline constexpr const char* kXmlDefinedProperty = install::kXmlDefined;
inline constexpr const char* kClassXmlProperty = install::kTavroClassXml;
inline constexpr const char* kCollectionProperty = "Collection";
inline constexpr const char* kClassTypeProperty = "ClassType";

// A new, unsaved instance of a server class from the connection factory.
automation::ObjectRef NewServerObject(const std::string& className, const std::string& initial);
// The entry of a Properties or Methods collection whose `name` is `name` (the last one when
// several are), or none. The collection is walked once; what the export inserts into it
// afterwards it notes with NoteInsertedMember, until ForgetDefinitionMembers. Server errors
// pass to the caller.
automation::ObjectRef FindDefinitionMember(const automation::ObjectRef& collection,
                                           const std::string& name);
void NoteInsertedMember(const automation::ObjectRef& collection, const std::string& name,
                        const automation::ObjectRef& entry);
// The definition's Properties or Methods collection, asked for once per definition until
// ForgetDefinitionMembers. Server errors pass to the caller.
automation::ObjectRef DefinitionMembers(const automation::ObjectRef& definition, const char* name);
void ForgetDefinitionMembers();
// Announces the model reads of a class's export (see automation::AnnounceReads); call it
// inside a ReadScope.
void AnnounceClassReads(const automation::ObjectRef& roseClass);

// Copies each keyword of `keywords` that export writes one for one from the element's model
// property of tool "Tavro" to the definition member of the same name: strings as they stand,
// Booleans converted (a text that does not convert raises "Type mismatch"). Enumerations and
// the class's ClassType have rules of their own and are left to the caller.
void WriteKeywords(const automation::ObjectRef& element, const automation::ObjectRef& definition,
                   std::span<const install::PropertyDef> keywords);

// The bookkeeping behind MemberOutcomesOf: each member routine notes its member, a class's
// notes are dropped as its export starts, and all of them as a run starts.
void NoteMember(const std::string& className, MemberOutcome outcome);
void ForgetMembersOf(const std::string& className);
void ForgetMemberOutcomes();

// The bookkeeping behind ClassesDeletedNotSaved: a class is noted just before its old
// definition is deleted and forgotten once the new one is saved.
void NoteDeleted(const std::string& className);
void NoteSaved(const std::string& className);
void ForgetDeletedClasses();
// After a class failed: "" when it is not noted, or the server still holds it (the delete did
// not go through); otherwise the text that names the class's restore command, for its row.
std::string ConfirmDeletedText(const std::string& className);

}  // namespace exporting
