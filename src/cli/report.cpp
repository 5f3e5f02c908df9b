// The outcome of a finished run, class by class and member by member, and its JSON form.
#include <cstdio>
#include <sstream>

#include "cli/cli_internal.h"
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

// Members of an exported class: those the server definition now holds went through, the
// model's others were skipped.
std::vector<Member> ExportedMembers(const std::string& name, const std::string& key) {
    std::vector<Member> members;
    automation::ObjectRef definition = server::OpenClassDefinition(naming::QualifyClassName(name));
    if (!definition) return members;
    members = ServerMembers(definition);
    CloseDefinition(definition);
    for (Member& member : members) member.outcome = "exported";
    automation::ObjectRef roseClass = rose::GetRoseClassByKey(key);
    if (!roseClass) return members;
    for (Member member : ModelMembers(roseClass)) {
        if (FindMember(members, member.name)) continue;
        member.outcome = "skipped";
        members.push_back(member);
    }
    return members;
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

std::vector<ClassOutcome> CollectOutcomes(Command command, window::PlainWindow& form) {
    std::vector<ClassOutcome> classes;
    const std::vector<window::LogRow>& rows = form.Rows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].className.empty()) continue;  // the diagram steps of an import
        ClassOutcome cls;
        cls.name = rows[i].className;
        SplitStatus(rows[i].status, cls.outcome, cls.detail);
        if (!WroteTheClass(cls.outcome)) {
            classes.push_back(cls);
            continue;
        }
        try {
            if (command == Command::Export) {
                auto at = static_cast<std::int16_t>(i);
                cls.members = ExportedMembers(cls.name, form.lstSelectedClassIDs().List(at));
            } else if (command == Command::Import) {
                cls.members = ImportedMembers(cls.name);
            }
        } catch (const automation::AutomationError& e) {
            cls.members.clear();
            cls.detail = "members not read: " + e.Description();
        }
        classes.push_back(cls);
    }
    return classes;
}

std::string ReportJson(const std::string& command, const std::vector<ClassOutcome>& classes,
                       const std::string& status) {
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
        out << ", \"members\": [";
        for (std::size_t m = 0; m < cls.members.size(); ++m) {
            const Member& member = cls.members[m];
            out << (m ? ",\n" : "\n") << "      {\"name\": ";
            Quote(out, member.name);
            out << ", \"kind\": ";
            Quote(out, member.kind);
            out << ", \"outcome\": ";
            Quote(out, member.outcome);
            out << "}";
        }
        out << (cls.members.empty() ? "]}" : "\n    ]}");
    }
    out << (classes.empty() ? "],\n" : "\n  ],\n") << "  \"status\": ";
    Quote(out, status);
    out << "\n}\n";
    return out.str();
}

}  // namespace cli
