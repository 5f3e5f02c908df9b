#pragma once
// Helpers shared by the reader, the writer and the document code of the Petal folder.

#include <string>
#include <string_view>

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
    // Characters the code page lacks become '?', as the modelling tool's ANSI output does.
    std::string Encode(std::string_view utf8) const;

private:
    std::string iconvName_;  // "" for the built-in Windows-1252
    void* toUtf8_ = nullptr;
    void* fromUtf8_ = nullptr;
};

// charSet of a Petal header (0 when it has none or it is not a number).
int HeaderCharSet(const Object& header);

}  // namespace petal::detail
