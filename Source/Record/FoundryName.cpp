#include "FoundryName.h"

#include <cstddef>
#include <cstring>

#include "Ascii.h"

namespace {

constexpr std::size_t kNameSize = 1024;
constexpr char kCopyrightSign = '\xA9';

const char* skipSpaces(const char* p) {
    while (*p == ' ') {
        ++p;
    }
    return p;
}

const char* skipToLetter(const char* p) {
    while (*p != '\0' && !ascii::isAlpha(*p)) {
        ++p;
    }
    return p;
}

const char* pastCopyrightSign(const char* p) {
    const char* sign = std::strchr(p, kCopyrightSign);
    return sign != nullptr ? sign + 1 : p;
}

// Three bytes further, but never past the end: a hit anywhere behind p says that they exist.
const char* pastMarker(const char* p, const char* marker) {
    return stristr(p, marker) != nullptr ? p + 3 : nullptr;
}

// "Copyrighted": the name starts at the buffer's first byte.
void copyNameCharacters(const char* p, char* out) {
    std::size_t n = 0;
    while (n + 1 < kNameSize &&
           (ascii::isSpace(*p) || ascii::isAlpha(*p) || ascii::isDigit(*p) || *p == ',')) {
        out[n++] = *p++;
    }
    out[n] = '\0';
}

// All other markers. The text is placed from the second byte on and its last byte is overwritten
// by the terminator, deliberately: with a cleared buffer the name reads as empty.
void copyShifted(const char* p, char* out) {
    std::size_t last = 0;
    while (last + 1 < kNameSize && *p != '\0' && *p != ',' && *p != '.') {
        out[++last] = *p++;
    }
    if (last != 0) {
        out[last] = '\0';
    }
}

void capitaliseWords(char* out) {
    out[0] = ascii::toUpper(out[0]);
    for (std::size_t i = 1; i < kNameSize && out[i] != '\0'; ++i) {
        if (out[i - 1] == ' ') {
            out[i] = ascii::toUpper(out[i]);
        }
    }
}

}  // namespace

const char* stristr(const char* text, const char* pattern) {
    for (const char* start = text; *start != '\0'; ++start) {
        const char* t = start;
        const char* p = pattern;
        while (*p != '\0' && *t != '\0' && ascii::toLower(*t) == ascii::toLower(*p)) {
            ++t;
            ++p;
        }
        if (*p == '\0') {
            return start;
        }
    }
    return nullptr;
}

int XGetFoundryName(const char* text, char* out) {
    constexpr char kCopyrighted[] = "Copyrighted";
    constexpr char kCopyright[] = "Copyright";

    if (const char* hit = stristr(text, kCopyrighted)) {
        const char* p = pastCopyrightSign(skipSpaces(hit + sizeof kCopyrighted - 1));
        if (const char* next = pastMarker(p, "(C)")) {
            p = next;
        } else if (const char* spaced = pastMarker(p, " C ")) {
            p = spaced;
        }
        copyNameCharacters(skipToLetter(p), out);
    } else if (const char* word = stristr(text, kCopyright)) {
        const char* p = pastCopyrightSign(skipSpaces(word + sizeof kCopyright - 1));
        if (const char* next = pastMarker(p, "(C)")) {
            p = next;
        }
        copyShifted(skipToLetter(p), out);
    } else if (const char* sign = std::strstr(text, "(c)")) {
        copyShifted(skipToLetter(sign + 3), out);
    } else if (const char* escaped = std::strstr(text, "\\(c\\)")) {
        copyShifted(skipToLetter(escaped + 5), out);
    } else if (const char* byte = std::strchr(text, kCopyrightSign)) {
        copyShifted(skipToLetter(byte + 1), out);
    } else {
        constexpr char kUnknown[] = "Unknown";
        std::memcpy(out, kUnknown, sizeof kUnknown);
    }
    capitaliseWords(out);
    return 0;
}
