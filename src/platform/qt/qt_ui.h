// The Qt implementation of the platform's window operations: message boxes through
// QMessageBox, pending events through QCoreApplication::processEvents, ending the process by
// flushing output and leaving at once. Needs a QApplication.
#pragma once

#include "platform/platform.h"

namespace platform::qt {

// Puts the Qt operations in the table of `platform::Ui()`.
void InstallQtUi();

// Shows the request as a modal QMessageBox and returns the button pressed.
Answer ShowQtMessageBox(const MessageBoxRequest& request);

}  // namespace platform::qt
