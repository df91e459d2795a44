#include "StrikeRecord.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::uint64_t kType = 0;
constexpr std::uint64_t kFirst = 2;
constexpr std::uint64_t kLast = 4;
constexpr std::uint64_t kUpperPlace = 10;
constexpr std::uint64_t kHeight = 14;
constexpr std::uint64_t kWidthsPlace = 16;
constexpr std::uint64_t kRowWords = 24;
constexpr std::uint64_t kRows = 26;
constexpr std::uint16_t kDepthBits = 0x000C;  // none: one bit a point
constexpr std::uint16_t kNoGlyph = 0xFFFF;

}  // namespace

StrikeRecord::StrikeRecord(ByteView strike) {
    try {
        readTables(strike);
    } catch (const ReadPastEnd& end) {
        defects.push_back({end.field(), end.offset(),
                           "ends at " + std::to_string(strike.size()) + ", should be at least " +
                               std::to_string(end.offset() + end.count())});
    }
}

void StrikeRecord::readTables(ByteView strike) {
    const std::uint64_t rowWords = strike.u16be(kRowWords, "words in a row");
    const std::uint64_t height = strike.u16be(kHeight);
    if (rowWords == 0 || height == 0) {
        return;
    }
    const int first = strike.s16be(kFirst);
    const int last = strike.s16be(kLast);
    if (first > last) {
        defects.push_back({"last character", kLast,
                           std::to_string(last) + ", should be at least " + std::to_string(first)});
        return;
    }
    const std::int16_t upper = strike.s16be(kUpperPlace);
    const std::uint64_t words =
        (upper > 0 ? static_cast<std::uint64_t>(upper) << 16 : 0) | strike.u16be(kWidthsPlace);
    Shape shape{};
    shape.entries = static_cast<std::uint64_t>(last - first) + 3;
    shape.imageEnd = kRows + 2 * rowWords * height;
    shape.widths = kWidthsPlace + 2 * words;
    shape.rowBits = 16 * rowWords;
    // Deeper images are longer, by how much is told differently; their places are not looked at.
    shape.places = (strike.u16be(kType) & kDepthBits) == 0 ? shape.imageEnd : 0;
    if (shape.imageEnd > strike.size()) {
        defects.push_back({"rows", kRows,
                           "end at " + std::to_string(shape.imageEnd) + ", should be at most " +
                               std::to_string(strike.size())});
        shape.places = 0;
    }
    readGlyphs(strike, shape);
}

void StrikeRecord::readGlyphs(ByteView strike, const Shape& shape) {
    const ByteView widths = strike.clamped(shape.widths, 2 * shape.entries);
    if (widths.size() < 2 * shape.entries) {
        defects.push_back({"offset and width table", shape.widths,
                           "ends at " + std::to_string(shape.widths + 2 * shape.entries) +
                               ", should be at most " + std::to_string(strike.size())});
    }
    const ByteView places =
        shape.places == 0 ? ByteView() : strike.clamped(shape.places, 2 * shape.entries);
    bool placesRight = true;
    for (std::uint64_t i = 0; 2 * i + 1 < widths.size(); ++i) {
        if (widths.u16be(2 * i) == kNoGlyph) {
            continue;
        }
        ++glyphs;
        if (placesRight && places.holds(2 * i, 4)) {
            const std::uint16_t from = places.u16be(2 * i);
            const std::uint16_t to = places.u16be(2 * i + 2);
            if (from > to || to > shape.rowBits) {
                placesRight = false;
                defects.push_back({"places of glyphs", shape.places + 2 * i,
                                   std::to_string(from) + " to " + std::to_string(to) +
                                       ", should rise to at most " +
                                       std::to_string(shape.rowBits)});
            }
        }
    }
}
