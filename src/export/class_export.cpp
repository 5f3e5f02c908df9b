#include <string>

#include "automation/rpc.h"
#include "export/export.h"
#include "export/export_internal.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "server/server.h"
#include "window/window.h"

namespace exporting {

using automation::ObjectRef;

namespace {

// "1 Invalid Property Skipped.", "3 Invalid Properties Skipped.", nothing for none.
std::string CountText(std::int16_t count, const char* one, const char* many) {
    if (count == 0) return "";
    if (count == 1) return std::string("1 Invalid ") + one + " Skipped.";
    return std::to_string(count) + " Invalid " + many + " Skipped.";
}

// A stop asked for (corvansil-cli's Ctrl-C) ends the class in hand at its next step: nothing
// further is written, not even a definition only half filled.
void StopIfRequested() {
    if (StopRequested && StopRequested()) throw automation::AutomationError(kRunStopped);
}

// Deletes the existing definition so that the class is written anew, not merged. The class is
// noted as deleted before the delete is sent: a connection lost during the call leaves unknown
// whether the server deleted it. `noted` says that it was.
void DeleteClassDefinition(const std::string& className, bool& noted) {
    ObjectRef old = automation::CallByName(server::ServerFactory, member::kLoadObjectById,
                                           {member::kClassDefinition, className})
                        .ToObject();
    automation::Variant oid = automation::GetByName(old, member::kSysOid);
    NoteDeleted(className);
    noted = true;
    automation::CallByName(old, member::kSysDelete, {oid});
    automation::CallByName(old, member::kSysClose);
}

// A class that came from the server keeps its XML in the model: sending it back first keeps
// what the model cannot show (storage, queries, code).
void SendClassXml(const ObjectRef& roseClass) {
    if (rose::GetToolProperty(roseClass, install::kToolTavroHidden, kXmlDefinedProperty) != "True")
        return;
    std::string xml =
        rose::GetToolProperty(roseClass, install::kToolTavroHidden, kClassXmlProperty);
    server::SaveClassXml(xml, roseClass);
}

// The definition to fill: the one the XML step stored, else a new one.
ObjectRef DefinitionToFill(const std::string& className) {
    if (server::ClassDefinitionExists(className)) {
        return automation::CallByName(server::ServerFactory, member::kOpenObjectById,
                                      {member::kClassDefinition, className})
            .ToObject();
    }
    return NewServerObject(member::kClassDefinition, className);
}

// The server names of the class's super classes in link order, joined by ','. A link whose
// class is not in the model still names it.
std::string SuperClassList(const ObjectRef& roseClass) {
    std::string list;
    ObjectRef links = rose::SuperclassLinks(roseClass);
    std::int16_t count = rose::Count(links);
    for (std::int16_t i = 1; i <= count; ++i) {
        ObjectRef link = rose::SuperclassLinkAt(links, i);
        ObjectRef superClass = rose::SuperclassOf(link);
        std::string path =
            superClass ? rose::QualifiedName(superClass) : rose::SuperclassNameText(link);
        list = AppendToList(list, naming::ServerClassNameOfRosePath(path));
    }
    return list;
}

std::int16_t ExportProperties(const std::string& className, const ObjectRef& definition,
                              const ObjectRef& roseClass) {
    std::int16_t invalid = 0;
    ObjectRef attributes = rose::Attributes(roseClass);
    std::int16_t count = rose::Count(attributes);
    for (std::int16_t i = 1; i <= count; ++i) {
        StopIfRequested();
        if (!ExportProperty(className, definition, rose::AttributeAt(attributes, i))) ++invalid;
    }
    return invalid;
}

std::int16_t ExportMethods(const std::string& className, const ObjectRef& definition,
                           const ObjectRef& roseClass) {
    std::int16_t invalid = 0;
    ObjectRef operations = rose::Operations(roseClass);
    std::int16_t count = rose::Count(operations);
    for (std::int16_t i = 1; i <= count; ++i) {
        StopIfRequested();
        if (!ExportMethod(className, definition, rose::OperationAt(operations, i))) ++invalid;
    }
    return invalid;
}

// The role at the other class's end names the property; an association of the class with
// itself gives a property for its own end too, first. Unnamed roles are no properties and are
// not counted.
std::int16_t ExportRelationships(const std::string& className, const ObjectRef& definition,
                                 const ObjectRef& roseClass) {
    std::int16_t invalid = 0;
    auto exportRole = [&](const ObjectRef& association, const ObjectRef& role,
                          const ObjectRef& opposite) {
        if (rose::Name(role).empty()) return;
        if (!ExportRelationship(className, definition, association, role, opposite)) ++invalid;
    };
    ObjectRef associations = rose::Associations(roseClass);
    std::int16_t count = rose::Count(associations);
    for (std::int16_t i = 1; i <= count; ++i) {
        StopIfRequested();
        ObjectRef association = rose::AssociationAt(associations, i);
        ObjectRef ownRole = rose::RoleOf(association, roseClass);
        ObjectRef otherRole = rose::OtherRoleOf(association, roseClass);
        if (rose::IsSelfAssociation(ownRole, otherRole)) {
            exportRole(association, ownRole, otherRole);
        }
        exportRole(association, otherRole, ownRole);
    }
    return invalid;
}

// The class's own keywords and flags on its definition.
void WriteClassKeywords(const ObjectRef& roseClass, const ObjectRef& definition) {
    automation::PutByName(definition, member::kDescription, rose::DocText(roseClass));
    automation::PutByName(definition, member::kAbstract, rose::IsAbstract(roseClass));
    std::string superClasses = SuperClassList(roseClass);
    if (rose::IsPersistent(roseClass)) {
        automation::PutByName(definition, member::kClassType, "persistent");
        if (superClasses.empty()) superClasses = "%Persistent";
    } else {
        automation::PutByName(
            definition, member::kClassType,
            rose::GetToolProperty(roseClass, install::kToolTavro, kClassTypeProperty));
    }
    automation::PutByName(definition, member::kSuper, superClasses);
    WriteKeywords(roseClass, definition, install::kClassKeywords);
}

}  // namespace

std::string AppendToList(const std::string& list, const std::string& item) {
    if (list.empty()) return item;
    return list + "," + item;
}

ExportResult ExportClass(const ObjectRef& roseClass, std::string& message) {
    message.clear();
    std::string className;
    bool deleted = false;  // from just before the old definition's delete until the save
    automation::ReadScope reads;
    // What one definition's member collections hold is known for that class only.
    ForgetDefinitionMembers();
    struct Forget {
        ~Forget() { ForgetDefinitionMembers(); }
    } forget;
    try {
        AnnounceClassReads(roseClass);
        className = naming::QualifyClassName(
            naming::ServerClassNameOfRosePath(rose::QualifiedName(roseClass)));
        ForgetMembersOf(className);
        bool existed = server::ClassDefinitionExists(className);
        if (existed) {
            if (!window::OverrideChecked()) return kClassSkipped;
            StopIfRequested();
            DeleteClassDefinition(className, deleted);
            StopIfRequested();
        }
        SendClassXml(roseClass);
        StopIfRequested();
        ObjectRef definition = DefinitionToFill(className);

        {
            // The writes go without waiting; any error among them still ends up here.
            automation::rpc::Pipeline pipeline;
            pipeline.Run([&] { WriteClassKeywords(roseClass, definition); });
        }

        message +=
            CountText(ExportProperties(className, definition, roseClass), "Property", "Properties");
        message += CountText(ExportMethods(className, definition, roseClass), "Method", "Methods");
        message += CountText(ExportRelationships(className, definition, roseClass), "Relationship",
                             "Relationships");

        // The save's status is not examined: a refused save raises an error instead.
        StopIfRequested();
        {
            automation::rpc::Pipeline pipeline;
            pipeline.Run([&] {
                automation::CallByNameNoResult(definition, member::kSysSave);
                automation::CallByNameNoResult(definition, member::kSysClose);
            });
        }
        NoteSaved(className);
        return existed ? kClassReplaced : kClassCreated;
    } catch (const std::exception& error) {
        message += error.what();
        // A class that fails between its delete and its save is gone from the server.
        if (deleted) message += ConfirmDeletedText(className);
        return kClassFailed;
    }
}

}  // namespace exporting
