#include "platform/rose_socket.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "automation/automation.h"
#include "platform/rose_attach.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

const std::string kRemedy =
    ", or another local user could take over the socket: remove it (or `chmod 700` it if it is "
    "yours), or set CORVANSIL_ROSE_SOCKET to a path in a directory of your own";

std::string Unsafe(const std::string& dir, uid_t owner, const char* mode) {
    return "the socket directory " + dir + " has owner uid " + std::to_string(owner) +
           " and mode " + mode + "; it must be yours (uid " + std::to_string(getuid()) +
           ") with mode 0700" + kRemedy;
}

// Another local user could put a socket of their own into the directory and receive every
// call: rose-host does not listen there and the add-in does not connect there.
TEST(CheckSocketDirectory, AcceptsOnlyTheUsersOwnDirectoryClosedToOthers) {
    testsupport::TempDir temp("corvansil-sock");
    const std::string base = temp.path();
    enum Kind { kMissing, kDirectory, kLink, kOtherOwner };
    struct Case {
        const char* name;
        Kind kind;
        mode_t mode;
        bool create;
        std::string expected;  // with DIR for the directory
    } cases[] = {
        {"missing, made by the host", kMissing, 0, true, ""},
        {"missing, nothing to connect to", kMissing, 0, false, ""},
        {"own, closed to others", kDirectory, 0700, false, ""},
        {"writable by everybody", kDirectory, 0777, true, "0777"},
        {"readable by the group", kDirectory, 0750, false, "0750"},
        {"a link to an own directory", kLink, 0700, true,
         "the socket directory DIR is not a directory but a link or a file" + kRemedy},
        {"another user's", kOtherOwner, 0700, false, "0700"},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string dir = base + "/d" + std::to_string(n++);
        if (c.kind == kOtherOwner && getuid() != 0) continue;  // only root can give it away
        if (c.kind == kDirectory || c.kind == kOtherOwner) {
            ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
            ASSERT_EQ(chmod(dir.c_str(), c.mode), 0);
        }
        if (c.kind == kOtherOwner) {
            ASSERT_EQ(chown(dir.c_str(), 65534, 65534), 0);
        }
        if (c.kind == kLink) {
            ASSERT_EQ(mkdir((dir + "-target").c_str(), 0700), 0);
            ASSERT_EQ(symlink((dir + "-target").c_str(), dir.c_str()), 0);
        }
        std::string expected = c.expected;
        if (expected.size() == 4) {
            expected = Unsafe(dir, c.kind == kOtherOwner ? 65534 : getuid(), c.expected.c_str());
        } else if (!expected.empty()) {
            expected.replace(expected.find("DIR"), 3, dir);
        }
        EXPECT_EQ(platform::CheckSocketDirectory(dir + "/rose.sock", c.create), expected);
        if (c.kind != kMissing || !c.create) continue;
        struct stat st {};
        ASSERT_EQ(lstat(dir.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, 0700u);
    }

    // The add-in's attach refuses such a directory before it connects.
    std::string open = base + "/open";
    ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
    setenv("CORVANSIL_ROSE_SOCKET", (open + "/rose.sock").c_str(), 1);
    std::string refused;
    try {
        platform::AttachToRose();
    } catch (const automation::AutomationError& e) {
        refused = e.Description();
    }
    unsetenv("CORVANSIL_ROSE_SOCKET");
    EXPECT_EQ(refused, Unsafe(open, getuid(), "0777"));
}

}  // namespace
