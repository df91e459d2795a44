#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "ByteView.h"
#include "FinderInfo.h"

/// MacBinary I to III files (MacBinary II standard, 1987; MacBinary III proposal, 1996): a header
/// of 128 bytes, a secondary header, the data fork and the resource fork, each padded to a multiple
/// of 128. All numbers are big-endian.
namespace macbinary {

constexpr std::size_t kHeaderSize = 128;

struct Layout {
    FinderInfo finderInfo;
    std::uint64_t dataOffset = 0;
    std::uint64_t dataLength = 0;
    std::uint64_t forkOffset = 0;
    std::uint64_t forkLength = 0;  // may reach past the file's end
    /// Known by the signature of version III or the checksum of version II. A weak header is only
    /// to be believed when its resource fork is plausible.
    bool strong = false;
};

/// The layout of a file of `fileSize` bytes that starts with `header`; nothing when that is no
/// MacBinary header.
std::optional<Layout> readHeader(ByteView header, std::uint64_t fileSize);

/// A MacBinary III file. `name` is Mac Roman, cut at 63 bytes.
std::vector<std::uint8_t> makeMacBinary(std::string_view name, const FinderInfo& info,
                                        ByteView dataFork, ByteView resourceFork);

}  // namespace macbinary
