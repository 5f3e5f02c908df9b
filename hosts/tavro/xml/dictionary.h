// The class dictionary's vocabulary: a class definition with its members and the parts that
// the modelling side never sees, and the tables of keyword names per kind of definition.
//
// Every member the add-in reads or writes by name is listed here, once, with its kind, so the
// automation objects, the XML reader and the XML writer all agree on one vocabulary.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

// What a keyword holds. Booleans are kept as the texts "0" and "1".
enum class ValueKind { String, Bool };

struct Keyword {
    std::string_view name;  // the member name, in its canonical spelling
    ValueKind kind;
    std::string_view initial;  // the value a new definition starts with
};

// The kinds of definition. Property and Method are what the model shows; the others are
// the hidden parts a class keeps (storage, indices, queries, class parameters, code).
enum class ItemKind {
    Class,
    Property,
    Method,
    Index,
    Query,
    ClassParameter,
    Storage,
    XData,
    Trigger,
    Projection
};

// Keyword values keyed by canonical name. A keyword absent from the map has its initial value.
using Values = std::map<std::string, std::string>;

// A member or hidden part of a class: its name, its keywords and, for a property, its type
// parameters (MAXLEN and the like), which are walked in key order.
struct Item {
    ItemKind kind = ItemKind::Property;
    std::string name;
    Values values;
    std::map<std::string, std::string> parameters;
};

struct ClassDef {
    std::string name;
    Values values;
    std::vector<Item> properties;
    std::vector<Item> methods;
    std::vector<Item> others;  // the hidden parts, in the order they were given
};

// The keyword table of a kind, in the order the XML writes them.
const std::vector<Keyword>& KeywordsOf(ItemKind kind);
// The keyword of that name (letter case ignored), or nullptr.
const Keyword* FindKeyword(ItemKind kind, std::string_view name);
// The XML element name of a kind of item ("Property", "Index", ...).
std::string_view ElementOf(ItemKind kind);
// The item kind whose element name is `element` (exact); false when there is none.
bool KindOfElement(std::string_view element, ItemKind& kind);

// A keyword's value with its initial value filled in.
std::string ValueOf(const Values& values, const Keyword& keyword);
// Stores a keyword value; Booleans are normalised to "0"/"1". False when a Boolean text is
// neither "0", "1", "true" nor "false" (any letter case).
bool SetValue(Values& values, const Keyword& keyword, std::string_view text);

// True when `name` is a class name the dictionary accepts: one or more '.'-separated
// segments of letters and digits, each starting with a letter; the first may start with '%'.
bool IsValidClassName(std::string_view name);
// True when `name` is a valid member name: a letter or '%', then letters and digits.
bool IsValidMemberName(std::string_view name);

// The longest class name the dictionary stores, in bytes, package included.
inline constexpr std::size_t kMaxClassNameLength = 255;
// Why the dictionary refuses to store a class of this name, "" when it accepts it: the name
// must be a valid class name within the length limit and have a package, since a class
// without one cannot be found again by its qualified name.
std::string ClassNameProblem(std::string_view name);

// Server class name helpers: "%String" is "%Library.String", "Order" in package "Shop" is
// "Shop.Order"; a qualified name stays as it is.
std::string QualifyInPackage(std::string_view name, std::string_view package);
std::string PackageOf(std::string_view className);

}  // namespace tavro
