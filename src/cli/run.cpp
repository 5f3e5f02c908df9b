// One command of corvansil-cli: the connection settings, the answers to the message boxes the
// shared code may show, the selection, the driver and, however the run ends, the classes it
// left deleted, the report and the status.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/cli.h"
#include "cli/terminal.h"
#include "export/export.h"
#include "import/import.h"
#include "model/model.h"
#include "model/rose.h"
#include "platform/platform.h"
#include "platform/rose_attach.h"
#include "platform/rose_socket.h"
#include "platform/tavro_factory.h"
#include "server/server.h"

namespace cli {

namespace {

constexpr const char* kTavroUnreachable = "Unable to connect to Tavro";
constexpr const char* kNoPermission = "No 'Development' Security Permission";

// Thrown by the console's way of ending the process, caught where the command started.
struct Ended {
    int status;
};
// Thrown by the console's event dispatch once a stop signal arrived.
struct Stopped {};

// What the run found out on its way, for its end.
struct Run {
    bool dryRun = false;
    std::vector<ClassOutcome> dryRunClasses;
    std::string error;  // why it ended early
    bool stopped = false;
};

enum class Side : std::uint8_t { Tavro, Rose };

// The text of the last message box the shared code showed.
std::string gLastBox;

std::string TavroAddress() {
    const char* connection = std::getenv("TAVRO_CONNECTION");
    return connection ? connection : "";
}

std::string TavroUser() {
    const char* user = std::getenv("TAVRO_USER");
    return user ? user : "";
}

// Why the side could not be used, as precisely as the connection said.
std::string UnreachableText(Side side) {
    switch (side) {
        case Side::Tavro:
            if (gLastBox == kNoPermission) {
                return "the user '" + TavroUser() +
                       "' may not change classes on the Tavro server at " + TavroAddress();
            }
            if (!platform::LastConnectionFailure().empty()) {
                return platform::LastConnectionFailure();
            }
            return "cannot reach the Tavro server at " + TavroAddress();
        case Side::Rose:
#ifdef _WIN32
            return std::string("cannot reach the running ") + platform::kRoseProgId;
#else
            return "cannot reach rose-host at " + platform::RoseSocketPath();
#endif
    }
    return "";
}

int Unreachable(std::ostream& err, Run& run, Side side) {
    run.error = UnreachableText(side);
    err << "corvansil-cli: " << run.error << "\n";
    return kExitUnreachable;
}

// A message box has nobody to answer it: its text goes to standard error and the answer is
// the one that lets the run go on or stop without waiting. A connection box answers Cancel,
// and the process end that follows names the side that could not be reached.
class ConsoleUi {
  public:
    ConsoleUi(std::ostream& err, Run& run) : saved_(platform::Ui()), err_(err), run_(run) {
        gLastBox.clear();
        platform::Ui().messageBox = [this](const platform::MessageBoxRequest& request) {
            err_ << "corvansil-cli: " << request.text << "\n";
            gLastBox = request.text;
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
        // Events are where the window's Cancel acts; here a stop signal does, once.
        platform::Ui().doEvents = [this] {
            if (StopSignal() == 0 || run_.stopped) return;
            run_.stopped = true;
            throw Stopped{};
        };
        platform::Ui().endProcess = [this](int) {
            if (gLastBox.rfind(kTavroUnreachable, 0) == 0) {
                throw Ended{Unreachable(err_, run_, Side::Tavro)};
            }
            if (gLastBox.find("Rational Rose") != std::string::npos) {
                throw Ended{Unreachable(err_, run_, Side::Rose)};
            }
            run_.error = "the run stopped: " + gLastBox;
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
    Run& run_;
};

// The connection options take the place of the environment the connection dialog reads.
bool ApplyConnectionOptions(const Options& options, std::ostream& err) {
    if (!options.server.empty()) SetEnvironment("TAVRO_CONNECTION", options.server);
    if (!options.user.empty()) SetEnvironment("TAVRO_USER", options.user);
    if (!options.roseSocket.empty()) {
        SetEnvironment("CORVANSIL_ROSE_SOCKET", options.roseSocket);
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
    SetEnvironment("TAVRO_PASSWORD", password);
    return true;
}

// What can be known wrong before anything is touched: exit status 2 and why, or 0.
int CheckBeforeRun(const Options& options, std::ostream& err) {
    if (TavroAddress().empty()) {
        err << "corvansil-cli: no Tavro server given: use --server HOST:PORT:NAMESPACE or set "
               "TAVRO_CONNECTION\n";
        return kExitUnreachable;
    }
    platform::ConnectionParts parts;
    if (!platform::SplitConnectionString(TavroAddress(), parts)) {
        err << "corvansil-cli: " << platform::MalformedConnectionText(TavroAddress()) << "\n";
        return kExitUnreachable;
    }
    std::string why;
    if (!options.reportFile.empty() && !CheckReportPath(options.reportFile, why)) {
        err << "corvansil-cli: cannot write the report to " << options.reportFile << ": " << why
            << "\n";
        return kExitUnreachable;
    }
    return kExitOk;
}

// Exit status 2 when a pattern named no class of the list it was matched against.
int Select(ConsoleWindow& form, const Options& options, std::ostream& err) {
    std::vector<std::string> unmatched;
    SelectClasses(form, options, unmatched);
    for (const std::string& pattern : unmatched) {
        err << "corvansil-cli: " << UnmatchedText(options, pattern) << "\n";
    }
    return unmatched.empty() ? kExitOk : kExitUnreachable;
}

int RunExport(const Options& options, ConsoleWindow& form, Run& run, std::ostream& out,
              std::ostream& err) {
    if (!rose::ConnectToRose()) return Unreachable(err, run, Side::Rose);
    model::LoadRoseClassList(form.lstAvailableClasses(), form.lstSelectedClasses(),
                             form.lstAvailableClassIDs(), form.lstSelectedClassIDs());
    if (int status = Select(form, options, err)) return status;
    // Without the add-in's property defaults every class would fail alike: nothing is started,
    // and a dry run would promise what the export cannot do.
    std::string missingDefaults = exporting::MissingPropertyDefaults(form.lstSelectedClassIDs());
    if (!missingDefaults.empty()) {
        run.error = missingDefaults;
        err << "corvansil-cli: " << missingDefaults << "\n";
        return kExitUnreachable;
    }

    form.StatusMessage("Starting Export");
    std::string nameSpace;
    if (!server::ConnectToServer(nameSpace)) return Unreachable(err, run, Side::Tavro);
    form.StatusMessage("Connected to Tavro");
    if (options.dryRun) {
        run.dryRun = true;
        run.dryRunClasses = DryRunExport(form);
        PrintDryRun(out, run.dryRunClasses);
        return form.AnyFailed() ? kExitFailed : kExitOk;
    }
    form.StatusMessage("Exporting ...");
    form.ClearLog();
    exporting::ExportClasses();
    return form.AnyFailed() ? kExitFailed : kExitOk;
}

int RunImport(const Options& options, ConsoleWindow& form, Run& run, std::ostream& out,
              std::ostream& err) {
    if (!server::ConnectToServer(server::ServerNamespace)) {
        return Unreachable(err, run, Side::Tavro);
    }
    server::LoadTavroClassList();
    if (int status = Select(form, options, err)) return status;

    form.StatusMessage("Starting Import");
    if (!rose::ConnectToRose()) return Unreachable(err, run, Side::Rose);
    form.StatusMessage("Connected to Rose");
    if (options.dryRun) {
        run.dryRun = true;
        run.dryRunClasses = DryRunImport(form);
        PrintDryRun(out, run.dryRunClasses);
        return form.AnyFailed() ? kExitFailed : kExitOk;
    }
    form.StatusMessage("Importing ...");
    form.ClearLog();
    importing::ImportClasses();
    return form.AnyFailed() ? kExitFailed : kExitOk;
}

int RunSpecialClasses(ConsoleWindow& form, Run& run, std::ostream& err) {
    // Both sides are tried first so that a missing one is named before the loading starts.
    if (!rose::ConnectToRose()) return Unreachable(err, run, Side::Rose);
    if (!server::ConnectToServer(server::ServerNamespace)) {
        return Unreachable(err, run, Side::Tavro);
    }
    if (!importing::AddTavroSpecialClasses()) {
        run.error = "the loading stopped before its end";
        err << "corvansil-cli: " << run.error << "\n";
        return kExitFailed;
    }
    return form.AnyFailed() ? kExitFailed : kExitOk;
}

int Dispatch(const Options& options, ConsoleWindow& form, Run& run, std::ostream& out,
             std::ostream& err) {
    switch (options.command) {
        case Command::None:
            err << UsageText();
            return kExitUnreachable;
        case Command::Export:
            return RunExport(options, form, run, out, err);
        case Command::Import:
            return RunImport(options, form, run, out, err);
        case Command::Datatypes:
        case Command::System:
            return RunSpecialClasses(form, run, err);
    }
    return kExitUnreachable;
}

// Classes the export deleted and did not save again: named on standard error with the command
// that restores each, whatever ended the run.
std::vector<MissingClass> ReportDeletedClasses(std::ostream& err) {
    std::vector<MissingClass> missing;
    for (const exporting::DeletedClass& deleted : exporting::ClassesDeletedNotSaved()) {
        missing.push_back(MissingClass{deleted.className, exporting::RestoreCommand(deleted)});
    }
    if (missing.empty()) return missing;
    err << "corvansil-cli: deleted on the Tavro server and not saved again, so the server holds "
           "no definition of:\n";
    for (const MissingClass& cls : missing) {
        err << "corvansil-cli:   " << cls.name << ": restore it with: " << cls.restore << "\n";
    }
    err << "corvansil-cli: (" << exporting::kRestoreNote << ")\n";
    return missing;
}

// The end of every run that started, however it ended: the classes left deleted, the report
// and the status.
int Conclude(const Options& options, ConsoleWindow& form, const Run& run, int status,
             std::ostream& err) {
    RunEnd end;
    end.error = run.error;
    // A dry run's deletes were rolled back with everything else.
    if (!run.dryRun) end.missing = ReportDeletedClasses(err);
    if (ReportClassXmlFailures(err) && status == kExitOk) status = kExitFailed;
    end.exitStatus = end.missing.empty() ? status : kExitFailed;
    if (options.reportFile.empty()) return end.exitStatus;

    std::string json =
        run.dryRun ? ReportJson(CommandWord(options.command), run.dryRunClasses, "Dry run", end)
                   : ReportJson(CommandWord(options.command),
                                CollectOutcomes(options.command, form,
                                                /*readMembers=*/!run.stopped),
                                form.Status(), end);
    std::string why;
    if (WriteReportFile(options.reportFile, json, why)) return end.exitStatus;
    err << "corvansil-cli: cannot write the report to " << options.reportFile << ": " << why
        << "\n";
    return kExitUnreachable;
}

}  // namespace

int RunCommand(const Options& options, std::ostream& out, std::ostream& err, bool live) {
    if (!ApplyConnectionOptions(options, err)) return kExitUnreachable;
    if (int status = CheckBeforeRun(options, err)) return status;

    Run run;
    server::ForgetClassXmlFailures();
    ConsoleUi ui(err, run);
    StopSignals signals;
    exporting::StopRequested = [] { return StopSignal() != 0; };
    // A dry run's rows are those of a run that keeps nothing: its own lines say what they were.
    std::ostringstream dryRunRows;
    ConsoleWindow form(options.dryRun ? dryRunRows : out, live && !options.dryRun);
    form.SetCheckValue(window::CheckBox::Override, options.keepExisting ? 0 : 1);
    form.SetCheckValue(window::CheckBox::AddToDiagram, options.noDiagram ? 0 : 1);
    form.SetCheckValue(window::CheckBox::IncludeDatatype, options.includeDatatype ? 1 : 0);
    form.SetCheckValue(window::CheckBox::IncludeSystem, options.includeSystem ? 1 : 0);
    window::LinkMode = options.command;
    window::frmImportExport = &form;

    int status = kExitFailed;
    try {
        status = Dispatch(options, form, run, out, err);
    } catch (const Ended& ended) {
        status = ended.status;
    } catch (const Stopped&) {
        status = kExitFailed;
    } catch (const automation::AutomationError& e) {
        form.Finish();
        run.error = "the run stopped on an error: " + e.Description();
        err << "corvansil-cli: " << run.error << "\n";
        status = kExitFailed;
    }
    form.Finish();
    if (StopSignal() != 0) {
        // A signal that came after the last class still ends the run as stopped.
        run.stopped = true;
        run.error = "stopped by " + SignalName(StopSignal()) + ": nothing further was written";
        err << "corvansil-cli: " << run.error << "\n";
        status = kExitFailed;
    }
    if (!options.dryRun) form.SetCloseCaption("Close");
    status = Conclude(options, form, run, status, err);
    exporting::StopRequested = nullptr;
    window::frmImportExport = nullptr;
    return status;
}

}  // namespace cli
