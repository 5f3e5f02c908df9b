// The start-up window's operations until the Windows build has its own start-up window: the
// only run of this build, the silent installation, shows none.
#include "run/startup.h"

namespace run {

void ShowStartUpModal() {}
void ShowStartUp() {}
void SetStartUpProgress(const std::string& /*text*/) {}
void StartStartUpTimer() {}

}  // namespace run
