#pragma once

#include <cstdint>
#include <optional>

#include "ByteView.h"
#include "FinderInfo.h"

/// Headers of 512 bytes that Helios servers put before a fork in .rsrc/NAME, big-endian (the layout
/// is that of mkhybrid's apple.h):
///
///     EtherShare: 0x03681093 | serial 4 | version 0x0102 | … | Finder information 32 at 32
///     UShare:     type 4 | creator 4 | flags 2 | …
namespace ethershare {

constexpr std::uint64_t kHeaderSize = 512;

/// The Finder information of an EtherShare header; nothing when it is none.
inline std::optional<FinderInfo> finderInfoOfEtherShare(ByteView header) {
    constexpr std::size_t kFinderInfoAt = 32;
    if (header.size() < kFinderInfoAt + FinderInfo::kSize || header.u32be(0) != 0x03681093 ||
        header.u16be(8) != 0x0102) {
        return std::nullopt;
    }
    return FinderInfo::from(header.from(kFinderInfoAt));
}

/// The Finder information of a UShare header, which nothing marks: only a plausible fork behind it
/// tells that it is one.
inline FinderInfo finderInfoOfUShare(ByteView header) {
    return FinderInfo::from(header.clamped(0, 10));
}

}  // namespace ethershare
