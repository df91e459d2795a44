#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "ByteView.h"
#include "FinderInfo.h"

/// BinHex 4 files: text in which each character stands for 6 bits, run-length packed, of
///
///     name length 1 | name | 0 | type 4 | creator 4 | flags 2 | data length 4 | fork length 4 |
///     CRC 2 data fork | CRC 2 | resource fork | CRC 2
///
/// (Peter N. Lewis, BinHex 4.0 definition). Big-endian; the CRC is crc16.h's.
namespace binhex {

/// How much of a file is looked at for the announcing line.
constexpr std::size_t kLineWithin = 128;
/// The same in a file that is named .hqx.
constexpr std::size_t kLineWithinNamed = 4096;
/// How much text after the line suffices for a header, some blank lines included.
constexpr std::size_t kHeaderText = 2048;

/// Place of the text behind the announcing line, when the line begins inside `start`.
std::optional<std::size_t> findText(ByteView start);

struct Header {
    FinderInfo finderInfo;
    std::uint32_t dataLength = 0;
    std::uint32_t forkLength = 0;
};

/// Reads the header from text that findText found; nothing when it is damaged.
std::optional<Header> readHeader(ByteView text);

/// The next piece of the text; empty at its end. The piece stays valid until the next call.
using NextPiece = std::function<ByteView()>;

/// Decodes the resource fork from text that findText found. Nothing when the header is damaged or
/// the fork is longer than `limit`, incomplete or has a wrong CRC. Takes memory for what is there,
/// not for what is claimed, and time in proportion to the text.
std::optional<std::vector<std::uint8_t>> decodeFork(const NextPiece& next, std::uint64_t limit);

/// The same for the data fork.
std::optional<std::vector<std::uint8_t>> decodeDataFork(const NextPiece& next, std::uint64_t limit);

}  // namespace binhex
