// Import into the model: server class definitions become model classes in two passes (the
// classes first, their members second, so that members can refer to any class of the same
// run), and the loading of the server's datatype and system classes as placeholder classes.
// Every keyword of a definition is kept on the model element as a model property of the tool
// "Tavro", by the same tables the export reads them with.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "automation/automation.h"

namespace importing {

using automation::ObjectRef;

// The outcome of one import step; also the item data of a selected class between the passes.
enum ImportResult : std::int16_t {
    NewClass = 1,  // created in the model and filled
    Skipped = 2,   // already in the model, overriding off: nothing changed
    Failed = 3,    // could not be imported
    Replaced = 4,  // already in the model, re-initialised and filled again
    Done = 5,      // step finished; the caller goes on
};

// Model classes keyed by server class name (letter case ignored), in the order they were
// added.
class RoseClassCollection {
  public:
    // A key already present keeps its first class.
    void Add(const std::string& key, ObjectRef roseClass);
    // None when the key is absent.
    ObjectRef Find(const std::string& key) const;
    void Clear() { items_.clear(); }
    std::size_t Count() const { return items_.size(); }
    const std::vector<std::pair<std::string, ObjectRef>>& Items() const { return items_; }

  private:
    std::vector<std::pair<std::string, ObjectRef>> items_;
};

// The classes created by the current import; emptied when an import starts.
extern RoseClassCollection NewRoseClasses;

// --- First pass ---

// Creates the model class of the definition, or re-initialises the existing one when the
// override option is checked, and fills its class-level data. NewClass, Skipped, Failed or
// Replaced. Errors of the class look-up, the creation and the re-initialisation pass to the
// caller.
ImportResult ImportClass(const ObjectRef& classDef);
// Documentation, flags, super classes, class keywords and the class's XML. Done, or Failed
// when anything raised an error (what was written stays).
ImportResult SetClassProperties(const ObjectRef& classDef, const ObjectRef& roseClass);
// Strips an existing class back to a bare class, keeping the associations that other classes
// still use. Errors pass to the caller.
void ReinitialiseClass(const ObjectRef& roseClass);
// The text before the first `separator` (all of it when there is none); `text` keeps what
// follows the separator ("" when there was none). Blanks are kept.
std::string NextToken(std::string& text, char separator);

// --- Second pass; errors of the modelling tool and the server pass to the caller ---

// Attributes, associations and operations of the definition's class: 0 when all were
// imported, Failed when the definition is no object, else the first result other than Done.
std::int16_t ImportClassMembers(const ObjectRef& classDef);
// The kind of a server class (1 serial, 2 persistent, 3 datatype, 4 other); 3 for a name the
// server's class table does not hold. `typeName` becomes its fully qualified form.
std::int16_t GetClassType(std::string& typeName);
// One property whose type is a datatype as an attribute; Done.
ImportResult ImportAttribute(const ObjectRef& propDef, const ObjectRef& roseClass,
                             const ObjectRef& classDef);
// One property whose type is an object class as an association, joining the association
// already made from the other side of a relationship; Done.
ImportResult ImportAssociation(const ObjectRef& propDef, const std::string& typeName,
                               const ObjectRef& roseClass);
// One method as an operation with the parameters of its FormalSpec; Done.
ImportResult ImportOperation(const ObjectRef& methodDef, const ObjectRef& roseClass,
                             const ObjectRef& classDef);

// --- Runs of the transfer window ---

// Imports every class of the selected list in two passes, logging one row per class, then
// draws the new classes on the active class diagram (when asked) and refreshes every class
// diagram. Errors that the import steps do not trap leave the run; the classes done so far
// stay in the model.
void ImportClasses();
// The DATATYPES (run mode 3) or SYSTEM (run mode 4) run: every '%' class of that kind becomes
// an empty class in "Tavro System Classes". True when the loading ran to its end, False when
// an error stopped it. A missing modelling tool or server connection ends the process.
bool AddTavroSpecialClasses();

}  // namespace importing
