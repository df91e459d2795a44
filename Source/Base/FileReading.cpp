#include "FileReading.h"

#include <algorithm>
#include <array>

#include "FileBytes.h"

namespace {

constexpr std::size_t kMd5Block = 64;
// Small enough for a piece of each file to stay in the second-level cache between the read and the
// digest.
static_assert(FileReading::kPiece % kMd5Block == 0 && FileReading::kPiece <= 131072);

}  // namespace

FileReading::FileReading(const FileBytes& file, std::size_t size, std::uint8_t* block,
                         std::size_t room)
    : file_(&file),
      size_(size),
      block_(block),
      room_(std::max<std::size_t>(room, 1)),
      ended_(size == 0) {
    md5_init(&md5_);
}

void FileReading::advance(std::span<FileReading* const> readings) {
    std::array<FileReading*, kMd5Lanes> lanes{};
    std::array<Md5Piece, kMd5Lanes> pieces{};
    std::size_t count = 0;
    std::size_t blocks = 0;
    for (FileReading* reading : readings) {
        if (reading->blocksAtHand() == 0 && !reading->ended_) {
            reading->readPiece();
        }
        const std::size_t atHand = reading->blocksAtHand();
        if (atHand == 0) {
            reading->digest(reading->read_ - reading->digested_);
            continue;
        }
        blocks = count == 0 ? atHand : std::min(blocks, atHand);
        pieces[count] = {&reading->md5_, reading->at(reading->digested_)};
        lanes[count++] = reading;
    }
    if (count > 0) {
        md5AppendSideBySide({pieces.data(), count}, blocks);
    }
    for (std::size_t i = 0; i < count; ++i) {
        lanes[i]->digested_ += blocks * kMd5Block;
    }
}

std::size_t FileReading::blocksAtHand() const {
    return (read_ - digested_) / kMd5Block;
}

void FileReading::readPiece() {
    const std::size_t wanted = std::min(kPiece, size_ - read_);
    const std::size_t got = file_->readAt(read_, at(read_), wanted);
    read_ += got;
    ended_ = got < wanted || read_ == size_;
}

void FileReading::digest(std::size_t count) {
    md5_append(&md5_, at(digested_), count);
    digested_ += count;
}
