#include "hosts/tavro/xml/dictionary.h"

#include <cctype>

#include "strings/strings.h"

namespace tavro {

namespace {

constexpr ValueKind S = ValueKind::String;
constexpr ValueKind B = ValueKind::Bool;

// Class keywords: those the add-in writes and reads, then the ones the server keeps for itself.
const std::vector<Keyword> kClassKeywords = {
    {"Description", S, ""},     {"ClassType", S, ""},        {"Abstract", B, "0"},
    {"super", S, ""},           {"ClientDataType", S, ""},   {"ClientName", S, ""},
    {"CompileAfter", S, ""},    {"DdlAllowed", B, "0"},      {"Final", B, "0"},
    {"Import", S, ""},          {"IncludeCode", S, ""},      {"IncludeGenerator", S, ""},
    {"Language", S, "tavro"},   {"Modified", S, "3"},        {"OdbcType", S, ""},
    {"Owner", S, ""},           {"ProcedureBlock", B, "0"},  {"SoapBindingStyle", S, ""},
    {"SoapBodyUse", S, ""},     {"SqlCategory", S, ""},      {"SqlRoutinePrefix", S, ""},
    {"SqlRowIdName", S, ""},    {"SqlRowIdPrivate", B, "0"}, {"SqlTableName", S, ""},
    {"StorageStrategy", S, ""}, {"ViewQuery", S, ""},        {"Hidden", B, "0"},
    {"Deprecated", B, "0"},     {"TimeCreated", S, ""},      {"TimeChanged", S, ""},
};

const std::vector<Keyword> kPropertyKeywords = {
    {"Type", S, ""},
    {"Description", S, ""},
    {"Private", B, "0"},
    {"Collection", S, ""},
    {"Relationship", B, "0"},
    {"Inverse", S, ""},
    {"Cardinality", S, ""},
    {"Required", B, "0"},
    {"Calculated", B, "0"},
    {"ClientName", S, ""},
    {"Final", B, "0"},
    {"InitialExpression", S, "\"\""},
    {"MultiDimensional", B, "0"},
    {"NotInheritable", B, "0"},
    {"ReadOnly", B, "0"},
    {"SqlCollation", S, ""},
    {"SqlColumnNumber", S, ""},
    {"SqlComputeCode", S, ""},
    {"SqlComputed", B, "0"},
    {"SqlComputeOnChange", S, ""},
    {"SqlFieldName", S, ""},
    {"SqlListDelimiter", S, ""},
    {"SqlListType", S, ""},
    {"Transient", B, "0"},
    {"SequenceNumber", S, ""},
};

const std::vector<Keyword> kMethodKeywords = {
    {"ReturnType", S, ""},      {"FormalSpec", S, ""},    {"Description", S, ""},
    {"Private", B, "0"},        {"Abstract", B, "0"},     {"ClassMethod", B, "0"},
    {"ClientName", S, ""},      {"CodeMode", S, "code"},  {"Final", B, "0"},
    {"GenerateAfter", S, ""},   {"Language", S, "tavro"}, {"NotForProperty", B, "0"},
    {"NotInheritable", B, "0"}, {"PlaceAfter", S, ""},    {"ProcedureBlock", S, ""},
    {"PublicList", S, ""},      {"ServerOnly", S, ""},    {"SoapBindingStyle", S, ""},
    {"SoapBodyUse", S, ""},     {"SoapNameSpace", S, ""}, {"SqlName", S, ""},
    {"SqlProc", B, "0"},        {"WebMethod", B, "0"},    {"Implementation", S, ""},
    {"SequenceNumber", S, ""},
};

const std::vector<Keyword> kIndexKeywords = {
    {"Description", S, ""}, {"Properties", S, ""},  {"Type", S, ""},
    {"Unique", B, "0"},     {"PrimaryKey", B, "0"}, {"IdKey", B, "0"},
    {"Extent", B, "0"},     {"Data", S, ""},        {"SqlName", S, ""},
};

const std::vector<Keyword> kQueryKeywords = {
    {"Description", S, ""}, {"Type", S, ""},    {"FormalSpec", S, ""}, {"SqlQuery", S, ""},
    {"SqlProc", B, "0"},    {"SqlName", S, ""}, {"Private", B, "0"},   {"ClientName", S, ""},
};

const std::vector<Keyword> kClassParameterKeywords = {
    {"Description", S, ""}, {"Type", S, ""},   {"Default", S, ""},
    {"Abstract", B, "0"},   {"Final", B, "0"}, {"Flags", S, ""},
};

const std::vector<Keyword> kStorageKeywords = {
    {"Description", S, ""},  {"Type", S, ""},          {"DataLocation", S, ""},
    {"IdLocation", S, ""},   {"IndexLocation", S, ""}, {"StreamLocation", S, ""},
    {"SqlRowIdName", S, ""}, {"Definition", S, ""},
};

const std::vector<Keyword> kXDataKeywords = {
    {"Description", S, ""},
    {"MimeType", S, ""},
    {"SchemaSpec", S, ""},
    {"Data", S, ""},
};

const std::vector<Keyword> kTriggerKeywords = {
    {"Description", S, ""}, {"Event", S, ""},    {"Time", S, ""}, {"Order", S, ""},
    {"Foreach", S, ""},     {"Language", S, ""}, {"Code", S, ""},
};

const std::vector<Keyword> kProjectionKeywords = {
    {"Description", S, ""},
    {"Type", S, ""},
    {"Parameters", S, ""},
};

struct KindRow {
    ItemKind kind;
    std::string_view element;
    const std::vector<Keyword>* keywords;
};

const KindRow kKinds[] = {
    {ItemKind::Class, "Class", &kClassKeywords},
    {ItemKind::Property, "Property", &kPropertyKeywords},
    {ItemKind::Method, "Method", &kMethodKeywords},
    {ItemKind::Index, "Index", &kIndexKeywords},
    {ItemKind::Query, "Query", &kQueryKeywords},
    {ItemKind::ClassParameter, "ClassParameter", &kClassParameterKeywords},
    {ItemKind::Storage, "Storage", &kStorageKeywords},
    {ItemKind::XData, "XData", &kXDataKeywords},
    {ItemKind::Trigger, "Trigger", &kTriggerKeywords},
    {ItemKind::Projection, "Projection", &kProjectionKeywords},
};

const KindRow& RowOf(ItemKind kind) {
    for (const KindRow& row : kKinds) {
        if (row.kind == kind) return row;
    }
    return kKinds[0];
}

bool IsAsciiLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsAsciiAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

}  // namespace

const std::vector<Keyword>& KeywordsOf(ItemKind kind) { return *RowOf(kind).keywords; }

const Keyword* FindKeyword(ItemKind kind, std::string_view name) {
    for (const Keyword& keyword : KeywordsOf(kind)) {
        if (strings::EqualNoCase(keyword.name, name)) return &keyword;
    }
    return nullptr;
}

std::string_view ElementOf(ItemKind kind) { return RowOf(kind).element; }

bool KindOfElement(std::string_view element, ItemKind& kind) {
    for (const KindRow& row : kKinds) {
        if (row.kind == ItemKind::Class || row.element != element) continue;
        kind = row.kind;
        return true;
    }
    return false;
}

std::string ValueOf(const Values& values, const Keyword& keyword) {
    auto it = values.find(std::string(keyword.name));
    if (it == values.end()) return std::string(keyword.initial);
    return it->second;
}

bool SetValue(Values& values, const Keyword& keyword, std::string_view text) {
    std::string key(keyword.name);
    if (keyword.kind == ValueKind::String) {
        values[key] = std::string(text);
        return true;
    }
    if (text == "1" || strings::EqualNoCase(text, "true")) {
        values[key] = "1";
        return true;
    }
    if (text == "0" || strings::EqualNoCase(text, "false")) {
        values[key] = "0";
        return true;
    }
    return false;
}

bool IsValidClassName(std::string_view name) {
    if (name.empty()) return false;
    size_t start = name[0] == '%' ? 1 : 0;
    bool segmentStart = true;
    for (size_t i = start; i < name.size(); ++i) {
        char c = name[i];
        if (c == '.') {
            if (segmentStart) return false;
            segmentStart = true;
            continue;
        }
        if (segmentStart && !IsAsciiLetter(c)) return false;
        if (!IsAsciiAlnum(c)) return false;
        segmentStart = false;
    }
    return !segmentStart;
}

bool IsValidMemberName(std::string_view name) {
    if (name.empty()) return false;
    if (name[0] != '%' && !IsAsciiLetter(name[0])) return false;
    for (size_t i = 1; i < name.size(); ++i) {
        if (!IsAsciiAlnum(name[i])) return false;
    }
    return true;
}

std::string ClassNameProblem(std::string_view name) {
    if (name.size() > kMaxClassNameLength) {
        return "class name of " + std::to_string(name.size()) +
               " characters is longer than the limit of " + std::to_string(kMaxClassNameLength);
    }
    if (!IsValidClassName(name)) return "bad class name '" + std::string(name) + "'";
    if (name.find('.') == std::string_view::npos)
        return "class name '" + std::string(name) + "' has no package";
    return "";
}

std::string PackageOf(std::string_view className) {
    size_t dot = className.rfind('.');
    if (dot == std::string_view::npos) return "";
    return std::string(className.substr(0, dot));
}

std::string QualifyInPackage(std::string_view name, std::string_view package) {
    if (name.empty() || name.find('.') != std::string_view::npos) return std::string(name);
    if (name[0] == '%') return "%Library." + std::string(name.substr(1));
    if (package.empty()) return "User." + std::string(name);
    return std::string(package) + "." + std::string(name);
}

}  // namespace tavro
