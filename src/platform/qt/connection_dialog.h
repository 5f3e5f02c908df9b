// The Qt connection dialog of the server's client factory: server, port, namespace, user and
// password, prefilled from TAVRO_CONNECTION, TAVRO_USER and TAVRO_PASSWORD. OK gives the
// connection string "SERVER:PORT:NAMESPACE" with the user and password; Cancel gives "".
// Once OK has been pressed, the dialog opens again (a Retry) with what was typed there, all
// but the password, which is empty.
#pragma once

#include <string>

#include "platform/tavro_factory.h"

namespace platform::qt {

// The server fields the dialog opens with before anything has been typed in it.
ConnectionParts InitialConnectionFields();

// Shows the dialog modally. Without a QApplication it answers from the environment instead.
ConnectionChoice ShowConnectionDialog(const std::string& options);

// Puts the dialog in the table of `platform::Tavro()`; the program calls it at start-up.
void InstallQtConnectionDialog();

}  // namespace platform::qt
