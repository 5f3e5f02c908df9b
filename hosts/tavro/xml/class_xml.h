// A class definition as XML text, in the format described in hosts/tavro/CLASS-XML.md: the
// whole definition, hidden parts included, so that it can leave the server and come back.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hosts/tavro/xml/dictionary.h"

namespace tavro {

struct XmlParseResult {
    bool ok = false;
    std::size_t offset = 0;  // where reading stopped, in bytes from the start of the text
    std::string message;     // why, when not ok
    ClassDef def;
};

// Renders the definition, every keyword that has a value and every part, as UTF-8 XML.
std::string RenderClassXml(const ClassDef& def);

// Reads a class definition. Refuses malformed XML, an element or attribute that the format
// does not know, a bad class or member name, a Boolean that is not one, and a member given
// twice; the result then says where and why and holds no definition.
XmlParseResult ParseClassXml(std::string_view text);

}  // namespace tavro
