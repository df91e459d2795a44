#include "KernTable.h"

#include <algorithm>
#include <cstdint>
#include <map>

namespace {

// Bytes that passes over one place have changed, by offset, as they were before.
using ChangedBytes = std::map<std::uint64_t, std::uint8_t>;

// A 'kern' subtable of classes may not be stepped over, and then up to 65,535 passes convert it to
// and fro. After so many of them it is looked whether all is as it was: a number that the lengths
// of the usual circles divide.
constexpr unsigned kPassesInPlace = 12;

bool isAsBefore(ByteView image, const ChangedBytes& changed) {
    return std::all_of(changed.begin(), changed.end(),
                       [&](const auto& byte) { return image.u8(byte.first) == byte.second; });
}

std::uint64_t readKerningPairs(SfntImage& image, std::uint64_t subtable, OxFont& font) {
    const std::uint16_t pairs = image.take16(subtable + 6, "nPairs");
    for (const unsigned field : {8u, 10u, 12u}) {
        image.convert16(subtable + field, "kern search field");
    }
    const std::uint16_t length = image.view().u16be(subtable + 2, "kern subtable length");
    const std::uint32_t bytes = std::uint32_t{pairs} * 6;
    if (pairs == 0 || bytes > length) {
        font.addDiagnostic(eWarning, 11803, "Invalid kerning subtable");
    }
    return subtable + 14 + bytes;
}

std::uint64_t readKerningClasses(SfntImage& image, std::uint64_t subtable, ChangedBytes& changed) {
    const auto convert = [&](std::uint64_t field, const char* name) {
        const ByteView bytes = image.view().slice(field, 2, 1, name);
        changed.try_emplace(field, bytes.u8(0));
        changed.try_emplace(field + 1, bytes.u8(1));
        image.convert16(field, name);
    };
    for (const unsigned field : {6u, 8u, 10u}) {
        convert(subtable + field, "kern class header");
    }
    const std::uint64_t left = subtable + image.view().u16le(subtable + 8, "left class table");
    const std::uint64_t right = subtable + image.view().u16le(subtable + 10, "right class table");
    for (const std::uint64_t field : {left, left + 2, right, right + 2}) {
        convert(field, "kern class table");
    }
    // Read where they were converted: class tables that overlap convert each other back.
    const std::uint64_t rowWidth = image.view().u16le(subtable + 6, "row width");
    const std::uint32_t glyphs = image.view().u16le(right + 2, "right class glyph count");
    return subtable + rowWidth * glyphs;
}

}  // namespace

bool readKerning(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font) {
    if (record.length <= 3) {
        font.addDiagnostic(eError, 11801, "Missing kerning table");
        return false;
    }
    SfntImage& image = reading.image;
    const std::uint64_t table = record.offset;
    image.convert16(table, "kern version");
    const std::uint16_t count = image.take16(table + 2, "kern subtable count");
    // Measured against the number of glyph pairs; the glyph count may be the previous font's.
    if (count == 0 || count > std::uint64_t{reading.glyphCount} * reading.glyphCount) {
        font.addDiagnostic(eWarning, 11802, "Invalid kerning subtable");
    }
    std::uint64_t subtable = table + 4;
    ChangedBytes changed;
    unsigned passesInPlace = 0;
    for (unsigned left = count; left > 0; --left) {
        reading.work.addStep();
        const std::uint64_t start = subtable;
        const std::uint8_t format = image.view().u8(start + 4, "kern subtable format");
        if (format == 0) {
            subtable = readKerningPairs(image, start, font);
        } else if (format == 2) {
            subtable = readKerningClasses(image, start, changed);
        } else {
            // An unknown format is not stepped over: all remaining passes see it again, unchanged.
            break;
        }
        passesInPlace = subtable == start ? passesInPlace + 1 : 0;
        if (passesInPlace == kPassesInPlace && isAsBefore(image.view(), changed)) {
            // They would go on in a circle; whole rounds of it change nothing.
            left = (left - 1) % kPassesInPlace + 1;
        }
        if (passesInPlace == kPassesInPlace || subtable != start) {
            passesInPlace = 0;
            changed.clear();
        }
    }
    return true;
}
