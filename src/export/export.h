// Export to the server: a model class, its attributes, operations and association roles become
// a server class definition. The driver exports every class of the transfer window's selected
// list and reports each one in the window's event log.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "automation/automation.h"
#include "window/window.h"

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
// When the modelling tool lacks the add-in's property defaults (MissingPropertyDefaults) it
// shows that in a message box and exports nothing.
void ExportClasses();

// Asked before each step of a class that writes to the server; true makes the class in hand
// fail with kRunStopped before anything further is written. Unset (the window's case: its
// Cancel ends the process between classes), nothing stops a class half-way.
extern std::function<bool()> StopRequested;
inline constexpr const char* kRunStopped = "the run was stopped";

// A class whose old definition the export deleted (override set) and whose new one it did not
// save, because a failure, a side that went away or a stop came between: the server holds no
// definition of it until its last one is restored from the history.
struct DeletedClass {
    std::string nameSpace;  // of the connection
    std::string className;
};
// Those of the run in hand (since ExportClasses started), in the order they were deleted. The
// failed row of each names it too.
const std::vector<DeletedClass>& ClassesDeletedNotSaved();
// "tavro-host class restore NS NAME". The add-in does not know the server's data directory:
// tavro-host takes it from --data DATA or TAVRO_DATA (kRestoreNote).
std::string RestoreCommand(const DeletedClass& deleted);
inline constexpr const char* kRestoreNote =
    "give tavro-host the server's data directory with --data DATA or TAVRO_DATA";

// What the export did with one member of a model class.
enum class MemberResult : std::uint8_t { Exported, Skipped, Failed };
inline constexpr const char* kPropertyKind = "property";
inline constexpr const char* kRelationshipKind = "relationship";  // a named association role
inline constexpr const char* kMethodKind = "method";
struct MemberOutcome {
    std::string name;
    const char* kind;  // kPropertyKind, kRelationshipKind or kMethodKind
    MemberResult result;
    std::string reason;  // why it was skipped or failed; "" when exported
};
// The members of the class of that (qualified) server name in the order the export of the run
// in hand took them, each with what became of it: a member written under the same name as a
// later one of its kind shows as skipped. Empty for a class whose members were not reached.
const std::vector<MemberOutcome>& MemberOutcomesOf(const std::string& className);

// "" when the modelling tool knows the add-in's property defaults, or nothing can tell
// (every selected class carries its own value of every Boolean class keyword). Otherwise why
// every class would fail "Type mismatch", naming the model property file and the registry
// file and the fix. `keys` are unique keys of model classes; errors count as "cannot tell".
std::string MissingPropertyDefaults(const window::ClassList& keys);

}  // namespace exporting
