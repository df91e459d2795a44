#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Support.h"

/// Makes the bytes of any sfnt font, good or damaged.
///
/// goodFont() is a font that the parsers find no fault with. A test patches one field by its name,
/// or replaces, adds or drops a table, and expects exactly the diagnostics of that one change: the
/// directory is written with right checksums, offsets and lengths unless a test overrides them.
class SfntBuilder {
  public:
    struct Name {
        std::uint16_t platform;
        std::uint16_t encoding;
        std::uint16_t language;
        std::uint16_t id;
        std::string text;  ///< the bytes as they stand in the file
    };
    struct Table {
        std::string tag;
        Bytes data;
        std::optional<std::uint32_t> checksum = {};
        std::optional<std::uint32_t> offset = {};
        std::optional<std::uint32_t> length = {};
    };

    static SfntBuilder goodFont();
    /// Names in the usual order, Macintosh before Windows.
    static std::vector<Name> goodNames();
    static Bytes nameTable(const std::vector<Name>& names);
    /// Text of a Windows name record: big-endian 16-bit units.
    static std::string utf16(std::u16string_view text);
    /// A 'kern' table of format 0 subtables with these numbers of pairs.
    static Bytes kernTable(const std::vector<unsigned>& pairCounts);
    static std::uint32_t checksum(const Bytes& data);

    SfntBuilder& version(std::uint32_t version);
    /// The number of tables that the offset table claims.
    SfntBuilder& tableCount(std::uint16_t count);
    /// Adds tables that no reader knows until there are so many.
    SfntBuilder& fillUpTo(std::size_t count);
    /// Replaces the table of that tag, or adds it at the end of the directory.
    SfntBuilder& table(const std::string& tag, const Bytes& data);
    SfntBuilder& drop(const std::string& tag);
    /// Moves a table to the front of the directory.
    SfntBuilder& first(const std::string& tag);
    /// A field of a table by its name, "head.magicNumber"; see the table in the source.
    SfntBuilder& patch(std::string_view field, std::uint32_t value);
    /// The table itself, for overrides.
    Table& operator[](const std::string& tag);

    Bytes build() const;
    operator Bytes() const { return build(); }
    /// A collection of these fonts. Tables of equal bytes are stored once when `share` is set.
    static Bytes collection(const std::vector<SfntBuilder>& members, bool share = true);

  private:
    Bytes directory(std::vector<std::pair<Bytes, std::uint32_t>>& stored, std::size_t& end,
                    bool share) const;

    std::uint32_t version_ = 0x00010000;
    std::optional<std::size_t> tableCount_;
    std::vector<Table> tables_;
};
