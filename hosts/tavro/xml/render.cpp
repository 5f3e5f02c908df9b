#include <pugixml.hpp>
#include <sstream>

#include "hosts/tavro/xml/class_xml.h"

namespace tavro {

namespace {

// Keywords are written in table order so that two renderings of one definition are equal
// byte for byte; only keywords that were given a value appear.
void AppendKeywords(pugi::xml_node node, ItemKind kind, const Values& values) {
    for (const Keyword& keyword : KeywordsOf(kind)) {
        auto it = values.find(std::string(keyword.name));
        if (it == values.end()) continue;
        node.append_child(std::string(keyword.name).c_str()).text().set(it->second.c_str());
    }
}

void AppendItem(pugi::xml_node parent, const Item& item) {
    pugi::xml_node node = parent.append_child(std::string(ElementOf(item.kind)).c_str());
    node.append_attribute("name").set_value(item.name.c_str());
    AppendKeywords(node, item.kind, item.values);
    for (const auto& [key, value] : item.parameters) {
        pugi::xml_node parameter = node.append_child("Parameter");
        parameter.append_attribute("name").set_value(key.c_str());
        parameter.text().set(value.c_str());
    }
}

}  // namespace

std::string RenderClassXml(const ClassDef& def) {
    pugi::xml_document doc;
    pugi::xml_node declaration = doc.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    pugi::xml_node root = doc.append_child("Class");
    root.append_attribute("name").set_value(def.name.c_str());
    AppendKeywords(root, ItemKind::Class, def.values);
    for (const Item& item : def.properties) AppendItem(root, item);
    for (const Item& item : def.methods) AppendItem(root, item);
    for (const Item& item : def.others) AppendItem(root, item);
    std::ostringstream out;
    doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
    // pugixml writes a carriage return in text as it is, and a reader turns it into a line
    // feed; as a character reference it comes back. The layout itself holds none.
    std::string xml = out.str();
    std::string escaped;
    escaped.reserve(xml.size());
    for (char c : xml) {
        if (c == '\r') {
            escaped += "&#13;";
            continue;
        }
        escaped += c;
    }
    return escaped;
}

}  // namespace tavro
