#include "tests/support/support.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace testsupport {

namespace fs = std::filesystem;

TempDir::TempDir(std::string_view prefix) {
    std::random_device seed;
    std::mt19937_64 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
        fs::path candidate = fs::temp_directory_path() /
                             (std::string(prefix) + "-" + std::to_string(random() % 1000000000));
        std::error_code error;
        if (!fs::create_directory(candidate, error)) continue;  // taken, or not makeable
        fs::permissions(candidate, fs::perms::owner_all, fs::perm_options::replace, error);
        path_ = candidate.generic_string();
        return;
    }
    throw std::runtime_error("cannot make a temporary folder under " +
                             fs::temp_directory_path().string());
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDir::operator/(std::string_view name) const {
    return path_ + "/" + std::string(name);
}

std::string MakeTempDir(std::string_view prefix) {
    // Removed in the order opposite to their making when the program ends.
    static std::vector<std::unique_ptr<TempDir>> kept;
    kept.push_back(std::make_unique<TempDir>(prefix));
    return kept.back()->path();
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

void WriteFile(const fs::path& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

void CopyTree(const std::string& from, const std::string& to) {
    fs::copy(from, to, fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(to)) {
        fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
}

std::string SamplesDir() {
    std::string dir = CORVANSIL_SAMPLES_DIR;
    std::error_code error;
    return fs::is_directory(dir + "/mdl", error) ? dir : "";
}

}  // namespace testsupport
