#include "MacBinary.h"

#include <algorithm>

#include "ByteWriter.h"
#include "Crc16.h"

namespace macbinary {

namespace {

constexpr std::uint64_t kNameLimit = 63;
constexpr std::uint32_t kForkLimit = 0x7FFFFF;  // of version I
constexpr std::size_t kTypeAt = 65;
constexpr std::size_t kDataLengthAt = 83;
constexpr std::size_t kSignatureAt = 102;
constexpr std::size_t kSecondaryAt = 120;
constexpr std::size_t kVersionAt = 122;
constexpr std::size_t kCrcAt = 124;
constexpr std::uint8_t kVersion2 = 129;
constexpr std::uint8_t kVersion3 = 130;
constexpr std::uint32_t kTrueTypeVersion = 0x00010000;

constexpr std::uint64_t padded(std::uint64_t length) {
    return (length + 127) / 128 * 128;
}

bool allOf(ByteView bytes, bool wantZero) {
    const auto* end = bytes.data() + bytes.size();
    return std::all_of(bytes.data(), end, [&](std::uint8_t b) { return (b == 0) == wantZero; });
}

// What all versions have in common.
bool hasHeaderShape(ByteView header) {
    return header.u32be(0) != kTrueTypeVersion && header.u8(0) == 0 && header.u8(74) == 0 &&
           header.u8(1) >= 1 && header.u8(1) <= kNameLimit;
}

// Version I has no signature; neither do version II files of writers that got the checksum wrong.
// So everything that the format says about the fields has to hold.
bool isUnsignedHeader(ByteView header, std::uint64_t fileSize) {
    const std::uint32_t data = header.u32be(kDataLengthAt);
    const std::uint32_t fork = header.u32be(kDataLengthAt + 4);
    const bool version1 = allOf(header.slice(101, 25), true);
    const bool badChecksum = header.u8(kVersionAt) == kVersion2;
    const bool plainFields = header.u8(82) == 0 && allOf(header.slice(2, header.u8(1)), false) &&
                             allOf(header.slice(kTypeAt, 8), false);
    const bool saneLengths = data <= kForkLimit && fork <= kForkLimit && data + fork != 0;
    const std::uint64_t end = fork == 0 ? kHeaderSize + data : kHeaderSize + padded(data) + fork;
    return (version1 || badChecksum) && plainFields && saneLengths && fileSize >= end;
}

FinderInfo finderInfoOf(ByteView header, bool hasLowFlags) {
    const unsigned low = hasLowFlags ? header.u8(101) : 0u;
    const auto flags = static_cast<std::uint16_t>(unsigned{header.u8(73)} << 8 | low);
    return FinderInfo::of(header.u32be(kTypeAt), header.u32be(kTypeAt + 4), flags);
}

}  // namespace

std::optional<Layout> readHeader(ByteView header, std::uint64_t fileSize) {
    if (header.size() < kHeaderSize || !hasHeaderShape(header)) {
        return std::nullopt;
    }
    const bool version3 = header.u32be(kSignatureAt) == fourCharCode("mBIN");
    const bool rightChecksum = crc16(header.slice(0, kCrcAt)) == header.u16be(kCrcAt);
    Layout layout;
    layout.strong = version3 || rightChecksum;
    if (!layout.strong && !isUnsignedHeader(header, fileSize)) {
        return std::nullopt;
    }
    layout.finderInfo = finderInfoOf(header, layout.strong || header.u8(kVersionAt) != 0);
    layout.dataOffset = kHeaderSize + padded(header.u16be(kSecondaryAt));
    layout.dataLength = header.u32be(kDataLengthAt);
    layout.forkOffset = layout.dataOffset + padded(layout.dataLength);
    layout.forkLength = header.u32be(kDataLengthAt + 4);
    return layout;
}

std::vector<std::uint8_t> makeMacBinary(std::string_view name, const FinderInfo& info,
                                        ByteView dataFork, ByteView resourceFork) {
    const std::string_view kept = name.substr(0, kNameLimit);
    ByteWriter out;
    out.u8(0).u8(static_cast<std::uint8_t>(kept.size())).text(kept).zeros(kNameLimit - kept.size());
    out.u32be(info.type()).u32be(info.creator());
    out.u8(static_cast<std::uint8_t>(info.flags() >> 8)).zeros(kDataLengthAt - out.size());
    out.u32be(static_cast<std::uint32_t>(dataFork.size()));
    out.u32be(static_cast<std::uint32_t>(resourceFork.size())).zeros(101 - out.size());
    out.u8(static_cast<std::uint8_t>(info.flags())).text("mBIN").zeros(kVersionAt - out.size());
    out.u8(kVersion3).u8(kVersion2).u16be(crc16(out.view())).u16be(0);
    out.bytes(dataFork).padTo(kHeaderSize).bytes(resourceFork).padTo(kHeaderSize);
    return out.take();
}

}  // namespace macbinary
