#include "model_internal.h"

namespace rosehost {
namespace {

void CountShape(const Category& category, ModelIndex::Shape& shape) {
    ++shape.categories;
    shape.classes += category.classes.size();
    shape.associations += category.associations.size();
    shape.diagrams += category.diagrams.size();
    for (const auto& sub : category.categories) CountShape(*sub, shape);
}

ModelIndex::Shape ShapeOf(const Model& model) {
    ModelIndex::Shape shape;
    if (model.top) CountShape(*model.top, shape);
    return shape;
}

void AddQuid(ModelIndex& index, const Element& element) {
    if (!element.quid.empty()) index.quids.insert(element.quid);
}

void AddClass(ModelIndex& index, const std::shared_ptr<Class>& cls) {
    index.byPath[QualifiedName(*cls)].push_back(cls);
    index.byQuid.try_emplace(cls->quid, cls);
    auto& named = index.byName[cls->name];
    if (named.count++ == 0) named.first = cls;
}

void AddQuidsOf(ModelIndex& index, const Category& category) {
    AddQuid(index, category);
    for (const auto& cls : category.classes) {
        AddQuid(index, *cls);
        for (const auto& a : cls->attributes) AddQuid(index, *a);
        for (const auto& l : cls->superclassLinks) AddQuid(index, *l);
        for (const auto& o : cls->operations) {
            AddQuid(index, *o);
            for (const auto& p : o->parameters) AddQuid(index, *p);
        }
    }
    for (const auto& a : category.associations) {
        AddQuid(index, *a);
        for (const auto& r : a->roles) AddQuid(index, *r);
    }
    for (const auto& d : category.diagrams) AddQuid(index, *d);
}

void Build(const Model& model, ModelIndex& index) {
    index.quids.clear();
    index.byPath.clear();
    index.byQuid.clear();
    index.byName.clear();
    index.associations.clear();
    index.roleKeys.clear();
    index.associationsBuilt = false;
    index.quids.insert(model.fileQuids.begin(), model.fileQuids.end());
    for (const auto& category : AllCategories(model)) {
        AddQuidsOf(index, *category);
        for (const auto& cls : category->classes) AddClass(index, cls);
    }
    index.shape = ShapeOf(model);
    index.built = true;
}

// Files the association under the classes at its ends. When the tables are being built the
// associations come in walk order and every one is filed; an association added later is filed
// only if it comes last in each class's list, where a walk of the categories would put it, and
// false says that it does not (the lists must then be built again).
bool FileAssociation(const Model& model, ModelIndex& index, const Category& owner,
                     const std::shared_ptr<Association>& association, bool building) {
    const Class* at[2] = {nullptr, nullptr};
    for (int i = 0; i < 2; ++i) {
        const Role& role = *association->roles[i];
        if (!role.className.empty()) index.roleKeys.insert(AbsolutePath(model, role.className));
        if (!role.classQuid.empty()) index.roleKeys.insert(role.classQuid);
        at[i] = IndexedClass(model, index, role.className, role.classQuid).get();
    }
    for (int i = 0; i < 2; ++i) {
        if (at[i] == nullptr || (i == 1 && at[1] == at[0])) continue;
        auto& list = index.associations[at[i]];
        if (!building && !list.empty() && list.back().owner != &owner) return false;
        list.push_back({&owner, association});
    }
    return true;
}

// The tables if they are built and, once `grown` is applied, still count what the model holds.
ModelIndex* GrownIndex(const Model& model, void (*grown)(ModelIndex::Shape&)) {
    ModelIndex& index = model.index;
    if (!index.built) return nullptr;
    ModelIndex::Shape expected = index.shape;
    grown(expected);
    if (ShapeOf(model) != expected) {
        index.built = false;
        return nullptr;
    }
    index.shape = expected;
    return &index;
}

}  // namespace

ModelIndex& CurrentIndex(const Model& model) {
    ModelIndex& index = model.index;
    if (!index.built || ShapeOf(model) != index.shape) Build(model, index);
    return index;
}

ModelIndex& CurrentAssociations(const Model& model) {
    ModelIndex& index = CurrentIndex(model);
    if (index.associationsBuilt) return index;
    index.associations.clear();
    index.roleKeys.clear();
    for (const auto& category : AllCategories(model)) {
        for (const auto& association : category->associations) {
            // Built in walk order, so every association lands last in its lists.
            FileAssociation(model, index, *category, association, /*building=*/true);
        }
    }
    index.associationsBuilt = true;
    return index;
}

std::shared_ptr<Class> IndexedClass(const Model& model, ModelIndex& index, const std::string& path,
                                    const std::string& quid) {
    if (!path.empty()) {
        auto it = index.byPath.find(AbsolutePath(model, path));
        if (it != index.byPath.end() && !it->second.empty()) return it->second.front();
    }
    if (quid.empty()) return nullptr;
    auto it = index.byQuid.find(quid);
    return it == index.byQuid.end() ? nullptr : it->second;
}

void NoteCategory(const Model& model) {
    GrownIndex(model, [](ModelIndex::Shape& s) { ++s.categories; });
}

void NoteDiagram(const Model& model) {
    GrownIndex(model, [](ModelIndex::Shape& s) { ++s.diagrams; });
}

void NoteClass(const Model& model, const std::shared_ptr<Class>& cls) {
    ModelIndex* index = GrownIndex(model, [](ModelIndex::Shape& s) { ++s.classes; });
    if (index == nullptr) return;
    std::string path = QualifiedName(*cls);
    // Classes of two sibling categories of one name share a path; their order is the walk's.
    auto same = index->byPath.find(path);
    if (same != index->byPath.end() && !same->second.empty() &&
        same->second.back()->owner.lock() != cls->owner.lock()) {
        index->built = false;
        return;
    }
    AddQuid(*index, *cls);
    AddClass(*index, cls);
    // An association end that names this class by path or quid may now find it.
    if (index->roleKeys.contains(path) || index->roleKeys.contains(cls->quid)) {
        index->associationsBuilt = false;
    }
}

void NoteAssociation(const Model& model, const Category& owner,
                     const std::shared_ptr<Association>& association) {
    ModelIndex* index = GrownIndex(model, [](ModelIndex::Shape& s) { ++s.associations; });
    if (index == nullptr) return;
    AddQuid(*index, *association);
    for (const auto& role : association->roles) AddQuid(*index, *role);
    if (!index->associationsBuilt) return;
    if (!FileAssociation(model, *index, owner, association, /*building=*/false)) {
        index->associationsBuilt = false;
    }
}

void NoteAssociationGone(const Model& model) {
    ModelIndex* index = GrownIndex(model, [](ModelIndex::Shape& s) { --s.associations; });
    if (index != nullptr) index->associationsBuilt = false;
}

}  // namespace rosehost
