// The outcome of a run, class by class and member by member, its JSON form and its file.
#include <cstdio>
#include <ostream>
#include <sstream>

#include "cli/cli_internal.h"
#include "export/export.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"

namespace cli {

namespace {

void Quote(std::ostringstream& out, const std::string& text) {
    out << '"';
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out << '\\' << c;
        } else if (byte < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out << escaped;
        } else {
            out << c;
        }
    }
    out << '"';
}

// "Existing Class Replaced (1 Invalid Property Skipped.)" gives the outcome before the
// parenthesis and the detail inside it.
void SplitStatus(const std::string& status, std::string& outcome, std::string& detail) {
    std::size_t open = status.find(" (");
    if (open == std::string::npos || status.back() != ')') {
        outcome = status;
        detail.clear();
        return;
    }
    outcome = status.substr(0, open);
    detail = status.substr(open + 2, status.size() - open - 3);
}

bool WroteTheClass(const std::string& outcome) {
    return outcome == "New Class Created" || outcome == "Existing Class Replaced";
}

const char* OutcomeWord(exporting::MemberResult result) {
    switch (result) {
        case exporting::MemberResult::Exported:
            return "exported";
        case exporting::MemberResult::Skipped:
            return "skipped";
        case exporting::MemberResult::Failed:
            return "failed";
    }
    return "";
}

// Members of an exported class as the export took them, each with what it did.
std::vector<Member> ExportedMembers(const std::string& name) {
    std::vector<Member> members;
    for (const exporting::MemberOutcome& outcome :
         exporting::MemberOutcomesOf(naming::QualifyClassName(name))) {
        members.push_back(
            {outcome.name, outcome.kind, "", OutcomeWord(outcome.result), outcome.reason});
    }
    return members;
}

std::string ClassXmlFailureOf(const std::string& name) {
    for (const server::ClassXmlFailure& failure : server::ClassXmlFailures()) {
        if (failure.className == name) return failure.error;
    }
    return "";
}

// Members of an imported class: each server member either is now in the model class or
// was not imported.
std::vector<Member> ImportedMembers(const std::string& name) {
    std::vector<Member> members;
    automation::ObjectRef definition = server::OpenClassDefinition(name);
    if (!definition) return members;
    members = ServerMembers(definition);
    CloseDefinition(definition);
    automation::ObjectRef roseClass = naming::FindRoseClass(name);
    std::vector<Member> present;
    if (roseClass) present = ModelMembers(roseClass);
    for (Member& member : members) {
        member.outcome = FindMember(present, member.name) ? "imported" : "not imported";
    }
    return members;
}

}  // namespace

std::vector<ClassOutcome> CollectOutcomes(Command command, window::PlainWindow& form,
                                          bool readMembers) {
    std::vector<ClassOutcome> classes;
    const std::vector<window::LogRow>& rows = form.Rows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].className.empty()) continue;  // the diagram steps of an import
        ClassOutcome cls;
        cls.name = rows[i].className;
        SplitStatus(rows[i].status, cls.outcome, cls.detail);
        if (!IsFinalRow(rows[i])) {
            cls.outcome = "not run";
            cls.detail.clear();
        }
        if (command == Command::Export) cls.hiddenPartsLost = ClassXmlFailureOf(cls.name);
        if (command == Command::Export && WroteTheClass(cls.outcome)) {
            cls.members = ExportedMembers(cls.name);
        }
        if (command != Command::Import || !readMembers || !WroteTheClass(cls.outcome)) {
            classes.push_back(cls);
            continue;
        }
        try {
            cls.members = ImportedMembers(cls.name);
        } catch (const automation::AutomationError& e) {
            cls.members.clear();
            cls.detail = "members not read: " + e.Description();
        }
        classes.push_back(cls);
    }
    return classes;
}

bool ReportClassXmlFailures(std::ostream& err) {
    for (const server::ClassXmlFailure& failure : server::ClassXmlFailures()) {
        std::string name = failure.className.empty() ? "a class" : failure.className;
        err << "corvansil-cli: the class XML of " << name
            << " was not stored, so the parts only it holds (storage, queries, indices, code) "
               "were not kept: "
            << failure.error << "\n";
    }
    return !server::ClassXmlFailures().empty();
}

std::string ReportJson(const std::string& command, const std::vector<ClassOutcome>& classes,
                       const std::string& status, const RunEnd& end) {
    std::ostringstream out;
    out << "{\n  \"command\": ";
    Quote(out, command);
    out << ",\n  \"classes\": [";
    for (std::size_t c = 0; c < classes.size(); ++c) {
        const ClassOutcome& cls = classes[c];
        out << (c ? ",\n" : "\n") << "    {\"name\": ";
        Quote(out, cls.name);
        out << ", \"outcome\": ";
        Quote(out, cls.outcome);
        out << ", \"detail\": ";
        Quote(out, cls.detail);
        if (!cls.hiddenPartsLost.empty()) {
            out << ", \"hidden_parts_not_kept\": ";
            Quote(out, cls.hiddenPartsLost);
        }
        out << ", \"members\": [";
        for (std::size_t m = 0; m < cls.members.size(); ++m) {
            const Member& member = cls.members[m];
            out << (m ? ",\n" : "\n") << "      {\"name\": ";
            Quote(out, member.name);
            out << ", \"kind\": ";
            Quote(out, member.kind);
            out << ", \"outcome\": ";
            Quote(out, member.outcome);
            if (!member.reason.empty()) {
                out << ", \"reason\": ";
                Quote(out, member.reason);
            }
            out << "}";
        }
        out << (cls.members.empty() ? "]}" : "\n    ]}");
    }
    out << (classes.empty() ? "],\n" : "\n  ],\n") << "  \"status\": ";
    Quote(out, status);
    out << ",\n  \"exit_status\": " << end.exitStatus << ",\n  \"error\": ";
    Quote(out, end.error);
    out << ",\n  \"deleted_not_saved\": [";
    for (std::size_t m = 0; m < end.missing.size(); ++m) {
        out << (m ? ",\n" : "\n") << "    {\"name\": ";
        Quote(out, end.missing[m].name);
        out << ", \"restore\": ";
        Quote(out, end.missing[m].restore);
        out << "}";
    }
    out << (end.missing.empty() ? "]" : "\n  ]");
    if (!end.missing.empty()) {
        out << ",\n  \"restore_note\": ";
        Quote(out, exporting::kRestoreNote);
    }
    out << "\n}\n";
    return out.str();
}

}  // namespace cli
