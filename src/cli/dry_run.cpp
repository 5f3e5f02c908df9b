// A dry run is the run itself against a side that keeps nothing: an export against a trial
// session of the Tavro server, whose writes are checked and performed and then rolled back,
// an import against a trial copy of the model that is thrown away. Its outcomes are read from
// the log rows the run left, and the member changes from the written side inside the trial,
// set against what that side held before.
#include <functional>
#include <map>
#include <ostream>

#include "cli/cli_internal.h"
#include "export/export.h"
#include "import/import.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/members.h"
#include "server/server.h"

namespace cli {

namespace {

namespace f = server::members::factory;

// The modelling tool's application, as rose-host answers it: by name only.
constexpr std::string_view kBeginTrial = "BeginTrial";
constexpr std::string_view kEndTrial = "EndTrial";

// What the written side held of a class before the run: none when it had no such class.
struct Before {
    bool present = false;
    std::vector<Member> members;
};

Before ServerClassBefore(const std::string& serverName) {
    Before before;
    automation::ObjectRef definition = server::OpenClassDefinition(serverName);
    if (!definition) return before;
    before.present = true;
    before.members = ServerMembers(definition);
    CloseDefinition(definition);
    return before;
}

// The members as the run wrote them (`written`) set against those there before (`present`):
// added, changed, dropped or unchanged.
std::vector<Member> CompareMembers(const std::vector<Member>& written,
                                   const std::vector<Member>& present,
                                   const std::string& className) {
    const std::string package = naming::PackageOfClassName(className);
    std::vector<Member> result;
    for (const Member& member : written) {
        Member entry = member;
        const Member* there = FindMember(present, member.name);
        if (!there) {
            entry.outcome = "added";
        } else if (!SameType(member.type, there->type, package)) {
            entry.outcome = "changed";
            entry.type = there->type + " -> " + member.type;
        } else {
            entry.outcome = "unchanged";
        }
        result.push_back(entry);
    }
    for (const Member& member : present) {
        if (FindMember(written, member.name)) continue;
        Member entry = member;
        entry.outcome = "dropped";
        result.push_back(entry);
    }
    return result;
}

// The dry run's word for the outcome a row shows; "not run" for a row the run did not finish.
std::string OutcomeOfRow(const window::LogRow& row, std::string& detail) {
    static const std::pair<const char*, const char*> kWords[] = {
        {"New Class Created", "created"},
        {"Existing Class Replaced", "replaced"},
        {"Existing Class Skipped", "skipped"},
        {"Failed", "failed"},
    };
    detail.clear();
    if (!IsFinalRow(row)) return "not run";
    std::string status = row.status;
    std::size_t open = status.find(" (");
    if (open != std::string::npos && status.back() == ')') {
        detail = status.substr(open + 2, status.size() - open - 3);
        status.resize(open);
    }
    for (const auto& [text, word] : kWords) {
        if (status == text) return word;
    }
    return status;
}

// Begins the trial of the server session and ends it (everything rolled back) however the
// run ends.
class ServerTrial {
  public:
    ServerTrial() { automation::CallByName(server::ServerFactory, f::kBeginTrial); }
    ~ServerTrial() {
        try {
            automation::CallByName(server::ServerFactory, f::kEndTrial);
        } catch (const std::exception&) {
            // A server that has gone rolled the trial back as it went.
        }
    }
    ServerTrial(const ServerTrial&) = delete;
    ServerTrial& operator=(const ServerTrial&) = delete;
};

// Makes the modelling tool serve a copy of its model, thrown away however the run ends.
class ModelTrial {
  public:
    ModelTrial() : trial_(automation::CallByName(rose::RoseApp, kBeginTrial).ToObject()) {}
    ~ModelTrial() {
        try {
            automation::CallByName(rose::RoseApp, kEndTrial);
        } catch (const std::exception&) {
            // Releasing the trial object ends the trial too.
        }
    }
    ModelTrial(const ModelTrial&) = delete;
    ModelTrial& operator=(const ModelTrial&) = delete;

  private:
    automation::ObjectRef trial_;
};

Before ModelClassBefore(const std::string& name) {
    Before before;
    automation::ObjectRef roseClass = naming::FindRoseClass(name);
    if (!roseClass) return before;
    before.present = true;
    before.members = ModelMembers(roseClass);
    return before;
}

// The outcome of each class row; a replaced class with the member lines of what `written`
// reads (the written side, by the key of `before`) against what it held before.
std::vector<ClassOutcome> OutcomesOfRows(
    window::PlainWindow& form, std::map<std::string, Before>& before,
    const std::function<std::vector<Member>(const std::string&)>& written) {
    std::vector<ClassOutcome> classes;
    for (const window::LogRow& row : form.Rows()) {
        if (row.className.empty()) continue;  // the diagram steps of an import
        ClassOutcome cls;
        cls.name = row.className;
        cls.outcome = OutcomeOfRow(row, cls.detail);
        std::string key = before.count(cls.name) ? cls.name : naming::QualifyClassName(cls.name);
        auto was = before.find(key);
        if (cls.outcome == "replaced" && was != before.end() && was->second.present) {
            try {
                cls.members = CompareMembers(written(key), was->second.members, key);
            } catch (const automation::AutomationError& e) {
                cls.detail = "members not compared: " + e.Description();
            }
        }
        classes.push_back(cls);
    }
    return classes;
}

}  // namespace

std::vector<ClassOutcome> DryRunExport(window::PlainWindow& form) {
    std::map<std::string, Before> before;
    std::int16_t count = form.lstSelectedClasses().ListCount();
    for (std::int16_t i = 0; i < count; ++i) {
        // The export writes a class under its qualified name ("Customer" is "User.Customer").
        std::string serverName = naming::QualifyClassName(form.lstSelectedClasses().List(i));
        before[serverName] = ServerClassBefore(serverName);
    }

    ServerTrial trial;
    form.ClearLog();
    exporting::ExportClasses();
    return OutcomesOfRows(form, before, [](const std::string& serverName) {
        return ServerClassBefore(serverName).members;
    });
}

std::vector<ClassOutcome> DryRunImport(window::PlainWindow& form) {
    std::map<std::string, Before> before;
    std::int16_t count = form.lstSelectedClasses().ListCount();
    for (std::int16_t i = 0; i < count; ++i) {
        std::string name = form.lstSelectedClasses().List(i);
        before[name] = ModelClassBefore(name);
    }

    ModelTrial trial;
    form.ClearLog();
    importing::ImportClasses();
    return OutcomesOfRows(form, before,
                          [](const std::string& name) { return ModelClassBefore(name).members; });
}

void PrintDryRun(std::ostream& out, const std::vector<ClassOutcome>& classes) {
    for (const ClassOutcome& cls : classes) {
        if (cls.outcome == "failed") {
            out << "would fail: " << cls.name;
        } else {
            out << "would be " << cls.outcome << ": " << cls.name;
        }
        if (!cls.detail.empty()) out << " (" << cls.detail << ")";
        out << "\n";
        for (const Member& member : cls.members) {
            if (member.outcome == "unchanged") continue;
            out << "    " << member.outcome << " " << member.kind << " " << member.name;
            if (member.outcome == "changed") out << " (" << member.type << ")";
            out << "\n";
        }
    }
    out << "-- dry run: nothing was changed\n";
}

}  // namespace cli
