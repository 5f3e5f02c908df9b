// The transfer window as the drivers and loaders see it: two sorted class lists with their
// hidden companion lists, four option check boxes, a caption label, the event log, the status
// bar and the close button's caption. The Qt window implements it, and so does the console
// front end, so the same export, import and loading code serves both.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace window {

// The run mode, with the numbers the command words have always mapped to. Set once by the
// entry routine before the transfer window is created.
enum class RunMode : std::int16_t { None = 0, Export = 1, Import = 2, Datatypes = 3, System = 4 };
extern RunMode LinkMode;

// Log row pictures.
inline constexpr std::int16_t kIconNone = 0;
inline constexpr std::int16_t kIconFailed = 1;      // red cross
inline constexpr std::int16_t kIconDone = 2;        // blue check mark
inline constexpr std::int16_t kIconInProgress = 3;  // green triangle

// One list of the window. Positions are 0-based. A sorted list puts a new entry in its
// sorted place (letter case ignored: a, B, C) and `AddItem` reports where it went; an
// unsorted list appends. Reading past the end gives "".
class ClassList {
  public:
    virtual ~ClassList() = default;
    virtual std::int16_t AddItem(const std::string& text) = 0;
    virtual void InsertItem(std::int16_t index, const std::string& text) = 0;
    virtual void RemoveItem(std::int16_t index) = 0;
    virtual void Clear() = 0;
    virtual std::int16_t ListCount() const = 0;
    virtual std::string List(std::int16_t index) const = 0;
    virtual bool Selected(std::int16_t index) const = 0;
    virtual void SetSelected(std::int16_t index, bool selected) = 0;
};

enum class CheckBox : std::uint8_t { Override, AddToDiagram, IncludeDatatype, IncludeSystem };

class TransferWindow {
  public:
    virtual ~TransferWindow() = default;

    virtual ClassList& lstAvailableClasses() = 0;
    virtual ClassList& lstSelectedClasses() = 0;
    virtual ClassList& lstAvailableClassIDs() = 0;
    virtual ClassList& lstSelectedClassIDs() = 0;

    // 0 unchecked, 1 checked.
    virtual std::int16_t CheckValue(CheckBox box) const = 0;
    virtual void SetNamespaceOrModelCaption(const std::string& caption) = 0;

    // The event log and status bar. `UpdateLogMsg` distinguishes a left-out `ClassName` or
    // `MsgText` (std::nullopt) from "". Both log operations let pending events run.
    virtual void InitLog() = 0;
    virtual std::int16_t AddLogMsg(const std::string& className, const std::string& msgText,
                                   const std::string& errorText, std::int16_t icon,
                                   bool displayNow) = 0;
    virtual void UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                              std::optional<std::string> msgText, const std::string& errorText = "",
                              std::int16_t icon = 0, bool displayNow = false) = 0;
    virtual void ClearLog() = 0;
    virtual void StatusMessage(const std::string& messageText) = 0;

    virtual void SetCloseCaption(const std::string& caption) = 0;
    virtual void DoEvents() = 0;
};

// The one transfer window of the process (none until it is created).
extern TransferWindow* frmImportExport;

// True when the window's "Override Existing Classes" is checked: existing classes are
// replaced. Without a window nothing is.
bool OverrideChecked();

// A plain in-memory list, for the console front end and for tests.
std::unique_ptr<ClassList> NewPlainList(bool sorted);

}  // namespace window
