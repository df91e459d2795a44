#pragma once

#include <optional>

#include "ByteView.h"
#include "FinderInfo.h"

/// The AFP_AfpInfo stream that Windows and Samba servers keep for Macs, 60 bytes, big-endian:
///
///     "AFP" 0 | version 0x00000100 | reserved 4 | backup time 4 | Finder information 32 | …
///
/// (Samba, source3/include/MacExtensions.h). A trailing byte is usual.
inline std::optional<FinderInfo> finderInfoOfAfpInfo(ByteView stream) {
    constexpr std::size_t kSize = 60;
    constexpr std::size_t kFinderInfoAt = 16;
    if (stream.size() < kSize || stream.u32be(0) != fourCharCode("AFP\0")) {
        return std::nullopt;
    }
    return FinderInfo::from(stream.from(kFinderInfoAt));
}
