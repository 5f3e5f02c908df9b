// What the add-in asks of the operating system: message boxes, letting pending window events
// run, ending the process, and the three registry functions. The logic calls these routines
// only; what stands behind them is a table of operations (`UiOps`) that the program fills
// with its Qt implementation and that tests replace with scripted answers.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace platform {

// The program's own title, carried by message boxes that have no title of their own.
inline constexpr const char* kProgramTitle = "Corvansil";

enum class Buttons : std::uint8_t { Ok, OkCancel, RetryCancel, YesNo };
enum class Icon : std::uint8_t { None, Question, Information, Exclamation, Critical };
enum class Answer : std::uint8_t { Ok, Cancel, Retry, Yes, No };

struct MessageBoxRequest {
    std::string text;
    std::string title;
    Buttons buttons;
    Icon icon;
};

// The operations behind the routines below. Every member has a default that works without a
// display: message boxes print to standard error and answer Cancel (No for Yes/No, Ok for Ok),
// pending events are ignored, and ending the process exits.
struct UiOps {
    std::function<Answer(const MessageBoxRequest&)> messageBox;
    std::function<void()> doEvents;
    // Must not return (a test's version throws `ProcessEnded`).
    std::function<void(int status)> endProcess;
};

// The table in force; replace members to install an implementation.
UiOps& Ui();
// Puts the defaults back.
void ResetUi();

// Thrown by a test's `endProcess` so that the test observes the end without dying.
struct ProcessEnded {
    int status;
};

// A modal message box. `title` "" means the program's title.
Answer MessageBox(const std::string& text, Buttons buttons, Icon icon = Icon::None,
                  const std::string& title = "");
// Let pending window events run (paint, timers, clicks), then go on.
void DoEvents();
// End the process at once: nothing that follows runs.
[[noreturn]] void EndProcess(int status = 0);

}  // namespace platform
