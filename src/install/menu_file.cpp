#include <string>

#include "install/install.h"
#include "platform/files.h"

namespace install {
namespace {

// Each indented line is a move to print position 5, 10 or 15 followed by its text, so the text
// begins in that column: levels 1, 2 and 3 are 4, 9 and 14 blanks. A separating line holds the
// level-2 blanks and nothing else.
std::string Indent(int level) {
    static constexpr int kBlanks[] = {0, 4, 9, 14};
    return std::string(static_cast<std::size_t>(kBlanks[level]), ' ');
}

struct MenuLine {
    int level;
    const char* text;  // nullptr: the Exec line of the option's command word
    const char* word;
};

// The Exec lines start the installed executable with the option's command word inside the
// same pair of double quotes; the path is not escaped, and joins the executable's name with
// the system's separator.
constexpr MenuLine kMenu[] = {
    {0, "Menu Tools", nullptr},
    {0, "{", nullptr},
    {1, "Separator", nullptr},
    {1, "Menu \"&Tavro\"", nullptr},
    {1, "{", nullptr},
    {2, "option \"&Export Classes to Tavro ...\"", nullptr},
    {2, "{", nullptr},
    {3, nullptr, "EXPORT"},
    {2, "}", nullptr},
    {2, "", nullptr},
    {2, "option \"&Import Classes from Tavro ...\"", nullptr},
    {2, "{", nullptr},
    {3, nullptr, "IMPORT"},
    {2, "}", nullptr},
    {2, "", nullptr},
    {2, "option \"Load &Datatype Classes from Tavro ...\"", nullptr},
    {2, "{", nullptr},
    {3, nullptr, "DATATYPES"},
    {2, "}", nullptr},
    {2, "", nullptr},
    {2, "option \"Load &System Classes from Tavro ...\"", nullptr},
    {2, "{", nullptr},
    {3, nullptr, "SYSTEM"},
    {2, "}", nullptr},
    {1, "}", nullptr},
    {0, "}", nullptr},
};

std::string MenuLineText(const MenuLine& line, const std::string& installDirectory) {
    std::string text = line.text != nullptr
                           ? std::string(line.text)
                           : "Exec \"" + installDirectory + platform::kPathSeparator +
                                 kExecutableName + " " + line.word + "\"";
    return Indent(line.level) + text + "\r\n";
}

}  // namespace

std::string MenuFileText(const std::string& installDirectory) {
    std::string text;
    for (const auto& line : kMenu) text += MenuLineText(line, installDirectory);
    return text;
}

void WriteMenuFile(const std::string& installDirectory) {
    platform::OutputFile file(installDirectory + platform::kPathSeparator + kMenuFileName);
    for (const auto& line : kMenu)
        file.Write(platform::AnsiText(MenuLineText(line, installDirectory)));
    file.Close();
}

}  // namespace install
