#include "ByteBuffer.h"

#include <sys/mman.h>

#include <bit>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

// The smallest block. A larger one has room for twice as much as asked for, so that a row of ever
// larger files does not need a fresh one each time; what is not used takes no memory.
constexpr std::size_t kSmallest = std::size_t{256} * 1024;  // a whole number of pages
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

thread_local ByteBuffer::Spare* theSpare = nullptr;

}  // namespace

void ByteBuffer::Free::operator()(std::uint8_t* block) const {
    if (kExact) {
        std::free(block);
    } else {
        ::munmap(block, size);
    }
}

void ByteBuffer::resize(std::size_t size) {
    if (size > capacity() || (capacity() > kKept && size < capacity() / 4) ||
        (kExact && size != capacity())) {
        bytes_.reset();
        size_ = 0;
        if (theSpare != nullptr) {
            bytes_ = std::move(theSpare->block_);
        }
        if (size > capacity()) {
            bytes_.reset();
            bytes_ = allocate(size);
        }
    }
    size_ = size;
}

void ByteBuffer::release() {
    if (theSpare != nullptr && !kExact && capacity() <= kKept) {
        theSpare->block_ = std::move(bytes_);
    }
    bytes_.reset();
    size_ = 0;
}

ByteBuffer::Block ByteBuffer::allocate(std::size_t size) {
    Block block;
    if (kExact) {
        block = {static_cast<std::uint8_t*>(std::malloc(size)), Free{size}};
    } else {
        const std::size_t pages = (size + kSmallest - 1) / kSmallest * kSmallest;
        for (const std::size_t room : {std::bit_ceil(pages), pages}) {
            if (!block) {
                block = {mapBlock(room), Free{room}};
            }
        }
    }
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

ByteBuffer::Spare::Spare() {
    theSpare = this;
}

ByteBuffer::Spare::~Spare() {
    theSpare = nullptr;
}
