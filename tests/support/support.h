// What the tests of every folder share: temporary folders, whole files, the sample models
// beside the repository, and the user that test servers are made with.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testsupport {

// The user and password of the data directories that tests make.
inline constexpr const char* kTestUser = "dev";
inline constexpr const char* kTestPassword = "dev-secret";

// A new folder under the system's temporary directory that only its owner can enter, removed
// with everything in it when the value goes.
class TempDir {
  public:
    explicit TempDir(std::string_view prefix = "corvansil-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(std::string_view name) const;

  private:
    std::string path_;
};

// A new folder like TempDir's that stays until the test program ends; for a test whose
// folder must outlive a scope (a server still writing in it).
std::string MakeTempDir(std::string_view prefix = "corvansil-test");

// The whole file as bytes; "" when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);
// Writes `bytes` as the whole file, raising std::runtime_error when it cannot.
void WriteFile(const std::filesystem::path& path, std::string_view bytes);
// Copies a folder with everything in it and makes the copy writable (the samples are not).
void CopyTree(const std::string& from, const std::string& to);

// The sample folder (CORVANSIL_SAMPLES_DIR at configure time), or "" when this checkout has
// none: tests that need it skip.
std::string SamplesDir();

}  // namespace testsupport
