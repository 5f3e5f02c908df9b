// The tavro-host commands on class definitions and their history.

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "hosts/tavro/command_line.h"
#include "hosts/tavro/xml/class_xml.h"

namespace tavro_cli {

namespace {

// A class XML file larger than this is no class definition.
constexpr std::uintmax_t kMaxClassFileBytes = 16 * 1024 * 1024;

std::string StoreTime(std::time_t when) {
    std::tm parts{};
    gmtime_r(&when, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

// A time ago: "-90s", "-10m", "-2h", "-1d".
bool ReadTimeAgo(const std::string& text, std::string& since) {
    if (text.size() < 3 || text[0] != '-') return false;
    std::size_t digits = text.find_first_not_of("0123456789", 1);
    if (digits != text.size() - 1 || digits == 1 || digits > 8) return false;
    long count = std::stol(text.substr(1, digits - 1));
    long unit = 0;
    switch (text.back()) {
        case 's':
            unit = 1;
            break;
        case 'm':
            unit = 60;
            break;
        case 'h':
            unit = 3600;
            break;
        case 'd':
            unit = 86400;
            break;
        default:
            return false;
    }
    since = StoreTime(std::time(nullptr) - static_cast<std::time_t>(count * unit));
    return true;
}

// "2026-11-23 15:40:00", "2026-11-23T15:40:00Z" or "2026-11-23", all UTC; a date that does
// not exist is refused.
bool ReadUtcTime(const std::string& text, std::string& since) {
    std::tm parts{};
    char separator = ' ';
    char zone = '\0';
    int used = 0;
    int fields = std::sscanf(text.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%c%n", &parts.tm_year,
                             &parts.tm_mon, &parts.tm_mday, &separator, &parts.tm_hour,
                             &parts.tm_min, &parts.tm_sec, &zone, &used);
    bool dateOnly = text.size() == 10 && fields == 3;
    bool spaced = fields == 7 && separator == ' ' && text.size() == 19;
    bool iso = fields == 8 && separator == 'T' && zone == 'Z' && used == 20 && text.size() == 20;
    if (!dateOnly && !spaced && !iso) return false;
    std::tm given = parts;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    std::time_t when = timegm(&parts);
    if (when == static_cast<std::time_t>(-1)) return false;
    since = StoreTime(when);
    // timegm moves an impossible date (2026-02-30) to another; such a TIME is a mistake.
    char expected[32];
    std::snprintf(expected, sizeof expected, "%04d-%02d-%02d %02d:%02d:%02d", given.tm_year,
                  given.tm_mon, given.tm_mday, given.tm_hour, given.tm_min, given.tm_sec);
    return since == expected;
}

std::string SinceOf(const std::string& text) {
    std::string since;
    if (ReadTimeAgo(text, since) || ReadUtcTime(text, since)) return since;
    Die("bad TIME '" + text + "': give \"YYYY-MM-DD HH:MM:SS\", YYYY-MM-DDTHH:MM:SSZ or " +
        "YYYY-MM-DD (UTC), or -Ns, -Nm, -Nh, -Nd; see tavro-host class --help");
}

// A word as the shell reads it back unchanged.
std::string ShellWord(const std::string& word) {
    if (!word.empty() && word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstu"
                                                "vwxyz0123456789_./-%+=:,") == std::string::npos)
        return word;
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

void ListDeleted(tavro::Store& store, const Options& options, const std::string& ns) {
    std::string since = SinceOf(options.deletedSince);
    std::string dir = std::filesystem::absolute(DataDir(options)).lexically_normal().string();
    for (const tavro::DeletedClass& entry : tavro::DeletedClassesSince(store, ns, since)) {
        std::cout << entry.name << "\tdeleted " << entry.deletedAt << " by " << entry.deletedBy
                  << "\ttavro-host --data " << ShellWord(dir) << " class restore " << ns << " "
                  << entry.name << " " << entry.version << "\n";
    }
}

std::string ReadClassFile(const std::string& file) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file, ec)) Die(file + " is not a regular file");
    if (std::filesystem::file_size(file, ec) > kMaxClassFileBytes)
        Die(file + " is larger than " + std::to_string(kMaxClassFileBytes) + " bytes");
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in) Die("cannot read " + file);
    return text.str();
}

void LoadClassFile(tavro::Store& store, const std::string& ns, const std::string& file) {
    tavro::XmlParseResult parsed = tavro::ParseClassXml(ReadClassFile(file));
    if (!parsed.ok)
        Die(file + ": " + parsed.message + " (at offset " + std::to_string(parsed.offset) + ")");
    bool replaced = tavro::ClassExists(store, ns, parsed.def.name);
    tavro::SaveClass(store, ns, parsed.def, kOperator, /*replace=*/true);
    std::cout << "tavro-host: stored " << parsed.def.name << " in " << ns
              << (replaced ? "; the former definition is in its history" : "") << "\n";
}

void DumpClasses(tavro::Store& store, const std::string& ns, const std::string& dir) {
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec) Die("cannot create " + dir + ": " + ec.message());
    std::vector<tavro::ClassDef> defs = tavro::LoadClasses(store, ns);
    for (const tavro::ClassDef& def : defs) {
        tavro::WriteFileAtomically((std::filesystem::path(dir) / (def.name + ".xml")).string(),
                                   tavro::RenderClassXml(def));
    }
    std::cout << "tavro-host: wrote " << defs.size() << " classes of " << ns << " to " << dir
              << "\n";
}

}  // namespace

int ClassCommand(const Options& options) {
    const std::string& verb = Word(options, 1, "class command");
    const std::string& ns = Word(options, 2, "namespace");
    auto store = tavro::OpenStore(DataDir(options));
    if (!tavro::NamespaceExists(*store, ns)) Die("no namespace " + ns);
    if (verb == "list" && !options.deletedSince.empty()) {
        ListDeleted(*store, options, ns);
        return 0;
    }
    if (verb == "list") {
        for (const tavro::SummaryRow& row : tavro::SummaryOf(*store, ns))
            std::cout << row.name << "\n";
        return 0;
    }
    if (verb == "load") {
        LoadClassFile(*store, ns, Word(options, 3, "class XML file"));
        return 0;
    }
    if (verb == "dump") {
        DumpClasses(*store, ns, Word(options, 3, "directory"));
        return 0;
    }
    const std::string& name = Word(options, 3, "class name");
    if (verb == "show") {
        tavro::ClassDef def;
        if (!tavro::LoadClass(*store, ns, name, def))
            Die("class " + name + " does not exist in " + ns);
        std::cout << tavro::RenderClassXml(def);
    } else if (verb == "history") {
        for (const tavro::HistoryEntry& entry : tavro::ClassHistory(*store, ns, name)) {
            std::cout << entry.version << "\tsaved " << entry.savedAt << " by " << entry.savedBy
                      << "\t" << entry.reason << " " << entry.replacedAt << " by "
                      << entry.replacedBy << "\n";
        }
    } else if (verb == "restore") {
        int version = options.words.size() > 4 ? std::atoi(options.words[4].c_str()) : 0;
        if (options.words.size() > 4 && version <= 0) Die("bad version " + options.words[4]);
        tavro::RestoreClass(*store, ns, name, version, kOperator);
        std::cout << "tavro-host: restored " << name << " in " << ns << "\n";
    } else {
        Die("unknown class command " + verb);
    }
    return 0;
}

int HistoryCommand(const Options& options) {
    const std::string& verb = Word(options, 1, "history command");
    if (verb != "prune") Die("unknown history command " + verb);
    if (options.keep.empty()) Die("history prune needs --keep N");
    int keep = std::atoi(options.keep.c_str());
    if (std::to_string(keep) != options.keep || keep < 1)
        Die("bad --keep " + options.keep + ": give a number of versions, 1 or more");
    auto store = tavro::OpenStore(DataDir(options));
    std::string ns;
    if (!options.all) {
        ns = Word(options, 2, "namespace or --all");
        if (!tavro::NamespaceExists(*store, ns)) Die("no namespace " + ns);
    } else if (options.words.size() > 2) {
        Die("give a namespace or --all, not both");
    }
    int removed = tavro::PruneHistory(*store, ns, keep);
    std::cout << "tavro-host: removed " << removed << " history versions of "
              << (options.all ? std::string("every namespace") : ns) << "\n";
    return 0;
}

}  // namespace tavro_cli
