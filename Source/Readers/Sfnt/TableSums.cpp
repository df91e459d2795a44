#include "TableSums.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "SfntFont.h"

namespace {

// Each byte of so many words can be summed in 16 bits.
constexpr std::size_t kBlock = 256;

// Up to kBlock words, as the machine has them: bytes 0 and 2 of a word are summed apart from bytes
// 1 and 3, so that nothing is turned round before it is added. Compilers make vector instructions
// of this loop.
std::uint32_t blockSum(const std::uint8_t* bytes, std::size_t words) {
    std::uint32_t even = 0;
    std::uint32_t odd = 0;
    for (std::size_t i = 0; i < words; ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes + 4 * i, sizeof word);
        even += word & 0x00FF00FF;
        odd += word >> 8 & 0x00FF00FF;
    }
    if constexpr (std::endian::native == std::endian::big) {
        return (odd >> 16 << 24) + (even & 0xFFFF0000) + (odd << 8 & 0x00FFFF00) + (even & 0xFFFF);
    }
    return (even << 24) + ((odd & 0xFFFF) << 16) + (even >> 16 << 8) + (odd >> 16);
}

}  // namespace

std::uint32_t bigEndianSum(ByteView bytes) {
    const std::size_t words = bytes.size() / 4;
    std::uint32_t sum = 0;
    for (std::size_t done = 0; done < words; done += kBlock) {
        sum += blockSum(bytes.data() + 4 * done, std::min(kBlock, words - done));
    }
    for (std::size_t i = 4 * words; i < bytes.size(); ++i) {
        sum += std::uint32_t{bytes.u8(i)} << (24 - 8 * (i % 4));
    }
    return sum;
}

bool TableSums::knows(std::uint32_t offset, std::uint32_t length) const {
    return sums_.find({offset, length}) != sums_.end();
}

TableSums::Sum TableSums::of(std::uint32_t offset, std::uint32_t length) {
    const auto [known, isNew] = sums_.try_emplace({offset, length});
    Sum& sum = known->second;
    if (isNew) {
        const std::uint64_t whole = length / 4 * std::uint64_t{4};
        const std::uint32_t start = bigEndianSum(image_.clamped(offset, whole));
        sum.zeroFilled = start + bigEndianSum(image_.clamped(offset + whole, length % 4));
        sum.fileFilled =
            start + bigEndianSum(image_.clamped(offset + whole, length % 4 == 0 ? 0 : 4));
    }
    return sum;
}

std::uint32_t TableSums::whole(std::span<const FontTable> tables) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> places;
    places.reserve(tables.size());
    for (const FontTable& table : tables) {
        places.emplace_back(table.offset, table.length);
    }
    std::sort(places.begin(), places.end());
    std::uint32_t sum = 0;
    std::uint64_t end = 0;
    for (const auto& [offset, length] : places) {
        if (offset % 4 != 0 || offset < end || !image_.holds(offset, length)) {
            return bigEndianSum(image_);
        }
        sum += bigEndianSum(image_.clamped(end, offset - end)) + of(offset, length).fileFilled;
        end = offset + (std::uint64_t{length} + 3) / 4 * 4;
    }
    return sum + bigEndianSum(image_.clamped(end, image_.size()));
}
