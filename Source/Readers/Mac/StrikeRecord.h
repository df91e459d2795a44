#pragma once

#include <cstdint>
#include <vector>

#include "ByteView.h"
#include "MacDefect.h"

/// A bitmap strike: resource 'NFNT' or 'FONT' (Inside Macintosh: Text, 4-66 to 4-79), big-endian.
///
///     type 2 | first character 2 | last character 2 | widest 2 | kerning 2 | -descent 2 |
///     rectangle's width 2 | height 2 | place of the offset and width table 2 | ascent 2 |
///     descent 2 | leading 2 | words in a row 2 | rows of bits | places of glyphs |
///     offset and width table
///
/// Both tables have an entry of 2 bytes for each character, one for the missing one and one that
/// ends them. The table's place counts in words from itself; when the descent's field is positive,
/// it is the upper half of that number. A strike without rows is nothing but the header: it stands
/// for sizes that only an outline has.
struct StrikeRecord {
    explicit StrikeRecord(ByteView strike);

    unsigned glyphs = 0;  // entries of the offset and width table other than -1
    std::vector<MacDefect> defects;

  private:
    struct Shape {
        std::uint64_t entries;   // of either table
        std::uint64_t imageEnd;  // of one bit a point
        std::uint64_t places;    // 0: not known
        std::uint64_t widths;
        std::uint64_t rowBits;
    };
    void readTables(ByteView strike);
    void readGlyphs(ByteView strike, const Shape& shape);
};
