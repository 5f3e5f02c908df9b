// Writing Petal text in the modelling tool's own layout, so that an unchanged tree gives back
// the bytes it was read from and edited parts look as if the tool had written them.
#include <cstdio>

#include "hosts/rose/petal/petal.h"
#include "hosts/rose/petal/petal_internal.h"

namespace petal {
namespace {

class Writer {
  public:
    Writer(LineEnd lineEnd, int charSet, const ObjectSubstitute& substitute,
           std::vector<std::string>* lost)
        : eol_(lineEnd == LineEnd::CrLf ? "\r\n" : "\n"),
          codec_(charSet),
          headerCodec_(0),
          substitute_(substitute),
          lost_(lost) {}

    // The header is read before its charSet is known, as Windows-1252, so it is written so
    // too; only the root's text is in the file's code page.
    std::string Finish(const Object& header, const Object& root) {
        out_ += eol_;
        text_ = &headerCodec_;
        WriteObject(header, 0);
        text_ = &codec_;
        out_ += eol_;
        out_ += eol_;
        WriteObject(root, 0);
        out_ += eol_;
        return std::move(out_);
    }

  private:
    // A line with `depth` parentheses open at its start is indented 4 columns per level:
    // a tab for every two levels and four spaces for an odd one.
    void Indent(int depth) {
        out_.append(static_cast<size_t>(depth / 2), '\t');
        if (depth % 2 != 0) out_ += "    ";
    }

    void WriteObject(const Object& object, int depth) {
        const Object* o = &object;
        if (substitute_) {
            if (const Object* other = substitute_(object)) o = other;
        }
        stack_.push_back(o);
        std::string outerKey = std::move(key_);
        out_ += "(object ";
        out_ += o->kind;
        key_ = "name";
        for (const std::string& name : o->names) {
            out_ += ' ';
            WriteQuoted(name);
        }
        if (o->tag != 0) {
            out_ += " @";
            out_ += std::to_string(o->tag);
        }
        for (const Field& field : o->fields) {
            out_ += eol_;
            Indent(depth + 1);
            // Keys are padded to at least 11 columns, with one space at least, then a tab.
            out_ += field.key;
            size_t width = field.key.size() + 1 < 11 ? 11 : field.key.size() + 1;
            out_.append(width - field.key.size(), ' ');
            out_ += '\t';
            key_ = field.key;
            WriteValue(field.value, depth + 1);
        }
        out_ += ')';
        stack_.pop_back();
        key_ = std::move(outerKey);
    }

    // Names the element and field being written and the characters the code page lacks.
    void NoteLost(const std::vector<char32_t>& missing) {
        if (missing.empty() || lost_ == nullptr) return;
        std::string path;
        const Object* named = nullptr;
        for (const Object* o : stack_) {
            if (o->names.empty() || o->names[0].empty() || o->kind == "Design") continue;
            path += (path.empty() ? "" : "::") + o->names[0];
            named = o;
        }
        const Object* inner = stack_.empty() ? nullptr : stack_.back();
        std::string line;
        if (inner != nullptr && inner != named) line = inner->kind + (named ? " of " : "");
        if (named != nullptr) line += named->kind + " \"" + path + "\"";
        line += ", " + key_ + ":";
        for (char32_t c : missing) {
            char code[16];
            std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(c));
            if (c == 0xFFFD) {
                line += " a byte that is no UTF-8 text,";
                continue;
            }
            line += " \"" + Utf8Of(c) + "\" (" + code + "),";
        }
        line.pop_back();
        lost_->push_back(std::move(line));
    }

    static std::string Utf8Of(char32_t c) {
        std::string out;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
        return out;
    }

    std::string Encoded(std::string_view utf8) {
        std::vector<char32_t> missing;
        std::string bytes = text_->Encode(utf8, &missing);
        NoteLost(missing);
        return bytes;
    }

    static bool NeedsBlock(const Value& v) {
        return v.block || v.text.find_first_of("\"\n") != std::string::npos;
    }

    // A line break inside quotes is written as the file's line end, which the reader takes
    // back as one line feed; a carriage return before it then stays text. Field values that
    // hold a double quote are written as '|' blocks, as the modelling tool does; only where a
    // block cannot stand (header names, enumerated values) does one come here, as \".
    void WriteQuoted(std::string_view utf8) {
        out_ += '"';
        for (char c : Encoded(utf8)) {
            if (c == '\n') {
                out_ += eol_;
                continue;
            }
            if (c == '\\' || c == '"') out_ += '\\';
            out_ += c;
        }
        out_ += '"';
    }

    // A '|' block ends the current line, gives one '|' line per line of text, and leaves the
    // next line indented as the line the block belongs to.
    void WriteBlock(std::string_view utf8, int depth) {
        std::string bytes = Encoded(utf8);
        out_ += eol_;
        size_t start = 0;
        while (true) {
            size_t end = bytes.find('\n', start);
            out_ += '|';
            out_.append(bytes, start, end == std::string::npos ? std::string::npos : end - start);
            out_ += eol_;
            if (end == std::string::npos) break;
            start = end + 1;
        }
        Indent(depth);
    }

    void WriteText(const Value& v, int depth) {
        if (NeedsBlock(v)) return WriteBlock(v.text, depth);
        WriteQuoted(v.text);
    }

    void WriteValue(const Value& v, int depth) {
        switch (v.kind) {
            case ValueKind::String:
                return WriteText(v, depth);
            case ValueKind::Integer:
            case ValueKind::Float:
                out_ += v.text;
                return;
            case ValueKind::Boolean:
                out_ += v.boolean ? "TRUE" : "FALSE";
                return;
            case ValueKind::Tag:
                out_ += '@';
                out_ += v.text;
                return;
            case ValueKind::Point:
                out_ += '(' + std::to_string(v.x) + ", " + std::to_string(v.y) + ')';
                return;
            case ValueKind::Enum:
                out_ += '(';
                WriteQuoted(v.text);
                out_ += ' ' + std::to_string(v.x) + ')';
                return;
            case ValueKind::TypedText:
                out_ += "(value " + v.name + ' ';
                WriteText(v, depth);
                out_ += ')';
                return;
            case ValueKind::Object:
                if (v.object) WriteObject(*v.object, depth);
                return;
            case ValueKind::List:
                out_ += "(list";
                if (!v.name.empty()) out_ += ' ' + v.name;
                for (const Value& item : v.items) {
                    out_ += eol_;
                    Indent(depth + 1);
                    WriteValue(item, depth + 1);
                }
                out_ += ')';
                return;
        }
    }

    std::string out_;
    std::string eol_;
    detail::TextCodec codec_;
    detail::TextCodec headerCodec_;
    const detail::TextCodec* text_ = &codec_;
    const ObjectSubstitute& substitute_;
    std::vector<std::string>* lost_;
    std::vector<const Object*> stack_;
    std::string key_;
};

}  // namespace

std::string WriteDocument(const Object& header, const Object& root, LineEnd lineEnd,
                          const ObjectSubstitute& substitute) {
    return Writer(lineEnd, detail::HeaderCharSet(header), substitute, nullptr).Finish(header, root);
}

std::string WriteDocument(const Object& header, const Object& root, LineEnd lineEnd,
                          const ObjectSubstitute& substitute, std::vector<std::string>& lost) {
    return Writer(lineEnd, detail::HeaderCharSet(header), substitute, &lost).Finish(header, root);
}

std::string WriteDocument(const File& file, const ObjectSubstitute& substitute) {
    return WriteDocument(file.header, file.root, file.lineEnd, substitute);
}

}  // namespace petal
