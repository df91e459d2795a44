#pragma once

#include <cstdint>
#include <functional>

#include "ByteView.h"
#include "CharacterSet.h"

/// One subtable of 'cmap': which of its codes have a glyph. (OpenType, cmap: formats 0, 2, 4, 6, 8,
/// 10, 12 and 13.)
///
/// `bytes` begins with the subtable and reaches to the end of the table: the lengths that subtables
/// state are often wrong where they are large. Reads past that throw ReadPastEnd.
class CharacterMap {
  public:
    /// Glyphs from `glyphCount` on do not exist. `spend` is asked before every piece of work; when
    /// it answers false, reading ends.
    CharacterMap(ByteView bytes, std::uint32_t glyphCount,
                 std::function<bool(std::uint64_t)> spend);

    static bool knowsFormat(unsigned format);
    unsigned format() const { return format_; }
    /// Adds the codes of glyphs other than 0; what came before a read past the end stays.
    void addCodes(CharacterSet& codes);

  private:
    void addByteCodes();
    void addMixedCodes();
    void addSegments();
    void addSegment(char32_t first, char32_t last, std::uint32_t delta, std::uint64_t glyphs);
    void addTrimmed(std::uint64_t header, unsigned width);
    void addGroups(std::uint64_t header, bool rising);
    void addRow(char32_t first, std::uint32_t count, std::uint64_t glyphs, std::uint32_t delta);
    void addRising(char32_t first, char32_t last, std::uint32_t glyph);

    ByteView bytes_;
    std::uint32_t glyphCount_;
    std::function<bool(std::uint64_t)> spend_;
    unsigned format_;
    CharacterSet* codes_ = nullptr;
};
