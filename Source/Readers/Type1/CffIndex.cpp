#include "CffIndex.h"

namespace {

constexpr std::uint64_t kCountSize = 2;
constexpr std::uint64_t kOffsets = 3;  // behind the count and the size of an offset
constexpr std::uint32_t kLargestOffset = 4;

}  // namespace

CffIndex::CffIndex(ByteView file, std::uint64_t offset, const char* field)
    : file_(file), offset_(offset), field_(field), count_(file.u16be(offset, field)) {
    if (count_ == 0) {
        return;
    }
    offsetSize_ = file.u8(offset + kCountSize, field);
    if (offsetSize_ == 0 || offsetSize_ > kLargestOffset) {
        throw CffDamage("offset size " + std::to_string(offsetSize_) + ", should be 1 to 4", field,
                        offset + kCountSize);
    }
    file.slice(offset + kOffsets, count_ + 1, offsetSize_, field);
}

// Offsets count from the byte before the first object.
std::uint64_t CffIndex::place(std::uint32_t number) const {
    std::uint64_t value = 0;
    const std::uint64_t at = offset_ + kOffsets + std::uint64_t{number} * offsetSize_;
    for (std::uint32_t i = 0; i < offsetSize_; ++i) {
        value = value << 8 | file_.u8(at + i, field_);
    }
    return offset_ + kOffsets + (std::uint64_t{count_} + 1) * offsetSize_ + value - 1;
}

ByteView CffIndex::object(std::uint32_t number) const {
    if (number >= count_) {
        throw CffDamage("object " + std::to_string(number) + " of " + std::to_string(count_),
                        field_, offset_);
    }
    const std::uint64_t first = place(number);
    const std::uint64_t last = place(number + 1);
    if (last < first) {
        throw CffDamage("object " + std::to_string(number) + " ends before it begins", field_,
                        offset_);
    }
    return file_.slice(first, static_cast<std::uint32_t>(last - first), 1, field_);
}

std::uint64_t CffIndex::end() const {
    return count_ == 0 ? offset_ + kCountSize : place(count_);
}
