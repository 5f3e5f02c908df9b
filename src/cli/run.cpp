// One command of corvansil-cli: the connection settings, the answers to the message boxes the
// shared code may show, the selection, the driver and the report.
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "cli/cli.h"
#include "export/export.h"
#include "import/import.h"
#include "model/model.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "platform/rose_socket.h"
#include "server/server.h"

namespace cli {

namespace {

constexpr const char* kTavroUnreachable = "Unable to connect to Tavro";

// Thrown by the console's way of ending the process, caught where the command started.
struct Ended {
    int status;
};

enum class Side : std::uint8_t { Tavro, Rose };

std::string TavroAddress() {
    const char* connection = std::getenv("TAVRO_CONNECTION");
    return connection ? connection : "";
}

int Unreachable(std::ostream& err, Side side) {
    switch (side) {
        case Side::Tavro:
            err << "corvansil-cli: cannot reach the Tavro server at " << TavroAddress() << "\n";
            break;
        case Side::Rose:
            err << "corvansil-cli: cannot reach rose-host at " << platform::RoseSocketPath()
                << "\n";
            break;
    }
    return kExitUnreachable;
}

// A message box has nobody to answer it: its text goes to standard error and the answer is
// the one that lets the run go on or stop without waiting. A connection box answers Cancel,
// and the process end that follows names the side that could not be reached.
class ConsoleUi {
  public:
    explicit ConsoleUi(std::ostream& err) : saved_(platform::Ui()), err_(err) {
        platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
            err_ << "corvansil-cli: " << request.text << "\n";
            lastBox_ = request.text;
            switch (request.buttons) {
                case platform::Buttons::Ok:
                    return platform::Answer::Ok;
                case platform::Buttons::OkCancel:
                case platform::Buttons::RetryCancel:
                    return platform::Answer::Cancel;
                case platform::Buttons::YesNo:
                    return platform::Answer::No;
            }
            return platform::Answer::Cancel;
        };
        platform::Ui().doEvents = [] {};
        platform::Ui().endProcess = [this](int) {
            if (lastBox_.rfind(kTavroUnreachable, 0) == 0) {
                throw Ended{Unreachable(err_, Side::Tavro)};
            }
            if (lastBox_.find("Rational Rose") != std::string::npos) {
                throw Ended{Unreachable(err_, Side::Rose)};
            }
            err_ << "corvansil-cli: the run stopped\n";
            throw Ended{kExitUnreachable};
        };
    }
    ~ConsoleUi() { platform::Ui() = saved_; }
    ConsoleUi(const ConsoleUi&) = delete;
    ConsoleUi& operator=(const ConsoleUi&) = delete;

  private:
    platform::UiOps saved_;
    std::ostream& err_;
    std::string lastBox_;
};

// The connection options take the place of the environment the connection dialog reads.
bool ApplyConnectionOptions(const Options& options, std::ostream& err) {
    if (!options.server.empty()) ::setenv("TAVRO_CONNECTION", options.server.c_str(), 1);
    if (!options.user.empty()) ::setenv("TAVRO_USER", options.user.c_str(), 1);
    if (!options.roseSocket.empty()) {
        ::setenv("CORVANSIL_ROSE_SOCKET", options.roseSocket.c_str(), 1);
    }
    if (options.passwordFile.empty()) return true;
    std::string password;
    if (options.passwordFile == "-") {
        std::getline(std::cin, password);
    } else {
        std::ifstream file(options.passwordFile);
        if (!file) {
            err << "corvansil-cli: cannot read the password file " << options.passwordFile << "\n";
            return false;
        }
        std::getline(file, password);
    }
    if (!password.empty() && password.back() == '\r') password.pop_back();
    ::setenv("TAVRO_PASSWORD", password.c_str(), 1);
    return true;
}

bool NeedsServerAddress() { return TavroAddress().empty(); }

// Exit status 2 when a pattern named no class of the list it was matched against.
int Select(ConsoleWindow& form, const Options& options, const char* side, std::ostream& err) {
    std::vector<std::string> unmatched;
    SelectClasses(form, options, unmatched);
    for (const std::string& pattern : unmatched) {
        err << "corvansil-cli: no class of the " << side << " matches '" << pattern << "'\n";
    }
    return unmatched.empty() ? kExitOk : kExitUnreachable;
}

bool WriteReport(const Options& options, const std::string& json, std::ostream& err) {
    if (options.reportFile.empty()) return true;
    std::ofstream file(options.reportFile, std::ios::binary | std::ios::trunc);
    file << json;
    file.close();
    if (file) return true;
    err << "corvansil-cli: cannot write the report to " << options.reportFile << "\n";
    return false;
}

// The end of a transfer run: the report, then the status.
int Finish(const Options& options, ConsoleWindow& form, std::ostream& err) {
    form.SetCloseCaption("Close");
    std::string json = ReportJson(CommandWord(options.command),
                                  CollectOutcomes(options.command, form), form.Status());
    if (!WriteReport(options, json, err)) return kExitUnreachable;
    return form.AnyFailed() ? kExitFailed : kExitOk;
}

int FinishDryRun(const Options& options, const std::vector<ClassOutcome>& classes,
                 std::ostream& out, std::ostream& err) {
    PrintDryRun(out, classes);
    std::string json = ReportJson(CommandWord(options.command), classes, "Dry run");
    return WriteReport(options, json, err) ? kExitOk : kExitUnreachable;
}

int RunExport(const Options& options, ConsoleWindow& form, std::ostream& out, std::ostream& err) {
    if (!rose::ConnectToRose()) return Unreachable(err, Side::Rose);
    model::LoadRoseClassList(form.lstAvailableClasses(), form.lstSelectedClasses(),
                             form.lstAvailableClassIDs(), form.lstSelectedClassIDs());
    if (int status = Select(form, options, "model", err)) return status;

    form.StatusMessage("Starting Export");
    std::string nameSpace;
    if (!server::ConnectToServer(nameSpace)) return Unreachable(err, Side::Tavro);
    form.StatusMessage("Connected to Tavro");
    if (options.dryRun) {
        server::LoadServerClassTypes(server::ServerClassTypes);
        return FinishDryRun(options, DryRunExport(form), out, err);
    }
    form.StatusMessage("Exporting ...");
    form.ClearLog();
    exporting::ExportClasses();
    return Finish(options, form, err);
}

int RunImport(const Options& options, ConsoleWindow& form, std::ostream& out, std::ostream& err) {
    if (!server::ConnectToServer(server::ServerNamespace)) return Unreachable(err, Side::Tavro);
    server::LoadTavroClassList();
    if (int status = Select(form, options, "server", err)) return status;

    form.StatusMessage("Starting Import");
    if (!rose::ConnectToRose()) return Unreachable(err, Side::Rose);
    form.StatusMessage("Connected to Rose");
    if (options.dryRun) {
        server::LoadServerClassTypes(server::ServerClassTypes);
        return FinishDryRun(options, DryRunImport(form), out, err);
    }
    form.StatusMessage("Importing ...");
    form.ClearLog();
    importing::ImportClasses();
    return Finish(options, form, err);
}

int RunSpecialClasses(const Options& options, ConsoleWindow& form, std::ostream& err) {
    // Both sides are tried first so that a missing one is named before the loading starts.
    if (!rose::ConnectToRose()) return Unreachable(err, Side::Rose);
    if (!server::ConnectToServer(server::ServerNamespace)) return Unreachable(err, Side::Tavro);
    bool ranToEnd = importing::AddTavroSpecialClasses();
    std::string json = ReportJson(CommandWord(options.command),
                                  CollectOutcomes(options.command, form), form.Status());
    if (!WriteReport(options, json, err)) return kExitUnreachable;
    if (!ranToEnd) {
        err << "corvansil-cli: the loading stopped before its end\n";
        return kExitFailed;
    }
    return form.AnyFailed() ? kExitFailed : kExitOk;
}

std::int16_t LinkModeOf(Command command) {
    switch (command) {
        case Command::None:
            return 0;
        case Command::Export:
            return 1;
        case Command::Import:
            return 2;
        case Command::Datatypes:
            return 3;
        case Command::System:
            return 4;
    }
    return 0;
}

int Dispatch(const Options& options, ConsoleWindow& form, std::ostream& out, std::ostream& err) {
    switch (options.command) {
        case Command::None:
            err << UsageText();
            return kExitUnreachable;
        case Command::Export:
            return RunExport(options, form, out, err);
        case Command::Import:
            return RunImport(options, form, out, err);
        case Command::Datatypes:
        case Command::System:
            return RunSpecialClasses(options, form, err);
    }
    return kExitUnreachable;
}

}  // namespace

int RunCommand(const Options& options, std::ostream& out, std::ostream& err, bool live) {
    if (!ApplyConnectionOptions(options, err)) return kExitUnreachable;
    if (NeedsServerAddress()) {
        err << "corvansil-cli: no Tavro server given: use --server HOST:PORT:NAMESPACE or set "
               "TAVRO_CONNECTION\n";
        return kExitUnreachable;
    }
    ConsoleUi ui(err);
    ConsoleWindow form(out, live);
    form.SetCheckValue(window::CheckBox::Override, options.keepExisting ? 0 : 1);
    form.SetCheckValue(window::CheckBox::AddToDiagram, options.noDiagram ? 0 : 1);
    form.SetCheckValue(window::CheckBox::IncludeDatatype, options.includeDatatype ? 1 : 0);
    form.SetCheckValue(window::CheckBox::IncludeSystem, options.includeSystem ? 1 : 0);
    window::LinkMode = LinkModeOf(options.command);
    window::frmImportExport = &form;

    int status = kExitFailed;
    try {
        status = Dispatch(options, form, out, err);
    } catch (const Ended& ended) {
        status = ended.status;
    } catch (const automation::AutomationError& e) {
        form.Finish();
        err << "corvansil-cli: the run stopped on an error: " << e.Description() << "\n";
        status = kExitFailed;
    }
    form.Finish();
    window::frmImportExport = nullptr;
    return status;
}

}  // namespace cli
