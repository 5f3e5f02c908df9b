// Helpers shared by the dry run and the report: the members of a class as each side holds
// them, read through the same automation objects the drivers use.
#pragma once

#include <string>
#include <vector>

#include "automation/automation.h"
#include "cli/cli.h"

namespace cli {

// Attributes as properties, named association roles as relationships, operations as
// methods; types in the server's form. Modelling-tool errors pass to the caller.
std::vector<Member> ModelMembers(const automation::ObjectRef& roseClass);
// Properties (relationships when flagged so) and methods of a server class definition.
// Server errors pass to the caller.
std::vector<Member> ServerMembers(const automation::ObjectRef& classDef);
// Null when no member of that name is in `members` (names compare with letter case ignored,
// as the server compares member names).
const Member* FindMember(const std::vector<Member>& members, const std::string& name);
// True when both sides name the same type once both are fully qualified, a name without a
// package being taken as one of `package` (the package of the class that has the member).
bool SameType(const std::string& a, const std::string& b, const std::string& package);
// Closes a definition opened for reading; errors are of no interest then.
void CloseDefinition(const automation::ObjectRef& classDef);

}  // namespace cli
