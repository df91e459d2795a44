#include "ByteBuffer.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

// Blocks grow in such steps, so that a row of slightly larger files does not allocate each time.
constexpr std::size_t kGrowth = std::size_t{256} * 1024;  // a whole number of pages
// A block beyond this is given back when the next file needs much less.
constexpr std::size_t kKept = std::size_t{64} << 20;

// Under the address sanitizer a block ends where its bytes end, so that no read past them is
// missed.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kExact = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kExact = true;
#else
constexpr bool kExact = false;
#endif
#else
constexpr bool kExact = false;
#endif

constexpr std::size_t kHugePage = std::size_t{2} << 20;

// Straight from the system, and given back to it: blocks of all sizes come and go on several
// threads, and what an allocator would keep of them for later is more than all that are in use.
std::uint8_t* mapBlock(std::size_t size) {
    // A large block's first use costs a page fault for every page; with huge pages, which start at
    // a multiple of their size, there are 512 times fewer of them.
    const bool huge = size >= kHugePage;
    const std::size_t slack = huge ? kHugePage : 0;
    void* const mapped =
        ::mmap(nullptr, size + slack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    auto* const start = static_cast<std::uint8_t*>(mapped);
    void* aligned = mapped;
    std::size_t room = size + slack;
    if (huge && std::align(kHugePage, size, aligned, room) != nullptr) {
        const std::size_t before = size + slack - room;
        if (before > 0) {
            ::munmap(start, before);
        }
        if (before < slack) {
            ::munmap(start + before + size, slack - before);
        }
#ifdef MADV_HUGEPAGE
        ::madvise(aligned, size, MADV_HUGEPAGE);
#endif
    }
    return static_cast<std::uint8_t*>(aligned);
}

std::uint8_t* allocate(std::size_t size) {
    return kExact ? static_cast<std::uint8_t*>(std::malloc(size)) : mapBlock(size);
}

}  // namespace

void ByteBuffer::Free::operator()(std::uint8_t* block) const {
    if (kExact) {
        std::free(block);
    } else {
        ::munmap(block, size);
    }
}

void ByteBuffer::resize(std::size_t size) {
    if (size > capacity_ || (capacity_ > kKept && size < capacity_ / 4) ||
        (kExact && size != capacity_)) {
        release();
        const std::size_t rounded = kExact ? size : (size + kGrowth - 1) / kGrowth * kGrowth;
        bytes_ = {allocate(rounded), Free{rounded}};
        if (!bytes_) {
            throw std::bad_alloc();
        }
        capacity_ = rounded;
    }
    size_ = size;
}

void ByteBuffer::release() {
    bytes_.reset();
    capacity_ = 0;
    size_ = 0;
}
