#include "FondRecord.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::uint64_t kStyleTableField = 24;
constexpr std::uint64_t kCountField = 52;
constexpr std::uint64_t kEntries = 54;
constexpr std::uint64_t kEntrySize = 6;
constexpr std::uint64_t kIndexes = 10;
constexpr std::uint64_t kNames = 58;

struct OffsetField {
    const char* name;
    std::uint64_t at;
};
constexpr OffsetField kOffsets[] = {
    {"offset of width tables", 16},
    {"offset of kerning tables", 20},
    {"offset of style table", kStyleTableField},
};

// The place in the style table: the bits of the style without that for underlining, which changes
// no name, so that outline, shadow, condensed and extended come one place down.
std::size_t styleIndex(std::uint16_t style) {
    return (style & 0x03u) | (style >> 1 & 0x3Cu);
}

}  // namespace

FondRecord::FondRecord(ByteView fond) {
    try {
        readEntries(fond);
        for (const OffsetField& field : kOffsets) {
            const std::uint32_t offset = fond.u32be(field.at, field.name);
            if (offset > fond.size()) {
                defects_.push_back({field.name, field.at,
                                    std::to_string(offset) + ", should be at most " +
                                        std::to_string(fond.size())});
            } else if (field.at == kStyleTableField && offset != 0) {
                readStyleTable(fond.from(offset), offset);
            }
        }
    } catch (const ReadPastEnd& end) {
        defects_.push_back({end.field(), end.offset(),
                            "ends at " + std::to_string(fond.size()) + ", should be at least " +
                                std::to_string(end.offset() + end.count())});
    }
}

void FondRecord::readEntries(ByteView fond) {
    // The count is stored less one; all ones stands for none.
    const unsigned count = (fond.u16be(kCountField, "number of entries") + 1u) & 0xFFFF;
    const std::uint64_t room = fond.from(kEntries).size() / kEntrySize;
    if (count > room) {
        defects_.push_back({"number of entries", kCountField,
                            std::to_string(count) + ", should be at most " + std::to_string(room)});
    }
    entries_.reserve(std::min<std::uint64_t>(count, room));
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, room); ++i) {
        const std::uint64_t at = kEntries + i * kEntrySize;
        entries_.push_back({fond.s16be(at), fond.u16be(at + 2), fond.s16be(at + 4)});
        hasOutline_ = hasOutline_ || entries_.back().isOutline();
    }
}

void FondRecord::readStyleTable(ByteView table, std::uint64_t at) {
    const ByteView indexes = table.clamped(kIndexes, kStyles);
    std::copy_n(indexes.data(), indexes.size(), indexes_.begin());
    if (!table.holds(kNames, 2)) {
        defects_.push_back({"style table", at,
                            std::to_string(table.size()) + " bytes, should be at least " +
                                std::to_string(kNames + 2)});
        return;
    }
    const std::size_t count = std::min<std::size_t>(table.u16be(kNames), kMostStrings);
    std::uint64_t next = kNames + 2;
    for (std::size_t i = 0; i < count; ++i) {
        if (!table.holds(next, 1) || !table.holds(next + 1, table.u8(next))) {
            defects_.push_back({"style name", at + next,
                                "number " + std::to_string(i + 1) + " lies past the end at " +
                                    std::to_string(at + table.size())});
            return;
        }
        const std::uint8_t length = table.u8(next);
        strings_.push_back(table.slice(next + 1, length).text());
        next += 1u + length;
    }
}

std::string_view FondRecord::string(std::size_t number) const {
    return number >= 1 && number <= strings_.size() ? strings_[number - 1] : std::string_view();
}

std::vector<std::string_view> FondRecord::nameParts(std::uint16_t style) const {
    std::vector<std::string_view> parts;
    if (baseName().empty()) {
        return parts;
    }
    parts.push_back(baseName());
    const std::size_t place = styleIndex(style);
    const std::uint8_t index = place < kStyles ? indexes_[place] : std::uint8_t{0};
    if (index > 1) {
        for (const char number : string(index)) {
            parts.push_back(string(static_cast<std::uint8_t>(number)));
        }
    }
    return parts;
}
