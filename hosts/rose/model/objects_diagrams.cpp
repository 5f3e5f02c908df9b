// The diagram, class diagram and class view objects, and the host itself.
#include "objects.h"
#include "objects_internal.h"

namespace rosehost {
namespace {

bool IsClassDiagram(const Diagram& diagram) { return diagram.kindName == kClassDiagramKind; }

Variant DiagramKindName(const Call<Diagram>& c) { return c.target->kindName; }

// What is selected on the diagram, through the generic element face.
Variant DiagramSelectedItems(const Call<Diagram>& c) {
    std::vector<std::shared_ptr<Class>> items;
    for (const auto& selected : c.target->selected) {
        if (auto cls = selected.lock()) items.push_back(cls);
    }
    return CollectionFor(c.host, iid::kElementCollection, std::move(items), ClassKind());
}

Variant DiagramAddClass(const Call<Diagram>& c) {
    AddClass(*c.target, ArgTarget<Class>(c.Arg(0)));
    return {};
}

Variant DiagramShownClasses(const Call<Diagram>& c) {
    return CollectionFor(c.host, iid::kClassCollection, ShownClasses(*c.target), ClassKind());
}

Variant DiagramRemoveClass(const Call<Diagram>& c) {
    return RemoveClass(*c.target, *ArgTarget<Class>(c.Arg(0)));
}

Variant DiagramClassViewOf(const Call<Diagram>& c) {
    return ObjectFor(c.host, ClassViewOf(*c.target, *ArgTarget<Class>(c.Arg(0))), ClassViewKind());
}

// Views are kept in the model; there is no picture to repaint.
Variant DiagramRedraw(const Call<Diagram>&) { return {}; }

Variant ViewPlacementA(const Call<ClassView>& c) {
    if (c.put) {
        c.target->placementA = c.Value().ToInt16();
        return {};
    }
    return c.target->placementA;
}

Variant ViewPlacementB(const Call<ClassView>& c) {
    if (c.put) {
        c.target->placementB = c.Value().ToInt16();
        return {};
    }
    return c.target->placementB;
}

}  // namespace

const Kind<Diagram>& DiagramKind() {
    static const Kind<Diagram> kind{
        kTagDiagram,
        {iid::kDiagram},
        {
            {12668, "KindName", Access::Read, DiagramKindName},
            {12525, "SelectedItems", Access::Read, DiagramSelectedItems},
        }};
    return kind;
}

const Kind<Diagram>& ClassDiagramKind() {
    static const Kind<Diagram> kind{
        kTagClassDiagram,
        {iid::kDiagram, iid::kClassDiagram},
        {
            {12668, "KindName", Access::Read, DiagramKindName},
            {12525, "SelectedItems", Access::Read, DiagramSelectedItems},
            {412, "AddClass", Access::Method, DiagramAddClass},
            {416, "ShownClasses", Access::Read, DiagramShownClasses},
            {419, "RemoveClass", Access::Method, DiagramRemoveClass},
            {427, "ClassViewOf", Access::Method, DiagramClassViewOf},
            {205, "Redraw", Access::Method, DiagramRedraw},
        }};
    return kind;
}

const Kind<ClassView>& ClassViewKind() {
    static const Kind<ClassView> kind{kTagClassView,
                                      {iid::kClassView},
                                      {
                                          {203, "PlacementA", Access::ReadWrite, ViewPlacementA},
                                          {202, "PlacementB", Access::ReadWrite, ViewPlacementB},
                                      }};
    return kind;
}

ObjectRef DiagramObject(const std::shared_ptr<Host>& host,
                        const std::shared_ptr<Diagram>& diagram) {
    if (!diagram) return nullptr;
    return ObjectFor(host, diagram, IsClassDiagram(*diagram) ? ClassDiagramKind() : DiagramKind());
}

std::shared_ptr<Host> NewHost(std::shared_ptr<Model> model) {
    auto host = std::make_shared<Host>();
    host->model = std::move(model);
    return host;
}

void SetModel(Host& host, std::shared_ptr<Model> model) {
    host.model = std::move(model);
    host.outsideTrial = nullptr;
}

const std::shared_ptr<Model>& ModelOf(const Host& host) { return host.model; }

const std::shared_ptr<Model>& ModelOutsideTrial(const Host& host) {
    return host.outsideTrial ? host.outsideTrial : host.model;
}

void BeginTrial(Host& host) {
    if (host.outsideTrial) throw AutomationError("a trial of the model is already on");
    host.outsideTrial = host.model;
    host.model = CopyModel(*host.model);
    ++host.trial;
}

void EndTrial(Host& host) {
    if (!host.outsideTrial) return;
    host.model = std::move(host.outsideTrial);
    host.outsideTrial = nullptr;
}

ObjectRef ApplicationObject(const std::shared_ptr<Host>& host) {
    // The application has no element of its own; one shared stand-in keeps it a single object.
    static const auto application = std::make_shared<Application>();
    return ObjectFor(host, application, ApplicationKind());
}

}  // namespace rosehost
