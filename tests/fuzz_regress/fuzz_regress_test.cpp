// Inputs kept from fuzzing runs, fed to the readers through the very checks the fuzz targets
// make: no crash, no broken promise, and a clean refusal with a reason. A file whose name
// starts with "ok-" is a valid input that must be accepted instead.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_checks.h"

namespace {

namespace fs = std::filesystem;
namespace rpc = automation::rpc;

using Check = fuzzcheck::Outcome (*)(std::string_view);

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::vector<fs::path> KeptInputs(const char* target) {
    fs::path dir = fs::path(CORVANSIL_SOURCE_DIR) / "tests" / "fuzz_regress" / target;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void ExpectKeptInputsHandled(const char* target, Check check) {
    std::vector<fs::path> files = KeptInputs(target);
    ASSERT_FALSE(files.empty()) << "no kept inputs for " << target;
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.filename().string());
        fuzzcheck::Outcome outcome = check(ReadBytes(file));
        EXPECT_EQ(outcome.problem, "");
        if (file.filename().string().rfind("ok-", 0) == 0) {
            EXPECT_TRUE(outcome.accepted) << outcome.message;
            continue;
        }
        EXPECT_FALSE(outcome.accepted);
        EXPECT_NE(outcome.message, "");
    }
}

TEST(ParseDocument, HandlesKeptFuzzInputs) {
    ExpectKeptInputsHandled("petal", fuzzcheck::CheckPetal);
}

TEST(DecodeFrame, HandlesKeptFuzzInputs) {
    ExpectKeptInputsHandled("rpc_frame", fuzzcheck::CheckRpcFrame);
}

TEST(ParseClassXml, HandlesKeptFuzzInputs) {
    ExpectKeptInputsHandled("class_xml", fuzzcheck::CheckClassXml);
}

}  // namespace
