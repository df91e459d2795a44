#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

#include "ByteBuffer.h"

/// Blocks of any size out of one piece of memory, which is asked for at the first block and touched
/// only as far as it is used. Not for several threads at once.
class BlockPool {
  public:
    explicit BlockPool(std::size_t size);

    /// A block of at least `size` bytes with unspecified contents; null when there is no room for
    /// it now. Throws std::bad_alloc.
    std::uint8_t* take(std::size_t size);
    /// `size` as it was asked for.
    void giveBack(const std::uint8_t* block, std::size_t size);

    std::size_t inUse() const { return inUse_; }

  private:
    const std::size_t size_;
    ByteBuffer memory_;
    std::map<std::size_t, std::size_t> gaps_;  // offset and size of what is not in use
    std::size_t inUse_ = 0;
};
