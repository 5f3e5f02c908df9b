// The model properties that the add-in keeps on model elements: for each kind of element the
// property names, their kinds and their defaults. The installed property file is generated
// from these tables, and export and import read and write model properties by them, so a
// keyword exists on both sides or on neither.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace install {

// The tools under which model properties are kept. "TavroHidden" is declared in no property
// file: its properties ("XmlDefined", "TavroClassXml") have no defaults.
inline constexpr const char* kToolTavro = "Tavro";
inline constexpr const char* kToolParameter = "Parameter";
inline constexpr const char* kToolTavroHidden = "TavroHidden";
// The two properties of the tool "TavroHidden": whether the class carries the XML that an import
// kept, and that XML.
inline constexpr const char* kXmlDefined = "XmlDefined";
inline constexpr const char* kTavroClassXml = "TavroClassXml";

enum class PropertyKind : std::uint8_t { Boolean, String, Integer, Enumeration };

struct EnumLiteral {
    const char* text;  // the value exchanged with the server, "" included
    std::int16_t code;
};

struct EnumType {
    const char* name;
    std::span<const EnumLiteral> literals;
};

// `defaultValue` is the text a model element shows for the property when it has no value of
// its own: "False" for the booleans (none defaults to true), the literal text of an
// enumeration's default, the digits of an integer.
struct PropertyDef {
    const char* name;
    PropertyKind kind;
    const char* defaultValue;
    const EnumType* enumType;  // for Enumeration only
};

struct PropertySet {
    const char* tool;
    const char* name;  // "default__Operation", ...
    std::span<const PropertyDef> properties;
};

inline constexpr EnumLiteral kAttributeCollectionLiterals[] = {
    {"Single Value", 1}, {"List", 2}, {"Array", 3}, {"Binary Stream", 4}, {"Character Stream", 5},
};
// Association collections have no stream literals.
inline constexpr EnumLiteral kAssociationCollectionLiterals[] = {
    {"Single Value", 1},
    {"List", 2},
    {"Array", 3},
};
inline constexpr EnumLiteral kCardinalityLiterals[] = {
    {"", 1}, {"One", 2}, {"Many", 3}, {"Parent", 4}, {"Children", 5},
};

inline constexpr EnumType kAttributeCollectionEnum{"CollectionEnum", kAttributeCollectionLiterals};
inline constexpr EnumType kAssociationCollectionEnum{"CollectionEnum",
                                                     kAssociationCollectionLiterals};
inline constexpr EnumType kCardinalityEnum{"CardinalityEnum", kCardinalityLiterals};

namespace vocab {
inline constexpr PropertyKind B = PropertyKind::Boolean;
inline constexpr PropertyKind S = PropertyKind::String;
inline constexpr PropertyKind I = PropertyKind::Integer;
inline constexpr PropertyKind E = PropertyKind::Enumeration;
}  // namespace vocab

// Tool "Tavro", operations. `ProcedureBlock` is a string here but a boolean for classes, and
// the Soap defaults are empty here but not for classes.
inline constexpr PropertyDef kOperationKeywords[] = {
    {"Abstract", vocab::B, "False", nullptr},
    {"ClassMethod", vocab::B, "False", nullptr},
    {"ClientName", vocab::S, "", nullptr},
    {"CodeMode", vocab::S, "code", nullptr},
    {"Final", vocab::B, "False", nullptr},
    {"GenerateAfter", vocab::S, "", nullptr},
    {"Language", vocab::S, "tavro", nullptr},
    {"NotForProperty", vocab::B, "False", nullptr},
    {"NotInheritable", vocab::B, "False", nullptr},
    {"PlaceAfter", vocab::S, "", nullptr},
    {"ProcedureBlock", vocab::S, "", nullptr},
    {"PublicList", vocab::S, "", nullptr},
    {"ServerOnly", vocab::S, "", nullptr},
    {"SoapBindingStyle", vocab::S, "", nullptr},
    {"SoapBodyUse", vocab::S, "", nullptr},
    {"SoapNameSpace", vocab::S, "", nullptr},
    {"SqlName", vocab::S, "", nullptr},
    {"SqlProc", vocab::B, "False", nullptr},
    {"WebMethod", vocab::B, "False", nullptr},
};

// Tool "Parameter", attributes: the keys of a server property's parameter collection.
inline constexpr PropertyDef kParameterNames[] = {
    {"DISPLAYLIST", vocab::S, "", nullptr}, {"MAXLEN", vocab::I, "50", nullptr},
    {"MINLEN", vocab::S, "", nullptr},      {"MAXVAL", vocab::S, "", nullptr},
    {"MINVAL", vocab::S, "", nullptr},      {"PATTERN", vocab::S, "", nullptr},
    {"SCALE", vocab::S, "", nullptr},       {"STORAGE", vocab::S, "", nullptr},
    {"VALUELIST", vocab::S, "", nullptr},
};

// Tool "Tavro", attributes. The default of `InitialExpression` is two double quotes.
inline constexpr PropertyDef kAttributeKeywords[] = {
    {"Calculated", vocab::B, "False", nullptr},
    {"Collection", vocab::E, "Single Value", &kAttributeCollectionEnum},
    {"ClientName", vocab::S, "", nullptr},
    {"Final", vocab::B, "False", nullptr},
    {"InitialExpression", vocab::S, "\"\"", nullptr},
    {"MultiDimensional", vocab::B, "False", nullptr},
    {"NotInheritable", vocab::B, "False", nullptr},
    {"ReadOnly", vocab::B, "False", nullptr},
    {"Required", vocab::B, "False", nullptr},
    {"SqlCollation", vocab::S, "", nullptr},
    {"SqlColumnNumber", vocab::S, "", nullptr},
    {"SqlComputeCode", vocab::S, "", nullptr},
    {"SqlComputed", vocab::B, "False", nullptr},
    {"SqlComputeOnChange", vocab::S, "", nullptr},
    {"SqlFieldName", vocab::S, "", nullptr},
    {"SqlListDelimiter", vocab::S, "", nullptr},
    {"SqlListType", vocab::S, "", nullptr},
    {"Transient", vocab::B, "False", nullptr},
};

// Tool "Tavro", associations: no `Required`, and a cardinality.
inline constexpr PropertyDef kAssociationKeywords[] = {
    {"Calculated", vocab::B, "False", nullptr},
    {"Cardinality", vocab::E, "", &kCardinalityEnum},
    {"Collection", vocab::E, "Single Value", &kAssociationCollectionEnum},
    {"ClientName", vocab::S, "", nullptr},
    {"Final", vocab::B, "False", nullptr},
    {"InitialExpression", vocab::S, "\"\"", nullptr},
    {"MultiDimensional", vocab::B, "False", nullptr},
    {"NotInheritable", vocab::B, "False", nullptr},
    {"ReadOnly", vocab::B, "False", nullptr},
    {"SqlCollation", vocab::S, "", nullptr},
    {"SqlColumnNumber", vocab::S, "", nullptr},
    {"SqlComputeCode", vocab::S, "", nullptr},
    {"SqlComputed", vocab::B, "False", nullptr},
    {"SqlComputeOnChange", vocab::S, "", nullptr},
    {"SqlFieldName", vocab::S, "", nullptr},
    {"SqlListDelimiter", vocab::S, "", nullptr},
    {"SqlListType", vocab::S, "", nullptr},
    {"Transient", vocab::B, "False", nullptr},
};

// Tool "Tavro", classes. `Modified` is the text "3", not a number.
inline constexpr PropertyDef kClassKeywords[] = {
    {"ClassType", vocab::S, "", nullptr},
    {"ClientDataType", vocab::S, "VARCHAR", nullptr},
    {"ClientName", vocab::S, "", nullptr},
    {"CompileAfter", vocab::S, "", nullptr},
    {"DdlAllowed", vocab::B, "False", nullptr},
    {"Final", vocab::B, "False", nullptr},
    {"Import", vocab::S, "", nullptr},
    {"IncludeCode", vocab::S, "", nullptr},
    {"IncludeGenerator", vocab::S, "", nullptr},
    {"Language", vocab::S, "tavro", nullptr},
    {"Modified", vocab::S, "3", nullptr},
    {"OdbcType", vocab::S, "VARCHAR", nullptr},
    {"Owner", vocab::S, "", nullptr},
    {"ProcedureBlock", vocab::B, "False", nullptr},
    {"SoapBindingStyle", vocab::S, "document", nullptr},
    {"SoapBodyUse", vocab::S, "literal", nullptr},
    {"SqlCategory", vocab::S, "STRING", nullptr},
    {"SqlRoutinePrefix", vocab::S, "", nullptr},
    {"SqlRowIdName", vocab::S, "", nullptr},
    {"SqlRowIdPrivate", vocab::B, "False", nullptr},
    {"SqlTableName", vocab::S, "", nullptr},
    {"StorageStrategy", vocab::S, "", nullptr},
    {"ViewQuery", vocab::S, "", nullptr},
};

// The sets in the order of the property file. Each enumeration type is declared inside its
// set just before the first property of that type.
inline constexpr PropertySet kPropertySets[] = {
    {kToolTavro, "default__Operation", kOperationKeywords},
    {kToolParameter, "default__Attribute", kParameterNames},
    {kToolTavro, "default__Attribute", kAttributeKeywords},
    {kToolTavro, "default__Association", kAssociationKeywords},
    {kToolTavro, "default__Class", kClassKeywords},
};

// The property called `name` (exact spelling), or nullptr.
inline constexpr const PropertyDef* FindProperty(std::span<const PropertyDef> set,
                                                 std::string_view name) {
    for (const auto& property : set) {
        if (name == property.name) return &property;
    }
    return nullptr;
}

// The code of the literal `text` of `type`, or 0 when it has none.
inline constexpr std::int16_t EnumCode(const EnumType& type, std::string_view text) {
    for (const auto& literal : type.literals) {
        if (text == literal.text) return literal.code;
    }
    return 0;
}

}  // namespace install
