#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "ByteView.h"
#include "MacDefect.h"

/// A row of a family's association table: the font for a size and a style.
struct FondEntry {
    std::int16_t size = 0;    // in points; 0: an outline for all of them
    std::uint16_t style = 0;  // as it stands
    std::int16_t id = 0;      // of an 'sfnt', 'NFNT' or 'FONT' resource

    static constexpr std::uint16_t kBold = 0x01;
    static constexpr std::uint16_t kItalic = 0x02;

    bool isOutline() const { return size <= 0; }
    bool isBold() const { return (style & kBold) != 0; }
    bool isItalic() const { return (style & kItalic) != 0; }
};

/// A font family: resource 'FOND' (Inside Macintosh: Text, 4-90 to 4-103), big-endian.
///
///     family:  flags 2 | id 2 | first character 2 | last character 2 | metrics 8 |
///              offset of width tables 4 | of kerning tables 4 | of the style table 4 |
///              properties 18 | international 4 | version 2 | entries - 1: 2 | entries
///     entry:   size 2 | style 2 | resource id 2
///     style table: class 2 | offset of an encoding 4 | reserved 4 | 48 indexes of 1 |
///              names 2 | Pascal strings
///
/// The first string is the base name of all PostScript names. A style's index tells the string
/// that lists, one byte each, the strings that follow the base name; index 1 stands for none.
///
/// What cannot be read becomes a defect, what can be is kept. Looks at bytes that it does not own.
class FondRecord {
  public:
    explicit FondRecord(ByteView fond);

    const std::vector<FondEntry>& entries() const { return entries_; }
    const std::vector<MacDefect>& defects() const { return defects_; }
    /// Whether the family's outlines are PostScript: it makes PostScript names and has no outline
    /// of its own.
    bool isPostScript() const { return !baseName().empty() && !hasOutline_; }
    /// The parts of a style's PostScript name, the base name first; in the script of the family.
    /// Without a base name there are none.
    std::vector<std::string_view> nameParts(std::uint16_t style) const;

  private:
    static constexpr std::size_t kStyles = 48;
    static constexpr std::size_t kMostStrings = 255;  // indexes have one byte

    void readEntries(ByteView fond);
    void readStyleTable(ByteView table, std::uint64_t at);
    std::string_view baseName() const { return string(1); }
    /// Counted from 1; empty for one that is not there.
    std::string_view string(std::size_t number) const;

    std::vector<FondEntry> entries_;
    std::vector<MacDefect> defects_;
    bool hasOutline_ = false;
    std::array<std::uint8_t, kStyles> indexes_{};
    std::vector<std::string_view> strings_;
};
