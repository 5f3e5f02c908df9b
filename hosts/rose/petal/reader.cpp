// Reading Petal text: a tokenizer over the byte buffer and a recursive-descent parser.
#include <charconv>
#include <cstdio>

#include "hosts/rose/petal/petal.h"
#include "hosts/rose/petal/petal_internal.h"

namespace petal {
namespace {

// Real models nest about thirty levels; the limit only keeps hostile input off the stack.
constexpr int kMaxDepth = 200;

enum class Tok { LParen, RParen, Comma, Ident, Number, String, Block, Tag, End, Bad };

struct Token {
    Tok kind = Tok::End;
    std::string_view raw;  // identifiers, numbers, tags (without '@')
    std::string text;      // strings and blocks, decoded to UTF-8
    int line = 0;
    int column = 0;
};

struct ParseFailure {
    int line;
    int column;
    std::string message;
};

bool IsIdentStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$';
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsIdentChar(char c) { return IsIdentStart(c) || IsDigit(c); }

std::string Describe(const Token& t) {
    switch (t.kind) {
        case Tok::LParen: return "'('";
        case Tok::RParen: return "')'";
        case Tok::Comma: return "','";
        case Tok::Ident:
        case Tok::Number: return "'" + std::string(t.raw) + "'";
        case Tok::Tag: return "tag @" + std::string(t.raw);
        case Tok::String: return "a string";
        case Tok::Block: return "a '|' text block";
        case Tok::End: return "the end of the file";
        case Tok::Bad: return "bad text";
    }
    return "";
}

class Lexer {
public:
    explicit Lexer(std::string_view bytes) : s_(bytes) {}

    void SetCodec(int charSet) { codec_ = std::make_unique<detail::TextCodec>(charSet); }

    const Token& Peek() {
        if (!hasPeek_) {
            peek_ = Scan();
            hasPeek_ = true;
        }
        return peek_;
    }

    Token Next() {
        Peek();
        hasPeek_ = false;
        return std::move(peek_);
    }

    int line() const { return line_; }
    int column() const { return static_cast<int>(pos_ - lineStart_) + 1; }

private:
    void NewLine() {
        ++line_;
        lineStart_ = pos_;
    }

    void SkipSpace() {
        while (pos_ < s_.size()) {
            char c = s_[pos_];
            if (c == '\n') {
                ++pos_;
                NewLine();
            } else if (c == ' ' || c == '\t' || c == '\r') {
                ++pos_;
            } else if (c == '#') {
                // A comment runs to the end of its line.
                while (pos_ < s_.size() && s_[pos_] != '\n') ++pos_;
            } else {
                return;
            }
        }
    }

    Token Fail(Token t, std::string message) {
        t.kind = Tok::Bad;
        t.text = std::move(message);
        return t;
    }

    Token Decoded(Token t, std::string_view bytes) {
        std::string error;
        if (!codec_->Decode(bytes, t.text, error)) return Fail(std::move(t), error);
        return t;
    }

    Token Scan() {
        SkipSpace();
        Token t;
        t.line = line_;
        t.column = column();
        if (pos_ >= s_.size()) return t;
        char c = s_[pos_];
        size_t start = pos_;
        switch (c) {
            case '(': ++pos_; t.kind = Tok::LParen; return t;
            case ')': ++pos_; t.kind = Tok::RParen; return t;
            case ',': ++pos_; t.kind = Tok::Comma; return t;
            case '"': return ScanString(std::move(t));
            case '|':
                if (pos_ != lineStart_) return Fail(std::move(t), "'|' text must start a line");
                return ScanBlock(std::move(t));
            case '@':
                ++pos_;
                while (pos_ < s_.size() && IsDigit(s_[pos_])) ++pos_;
                if (pos_ == start + 1) return Fail(std::move(t), "'@' without a number");
                t.kind = Tok::Tag;
                t.raw = s_.substr(start + 1, pos_ - start - 1);
                return t;
            default: break;
        }
        if (IsIdentStart(c)) {
            while (pos_ < s_.size() && IsIdentChar(s_[pos_])) ++pos_;
            t.kind = Tok::Ident;
            t.raw = s_.substr(start, pos_ - start);
            return t;
        }
        if (IsDigit(c) || c == '-' || c == '+' || c == '.') return ScanNumber(std::move(t));
        char hex[48];
        auto b = static_cast<unsigned char>(c);
        if (b >= 0x20 && b < 0x7F) {
            std::snprintf(hex, sizeof hex, "unexpected character '%c'", c);
        } else {
            std::snprintf(hex, sizeof hex, "unexpected byte 0x%02X outside a string", b);
        }
        return Fail(std::move(t), hex);
    }

    Token ScanNumber(Token t) {
        size_t start = pos_;
        if (s_[pos_] == '-' || s_[pos_] == '+') ++pos_;
        size_t digits = 0;
        int dots = 0;
        while (pos_ < s_.size() && (IsDigit(s_[pos_]) || s_[pos_] == '.')) {
            if (s_[pos_] == '.') ++dots; else ++digits;
            ++pos_;
        }
        if (digits == 0 || dots > 1) return Fail(std::move(t), "malformed number");
        t.kind = Tok::Number;
        t.raw = s_.substr(start, pos_ - start);
        return t;
    }

    // "..." on one line; "\\" stands for one backslash. A string that runs on over line
    // ends is joined with '\n' rather than refused, as other readers of the format do.
    Token ScanString(Token t) {
        ++pos_;
        std::string bytes;
        while (true) {
            if (pos_ >= s_.size()) {
                return Fail(std::move(t), "string not closed before the end of the file");
            }
            char c = s_[pos_++];
            if (c == '"') break;
            if (c == '\\' && pos_ < s_.size() && s_[pos_] == '\\') {
                ++pos_;
                bytes += '\\';
            } else if (c == '\r' && pos_ < s_.size() && s_[pos_] == '\n') {
                continue;
            } else if (c == '\n') {
                NewLine();
                bytes += '\n';
            } else {
                bytes += c;
            }
        }
        t.kind = Tok::String;
        return Decoded(std::move(t), bytes);
    }

    // Consecutive lines starting with '|': each line's text after the bar, joined by '\n'.
    Token ScanBlock(Token t) {
        std::string bytes;
        bool first = true;
        while (pos_ < s_.size() && pos_ == lineStart_ && s_[pos_] == '|') {
            size_t end = s_.find('\n', pos_);
            bool atEnd = end == std::string_view::npos;
            if (atEnd) end = s_.size();
            size_t textEnd = end;
            if (textEnd > pos_ + 1 && s_[textEnd - 1] == '\r') --textEnd;
            if (!first) bytes += '\n';
            first = false;
            bytes.append(s_.substr(pos_ + 1, textEnd - pos_ - 1));
            pos_ = end;
            if (atEnd) break;
            ++pos_;
            NewLine();
        }
        t.kind = Tok::Block;
        return Decoded(std::move(t), bytes);
    }

    std::string_view s_;
    size_t pos_ = 0;
    size_t lineStart_ = 0;
    int line_ = 1;
    std::unique_ptr<detail::TextCodec> codec_ = std::make_unique<detail::TextCodec>(0);
    Token peek_;
    bool hasPeek_ = false;
};

class Parser {
public:
    explicit Parser(std::string_view bytes) : lex_(bytes) {}

    void ParseFile(File& out) {
        Expect(Tok::LParen, "expected '(object Petal' at the start of the file");
        ExpectWord("object", "expected '(object Petal' at the start of the file");
        const Token& kind = lex_.Peek();
        if (kind.kind != Tok::Ident || kind.raw != "Petal") {
            Throw(kind, "expected '(object Petal' at the start of the file");
        }
        ParseObjectBody(out.header, 1, 1, 1);
        lex_.SetCodec(detail::HeaderCharSet(out.header));
        Token open = lex_.Next();
        if (open.kind == Tok::End) Throw(open, "file ends after the Petal header");
        if (open.kind != Tok::LParen) Throw(open, "expected '(object' after the Petal header");
        ExpectWord("object", "expected '(object' after the Petal header");
        ParseObjectBody(out.root, 1, open.line, open.column);
        Token rest = lex_.Next();
        if (rest.kind == Tok::Bad) Throw(rest, rest.text);
        if (rest.kind == Tok::RParen) Throw(rest, "unbalanced ')' after the root object");
        if (rest.kind != Tok::End) Throw(rest, "unexpected " + Describe(rest) + " after the root object");
    }

private:
    [[noreturn]] void Throw(const Token& at, std::string message) {
        throw ParseFailure{at.line, at.column, std::move(message)};
    }

    Token Take() {
        Token t = lex_.Next();
        if (t.kind == Tok::Bad) Throw(t, t.text);
        return t;
    }

    void Expect(Tok kind, const char* message) {
        Token t = Take();
        if (t.kind != kind) Throw(t, message);
    }

    void ExpectWord(std::string_view word, const char* message) {
        Token t = Take();
        if (t.kind != Tok::Ident || t.raw != word) Throw(t, message);
    }

    [[noreturn]] void Unclosed(const Token& at, const char* what, int openLine) {
        Throw(at, std::string("file ends inside the ") + what + " opened on line " +
                      std::to_string(openLine));
    }

    std::int64_t Integer(const Token& t) {
        std::string_view raw = t.raw;
        if (!raw.empty() && raw[0] == '+') raw.remove_prefix(1);
        std::int64_t n = 0;
        auto [end, ec] = std::from_chars(raw.data(), raw.data() + raw.size(), n);
        if (t.kind != Tok::Number || ec != std::errc() || end != raw.data() + raw.size()) {
            Throw(t, "expected a whole number but found " + Describe(t));
        }
        return n;
    }

    // After "(object": Kind, header strings, optional tag, then key/value pairs up to ')'.
    void ParseObjectBody(Object& o, int depth, int openLine, int openColumn) {
        if (depth > kMaxDepth) {
            Throw(Token{Tok::Bad, {}, {}, openLine, openColumn},
                  "objects nested deeper than " + std::to_string(kMaxDepth) + " levels");
        }
        Token kind = Take();
        if (kind.kind != Tok::Ident) Throw(kind, "expected an object kind but found " + Describe(kind));
        o.kind = kind.raw;
        while (lex_.Peek().kind == Tok::String) o.names.push_back(Take().text);
        if (lex_.Peek().kind == Tok::Tag) {
            Token tag = Take();
            auto [end, ec] = std::from_chars(tag.raw.data(), tag.raw.data() + tag.raw.size(), o.tag);
            if (ec != std::errc() || o.tag == 0) Throw(tag, "tag @" + std::string(tag.raw) + " out of range");
        }
        while (true) {
            Token t = Take();
            if (t.kind == Tok::RParen) return;
            if (t.kind == Tok::End) Unclosed(t, "object", openLine);
            if (t.kind != Tok::Ident) {
                Throw(t, "expected a key or ')' in (object " + o.kind + " but found " + Describe(t));
            }
            o.fields.push_back(Field{std::string(t.raw), Value()});
            ParseValue(o.fields.back().value, depth);
        }
    }

    void ParseValue(Value& v, int depth) {
        Token t = Take();
        switch (t.kind) {
            case Tok::String:
            case Tok::Block:
                v.kind = ValueKind::String;
                v.block = t.kind == Tok::Block;
                v.text = std::move(t.text);
                return;
            case Tok::Number:
                v.kind = t.raw.find('.') == std::string_view::npos ? ValueKind::Integer : ValueKind::Float;
                v.text = t.raw;
                return;
            case Tok::Tag:
                v.kind = ValueKind::Tag;
                v.text = t.raw;
                return;
            case Tok::Ident:
                if (t.raw != "TRUE" && t.raw != "FALSE") Throw(t, "unexpected name " + Describe(t) + " where a value belongs");
                v.kind = ValueKind::Boolean;
                v.boolean = t.raw == "TRUE";
                return;
            case Tok::LParen: return ParseParenthesized(v, t, depth + 1);
            case Tok::End: Throw(t, "file ends where a value belongs");
            default: Throw(t, "expected a value but found " + Describe(t));
        }
    }

    void ParseParenthesized(Value& v, const Token& open, int depth) {
        Token t = Take();
        if (t.kind == Tok::Ident && t.raw == "object") {
            v.kind = ValueKind::Object;
            v.object = std::make_unique<Object>();
            return ParseObjectBody(*v.object, depth, open.line, open.column);
        }
        if (t.kind == Tok::Ident && t.raw == "list") return ParseList(v, open, depth);
        if (t.kind == Tok::Ident && t.raw == "value") {
            Token name = Take();
            if (name.kind != Tok::Ident) Throw(name, "expected a type name after '(value'");
            Token text = Take();
            if (text.kind != Tok::String && text.kind != Tok::Block) {
                Throw(text, "expected the text of (value " + std::string(name.raw) + ")");
            }
            v.kind = ValueKind::TypedText;
            v.name = name.raw;
            v.text = std::move(text.text);
            v.block = text.kind == Tok::Block;
            return CloseParen(open, "(value");
        }
        if (t.kind == Tok::Number) {
            v.kind = ValueKind::Point;
            v.x = Integer(t);
            Expect(Tok::Comma, "expected ',' inside a point");
            v.y = Integer(Take());
            return CloseParen(open, "point");
        }
        if (t.kind == Tok::String) {
            v.kind = ValueKind::Enum;
            v.text = std::move(t.text);
            v.x = Integer(Take());
            return CloseParen(open, "enumerated value");
        }
        if (t.kind == Tok::Ident) Throw(t, "unknown construct '(" + std::string(t.raw) + "'");
        if (t.kind == Tok::End) Unclosed(t, "parenthesis", open.line);
        Throw(t, "expected 'object', 'list' or 'value' after '(' but found " + Describe(t));
    }

    void CloseParen(const Token& open, const char* what) {
        Token t = Take();
        if (t.kind == Tok::RParen) return;
        if (t.kind == Tok::End) Unclosed(t, what, open.line);
        Throw(t, std::string("expected ')' to close the ") + what + " but found " + Describe(t));
    }

    void ParseList(Value& v, const Token& open, int depth) {
        v.kind = ValueKind::List;
        const Token& first = lex_.Peek();
        if (first.kind == Tok::Ident && first.raw != "TRUE" && first.raw != "FALSE") v.name = Take().raw;
        while (true) {
            const Token& t = lex_.Peek();
            if (t.kind == Tok::RParen) {
                Take();
                return;
            }
            if (t.kind == Tok::End) Unclosed(t, "list", open.line);
            v.items.emplace_back();
            ParseValue(v.items.back(), depth);
        }
    }

    Lexer lex_;
};

LineEnd DetectLineEnd(std::string_view bytes) {
    size_t lf = bytes.find('\n');
    if (lf != std::string_view::npos && (lf == 0 || bytes[lf - 1] != '\r')) return LineEnd::Lf;
    return LineEnd::CrLf;
}

}  // namespace

ParseResult ParseDocument(std::string_view bytes, File& out) {
    out = File();
    out.lineEnd = DetectLineEnd(bytes);
    ParseResult result;
    try {
        Parser(bytes).ParseFile(out);
    } catch (const ParseFailure& failure) {
        result.line = failure.line;
        result.column = failure.column;
        result.message = failure.message;
        return result;
    } catch (const std::bad_alloc&) {
        result.message = "out of memory";
        return result;
    }
    result.ok = true;
    return result;
}

}  // namespace petal
