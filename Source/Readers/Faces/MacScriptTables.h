#pragma once

#include <array>
#include <cstdint>

/// What the bytes 0x80 to 0xFF mean in one eight-bit Macintosh character set; 0 for a byte that
/// means nothing. Below 0x80 all of them are ASCII.
using MacUpperHalf = std::array<char16_t, 128>;

/// The character set of a Macintosh script (Script Manager codes, which are the encodings of the
/// Macintosh platform in a 'name' table) in a language of that platform; null for scripts of more
/// than one byte a character and for those that have no published table.
///
/// Figures: unicode.org, Public/MAPPINGS/VENDORS/APPLE. Marks of the private use area that only
/// tell glyph forms apart (U+F873 to U+F875, U+F87F, U+F86A) are left out.
const MacUpperHalf* macUpperHalf(unsigned script, unsigned language);

/// Two bytes that mean something together, or one byte (`second` 0) that means two characters.
struct MacSequence {
    const MacUpperHalf* table;
    std::uint8_t first;
    std::uint8_t second;
    char16_t characters[2];  // the second may be 0
};

/// The sequence of a character set that the two bytes begin with; null without one.
const MacSequence* macSequence(const MacUpperHalf* table, std::uint8_t first, std::uint8_t second);
