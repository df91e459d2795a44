#include "BlockPool.h"

#include <algorithm>

namespace {

constexpr std::size_t kCacheLine = 64;  // two blocks in one would slow both their users

}  // namespace

std::uint8_t* BlockPool::take(std::size_t size) {
    const std::size_t needed =
        (std::max<std::size_t>(size, 1) + kCacheLine - 1) / kCacheLine * kCacheLine;
    // The first gap that is large enough: what is in use stays together at the start.
    std::size_t offset = 0;
    auto next = blocks_.begin();
    while (next != blocks_.end() && next->first - offset < needed) {
        offset = next->first + next->second;
        ++next;
    }
    if (offset > size_ || size_ - offset < needed) {
        return nullptr;
    }
    if (memory_.size() == 0) {
        memory_.resize(size_);
    }
    blocks_.emplace_hint(next, offset, needed);
    inUse_ += needed;
    return memory_.data() + offset;
}

void BlockPool::giveBack(const std::uint8_t* block) {
    const auto found = blocks_.find(static_cast<std::size_t>(block - memory_.data()));
    inUse_ -= found->second;
    blocks_.erase(found);
}
