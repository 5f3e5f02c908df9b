#include "tests/support/defaults.h"

#include "install/vocabulary.h"

namespace testsupport {

void DeclareInstalledDefaults(rosehost::Model& model) {
    for (const install::PropertySet& set : install::kPropertySets) {
        rosehost::PropertySet declared{set.tool, set.name, {}};
        for (const install::PropertyDef& property : set.properties) {
            declared.entries.emplace_back(property.name, property.defaultValue);
        }
        rosehost::AddPropertySet(model, std::move(declared));
    }
}

}  // namespace testsupport
