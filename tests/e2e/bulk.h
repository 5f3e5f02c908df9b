// Many generated classes on both sides, for runs that are cut off or run side by side: a model
// file of them, the same classes stored on the server, and what the server holds of them.
#pragma once

#include <string>
#include <vector>

#include "tests/e2e/programs.h"

namespace e2e {

// The String attributes (model) or %String properties (server) of each generated class.
inline constexpr int kFields = 12;

// "CATEGORY.Itemi".
std::string ClassName(const std::string& category, int i);

// A model file with `count` classes in the category `category`, each with kFields public
// String attributes, written the way rose-host saves a model.
std::string WriteModel(const TempDir& dir, const std::string& category, int count);

// The same classes stored directly in the data directory, as an operator loads them.
void StoreClasses(const TavroServer& tavro, const std::string& category, int count);

// What the server holds of the generated classes: which are there, and a complaint for each
// one that is there but not whole.
struct ServerState {
    int present = 0;
    std::vector<std::string> absent;
    std::vector<std::string> broken;
};
ServerState Inspect(const TavroServer& tavro, const std::string& category, int count);

}  // namespace e2e
