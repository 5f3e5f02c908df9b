#include "model/model.h"
#include "naming/naming.h"

namespace model {

using automation::ObjectRef;

namespace {

// The server's own classes live in this category; they are never offered for export.
constexpr const char* kSystemCategory = "Tavro System Classes";

bool IsSelectedOnDiagram(const ObjectRef& model, const ObjectRef& cls) {
    ObjectRef diagram = rose::CurrentDiagram(model);
    if (!diagram) return false;
    return rose::ContainsItem(rose::SelectedItems(diagram), rose::AsElement(cls));
}

}  // namespace

void LoadRoseClassList(window::ClassList& AvailList, window::ClassList& SelectList,
                       window::ClassList& AvailListIDs, window::ClassList& SelectListIDs) {
    rose::PromptConnectToRose();

    std::string modelName = rose::GetRoseModelName();
    if (modelName.empty()) modelName = "untitled";
    if (window::frmImportExport) {
        window::frmImportExport->StatusMessage("Connected to " + modelName);
        window::frmImportExport->SetNamespaceOrModelCaption("Rose Model: " + modelName);
    }

    std::int16_t n = rose::Count(rose::AllClasses(rose::ActiveModel(rose::RoseApp)));
    for (std::int16_t i = 1; i <= n; ++i) {
        ObjectRef model = rose::ActiveModel(rose::RoseApp);
        ObjectRef cls = rose::ClassAt(rose::AllClasses(model), i);
        if (rose::Name(rose::OwningCategory(cls)) == kSystemCategory) continue;

        bool selected = IsSelectedOnDiagram(model, cls);
        window::ClassList& list = selected ? SelectList : AvailList;
        window::ClassList& ids = selected ? SelectListIDs : AvailListIDs;
        // The visible list sorts; the key goes to the same position in its companion.
        std::int16_t index =
            list.AddItem(naming::ServerClassNameOfRosePath(rose::QualifiedName(cls)));
        ids.InsertItem(index, rose::UniqueKey(cls));
    }
}

}  // namespace model
