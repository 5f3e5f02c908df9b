#include "automation/rpc.h"
#include "export/export.h"
#include "export/export_internal.h"
#include "model/rose.h"

namespace exporting {

using automation::ObjectRef;

namespace {

// "name:type=default" per parameter, joined by ',' with no blanks; the type and the default
// are left out when empty. Model classes are not resolved to server names here: the server
// reads the signature's types as written.
std::string FormalSpecOf(const ObjectRef& operation) {
    std::string formalSpec;
    ObjectRef parameters = rose::ParameterList(operation);
    std::int16_t count = rose::Count(parameters);
    for (std::int16_t i = 1; i <= count; ++i) {
        ObjectRef parameter = rose::ParameterAt(parameters, i);
        formalSpec += rose::Name(rose::AsElement(parameter));
        std::string type = ServerTypeOfRoseType(rose::TypeName(parameter));
        if (!type.empty()) formalSpec += ":" + type;
        std::string defaultValue = rose::DefaultValue(parameter);
        if (!defaultValue.empty()) formalSpec += "=" + defaultValue;
        if (i != count) formalSpec += ",";
    }
    return formalSpec;
}

}  // namespace

bool ExportMethod(const std::string& className, const ObjectRef& definition,
                  const ObjectRef& operation) {
    std::string name;
    try {
        // The writes go without waiting; any error among them still ends up here.
        automation::rpc::Pipeline pipeline;
        ObjectRef methods, method;
        pipeline.Run([&] {
            methods = DefinitionMembers(definition, member::kMethods);
            name = rose::Name(operation);
            method = FindDefinitionMember(methods, name);
            if (!method)
                method = NewServerObject(member::kMethodDefinition, className + ":" + name);

            automation::PutByName(method, member::kReturnType,
                                  ServerTypeOfRoseType(rose::ReturnTypeName(operation)));
            automation::PutByName(method, member::kFormalSpec, FormalSpecOf(operation));
            automation::PutByName(method, member::kDescription, rose::DocText(operation));
            bool isPrivate = rose::ExportValue(rose::OperationExportControl(operation)) != 0;
            automation::PutByName(method, member::kPrivate, isPrivate);
            WriteKeywords(operation, method, install::kOperationKeywords);
            automation::CallByNameNoResult(methods, member::kInsert, {method});
        });
        NoteInsertedMember(methods, name, method);
        NoteMember(className, {name, kMethodKind, MemberResult::Exported, ""});
        return true;
    } catch (const std::exception& error) {
        NoteMember(className, {name, kMethodKind, MemberResult::Failed, error.what()});
        return false;
    }
}

}  // namespace exporting
