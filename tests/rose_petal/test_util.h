#pragma once
// Inputs for the Petal tests: small documents, and finding objects in a tree.

#include <string>

#include "hosts/rose/petal/petal.h"
#include "tests/support/support.h"

namespace petal_test {

// A whole LF file: the given header fields (already laid out) and root text.
std::string Document(const std::string& headerFields, const std::string& root);
// Every object of the tree whose kind is `kind`.
int CountKind(const petal::Object& root, const std::string& kind);
petal::Object* FindNamed(petal::Object& root, const std::string& kind, const std::string& name);

}  // namespace petal_test
