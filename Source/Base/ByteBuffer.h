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
    /// Holds nothing any more.
    void release();

    class Spare;

    std::uint8_t* data() { return bytes_.get(); }
    const std::uint8_t* data() const { return bytes_.get(); }
    std::size_t size() const { return size_; }

  private:
    struct Free {
        std::size_t size;
        void operator()(std::uint8_t* block) const;
    };
    using Block = std::unique_ptr<std::uint8_t[], Free>;

    static Block allocate(std::size_t size);
    std::size_t capacity() const { return bytes_ ? bytes_.get_deleter().size : 0; }

    Block bytes_;
    std::size_t size_ = 0;
};

/// While it lives, the last block that a buffer gave back on this thread waits for the next buffer
/// there that needs one: pages that are fresh from the system take long to clear. One at a time.
class ByteBuffer::Spare {
  public:
    Spare();
    Spare(const Spare&) = delete;
    Spare& operator=(const Spare&) = delete;
    ~Spare();

  private:
    friend class ByteBuffer;

    Block block_;
};
