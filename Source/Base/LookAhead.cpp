#include "LookAhead.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>
#include <system_error>
#include <utility>

namespace {

// Zero bytes behind each block, so that the reader need not copy it to get its padding.
constexpr std::size_t kPadding = 4096;

}  // namespace

LookAhead::LookAhead(unsigned helpers, std::size_t budget, PathOf pathOf)
    : budget_(budget), pathOf_(std::move(pathOf)) {
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
                                  lane.file->size() <= budget_;
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

// False when the lane has to wait for a block. Otherwise it reads, or is clear again.
bool LookAhead::startReading(Lane& lane) {
    const auto found = entries_.find(lane.number);
    const std::size_t size = static_cast<std::size_t>(lane.file->size());
    const bool possible = ByteBuffer::capacityFor(size + kPadding) <= budget_;
    if (found == entries_.end() || !possible) {
        drop(lane.number);
        lane.clear();
        return true;
    }
    // References to elements of a map stay good, and nobody but its helper touches an entry that is
    // being read.
    Entry& entry = found->second;
    try {
        if (!takeBlock(size + kPadding, entry.block)) {
            return false;
        }
    } catch (const std::exception&) {
        drop(lane.number);
        lane.clear();
        return true;
    }
    entry.state = State::Reading;
    entry.version = lane.file->version();
    lane.entry = &entry;
    lane.reading = FileReading(*lane.file, entry.block.data(), size);
    return true;
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
    std::array<bool, kMd5Lanes> whole{};
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        Lane& lane = lanes[i];
        if (lane.isReading() && lane.reading.isDone()) {
            const std::size_t read = lane.reading.bytesRead();
            ByteBuffer& block = lane.entry->block;
            std::fill(block.data() + read, block.data() + block.size(), std::uint8_t{0});
            whole[i] = read == lane.file->size() && lane.file->isStill(lane.entry->version);
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

bool LookAhead::takeBlock(std::size_t size, ByteBuffer& block) {
    const auto takeSpare = [this](std::multimap<std::size_t, ByteBuffer>::iterator spare) {
        ByteBuffer taken = std::move(spare->second);
        spareHeld_ -= spare->first;
        spare_.erase(spare);
        return taken;
    };
    const auto fits = spare_.lower_bound(size);
    if (fits != spare_.end()) {
        block = takeSpare(fits);
    } else {
        const std::size_t needed = ByteBuffer::capacityFor(size);
        if (held_ - spareHeld_ + needed > budget_) {
            return false;
        }
        while (held_ + needed > budget_) {
            held_ -= takeSpare(spare_.begin()).capacity();
        }
    }
    held_ -= block.capacity();
    block.resize(size);
    held_ += block.capacity();
    return true;
}

void LookAhead::keepBlock(ByteBuffer block) {
    if (block.capacity() > 0 && held_ + block.capacity() <= budget_) {
        held_ += block.capacity();
        spareHeld_ += block.capacity();
        spare_.emplace(block.capacity(), std::move(block));
    }
}

void LookAhead::drop(std::size_t number) {
    const auto entry = entries_.find(number);
    if (entry != entries_.end()) {
        held_ -= entry->second.block.capacity();
        keepBlock(std::move(entry->second.block));
        entries_.erase(entry);
    }
}

void LookAhead::wakeHelpers() {
    // Not for every block: waking a thread costs about as much as parsing a small font.
    if (held_ - spareHeld_ <= budget_ / 2) {
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

bool LookAhead::supply(std::size_t number, const FileVersion& version, std::size_t padding,
                       ByteBuffer& buffer, md5_state_t& md5) {
    if (padding > kPadding) {
        return false;
    }
    Lock lock(mutex_);
    auto entry = entries_.find(number);
    awaited_ = number;
    while (entry != entries_.end() && entry->second.state == State::Reading) {
        filled_.wait(lock);
        entry = entries_.find(number);
    }
    awaited_.reset();
    if (entry == entries_.end() || entry->second.version != version) {
        return false;
    }
    md5 = entry->second.md5;
    ByteBuffer& block = entry->second.block;
    held_ -= block.capacity();
    buffer.swap(block);
    buffer.shrink(static_cast<std::size_t>(version.size) + padding);
    keepBlock(std::move(block));
    entries_.erase(entry);
    wakeHelpers();
    return true;
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

bool LookAhead::Turn::supply(const FileVersion& version, std::size_t padding, ByteBuffer& buffer,
                             md5_state_t& md5) {
    FileBytes::setSupplier(nullptr);  // other files may be read in between
    const bool supplied = lookAhead_.supply(number_, version, padding, buffer, md5);
    FileBytes::setSupplier(this);
    return supplied;
}
