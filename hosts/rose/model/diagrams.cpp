#include <algorithm>

#include "model.h"
#include "model_internal.h"

namespace rosehost {
namespace {

// Where a newly drawn class goes: a grid, row by row, so that new classes do not cover
// one another.
constexpr std::int16_t kGridLeft = 150;
constexpr std::int16_t kGridTop = 150;
constexpr std::int16_t kGridWidth = 400;
constexpr std::int16_t kGridHeight = 300;
constexpr std::size_t kGridColumns = 4;

bool IsClassDiagram(const Diagram& diagram) { return diagram.kindName == kClassDiagramKind; }

}  // namespace

std::vector<std::shared_ptr<Diagram>> ClassDiagramsOf(const Category& category) {
    std::vector<std::shared_ptr<Diagram>> out;
    for (const auto& diagram : category.diagrams) {
        if (IsClassDiagram(*diagram)) out.push_back(diagram);
    }
    return out;
}

std::shared_ptr<Diagram> CreateClassDiagram(Model& model, Category& category,
                                            const std::string& name) {
    auto diagram = std::make_shared<Diagram>();
    diagram->name = name;
    diagram->quid = NewQuid(model);
    category.diagrams.push_back(diagram);
    NoteDiagram(model);
    return diagram;
}

std::vector<std::shared_ptr<Class>> ShownClasses(const Diagram& diagram) {
    std::vector<std::shared_ptr<Class>> out;
    for (const auto& view : diagram.views) {
        if (auto cls = view->cls.lock()) out.push_back(cls);
    }
    return out;
}

std::shared_ptr<ClassView> ClassViewOf(const Diagram& diagram, const Class& cls) {
    for (const auto& view : diagram.views) {
        if (view->cls.lock().get() == &cls) return view;
    }
    return nullptr;
}

std::shared_ptr<ClassView> AddClass(Diagram& diagram, const std::shared_ptr<Class>& cls) {
    if (auto existing = ClassViewOf(diagram, *cls)) return existing;
    auto view = std::make_shared<ClassView>();
    view->cls = cls;
    std::size_t slot = diagram.views.size();
    view->placementA = static_cast<std::int16_t>(
        kGridLeft + kGridWidth * static_cast<std::int16_t>(slot % kGridColumns));
    view->placementB = static_cast<std::int16_t>(
        kGridTop +
        kGridHeight * static_cast<std::int16_t>(std::min<std::size_t>(slot / kGridColumns, 100)));
    diagram.views.push_back(view);
    return view;
}

bool RemoveClass(Diagram& diagram, const Class& cls) {
    auto it = std::find_if(diagram.views.begin(), diagram.views.end(),
                           [&](const auto& view) { return view->cls.lock().get() == &cls; });
    if (it == diagram.views.end()) return false;
    diagram.views.erase(it);
    return true;
}

std::shared_ptr<Diagram> InitialDiagram(const Model& model) {
    auto diagrams = ClassDiagramsOf(*model.top);
    for (const auto& diagram : diagrams) {
        if (diagram->name == "Main") return diagram;
    }
    return diagrams.empty() ? nullptr : diagrams.front();
}

}  // namespace rosehost
