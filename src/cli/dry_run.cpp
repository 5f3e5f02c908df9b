// What an export or import would do, read from both sides without calling a writing routine.
#include <ostream>

#include "cli/cli_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"

namespace cli {

namespace {

constexpr const char* kCreated = "created";
constexpr const char* kReplaced = "replaced";
constexpr const char* kSkipped = "skipped";
constexpr const char* kFailed = "failed";

// The members of the class as the written side holds them after the run (`incoming`) set
// against what it holds now (`present`): added, changed, dropped or unchanged.
std::vector<Member> CompareMembers(const std::vector<Member>& incoming,
                                   const std::vector<Member>& present,
                                   const std::string& className) {
    const std::string package = naming::PackageOfClassName(className);
    std::vector<Member> result;
    for (const Member& member : incoming) {
        Member entry = member;
        const Member* there = FindMember(present, member.name);
        bool typed = member.kind != "relationship" && there && there->kind != "relationship";
        if (!there) {
            entry.outcome = "added";
        } else if (typed && !SameType(member.type, there->type, package)) {
            entry.outcome = "changed";
            entry.type = there->type + " -> " + member.type;
        } else {
            entry.outcome = "unchanged";
        }
        result.push_back(entry);
    }
    for (const Member& member : present) {
        if (FindMember(incoming, member.name)) continue;
        Member entry = member;
        entry.outcome = "dropped";
        result.push_back(entry);
    }
    return result;
}

const char* OutcomeOfExisting(window::TransferWindow& form) {
    return form.CheckValue(window::CheckBox::Override) == 1 ? kReplaced : kSkipped;
}

ClassOutcome ExportOutcome(window::TransferWindow& form, std::int16_t i) {
    ClassOutcome outcome;
    outcome.name = form.lstSelectedClasses().List(i);
    // The export writes a class under its qualified name ("Customer" is "User.Customer").
    const std::string serverName = naming::QualifyClassName(outcome.name);
    if (!server::ClassDefinitionExists(serverName)) {
        outcome.outcome = kCreated;
        return outcome;
    }
    outcome.outcome = OutcomeOfExisting(form);
    try {
        automation::ObjectRef roseClass =
            rose::GetRoseClassByKey(form.lstSelectedClassIDs().List(i));
        if (!roseClass) {
            outcome.outcome = kFailed;
            outcome.detail = "the class is no longer in the model";
            return outcome;
        }
        automation::ObjectRef definition = server::OpenClassDefinition(serverName);
        if (!definition) return outcome;
        outcome.members =
            CompareMembers(ModelMembers(roseClass), ServerMembers(definition), serverName);
        CloseDefinition(definition);
    } catch (const automation::AutomationError& e) {
        outcome.detail = "members not compared: " + e.Description();
    }
    return outcome;
}

ClassOutcome ImportOutcome(window::TransferWindow& form, std::int16_t i) {
    ClassOutcome outcome;
    outcome.name = form.lstSelectedClasses().List(i);
    automation::ObjectRef definition = server::OpenClassDefinition(outcome.name);
    if (!definition) {
        outcome.outcome = kFailed;
        outcome.detail = "the server has no such class";
        return outcome;
    }
    try {
        automation::ObjectRef roseClass = naming::FindRoseClass(outcome.name);
        if (!roseClass) {
            outcome.outcome = kCreated;
        } else {
            outcome.outcome = OutcomeOfExisting(form);
            outcome.members =
                CompareMembers(ServerMembers(definition), ModelMembers(roseClass), outcome.name);
        }
    } catch (const automation::AutomationError& e) {
        outcome.detail = "members not compared: " + e.Description();
    }
    CloseDefinition(definition);
    return outcome;
}

}  // namespace

std::vector<ClassOutcome> DryRunExport(window::TransferWindow& form) {
    std::vector<ClassOutcome> classes;
    std::int16_t count = form.lstSelectedClasses().ListCount();
    for (std::int16_t i = 0; i < count; ++i) classes.push_back(ExportOutcome(form, i));
    return classes;
}

std::vector<ClassOutcome> DryRunImport(window::TransferWindow& form) {
    std::vector<ClassOutcome> classes;
    std::int16_t count = form.lstSelectedClasses().ListCount();
    for (std::int16_t i = 0; i < count; ++i) classes.push_back(ImportOutcome(form, i));
    return classes;
}

void PrintDryRun(std::ostream& out, const std::vector<ClassOutcome>& classes) {
    for (const ClassOutcome& cls : classes) {
        out << "would be " << cls.outcome << ": " << cls.name;
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
