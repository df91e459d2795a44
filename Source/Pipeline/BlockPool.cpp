#include "BlockPool.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t kCacheLine = 64;  // two blocks in one would slow both their users

std::size_t needed(std::size_t size) {
    return (std::max<std::size_t>(size, 1) + kCacheLine - 1) / kCacheLine * kCacheLine;
}

}  // namespace

BlockPool::BlockPool(std::size_t size) : size_(size), gaps_{{0, size}} {}

std::uint8_t* BlockPool::take(std::size_t size) {
    const std::size_t wanted = needed(size);
    // The first gap that is large enough: what is in use stays together at the start.
    const auto gap = std::find_if(gaps_.begin(), gaps_.end(),
                                  [wanted](const auto& g) { return g.second >= wanted; });
    if (gap == gaps_.end()) {
        return nullptr;
    }
    if (memory_.size() == 0) {
        memory_.resize(size_);
    }
    const auto [offset, room] = *gap;
    if (room > wanted) {
        gaps_.emplace_hint(std::next(gap), offset + wanted, room - wanted);
    }
    gaps_.erase(gap);
    inUse_ += wanted;
    return memory_.data() + offset;
}

void BlockPool::giveBack(const std::uint8_t* block, std::size_t size) {
    auto offset = static_cast<std::size_t>(block - memory_.data());
    std::size_t room = needed(size);
    inUse_ -= room;
    // It grows together with the gaps beside it.
    auto next = gaps_.lower_bound(offset);
    if (next != gaps_.end() && next->first == offset + room) {
        room += next->second;
        next = gaps_.erase(next);
    }
    if (next != gaps_.begin() && std::prev(next)->first + std::prev(next)->second == offset) {
        std::prev(next)->second += room;
    } else {
        gaps_.emplace_hint(next, offset, room);
    }
}
