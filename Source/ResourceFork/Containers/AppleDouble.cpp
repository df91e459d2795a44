#include "AppleDouble.h"

#include <algorithm>

#include "ByteWriter.h"

namespace appledouble {

namespace {

constexpr std::uint32_t kVersion1 = 0x00010000;
constexpr std::uint32_t kVersion2 = 0x00020000;
constexpr std::size_t kCountAt = 24;

bool startsHeader(ByteView start, Strictness strictness) {
    if (start.size() < kHeaderSize) {
        return false;
    }
    const std::uint32_t magic = start.u32be(0);
    const std::uint32_t version = start.u32be(4);
    const bool lenient = strictness == Strictness::eOldNetatalk;
    return (hasMagic(start) || (lenient && magic == 0)) &&
           (version == kVersion1 || version == kVersion2 || (lenient && version == 0));
}

struct RawEntry {
    std::uint32_t id = 0;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

RawEntry entryAt(ByteView header, std::size_t index) {
    const std::size_t at = kHeaderSize + kEntrySize * index;
    return {header.u32be(at), header.u32be(at + 4), header.u32be(at + 8)};
}

// The entry's part of the file; nothing when that is empty or lies over the header.
std::optional<Extent> extentOf(const RawEntry& entry, std::size_t headerEnd,
                               std::uint64_t fileSize) {
    if (entry.length == 0 || entry.offset < headerEnd || entry.offset >= fileSize) {
        return std::nullopt;
    }
    return Extent{entry.offset, std::min(entry.length, fileSize - entry.offset)};
}

}  // namespace

bool hasMagic(ByteView start) {
    return start.holds(0, 4) && (start.u32be(0) == kSingleMagic || start.u32be(0) == kDoubleMagic);
}

std::optional<std::size_t> headerSize(ByteView start, Strictness strictness) {
    if (!startsHeader(start, strictness)) {
        return std::nullopt;
    }
    const std::size_t size = kHeaderSize + kEntrySize * start.u16be(kCountAt);
    return size > kHeaderSize && size <= kHeaderLimit ? std::optional(size) : std::nullopt;
}

std::optional<Layout> readHeader(ByteView header, std::uint64_t fileSize, Strictness strictness) {
    const std::optional<std::size_t> size = headerSize(header, strictness);
    if (!size || *size > header.size() || *size > fileSize) {
        return std::nullopt;
    }
    Layout layout;
    layout.isSingle = header.u32be(0) == kSingleMagic;
    bool forkSeen = false;
    bool infoSeen = false;
    const bool unmarked = header.u32be(0) == 0 || header.u32be(4) == 0;
    for (std::size_t i = 0; i < header.u16be(kCountAt); ++i) {
        const RawEntry entry = entryAt(header, i);
        const std::optional<Extent> extent = extentOf(entry, *size, fileSize);
        if (unmarked && entry.length != 0 && !extent) {
            return std::nullopt;  // without magic, only a consistent table is believed
        }
        if (entry.id == static_cast<std::uint32_t>(Entry::eResourceFork) && !forkSeen) {
            forkSeen = true;
            layout.resourceFork = extent;
            layout.clamped = extent && extent->length != entry.length;
            // Old Netatalk servers keep the length of a fork that is empty by now.
            layout.forkLost = !extent && entry.length != 0 && entry.offset != fileSize;
        } else if (entry.id == static_cast<std::uint32_t>(Entry::eFinderInfo) && !infoSeen) {
            infoSeen = true;
            layout.finderInfo = extent;
        } else if (entry.id == static_cast<std::uint32_t>(Entry::eDataFork) && !layout.dataFork) {
            layout.dataFork = extent;
        }
    }
    return layout;
}

std::vector<std::uint8_t> makeAppleDouble(const FinderInfo& info, ByteView resourceFork) {
    constexpr std::uint32_t kInfoAt = kHeaderSize + 2 * kEntrySize;
    constexpr std::uint32_t kForkAt = kInfoAt + FinderInfo::kSize;
    ByteWriter out;
    out.u32be(kDoubleMagic).u32be(kVersion2).text("Mac OS X        ").u16be(2);
    out.u32be(static_cast<std::uint32_t>(Entry::eFinderInfo)).u32be(kInfoAt);
    out.u32be(FinderInfo::kSize);
    out.u32be(static_cast<std::uint32_t>(Entry::eResourceFork)).u32be(kForkAt);
    out.u32be(static_cast<std::uint32_t>(resourceFork.size()));
    out.bytes(info.view()).bytes(resourceFork);
    return out.take();
}

}  // namespace appledouble
