#include "MacRoman.h"

#include <cstddef>

#include "CString.h"
#include "Utf8Encoding.h"

namespace {

constexpr std::size_t kLongestText = 255;

}  // namespace

std::string macRomanToUtf8(std::string_view text) {
    std::string result;
    for (const char c : upToZero(text.substr(0, kLongestText))) {
        const auto byte = static_cast<std::uint8_t>(c);
        const std::size_t whole = result.size();
        appendUtf8(result, byte < 0x80 ? byte : kMacRomanUpperHalf[byte - 0x80u]);
        if (result.size() > kLongestText) {
            result.resize(whole);
            break;
        }
    }
    return result;
}

std::string macRomanFromUtf8(std::string_view text) {
    const auto isContinuation = [&](std::size_t i) {
        return i < text.size() && (static_cast<std::uint8_t>(text[i]) & 0xC0) == 0x80;
    };
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at + 1;
        while (isContinuation(end)) {
            ++end;
        }
        const std::string_view character = text.substr(at, end - at);
        const bool isAscii = static_cast<std::uint8_t>(text[at]) < 0x80;
        char byte = isAscii ? text[at] : '_';
        for (std::size_t i = 0; i < kMacRomanUpperHalf.size() && !isAscii; ++i) {
            std::string candidate;
            appendUtf8(candidate, kMacRomanUpperHalf[i]);
            if (candidate == character) {
                byte = static_cast<char>(0x80 + i);
            }
        }
        result += byte;
        at = end;
    }
    return result;
}
