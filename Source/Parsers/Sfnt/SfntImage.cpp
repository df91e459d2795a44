#include "SfntImage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <iterator>

namespace {

// Sum of `words` big-endian words. Bytes are added by their place in the word, two places to a
// 32-bit lane, so that the compiler can vectorise the loop without byte shuffles; a lane's half
// holds the sum of 256 bytes.
std::uint32_t sumOfWords(ByteView bytes) {
    constexpr std::size_t kBatch = 256;
    const std::uint8_t* const data = bytes.data();
    const std::size_t words = bytes.size() / 4;
    std::uint32_t sum = 0;
    for (std::size_t start = 0; start < words; start += kBatch) {
        const std::size_t end = std::min(words, start + kBatch);
        std::uint32_t outer = 0;
        std::uint32_t inner = 0;
        for (std::size_t i = start; i < end; ++i) {
            std::uint32_t word;
            std::memcpy(&word, data + 4 * i, 4);
            outer += word & 0x00FF00FF;
            inner += word >> 8 & 0x00FF00FF;
        }
        if constexpr (std::endian::native == std::endian::little) {
            sum += (outer << 24) + (inner << 16) + (outer >> 16 << 8) + (inner >> 16);
        } else {
            sum += outer + (inner << 8);
        }
    }
    return sum;
}

std::uint32_t checksumOf(ByteView image, std::uint32_t offset, std::uint32_t length) {
    const std::uint32_t words = (length + 3) / 4;
    // A single word may lie wholly past the end, by a sum that wrapped when it was tested.
    const ByteView whole =
        words == 1 ? ByteView() : image.slice(offset, words - 1, 4, "table data");
    const std::uint64_t last = offset + std::uint64_t{words - 1} * 4;
    const ZeroPaddedView end(image.clamped(last, 4));
    return sumOfWords(whole) + end.u32be(0);
}

}  // namespace

void SfntImage::refer(std::uint8_t* data, std::size_t size) {
    forget();
    bytes_ = MutableByteView(data, size);
}

void SfntImage::forget() {
    bytes_ = MutableByteView();
    shared_ = false;
    conversions_.clear();
    converted_.clear();
    sums_.clear();
}

std::optional<std::uint64_t> SfntImage::placeOf(const void* p) const {
    const ByteView image = view();
    const auto* byte = static_cast<const std::uint8_t*>(p);
    const std::less<> before;
    if (image.empty() || before(byte, image.data()) || !before(byte, image.data() + image.size())) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(byte - image.data());
}

std::uint16_t SfntImage::take16(std::uint64_t offset, const char* field) {
    convert16(offset, field);
    return view().u16le(offset, field);
}

std::uint32_t SfntImage::take32(std::uint64_t offset, const char* field) {
    convert32(offset, field);
    return view().u32le(offset, field);
}

std::uint32_t SfntImage::checksum(std::uint32_t offset, std::uint32_t length) {
    if (static_cast<std::int32_t>(length) <= 0) {
        return 0;
    }
    if (!shared_ || isConverted(offset, (std::uint64_t{length} + 3) / 4 * 4)) {
        return checksumOf(view(), offset, length);
    }
    const std::pair key(offset, length);
    const auto known = sums_.find(key);
    if (known != sums_.end()) {
        return known->second;
    }
    const std::uint32_t sum = checksumOf(view(), offset, length);
    sums_.emplace(key, sum);
    return sum;
}

void SfntImage::beginSharing() {
    shared_ = true;
}

void SfntImage::undo() {
    std::for_each(conversions_.rbegin(), conversions_.rend(),
                  [this](const Conversion& c) { bytes_.reverse(c.offset, c.width); });
    conversions_.clear();
    converted_.clear();
}

void SfntImage::convert(std::uint64_t offset, unsigned width, const char* field) {
    bytes_.reverse(offset, width, field);
    if (shared_) {
        conversions_.push_back({static_cast<std::uint32_t>(offset), width});
        markConverted(offset, width);
    }
}

void SfntImage::markConverted(std::uint64_t offset, unsigned width) {
    std::uint64_t start = offset;
    std::uint64_t end = offset + width;
    auto next = converted_.upper_bound(start);
    if (next != converted_.begin() && std::prev(next)->second >= start) {
        --next;
        start = next->first;
    }
    while (next != converted_.end() && next->first <= end) {
        end = std::max(end, next->second);
        next = converted_.erase(next);
    }
    converted_.emplace_hint(next, start, end);
}

bool SfntImage::isConverted(std::uint64_t offset, std::uint64_t count) const {
    const auto next = converted_.lower_bound(offset + count);
    return next != converted_.begin() && std::prev(next)->second > offset;
}
