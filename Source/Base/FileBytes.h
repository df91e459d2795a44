#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ByteView.h"
#include "Md5.h"

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
        void operator()(std::uint8_t* p) const;
    };
    std::unique_ptr<std::uint8_t[], Free> bytes_;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
};

/// Files of this size or more are not read.
constexpr std::uint64_t kTooLargeToRead = std::uint64_t{1} << 31;
/// The diagnostic of a file that is too large, or that memory does not suffice for.
constexpr char kTooLargeText[] = "Font file is too large to read";

/// Size of a regular file, links followed. Nothing for anything else (a folder, FIFO, socket or
/// device has no readable status as far as fonts go) and when the status query fails.
std::optional<std::uint64_t> regularFileSize(const boost::filesystem::path& file);

/// One file, opened for one sequential read into a buffer.
///
/// Reading goes piece by piece, and each piece is digested while it is still in the cache, so a
/// file costs one read and one digest and its bytes pass through memory once.
class FileBytes {
  public:
    FileBytes() = default;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;
    ~FileBytes();

    /// Opens `file` without ever blocking on it; false when it cannot be opened or is no regular
    /// file. size() is then the file's length.
    bool open(const boost::filesystem::path& file);
    std::uint64_t size() const { return size_; }

    /// Reads at most `count` bytes at `offset` into `out`, without touching the sequential read;
    /// answers the number of bytes read, fewer at the file's end or after an error.
    std::size_t readAt(std::uint64_t offset, std::uint8_t* out, std::size_t count) const;

    /// Reads the whole file into `buffer`, which becomes size() + `padding` bytes long (the padding
    /// and bytes that could not be read are zero), and digests what was read. Answers the number
    /// of bytes read.
    std::size_t readAll(ByteBuffer& buffer, std::size_t padding = 0);
    /// The digest of the bytes that readAll read, as lower-case hexadecimal text.
    std::string digest();

  private:
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
    md5_state_t md5_{};
};
