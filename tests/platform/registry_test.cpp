#include "platform/registry.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/files.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;
using namespace platform;

// Points the registry at a fresh file in a fresh directory for the life of the object.
struct TempRegistry {
    TempRegistry() { setenv("CORVANSIL_REGISTRY", path.c_str(), 1); }
    ~TempRegistry() {
        unsetenv("CORVANSIL_REGISTRY");
        ResetFiles();
    }
    testsupport::TempDir temp{"corvansil-reg"};
    std::string dir = temp.path();
    std::string path = dir + "/sub/registry.reg";
};

using testsupport::ReadFile;

void WriteFile(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

LONG Create(const char* subKey, HKEY& key, DWORD* disposition = nullptr) {
    char keyClass[] = " ";
    SECURITY_ATTRIBUTES security{0, nullptr, 0};
    return RegCreateKeyExA(HKEY_LOCAL_MACHINE, subKey, 0, keyClass, REG_OPTION_NON_VOLATILE,
                           KEY_ALL_ACCESS, &security, &key, disposition);
}

LONG Set(HKEY key, const char* name, const std::string& text) {
    return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(text.size() + 1));
}

// Creates `subKey` and sets one value in it.
void Put(const char* subKey, const char* name, const std::string& text) {
    HKEY key = nullptr;
    ASSERT_EQ(Create(subKey, key), ERROR_SUCCESS);
    ASSERT_EQ(Set(key, name, text), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST(RegCreateKeyExA, CreatesMissingParentsThenOpensExisting) {
    TempRegistry registry;
    HKEY key = nullptr;
    DWORD disposition = 0;
    ASSERT_EQ(Create("SOFTWARE\\Vendor\\Tool", key, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    RegCloseKey(key);
    ASSERT_EQ(Create("software\\VENDOR\\tool", key, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    RegCloseKey(key);

    EXPECT_EQ(ReadFile(registry.path),
              "REGEDIT4\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor]\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vendor\\Tool]\r\n"
              "\r\n");
    EXPECT_EQ(ListRegistrySubkeys("SOFTWARE"), std::vector<std::string>{"Vendor"});
}

// A file written by hand, with values of other types and another root, gets string values
// put into it: those it had stay, a name in other case replaces, text is escaped.
TEST(RegSetValueExA, ReplacesValuesWithoutRegardToCaseAndKeepsOtherTypesAndRoots) {
    TempRegistry registry;
    WriteFile(registry.path,
              "REGEDIT4\r\n"
              "; written by hand\r\n"
              "\r\n[HKEY_CURRENT_USER\\Software\\X]\r\n"
              "\"Count\"=dword:0000002a\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\A]\r\n"
              "@=\"default\"\r\n"
              "\"Bytes\"=hex:01,02,\\\r\n"
              "  03\r\n");
    Put("SOFTWARE\\B", "Path", "C:\\Tools \"x\"");
    Put("SOFTWARE\\A", "Name", "first");
    Put("SOFTWARE\\A", "Other", "kept");
    Put("SOFTWARE\\A", "NAME", "second");

    EXPECT_EQ(ReadFile(registry.path),
              "REGEDIT4\r\n"
              "\r\n[HKEY_CURRENT_USER\\Software]\r\n"
              "\r\n[HKEY_CURRENT_USER\\Software\\X]\r\n"
              "\"Count\"=dword:0000002a\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\A]\r\n"
              "@=\"default\"\r\n"
              "\"Bytes\"=hex:01,02,03\r\n"
              "\"Name\"=\"second\"\r\n"
              "\"Other\"=\"kept\"\r\n"
              "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\B]\r\n"
              "\"Path\"=\"C:\\\\Tools \\\"x\\\"\"\r\n"
              "\r\n");
    std::string text;
    ASSERT_TRUE(ReadRegistryValue("software\\b", "path", text));
    EXPECT_EQ(text, "C:\\Tools \"x\"");
    EXPECT_TRUE(ReadRegistryValue("SOFTWARE\\A", "", text));
    EXPECT_EQ(text, "default");
    EXPECT_FALSE(ReadRegistryValue("SOFTWARE\\A", "Bytes", text));  // not a string
    EXPECT_FALSE(ReadRegistryValue("SOFTWARE\\B", "Missing", text));
    EXPECT_FALSE(ReadRegistryValue("SOFTWARE\\C", "Path", text));
}

TEST(RegCreateKeyExA, ReportsDamagedFileAndLeavesItAlone) {
    struct Case {
        const char* name;
        const char* text;
    };
    const Case cases[] = {
        {"no header", "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n"},
        {"other header", "Windows Registry Editor Version 5.00\r\n"},
        {"value before any key", "REGEDIT4\r\n\"A\"=\"B\"\r\n"},
        {"unterminated string", "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\S]\r\n\"A\"=\"B\r\n"},
        {"text after string", "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\S]\r\n\"A\"=\"B\" x\r\n"},
        {"stray line", "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\S]\r\nhello\r\n"},
        {"unclosed key", "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\S\r\n"},
        {"binary junk",
         "\x7f"
         "ELF\x02\x01"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempRegistry registry;
        WriteFile(registry.path, c.text);
        HKEY key = nullptr;
        EXPECT_EQ(Create("SOFTWARE\\A", key), ERROR_BADDB);
        EXPECT_EQ(RegSetValueExA(HKEY_LOCAL_MACHINE, "A", 0, REG_SZ,
                                 reinterpret_cast<const BYTE*>("x"), 2),
                  ERROR_BADDB);
        EXPECT_EQ(ReadFile(registry.path), c.text);
        std::string text;
        EXPECT_FALSE(ReadRegistryValue("S", "A", text));
    }
}

TEST(RegCreateKeyExA, RejectsBadArguments) {
    TempRegistry registry;
    HKEY key = nullptr;
    SECURITY_ATTRIBUTES security{0, nullptr, 0};
    struct Case {
        const char* name;
        HKEY parent;
        const char* subKey;
        DWORD reserved;
        PHKEY result;
        LONG expected;
    };
    const Case cases[] = {
        {"no parent", nullptr, "A", 0, &key, ERROR_INVALID_HANDLE},
        {"reserved set", HKEY_LOCAL_MACHINE, "A", 1, &key, ERROR_INVALID_PARAMETER},
        {"no result", HKEY_LOCAL_MACHINE, "A", 0, nullptr, ERROR_INVALID_PARAMETER},
        {"leading backslash", HKEY_LOCAL_MACHINE, "\\A", 0, &key, ERROR_INVALID_PARAMETER},
        {"empty component", HKEY_LOCAL_MACHINE, "A\\\\B", 0, &key, ERROR_INVALID_PARAMETER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(RegCreateKeyExA(c.parent, c.subKey, c.reserved, nullptr, 0, KEY_ALL_ACCESS,
                                  &security, c.result, nullptr),
                  c.expected);
    }
    EXPECT_FALSE(fs::exists(registry.path));
    EXPECT_EQ(RegSetValueExA(HKEY_LOCAL_MACHINE, "A", 0, 4, nullptr, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

// Fails the Nth write with a full disk; the file must hold either the old or the new text.
TEST(RegSetValueExA, LeavesOldFileWholeWhenAWriteFails) {
    TempRegistry registry;
    Put("SOFTWARE\\A", "V", "old");
    const std::string before = ReadFile(registry.path);

    Files().write = [](int, const char*, std::size_t) { return ENOSPC; };
    HKEY key = nullptr;
    ASSERT_EQ(Create("SOFTWARE\\A", key), ERROR_SUCCESS);  // exists: nothing to write
    EXPECT_EQ(Set(key, "V", "new"), ERROR_WRITE_FAULT);
    EXPECT_EQ(Create("SOFTWARE\\B", key), ERROR_WRITE_FAULT);
    EXPECT_EQ(ReadFile(registry.path), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(registry.path).parent_path()),
                            fs::directory_iterator{}),
              2);  // the file and its lock, no temporary left

    ResetFiles();
    Files().rename = [](const std::string&, const std::string&) { return EACCES; };
    EXPECT_EQ(Set(key, "V", "new"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ReadFile(registry.path), before);
    RegCloseKey(key);
}

// Two installations at once: each process writes its own values; none may be lost.
TEST(RegSetValueExA, LosesNothingWhenTwoProcessesWriteAtOnce) {
    TempRegistry registry;
    constexpr int kValues = 25;
    pid_t children[2];
    for (int child = 0; child < 2; ++child) {
        children[child] = fork();
        ASSERT_GE(children[child], 0);
        if (children[child] != 0) continue;
        bool ok = true;
        for (int i = 0; i < kValues; ++i) {
            HKEY key = nullptr;
            std::string subKey = "SOFTWARE\\Shared\\P" + std::to_string(child);
            ok = ok && Create(subKey.c_str(), key) == ERROR_SUCCESS;
            std::string name = "V" + std::to_string(i);
            ok = ok && Set(key, name.c_str(), std::to_string(i)) == ERROR_SUCCESS;
            RegCloseKey(key);
        }
        _exit(ok ? 0 : 1);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(ListRegistrySubkeys("SOFTWARE\\Shared"), (std::vector<std::string>{"P0", "P1"}));
    for (int child = 0; child < 2; ++child) {
        for (int i = 0; i < kValues; ++i) {
            std::string text;
            std::string subKey = "SOFTWARE\\Shared\\P" + std::to_string(child);
            EXPECT_TRUE(ReadRegistryValue(subKey, "V" + std::to_string(i), text));
            EXPECT_EQ(text, std::to_string(i));
        }
    }
}

TEST(RegistryFilePath, FollowsEnvironment) {
    TempRegistry registry;
    const char* home = std::getenv("HOME");
    const std::string savedHome = home != nullptr ? home : "";
    EXPECT_EQ(RegistryFilePath(), registry.path);
    unsetenv("CORVANSIL_REGISTRY");
    setenv("XDG_CONFIG_HOME", "/cfg", 1);
    EXPECT_EQ(RegistryFilePath(), "/cfg/corvansil/registry.reg");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", "/home/u", 1);
    EXPECT_EQ(RegistryFilePath(), "/home/u/.config/corvansil/registry.reg");
    setenv("HOME", savedHome.c_str(), 1);
}

}  // namespace
