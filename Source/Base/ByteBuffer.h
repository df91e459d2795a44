#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// A memory block that is kept from file to file and grows to the largest.
class ByteBuffer {
  public:
    /// Makes the block at least `size` bytes long; its contents are unspecified afterwards. Throws
    /// std::bad_alloc and then holds nothing.
    void resize(std::size_t size);
    void release();

    std::uint8_t* data() { return bytes_.get(); }
    const std::uint8_t* data() const { return bytes_.get(); }
    std::size_t size() const { return size_; }

  private:
    struct Free {
        std::size_t size;
        void operator()(std::uint8_t* block) const;
    };
    std::unique_ptr<std::uint8_t[], Free> bytes_;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
};
