#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "install/install.h"
#include "install/vocabulary.h"
#include "platform/files.h"

namespace install {
namespace {

// The file is the modelling tool's Petal text: every entry at depth d (1 a set, 2 a property
// or an enumeration declaration, 3 an enumeration literal) is indented 4 x d blanks, keywords
// and their values are separated by one TAB, and a list closes on a line of two blanks and
// "))" whatever its depth.
constexpr const char* kLineEnd = "\r\n";
constexpr const char* kListOpen = "(list Attribute_Set";
constexpr const char* kListClose = "  ))";

std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"') out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string DefaultToken(const PropertyDef& property) {
    switch (property.kind) {
        case PropertyKind::Boolean:
            return UpperCase(property.defaultValue);
        case PropertyKind::String:
            return Quoted(property.defaultValue);
        case PropertyKind::Integer:
            return property.defaultValue;
        case PropertyKind::Enumeration:
            return "(" + Quoted(property.enumType->name) + " " +
                   std::to_string(EnumCode(*property.enumType, property.defaultValue)) + ")";
    }
    return "";
}

class PetalLines {
  public:
    void Line(std::string text) { lines_.push_back(std::move(text)); }

    void OpenEntry(int depth, const char* tool, const std::string& name) {
        std::string indent = Indent(depth);
        Line(indent + "(object Attribute");
        Line(indent + "tool\t" + Quoted(tool));
        Line(indent + "name\t" + Quoted(name));
    }
    void ScalarEntry(int depth, const char* tool, const std::string& name,
                     const std::string& token) {
        OpenEntry(depth, tool, name);
        Line(Indent(depth) + "value\t" + token + ")");
    }
    void OpenListEntry(int depth, const char* tool, const std::string& name) {
        OpenEntry(depth, tool, name);
        Line(Indent(depth) + "value\t" + kListOpen);
    }
    void CloseListEntry() { Line(kListClose); }

    std::vector<std::string> Take() { return std::move(lines_); }

  private:
    static std::string Indent(int depth) {
        return std::string(4 * static_cast<std::size_t>(depth), ' ');
    }
    std::vector<std::string> lines_;
};

void EmitEnumDeclaration(PetalLines& petal, const char* tool, const EnumType& type) {
    petal.OpenListEntry(2, tool, type.name);
    for (const auto& literal : type.literals)
        petal.ScalarEntry(3, kToolTavro, literal.text, std::to_string(literal.code));
    petal.CloseListEntry();
}

void EmitSet(PetalLines& petal, const PropertySet& set) {
    petal.OpenListEntry(1, set.tool, set.name);
    std::vector<const EnumType*> declared;
    for (const auto& property : set.properties) {
        const EnumType* type = property.enumType;
        if (type != nullptr &&
            std::find(declared.begin(), declared.end(), type) == declared.end()) {
            EmitEnumDeclaration(petal, set.tool, *type);
            declared.push_back(type);
        }
        petal.ScalarEntry(2, set.tool, property.name, DefaultToken(property));
    }
    petal.CloseListEntry();
}

std::vector<std::string> PropertyFileLines() {
    PetalLines petal;
    petal.Line("(object Petal");
    petal.Line("    version\t42");
    petal.Line("    _written\t\"Rose 4.5.8054a\"");
    petal.Line("    charSet\t0)");
    petal.Line(kListOpen);
    for (const auto& set : kPropertySets) EmitSet(petal, set);
    petal.Line("  )");
    return petal.Take();
}

}  // namespace

std::string PropertyFileText() {
    std::string text;
    for (const auto& line : PropertyFileLines()) text += line + kLineEnd;
    return text;
}

void WritePropertyFile(const std::string& installDirectory) {
    platform::OutputFile file(installDirectory + platform::kPathSeparator + kPropertyFileName);
    for (const auto& line : PropertyFileLines()) file.Write(line + kLineEnd);
    file.Close();
}

}  // namespace install
