// A copy of a whole model that shares no element with it, for a trial that is thrown away.
#include <map>

#include "model.h"

namespace rosehost {

namespace {

struct Copier {
    std::map<const Class*, std::shared_ptr<Class>> classes;
    std::map<const Diagram*, std::shared_ptr<Diagram>> diagrams;

    std::shared_ptr<Class> CopyClass(const Class& from, const std::shared_ptr<Category>& owner) {
        auto cls = std::make_shared<Class>(from);
        cls->owner = owner;
        for (auto& attribute : cls->attributes) attribute = std::make_shared<Attribute>(*attribute);
        for (auto& operation : cls->operations) {
            operation = std::make_shared<Operation>(*operation);
            for (auto& parameter : operation->parameters) {
                parameter = std::make_shared<Parameter>(*parameter);
            }
        }
        for (auto& link : cls->superclassLinks) link = std::make_shared<SuperclassLink>(*link);
        classes[&from] = cls;
        return cls;
    }

    std::shared_ptr<Category> CopyCategory(const Category& from,
                                           const std::shared_ptr<Category>& parent) {
        auto category = std::make_shared<Category>(from);
        category->parent = parent;
        for (auto& sub : category->categories) sub = CopyCategory(*sub, category);
        for (auto& cls : category->classes) cls = CopyClass(*cls, category);
        for (auto& association : category->associations) {
            association = std::make_shared<Association>(*association);
            for (auto& role : association->roles) {
                if (role) role = std::make_shared<Role>(*role);
            }
        }
        for (auto& diagram : category->diagrams) {
            const Diagram* old = diagram.get();
            diagram = std::make_shared<Diagram>(*diagram);
            diagrams[old] = diagram;
        }
        return category;
    }

    // Views and selections name classes: once every class is copied, they name the copies.
    std::weak_ptr<Class> Mapped(const std::weak_ptr<Class>& cls) const {
        auto found = classes.find(cls.lock().get());
        return found == classes.end() ? std::weak_ptr<Class>() : found->second;
    }

    void MapDiagrams() {
        for (auto& [old, diagram] : diagrams) {
            for (auto& view : diagram->views) {
                view = std::make_shared<ClassView>(*view);
                view->cls = Mapped(view->cls);
            }
            for (auto& selected : diagram->selected) selected = Mapped(selected);
        }
    }
};

}  // namespace

std::shared_ptr<Model> CopyModel(const Model& model) {
    auto copy = std::make_shared<Model>(model);
    Copier copier;
    if (model.top) copy->top = copier.CopyCategory(*model.top, nullptr);
    copier.MapDiagrams();
    auto current = copier.diagrams.find(model.currentDiagram.lock().get());
    copy->currentDiagram = current == copier.diagrams.end()
                               ? std::weak_ptr<Diagram>()
                               : std::weak_ptr<Diagram>(current->second);
    return copy;
}

}  // namespace rosehost
