#include "LookAhead.h"

#include <unistd.h>

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace {

// Gives the calling thread a table of descriptors of its own, without any but the three standard
// ones: what it opens takes nothing from the descriptors that the limit leaves to the others.
bool separateDescriptors() {
#if defined(__SANITIZE_THREAD__)
    return true;  // that sanitizer takes equal numbers for one descriptor, whatever their tables
#elif defined(CLOSE_RANGE_UNSHARE)
    return ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_UNSHARE) == 0;
#else
    return false;
#endif
}

}  // namespace

LookAhead::LookAhead(unsigned helpers, std::size_t budget, const PathQueue& paths,
                     ReadsWhole readsWhole)
    : paths_(paths), readsWhole_(std::move(readsWhole)), blocks_(budget) {
    helpers_.reserve(helpers);
    try {
        while (helpers_.size() < helpers) {
            helpers_.emplace_back([this] { help(); });
        }
    } catch (const std::system_error&) {
        // No more threads to be had: those that run do, and without any the reader does it all.
    }
}

LookAhead::~LookAhead() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    freed_.notify_all();
    for (std::thread& helper : helpers_) {
        helper.join();
    }
}

void LookAhead::help() {
    if (!separateDescriptors()) {
        return;
    }
    Lanes lanes;
    Lock lock(mutex_);
    while (!stopping_) {
        bool isReading = false;
        for (Lane& lane : lanes) {
            while (lane.entry == nullptr && !atEnd_ && !isFarAhead() && !stopping_) {
                claim(lock, lane);
            }
            isReading = isReading || lane.entry != nullptr;
        }
        if (isReading) {
            advance(lock, lanes);
        } else if (atEnd_) {
            return;
        } else if (!stopping_) {
            freed_.wait(lock);
        }
    }
}

// Takes the next file that nobody has claimed, and leaves the lane without one if it is not to be
// read ahead.
void LookAhead::claim(Lock& lock, Lane& lane) {
    next_ = std::max(next_, begun_);
    lane.number = next_++;
    lock.unlock();
    bool isOpen = false;
    bool isThere = true;
    try {
        boost::filesystem::path path;
        isThere = paths_.peek(lane.number, path) != PathQueue::Place::NotThereYet;
        isOpen = !path.empty() && readsWhole_(path) && open(path, lane.file);
    } catch (...) {
        // Out of memory, or a parser's trouble: the reader meets it if it matters.
    }
    if (!isOpen) {
        lane.file.reset();
    }
    lock.lock();
    atEnd_ = atEnd_ || !isThere;
    // When its turn has begun meanwhile, the reader is quicker by itself.
    if (isOpen && lane.number >= begun_) {
        startReading(lane);
    }
}

bool LookAhead::open(const boost::filesystem::path& path, std::optional<FileBytes>& file) {
    // The status first: opening a device is not without effect.
    return regularFileSize(path).has_value() && file.emplace().open(path) &&
           file->size() < kTooLargeToRead;
}

bool LookAhead::isFarAhead() const {
    return bytesAhead_ > kMostBytesAhead || entries_.size() > kMostFilesAhead;
}

void LookAhead::startReading(Lane& lane) {
    const auto size = static_cast<std::size_t>(lane.file->size());
    try {
        // References to elements of a map stay good, and nobody but its helper touches an entry
        // that is being read.
        Entry& entry = entries_[lane.number];
        entry.version = lane.file->version();
        bytesAhead_ += size;
        entry.block = blocks_.take(size);
        if (entry.block != nullptr) {
            lane.reading = FileReading(*lane.file, size, entry.block, size);
        } else {
            lane.piece.resize(FileReading::kPiece);
            lane.reading = FileReading(*lane.file, size, lane.piece.data(), lane.piece.size());
        }
        lane.entry = &entry;
    } catch (const std::bad_alloc&) {
        drop(lane.number);
    }
}

void LookAhead::advance(Lock& lock, Lanes& lanes) {
    lock.unlock();
    std::array<FileReading*, kMd5Lanes> readings{};
    std::size_t count = 0;
    for (Lane& lane : lanes) {
        if (lane.entry != nullptr) {
            readings[count++] = &lane.reading;
        }
    }
    FileReading::advance({readings.data(), count});
    for (Lane& lane : lanes) {
        if (lane.entry != nullptr && lane.reading.isDone()) {
            lane.isWhole = lane.reading.bytesRead() == lane.file->size() &&
                           lane.file->isStill(lane.entry->version);
            lane.file.reset();
        }
    }
    lock.lock();
    bool isAwaitedDone = false;
    for (Lane& lane : lanes) {
        const bool isOver = lane.number < ended_;
        if (lane.entry == nullptr || (lane.file && !isOver)) {
            continue;
        }
        if (isOver || !lane.isWhole) {
            drop(lane.number);
        } else {
            lane.entry->md5 = lane.reading.md5();
            lane.entry->ready = true;
        }
        lane.entry = nullptr;
        isAwaitedDone = isAwaitedDone || lane.number == awaited_;
    }
    if (isAwaitedDone) {
        lock.unlock();
        filled_.notify_one();
        lock.lock();
    }
}

void LookAhead::drop(std::size_t number) {
    const auto entry = entries_.find(number);
    if (entry != entries_.end()) {
        if (entry->second.block != nullptr) {
            blocks_.giveBack(entry->second.block);
        }
        bytesAhead_ -= entry->second.version.size;
        entries_.erase(entry);
    }
}

void LookAhead::wakeHelpers() {
    // Not for every file: waking a thread costs about as much as parsing a small font.
    if (bytesAhead_ <= kMostBytesAhead / 2 && entries_.size() <= kMostFilesAhead / 2) {
        freed_.notify_all();
    }
}

void LookAhead::beginTurn(std::size_t number) {
    const std::lock_guard lock(mutex_);
    begun_ = number + 1;
}

FileBytes::Supplied LookAhead::supply(std::size_t number, const FileVersion& version,
                                      std::size_t padding, ByteBuffer& buffer, md5_state_t& md5) {
    Lock lock(mutex_);
    auto found = entries_.find(number);
    awaited_ = number;
    while (found != entries_.end() && !found->second.ready) {
        filled_.wait(lock);
        found = entries_.find(number);
    }
    awaited_.reset();
    if (found == entries_.end() || found->second.version != version) {
        return FileBytes::Supplied::Nothing;
    }
    // Nobody but the reader touches an entry that is ready.
    const Entry& entry = found->second;
    lock.unlock();
    // Copied, since the reader keeps its buffer for as long as it likes; and on its way to the
    // checksums the file has to come to this processor's cache anyway.
    const auto size = static_cast<std::size_t>(version.size);
    const bool kept = entry.block != nullptr;
    if (kept) {
        buffer.resize(size + padding);
        std::copy_n(entry.block, size, buffer.data());
        std::fill_n(buffer.data() + size, padding, std::uint8_t{0});
    }
    md5 = entry.md5;
    lock.lock();
    drop(number);
    wakeHelpers();
    return kept ? FileBytes::Supplied::Everything : FileBytes::Supplied::Digest;
}

void LookAhead::endTurn(std::size_t number) {
    const std::lock_guard lock(mutex_);
    ended_ = number + 1;
    const auto entry = entries_.find(number);
    if (entry == entries_.end() || !entry->second.ready) {
        return;  // a helper lets go of what it has in hand
    }
    drop(number);
    wakeHelpers();
}

LookAhead::Turn::Turn(LookAhead& lookAhead, std::size_t number)
    : lookAhead_(lookAhead), number_(number) {
    lookAhead_.beginTurn(number);
    FileBytes::setSupplier(this);
}

LookAhead::Turn::~Turn() {
    FileBytes::setSupplier(nullptr);
    lookAhead_.endTurn(number_);
}

FileBytes::Supplied LookAhead::Turn::supply(const FileVersion& version, std::size_t padding,
                                            ByteBuffer& buffer, md5_state_t& md5) {
    FileBytes::setSupplier(nullptr);  // other files may be read in between
    const FileBytes::Supplied supplied = lookAhead_.supply(number_, version, padding, buffer, md5);
    FileBytes::setSupplier(this);
    return supplied;
}
