// corvansil-cli: the export, import and loading runs without a window. The selection comes
// from the arguments, the log rows and status texts go to standard output, and the exit status
// says whether every class went through. The console window implements the same transfer-window
// operations as the Qt window, so the drivers and loaders are the ones the add-in runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "window/plain_window.h"

namespace cli {

// Exit statuses.
inline constexpr int kExitOk = 0;  // every class went through
// A class failed, or a run stopped on an error or on SIGINT/SIGTERM (1 rather than 130: the
// run ended by itself, having said what it left undone).
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUnreachable = 2;  // bad usage, or a side that could not be reached

// What to run: the window's run modes, by the command's name.
using Command = window::RunMode;

struct Options {
    Command command = Command::None;
    bool help = false;
    bool version = false;  // `--version` alone
    bool all = false;
    std::vector<std::string> patterns;  // class names or patterns with '*' and '?'
    bool keepExisting = false;          // clears the override option
    bool noDiagram = false;             // clears drawing new classes on the active diagram
    bool includeDatatype = false;
    bool includeSystem = false;
    bool dryRun = false;
    std::string reportFile;
    std::string server;  // HOST:PORT:NAMESPACE
    std::string user;
    std::string passwordFile;  // "-" reads standard input
    std::string roseSocket;
};

struct ParseResult {
    bool ok = false;
    std::string message;  // why the arguments are no good
    Options options;
};

// Reads the arguments after the program name.
ParseResult ParseArguments(const std::vector<std::string>& args);
// The program's usage text, and the help of one command.
std::string UsageText();
std::string CommandHelp(Command command);
const char* CommandWord(Command command);
// What a usage error prints: why, then the help of the command it was given for (the
// program's usage when no command was recognised).
std::string UsageErrorText(const ParseResult& parsed);

// True when `name` matches `pattern` as a whole: '*' any run of characters, '?' any one;
// letter case counts, as it does in server class names.
bool MatchesPattern(const std::string& pattern, const std::string& name);

// Puts every entry of the selected list back into the available list (with its companion
// entry), then selects the available entries that `--all` or one of the patterns names.
// `unmatched` receives every pattern that named nothing.
void SelectClasses(window::TransferWindow& form, const Options& options,
                   std::vector<std::string>& unmatched);

// Why `pattern` selected nothing, for the error line. On the server's side it also names the
// system or datatype classes the pattern matches, which the list leaves out, and the options
// that list them (the server's list is read again for this).
std::string UnmatchedText(const Options& options, const std::string& pattern);

// A row as one line of text: a mark for its picture, the class name and the status text.
std::string FormatRow(const window::LogRow& row);
// True once a row shows an outcome rather than work in progress.
bool IsFinalRow(const window::LogRow& row);

// The width of the terminal on `fd`: what the terminal says, else `columnsVariable` (the
// value of $COLUMNS, may be null) when it is a positive number, else 80.
std::size_t TerminalColumns(int fd, const char* columnsVariable);

// The transfer window of the console. Without a terminal it prints one line per outcome a
// row reaches and one line per status text; on a terminal it also keeps a live progress line
// of the row in hand, overwritten in place and cut to `columns` characters less one (0: the
// width of the terminal on standard output, TerminalColumns).
class ConsoleWindow : public window::PlainWindow {
  public:
    ConsoleWindow(std::ostream& out, bool live, std::size_t columns = 0);
    void RowChanged(std::int16_t logId) override;
    void StatusChanged() override;
    void ClearLog() override;
    // Ends a live line that is still open.
    void Finish();
    // True when any class row ended "Failed".
    bool AnyFailed() const;

  private:
    void ClearLiveLine();
    std::ostream& out_;
    bool live_;
    std::size_t columns_;
    bool lineOpen_ = false;
    std::vector<std::string> printed_;  // the last line printed per row
};

// One member of a class as both sides describe it.
struct Member {
    std::string name;
    std::string kind;  // "property", "method" or "relationship"
    std::string type;  // server form of the property type or method return type
    std::string outcome;
    std::string reason;  // why it was skipped or failed
};

// What a run did (or would do) with one class.
struct ClassOutcome {
    std::string name;
    std::string outcome;
    std::string detail;
    std::vector<Member> members;
    // Why the export could not store the class's XML, so that the parts only the XML holds
    // (storage, queries, indices, code) were not kept; "" when they were or there were none.
    std::string hiddenPartsLost;
};

// A class the export deleted on the server and did not save again, and the command that
// brings back its last definition.
struct MissingClass {
    std::string name;
    std::string restore;
};

// How the run ended, as the report's last fields give it.
struct RunEnd {
    int exitStatus = kExitOk;
    std::string error;  // why the run ended before its end; "" when it ran to it
    std::vector<MissingClass> missing;
};

// Names on `err` every class whose XML the export could not store, with why; true when there
// was one: the run then did not keep all it was asked to.
bool ReportClassXmlFailures(std::ostream& err);

// The JSON document of `--report`.
std::string ReportJson(const std::string& command, const std::vector<ClassOutcome>& classes,
                       const std::string& status, const RunEnd& end);
// The outcomes of the class rows of the run; a row that never got an outcome is "not run".
// Each class an export wrote has its members with what the export did with each; each class an
// import wrote, when `readMembers`, the server's members with whether the model now holds them.
std::vector<ClassOutcome> CollectOutcomes(Command command, window::PlainWindow& form,
                                          bool readMembers);
// False, with the reason, when no file can be created where `path` names one: checked before a
// run changes anything.
bool CheckReportPath(const std::string& path, std::string& why);
// Writes the report in one step: a temporary file beside `path`, renamed over it, so that a
// reader finds the old report or the new one, never half of one.
bool WriteReportFile(const std::string& path, const std::string& text, std::string& why);

// Catches SIGINT and SIGTERM while it lives: the first asks the run to stop (StopSignal gives
// it), a second one ends the process as the signal always does.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
};
// The stop signal that arrived, or 0.
int StopSignal();
// "SIGINT", "SIGTERM".
std::string SignalName(int signal);

// The selected classes as the run treats them: the run itself, against a side that keeps
// nothing of it. The exit status is the run's (`form` has its rows).
std::vector<ClassOutcome> DryRunExport(window::PlainWindow& form);
std::vector<ClassOutcome> DryRunImport(window::PlainWindow& form);
// The dry-run result as lines of text.
void PrintDryRun(std::ostream& out, const std::vector<ClassOutcome>& classes);

// Runs one command against the objects platform::Objects() gives; `out` gets the log and
// status lines, `err` the diagnostics. Returns the exit status.
int RunCommand(const Options& options, std::ostream& out, std::ostream& err, bool live);

}  // namespace cli
