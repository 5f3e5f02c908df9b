#include "automation/rpc.h"
#include "import/import.h"
#include "import/import_internal.h"
#include "model/rose.h"
#include "naming/naming.h"

namespace importing {

namespace m = members;

namespace {

// The text before the first `mark`, all of it when there is none.
std::string Before(const std::string& text, char mark) { return text.substr(0, text.find(mark)); }

// The text after the first `mark`, "" when there is none.
std::string After(const std::string& text, char mark) {
    std::size_t at = text.find(mark);
    return at == std::string::npos ? std::string() : text.substr(at + 1);
}

// One parameter of a FormalSpec: name, name:type, name=default or
// name:type=default (also name=default:type). Parentheses and quotation marks mean nothing
// here, so a type's own parameters are cut at their first '='.
struct FormalParameter {
    std::string name;
    std::string type;
    std::string defaultValue;
};

FormalParameter ParseFormalParameter(const std::string& token) {
    FormalParameter parameter;
    parameter.name = Before(Before(token, '='), ':');
    parameter.type = Before(After(token, ':'), '=');
    parameter.defaultValue = Before(After(token, '='), ':');
    return parameter;
}

void CreateParameters(const ObjectRef& op, std::string formalSpec, const std::string& package) {
    std::int16_t position = 1;
    while (!formalSpec.empty()) {
        FormalParameter parameter = ParseFormalParameter(NextToken(formalSpec, ','));
        rose::CreateParameter(op, parameter.name, FullTypeName(parameter.type, package),
                              parameter.defaultValue, position);
        ++position;
    }
}

}  // namespace

ImportResult ImportOperation(const ObjectRef& methodDef, const ObjectRef& roseClass,
                             const ObjectRef& classDef) {
    // The model writes go without waiting; an error among them still surfaces here.
    automation::rpc::Pipeline pipeline;
    return pipeline.Run([&] {
        std::string package = naming::PackageOfClassName(ServerText(classDef, m::kName));
        std::string returnType = FullTypeName(ServerText(methodDef, m::kReturnType), package);
        ObjectRef op =
            rose::CreateOperation(roseClass, ServerText(methodDef, m::kName), returnType);
        CreateParameters(op, ServerText(methodDef, m::kFormalSpec), package);
        rose::SetDocText(op, ServerText(methodDef, m::kDescription));
        rose::SetExportValue(rose::OperationExportControl(op),
                             ExportValueOf(ServerFlag(methodDef, m::kPrivate)));
        WriteKeywords(op, methodDef, install::kOperationKeywords);
        return Done;
    });
}

}  // namespace importing
