// Filling the model from a Petal document; every element keeps its object as `origin`.
#include "hosts/rose/host/host_internal.h"

namespace rosehost {
namespace binding {

// An association the model holds: one with exactly two roles (anything else stays in the
// file untouched).
bool IsModelAssociation(const petal::Object& object) {
    return ListObjects(object, "roles", "Role").size() == 2;
}

// The class a class view draws: by its quid first (views always carry it), else by the
// qualified name in its header.
std::shared_ptr<Class> ClassOfView(const Model& model, const petal::Object& view) {
    std::string path = view.names.size() > 1 ? view.names[1] : std::string();
    if (auto cls = ClassByUniqueKey(model, petal::GetText(view, "quidu"))) return cls;
    if (path.empty()) return nullptr;
    auto byPath = ClassesByPath(model, path);
    return byPath.empty() ? nullptr : byPath.front();
}

namespace {

struct Loader {
    Model& model;
    EnumTable enums;
    std::vector<std::pair<Diagram*, petal::Object*>> diagrams;  // views bound once all is read

    template <class T>
    std::shared_ptr<T> Bound(petal::Object& object) {
        auto element = std::make_shared<T>();
        element->origin = &object;
        return element;
    }

    std::shared_ptr<Class> LoadClass(petal::Object& object,
                                     const std::shared_ptr<Category>& owner) {
        auto cls = Bound<Class>(object);
        ProjectClass(object, *cls, enums);
        cls->owner = owner;
        for (petal::Object* a : ListObjects(object, "class_attributes", "ClassAttribute")) {
            auto attribute = Bound<Attribute>(*a);
            ProjectAttribute(*a, *attribute, enums);
            cls->attributes.push_back(attribute);
        }
        for (petal::Object* o : ListObjects(object, "operations", "Operation")) {
            auto operation = Bound<Operation>(*o);
            ProjectOperation(*o, *operation, enums);
            for (petal::Object* p : ListObjects(*o, "parameters", "Parameter")) {
                auto parameter = Bound<Parameter>(*p);
                ProjectParameter(*p, *parameter, enums);
                operation->parameters.push_back(parameter);
            }
            cls->operations.push_back(operation);
        }
        for (petal::Object* l : ListObjects(object, "superclasses", "Inheritance_Relationship")) {
            auto link = Bound<SuperclassLink>(*l);
            ProjectSuperclassLink(*l, *link, enums);
            cls->superclassLinks.push_back(link);
        }
        return cls;
    }

    std::shared_ptr<Association> LoadAssociation(petal::Object& object) {
        auto association = Bound<Association>(object);
        ProjectAssociation(object, *association, enums);
        auto roles = ListObjects(object, "roles", "Role");
        for (std::size_t i = 0; i < 2; ++i) {
            association->roles[i] = Bound<Role>(*roles[i]);
            ProjectRole(*roles[i], *association->roles[i], enums);
        }
        return association;
    }

    void LoadCategory(petal::Object& object, const std::shared_ptr<Category>& category) {
        category->origin = &object;
        ProjectCategory(object, *category, enums);
        for (petal::Object* c : ListObjects(object, "logical_models", "Class_Category")) {
            auto sub = std::make_shared<Category>();
            sub->parent = category;
            LoadCategory(*c, sub);
            category->categories.push_back(sub);
        }
        for (petal::Object* c : ListObjects(object, "logical_models", "Class")) {
            category->classes.push_back(LoadClass(*c, category));
        }
        for (petal::Object* a : ListObjects(object, "logical_models", "Association")) {
            if (IsModelAssociation(*a)) category->associations.push_back(LoadAssociation(*a));
        }
        for (petal::Object* d : ListObjects(object, "logical_presentations", kClassDiagramKind)) {
            auto diagram = Bound<Diagram>(*d);
            ProjectDiagram(*d, *diagram, enums);
            diagrams.emplace_back(diagram.get(), d);
            category->diagrams.push_back(diagram);
        }
    }

    void LoadViews() {
        for (auto [diagram, object] : diagrams) {
            for (petal::Object* v : ListObjects(*object, "items", "ClassView")) {
                auto cls = ClassOfView(model, *v);
                if (!cls) continue;  // a class of another unit, or a dangling view: left alone
                auto view = std::make_shared<ClassView>();
                view->cls = cls;
                view->origin = v;
                ProjectLocation(*v, view->placementA, view->placementB);
                diagram->views.push_back(view);
            }
        }
    }
};

}  // namespace
}  // namespace binding

std::string ModelNameOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    std::size_t dot = base.rfind('.');
    if (dot != std::string::npos && dot > 0) base.erase(dot);
    return base;
}

std::shared_ptr<Model> LoadModel(petal::Document& document) {
    petal::Object& design = document.model().root;
    auto model = std::make_shared<Model>();
    model->name = ModelNameOf(document.path());
    model->origin = &design;
    petal::VisitObjects(design, [&](const petal::Object& o) {
        std::string quid = petal::GetText(o, "quid");
        if (!quid.empty()) model->fileQuids.push_back(std::move(quid));
    });
    binding::Loader loader{*model, binding::DocumentEnums(design), {}};
    if (const petal::Value* sets = binding::DesignPropertySets(design)) {
        model->propertySets = PropertySetsOf(*sets);
    }
    model->top = std::make_shared<Category>();
    petal::Value* root = petal::FindField(design, "root_category");
    if (root != nullptr && root->kind == petal::ValueKind::Object &&
        root->object->kind == "Class_Category") {
        loader.LoadCategory(*root->object, model->top);
    } else {
        model->top->name = kLogicalView;
    }
    loader.LoadViews();
    model->currentDiagram = InitialDiagram(*model);
    return model;
}

}  // namespace rosehost
