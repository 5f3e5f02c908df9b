// Cutting Petal text into tokens.
#include <cstdio>

#include "hosts/rose/petal/petal_internal.h"

namespace petal::detail {
namespace {

bool IsIdentStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$';
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsIdentChar(char c) { return IsIdentStart(c) || IsDigit(c); }

}  // namespace

void Lexer::SkipSpace() {
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

Token Lexer::Fail(Token t, std::string message) {
    t.kind = Tok::Bad;
    t.text = std::move(message);
    return t;
}

Token Lexer::Decoded(Token t, std::string_view bytes) {
    std::string error;
    if (!codec_->Decode(bytes, t.text, error)) return Fail(std::move(t), error);
    return t;
}

Token Lexer::Scan() {
    SkipSpace();
    Token t;
    t.line = line_;
    t.column = column();
    if (pos_ >= s_.size()) return t;
    char c = s_[pos_];
    size_t start = pos_;
    switch (c) {
        case '(':
            ++pos_;
            t.kind = Tok::LParen;
            return t;
        case ')':
            ++pos_;
            t.kind = Tok::RParen;
            return t;
        case ',':
            ++pos_;
            t.kind = Tok::Comma;
            return t;
        case '"':
            return ScanString(std::move(t));
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
        default:
            break;
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

Token Lexer::ScanNumber(Token t) {
    size_t start = pos_;
    if (s_[pos_] == '-' || s_[pos_] == '+') ++pos_;
    size_t digits = 0;
    int dots = 0;
    while (pos_ < s_.size() && (IsDigit(s_[pos_]) || s_[pos_] == '.')) {
        if (s_[pos_] == '.')
            ++dots;
        else
            ++digits;
        ++pos_;
    }
    if (digits == 0 || dots > 1) return Fail(std::move(t), "malformed number");
    t.kind = Tok::Number;
    t.raw = s_.substr(start, pos_ - start);
    return t;
}

// "..." on one line; "\\" stands for one backslash and "\"" for a double quote. A string that
// runs on over line ends is joined with '\n' rather than refused, as other readers do.
Token Lexer::ScanString(Token t) {
    ++pos_;
    std::string bytes;
    while (true) {
        if (pos_ >= s_.size()) {
            return Fail(std::move(t), "string not closed before the end of the file");
        }
        char c = s_[pos_++];
        if (c == '"') break;
        if (codec_->IsLeadByte(static_cast<unsigned char>(c)) && pos_ < s_.size() &&
            static_cast<unsigned char>(s_[pos_]) >= 0x40) {
            // A two-byte character of a Far East code page: its second byte may be a '\\',
            // which a writer that escapes byte by byte doubles and one that escapes character
            // by character does not; either way it belongs to the character.
            bytes += c;
            char trail = s_[pos_++];
            bytes += trail;
            if (trail == '\\' && pos_ + 1 < s_.size() && s_[pos_] == '\\') ++pos_;
            continue;
        }
        if (c == '\\' && pos_ < s_.size() && (s_[pos_] == '\\' || s_[pos_] == '"')) {
            bytes += s_[pos_++];
        } else if (c == '\r' && crIsLineEnd_ && pos_ < s_.size() && s_[pos_] == '\n') {
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
Token Lexer::ScanBlock(Token t) {
    std::string bytes;
    bool first = true;
    while (pos_ < s_.size() && pos_ == lineStart_ && s_[pos_] == '|') {
        size_t end = s_.find('\n', pos_);
        bool atEnd = end == std::string_view::npos;
        if (atEnd) end = s_.size();
        size_t textEnd = end;
        if (crIsLineEnd_ && textEnd > pos_ + 1 && s_[textEnd - 1] == '\r') --textEnd;
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

}  // namespace petal::detail
