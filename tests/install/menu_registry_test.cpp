#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "install/install.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

// A fresh directory for the installed files and a registry file inside it.
struct TempInstall {
    TempInstall() { setenv("CORVANSIL_REGISTRY", registry.c_str(), 1); }
    ~TempInstall() {
        unsetenv("CORVANSIL_REGISTRY");
        platform::ResetFiles();
    }
    testsupport::TempDir temp{"corvansil-inst"};
    std::string dir = temp.path();
    std::string registry = dir + "/registry.reg";
};

using testsupport::ReadFile;

std::string MenuFor(const std::string& d) {
    std::string text = "Menu Tools\r\n{\r\n    Separator\r\n    Menu \"&Tavro\"\r\n    {\r\n";
    const char* const options[][2] = {{"&Export Classes to Tavro ...", "EXPORT"},
                                      {"&Import Classes from Tavro ...", "IMPORT"},
                                      {"Load &Datatype Classes from Tavro ...", "DATATYPES"},
                                      {"Load &System Classes from Tavro ...", "SYSTEM"}};
    for (const auto& option : options) {
        if (&option != &options[0]) text += "         \r\n";
        text += std::string("         option \"") + option[0] + "\"\r\n         {\r\n" +
                "              Exec \"" + d + "/corvansil " + option[1] + "\"\r\n         }\r\n";
    }
    return text + "    }\r\n}\r\n";
}

TEST(MenuFileText, NamesTheInstalledExecutableInsideOnePairOfQuotes) {
    struct Case {
        const char* name;
        const char* directory;
        const char* execLine;
    };
    const Case cases[] = {
        {"plain", "/opt/corvansil", "              Exec \"/opt/corvansil/corvansil EXPORT\""},
        {"blanks", "/opt/My Tools/Corvansil",
         "              Exec \"/opt/My Tools/Corvansil/corvansil EXPORT\""},
        {"root", "", "              Exec \"/corvansil EXPORT\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string text = install::MenuFileText(c.directory);
        EXPECT_EQ(text, MenuFor(c.directory));
        EXPECT_NE(text.find(std::string(c.execLine) + "\r\n"), std::string::npos);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 26);
    }
}

TEST(WriteMenuFile, WritesTheSameFileEveryTime) {
    TempInstall install;
    const std::string path = install.dir + "/Corvansil.mnu";
    std::ofstream(path, std::ios::binary) << std::string(5000, 'x');
    install::WriteMenuFile(install.dir);
    install::WriteMenuFile(install.dir);
    EXPECT_EQ(ReadFile(path), MenuFor(install.dir));
}

// The registry file after one installation under `base`, with the add-in in `dir`.
std::string RegistryFor(const char* base, const std::string& dir, const char* debug = "0") {
    const std::string root = std::string("\r\n[HKEY_LOCAL_MACHINE\\") + base;
    const bool msvm = std::string(base) == "SOFTWARE\\Microsoft\\Visual Modeler";
    std::string text = std::string("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n") +
                       "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\" +
                       (msvm ? "Microsoft" : "Rational Software") + "]\r\n" + root + "]\r\n" +
                       root + "\\AddIns]\r\n" + root + "\\AddIns\\Tavro]\r\n";
    const std::pair<std::string, std::string> values[] = {
        {"Active", "Yes"},
        {"Company", "Corvansil"},
        {"Copyright", "Copyright (C) 2026 Corvansil"},
        {"InstallDir", dir},
        {"LanguageAddIn", "No"},
        {"MenuFile", "Corvansil.mnu"},
        {"PropertyFile", "Corvansil.pty"},
        {"Version", "1.0.0.1.0"}};
    for (const auto& [name, value] : values) text += "\"" + name + "\"=\"" + value + "\"\r\n";
    return text + root + "\\AddIns\\Tavro\\CustomSettings]\r\n\"Debug\"=\"" + debug + "\"\r\n\r\n";
}

TEST(RegisterAddIn, WritesTheNineValuesUnderTheHostsKey) {
    struct Case {
        const char* host;
        const char* base;
    };
    const Case cases[] = {
        {"Rose", "SOFTWARE\\Rational Software\\Rose"},
        {"MSVM", "SOFTWARE\\Microsoft\\Visual Modeler"},
        {"msvm", "SOFTWARE\\Rational Software\\Rose"},  // the comparison is case-sensitive
        {"anything", "SOFTWARE\\Rational Software\\Rose"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        TempInstall install;
        install::RegisterAddIn("/opt/corvansil", c.host);
        EXPECT_EQ(ReadFile(install.registry), RegistryFor(c.base, "/opt/corvansil"));
    }
}

TEST(RegisterAddIn, RewritesEveryValueOnASecondInstallation) {
    TempInstall install;
    install::RegisterAddIn("/old/place", "Rose");
    // Someone turned debugging on since.
    platform::HKEY key = nullptr;
    ASSERT_EQ(
        platform::RegCreateKeyExA(platform::HKEY_LOCAL_MACHINE,
                                  "SOFTWARE\\Rational Software\\Rose\\AddIns\\Tavro\\"
                                  "CustomSettings",
                                  0, nullptr, 0, platform::KEY_ALL_ACCESS, nullptr, &key, nullptr),
        platform::ERROR_SUCCESS);
    platform::RegSetValueExA(key, "Debug", 0, platform::REG_SZ,
                             reinterpret_cast<const platform::BYTE*>("1"), 2);
    platform::RegCloseKey(key);
    EXPECT_EQ(ReadFile(install.registry),
              RegistryFor("SOFTWARE\\Rational Software\\Rose", "/old/place", "1"));

    install::RegisterAddIn("", "Rose");
    EXPECT_EQ(ReadFile(install.registry), RegistryFor("SOFTWARE\\Rational Software\\Rose", ""));

    std::string installDir = "x";
    EXPECT_TRUE(
        platform::ReadRegistryValue(install::AddInKeyPath("Rose"), "InstallDir", installDir));
    EXPECT_EQ(installDir, "");
    EXPECT_EQ(platform::ListRegistrySubkeys("SOFTWARE\\Rational Software\\Rose\\AddIns"),
              std::vector<std::string>{"Tavro"});
}

TEST(RegisterAddIn, SkipsADamagedRegistryWithoutTouchingIt) {
    TempInstall install;
    const std::string damaged = "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\r\n";
    std::ofstream(install.registry, std::ios::binary) << damaged;
    install::RegisterAddIn(install.dir, "Rose");
    install::WriteMenuFile(install.dir);
    install::WritePropertyFile(install.dir);
    EXPECT_EQ(ReadFile(install.registry), damaged);
    EXPECT_EQ(ReadFile(install.dir + "/Corvansil.mnu"), MenuFor(install.dir));
    EXPECT_EQ(fs::file_size(install.dir + "/Corvansil.pty"), 10978u);
}

// The three steps with the Nth write failing, N = 1, 2, ...: a registry write that fails
// leaves the registry file whole and the installation goes on; a failing file write ends the
// installation with its message, leaving what was written before and nothing after.
TEST(InstallSteps, StopAtAFailedFileWriteAndLeaveTheEarlierSteps) {
    bool failedSomewhere = true;
    int failures = 0;
    for (int n = 1; failedSomewhere; ++n) {
        SCOPED_TRACE(n);
        TempInstall install;
        int writes = 0;
        failedSomewhere = false;
        platform::Files().write = [&](int fd, const char* data, std::size_t size) {
            if (++writes != n)
                return ::write(fd, data, size) == static_cast<ssize_t>(size) ? 0 : EIO;
            failedSomewhere = true;
            return ENOSPC;
        };
        std::string error;
        try {
            install::RegisterAddIn(install.dir, "Rose");
            install::WriteMenuFile(install.dir);
            install::WritePropertyFile(install.dir);
        } catch (const platform::FileError& e) {
            error = e.what();
        }
        platform::ResetFiles();

        const std::string menu = install.dir + "/Corvansil.mnu";
        const std::string pty = install.dir + "/Corvansil.pty";
        const std::string registry = ReadFile(install.registry);
        // The registry holds a whole file, whatever it got to.
        EXPECT_EQ(registry.rfind("REGEDIT4\r\n", 0), 0u);
        EXPECT_EQ(registry.substr(registry.size() - 4), "\r\n\r\n");
        if (error.empty()) {
            EXPECT_EQ(ReadFile(menu), MenuFor(install.dir));
            EXPECT_EQ(ReadFile(pty), install::PropertyFileText());
            continue;
        }
        ++failures;
        // All nine values went in: the menu file is written after them.
        EXPECT_EQ(registry, RegistryFor("SOFTWARE\\Rational Software\\Rose", install.dir));
        if (error == "cannot write " + menu + ": No space left on device") {
            EXPECT_FALSE(fs::exists(pty));
            EXPECT_LT(ReadFile(menu).size(), MenuFor(install.dir).size());
            continue;
        }
        EXPECT_EQ(error, "cannot write " + pty + ": No space left on device");
        EXPECT_EQ(ReadFile(menu), MenuFor(install.dir));
        EXPECT_LT(ReadFile(pty).size(), 10978u);
    }
    EXPECT_EQ(failures, 26 + 446);  // one per line of the two files
}

}  // namespace
