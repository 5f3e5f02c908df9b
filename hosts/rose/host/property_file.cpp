// An add-in's model property file: a Petal header, then one `(list Attribute_Set ...)` of
// tools' property sets. Its strings may escape a double quote as \" (which model files never
// do), so it has a small reader of its own that builds the same value tree as a model file.
#include <cctype>
#include <charconv>

#include "hosts/rose/host/host.h"

namespace rosehost {
namespace {

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    // The file: the header object, then the list of sets.
    bool File(petal::Value& sets) {
        petal::Value header;
        if (!Item(header) || header.kind != petal::ValueKind::Object) {
            error_ = "no header";
            return false;
        }
        if (!Item(sets) || sets.kind != petal::ValueKind::List) {
            return Fail("no list of property sets");
        }
        SkipSpace();
        if (pos_ != text_.size()) return Fail("text after the list of property sets");
        return true;
    }

    std::string Error() const {
        return error_ + " at line " + std::to_string(Line()) + ":" + std::to_string(Column());
    }

  private:
    bool Fail(const std::string& why) {
        if (error_.empty()) error_ = why;
        return false;
    }

    int Line() const {
        int line = 1;
        for (std::size_t i = 0; i < pos_ && i < text_.size(); ++i) line += text_[i] == '\n';
        return line;
    }
    int Column() const {
        std::size_t start = text_.rfind('\n', pos_ == 0 ? 0 : pos_ - 1);
        start = start == std::string_view::npos ? 0 : start + 1;
        return static_cast<int>(pos_ - start) + 1;
    }

    void SkipSpace() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) {
            ++pos_;
        }
    }

    bool Peek(char c) {
        SkipSpace();
        return pos_ < text_.size() && text_[pos_] == c;
    }

    std::string Word() {
        SkipSpace();
        std::size_t start = pos_;
        while (pos_ < text_.size()) {
            char c = text_[pos_];
            if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '$' && c != '.' &&
                c != '-' && c != '+') {
                break;
            }
            ++pos_;
        }
        return std::string(text_.substr(start, pos_ - start));
    }

    bool String(std::string& out) {
        if (!Peek('"')) return Fail("a string was expected");
        ++pos_;
        out.clear();
        while (pos_ < text_.size() && text_[pos_] != '"') {
            char c = text_[pos_++];
            if (c == '\n') return Fail("a string runs past the end of its line");
            if (c == '\\' && pos_ < text_.size()) c = text_[pos_++];
            out += c;
        }
        if (pos_ >= text_.size()) return Fail("a string is not closed");
        ++pos_;
        return true;
    }

    bool Close() {
        if (!Peek(')')) return Fail("')' was expected");
        ++pos_;
        return true;
    }

    bool Item(petal::Value& out) {
        if (Peek('"')) {
            std::string text;
            if (!String(text)) return false;
            out = petal::MakeString(text);
            return true;
        }
        if (!Peek('(')) return Scalar(out);
        ++pos_;
        if (Peek('"')) return EnumValue(out);
        std::string word = Word();
        if (word == "object") return ObjectValue(out);
        if (word == "list") return ListValue(out);
        return Fail("'object' or 'list' was expected");
    }

    bool Scalar(petal::Value& out) {
        std::string word = Word();
        if (word.empty()) return Fail("a value was expected");
        if (word == "TRUE" || word == "FALSE") {
            out = petal::MakeBoolean(word == "TRUE");
            return true;
        }
        bool number = std::isdigit(static_cast<unsigned char>(word.back())) != 0;
        for (std::size_t i = 0; i < word.size() && number; ++i) {
            char c = word[i];
            number = std::isdigit(static_cast<unsigned char>(c)) || c == '.' ||
                     (i == 0 && (c == '-' || c == '+'));
        }
        if (!number) return Fail("unknown word " + word);
        out = petal::Value();
        out.kind = word.find('.') == std::string::npos ? petal::ValueKind::Integer
                                                       : petal::ValueKind::Float;
        out.text = word;
        return true;
    }

    bool EnumValue(petal::Value& out) {
        std::string set;
        if (!String(set)) return false;
        std::string number = Word();
        if (number.empty()) return Fail("an enumeration code was expected");
        long long code = 0;
        auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), code);
        if (error != std::errc() || stop != number.data() + number.size()) {
            return Fail("an enumeration code was expected");
        }
        out = petal::MakeEnum(set, code);
        return Close();
    }

    bool ObjectValue(petal::Value& out) {
        petal::Object object = petal::NewObject(Word());
        if (object.kind.empty()) return Fail("an object kind was expected");
        while (Peek('"')) {
            std::string name;
            if (!String(name)) return false;
            object.names.push_back(name);
        }
        while (!Peek(')')) {
            std::string key = Word();
            if (key.empty()) return Fail("a key was expected");
            petal::Value value;
            if (!Item(value)) return false;
            object.fields.push_back({key, std::move(value)});
        }
        out = petal::MakeObject(std::move(object));
        return Close();
    }

    bool ListValue(petal::Value& out) {
        out = petal::MakeList(Word());
        while (!Peek(')')) {
            if (pos_ >= text_.size()) return Fail("a list is not closed");
            petal::Value item;
            if (!Item(item)) return false;
            out.items.push_back(std::move(item));
        }
        return Close();
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    std::string error_;
};

}  // namespace

bool ReadPropertyFile(const std::string& path, std::vector<PropertySet>& sets, std::string& error) {
    std::string text;
    if (std::string why = petal::ReadRegularFile(path, text); !why.empty()) {
        error = "property file: " + why;
        return false;
    }
    Reader reader(text);
    petal::Value list;
    if (!reader.File(list)) {
        error = path + " is not a property file: " + reader.Error();
        return false;
    }
    sets = PropertySetsOf(list);
    return true;
}

}  // namespace rosehost
