// The report file on Windows: the old report or the new one is in place, never half of one,
// and nothing is left beside it.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "cli/cli.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

using testsupport::ReadFile;

TEST(WriteReportFile, ReplacesTheOldReportInOneStepOrRefuses) {
    const fs::path dir = fs::temp_directory_path() / "corvansil report test";
    fs::remove_all(dir);
    fs::create_directories(dir / "a folder");
    std::ofstream(dir / "old.json", std::ios::binary) << std::string(5000, 'x');
    struct Case {
        const char* name;
        fs::path path;
        bool ok;
        const char* why;  // "" when any reason will do
    };
    const Case cases[] = {
        {"new file", dir / "new.json", true, ""},
        {"over a longer report", dir / "old.json", true, ""},
        {"a directory", dir / "a folder", false, "it is a directory"},
        {"a missing folder", dir / "missing" / "r.json", false, ""},
    };
    const std::string text = "{\n  \"command\": \"export\"\n}\n";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string why;
        EXPECT_EQ(cli::CheckReportPath(c.path.string(), why), c.ok) << why;
        why.clear();
        EXPECT_EQ(cli::WriteReportFile(c.path.string(), text, why), c.ok) << why;
        if (c.ok) {
            EXPECT_EQ(ReadFile(c.path), text);
        } else {
            EXPECT_EQ(why.empty() ? "" : why.substr(0, std::strlen(c.why)), c.why);
            EXPECT_FALSE(why.empty());
        }
    }
    // Only what the rows wrote: no temporary file stayed beside a report.
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.insert(entry.path().filename().string());
    EXPECT_EQ(names, (std::set<std::string>{"a folder", "new.json", "old.json"}));
    fs::remove_all(dir);
}

}  // namespace
