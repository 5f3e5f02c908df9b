#include "export/export.h"
#include "export/export_internal.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "server/server.h"
#include "window/window.h"

namespace exporting {

namespace {

struct Outcome {
    const char* msgText;
    std::int16_t icon;
};

// Log status and picture of each ExportResult, indexed by the result.
constexpr Outcome kOutcomes[] = {
    {"", window::kIconNone},
    {"New Class Created", window::kIconDone},
    {"Existing Class Skipped", window::kIconDone},
    {"Failed", window::kIconFailed},
    {"Existing Class Replaced", window::kIconDone},
};

// The class is looked up again by its key, since the model may have changed since the list
// was filled; a key that finds nothing fails the class like any other error.
ExportResult ExportClassByKey(const std::string& key, std::string& message) {
    automation::ObjectRef roseClass;
    try {
        roseClass = rose::GetRoseClassByKey(key);
    } catch (const std::exception& error) {
        message = error.what();
        return kClassFailed;
    }
    return ExportClass(roseClass, message);
}

}  // namespace

void ExportClasses() {
    window::TransferWindow& form = *window::frmImportExport;
    window::ClassList& names = form.lstSelectedClasses();
    window::ClassList& keys = form.lstSelectedClassIDs();

    ForgetDeletedClasses();
    server::ForgetClassXmlFailures();
    ForgetMemberOutcomes();
    // Without the property defaults every class would fail the same way: nothing is started.
    std::string missingDefaults = MissingPropertyDefaults(keys);
    if (!missingDefaults.empty()) {
        platform::MessageBox(missingDefaults, platform::Buttons::Ok, platform::Icon::Critical);
        form.StatusMessage(std::string("Export") + " not started");
        return;
    }

    std::int16_t count = names.ListCount();
    server::ServerClassTypes.Clear();
    server::LoadServerClassTypes(server::ServerClassTypes);

    // Every row exists before the first class is exported, so row i belongs to entry i.
    for (std::int16_t i = 1; i <= count; ++i) {
        form.AddLogMsg(names.List(static_cast<std::int16_t>(i - 1)), "", "", window::kIconNone,
                       /*displayNow=*/true);
    }

    count = names.ListCount();
    for (std::int16_t i = 1; i <= count; ++i) {
        auto index = static_cast<std::int16_t>(i - 1);
        std::string name = names.List(index);
        std::string key = keys.List(index);
        form.UpdateLogMsg(i, name, "Processing ...", "", window::kIconInProgress,
                          /*displayNow=*/true);
        form.DoEvents();

        std::string message;
        ExportResult result = ExportClassByKey(key, message);
        const Outcome& outcome = kOutcomes[result];
        form.UpdateLogMsg(i, name, outcome.msgText, message, outcome.icon, /*displayNow=*/true);
    }
    form.StatusMessage(std::string("Export") + " complete");
}

}  // namespace exporting
