#pragma once

#include <cstdint>

/// A four-character code (the tag of an sfnt table, a resource type, a Finder type or creator) as
/// the number that it is in a file, big-endian: its first character is the most significant byte.
constexpr std::uint32_t fourCharCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code << 8 | static_cast<std::uint8_t>(text[i]);
    }
    return code;
}
