// What rose-host keeps to itself: its socket lies in a directory no other local user can
// write to.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/e2e/programs.h"

namespace {

using e2e::Exit;
using e2e::TempDir;
using namespace std::chrono_literals;

#define SKIP_WITHOUT_PROGRAMS() \
    if (!e2e::MissingProgram().empty()) GTEST_SKIP() << "not built: " << e2e::MissingProgram()

TEST(RoseHostNew, RefusesASocketDirectoryOthersCanWriteTo) {
    SKIP_WITHOUT_PROGRAMS();
    TempDir dir("rose-socket");
    std::string open = dir / "open";
    ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
    Exit host = e2e::Run(dir, {"rose-host", "new"},
                         {{"CORVANSIL_ROSE_SOCKET", open + "/rose.sock"}}, "", 60s);
    EXPECT_TRUE(host.finished);
    EXPECT_EQ(host.status, 1);
    EXPECT_NE(host.err.find("rose-host: the socket directory " + open + " has owner uid "),
              std::string::npos)
        << host.err;
}

}  // namespace
