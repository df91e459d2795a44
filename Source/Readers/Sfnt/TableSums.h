#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>

#include "ByteView.h"

struct FontTable;

/// The sum of the big-endian 32-bit words of `bytes`; zeros fill the last one.
std::uint32_t bigEndianSum(ByteView bytes);

/// Sums over the bytes of one image, each made once: members of collections share tables.
/// (OpenType, "Calculating Checksums".)
class TableSums {
  public:
    explicit TableSums(ByteView image) : image_(image) {}

    /// Tools differ in what fills the last word of a table.
    struct Sum {
        std::uint32_t zeroFilled = 0;
        std::uint32_t fileFilled = 0;  // by the bytes that follow in the file
    };
    /// Of what the image has of a table.
    Sum of(std::uint32_t offset, std::uint32_t length);
    bool knows(std::uint32_t offset, std::uint32_t length) const;
    /// Of the whole image, from the tables' sums where they can be laid side by side.
    std::uint32_t whole(std::span<const FontTable> tables);

  private:
    ByteView image_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Sum> sums_;
};
