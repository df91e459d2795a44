#include "FileBytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>

#include "FileReading.h"

namespace {

// Blocks grow in such steps, so that a row of slightly larger files does not allocate each time.
constexpr std::size_t kGrowth = std::size_t{256} * 1024;  // a whole number of pages
// A block beyond this is given back when the next file needs much less.
constexpr std::size_t kKept = std::size_t{64} << 20;

std::size_t readFully(int descriptor, std::uint8_t* out, std::size_t count, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t n =
            ::pread(descriptor, out + done, count - done, static_cast<off_t>(offset + done));
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

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

FileVersion versionOf(const struct stat& status) {
    const auto nanoseconds = [](const timespec& time) {
        return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
    };
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

thread_local FileBytes::Supplier* theSupplier = nullptr;

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

std::optional<std::uint64_t> regularFileSize(const boost::filesystem::path& file) {
    struct stat status;
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

FileBytes::~FileBytes() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool FileBytes::open(const boost::filesystem::path& file) {
    // Not blocking: the file may have been replaced by a FIFO since its status was read.
    descriptor_ = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor_ < 0) {
        return false;
    }
    struct stat status;
    if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor_);
        descriptor_ = -1;
        return false;
    }
    version_ = versionOf(status);
    return true;
}

bool FileBytes::isStill(const FileVersion& version) const {
    struct stat status;
    return ::fstat(descriptor_, &status) == 0 && versionOf(status) == version;
}

void FileBytes::setSupplier(Supplier* supplier) {
    theSupplier = supplier;
}

std::size_t FileBytes::readAt(std::uint64_t offset, std::uint8_t* out, std::size_t count) const {
    return descriptor_ < 0 ? 0 : readFully(descriptor_, out, count, offset);
}

std::size_t FileBytes::readAll(ByteBuffer& buffer, std::size_t padding) {
    const auto size = static_cast<std::size_t>(version_.size);
    const Supplied supplied = theSupplier != nullptr && descriptor_ >= 0
                                  ? theSupplier->supply(version_, padding, buffer, md5_)
                                  : Supplied::Nothing;
    if (supplied == Supplied::Everything) {
        return size;
    }
    buffer.resize(size + padding);
    std::fill_n(buffer.data() + size, padding, std::uint8_t{0});
    if (supplied == Supplied::Digest && readAt(0, buffer.data(), size) == size &&
        isStill(version_)) {
        return size;
    }
    FileReading reading(*this, size, buffer.data(), size);
    while (!reading.isDone()) {
        FileReading* const one = &reading;
        FileReading::advance({&one, 1});
    }
    md5_ = reading.md5();
    const std::size_t done = reading.bytesRead();
    std::fill_n(buffer.data() + done, size - done, std::uint8_t{0});
    return done;
}

std::string FileBytes::digest() {
    return md5FinishHex(&md5_);
}
