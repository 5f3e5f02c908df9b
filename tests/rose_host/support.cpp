#include "support.h"

#include "tests/support/support.h"

namespace rosehost::test {

std::string CopySamples() {
    std::string to = testsupport::MakeTempDir("rose-host") + "/mdl";
    testsupport::CopyTree(testsupport::SamplesDir() + "/mdl", to);
    return to;
}

}  // namespace rosehost::test
