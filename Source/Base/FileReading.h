#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Md5.h"

class FileBytes;

/// An open file on its way into a block: read piece by piece, each piece digested while it is still
/// in the cache, so that a file's bytes pass through memory once.
class FileReading {
  public:
    /// As much as is read at a time.
    static constexpr std::size_t kPiece = std::size_t{64} * 1024;

    FileReading() = default;
    /// Will read the first `size` bytes of `file` into `block`, which has `room` bytes: at least
    /// `size`, or kPiece for a file that is only digested. Both must outlive the reading.
    FileReading(const FileBytes& file, std::size_t size, std::uint8_t* block, std::size_t room);

    /// Reads and digests a piece of each of the readings, of which there is at least one and at
    /// most kMd5Lanes, and none is done. Those that are at hand together are digested side by side.
    static void advance(std::span<FileReading* const> readings);

    /// Whether the whole file has been read, or as much as there was before its end or an error.
    bool isDone() const { return ended_ && digested_ == read_; }
    std::size_t bytesRead() const { return read_; }
    const md5_state_t& md5() const { return md5_; }

  private:
    std::size_t blocksAtHand() const;
    std::uint8_t* at(std::size_t offset) const { return block_ + offset % room_; }
    void readPiece();
    void digest(std::size_t count);

    const FileBytes* file_ = nullptr;
    std::size_t size_ = 0;
    std::uint8_t* block_ = nullptr;
    std::size_t room_ = 1;
    std::size_t read_ = 0;
    std::size_t digested_ = 0;
    bool ended_ = false;
    md5_state_t md5_{};
};
