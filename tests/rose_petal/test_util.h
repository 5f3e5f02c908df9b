#pragma once
// Inputs for the Petal tests: sample files, temporary folders, small documents.

#include <string>

#include "hosts/rose/petal/petal.h"

namespace petal_test {

// The shared sample folder, or "" when this checkout has none.
std::string SamplesDir();
std::string ReadBytes(const std::string& path);
// A fresh empty folder under the system's temporary directory, removed with its content
// when the test ends.
struct TempDir {
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string path;
};
void CopyTree(const std::string& from, const std::string& to);
// A whole LF file: the given header fields (already laid out) and root text.
std::string Document(const std::string& headerFields, const std::string& root);
// Every object of the tree whose kind is `kind`.
int CountKind(const petal::Object& root, const std::string& kind);
petal::Object* FindNamed(petal::Object& root, const std::string& kind, const std::string& name);

}  // namespace petal_test
