// The transfer of a class's whole XML definition through the server's utility class, which
// lets the parts of a class that the model cannot show survive a trip through the model.
#include "model/rose.h"
#include "naming/naming.h"
#include "platform/platform.h"
#include "server/members.h"
#include "server/server.h"

namespace server {

namespace f = members::factory;
namespace u = members::utility;
namespace st = members::stream;
using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;

namespace {

// A fresh, unsaved utility instance; each transfer has its own.
ObjectRef NewUtility() {
    return CallByName(ServerFactory, f::kNewObject, {members::classes::kUtility}).ToObject();
}

ObjectRef XmlStreamOf(const ObjectRef& utility) {
    return GetByName(utility, u::kXmlStream).ToObject();
}

// One line of the member list, for a member with a name.
void WriteMember(const ObjectRef& list, const char* prefix, const std::string& name) {
    if (name.empty()) return;
    CallByName(list, st::kWrite, {prefix + name + "\r\n"});
}

// The properties the model class will export: the named roles at the other end of each of
// its associations (both ends, other end first, for an association of the class with itself),
// then its attributes; then its operations as methods.
void WriteMemberList(const ObjectRef& list, const ObjectRef& roseClass) {
    ObjectRef associations = rose::Associations(roseClass);
    std::int16_t associationCount = rose::Count(associations);
    for (std::int16_t i = 1; i <= associationCount; ++i) {
        ObjectRef association = rose::AssociationAt(associations, i);
        ObjectRef ownRole = rose::RoleOf(association, roseClass);
        ObjectRef otherRole = rose::OtherRoleOf(association, roseClass);
        WriteMember(list, "a:", rose::Name(otherRole));
        if (rose::IsSelfAssociation(ownRole, otherRole)) {
            WriteMember(list, "a:", rose::Name(ownRole));
        }
    }
    ObjectRef attributes = rose::Attributes(roseClass);
    std::int16_t attributeCount = rose::Count(attributes);
    for (std::int16_t i = 1; i <= attributeCount; ++i) {
        WriteMember(list, "a:", rose::Name(rose::AttributeAt(attributes, i)));
    }
    ObjectRef operations = rose::Operations(roseClass);
    std::int16_t operationCount = rose::Count(operations);
    for (std::int16_t i = 1; i <= operationCount; ++i) {
        WriteMember(list, "m:", rose::Name(rose::OperationAt(operations, i)));
    }
}

std::vector<ClassXmlFailure>& Failures() {
    static std::vector<ClassXmlFailure> failures;
    return failures;
}

// The server name of the class when the failure came before it was known; a class the
// modelling tool cannot name any more is noted without one.
std::string NameAfterFailure(const ObjectRef& roseClass) {
    try {
        return naming::ServerClassNameOfRosePath(rose::QualifiedName(roseClass));
    } catch (const std::exception&) {
        return "";
    }
}

}  // namespace

const std::vector<ClassXmlFailure>& ClassXmlFailures() { return Failures(); }

void ForgetClassXmlFailures() { Failures().clear(); }

ObjectRef OpenClassDefinition(const std::string& className) {
    try {
        return CallByName(ServerFactory, f::kLoadObjectById,
                          {members::classes::kClassDefinition, className})
            .ToObject();
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::string LoadClassXml(const std::string& className) {
    try {
        ObjectRef utility = NewUtility();
        CallByName(utility, u::kLoadToXmlStream, {className});
        return GetByName(XmlStreamOf(utility), st::kData).ToString();
    } catch (const std::exception&) {
        // The class then carries no XML; an import stores it all the same.
        return "";
    }
}

void SaveClassXml(const std::string& xml, const ObjectRef& roseClass) {
    std::string className;
    try {
        ObjectRef utility = NewUtility();
        PutByName(XmlStreamOf(utility), st::kData, xml);
        // The class may have moved in the model since it came from the server: it is stored
        // under the name its place in the model gives it now.
        className = naming::ServerClassNameOfRosePath(rose::QualifiedName(roseClass));
        PutByName(utility, u::kNewClassName, className);
        ObjectRef list = GetByName(utility, u::kMemberListStream).ToObject();
        CallByName(list, st::kClear);
        WriteMemberList(list, roseClass);
        CallByName(utility, u::kSaveFromXmlStream);
    } catch (const std::exception& error) {
        // The export of the class goes on and its row tells nothing of this: the user sees why
        // its hidden parts were not kept, and the run keeps which class lost them.
        if (className.empty()) className = NameAfterFailure(roseClass);
        Failures().push_back(ClassXmlFailure{className, error.what()});
        platform::MessageBox(error.what(), platform::Buttons::Ok);
    }
}

}  // namespace server
