#include <vector>

#include "automation/rpc.h"
#include "model/model.h"

namespace model {

using automation::ObjectRef;

namespace {

// Takes every class off the diagram and puts it back where it was. One collection serves both
// passes: it still lists the classes after they were taken off the diagram.
void RedrawClasses(const ObjectRef& diagram) {
    ObjectRef shown = rose::ShownClasses(diagram);
    std::int16_t n = rose::Count(shown);
    if (n == 0) return;
    std::vector<std::int16_t> placementA(static_cast<std::size_t>(n) + 1);
    std::vector<std::int16_t> placementB(static_cast<std::size_t>(n) + 1);
    for (std::int16_t k = n; k >= 1; --k) {
        ObjectRef cls = rose::ItemAt(shown, k);
        ObjectRef view = rose::ClassViewOf(diagram, cls);
        placementA[static_cast<std::size_t>(k)] = rose::PlacementA(view);
        placementB[static_cast<std::size_t>(k)] = rose::PlacementB(view);
        rose::RemoveClass(diagram, cls);
    }
    for (std::int16_t k = n; k >= 1; --k) {
        ObjectRef cls = rose::ItemAt(shown, k);
        rose::AddClass(diagram, cls);
        ObjectRef view = rose::ClassViewOf(diagram, cls);
        rose::SetPlacementA(view, placementA[static_cast<std::size_t>(k)]);
        rose::SetPlacementB(view, placementB[static_cast<std::size_t>(k)]);
    }
    rose::Redraw(diagram);
}

}  // namespace

bool IsClassDiagramActive() {
    try {
        ObjectRef diagram = rose::CurrentDiagram(rose::ActiveModel(rose::RoseApp));
        return rose::KindName(diagram) == rose::kClassDiagramKind;
    } catch (const automation::AutomationError&) {
        return false;
    }
}

void UpdateRoseDiagrams() {
    try {
        // Every step fetches again from the application down, so that each refresh sees the
        // model as the last one left it.
        std::int16_t n = rose::Count(rose::AllCategories(rose::ActiveModel(rose::RoseApp)));
        for (std::int16_t i = 1; i <= n; ++i) {
            ObjectRef category =
                rose::CategoryAt(rose::AllCategories(rose::ActiveModel(rose::RoseApp)), i);
            std::int16_t m = rose::Count(rose::ClassDiagrams(category));
            for (std::int16_t j = 1; j <= m; ++j) {
                RefreshClassDiagram(rose::ClassDiagramAt(rose::ClassDiagrams(category), j));
            }
        }
    } catch (const automation::AutomationError&) {
        // Diagrams not reached yet stay as they are; the import has nothing to report.
    }
}

void RefreshClassDiagram(const ObjectRef& diagram) {
    try {
        // The removals, additions and placements go without waiting; an error among them
        // still ends the refresh here.
        automation::rpc::Pipeline pipeline;
        pipeline.Run([&] { RedrawClasses(diagram); });
    } catch (const automation::AutomationError&) {
        // The caller goes on with the next diagram.
    }
}

}  // namespace model
