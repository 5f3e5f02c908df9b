// Comparing texts without regard to letter case, the way names of classes, members, commands
// and registry keys are compared everywhere in the system. Bytes only: letters outside ASCII
// compare as they stand.
#pragma once

#include <algorithm>
#include <cctype>
#include <string_view>

namespace strings {

inline char LowerAscii(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

inline bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

// Orders as a reader does: a, B, c.
inline bool LessNoCase(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(LowerAscii(x)) <
               static_cast<unsigned char>(LowerAscii(y));
    });
}

// -1, 0 or 1 by upper-case letters, as the registry orders its keys ('_' after the letters).
inline int CompareNoCase(std::string_view a, std::string_view b) {
    auto n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        int ca = std::toupper(static_cast<unsigned char>(a[i]));
        int cb = std::toupper(static_cast<unsigned char>(b[i]));
        if (ca != cb) return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

}  // namespace strings
