#include "LookAhead.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>
#include <system_error>
#include <utility>

LookAhead::LookAhead(unsigned helpers, std::size_t budget, PathOf pathOf)
    : pathOf_(std::move(pathOf)), blocks_(budget) {
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

void LookAhead::Lane::clear() {
    file.reset();
    entry = nullptr;
}

void LookAhead::help() {
    Lanes lanes;
    Lane* waiting = nullptr;  // claims no further file meanwhile, or it would take what this needs
    bool more = true;
    Lock lock(mutex_);
    while (!stopping_) {
        if (waiting != nullptr && startReading(*waiting)) {
            waiting = nullptr;
        }
        for (Lane& lane : lanes) {
            while (!lane.file && more && waiting == nullptr && !stopping_) {
                more = claim(lock, lane);
                if (lane.file && !startReading(lane)) {
                    waiting = &lane;
                }
            }
        }
        if (std::any_of(lanes.begin(), lanes.end(), std::mem_fn(&Lane::isReading))) {
            advance(lock, lanes);
        } else if (waiting != nullptr) {
            freed_.wait(lock);
        } else {
            return;
        }
    }
}

// Answers whether there may be further files.
bool LookAhead::claim(Lock& lock, Lane& lane) {
    lane.number = next_++;
    try {
        const auto file = pathOf_(lane.number);
        if (!file) {
            return false;
        }
        if (!file->empty()) {
            entries_.try_emplace(lane.number);
            lock.unlock();
            lane.file.emplace();
            // The status first: opening a device is not without effect.
            const bool readable = regularFileSize(*file).has_value() && lane.file->open(*file) &&
                                  lane.file->size() < kTooLargeToRead;
            lock.lock();
            if (!readable) {
                drop(lane.number);
                lane.clear();
            }
        }
    } catch (const std::exception&) {
        // Out of memory: the reader meets the same, and says so.
        lane.clear();
    }
    return true;
}

bool LookAhead::isFarAhead() const {
    return bytesAhead_ > kMostBytesAhead || entries_.size() > kMostFilesAhead;
}

// False when the lane has to wait for the reader. Otherwise it reads, or is clear again.
bool LookAhead::startReading(Lane& lane) {
    const auto found = entries_.find(lane.number);
    if (found == entries_.end()) {
        lane.clear();
        return true;
    }
    if (isFarAhead()) {
        return false;
    }
    // References to elements of a map stay good, and nobody but its helper touches an entry that is
    // being read.
    Entry& entry = found->second;
    const auto size = static_cast<std::size_t>(lane.file->size());
    try {
        entry.block = blocks_.take(size);
        if (entry.block == nullptr) {
            lane.piece.resize(FileReading::kPiece);
        }
    } catch (const std::exception&) {
        drop(lane.number);
        lane.clear();
        return true;
    }
    entry.state = State::Reading;
    entry.version = lane.file->version();
    bytesAhead_ += size;
    lane.entry = &entry;
    lane.reading = entry.block != nullptr
                       ? FileReading(*lane.file, size, entry.block, size)
                       : FileReading(*lane.file, size, lane.piece.data(), lane.piece.size());
    return true;
}

void LookAhead::advance(Lock& lock, Lanes& lanes) {
    const std::optional<std::size_t> awaited = awaited_;
    lock.unlock();
    std::array<FileReading*, kMd5Lanes> readings{};
    std::size_t count = 0;
    for (Lane& lane : lanes) {
        if (lane.isReading()) {
            readings[count++] = &lane.reading;
            if (lane.number == awaited) {
                // The reader waits for this one; by itself it is done soonest.
                readings[0] = &lane.reading;
                count = 1;
                break;
            }
        }
    }
    FileReading::advance({readings.data(), count});
    std::array<bool, kMd5Lanes> whole{};
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        Lane& lane = lanes[i];
        if (lane.isReading() && lane.reading.isDone()) {
            whole[i] = lane.reading.bytesRead() == lane.file->size() &&
                       lane.file->isStill(lane.entry->version);
        }
    }
    lock.lock();
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        Lane& lane = lanes[i];
        if (lane.isReading() && lane.reading.isDone()) {
            lane.entry->state = State::Ready;
            lane.entry->md5 = lane.reading.md5();
            if (!whole[i] || !lane.entry->wanted) {
                drop(lane.number);
            }
            lane.clear();
            if (awaited_ == lane.number) {
                filled_.notify_one();
            }
        }
    }
}

void LookAhead::drop(std::size_t number) {
    const auto entry = entries_.find(number);
    if (entry != entries_.end()) {
        if (entry->second.block != nullptr) {
            blocks_.giveBack(entry->second.block);
        }
        bytesAhead_ -= entry->second.version.size;  // 0 as long as it is not being read
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
    next_ = std::max(next_, number + 1);
    const auto entry = entries_.find(number);
    if (entry != entries_.end() && entry->second.state == State::Waiting) {
        // No helper has begun to read it: the reader is quicker by itself.
        entries_.erase(entry);
        freed_.notify_all();
    }
}

FileBytes::Supplied LookAhead::supply(std::size_t number, const FileVersion& version,
                                      std::size_t padding, ByteBuffer& buffer, md5_state_t& md5) {
    Lock lock(mutex_);
    auto found = entries_.find(number);
    awaited_ = number;
    while (found != entries_.end() && found->second.state == State::Reading) {
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
    const auto entry = entries_.find(number);
    if (entry == entries_.end()) {
        return;
    }
    if (entry->second.state == State::Reading) {
        entry->second.wanted = false;
    } else {
        drop(number);
        wakeHelpers();
    }
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
