// Export to the server: a model class, its attributes, operations and association roles become
// a server class definition. The driver exports every class of the transfer window's selected
// list and reports each one in the window's event log.
#pragma once

#include <cstdint>
#include <string>

#include "automation/automation.h"

// `export` is a keyword, hence the longer name.
namespace exporting {

// The outcome of one class.
using ExportResult = std::int16_t;
inline constexpr ExportResult kClassCreated = 1;
inline constexpr ExportResult kClassSkipped = 2;
inline constexpr ExportResult kClassFailed = 3;
inline constexpr ExportResult kClassReplaced = 4;

// Writes the model class to the server: created, replaced (deleted first, when the override
// check box is set) or skipped (when it is clear). `message` is set to the invalid-member
// count texts and, on failure, the error's description. Every error is trapped.
ExportResult ExportClass(const automation::ObjectRef& roseClass, std::string& message);
// `item` when `list` is "", else `list`, ',' and `item`.
std::string AppendToList(const std::string& list, const std::string& item);

// Fills (or adds) the property of `definition` named after the attribute. False on any error;
// what was set before the error stays, and a new property is not inserted.
bool ExportProperty(const std::string& className, const automation::ObjectRef& definition,
                    const automation::ObjectRef& attribute);
// The server type of a model type name: a known server class stays as it is, the model's own
// type names map to server datatypes, anything else stays as it is.
std::string ServerTypeOfRoseType(const std::string& roseType);

// Fills (or adds) the property named after `role`, a relationship when `oppositeRole` is named.
// False for a role of multiplicity "0" or "0..0" and on any error.
bool ExportRelationship(const std::string& className, const automation::ObjectRef& definition,
                        const automation::ObjectRef& association, const automation::ObjectRef& role,
                        const automation::ObjectRef& oppositeRole);

// Fills (or adds) the method of `definition` named after the operation. False on any error.
bool ExportMethod(const std::string& className, const automation::ObjectRef& definition,
                  const automation::ObjectRef& operation);

// Exports every class of the transfer window's selected list in list order, one log row per
// class, and ends with the status "Export complete". The server connection must be open.
void ExportClasses();

}  // namespace exporting
