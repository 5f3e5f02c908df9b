// The console's transfer window: the selection taken from the arguments, and the log rows and
// status texts printed as they change.
#include <algorithm>
#include <cstdlib>
#include <ostream>

#include "cli/cli.h"
#include "cli/terminal.h"
#include "server/server.h"

namespace cli {

namespace {

constexpr const char* kFailed = "Failed";

// Classic glob matching with one step of backtracking per '*'.
bool Glob(const char* pattern, const char* name) {
    const char* starPattern = nullptr;
    const char* starName = nullptr;
    while (*name) {
        if (*pattern == '*') {
            starPattern = ++pattern;
            starName = name;
            continue;
        }
        if (*pattern == '?' || *pattern == *name) {
            ++pattern;
            ++name;
            continue;
        }
        if (!starPattern) return false;
        pattern = starPattern;
        name = ++starName;
    }
    while (*pattern == '*') ++pattern;
    return *pattern == '\0';
}

// Moves entry `index` of one list (and of its companion when the companion has entries) into
// the other list at its sorted place.
void MoveEntry(window::ClassList& from, window::ClassList& fromIds, std::int16_t index,
               window::ClassList& to, window::ClassList& toIds) {
    bool withIds = fromIds.ListCount() > index;
    std::string id = withIds ? fromIds.List(index) : std::string();
    std::int16_t at = to.AddItem(from.List(index));
    if (withIds) toIds.InsertItem(at, id);
    from.RemoveItem(index);
    if (withIds) fromIds.RemoveItem(index);
}

const char* MarkOf(std::int16_t icon) {
    switch (icon) {
        case window::kIconFailed:
            return "FAILED";
        case window::kIconDone:
            return "done  ";
        case window::kIconInProgress:
            return "...   ";
        default:
            return "      ";
    }
}

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The first `characters` UTF-8 characters of `text`, never cutting one in two.
std::string CutToCharacters(const std::string& text, std::size_t characters) {
    std::size_t counted = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (IsContinuationByte(text[at])) continue;
        if (counted == characters) return text.substr(0, at);
        ++counted;
    }
    return text;
}

// The server's class list as LoadTavroClassList fills it with the two include check boxes set
// so, read into a window of its own: the transfer window's lists stay as they are.
std::vector<std::string> ServerListWith(bool includeDatatype, bool includeSystem) {
    window::PlainWindow scratch;
    scratch.SetCheckValue(window::CheckBox::IncludeDatatype, includeDatatype ? 1 : 0);
    scratch.SetCheckValue(window::CheckBox::IncludeSystem, includeSystem ? 1 : 0);
    window::TransferWindow* saved = window::frmImportExport;
    window::frmImportExport = &scratch;
    struct Restore {
        window::TransferWindow* saved;
        ~Restore() { window::frmImportExport = saved; }
    } restore{saved};
    server::LoadTavroClassList();
    std::vector<std::string> names;
    window::ClassList& list = scratch.lstAvailableClasses();
    for (std::int16_t i = 0; i < list.ListCount(); ++i) names.push_back(list.List(i));
    return names;
}

bool Holds(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// "--include-datatype", "--include-system" or both joined by "and".
std::string OptionsText(bool datatype, bool system) {
    if (datatype && system) return "--include-datatype and --include-system";
    return datatype ? "--include-datatype" : "--include-system";
}

// Why a pattern that names no listed class of the server names some of its classes all the
// same: they are system or datatype classes that the list leaves out without their options.
// "" when no class of the server matches it at all.
std::string HiddenClassesText(const Options& options, const std::string& pattern) {
    std::vector<std::string> all = ServerListWith(true, true);
    std::vector<std::string> withoutSystem = ServerListWith(true, false);
    std::vector<std::string> withoutDatatype = ServerListWith(false, true);
    std::vector<std::string> matching;
    bool needDatatype = false;
    bool needSystem = false;
    bool isDatatype = false;
    bool isSystem = false;
    for (const std::string& name : all) {
        if (!MatchesPattern(pattern, name)) continue;
        matching.push_back(name);
        // A class missing from the list that leaves out only one kind is of that kind.
        isSystem = !Holds(withoutSystem, name);
        isDatatype = !Holds(withoutDatatype, name);
        needSystem = needSystem || (isSystem && !options.includeSystem);
        needDatatype = needDatatype || (isDatatype && !options.includeDatatype);
    }
    if (matching.empty()) return "";
    std::string add = OptionsText(needDatatype, needSystem);
    if (matching.size() > 1) {
        return std::to_string(matching.size()) +
               " classes of the server match it, system or datatype classes; add " + add +
               " to list them";
    }
    std::string kind = isSystem && isDatatype ? "a system class and a datatype class"
                       : isSystem             ? "a system class"
                                              : "a datatype class";
    return matching[0] + " is " + kind + "; add " + add + " to list it";
}

}  // namespace

std::string UnmatchedText(const Options& options, const std::string& pattern) {
    if (options.command != Command::Import) {
        return "no class of the model matches '" + pattern + "'";
    }
    std::string hidden = HiddenClassesText(options, pattern);
    if (hidden.empty()) return "no class of the server matches '" + pattern + "'";
    return "no listed class of the server matches '" + pattern + "': " + hidden;
}

std::size_t TerminalColumns(int fd, const char* columnsVariable) {
    if (std::size_t width = TerminalWidth(fd); width > 0) return width;
    if (columnsVariable != nullptr) {
        char* end = nullptr;
        long columns = std::strtol(columnsVariable, &end, 10);
        if (end != columnsVariable && *end == '\0' && columns > 0 && columns <= 10000) {
            return static_cast<std::size_t>(columns);
        }
    }
    return 80;
}

bool MatchesPattern(const std::string& pattern, const std::string& name) {
    return Glob(pattern.c_str(), name.c_str());
}

void SelectClasses(window::TransferWindow& form, const Options& options,
                   std::vector<std::string>& unmatched) {
    window::ClassList& available = form.lstAvailableClasses();
    window::ClassList& availableIds = form.lstAvailableClassIDs();
    window::ClassList& selected = form.lstSelectedClasses();
    window::ClassList& selectedIds = form.lstSelectedClassIDs();
    while (selected.ListCount() > 0) MoveEntry(selected, selectedIds, 0, available, availableIds);

    std::vector<bool> used(options.patterns.size(), false);
    std::int16_t i = 0;
    while (i < available.ListCount()) {
        const std::string name = available.List(i);
        bool wanted = options.all;
        for (std::size_t p = 0; p < options.patterns.size(); ++p) {
            if (!MatchesPattern(options.patterns[p], name)) continue;
            used[p] = true;
            wanted = true;
        }
        if (!wanted) {
            ++i;
            continue;
        }
        MoveEntry(available, availableIds, i, selected, selectedIds);
    }
    for (std::size_t p = 0; p < options.patterns.size(); ++p) {
        if (!used[p]) unmatched.push_back(options.patterns[p]);
    }
}

bool IsFinalRow(const window::LogRow& row) {
    bool outcomePicture = row.icon == window::kIconDone || row.icon == window::kIconFailed;
    return outcomePicture && !row.status.empty();
}

std::string FormatRow(const window::LogRow& row) {
    std::string line = MarkOf(row.icon);
    if (!row.className.empty()) line += " " + row.className + ":";
    if (!row.status.empty()) line += " " + row.status;
    return line;
}

ConsoleWindow::ConsoleWindow(std::ostream& out, bool live, std::size_t columns)
    : out_(out), live_(live), columns_(columns) {}

void ConsoleWindow::ClearLiveLine() {
    if (!lineOpen_) return;
    out_ << "\r\033[K";
    lineOpen_ = false;
}

void ConsoleWindow::RowChanged(std::int16_t logId) {
    auto index = static_cast<std::size_t>(logId - 1);
    const window::LogRow& row = Rows()[index];
    if (printed_.size() < Rows().size()) printed_.resize(Rows().size());
    std::string line = FormatRow(row);
    if (IsFinalRow(row)) {
        // One line per outcome: a row that shows the same outcome again prints nothing.
        if (printed_[index] == line) return;
        ClearLiveLine();
        out_ << line << "\n" << std::flush;
        printed_[index] = line;
        return;
    }
    if (!live_) return;
    ClearLiveLine();
    // A line wider than the terminal would wrap, and clearing the line clears only its last
    // part. It stops short of the last column: some terminals wrap as soon as it is written.
    // The width is asked for every time, so that a resized terminal is followed.
    std::size_t columns =
        columns_ != 0 ? columns_ : TerminalColumns(/*fd=*/1, std::getenv("COLUMNS"));
    std::string progress =
        "[" + std::to_string(logId) + "/" + std::to_string(Rows().size()) + "] " + line;
    out_ << CutToCharacters(progress, columns - 1) << std::flush;
    lineOpen_ = true;
}

void ConsoleWindow::StatusChanged() {
    ClearLiveLine();
    out_ << "-- " << Status() << "\n" << std::flush;
}

void ConsoleWindow::ClearLog() {
    PlainWindow::ClearLog();
    printed_.clear();
}

void ConsoleWindow::Finish() {
    if (lineOpen_) out_ << "\n" << std::flush;
    lineOpen_ = false;
}

bool ConsoleWindow::AnyFailed() const {
    return std::any_of(Rows().begin(), Rows().end(),
                       [](const window::LogRow& row) { return row.status.rfind(kFailed, 0) == 0; });
}

}  // namespace cli
