// The program's own operations: what the entry routine hands over to (the start-up window, the
// transfer window and the special-class loading) and what the platform offers the logic (Qt
// message boxes, the server's connection dialog and factory, the attachment to rose-host).
#pragma once

namespace run {

// Fills run::Ops() with the real windows and the platform tables with the real operations.
// Needs a QApplication.
void InstallProgram();

}  // namespace run
