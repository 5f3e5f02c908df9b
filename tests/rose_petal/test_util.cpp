#include "test_util.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace petal_test {

std::string SamplesDir() {
    std::string dir = std::string(CORVANSIL_SOURCE_DIR) + "/../shared/samples";
    return std::filesystem::is_directory(dir + "/mdl") ? dir : "";
}

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "petal-test-XXXXXX").string();
    char* made = ::mkdtemp(pattern.data());
    path = made == nullptr ? "" : std::string(made);
}

TempDir::~TempDir() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
}

void CopyTree(const std::string& from, const std::string& to) {
    namespace fs = std::filesystem;
    fs::copy(from, to, fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(to)) {
        fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
}

std::string Document(const std::string& headerFields, const std::string& root) {
    return "\n(object Petal\n" + headerFields + ")\n\n" + root + "\n";
}

int CountKind(const petal::Object& root, const std::string& kind) {
    int count = 0;
    petal::VisitObjects(root, [&](const petal::Object& o) { count += o.kind == kind ? 1 : 0; });
    return count;
}

petal::Object* FindNamed(petal::Object& root, const std::string& kind, const std::string& name) {
    petal::Object* found = nullptr;
    petal::VisitObjects(root, [&](petal::Object& o) {
        if (found == nullptr && o.kind == kind && !o.names.empty() && o.names[0] == name)
            found = &o;
    });
    return found;
}

}  // namespace petal_test
