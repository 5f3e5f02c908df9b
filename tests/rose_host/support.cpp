#include "support.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace rosehost::test {

std::string SamplesDir() {
    std::string dir = std::string(CORVANSIL_SOURCE_DIR) + "/../shared/samples";
    return std::filesystem::exists(dir + "/mdl/library.mdl") ? dir : "";
}

std::string MakeTempDir() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/rose_host_XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    return pattern;
}

std::string CopySamples() {
    namespace fs = std::filesystem;
    std::string to = MakeTempDir() + "/mdl";
    fs::copy(SamplesDir() + "/mdl", to, fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(to)) {
        fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
    return to;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

}  // namespace rosehost::test
