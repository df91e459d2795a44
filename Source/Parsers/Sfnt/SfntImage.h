#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "ByteView.h"

/// An sfnt font in memory, whose directory and tables are converted to host order in place.
///
/// Readers of damaged fonts with overlapping tables see earlier conversions; hosts rely on the
/// resulting checksums. The members of a collection each start from the file's own bytes: between
/// them the conversions are undone, and sums over bytes that were not converted are remembered.
class SfntImage {
  public:
    /// Makes the image refer to memory that the caller keeps alive.
    void refer(std::uint8_t* data, std::size_t size);
    /// Refers to nothing.
    void forget();

    ByteView view() const { return bytes_.view(); }
    /// Where in the image `p` points; nothing when it points elsewhere.
    std::optional<std::uint64_t> placeOf(const void* p) const;

    /// Converts a value in place; converted values are read through view() as little-endian.
    void convert16(std::uint64_t offset, const char* field) { convert(offset, 2, field); }
    void convert32(std::uint64_t offset, const char* field) { convert(offset, 4, field); }
    /// Converts in place and answers the value.
    std::uint16_t take16(std::uint64_t offset, const char* field);
    std::uint32_t take32(std::uint64_t offset, const char* field);

    /// The sfnt checksum: big-endian 32-bit words from `offset` on, as many as `length` bytes
    /// begin, added modulo 2^32. Zero for a length that is not positive as a signed number. The
    /// last word's bytes past the image's end count as zero; any other read past it throws.
    std::uint32_t checksum(std::uint32_t offset, std::uint32_t length);

    /// From now on conversions are recorded for undo() and sums are remembered.
    void beginSharing();
    /// Restores the file's bytes.
    void undo();

  private:
    struct Conversion {
        std::uint32_t offset;
        std::uint32_t width;
    };

    void convert(std::uint64_t offset, unsigned width, const char* field);
    void markConverted(std::uint64_t offset, unsigned width);
    bool isConverted(std::uint64_t offset, std::uint64_t count) const;

    MutableByteView bytes_;
    bool shared_ = false;
    std::vector<Conversion> conversions_;
    std::map<std::uint64_t, std::uint64_t> converted_;  // start to end, disjoint
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> sums_;
};
