#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ByteView.h"
#include "FinderInfo.h"

/// AppleSingle and AppleDouble files (RFC 1740, appendices A and B), big-endian:
///
///     magic 4 | version 4 | filler 16 | number of entries 2 | entries 12 each | …
///     entry: id 4 | offset from the file's start 4 | length 4
///
/// AppleSingle holds both forks of a file, AppleDouble all but the data fork.
namespace appledouble {

constexpr std::uint32_t kSingleMagic = 0x00051600;
constexpr std::uint32_t kDoubleMagic = 0x00051607;
constexpr std::size_t kHeaderSize = 26;
constexpr std::size_t kEntrySize = 12;
/// Headers with a longer table of entries are not read.
constexpr std::size_t kHeaderLimit = std::size_t{64} * 1024;

enum class Entry : std::uint32_t { eDataFork = 1, eResourceFork = 2, eFinderInfo = 9 };

/// Place of an entry's bytes in the file. It lies inside the file and is never empty.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

struct Layout {
    bool isSingle = false;
    std::optional<Extent> dataFork;  // of AppleSingle
    std::optional<Extent> resourceFork;
    std::optional<Extent> finderInfo;
    bool clamped = false;   // the fork's length was stale and now ends with the file
    bool forkLost = false;  // the table names a fork that does not lie in the file
};

/// Whether magic and version can be missing: some files of old Netatalk servers lack them.
enum class Strictness { eStrict, eOldNetatalk };

/// Whether a file that begins so is marked as one of them.
bool hasMagic(ByteView start);

/// Bytes that the header takes, entries included, by its first kHeaderSize bytes; at most
/// kHeaderLimit. Nothing when these are no header.
std::optional<std::size_t> headerSize(ByteView start, Strictness strictness);

/// Reads the header of a file of `fileSize` bytes; `header` must hold what headerSize says.
/// Nothing when it is none: a wrong magic or version, no entries, a table past the file's end.
/// Entries that lie outside the file or over the header are left out; of two with one id the first
/// counts; zero-length entries and unknown ids are nothing unusual.
std::optional<Layout> readHeader(ByteView header, std::uint64_t fileSize, Strictness strictness);

/// An AppleDouble file in the shape that Mac OS X writes: Finder information at 50, fork at 82.
std::vector<std::uint8_t> makeAppleDouble(const FinderInfo& info, ByteView resourceFork);

}  // namespace appledouble
