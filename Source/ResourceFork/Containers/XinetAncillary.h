#pragma once

#include <optional>
#include <string_view>

#include "ByteView.h"
#include "CString.h"
#include "FinderInfo.h"

/// The .HSancillary file of XINET servers: one record of 300 bytes for each file of its folder,
/// type and creator at 8, the file's name (32 bytes, zero-terminated) at 254 (mkhybrid's apple.h).
inline std::optional<FinderInfo> finderInfoOfXinet(ByteView file, std::string_view name) {
    constexpr std::size_t kRecord = 300;
    constexpr std::size_t kTypeAt = 8;
    constexpr std::size_t kNameAt = 254;
    constexpr std::size_t kNameSize = 32;
    for (std::size_t at = 0; file.holds(at, kRecord); at += kRecord) {
        if (upToZero(file.slice(at + kNameAt, kNameSize).text()) == name) {
            return FinderInfo::from(file.slice(at + kTypeAt, 8));
        }
    }
    return std::nullopt;
}
