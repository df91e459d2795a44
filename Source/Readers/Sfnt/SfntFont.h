#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "ByteView.h"
#include "CharacterSet.h"
#include "Face.h"
#include "FourCharCode.h"
#include "SfntReader.h"
#include "TableSums.h"

using SfntTag = std::uint32_t;

/// A row of the table directory.
struct FontTable {
    SfntTag tag = 0;
    std::uint32_t stored = 0;  // its sum, as the directory has it
    std::uint32_t offset = 0;  // from the image's start
    std::uint32_t length = 0;
    ByteView bytes;  // what the image has of it

    bool isCut() const { return bytes.size() != length; }
};

/// A field at a fixed place of a table. What reads values and what tests them name the same rows.
struct SfntField {
    enum Kind { eU16, eS16, eU32, eFixed, eDate };

    SfntTag table;
    const char* name;  // as OpenType names it
    std::uint32_t offset;
    Kind kind;
};

/// The characters that a font has glyphs for.
struct CharacterCoverage {
    CharacterSet characters;
    std::size_t count = 0;  // of them
    std::vector<std::string> languages;
    std::string damage;  // of the subtable; empty when it is sound
};

/// What the fonts of one image share.
struct SfntShared {
    SfntShared(ByteView bytes, SfntOrigin from) : image(bytes), origin(from), sums(bytes) {}

    ByteView image;
    SfntOrigin origin;
    bool isCollection = false;
    TableSums sums;
    /// By the subtable's offset in the image, the number of glyphs and the script of its codes.
    std::map<std::tuple<std::uint64_t, std::uint32_t, int>, CharacterCoverage> coverages;
};

/// One font of an image while it is read: its tables, and what every reader of a table needs.
///
/// Tables are read inside attempt(), where a read past a table's end becomes a finding on the face.
/// All three arguments must outlive the font.
class SfntFont {
  public:
    // Fonts have some thirty; what claims more is no directory.
    static constexpr std::uint32_t kMostTables = 4096;

    SfntFont(Face& face, SfntShared& shared, std::uint64_t start);

    Face& face() { return face_; }
    SfntShared& shared() { return shared_; }
    std::uint32_t version() const { return version_; }
    std::span<const FontTable> tables() const { return tables_; }
    /// Of the tables of that tag the first; null when there is none. Of bitmap-only fonts 'bhed'
    /// is the 'head', whose layout it has.
    const FontTable* table(SfntTag tag) const;
    bool has(SfntTag tag) const { return table(tag) != nullptr; }
    /// The tag of the outlines or else of the bitmaps; 0 when the font has neither.
    SfntTag glyphTable() const;
    bool isTrueType() const { return glyphTable() == fourCharCode("glyf"); }
    /// Of 'maxp'; more than any glyph's number when it cannot be told.
    std::uint32_t glyphCount() const;

    /// The value as it is stored; nothing when the table is absent or too short.
    std::optional<std::int64_t> value(const SfntField& field) const;
    /// The same; of a table that is too short says so.
    std::optional<std::int64_t> require(const SfntField& field);

    /// Runs `read`; when it reads past its table, one finding says so. False then.
    template <typename Read>
    bool attempt(const FontTable& table, Read&& read) {
        try {
            read();
            return true;
        } catch (const ReadPastEnd& error) {
            tellUnreadable(table, error.field(), error.offset(), error.count());
            return false;
        }
    }

    /// Findings cost work, since each of many members could have many. `offset` is in the table.
    void find(int code, const std::string& detail, FontDiagnosticPlace where = {});
    void find(FontDiagnosticType severity, int code, const std::string& detail,
              FontDiagnosticPlace where = {});
    FontDiagnosticPlace place(const FontTable& table, const char* field = "",
                              std::uint64_t offset = 0) const;
    bool spend(std::uint64_t work) { return face_.spend(work); }

  private:
    void readDirectory(std::uint64_t start);
    void addTable(ByteView record);
    void tellNamedTwice();
    void tellUnreadable(const FontTable& table, const char* field, std::uint64_t offset,
                        std::uint64_t count);

    Face& face_;
    SfntShared& shared_;
    std::uint32_t version_ = 0;
    std::vector<FontTable> tables_;
    std::vector<SfntTag> unreadable_;
};

/// A tag as text; bytes that are no ASCII as ISO 8859-1, so always valid UTF-8.
std::string tagText(SfntTag tag);
/// "0x12345678"
std::string hexadecimal(std::uint64_t number, int digits = 8);
