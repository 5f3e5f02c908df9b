// The add-in's installation: registration under the host modelling tool's registry key, the
// Tools menu file and the model property file. An installation run calls the three routines
// in this order: RegisterAddIn, WriteMenuFile, WritePropertyFile.
#pragma once

#include <string>

namespace install {

// Constants of the product build. `ProgramVersion` is five numbers joined by dots, the last 0;
// the install prompt, the start-up window and the registry all show this one text.
inline constexpr const char* ProgramVersion = "1.0.0.1.0";
inline constexpr const char* kCompany = "Corvansil";
inline constexpr const char* kCopyright = "Copyright (C) 2026 Corvansil";

// The installed executable as the menu's Exec lines name it, whatever the running file is
// called: the Linux program, or the Windows one in the install directory.
#ifdef _WIN32
inline constexpr const char* kExecutableName = "Corvansil.exe";
#else
inline constexpr const char* kExecutableName = "corvansil";
#endif

inline constexpr const char* kMenuFileName = "Corvansil.mnu";
inline constexpr const char* kPropertyFileName = "Corvansil.pty";

// The add-in key under HKEY_LOCAL_MACHINE for a host word: Visual Modeler's for exactly
// "MSVM", Rose's for any other text.
std::string AddInKeyPath(const std::string& hostWord);

// Writes the add-in key's eight values and the settings key's "Debug" value, replacing earlier
// ones. Nothing is reported: a key that cannot be created or opened has its values skipped.
void RegisterAddIn(const std::string& installDirectory, const std::string& hostWord);

// The 26 lines of the Tools menu for an add-in installed in `installDirectory`.
std::string MenuFileText(const std::string& installDirectory);
// Writes Corvansil.mnu in `installDirectory` (in the system's ANSI code page), replacing any
// older file. Raises
// platform::FileError; what was written before the failure stays.
void WriteMenuFile(const std::string& installDirectory);

// The 446 lines (10,978 bytes) of the model property file, generated from vocabulary.h.
std::string PropertyFileText();
// Writes Corvansil.pty in `installDirectory`, replacing any older file. Raises
// platform::FileError; the file may then be incomplete.
void WritePropertyFile(const std::string& installDirectory);

}  // namespace install
