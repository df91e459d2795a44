#include "FileNames.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>

#include "Ascii.h"
#include "UnicodeDecompositions.h"
#include "Utf8Encoding.h"

namespace {

constexpr char32_t kHangulFirst = 0xAC00;
constexpr char32_t kHangulCount = 11172;
constexpr char32_t kVowels = 21;
constexpr char32_t kTails = 28;

struct Character {
    char32_t code;
    std::size_t length;
};

// The multi-byte character at the start of `text`; nothing when it is no UTF-8.
std::optional<Character> multiByteCharacter(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC2 ? 2 : 0;
    if (length == 0 || text.size() < length) {
        return std::nullopt;
    }
    char32_t code = byte(0) & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return std::nullopt;
        }
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    return Character{code, length};
}

void appendDecomposed(std::string& out, char32_t code) {
    if (code - kHangulFirst < kHangulCount) {
        const char32_t index = code - kHangulFirst;
        appendUtf8(out, 0x1100 + index / (kVowels * kTails));
        appendUtf8(out, 0x1161 + index / kTails % kVowels);
        if (index % kTails != 0) {
            appendUtf8(out, 0x11A7 + index % kTails);
        }
        return;
    }
    const auto* found = std::lower_bound(
        std::begin(kUnicodeDecompositions), std::end(kUnicodeDecompositions), code,
        [](const UnicodeDecomposition& row, char32_t c) { return row.composed < c; });
    if (found != std::end(kUnicodeDecompositions) && found->composed == code) {
        appendDecomposed(out, found->first);
        appendDecomposed(out, found->second);
    } else {
        appendUtf8(out, code);
    }
}

}  // namespace

bool isPlainAscii(std::string_view name) {
    return std::none_of(name.begin(), name.end(),
                        [](char c) { return static_cast<std::uint8_t>(c) >= 0x80; });
}

std::string canonicalName(std::string_view name) {
    std::string out;
    while (!name.empty()) {
        const std::optional<Character> character =
            isPlainAscii(name.substr(0, 1)) ? std::nullopt : multiByteCharacter(name);
        const std::size_t length = character ? character->length : 1;
        if (character && length < 4) {
            appendDecomposed(out, character->code);
        } else {
            out.append(name.substr(0, length));
        }
        name.remove_prefix(length);
    }
    return out;
}

std::string foldedName(std::string_view name) {
    return ascii::toLower(isPlainAscii(name) ? std::string(name) : canonicalName(name));
}
