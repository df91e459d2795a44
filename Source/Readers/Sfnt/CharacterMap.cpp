#include "CharacterMap.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::uint32_t kLast = 0xFFFF;  // of 16-bit codes and glyphs
constexpr std::uint64_t kGroupWork = 16;
constexpr std::uint64_t kGlyphWork = 4;

// Of a range; it costs by the pages that it touches.
std::uint64_t rangeWork(char32_t first, char32_t last) {
    return kGroupWork + (last - first) / 2;
}

constexpr char kGlyphField[] = "glyphIdArray";

}  // namespace

CharacterMap::CharacterMap(ByteView bytes, std::uint32_t glyphCount,
                           std::function<bool(std::uint64_t)> spend)
    : bytes_(bytes),
      glyphCount_(glyphCount),
      spend_(std::move(spend)),
      format_(bytes.u16be(0, "format")) {}

bool CharacterMap::knowsFormat(unsigned format) {
    constexpr unsigned kFormats[] = {0, 2, 4, 6, 8, 10, 12, 13};
    return std::find(std::begin(kFormats), std::end(kFormats), format) != std::end(kFormats);
}

void CharacterMap::addCodes(CharacterSet& codes) {
    codes_ = &codes;
    switch (format_) {
        case 0:
            return addByteCodes();
        case 2:
            return addMixedCodes();
        case 4:
            return addSegments();
        case 6:
            return addTrimmed(6, 2);
        case 8:
            return addGroups(12 + 8192, true);
        case 10:
            return addTrimmed(12, 4);
        case 12:
            return addGroups(12, true);
        case 13:
            return addGroups(12, false);
        default:
            return;
    }
}

void CharacterMap::addByteCodes() {
    const ByteView glyphs = bytes_.slice(6, 256, 1, kGlyphField);
    for (std::uint32_t code = 0; code < 256; ++code) {
        if (const std::uint32_t glyph = glyphs.u8(code); glyph != 0 && glyph < glyphCount_) {
            codes_->add(code);
        }
    }
}

// Format 2: a first byte with the key 0 is a code of its own, others select a row of second bytes.
void CharacterMap::addMixedCodes() {
    constexpr std::uint64_t kKeys = 6;
    constexpr std::uint64_t kHeaders = kKeys + 512;
    for (std::uint32_t high = 0; high < 256; ++high) {
        const std::uint64_t key = bytes_.u16be(kKeys + std::uint64_t{2} * high, "subHeaderKeys");
        const ByteView header = bytes_.slice(kHeaders + key, 8, 1, "subHeader");
        const std::uint32_t first = header.u16be(0);
        const std::uint32_t count = header.u16be(2);
        const std::uint64_t glyphs = kHeaders + key + 6 + header.u16be(6);
        if (key == 0) {
            if (high >= first && high - first < count) {
                addRow(high, 1, glyphs + std::uint64_t{2} * (high - first), header.u16be(4));
            }
        } else if (first < 256) {
            addRow(high << 8 | first, std::min(count, 256 - first), glyphs, header.u16be(4));
        }
    }
}

void CharacterMap::addSegments() {
    const std::uint32_t segments = bytes_.u16be(6, "segCountX2") / 2;
    const std::uint64_t ends = 14;
    const std::uint64_t starts = ends + std::uint64_t{2} * segments + 2;
    const std::uint64_t deltas = starts + std::uint64_t{2} * segments;
    const std::uint64_t offsets = deltas + std::uint64_t{2} * segments;
    static_cast<void>(bytes_.slice(ends, 4 * segments + 1, 2, "segments"));
    for (std::uint32_t i = 0; i < segments; ++i) {
        const std::uint64_t at = std::uint64_t{2} * i;
        const std::uint32_t first = bytes_.u16be(starts + at);
        const std::uint32_t last = bytes_.u16be(ends + at);
        const std::uint32_t offset = bytes_.u16be(offsets + at);
        // The last one is there to end a search; that an offset of 0xFFFF means no glyphs is a
        // habit of old tools.
        if (first > last || first == kLast || offset == kLast) {
            continue;
        }
        const std::uint64_t glyphs = offset == 0 ? 0 : offsets + at + offset;
        addSegment(first, last, bytes_.u16be(deltas + at), glyphs);
    }
}

// `glyphs`: where the segment's glyphs stand; 0 when they are the codes themselves.
void CharacterMap::addSegment(char32_t first, char32_t last, std::uint32_t delta,
                              std::uint64_t glyphs) {
    if (glyphs != 0) {
        addRow(first, last - first + 1, glyphs, delta);
        return;
    }
    if (!spend_(rangeWork(first, last))) {
        return;
    }
    const std::uint32_t glyph = (first + delta) & kLast;
    const char32_t beforeZero = first + (kLast - glyph);
    addRising(first, std::min(last, beforeZero), glyph);
    if (last > beforeZero) {
        addRising(beforeZero + 1, last, 0);
    }
}

void CharacterMap::addTrimmed(std::uint64_t header, unsigned width) {
    const std::uint32_t first =
        width == 2 ? bytes_.u16be(header, "firstCode") : bytes_.u32be(header, "startCharCode");
    const std::uint32_t count = width == 2 ? bytes_.u16be(header + width, "entryCount")
                                           : bytes_.u32be(header + width, "numChars");
    if (first <= CharacterSet::kLast) {
        addRow(first, std::min<std::uint32_t>(count, CharacterSet::kLast - first + 1),
               header + std::uint64_t{2} * width, 0);
    }
}

// Groups of {first code, last code, glyph}, whose glyphs rise with the codes or are all the same.
void CharacterMap::addGroups(std::uint64_t header, bool rising) {
    const std::uint32_t count = bytes_.u32be(header, "numGroups");
    for (std::uint32_t i = 0; i < count; ++i) {
        const ByteView group = bytes_.slice(header + 4 + std::uint64_t{12} * i, 12, 1, "group");
        const char32_t first = group.u32be(0);
        const char32_t last = std::min<char32_t>(group.u32be(4), CharacterSet::kLast);
        const std::uint32_t glyph = group.u32be(8);
        if (!spend_(first > last ? kGroupWork : rangeWork(first, last))) {
            return;
        }
        if (first > last) {
            continue;
        }
        if (rising) {
            addRising(first, last, glyph);
        } else if (glyph != 0 && glyph < glyphCount_) {
            codes_->addRange(first, last);
        }
    }
}

// `count` codes from `first` on, whose glyphs stand one after the other from `glyphs` on.
void CharacterMap::addRow(char32_t first, std::uint32_t count, std::uint64_t glyphs,
                          std::uint32_t delta) {
    if (!spend_(kGroupWork + count * kGlyphWork)) {
        return;
    }
    const auto room = static_cast<std::uint32_t>(
        glyphs >= bytes_.size() ? 0 : std::min<std::uint64_t>(count, (bytes_.size() - glyphs) / 2));
    char32_t runStart = first;
    for (std::uint32_t i = 0; i <= room; ++i) {
        const std::uint32_t stored = i < room ? bytes_.u16be(glyphs + std::uint64_t{2} * i) : 0;
        const std::uint32_t glyph = stored == 0 ? 0 : (stored + delta) & kLast;
        if (glyph != 0 && glyph < glyphCount_) {
            continue;
        }
        if (first + i > runStart) {
            codes_->addRange(runStart, first + i - 1);
        }
        runStart = first + i + 1;
    }
    if (room < count) {
        static_cast<void>(bytes_.u16be(glyphs + std::uint64_t{2} * room, kGlyphField));
    }
}

// Codes whose glyphs rise from `glyph` on.
void CharacterMap::addRising(char32_t first, char32_t last, std::uint32_t glyph) {
    if (glyph == 0) {
        ++first;
        ++glyph;
    }
    if (first > last || glyph >= glyphCount_) {
        return;
    }
    codes_->addRange(first, std::min<char32_t>(last, first + (glyphCount_ - 1 - glyph)));
}
