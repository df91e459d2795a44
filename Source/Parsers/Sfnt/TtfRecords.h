#pragma once

#include <cstdint>

/// Structures of the sfnt container in host order (OpenType specification, "Organization of an
/// OpenType Font" and the 'name' table). All are big-endian in a file.
namespace ttf {

/// The offset table at the start of a font.
struct tagFontDirectory {
    std::uint32_t version;
    std::uint16_t numTables;
    std::uint16_t searchRange;
    std::uint16_t entrySelector;
    std::uint16_t rangeShift;
};
static_assert(sizeof(tagFontDirectory) == 12);

/// One record of the table directory.
struct tagTableDirectory {
    std::uint32_t tag;
    std::uint32_t checkSum;
    std::uint32_t offset;  ///< from the start of the font's image
    std::uint32_t length;  ///< in bytes, without padding
};
static_assert(sizeof(tagTableDirectory) == 16);

/// One record of the 'name' table.
struct tagNameRecord {
    std::uint16_t platformId;
    std::uint16_t encodingId;
    std::uint16_t languageId;
    std::uint16_t nameId;
    std::uint16_t length;
    std::uint16_t offset;  ///< from the start of the string storage
};
static_assert(sizeof(tagNameRecord) == 12);

}  // namespace ttf
