#include <exception>

#include "import/import.h"
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "platform/platform.h"
#include "server/members.h"
#include "server/server.h"
#include "window/window.h"

namespace importing {

namespace rs = server::members::resultset;
namespace col = server::members::summary;

namespace {

// Positions of the three columns the loading reads; 0 while not found.
struct Columns {
    std::int32_t name = 0;
    std::int32_t datatype = 0;
    std::int32_t system = 0;
    bool Complete() const { return name != 0 && datatype != 0 && system != 0; }
};

Columns FindColumns(const ObjectRef& query) {
    Columns columns;
    std::int32_t count = automation::CallByName(query, rs::kColumnCount).ToInt32();
    for (std::int32_t i = 1; i <= count; ++i) {
        std::string name = automation::CallByName(query, rs::kColumnName, {i}).ToString();
        if (name == col::kName) columns.name = i;
        if (name == col::kDatatype) columns.datatype = i;
        if (name == col::kSystem) columns.system = i;
    }
    return columns;
}

automation::Variant ColumnValue(const ObjectRef& query, std::int32_t column) {
    return automation::CallByName(query, rs::kColumnValue, {column});
}

// A message that the run cannot go on without; the process ends once it is closed.
[[noreturn]] void GiveUp(const char* text) {
    platform::MessageBox(text, platform::Buttons::Ok, platform::Icon::None);
    platform::EndProcess();
}

// One '%' class of the run's kind: created in "Tavro System Classes" unless that category
// already holds a class of its name. Only the category's own classes count.
void LoadSpecialClass(window::TransferWindow& form, const std::string& className) {
    std::int16_t row = form.AddLogMsg(className, "", "", window::kIconInProgress,
                                      /*displayNow=*/false);
    ObjectRef category = naming::FindOrCreateCategory(className);
    std::string roseName = naming::ShortClassName(className);
    if (rose::IndexOfName(rose::OwnedClasses(category), roseName) != 0) {
        form.UpdateLogMsg(row, std::nullopt, "Already Defined", "", window::kIconDone,
                          /*displayNow=*/false);
        return;
    }
    rose::CreateClass(category, roseName);
    form.UpdateLogMsg(row, std::nullopt, "Done", "", window::kIconDone, /*displayNow=*/false);
}

bool LoadSpecialClasses(window::TransferWindow& form, window::RunMode mode) {
    form.StatusMessage("Connecting to Rational Rose ...");
    if (!rose::ConnectToRose()) GiveUp("Rational Rose is not running");

    form.StatusMessage("Connecting to Tavro ...");
    if (!server::ConnectToServer(server::ServerNamespace)) GiveUp("Unable to connect to Tavro");

    ObjectRef categories = rose::AllCategories(rose::ActiveModel(rose::RoseApp));
    if (rose::Count(categories) == 0) return false;

    form.StatusMessage(mode == window::RunMode::Datatypes ? "Loading Tavro Datatype Classess ..."
                                                          : "Loading Tavro System Classess ...");
    ObjectRef query =
        automation::CallByName(
            server::ServerFactory, server::members::factory::kOpenQuery,
            {server::members::classes::kClassDefinition, server::members::classes::kSummaryQuery})
            .ToObject();
    Columns columns = FindColumns(query);
    if (!columns.Complete()) GiveUp("Internal Error in ClassInfo Query");

    automation::CallByName(query, rs::kExecute);
    while (automation::CallByName(query, rs::kNext).ToBool()) {
        // Both flags are read in either mode; an empty value counts as zero.
        bool isDatatype = ColumnValue(query, columns.datatype).ToInt32() != 0;
        bool isSystem = ColumnValue(query, columns.system).ToInt32() != 0;
        bool qualifies = (mode == window::RunMode::Datatypes && isDatatype) ||
                         (mode == window::RunMode::System && isSystem);
        std::string className = ColumnValue(query, columns.name).ToString();
        if (!qualifies || className.empty() || className.front() != '%') continue;
        LoadSpecialClass(form, className);
        form.DoEvents();
    }
    automation::CallByName(query, rs::kClose);
    form.StatusMessage("Done");
    return true;
}

}  // namespace

bool AddTavroSpecialClasses() {
    window::TransferWindow& form = *window::frmImportExport;
    bool result = false;
    try {
        result = LoadSpecialClasses(form, window::LinkMode);
    } catch (const std::exception&) {
        // The failure exit: no message, no further status text; what was created stays.
        result = false;
    }
    form.SetCloseCaption("Close");
    return result;
}

}  // namespace importing
