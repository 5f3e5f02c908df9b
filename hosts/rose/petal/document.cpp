// Models with their controlled units, and saving files so that a crash loses nothing.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "hosts/rose/petal/petal.h"

namespace petal {
namespace {

// Units may hold units; the limit stops a unit that (through a path map) includes itself.
constexpr int kMaxUnitDepth = 16;

bool IsTrue(const Object& o, std::string_view key) {
    const Value* v = FindField(o, key);
    return v != nullptr && v->kind == ValueKind::Boolean && v->boolean;
}

bool IsUnitStub(const Object& o) {
    const Value* loaded = FindField(o, "is_loaded");
    return IsTrue(o, "is_unit") && loaded != nullptr && loaded->kind == ValueKind::Boolean &&
           !loaded->boolean && FindField(o, "file_name") != nullptr;
}

std::string DirectoryOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

bool ReadWholeFile(const std::string& path, std::string& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    bytes = std::move(buffer).str();
    return !in.bad();
}

bool FileExists(const std::string& path) { return ::access(path.c_str(), R_OK) == 0; }

std::string Describe(const std::string& path, const ParseResult& r) {
    return path + ":" + std::to_string(r.line) + ":" + std::to_string(r.column) + ": " + r.message;
}

std::string ErrnoText(const std::string& what, const std::string& path) {
    return what + " " + path + ": " + std::strerror(errno);
}

}  // namespace

std::optional<std::string> EnvironmentPathMap(std::string_view symbol) {
    const char* value = std::getenv(std::string(symbol).c_str());
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

std::vector<std::string> UnitFileCandidates(std::string_view fileName, const std::string& baseDir,
                                            const PathMap& pathMap) {
    std::string name(fileName);
    std::replace(name.begin(), name.end(), '\\', '/');
    std::vector<std::string> candidates;
    if (!name.empty() && (name[0] == '$' || name[0] == '&')) {
        // "$SYMBOL/rest" is a path-map entry; "&" stands for the model's own directory.
        size_t end = 1;
        if (name[0] == '$') {
            while (end < name.size() && name[end] != '/') ++end;
        }
        std::string symbol = name.substr(1, end - 1);
        std::string rest = name.substr(end);
        std::optional<std::string> value =
            name[0] == '&' ? std::optional<std::string>(baseDir) : pathMap(symbol);
        if (value) {
            std::string dir = *value;
            while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
            candidates.push_back(dir + rest);
        }
        // Without the symbol the unit is looked for beside the model, as its folder would be.
        while (!rest.empty() && rest[0] == '/') rest.erase(0, 1);
        std::string beside = baseDir + "/" + rest;
        if (candidates.empty() || candidates[0] != beside) candidates.push_back(beside);
        return candidates;
    }
    if (!name.empty() && name[0] == '/') {
        candidates.push_back(name);
        return candidates;
    }
    candidates.push_back(baseDir + "/" + name);
    return candidates;
}

ParseResult Document::Load(const std::string& path, const PathMap& pathMap) {
    *this = Document();
    path_ = path;
    std::string bytes;
    if (!ReadWholeFile(path, bytes)) {
        ParseResult r;
        r.message = "cannot read " + path;
        return r;
    }
    ParseResult result = ParseDocument(bytes, model_);
    if (!result) return result;
    LoadUnits(model_.root, DirectoryOf(path), pathMap, 0);
    return result;
}

void Document::LoadUnits(Object& root, const std::string& baseDir, const PathMap& pathMap,
                         int depth) {
    std::vector<Value*> stubs;
    std::function<void(Value&)> collect = [&](Value& v) {
        if (v.kind == ValueKind::Object && v.object) {
            if (IsUnitStub(*v.object)) {
                stubs.push_back(&v);
                return;
            }
            for (Field& f : v.object->fields) collect(f.value);
        }
        if (v.kind == ValueKind::List) {
            for (Value& item : v.items) collect(item);
        }
    };
    for (Field& f : root.fields) collect(f.value);

    for (Value* stubValue : stubs) {
        Object& stub = *stubValue->object;
        std::string fileName = GetText(stub, "file_name");
        std::string unitName = stub.names.empty() ? "" : stub.names[0];
        if (depth >= kMaxUnitDepth) {
            warnings_.push_back("unit \"" + unitName + "\" nested too deeply: " + fileName);
            continue;
        }
        std::string found;
        for (const std::string& candidate : UnitFileCandidates(fileName, baseDir, pathMap)) {
            if (FileExists(candidate)) {
                found = candidate;
                break;
            }
        }
        if (found.empty()) {
            warnings_.push_back("unit \"" + unitName + "\" not found: " + fileName);
            continue;
        }
        std::string bytes;
        File unitFile;
        if (!ReadWholeFile(found, bytes)) {
            warnings_.push_back("unit \"" + unitName + "\" cannot be read: " + found);
            continue;
        }
        ParseResult r = ParseDocument(bytes, unitFile);
        if (!r) {
            warnings_.push_back("unit \"" + unitName + "\" left unloaded: " + Describe(found, r));
            continue;
        }
        Unit unit;
        unit.path = found;
        unit.quid = GetText(stub, "quid");
        unit.header = std::move(unitFile.header);
        unit.lineEnd = unitFile.lineEnd;
        unit.stub = std::move(stub);
        *stubValue->object = std::move(unitFile.root);
        unit.root = stubValue->object.get();
        units_.push_back(std::move(unit));
        LoadUnits(*stubValue->object, DirectoryOf(found), pathMap, depth + 1);
    }
}

const Document::Unit* Document::LoadedUnitOf(const Object& object) const {
    if (!IsTrue(object, "is_unit") || !IsTrue(object, "is_loaded")) return nullptr;
    for (const Unit& unit : units_) {
        if (unit.root == &object) return &unit;
    }
    return nullptr;
}

std::vector<std::string> Document::UnitPaths() const {
    std::vector<std::string> paths;
    for (const Unit& unit : units_) paths.push_back(unit.path);
    return paths;
}

// Writes every loaded unit found below `root` to its own file, units inside units included.
std::string Document::WriteUnits(const Object& root, bool isRoot) {
    std::string error;
    std::vector<Object> renamedStubs;
    VisitObjects(root, [&](const Object& o) {
        const Unit* unit = isRoot && &o == &root ? nullptr : LoadedUnitOf(o);
        if (unit == nullptr || !error.empty()) return;
        ObjectSubstitute substitute = [&](const Object& inner) -> const Object* {
            if (&inner == &o) return nullptr;
            const Unit* u = LoadedUnitOf(inner);
            return u ? &u->stub : nullptr;
        };
        error = SaveFileAtomically(unit->path,
                                   WriteDocument(unit->header, o, unit->lineEnd, substitute));
    });
    return error;
}

std::string Document::Save() { return SaveAs(path_); }

std::string Document::SaveAs(const std::string& path) {
    // A renamed unit category keeps its stub's name in step.
    for (Unit& unit : units_) {
        VisitObjects(model_.root, [&](const Object& o) {
            if (&o != &model_.root && LoadedUnitOf(o) == &unit) unit.stub.names = o.names;
        });
    }
    std::string error = WriteUnits(model_.root, true);
    if (!error.empty()) return error;
    ObjectSubstitute substitute = [&](const Object& o) -> const Object* {
        if (&o == &model_.root) return nullptr;
        const Unit* u = LoadedUnitOf(o);
        return u ? &u->stub : nullptr;
    };
    error = SaveFileAtomically(path, WriteDocument(model_, substitute));
    if (error.empty()) path_ = path;
    return error;
}

std::string Document::NewQuid() {
    if (usedQuids_.empty()) {
        auto collect = [&](const Object& o) {
            std::string quid = GetText(o, "quid");
            if (!quid.empty()) usedQuids_.push_back(quid);
        };
        VisitObjects(model_.root, collect);
        for (const Unit& unit : units_) VisitObjects(unit.stub, collect);
        std::sort(usedQuids_.begin(), usedQuids_.end());
    }
    std::time_t now = std::time(nullptr);
    while (true) {
        std::string quid = MakeQuid(now, quidCounter_++);
        if (quidCounter_ > 0xFFFF) {
            quidCounter_ = 0;
            ++now;
        }
        auto it = std::lower_bound(usedQuids_.begin(), usedQuids_.end(), quid);
        if (it != usedQuids_.end() && *it == quid) continue;
        usedQuids_.insert(it, quid);
        return quid;
    }
}

std::string SaveFileAtomically(const std::string& path, std::string_view bytes) {
    std::string temp = path + ".tmp-XXXXXX";
    int fd = ::mkstemp(temp.data());
    if (fd < 0) return ErrnoText("cannot create a file beside", path);
    struct stat previous {};
    ::fchmod(fd, ::stat(path.c_str(), &previous) == 0 ? (previous.st_mode & 07777) : 0644);
    const char* data = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
        ssize_t n = ::write(fd, data, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            std::string error = ErrnoText("cannot write", temp);
            ::close(fd);
            ::unlink(temp.c_str());
            return error;
        }
        data += n;
        left -= static_cast<size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        std::string error = ErrnoText("cannot flush", temp);
        ::unlink(temp.c_str());
        return error;
    }
    // The previous file stays reachable under both names until the new one replaces it,
    // so that at every moment "path" is a whole file.
    std::string backup = path + ".bak";
    if (FileExists(path)) {
        ::unlink(backup.c_str());
        if (::link(path.c_str(), backup.c_str()) != 0 &&
            ::rename(path.c_str(), backup.c_str()) != 0) {
            std::string error = ErrnoText("cannot keep the previous file as", backup);
            ::unlink(temp.c_str());
            return error;
        }
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        std::string error = ErrnoText("cannot rename the new file to", path);
        ::unlink(temp.c_str());
        return error;
    }
    int dir = ::open(DirectoryOf(path).c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return "";
}

}  // namespace petal
