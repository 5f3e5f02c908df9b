// Helpers shared by the import's files: the server members read by name, and the writing of
// a definition's keywords as model properties.
#pragma once

#include <span>
#include <string>

#include "automation/automation.h"
#include "install/vocabulary.h"
#include "server/members.h"

namespace importing {

// The members of class, property and method definitions that the import reads by name
// (server/members.h holds them with the factory, result set and stored-object members).
namespace members {
using namespace server::members::definition;
}  // namespace members

// The model properties of the class's XML (tool "TavroHidden").
using install::kTavroClassXml;
using install::kXmlDefined;

// Booleans are kept in the model as these texts.
inline const char* BooleanText(bool value) { return value ? "True" : "False"; }

// Text of a member of a server object; errors pass to the caller.
std::string ServerText(const automation::ObjectRef& def, const char* member);

// Announces the server reads of a class's import (see automation::AnnounceReads): the
// definition's own, and with `withMembers` those of its properties and methods too. Call it
// inside a ReadScope.
void AnnounceDefinitionReads(const automation::ObjectRef& classDef, bool withMembers);
bool ServerFlag(const automation::ObjectRef& def, const char* member);

// Copies every keyword of `keywords` from the server definition onto the model element as a
// property of the tool "Tavro", in table order: Booleans as "True"/"False", texts unchanged.
// Enumerations are left out: the callers derive them (collection kind, cardinality) on their
// own. Errors pass to the caller.
void WriteKeywords(const automation::ObjectRef& element, const automation::ObjectRef& def,
                   std::span<const install::PropertyDef> keywords);

// The type as a full server class name, unqualified names taken in `package`; "" stays "".
std::string FullTypeName(const std::string& type, const std::string& package);

// The visibility of a private or public member.
std::int16_t ExportValueOf(bool isPrivate);

}  // namespace importing
