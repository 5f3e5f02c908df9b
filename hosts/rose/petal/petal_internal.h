#pragma once
// Helpers shared by the reader, the writer and the document code of the Petal folder.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/rose/petal/petal.h"

namespace petal::detail {

// Converts the text of one file between its code page (the header's charSet, a Windows GDI
// charset number) and UTF-8. ASCII passes unchanged and costs nothing.
class TextCodec {
  public:
    explicit TextCodec(int charSet);
    ~TextCodec();
    TextCodec(const TextCodec&) = delete;
    TextCodec& operator=(const TextCodec&) = delete;

    // False when `bytes` holds a byte or sequence that is no character of the code page;
    // `error` then says which.
    bool Decode(std::string_view bytes, std::string& utf8, std::string& error) const;
    // Characters the code page lacks become '?', as the modelling tool's ANSI output does;
    // each of them (U+FFFD for a byte that is no UTF-8) is added to `missing` when given.
    std::string Encode(std::string_view utf8, std::vector<char32_t>* missing = nullptr) const;
    // True for the first byte of a two-byte character (Far East code pages only).
    bool IsLeadByte(unsigned char byte) const;
    // The code page's name as a reader knows it ("Windows-1252", "GB18030", ...).
    std::string Name() const;

  private:
    int charSet_ = 0;
    std::string iconvName_;  // "" for the built-in Windows-1252
    void* toUtf8_ = nullptr;
    void* fromUtf8_ = nullptr;
};

enum class Tok { LParen, RParen, Comma, Ident, Number, String, Block, Tag, End, Bad };

struct Token {
    Tok kind = Tok::End;
    std::string_view raw;  // identifiers, numbers, tags (without '@')
    std::string text;      // strings and blocks, decoded to UTF-8
    int line = 0;
    int column = 0;
};

// Cuts Petal text into tokens; tracks lines and columns for error reports. Text of strings
// and '|' blocks comes out decoded from the code page set by SetCodec (Windows-1252 first).
class Lexer {
  public:
    // In a file whose lines end in bare line feeds a carriage return is text, kept so that
    // it is written back; in a CR LF file it belongs to the line end.
    Lexer(std::string_view bytes, LineEnd lineEnd)
        : s_(bytes), crIsLineEnd_(lineEnd == LineEnd::CrLf) {}

    void SetCodec(int charSet) { codec_ = std::make_unique<TextCodec>(charSet); }

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

    void SkipSpace();
    Token Fail(Token t, std::string message);
    Token Decoded(Token t, std::string_view bytes);
    Token Scan();
    Token ScanNumber(Token t);

    // "..." on one line; "\\" stands for one backslash. The modelling tool never puts a double
    // quote inside quotes (it writes such text as a '|' block), but a header name cannot be a
    // block, so "\"" stands for one there, as in the tool's property files. A string that runs
    // on over line ends is joined with '\n' rather than refused, as other readers do.
    Token ScanString(Token t);

    // Consecutive lines starting with '|': each line's text after the bar, joined by '\n'.
    Token ScanBlock(Token t);

    std::string_view s_;
    bool crIsLineEnd_;
    size_t pos_ = 0;
    size_t lineStart_ = 0;
    int line_ = 1;
    std::unique_ptr<detail::TextCodec> codec_ = std::make_unique<TextCodec>(0);
    Token peek_;
    bool hasPeek_ = false;
};

// The folder part of a path ("." when it has none).
std::string DirectoryOf(const std::string& path);

// charSet of a Petal header (0 when it has none or it is not a number).
int HeaderCharSet(const Object& header);

}  // namespace petal::detail
