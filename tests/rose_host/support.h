// Inputs for rose-host's tests: the sample models copied into a fresh temporary folder (so
// that saving, which also writes controlled units, never touches the originals).
#pragma once

#include <string>

namespace rosehost::test {

// The shared sample folder, or "" when it is absent.
std::string SamplesDir();
// A new empty directory under the system's temporary directory.
std::string MakeTempDir();
// Copies the samples' "mdl" folder into a new temporary directory; returns that copy's path.
std::string CopySamples();
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);

}  // namespace rosehost::test
