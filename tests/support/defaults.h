// What an installed add-in declares in a model, for tests and benchmarks that build models in
// process.
#pragma once

#include "hosts/rose/model/model.h"

namespace testsupport {

// Declares every model property of the add-in with its default, as the modelling tool loads
// them from an installed property file.
void DeclareInstalledDefaults(rosehost::Model& model);

}  // namespace testsupport
