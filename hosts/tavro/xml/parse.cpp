#include <algorithm>
#include <cstring>
#include <pugixml.hpp>
#include <set>

#include "hosts/tavro/xml/class_xml.h"
#include "strings/strings.h"

namespace tavro {

namespace {

// Whitespace-only keyword text is a value like any other, so it is kept; line ends are
// normalised as XML requires.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

struct Reader {
    std::size_t offset = 0;
    std::string message;

    bool Fail(pugi::xml_node node, std::string text) {
        std::ptrdiff_t at = node.offset_debug();
        offset = at < 0 ? 0 : static_cast<std::size_t>(at);
        message = std::move(text);
        return false;
    }
};

bool IsBlank(const char* text) {
    for (; *text; ++text) {
        if (std::strchr(" \t\r\n", *text) == nullptr) return false;
    }
    return true;
}

// A keyword or parameter element holds text only.
bool ReadTextOnly(Reader& reader, pugi::xml_node node, std::string& text) {
    for (pugi::xml_node child : node.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) continue;
        return reader.Fail(child, "unexpected element <" + std::string(child.name()) +
                                      "> inside <" + node.name() + ">");
    }
    text.clear();
    for (pugi::xml_node child : node.children()) text += child.value();
    return true;
}

// The one attribute of an item element: its name.
bool ReadName(Reader& reader, pugi::xml_node node, std::string& name) {
    for (pugi::xml_attribute attribute : node.attributes()) {
        if (std::strcmp(attribute.name(), "name") == 0) continue;
        return reader.Fail(node, "unexpected attribute '" + std::string(attribute.name()) +
                                     "' on <" + node.name() + ">");
    }
    if (!node.attribute("name"))
        return reader.Fail(node, "<" + std::string(node.name()) + "> has no name");
    name = node.attribute("name").value();
    return true;
}

bool ReadKeyword(Reader& reader, pugi::xml_node node, ItemKind kind, Values& values) {
    const Keyword* keyword = FindKeyword(kind, node.name());
    if (keyword == nullptr || keyword->name != node.name()) {
        return reader.Fail(node, "unknown element <" + std::string(node.name()) + "> in <" +
                                     std::string(ElementOf(kind)) + ">");
    }
    if (values.count(std::string(keyword->name))) {
        return reader.Fail(node, "<" + std::string(node.name()) + "> given twice");
    }
    if (node.first_attribute()) {
        return reader.Fail(node, "unexpected attribute '" +
                                     std::string(node.first_attribute().name()) + "' on <" +
                                     node.name() + ">");
    }
    std::string text;
    if (!ReadTextOnly(reader, node, text)) return false;
    if (!SetValue(values, *keyword, text)) {
        return reader.Fail(node,
                           "<" + std::string(node.name()) + "> is not a Boolean: '" + text + "'");
    }
    return true;
}

bool ReadParameter(Reader& reader, pugi::xml_node node, Item& item) {
    std::string key;
    if (!ReadName(reader, node, key)) return false;
    if (key.empty()) return reader.Fail(node, "<Parameter> has an empty name");
    if (item.parameters.count(key)) return reader.Fail(node, "parameter '" + key + "' given twice");
    std::string value;
    if (!ReadTextOnly(reader, node, value)) return false;
    item.parameters[key] = value;
    return true;
}

bool ReadItem(Reader& reader, pugi::xml_node node, ItemKind kind, Item& item) {
    item.kind = kind;
    if (!ReadName(reader, node, item.name)) return false;
    if (!IsValidMemberName(item.name)) {
        return reader.Fail(node,
                           "bad " + std::string(ElementOf(kind)) + " name '" + item.name + "'");
    }
    for (pugi::xml_node child : node.children()) {
        if (child.type() == pugi::node_pcdata && IsBlank(child.value())) continue;
        if (child.type() != pugi::node_element) {
            return reader.Fail(child, "unexpected text inside <" + std::string(node.name()) + ">");
        }
        bool ok = kind == ItemKind::Property && std::strcmp(child.name(), "Parameter") == 0
                      ? ReadParameter(reader, child, item)
                      : ReadKeyword(reader, child, kind, item.values);
        if (!ok) return false;
    }
    return true;
}

bool HasItemNamed(const std::vector<Item>& items, const Item& item) {
    for (const Item& other : items) {
        if (other.kind == item.kind && strings::EqualNoCase(other.name, item.name)) return true;
    }
    return false;
}

std::vector<Item>& ListFor(ClassDef& def, ItemKind kind) {
    if (kind == ItemKind::Property) return def.properties;
    if (kind == ItemKind::Method) return def.methods;
    return def.others;
}

bool ReadClass(Reader& reader, pugi::xml_node root, ClassDef& def) {
    if (std::strcmp(root.name(), "Class") != 0) {
        return reader.Fail(root,
                           "unknown element <" + std::string(root.name()) + ">, expected <Class>");
    }
    if (!ReadName(reader, root, def.name)) return false;
    if (!IsValidClassName(def.name)) return reader.Fail(root, "bad class name '" + def.name + "'");
    for (pugi::xml_node child : root.children()) {
        if (child.type() == pugi::node_pcdata && IsBlank(child.value())) continue;
        if (child.type() != pugi::node_element)
            return reader.Fail(child, "unexpected text inside <Class>");
        ItemKind kind;
        if (!KindOfElement(child.name(), kind)) {
            if (!ReadKeyword(reader, child, ItemKind::Class, def.values)) return false;
            continue;
        }
        Item item;
        if (!ReadItem(reader, child, kind, item)) return false;
        std::vector<Item>& list = ListFor(def, kind);
        if (HasItemNamed(list, item)) {
            return reader.Fail(child,
                               std::string(ElementOf(kind)) + " '" + item.name + "' given twice");
        }
        list.push_back(std::move(item));
    }
    return true;
}

}  // namespace

XmlParseResult ParseClassXml(std::string_view text) {
    XmlParseResult result;
    pugi::xml_document doc;
    pugi::xml_parse_result parsed =
        doc.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8);
    if (!parsed) {
        // pugixml may report one byte past the end for a tag cut off inside an attribute.
        result.offset = parsed.offset < 0 ? 0 : static_cast<std::size_t>(parsed.offset);
        result.offset = std::min(result.offset, text.size());
        result.message = std::string("malformed XML: ") + parsed.description();
        return result;
    }
    pugi::xml_node root = doc.document_element();
    if (!root) {
        result.message = "no <Class> element";
        return result;
    }
    Reader reader;
    if (!ReadClass(reader, root, result.def)) {
        result.offset = reader.offset;
        result.message = reader.message;
        result.def = ClassDef{};
        return result;
    }
    result.ok = true;
    return result;
}

}  // namespace tavro
