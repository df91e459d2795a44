#include "SfntKerning.h"

#include <algorithm>

namespace {

constexpr int kVersion = 11800;
constexpr int kPairs = 11803;

constexpr SfntTag kKern = fourCharCode("kern");
constexpr std::uint32_t kPairSize = 6;

// The two layouts of the table (OpenType, kern; TrueType Reference Manual, 'kern').
struct Layout {
    std::uint32_t version;
    unsigned width;         // of the version and of the count
    unsigned lengthOffset;  // in a subtable's header
    unsigned formatOffset;
    unsigned headerSize;
};
constexpr Layout kMicrosoft = {0, 2, 2, 4, 6};
constexpr Layout kApple = {0x00010000, 4, 0, 5, 8};

std::uint32_t number(ByteView bytes, std::uint64_t offset, unsigned width, const char* field) {
    return width == 2 ? bytes.u16be(offset, field) : bytes.u32be(offset, field);
}

// Where the next subtable begins. Lengths of 16 bits are too short for many pairs; tools leave
// their upper half out.
std::uint64_t end(const Layout& layout, std::uint64_t start, std::uint32_t length,
                  std::uint64_t pairs) {
    const std::uint64_t real = layout.headerSize + 8 + pairs * kPairSize;
    return start +
           (layout.width == 2 && real > 0xFFFF && (real & 0xFFFF) == length ? real : length);
}

void readSubtables(SfntFont& font, const FontTable& table, const Layout& layout) {
    const ByteView bytes = table.bytes;
    const std::uint32_t count = number(bytes, layout.width, layout.width, "nTables");
    std::uint64_t start = std::uint64_t{2} * layout.width;
    std::uint64_t met = 0;
    bool any = false;
    for (std::uint32_t i = 0; i < count && font.spend(64); ++i) {
        const std::uint32_t length =
            number(bytes, start + layout.lengthOffset, layout.width, "subtable length");
        std::uint64_t pairs = 0;
        if (bytes.u8(start + layout.formatOffset, "subtable format") == 0) {
            any = true;
            pairs = bytes.u16be(start + layout.headerSize, "nPairs");
            const std::uint64_t first = start + layout.headerSize + 8;
            const std::uint64_t room =
                first >= bytes.size() ? 0 : (bytes.size() - first) / kPairSize;
            if (pairs > room && !table.isCut()) {
                font.find(eError, kPairs,
                          std::to_string(pairs) + ", room for " + std::to_string(room),
                          font.place(table, "nPairs", start + layout.headerSize));
            }
            met += std::min(pairs, room);
        }
        const std::uint64_t next = end(layout, start, length, pairs);
        if (next < start + layout.headerSize || next >= bytes.size()) {
            break;  // the last one's length does not matter
        }
        start = next;
    }
    if (any) {
        font.face().set("kerningPairs", met);
    }
}

void readTable(SfntFont& font, const FontTable& table) {
    const std::uint32_t version = table.bytes.u16be(0, "version");
    if (version == kMicrosoft.version) {
        readSubtables(font, table, kMicrosoft);
    } else if (table.bytes.u32be(0, "version") == kApple.version) {
        readSubtables(font, table, kApple);
    } else {
        font.find(eWarning, kVersion, std::to_string(version) + ", should be 0 or 0x00010000",
                  font.place(table, "version"));
    }
}

}  // namespace

void readKerning(SfntFont& font) {
    if (const FontTable* table = font.table(kKern)) {
        font.attempt(*table, [&] { readTable(font, *table); });
    }
}
