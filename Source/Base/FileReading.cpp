#include "FileReading.h"

#include <algorithm>
#include <array>

#include "FileBytes.h"

namespace {

constexpr std::size_t kMd5Block = 64;
// Small enough for a piece of each file to stay in the second-level cache between the read and the
// digest; a whole number of the digest's blocks.
constexpr std::size_t kPiece = 128 * 1024;

}  // namespace

FileReading::FileReading(const FileBytes& file, std::uint8_t* block, std::size_t size)
    : file_(&file), block_(block), size_(size), ended_(size == 0) {
    md5_init(&md5_);
}

void FileReading::advance(std::span<FileReading* const> readings) {
    std::array<FileReading*, kMd5Lanes> lanes{};
    std::array<Md5Piece, kMd5Lanes> pieces{};
    std::size_t count = 0;
    std::size_t blocks = 0;
    for (FileReading* reading : readings) {
        if (reading->blocksAtHand() == 0 && !reading->ended_) {
            reading->readPiece(kPiece);
        }
        const std::size_t atHand = reading->blocksAtHand();
        if (atHand == 0) {
            reading->digest(reading->read_ - reading->digested_);
            continue;
        }
        blocks = count == 0 ? atHand : std::min(blocks, atHand);
        pieces[count] = {&reading->md5_, reading->block_ + reading->digested_};
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

void FileReading::readPiece(std::size_t limit) {
    const std::size_t wanted = std::min(limit, size_ - read_);
    const std::size_t got = file_->readAt(read_, block_ + read_, wanted);
    read_ += got;
    ended_ = got < wanted || read_ == size_;
}

void FileReading::digest(std::size_t count) {
    md5_append(&md5_, block_ + digested_, count);
    digested_ += count;
}
