#include "LookAhead.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <new>
#include <span>
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
    : paths_(paths), readsWhole_(std::move(readsWhole)), budget_(budget), blocks_(budget) {
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
        claim(lock, lanes);
        if (std::any_of(lanes.begin(), lanes.end(), std::mem_fn(&Lane::isReading))) {
            advance(lock, lanes);
        } else if (atEnd_) {
            return;
        } else if (!stopping_ && !mayClaim(lanes)) {
            freed_.wait(lock);
        }
    }
}

// Gives each lane without a file the next one that nobody has claimed, if that is to be read ahead.
void LookAhead::claim(Lock& lock, Lanes& lanes) {
    std::array<Lane*, kMd5Lanes> free{};
    std::size_t count = 0;
    if (mayClaim(lanes)) {
        next_ = std::max(next_, begun_);
        for (Lane& lane : lanes) {
            if (!lane.isReading()) {
                lane.number = next_++;
                free[count++] = &lane;
            }
        }
    }
    if (count == 0) {
        return;
    }
    lock.unlock();
    bool isEndSeen = false;
    for (Lane* const lane : std::span(free.data(), count)) {
        lane->file.reset();
        isEndSeen = isEndSeen || !open(*lane);
    }
    lock.lock();
    atEnd_ = atEnd_ || isEndSeen;
    for (Lane* const lane : std::span(free.data(), count)) {
        // When its turn has begun meanwhile, the reader is quicker by itself.
        if (lane->file && lane->number >= begun_) {
            startReading(*lane);
        }
    }
}

// Opens the lane's file, if that is to be read ahead; false when there is no such path yet.
bool LookAhead::open(Lane& lane) {
    boost::filesystem::path path;
    try {
        if (paths_.peek(lane.number, path) == PathQueue::Place::eNotThereYet) {
            return false;
        }
        // The status first: opening a device is not without effect.
        if (path.empty() || !readsWhole_(path) || !regularFileSize(path) ||
            !lane.file.emplace().open(path) || lane.file->size() >= kTooLargeToRead) {
            lane.file.reset();
        }
    } catch (...) {
        // Out of memory, or a parser's trouble: the reader meets it if it matters.
        lane.file.reset();
    }
    return true;
}

bool LookAhead::mayClaim(const Lanes& lanes) const {
    if (atEnd_ || bytesAhead_ > kMostBytesAhead || entries_.size() > kMostFilesAhead) {
        return false;
    }
    // Small files wait for memory, unless a large one in hand needs them beside it.
    return !isFull_ || std::any_of(lanes.begin(), lanes.end(), [](const Lane& lane) {
        return lane.isReading() && lane.file->size() > kSmall;
    });
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
        isFull_ = isFull_ || (entry.block == nullptr && size <= kSmall);
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
        if (lane.isReading()) {
            readings[count++] = &lane.reading;
        }
    }
    FileReading::advance({readings.data(), count});
    for (Lane& lane : lanes) {
        if (lane.isReading() && lane.reading.isDone()) {
            lane.isWhole = lane.reading.bytesRead() == lane.file->size() &&
                           lane.file->isStill(lane.entry->version);
            lane.file.reset();
        }
    }
    lock.lock();
    bool isAwaitedDone = false;
    for (Lane& lane : lanes) {
        const bool isOver = lane.number < ended_;
        if (!lane.isReading() || (lane.file && !isOver)) {
            continue;
        }
        if (isOver || !lane.isWhole) {
            drop(lane.number);
            wakeHelpers();
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
            blocks_.giveBack(entry->second.block, entry->second.version.size);
        }
        bytesAhead_ -= entry->second.version.size;
        entries_.erase(entry);
    }
}

void LookAhead::wakeHelpers() {
    // Not for every file: waking a thread costs about as much as parsing a small font, and one file
    // takes as long as many side by side.
    if (blocks_.inUse() <= budget_ / 2 && bytesAhead_ <= kMostBytesAhead / 2 &&
        entries_.size() <= kMostFilesAhead / 2) {
        isFull_ = false;
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
        return FileBytes::Supplied::eNothing;
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
    return kept ? FileBytes::Supplied::eEverything : FileBytes::Supplied::eDigest;
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
