// A dry run is the run itself against a side that keeps nothing: an export against a trial
// session of the Tavro server, whose writes are checked and performed and then rolled back,
// an import against a trial copy of the model that is thrown away. Its outcomes are read from
// the log rows the run left, and the member changes from the written side inside the trial,
// set against what that side held before.
#include <map>
#include <ostream>

#include "cli/cli_internal.h"
#include "export/export.h"
#include "naming/naming.h"
#include "server/members.h"
#include "server/server.h"

namespace cli {

namespace {

namespace f = server::members::factory;

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
    std::vector<ClassOutcome> classes;
    for (const window::LogRow& row : form.Rows()) {
        if (row.className.empty()) continue;
        ClassOutcome cls;
        cls.name = row.className;
        cls.outcome = OutcomeOfRow(row, cls.detail);
        const std::string serverName = naming::QualifyClassName(cls.name);
        const Before& was = before[serverName];
        if (cls.outcome == "replaced" && was.present) {
            try {
                cls.members =
                    CompareMembers(ServerClassBefore(serverName).members, was.members, serverName);
            } catch (const automation::AutomationError& e) {
                cls.detail = "members not compared: " + e.Description();
            }
        }
        classes.push_back(cls);
    }
    return classes;
}

std::vector<ClassOutcome> DryRunImport(window::PlainWindow& form) {
    std::vector<ClassOutcome> classes;
    std::int16_t count = form.lstSelectedClasses().ListCount();
    for (std::int16_t i = 0; i < count; ++i) {
        ClassOutcome outcome;
        outcome.name = form.lstSelectedClasses().List(i);
        automation::ObjectRef definition = server::OpenClassDefinition(outcome.name);
        if (!definition) {
            outcome.outcome = "failed";
            outcome.detail = "the server has no such class";
            classes.push_back(outcome);
            continue;
        }
        try {
            automation::ObjectRef roseClass = naming::FindRoseClass(outcome.name);
            if (!roseClass) {
                outcome.outcome = "created";
            } else {
                outcome.outcome =
                    form.CheckValue(window::CheckBox::Override) == 1 ? "replaced" : "skipped";
                outcome.members = CompareMembers(ServerMembers(definition), ModelMembers(roseClass),
                                                 outcome.name);
            }
        } catch (const automation::AutomationError& e) {
            outcome.detail = "members not compared: " + e.Description();
        }
        CloseDefinition(definition);
        classes.push_back(outcome);
    }
    return classes;
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
