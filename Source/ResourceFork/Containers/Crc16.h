#pragma once

#include <array>
#include <cstdint>

#include "ByteView.h"

/// CRC-16/XMODEM: polynomial 0x1021, initial value 0, nothing reflected or inverted. Guards the
/// headers of MacBinary and the parts of BinHex. `crc` continues an earlier computation.
inline std::uint16_t crc16(ByteView bytes, std::uint16_t crc = 0) {
    static constexpr auto kTable = [] {
        std::array<std::uint16_t, 256> table{};
        for (unsigned i = 0; i < 256; ++i) {
            unsigned value = i << 8;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 0x8000) != 0 ? value << 1 ^ 0x1021 : value << 1;
            }
            table[i] = static_cast<std::uint16_t>(value);
        }
        return table;
    }();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned index = (crc >> 8 ^ bytes.u8(i)) & 0xFF;
        crc = static_cast<std::uint16_t>(crc << 8 ^ kTable[index]);
    }
    return crc;
}
