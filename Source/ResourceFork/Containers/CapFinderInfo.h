#pragma once

#include <optional>

#include "ByteView.h"
#include "FinderInfo.h"

/// A .finderinfo/NAME file of CAP and AUFS servers: Finder information 32 | AFP attributes 2 |
/// 0xFF | version | 0xDA | … (hfs_fs.h of old Linux kernels, hfs_cap_info).
inline std::optional<FinderInfo> finderInfoOfCap(ByteView file) {
    constexpr std::size_t kFirstMark = 34;
    constexpr std::size_t kSecondMark = 36;
    if (file.size() <= kSecondMark || file.u8(kFirstMark) != 0xFF || file.u8(kSecondMark) != 0xDA) {
        return std::nullopt;
    }
    return FinderInfo::from(file);
}
