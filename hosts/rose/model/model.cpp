#include "model.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "model_internal.h"

namespace rosehost {
namespace {

void CollectCategories(const std::shared_ptr<Category>& category,
                       std::vector<std::shared_ptr<Category>>& out) {
    out.push_back(category);
    for (const auto& sub : category->categories) CollectCategories(sub, out);
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

template <class T>
bool EraseElement(std::vector<std::shared_ptr<T>>& list, const T& element) {
    auto it = std::find_if(list.begin(), list.end(),
                           [&](const std::shared_ptr<T>& item) { return item.get() == &element; });
    if (it == list.end()) return false;
    list.erase(it);
    return true;
}

std::shared_ptr<Role> NewRole(Model& model, const std::string& className,
                              const std::string& classQuid) {
    auto role = std::make_shared<Role>();
    role->quid = NewQuid(model);
    role->className = className;
    role->classQuid = classQuid;
    return role;
}

bool RoleIsAt(const Model& model, const Role& role, const Class& cls) {
    return ResolveClass(model, role.className, role.classQuid).get() == &cls;
}

}  // namespace

std::shared_ptr<Model> NewModel(const std::string& name) {
    auto model = std::make_shared<Model>();
    model->name = name;
    model->top = std::make_shared<Category>();
    model->top->name = kLogicalView;
    model->top->quid = NewQuid(*model);
    return model;
}

std::string NewQuid(Model& model) {
    // Like Rose's own: the creation time in seconds, then a running number.
    auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
                       std::chrono::system_clock::now().time_since_epoch())
                       .count();
    ModelIndex& index = CurrentIndex(model);
    char text[16];
    for (;;) {
        std::snprintf(text, sizeof text, "%08X%04X", static_cast<unsigned>(seconds),
                      static_cast<unsigned>(model.quidCounter++ & 0xFFFFu));
        // Taken at once, so that the element it goes to counts as using it.
        if (index.quids.insert(text).second) return text;
        if ((model.quidCounter & 0xFFFFu) == 0) ++seconds;
    }
}

void ForgetIndex(const Model& model) { model.index.built = false; }

std::string QualifiedName(const Category& category) {
    std::string path = category.name;
    for (auto parent = category.parent.lock(); parent; parent = parent->parent.lock()) {
        path = parent->name + "::" + path;
    }
    return path;
}

std::string QualifiedName(const Class& cls) {
    auto owner = cls.owner.lock();
    if (!owner) return cls.name;
    return QualifiedName(*owner) + "::" + cls.name;
}

std::string AbsolutePath(const Model& model, const std::string& path) {
    const std::string& top = model.top->name;
    if (path == top || StartsWith(path, top + "::")) return path;
    return top + "::" + path;
}

std::vector<std::shared_ptr<Category>> AllCategories(const Model& model) {
    std::vector<std::shared_ptr<Category>> out;
    CollectCategories(model.top, out);
    return out;
}

std::vector<std::shared_ptr<Class>> AllClasses(const Model& model) {
    std::vector<std::shared_ptr<Class>> out;
    for (const auto& category : AllCategories(model)) {
        out.insert(out.end(), category->classes.begin(), category->classes.end());
    }
    return out;
}

std::vector<std::shared_ptr<Class>> ClassesByPath(const Model& model, const std::string& path) {
    ModelIndex& index = CurrentIndex(model);
    auto it = index.byPath.find(AbsolutePath(model, path));
    if (it == index.byPath.end()) return {};
    return it->second;
}

std::vector<std::shared_ptr<Category>> CategoriesByPath(const Model& model,
                                                        const std::string& path) {
    std::string wanted = AbsolutePath(model, path);
    std::vector<std::shared_ptr<Category>> out;
    for (const auto& category : AllCategories(model)) {
        if (QualifiedName(*category) == wanted) out.push_back(category);
    }
    return out;
}

std::shared_ptr<Class> ClassByUniqueKey(const Model& model, const std::string& quid) {
    return IndexedClass(model, CurrentIndex(model), "", quid);
}

std::shared_ptr<Class> ResolveClass(const Model& model, const std::string& path,
                                    const std::string& quid) {
    return IndexedClass(model, CurrentIndex(model), path, quid);
}

std::shared_ptr<Class> TypeClassOf(const Model& model, const Attribute& attribute) {
    if (attribute.type.empty()) return nullptr;
    if (auto cls = ResolveClass(model, attribute.type, attribute.typeQuid)) return cls;
    ModelIndex& index = CurrentIndex(model);
    auto it = index.byName.find(attribute.type);
    if (it == index.byName.end() || it->second.count != 1) return nullptr;  // none, or ambiguous
    return it->second.first;
}

std::shared_ptr<Category> CreateCategory(Model& model, const std::shared_ptr<Category>& parent,
                                         const std::string& name) {
    auto category = std::make_shared<Category>();
    category->name = name;
    category->quid = NewQuid(model);
    category->parent = parent;
    parent->categories.push_back(category);
    NoteCategory(model);
    return category;
}

std::shared_ptr<Class> CreateClass(Model& model, const std::shared_ptr<Category>& category,
                                   const std::string& name) {
    auto cls = std::make_shared<Class>();
    cls->name = name;
    cls->quid = NewQuid(model);
    cls->owner = category;
    category->classes.push_back(cls);
    NoteClass(model, cls);
    return cls;
}

std::shared_ptr<Attribute> CreateAttribute(Model& model, Class& cls, const std::string& name,
                                           const std::string& type,
                                           const std::string& initialValue) {
    auto attribute = std::make_shared<Attribute>();
    attribute->name = name;
    attribute->quid = NewQuid(model);
    attribute->type = type;
    attribute->initialValue = initialValue;
    cls.attributes.push_back(attribute);
    return attribute;
}

std::shared_ptr<Operation> CreateOperation(Model& model, Class& cls, const std::string& name,
                                           const std::string& returnType) {
    auto operation = std::make_shared<Operation>();
    operation->name = name;
    operation->quid = NewQuid(model);
    operation->returnType = returnType;
    cls.operations.push_back(operation);
    return operation;
}

std::shared_ptr<Parameter> CreateParameter(Model& model, Operation& operation,
                                           const std::string& name, const std::string& type,
                                           const std::string& defaultValue, std::int16_t position) {
    auto parameter = std::make_shared<Parameter>();
    parameter->name = name;
    parameter->quid = NewQuid(model);
    parameter->type = type;
    parameter->defaultValue = defaultValue;
    auto at = static_cast<std::size_t>(std::max<std::int16_t>(position, 1) - 1);
    at = std::min(at, operation.parameters.size());
    operation.parameters.insert(operation.parameters.begin() + static_cast<std::ptrdiff_t>(at),
                                parameter);
    return parameter;
}

std::shared_ptr<Association> CreateAssociation(Model& model, Class& cls, const std::string& name,
                                               const std::string& path) {
    auto association = std::make_shared<Association>();
    association->name = name;
    association->quid = NewQuid(model);
    association->roles[0] = NewRole(model, QualifiedName(cls), cls.quid);
    auto far = ResolveClass(model, path, "");
    association->roles[1] =
        NewRole(model, far ? QualifiedName(*far) : path, far ? far->quid : std::string());
    auto owner = cls.owner.lock();
    if (!owner) owner = model.top;
    owner->associations.push_back(association);
    NoteAssociation(model, *owner, association);
    return association;
}

std::shared_ptr<SuperclassLink> CreateSuperclassLink(Model& model, Class& cls,
                                                     const std::string& name,
                                                     const std::string& path) {
    auto link = std::make_shared<SuperclassLink>();
    link->name = name;
    link->quid = NewQuid(model);
    auto super = ResolveClass(model, path, "");
    link->className = super ? QualifiedName(*super) : path;
    link->classQuid = super ? super->quid : std::string();
    cls.superclassLinks.push_back(link);
    return link;
}

std::vector<std::shared_ptr<Association>> AssociationsOf(const Model& model, const Class& cls) {
    ModelIndex& index = CurrentAssociations(model);
    std::vector<std::shared_ptr<Association>> out;
    auto it = index.associations.find(&cls);
    if (it == index.associations.end()) return out;
    out.reserve(it->second.size());
    for (const auto& kept : it->second) out.push_back(kept.association);
    return out;
}

std::shared_ptr<Role> RoleOf(const Model& model, const Association& association, const Class& cls) {
    for (const auto& role : association.roles) {
        if (RoleIsAt(model, *role, cls)) return role;
    }
    return nullptr;
}

std::shared_ptr<Role> OtherRoleOf(const Model& model, const Association& association,
                                  const Class& cls) {
    // For an association of a class with itself the two ends differ only by position.
    if (RoleIsAt(model, *association.roles[0], cls)) return association.roles[1];
    if (RoleIsAt(model, *association.roles[1], cls)) return association.roles[0];
    return nullptr;
}

bool DeleteAttribute(Class& cls, const Attribute& attribute) {
    return EraseElement(cls.attributes, attribute);
}

bool DeleteOperation(Class& cls, const Operation& operation) {
    return EraseElement(cls.operations, operation);
}

bool DeleteSuperclassLink(Class& cls, const SuperclassLink& link) {
    return EraseElement(cls.superclassLinks, link);
}

bool DeleteAssociation(Model& model, const Association& association) {
    for (const auto& category : AllCategories(model)) {
        if (!EraseElement(category->associations, association)) continue;
        NoteAssociationGone(model);
        return true;
    }
    return false;
}

}  // namespace rosehost
