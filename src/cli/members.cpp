#include "server/members.h"

#include <algorithm>
#include <cctype>

#include "cli/cli_internal.h"
#include "export/export.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "strings/strings.h"

namespace cli {

namespace {

namespace d = server::members::definition;

std::string Text(const automation::ObjectRef& obj, const char* member) {
    return automation::GetByName(obj, member).ToString();
}

// Roles are named after the other class's end, as the export names its properties; a class
// associated with itself has a property for its own end too.
void AddRoles(const automation::ObjectRef& roseClass, std::vector<Member>& members) {
    automation::ObjectRef associations = rose::Associations(roseClass);
    std::int16_t count = rose::Count(associations);
    for (std::int16_t i = 1; i <= count; ++i) {
        automation::ObjectRef association = rose::AssociationAt(associations, i);
        automation::ObjectRef own = rose::RoleOf(association, roseClass);
        automation::ObjectRef other = rose::OtherRoleOf(association, roseClass);
        std::vector<automation::ObjectRef> roles;
        if (rose::IsSelfAssociation(own, other)) roles.push_back(own);
        roles.push_back(other);
        for (const automation::ObjectRef& role : roles) {
            std::string name = rose::Name(role);
            if (name.empty()) continue;
            members.push_back({name, "relationship", "", "", ""});
        }
    }
}

}  // namespace

std::vector<Member> ModelMembers(const automation::ObjectRef& roseClass) {
    std::vector<Member> members;
    automation::ObjectRef attributes = rose::Attributes(roseClass);
    std::int16_t count = rose::Count(attributes);
    for (std::int16_t i = 1; i <= count; ++i) {
        automation::ObjectRef attribute = rose::AttributeAt(attributes, i);
        members.push_back({rose::Name(attribute), "property",
                           exporting::ServerTypeOfRoseType(rose::TypeName(attribute)), "", ""});
    }
    AddRoles(roseClass, members);
    automation::ObjectRef operations = rose::Operations(roseClass);
    count = rose::Count(operations);
    for (std::int16_t i = 1; i <= count; ++i) {
        automation::ObjectRef operation = rose::OperationAt(operations, i);
        members.push_back({rose::Name(operation), "method",
                           exporting::ServerTypeOfRoseType(rose::ReturnTypeName(operation)), "",
                           ""});
    }
    return members;
}

std::vector<Member> ServerMembers(const automation::ObjectRef& classDef) {
    std::vector<Member> members;
    automation::ObjectRef properties = automation::GetByName(classDef, d::kProperties).ToObject();
    std::int16_t count = automation::GetByName(properties, d::kCount).ToInt16();
    for (std::int16_t i = 1; i <= count; ++i) {
        automation::ObjectRef property =
            automation::CallByName(properties, d::kGetAt, {i}).ToObject();
        bool relationship = automation::GetByName(property, d::kRelationship).ToBool();
        members.push_back({Text(property, d::kName), relationship ? "relationship" : "property",
                           Text(property, d::kType), "", ""});
    }
    automation::ObjectRef methods = automation::GetByName(classDef, d::kMethods).ToObject();
    count = automation::GetByName(methods, d::kCount).ToInt16();
    for (std::int16_t i = 1; i <= count; ++i) {
        automation::ObjectRef method = automation::CallByName(methods, d::kGetAt, {i}).ToObject();
        members.push_back({Text(method, d::kName), "method", Text(method, d::kReturnType), "", ""});
    }
    return members;
}

const Member* FindMember(const std::vector<Member>& members, const std::string& name) {
    for (const Member& member : members) {
        if (strings::EqualNoCase(member.name, name)) return &member;
    }
    return nullptr;
}

bool SameType(const std::string& a, const std::string& b, const std::string& package) {
    if (a.empty() || b.empty()) return a.empty() && b.empty();
    auto full = [&package](const std::string& type) {
        return naming::QualifyClassName(naming::QualifyInPackage(type, package));
    };
    return strings::EqualNoCase(full(a), full(b));
}

void CloseDefinition(const automation::ObjectRef& classDef) {
    if (!classDef) return;
    try {
        automation::CallByName(classDef, server::members::stored::kSysClose);
    } catch (const std::exception&) {
    }
}

}  // namespace cli
