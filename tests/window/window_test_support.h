// Helpers of the transfer window's tests: a Qt application, scripted message boxes, an
// observed end of the process, and a window built for one run mode.
#pragma once

#include <QApplication>
#include <QItemSelectionModel>
#include <QListView>
#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "window/qt/import_export_window.h"

namespace window_test {

inline QApplication& App() {
    static int argc = 1;
    static char name[] = "window_qt_test";
    static char* argv[] = {name, nullptr};
    // Never destroyed: tearing it down among the other static objects at exit, after a
    // window has been shown, crashes inside Qt's platform plug-in.
    static auto* app = new QApplication(argc, argv);
    return *app;
}

// Answers message boxes from a script, records what they said, and turns the end of the
// process into a `platform::ProcessEnded` exception. Puts the defaults back when it goes.
class ScriptedUi {
  public:
    explicit ScriptedUi(std::deque<platform::Answer> answers = {}) : answers_(std::move(answers)) {
        platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
            boxes.push_back(request);
            if (answers_.empty()) return platform::Answer::Cancel;
            auto answer = answers_.front();
            answers_.pop_front();
            return answer;
        };
        platform::Ui().endProcess = [](int status) { throw platform::ProcessEnded{status}; };
    }
    ~ScriptedUi() { platform::ResetUi(); }
    ScriptedUi(const ScriptedUi&) = delete;
    ScriptedUi& operator=(const ScriptedUi&) = delete;

    std::vector<platform::MessageBoxRequest> boxes;

  private:
    std::deque<platform::Answer> answers_;
};

// A window loaded in `mode`, not shown.
inline std::unique_ptr<window::ImportExportWindow> LoadedWindow(std::int16_t mode,
                                                                window::RunOps ops = {}) {
    App();
    window::LinkMode = static_cast<window::RunMode>(mode);
    auto form = std::make_unique<window::ImportExportWindow>(std::move(ops));
    form->Form_Load();
    return form;
}

// Export-mode loader that puts `names` into the available list with the ids "id-" + name.
inline window::RunOps RoseClasses(std::vector<std::string> names,
                                  std::vector<std::string> selected = {}) {
    window::RunOps ops;
    ops.LoadRoseClassList = [names, selected](window::ClassList& avail, window::ClassList& sel,
                                              window::ClassList& availIds,
                                              window::ClassList& selIds) {
        for (const auto& name : names) availIds.InsertItem(avail.AddItem(name), "id-" + name);
        for (const auto& name : selected) selIds.InsertItem(sel.AddItem(name), "id-" + name);
    };
    return ops;
}

inline std::vector<std::string> Entries(const window::ClassList& list) {
    std::vector<std::string> result;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) result.push_back(list.List(i));
    return result;
}

inline std::vector<std::string> Highlighted(const window::ClassList& list) {
    std::vector<std::string> result;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) {
        if (list.Selected(i)) result.push_back(list.List(i));
    }
    return result;
}

// Highlights exactly `rows` the way a user's click and control-clicks do: through the view's
// selection.
inline void Highlight(window::ImportExportWindow& form, const char* listName,
                      std::initializer_list<int> rows) {
    auto* view = form.findChild<QListView*>(listName);
    view->clearSelection();
    for (int row : rows)
        view->selectionModel()->select(view->model()->index(row, 0), QItemSelectionModel::Select);
}

}  // namespace window_test
