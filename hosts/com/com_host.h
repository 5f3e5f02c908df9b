// What the two COM stand-ins share: their registration in the Wine prefix's registry and the
// message loop that serves their callers.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace comhost {

// The full Windows path of this program.
std::string ModulePath();

// Registers `progId` as the class `clsid` ("{...}"), started as `serverPath` when it is not ""
// (a local server that COM starts on demand). Raises AutomationError when the registry refuses.
void RegisterClassName(const std::string& progId, const std::string& clsid,
                       const std::string& serverPath);

// Serves calls (dispatches window messages) until `done` says so, asking it every `tick`.
void Serve(const std::function<bool()>& done, std::chrono::milliseconds tick);

}  // namespace comhost
