// Reading Petal text: a recursive-descent parser over the tokens of the lexer.
#include <charconv>
#include <cstdio>

#include "hosts/rose/petal/petal.h"
#include "hosts/rose/petal/petal_internal.h"

namespace petal {
namespace {

using detail::Lexer;
using detail::Tok;
using detail::Token;

// Real models nest about thirty levels; the limit only keeps hostile input off the stack.
constexpr int kMaxDepth = 200;

struct ParseFailure {
    int line;
    int column;
    std::string message;
};

std::string Describe(const Token& t) {
    switch (t.kind) {
        case Tok::LParen:
            return "'('";
        case Tok::RParen:
            return "')'";
        case Tok::Comma:
            return "','";
        case Tok::Ident:
        case Tok::Number:
            return "'" + std::string(t.raw) + "'";
        case Tok::Tag:
            return "tag @" + std::string(t.raw);
        case Tok::String:
            return "a string";
        case Tok::Block:
            return "a '|' text block";
        case Tok::End:
            return "the end of the file";
        case Tok::Bad:
            return "bad text";
    }
    return "";
}

class Parser {
  public:
    Parser(std::string_view bytes, LineEnd lineEnd) : lex_(bytes, lineEnd) {}

    void ParseFile(File& out) {
        Expect(Tok::LParen, "expected '(object Petal' at the start of the file");
        ExpectWord("object", "expected '(object Petal' at the start of the file");
        const Token& kind = lex_.Peek();
        if (kind.kind != Tok::Ident || kind.raw != "Petal") {
            Throw(kind, "expected '(object Petal' at the start of the file");
        }
        ParseObjectBody(out.header, 1, 1);
        lex_.SetCodec(detail::HeaderCharSet(out.header));
        Token open = lex_.Next();
        if (open.kind == Tok::End) Throw(open, "file ends after the Petal header");
        if (open.kind != Tok::LParen) Throw(open, "expected '(object' after the Petal header");
        ExpectWord("object", "expected '(object' after the Petal header");
        ParseObjectBody(out.root, 1, open.line);
        Token rest = lex_.Next();
        if (rest.kind == Tok::Bad) Throw(rest, rest.text);
        if (rest.kind == Tok::RParen) Throw(rest, "unbalanced ')' after the root object");
        if (rest.kind != Tok::End)
            Throw(rest, "unexpected " + Describe(rest) + " after the root object");
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
    void ParseObjectBody(Object& o, int depth, int openLine) {
        Token kind = Take();
        if (kind.kind != Tok::Ident)
            Throw(kind, "expected an object kind but found " + Describe(kind));
        o.kind = kind.raw;
        while (lex_.Peek().kind == Tok::String) o.names.push_back(Take().text);
        if (lex_.Peek().kind == Tok::Tag) {
            Token tag = Take();
            auto [end, ec] =
                std::from_chars(tag.raw.data(), tag.raw.data() + tag.raw.size(), o.tag);
            if (ec != std::errc() || o.tag == 0)
                Throw(tag, "tag @" + std::string(tag.raw) + " out of range");
        }
        while (true) {
            Token t = Take();
            if (t.kind == Tok::RParen) return;
            if (t.kind == Tok::End) Unclosed(t, "object", openLine);
            if (t.kind != Tok::Ident) {
                Throw(t,
                      "expected a key or ')' in (object " + o.kind + " but found " + Describe(t));
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
                v.kind = t.raw.find('.') == std::string_view::npos ? ValueKind::Integer
                                                                   : ValueKind::Float;
                v.text = t.raw;
                return;
            case Tok::Tag:
                v.kind = ValueKind::Tag;
                v.text = t.raw;
                return;
            case Tok::Ident:
                if (t.raw != "TRUE" && t.raw != "FALSE")
                    Throw(t, "unexpected name " + Describe(t) + " where a value belongs");
                v.kind = ValueKind::Boolean;
                v.boolean = t.raw == "TRUE";
                return;
            case Tok::LParen:
                return ParseParenthesized(v, t, depth + 1);
            case Tok::End:
                Throw(t, "file ends where a value belongs");
            default:
                Throw(t, "expected a value but found " + Describe(t));
        }
    }

    void ParseParenthesized(Value& v, const Token& open, int depth) {
        if (depth > kMaxDepth) {
            Throw(open, "values nested deeper than " + std::to_string(kMaxDepth) + " levels");
        }
        Token t = Take();
        if (t.kind == Tok::Ident && t.raw == "object") {
            v.kind = ValueKind::Object;
            v.object = std::make_unique<Object>();
            return ParseObjectBody(*v.object, depth, open.line);
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
        if (first.kind == Tok::Ident && first.raw != "TRUE" && first.raw != "FALSE")
            v.name = Take().raw;
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
        Parser(bytes, out.lineEnd).ParseFile(out);
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
