// What the export did with each member of the classes of a run, for a report to tell member
// by member: the row of a class gives only counts of what it passed over.
#include <algorithm>
#include <map>
#include <string_view>

#include "export/export.h"
#include "export/export_internal.h"

namespace exporting {

namespace {

std::map<std::string, std::vector<MemberOutcome>>& Outcomes() {
    static std::map<std::string, std::vector<MemberOutcome>> outcomes;
    return outcomes;
}

// Properties and relationships share the definition's Properties; methods have their own.
bool SameCollection(std::string_view a, std::string_view b) {
    return (a == kMethodKind) == (b == kMethodKind);
}

}  // namespace

const std::vector<MemberOutcome>& MemberOutcomesOf(const std::string& className) {
    static const std::vector<MemberOutcome> kNone;
    auto found = Outcomes().find(className);
    return found == Outcomes().end() ? kNone : found->second;
}

void NoteMember(const std::string& className, MemberOutcome outcome) {
    std::vector<MemberOutcome>& members = Outcomes()[className];
    if (outcome.result == MemberResult::Exported) {
        // A member written under a name that an earlier one of the class was written under
        // fills the same definition member again: the earlier one is no longer what the
        // server holds.
        for (MemberOutcome& earlier : members) {
            if (earlier.result != MemberResult::Exported || earlier.name != outcome.name) continue;
            if (!SameCollection(earlier.kind, outcome.kind)) continue;
            earlier.result = MemberResult::Skipped;
            earlier.reason =
                std::string("a later ") + outcome.kind + " of the same name replaced it";
        }
    }
    members.push_back(std::move(outcome));
}

void ForgetMembersOf(const std::string& className) { Outcomes().erase(className); }

void ForgetMemberOutcomes() { Outcomes().clear(); }

}  // namespace exporting
