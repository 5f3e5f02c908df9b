// rose-host's model: the categories, classes, members, associations and class diagrams of one
// Rose model held in memory, with the look-ups and edits that the automation objects answer.
//
// Elements are shared so that an automation object can keep its element alive after the model
// dropped it (a deleted attribute still answers its name; it is simply no longer listed).
// References between elements that a model file writes as a qualified name plus a quid
// (a role's class, a superclass link's class, an attribute's type) are kept that way and
// resolved when asked, by qualified name first and quid second, as Rose does; so an end whose
// class does not exist yet keeps its name and finds the class once it is created.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace rosehost {

// Visibility codes of an element's export control.
inline constexpr std::int16_t kPublic = 0;
inline constexpr std::int16_t kProtected = 1;
inline constexpr std::int16_t kPrivate = 2;
inline constexpr std::int16_t kImplementation = 3;

// The name of the top category of a model's logical view.
inline constexpr const char* kLogicalView = "Logical View";

// A model property held by an element: its own value, overriding the declared default.
struct ToolProperty {
    std::string tool;
    std::string name;
    std::string value;
};

// What every element carries. `origin` is an opaque slot for whatever loaded the element
// (a node of a model file), so that edits can be written back; the model never reads it.
struct Element {
    std::string name;
    std::string quid;
    std::string documentation;
    std::vector<ToolProperty> properties;
    void* origin = nullptr;
};

struct Category;
struct Class;

struct Attribute : Element {
    std::string type;
    std::string typeQuid;  // the type's class as the file refers to it, "" when none
    std::string initialValue;
    std::int16_t exportControl = kPrivate;
};

struct Parameter : Element {
    std::string type;
    std::string defaultValue;
};

struct Operation : Element {
    std::string returnType;
    std::vector<std::shared_ptr<Parameter>> parameters;
    std::int16_t exportControl = kPublic;
};

// One end of an association. `className` is the class as written on the end (a qualified
// name), `classQuid` its quid when known.
struct Role : Element {
    std::string className;
    std::string classQuid;
    std::string multiplicity;
    bool isAggregate = false;
    bool isNavigable = false;
    std::int16_t exportControl = kPublic;
};

struct Association : Element {
    std::string kind;  // the label text
    std::shared_ptr<Role> roles[2];
};

struct SuperclassLink : Element {
    std::string className;  // the super class as written on the link
    std::string classQuid;
};

struct Class : Element {
    std::weak_ptr<Category> owner;
    bool isAbstract = false;
    bool isPersistent = false;
    std::vector<std::shared_ptr<Attribute>> attributes;
    std::vector<std::shared_ptr<Operation>> operations;
    std::vector<std::shared_ptr<SuperclassLink>> superclassLinks;
};

// A class drawn on a class diagram, with its two placement values (the view's position).
struct ClassView {
    std::weak_ptr<Class> cls;
    std::int16_t placementA = 0;
    std::int16_t placementB = 0;
    void* origin = nullptr;
};

inline constexpr const char* kClassDiagramKind = "ClassDiagram";

struct Diagram : Element {
    std::string kindName = kClassDiagramKind;
    std::vector<std::shared_ptr<ClassView>> views;  // class diagrams only
    std::vector<std::weak_ptr<Class>> selected;     // the items selected on the diagram
};

struct Category : Element {
    std::weak_ptr<Category> parent;
    std::vector<std::shared_ptr<Category>> categories;
    std::vector<std::shared_ptr<Class>> classes;
    std::vector<std::shared_ptr<Association>> associations;
    std::vector<std::shared_ptr<Diagram>> diagrams;
};

// The declared defaults of one tool for one kind of element (set names like "default__Class"),
// as an installed add-in's property file or the model file itself declares them.
struct PropertySet {
    std::string tool;
    std::string set;
    std::vector<std::pair<std::string, std::string>> entries;  // property name, default value
};

// Look-up tables over a model, so that finding a class, a class's associations or a free quid
// does not walk the whole model each time. Kept by the routines below: they update it as they
// create elements, and drop it when an element's name changes (ForgetIndex). Whatever changes
// the tree directly (a loader pushing elements) is noticed by the element counts in `shape`,
// and the tables are built again on the next look-up.
struct ModelIndex {
    // A copied model gets tables of its own, built when first needed.
    ModelIndex() = default;
    ModelIndex(const ModelIndex&) {}
    ModelIndex& operator=(const ModelIndex&) {
        built = false;
        return *this;
    }

    struct Shape {
        std::size_t categories = 0, classes = 0, associations = 0, diagrams = 0;
        bool operator==(const Shape&) const = default;
    };
    bool built = false;
    Shape shape;
    std::unordered_set<std::string> quids;
    std::unordered_map<std::string, std::vector<std::shared_ptr<Class>>> byPath;  // absolute path
    std::unordered_map<std::string, std::shared_ptr<Class>> byQuid;  // first class with the quid
    struct Named {
        std::shared_ptr<Class> first;
        std::size_t count = 0;
    };
    std::unordered_map<std::string, Named> byName;  // bare class names
    // The associations with an end at each class, category by category, each with the
    // category that keeps it; and the absolute paths and quids the ends of all associations
    // name, since a class created with such a path or quid may become the class of an end.
    struct Kept {
        const Category* owner;
        std::shared_ptr<Association> association;
    };
    bool associationsBuilt = false;
    std::unordered_map<const Class*, std::vector<Kept>> associations;
    std::unordered_set<std::string> roleKeys;
};

struct Model {
    std::string name;  // the file's base name; "" for a model never saved
    std::shared_ptr<Category> top;
    std::weak_ptr<Diagram> currentDiagram;
    std::vector<PropertySet> propertySets;
    std::uint32_t quidCounter = 0;
    // Every quid the file held when it was opened: a new element takes none of them, not even
    // the quid of an object that is no model element (the Design itself).
    std::vector<std::string> fileQuids;
    void* origin = nullptr;
    mutable ModelIndex index;
};

// --- Building and finding (model.cpp) ---

// A model with an empty top category "Logical View" and nothing else.
std::shared_ptr<Model> NewModel(const std::string& name);
// A new quid: 12 upper-case hex digits that no element of the model has.
std::string NewQuid(Model& model);
// A copy of the whole model sharing no element with it (origins included as they are), for a
// trial whose changes are thrown away (copy.cpp).
std::shared_ptr<Model> CopyModel(const Model& model);
// Drops the model's look-up tables; called when the name of a class or category changes.
void ForgetIndex(const Model& model);

std::string QualifiedName(const Category& category);
std::string QualifiedName(const Class& cls);
// A path as the look-ups take it: one that does not start with the top category's name is
// taken below the top category.
std::string AbsolutePath(const Model& model, const std::string& path);

// Every category, top first, each followed by its sub-categories (depth first).
std::vector<std::shared_ptr<Category>> AllCategories(const Model& model);
// Every class, category by category in the order of AllCategories.
std::vector<std::shared_ptr<Class>> AllClasses(const Model& model);
std::vector<std::shared_ptr<Class>> ClassesByPath(const Model& model, const std::string& path);
std::vector<std::shared_ptr<Category>> CategoriesByPath(const Model& model,
                                                        const std::string& path);
std::shared_ptr<Class> ClassByUniqueKey(const Model& model, const std::string& quid);
// The class a reference names: by qualified name first, then by quid; none when neither finds.
std::shared_ptr<Class> ResolveClass(const Model& model, const std::string& path,
                                    const std::string& quid);
// An attribute's type as a model class: by qualified name, by its quid, or by a class name
// that exactly one class of the model bears; none otherwise.
std::shared_ptr<Class> TypeClassOf(const Model& model, const Attribute& attribute);

std::shared_ptr<Category> CreateCategory(Model& model, const std::shared_ptr<Category>& parent,
                                         const std::string& name);
std::shared_ptr<Class> CreateClass(Model& model, const std::shared_ptr<Category>& category,
                                   const std::string& name);
std::shared_ptr<Attribute> CreateAttribute(Model& model, Class& cls, const std::string& name,
                                           const std::string& type,
                                           const std::string& initialValue);
std::shared_ptr<Operation> CreateOperation(Model& model, Class& cls, const std::string& name,
                                           const std::string& returnType);
// Inserts at the 1-based position (clamped to the list).
std::shared_ptr<Parameter> CreateParameter(Model& model, Operation& operation,
                                           const std::string& name, const std::string& type,
                                           const std::string& defaultValue, std::int16_t position);
// An association from `cls` to the class named by `path`; roles[0] is the end at `cls`,
// roles[1] the end at the named class (which need not exist). It is kept by cls's category.
std::shared_ptr<Association> CreateAssociation(Model& model, Class& cls, const std::string& name,
                                               const std::string& path);
std::shared_ptr<SuperclassLink> CreateSuperclassLink(Model& model, Class& cls,
                                                     const std::string& name,
                                                     const std::string& path);

// The associations that have an end at `cls`, category by category.
std::vector<std::shared_ptr<Association>> AssociationsOf(const Model& model, const Class& cls);
// The end of `association` at `cls` (the first such end), or the other end; none when `cls` is
// at neither end.
std::shared_ptr<Role> RoleOf(const Model& model, const Association& association, const Class& cls);
std::shared_ptr<Role> OtherRoleOf(const Model& model, const Association& association,
                                  const Class& cls);

// Each removes the element from its owner; false when the owner does not hold it.
bool DeleteAttribute(Class& cls, const Attribute& attribute);
bool DeleteOperation(Class& cls, const Operation& operation);
bool DeleteSuperclassLink(Class& cls, const SuperclassLink& link);
bool DeleteAssociation(Model& model, const Association& association);

// --- Diagrams (diagrams.cpp) ---

// The class diagrams a category owns, in order.
std::vector<std::shared_ptr<Diagram>> ClassDiagramsOf(const Category& category);
std::shared_ptr<Diagram> CreateClassDiagram(Model& model, Category& category,
                                            const std::string& name);
std::vector<std::shared_ptr<Class>> ShownClasses(const Diagram& diagram);
std::shared_ptr<ClassView> ClassViewOf(const Diagram& diagram, const Class& cls);
// Draws the class (a class already drawn keeps its view) and returns its view.
std::shared_ptr<ClassView> AddClass(Diagram& diagram, const std::shared_ptr<Class>& cls);
bool RemoveClass(Diagram& diagram, const Class& cls);
// The diagram a model shows after it is opened: the top category's class diagram "Main",
// else its first class diagram, else none.
std::shared_ptr<Diagram> InitialDiagram(const Model& model);

// --- Tool properties (tool_properties.cpp) ---

enum class ElementKind : std::uint8_t { Class, Attribute, Operation, Association, Category, Role };

// The name of the default set for a kind: "default__Class", "default__Attribute", ...
std::string DefaultSetName(ElementKind kind);
// Adds a set, or replaces the entries of the set with the same tool and name.
void AddPropertySet(Model& model, PropertySet set);
// The element's own value, else the declared default for its kind, else "".
std::string GetToolProperty(const Model& model, const Element& element, ElementKind kind,
                            const std::string& tool, const std::string& name);
bool HasOwnToolProperty(const Element& element, const std::string& tool, const std::string& name);
// Gives the element its own value, declared or not.
void SetToolProperty(Element& element, const std::string& tool, const std::string& name,
                     const std::string& value);
// Every property of one tool on the element: the declared ones in declaration order, then the
// element's own undeclared ones in the order they were set.
std::vector<std::string> ToolPropertyNames(const Model& model, const Element& element,
                                           ElementKind kind, const std::string& tool);

}  // namespace rosehost
