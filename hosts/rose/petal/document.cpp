// Models with their controlled units: loading them and keeping track of where each unit lives.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "hosts/rose/petal/petal.h"
#include "hosts/rose/petal/petal_internal.h"

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

bool FileExists(const std::string& path) { return ::access(path.c_str(), R_OK) == 0; }

std::string Describe(const std::string& path, const ParseResult& r) {
    return path + ":" + std::to_string(r.line) + ":" + std::to_string(r.column) + ": " + r.message;
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
    if (std::string error = ReadRegularFile(path, bytes); !error.empty()) {
        ParseResult r;
        r.message = error;
        return r;
    }
    ParseResult result = ParseDocument(bytes, model_);
    if (!result) return result;
    LoadUnits(model_.root, detail::DirectoryOf(path), pathMap, 0);
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
        if (std::string error = ReadRegularFile(found, bytes); !error.empty()) {
            warnings_.push_back("unit \"" + unitName + "\" left unloaded: " + error);
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
        LoadUnits(*stubValue->object, detail::DirectoryOf(found), pathMap, depth + 1);
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

}  // namespace petal
