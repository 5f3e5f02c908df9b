// frmStartUp on Windows: the run control's start-up operations shown by the Win32 start-up
// window.
#include "run/startup.h"
#include "window/win32/window_win32.h"

namespace run {

void ShowStartUpModal() { window::win32::ShowStartUpModal(); }

void ShowStartUp() { window::win32::ShowStartUp(); }

void SetStartUpProgress(const std::string& text) { window::win32::SetStartUpProgress(text); }

void StartStartUpTimer() { window::win32::StartStartUpTimer(); }

}  // namespace run
