#include "SfntFont.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "SfntFields.h"
#include "TextDecoding.h"

namespace {

constexpr int kTableCount = 11001;
constexpr int kVersion = 11002;
constexpr int kDirectoryEnd = 20101;
constexpr int kTableOutside = 20102;
constexpr int kUnreadable = 20103;
constexpr int kNamedTwice = 20105;

constexpr std::uint32_t kHeaderSize = 12;
constexpr std::uint32_t kRecordSize = 16;
constexpr std::uint64_t kFindingWork = 1024;

struct Version {
    std::uint32_t number;
    const char* platform;
};

constexpr Version kVersions[] = {
    {0x00010000, "MacOrWindows"},
    {fourCharCode("OTTO"), "Open Type"},
    {fourCharCode("true"), "Macintosh"},
    {fourCharCode("typ1"), "Macintosh"},
};

// By falling weight.
constexpr SfntTag kGlyphTables[] = {
    fourCharCode("glyf"), fourCharCode("CFF "), fourCharCode("CFF2"), fourCharCode("EBDT"),
    fourCharCode("bdat"), fourCharCode("sbix"), fourCharCode("CBDT"),
};

unsigned width(SfntField::Kind kind) {
    switch (kind) {
        case SfntField::eU16:
        case SfntField::eS16:
            return 2;
        case SfntField::eDate:
            return 8;
        default:
            return 4;
    }
}

}  // namespace

std::string tagText(SfntTag tag) {
    std::array<char, 4> bytes;
    for (unsigned i = 0; i < 4; ++i) {
        bytes[i] = static_cast<char>(tag >> (24 - 8 * i));
    }
    return fromUnstated(std::string_view(bytes.data(), bytes.size()));
}

std::string hexadecimal(std::uint64_t number, int digits) {
    std::array<char, 24> text;
    std::snprintf(text.data(), text.size(), "0x%0*llx", digits,
                  static_cast<unsigned long long>(number));
    return text.data();
}

SfntFont::SfntFont(Face& face, SfntShared& shared, std::uint64_t start)
    : face_(face), shared_(shared) {
    try {
        readDirectory(start);
    } catch (const ReadPastEnd& error) {
        find(kDirectoryEnd,
             std::string(error.field()) + " at " + std::to_string(error.offset()) + " of " +
                 std::to_string(shared_.image.size()) + " bytes",
             {.offset = error.offset()});
    }
}

void SfntFont::readDirectory(std::uint64_t start) {
    const ByteView image = shared_.image;
    version_ = image.u32be(start, "sfntVersion");
    const auto* known = std::find_if(std::begin(kVersions), std::end(kVersions),
                                     [this](const Version& v) { return v.number == version_; });
    if (known != std::end(kVersions)) {
        face_.record().setAttribute(ePlatform, known->platform);
    } else {
        find(eError, kVersion, hexadecimal(version_) + ", should be 0x00010000, OTTO, true or typ1",
             {.field = "sfntVersion", .offset = start});
    }
    const std::uint32_t count = image.u16be(start + 4, "numTables");
    if (count == 0 || count > kMostTables) {
        find(eError, kTableCount,
             std::to_string(count) + ", should be 1 to " + std::to_string(kMostTables),
             {.field = "numTables", .offset = start + 4});
    }
    const std::uint32_t taken = std::min(count, kMostTables);
    if (!spend(std::uint64_t{taken} * kRecordSize * 4)) {
        return;
    }
    tables_.reserve(std::min<std::size_t>(taken, image.size() / kRecordSize));
    for (std::uint32_t i = 0; i < taken; ++i) {
        const std::uint64_t at = start + kHeaderSize + std::uint64_t{i} * kRecordSize;
        addTable(image.slice(at, 1, kRecordSize, "tableRecord"));
    }
    tellNamedTwice();
}

void SfntFont::addTable(ByteView record) {
    FontTable table;
    table.tag = record.u32be(0);
    table.stored = record.u32be(4);
    table.offset = record.u32be(8);
    table.length = record.u32be(12);
    table.bytes = shared_.image.clamped(table.offset, table.length);
    tables_.push_back(table);
    if (table.isCut() && shared_.origin == SfntOrigin::eOriginal) {
        find(kTableOutside,
             std::to_string(table.length) + " bytes at " + std::to_string(table.offset) + ", of " +
                 std::to_string(shared_.image.size()) + " in all",
             place(table));
    }
}

void SfntFont::tellNamedTwice() {
    std::vector<SfntTag> tags;
    tags.reserve(tables_.size());
    for (const FontTable& table : tables_) {
        tags.push_back(table.tag);
    }
    std::sort(tags.begin(), tags.end());
    const auto twice = std::adjacent_find(tags.begin(), tags.end());
    if (twice != tags.end()) {
        find(kNamedTwice, tagText(*twice), {.table = tagText(*twice)});
    }
}

const FontTable* SfntFont::table(SfntTag tag) const {
    const auto found = std::find_if(tables_.begin(), tables_.end(),
                                    [tag](const FontTable& table) { return table.tag == tag; });
    if (found != tables_.end()) {
        return &*found;
    }
    return tag == fourCharCode("head") ? table(fourCharCode("bhed")) : nullptr;
}

SfntTag SfntFont::glyphTable() const {
    const auto* found = std::find_if(std::begin(kGlyphTables), std::end(kGlyphTables),
                                     [this](SfntTag tag) { return has(tag); });
    return found == std::end(kGlyphTables) ? 0 : *found;
}

std::uint32_t SfntFont::glyphCount() const {
    return static_cast<std::uint32_t>(value(fields::kNumGlyphs).value_or(0x10000));
}

std::optional<std::int64_t> SfntFont::value(const SfntField& field) const {
    const FontTable* table = this->table(field.table);
    if (table == nullptr || !table->bytes.holds(field.offset, width(field.kind))) {
        return std::nullopt;
    }
    const ByteView bytes = table->bytes;
    switch (field.kind) {
        case SfntField::eU16:
            return bytes.u16be(field.offset);
        case SfntField::eS16:
            return bytes.s16be(field.offset);
        case SfntField::eU32:
            return bytes.u32be(field.offset);
        case SfntField::eFixed:
            return bytes.s32be(field.offset);
        case SfntField::eDate:
            return static_cast<std::int64_t>(std::uint64_t{bytes.u32be(field.offset)} << 32 |
                                             bytes.u32be(field.offset + 4));
    }
    return std::nullopt;
}

std::optional<std::int64_t> SfntFont::require(const SfntField& field) {
    const std::optional<std::int64_t> found = value(field);
    const FontTable* table = found ? nullptr : this->table(field.table);
    if (table != nullptr) {
        tellUnreadable(*table, field.name, field.offset, width(field.kind));
    }
    return found;
}

void SfntFont::find(int code, const std::string& detail, FontDiagnosticPlace where) {
    if (spend(kFindingWork)) {
        face_.find(code, detail, std::move(where));
    }
}

void SfntFont::find(FontDiagnosticType severity, int code, const std::string& detail,
                    FontDiagnosticPlace where) {
    if (spend(kFindingWork)) {
        face_.find(severity, code, detail, std::move(where));
    }
}

FontDiagnosticPlace SfntFont::place(const FontTable& table, const char* field,
                                    std::uint64_t offset) const {
    FontDiagnosticPlace where = {.table = tagText(table.tag), .field = field};
    if (shared_.origin == SfntOrigin::eOriginal) {
        where.offset = table.offset + offset;
    }
    return where;
}

void SfntFont::tellUnreadable(const FontTable& table, const char* field, std::uint64_t offset,
                              std::uint64_t count) {
    // Once a table: what follows in it cannot be read either. An empty one is as good as none, and
    // of one that is cut off it is said.
    if (table.length == 0 || table.isCut() ||
        std::find(unreadable_.begin(), unreadable_.end(), table.tag) != unreadable_.end()) {
        return;
    }
    unreadable_.push_back(table.tag);
    find(kUnreadable,
         std::string(field) + ", " + std::to_string(count) + " bytes at " + std::to_string(offset) +
             " of a table of " + std::to_string(table.length),
         place(table, field, offset));
}
