// Inputs for rose-host's tests: the sample models copied into a fresh temporary folder (so
// that saving, which also writes controlled units, never touches the originals).
#pragma once

#include <string>

#include "tests/support/support.h"

namespace rosehost::test {

// Copies the samples' "mdl" folder into a new temporary directory; returns that copy's path.
std::string CopySamples();

}  // namespace rosehost::test
