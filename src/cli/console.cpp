// The console's transfer window: the selection taken from the arguments, and the log rows and
// status texts printed as they change.
#include <algorithm>
#include <ostream>

#include "cli/cli.h"

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

}  // namespace

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

ConsoleWindow::ConsoleWindow(std::ostream& out, bool live) : out_(out), live_(live) {}

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
    out_ << "[" << logId << "/" << Rows().size() << "] " << line << std::flush;
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
