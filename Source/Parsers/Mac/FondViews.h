#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "ByteView.h"
#include "Export.h"

/// @file
/// Bounded views of the classic font resources (Inside Macintosh: Text, chapter 4), all big-endian.
/// None owns its bytes: a view is good until the resource's file is closed. Bytes past the
/// resource's end read as zero, a Pascal string that runs past it is cut there.
///
///     FOND:  flags 2 | id 2 | first character 2 | last character 2 | metrics 8 | width table 4 |
///            kerning table 4 | style table 4 | properties 18 | international 4 | version 2 |
///            entries - 1: 2 | entries of 6: size 2, style 2, resource id 2
///     style mapping table: class 2 | glyph encoding 4 | reserved 4 | 48 style indexes of 1
///     style name table, behind it: count 2 | Pascal strings
///     NFNT:  type 2 | first character 2 | last character 2 | …

/// One font association entry, in host order.
struct AsscEntry {
    std::int16_t fontSize = 0;    ///< 0: an outline; positive: a bitmap strike of that size
    std::uint16_t fontStyle = 0;  ///< style code
    std::int16_t fontID = 0;      ///< id of the 'sfnt', 'NFNT' or 'FONT' resource
};

/// A font family record.
class OXPARSER_EXPORT FondView {
  public:
    explicit FondView(ByteView bytes) : fond_(bytes) {}

    std::uint16_t firstCharacter() const { return fond_.u16be(4); }
    std::uint16_t lastCharacter() const { return fond_.u16be(6); }
    std::int32_t widthTableOffset() const { return fond_.s32be(16); }
    std::int32_t kerningTableOffset() const { return fond_.s32be(20); }
    std::int32_t styleTableOffset() const { return fond_.s32be(24); }
    /// Number of association entries less one, as it stands.
    std::uint16_t entryCountWord() const { return fond_.u16be(52); }
    /// An association entry, counted from 0; nothing when it does not lie wholly inside.
    std::optional<AsscEntry> entry(unsigned index) const;
    /// The association entries that the count word tells of, read as a signed number, as far as
    /// they lie wholly inside.
    std::vector<AsscEntry> entries() const;

  private:
    ZeroPaddedView fond_;
};

/// The header of a bitmap strike.
class NfntView {
  public:
    explicit NfntView(ByteView bytes) : nfnt_(bytes) {}

    std::uint16_t firstCharacter() const { return nfnt_.u16be(2); }
    std::uint16_t lastCharacter() const { return nfnt_.u16be(4); }

  private:
    ZeroPaddedView nfnt_;
};

/// The names of a family's styles. String 1 is the family's base name; the others are name pieces
/// or lists of one-byte indexes of pieces.
class OXPARSER_EXPORT NameTable {
  public:
    explicit NameTable(ZeroPaddedView table);

    /// The count as it stands.
    std::int16_t count() const { return count_; }
    /// The first string, whatever the count says.
    std::string_view baseName() const { return strings_[1]; }
    /// The n-th string, counted from 1; nothing when n is 0 or above the count.
    std::optional<std::string_view> string(std::uint8_t n) const;

  private:
    std::int16_t count_;
    std::array<std::string_view, 256> strings_;
};

/// A family's style mapping table, with everything that follows it in the resource.
class StyleTable {
  public:
    explicit StyleTable(ZeroPaddedView table) : table_(table) {}

    /// The index of a style's name. Style codes past the 48 of the table read what follows it.
    std::uint8_t styleIndex(int style) const {
        return table_.u8(static_cast<std::uint64_t>(10 + std::int64_t{style}));
    }
    NameTable nameTable() const { return NameTable(table_.from(58)); }

  private:
    ZeroPaddedView table_;
};
