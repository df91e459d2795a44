#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "ByteView.h"
#include "FourCharCode.h"

/// The 32 bytes that the Finder keeps for a file: type at 0, creator at 4, flags at 8, then place,
/// icon and comment (Inside Macintosh: Macintosh Toolbox Essentials, FInfo and FXInfo). Big-endian,
/// as on disk. All zero stands for "nothing known".
struct FinderInfo {
    static constexpr std::size_t kSize = 32;

    std::array<std::uint8_t, kSize> bytes{};

    /// The first 32 of `source`; what is missing is zero.
    static FinderInfo from(ByteView source) {
        FinderInfo info;
        const ByteView part = source.clamped(0, kSize);
        std::copy_n(part.data(), part.size(), info.bytes.begin());
        return info;
    }
    static FinderInfo of(std::uint32_t type, std::uint32_t creator, std::uint16_t flags = 0) {
        FinderInfo info;
        for (std::size_t i = 0; i < 4; ++i) {
            info.bytes[i] = static_cast<std::uint8_t>(type >> (24 - 8 * i));
            info.bytes[4 + i] = static_cast<std::uint8_t>(creator >> (24 - 8 * i));
        }
        info.bytes[8] = static_cast<std::uint8_t>(flags >> 8);
        info.bytes[9] = static_cast<std::uint8_t>(flags);
        return info;
    }

    ByteView view() const { return ByteView(bytes.data(), bytes.size()); }
    std::uint32_t type() const { return view().u32be(0); }
    std::uint32_t creator() const { return view().u32be(4); }
    std::uint16_t flags() const { return view().u16be(8); }
    bool empty() const {
        return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
    }
    friend bool operator==(const FinderInfo&, const FinderInfo&) = default;
};
