// Corvansil.exe INSTALL run as a program, the way an installer starts it: the nine registry
// values under HKEY_LOCAL_MACHINE, and the menu and property files beside the executable, the
// menu byte for byte as on Linux but for the Windows path in its Exec lines.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "install/install.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

using testsupport::ReadFile;

// The Tools menu for an add-in in `d`, from the layout's table: 4, 9 and 14 blanks for the
// levels 1 to 3, CR LF after every line.
std::string MenuFor(const std::string& d) {
    std::string text = "Menu Tools\r\n{\r\n    Separator\r\n    Menu \"&Tavro\"\r\n    {\r\n";
    const char* const options[][2] = {{"&Export Classes to Tavro ...", "EXPORT"},
                                      {"&Import Classes from Tavro ...", "IMPORT"},
                                      {"Load &Datatype Classes from Tavro ...", "DATATYPES"},
                                      {"Load &System Classes from Tavro ...", "SYSTEM"}};
    for (const auto& option : options) {
        if (&option != &options[0]) text += "         \r\n";
        text += std::string("         option \"") + option[0] + "\"\r\n         {\r\n" +
                "              Exec \"" + d + "\\Corvansil.exe " + option[1] +
                "\"\r\n         }\r\n";
    }
    return text + "    }\r\n}\r\n";
}

// Runs `exe` with `arguments` and returns its exit status, -1 when it cannot start.
int RunProgram(const std::wstring& exe, const std::wstring& arguments) {
    std::wstring line = L"\"" + exe + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(exe.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &process))
        return -1;
    ::WaitForSingleObject(process.hProcess, 60000);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return static_cast<int>(status);
}

std::string RegistryText(const char* key, const char* name) {
    char data[1024] = "";
    DWORD size = sizeof data;
    if (::RegGetValueA(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, data, &size) !=
        ERROR_SUCCESS)
        return "<missing>";
    return data;
}

void DeleteRegistration() {
    ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Rational Software\\Rose\\AddIns\\Tavro");
}

TEST(CorvansilInstall, WritesTheNineValuesAndBothFilesBesideTheExecutable) {
    const fs::path blanks = fs::temp_directory_path() / "corvansil install test" / "Add In";
    struct Case {
        const char* name;
        fs::path folder;
        std::string installDir;  // as the registry and the menu name it
    };
    // Drive Q: is mapped by the test's fixture; its root keeps no backslash.
    const Case cases[] = {
        {"folder with blanks", blanks, blanks.string()},
        {"drive root", "Q:\\", "Q:"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(blanks);
        fs::create_directories(blanks);
        ASSERT_TRUE(fs::copy_file(CORVANSIL_EXE, c.folder / "Corvansil.exe",
                                  fs::copy_options::overwrite_existing));
        DeleteRegistration();

        EXPECT_EQ(RunProgram((c.folder / "Corvansil.exe").wstring(), L"INSTALL"), 0);

        const char* key = "SOFTWARE\\Rational Software\\Rose\\AddIns\\Tavro";
        const std::pair<const char*, std::string> values[] = {
            {"Active", "Yes"},
            {"Company", "Corvansil"},
            {"Copyright", "Copyright (C) 2026 Corvansil"},
            {"InstallDir", c.installDir},
            {"LanguageAddIn", "No"},
            {"MenuFile", "Corvansil.mnu"},
            {"PropertyFile", "Corvansil.pty"},
            {"Version", "1.0.0.1.0"},
        };
        for (const auto& [name, data] : values) EXPECT_EQ(RegistryText(key, name), data) << name;
        EXPECT_EQ(RegistryText("SOFTWARE\\Rational Software\\Rose\\AddIns\\Tavro\\CustomSettings",
                               "Debug"),
                  "0");

        EXPECT_EQ(ReadFile(c.folder / "Corvansil.mnu"), MenuFor(c.installDir));
        EXPECT_EQ(ReadFile(c.folder / "Corvansil.pty"), install::PropertyFileText());
    }
    DeleteRegistration();
    fs::remove_all(blanks.parent_path());
}

}  // namespace
