#include <iconv.h>

#include <cstdio>
#include <cstdlib>

#include "hosts/rose/petal/petal_internal.h"

namespace petal::detail {
namespace {

// Windows-1252 bytes 0x80..0x9F; 0 marks the five bytes the code page leaves undefined.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

const char* IconvNameOf(int charSet) {
    switch (charSet) {
        case 128:
            return "CP932";
        case 129:
            return "CP949";
        case 134:
            return "GB18030";
        case 136:
            return "CP950";
        case 161:
            return "CP1253";
        case 162:
            return "CP1254";
        case 177:
            return "CP1255";
        case 178:
            return "CP1256";
        case 186:
            return "CP1257";
        case 204:
            return "CP1251";
        case 222:
            return "CP874";
        case 238:
            return "CP1250";
        default:
            return nullptr;  // 0 (ANSI), 1, 255 and unknown numbers: Windows-1252
    }
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Next code point of UTF-8 text; invalid bytes give U+FFFD and advance by one.
char32_t NextCodePoint(std::string_view s, size_t& i) {
    auto b = static_cast<unsigned char>(s[i]);
    int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
    if (b < 0x80 || b >= 0xF8 || (b >= 0x80 && b < 0xC0) || i + extra >= s.size() + 0) {
        ++i;
        return b < 0x80 ? b : 0xFFFD;
    }
    char32_t c = b & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        auto t = static_cast<unsigned char>(s[i + k]);
        if ((t & 0xC0) != 0x80) {
            ++i;
            return 0xFFFD;
        }
        c = (c << 6) | (t & 0x3F);
    }
    i += extra + 1;
    return c;
}

bool IsAscii(std::string_view s) {
    for (char c : s) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

// Runs one iconv conversion over the whole input; false on an invalid or incomplete sequence.
bool RunIconv(void* handle, std::string_view in, std::string& out, size_t& badOffset) {
    auto cd = static_cast<iconv_t>(handle);
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char* src = const_cast<char*>(in.data());
    size_t srcLeft = in.size();
    char buffer[4096];
    while (srcLeft > 0) {
        char* dst = buffer;
        size_t dstLeft = sizeof buffer;
        size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
        out.append(buffer, static_cast<size_t>(dst - buffer));
        if (rc == static_cast<size_t>(-1) && dst == buffer) {
            badOffset = in.size() - srcLeft;
            return false;
        }
    }
    return true;
}

}  // namespace

TextCodec::TextCodec(int charSet) : charSet_(charSet) {
    const char* name = IconvNameOf(charSet);
    if (name == nullptr) return;
    iconv_t to = iconv_open("UTF-8", name);
    iconv_t from = iconv_open(name, "UTF-8");
    if (to == reinterpret_cast<iconv_t>(-1) || from == reinterpret_cast<iconv_t>(-1)) {
        // Without the system's converter the text is treated as Windows-1252, which
        // still gives back the same bytes on writing.
        if (to != reinterpret_cast<iconv_t>(-1)) iconv_close(to);
        if (from != reinterpret_cast<iconv_t>(-1)) iconv_close(from);
        return;
    }
    iconvName_ = name;
    toUtf8_ = to;
    fromUtf8_ = from;
}

TextCodec::~TextCodec() {
    if (toUtf8_ != nullptr) iconv_close(static_cast<iconv_t>(toUtf8_));
    if (fromUtf8_ != nullptr) iconv_close(static_cast<iconv_t>(fromUtf8_));
}

bool TextCodec::Decode(std::string_view bytes, std::string& utf8, std::string& error) const {
    if (IsAscii(bytes)) {
        utf8.assign(bytes);
        return true;
    }
    utf8.clear();
    char hex[8];
    if (toUtf8_ != nullptr) {
        size_t bad = 0;
        if (RunIconv(toUtf8_, bytes, utf8, bad)) return true;
        std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned char>(bytes[bad]));
        error = "byte " + std::string(hex) + " starts no character of code page " + iconvName_;
        return false;
    }
    for (char ch : bytes) {
        auto b = static_cast<unsigned char>(ch);
        if (b < 0x80 || b >= 0xA0) {
            AppendUtf8(utf8, b);
            continue;
        }
        char16_t c = kCp1252High[b - 0x80];
        if (c == 0) {
            std::snprintf(hex, sizeof hex, "0x%02X", b);
            error = "byte " + std::string(hex) + " is no character of code page 1252";
            return false;
        }
        AppendUtf8(utf8, c);
    }
    return true;
}

std::string TextCodec::Encode(std::string_view utf8, std::vector<char32_t>* missing) const {
    if (IsAscii(utf8)) return std::string(utf8);
    std::string out;
    auto lose = [&](char32_t c) {
        out += '?';
        if (missing != nullptr) missing->push_back(c);
    };
    if (fromUtf8_ != nullptr) {
        // Convert code point by code point so that one missing character costs only itself.
        size_t i = 0;
        while (i < utf8.size()) {
            size_t start = i;
            char32_t c = NextCodePoint(utf8, i);
            size_t bad = 0;
            std::string piece;
            bool invalid = c == 0xFFFD && i - start == 1;
            if (!invalid && RunIconv(fromUtf8_, utf8.substr(start, i - start), piece, bad)) {
                out += piece;
            } else {
                lose(c);
            }
        }
        return out;
    }
    size_t i = 0;
    while (i < utf8.size()) {
        char32_t c = NextCodePoint(utf8, i);
        if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
            out += static_cast<char>(c);
            continue;
        }
        int found = -1;
        for (int k = 0; k < 32; ++k) {
            if (kCp1252High[k] != 0 && kCp1252High[k] == c) found = k;
        }
        if (found < 0) {
            lose(c);
            continue;
        }
        out += static_cast<char>(0x80 + found);
    }
    return out;
}

bool TextCodec::IsLeadByte(unsigned char byte) const {
    switch (charSet_) {
        case 128:  // Shift_JIS
            return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        case 129:  // Korean
        case 134:  // GB18030: its four-byte characters are two such pairs
        case 136:  // Big5
            return byte >= 0x81 && byte <= 0xFE;
        default:
            return false;
    }
}

std::string TextCodec::Name() const {
    return iconvName_.empty() ? std::string("Windows-1252") : iconvName_;
}

int HeaderCharSet(const Object& header) {
    const Value* v = FindField(header, "charSet");
    if (v == nullptr || v->kind != ValueKind::Integer) return 0;
    return std::atoi(v->text.c_str());
}

}  // namespace petal::detail
