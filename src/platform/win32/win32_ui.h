// The Win32 implementation of the platform's window operations: message boxes through
// MessageBoxW, pending events through a PeekMessage loop that also gives keyboard input to
// the program's modeless dialogs, ending the process at once. Texts cross the Win32 calls as
// UTF-16; the program keeps them in UTF-8.
#pragma once

#include <string>

#include "platform/platform.h"
#include "platform/win32/win32_api.h"

namespace platform::win32 {

// Puts the Win32 operations in the table of `platform::Ui()`.
void InstallWin32Ui();

// Shows the request as a modal MessageBoxW, owned by the window `SetOwnerWindow` named, and
// returns the button pressed.
Answer ShowWin32MessageBox(const MessageBoxRequest& request);

// The window that message boxes are modal to (none: the box has no owner).
void SetOwnerWindow(HWND owner);

// Modeless dialogs whose keyboard input (Tab, arrow keys, Enter) is handled as in a dialog.
void AddModelessDialog(HWND dialog);
void RemoveModelessDialog(HWND dialog);

// Dispatches every message that is waiting, then returns. A quit request met on the way is
// put back for the main loop.
void DispatchPending();
// The main loop: dispatches until a quit request; returns its exit code.
int RunMessageLoop();

std::wstring Wide(const std::string& utf8);
std::string Narrow(const std::wstring& utf16);

}  // namespace platform::win32
