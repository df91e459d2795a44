#include "LookAhead.h"

#include <algorithm>
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
    changed_.notify_all();
    for (std::thread& helper : helpers_) {
        helper.join();
    }
}

void LookAhead::help() {
    Lock lock(mutex_);
    while (!stopping_ && readNext(lock, true)) {
    }
}

bool LookAhead::readNext(Lock& lock, bool mayWait) {
    const std::size_t number = next_++;
    try {
        const auto file = pathOf_(number);
        if (!file) {
            return false;
        }
        return file->empty() || readAhead(lock, number, *file, mayWait);
    } catch (const std::exception&) {
        // Out of memory: the reader meets the same, and says so.
        if (!lock.owns_lock()) {
            lock.lock();
        }
        drop(number);
        changed_.notify_all();
        return true;
    }
}

bool LookAhead::readAhead(Lock& lock, std::size_t number, const boost::filesystem::path& file,
                          bool mayWait) {
    entries_.try_emplace(number);
    lock.unlock();
    FileBytes bytes;
    // The status first: opening a device is not without effect.
    const bool readable =
        regularFileSize(file).has_value() && bytes.open(file) && bytes.size() <= budget_;
    lock.lock();
    if (!readable) {
        drop(number);
        return true;
    }
    if (!reserve(lock, number, static_cast<std::size_t>(bytes.size()) + kPadding, mayWait)) {
        drop(number);
        return mayWait;
    }
    // References to elements of a map stay good, and nobody but this helper touches one that is
    // being read.
    Entry& entry = entries_.find(number)->second;
    entry.state = State::Reading;
    entry.version = bytes.version();
    lock.unlock();
    const bool whole =
        bytes.readAll(entry.block, kPadding) == bytes.size() && bytes.isStill(entry.version);
    entry.md5 = bytes.md5State();
    lock.lock();
    entry.state = State::Ready;
    if (!whole || !entry.wanted) {
        drop(number);
    }
    changed_.notify_all();
    return true;
}

bool LookAhead::reserve(Lock& lock, std::size_t number, std::size_t size, bool mayWait) {
    if (ByteBuffer::capacityFor(size) > budget_) {
        return false;
    }
    for (;;) {
        const auto entry = entries_.find(number);
        if (stopping_ || entry == entries_.end()) {
            return false;
        }
        if (takeBlock(size, entry->second.block)) {
            return true;
        }
        if (!mayWait) {
            return false;
        }
        changed_.wait(lock);
    }
}

bool LookAhead::takeBlock(std::size_t size, ByteBuffer& block) {
    const auto fits = std::find_if(spare_.begin(), spare_.end(), [size](const ByteBuffer& spare) {
        return spare.capacity() >= size;
    });
    if (fits != spare_.end()) {
        block = std::move(*fits);
        spare_.erase(fits);
    } else {
        while (!spare_.empty() && held_ + ByteBuffer::capacityFor(size) > budget_) {
            held_ -= spare_.back().capacity();
            spare_.pop_back();
        }
        if (held_ + ByteBuffer::capacityFor(size) > budget_) {
            return false;
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
        spare_.push_back(std::move(block));
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

void LookAhead::beginTurn(std::size_t number) {
    const std::lock_guard lock(mutex_);
    next_ = std::max(next_, number + 1);
    const auto entry = entries_.find(number);
    if (entry != entries_.end() && entry->second.state == State::Waiting) {
        // No helper has begun to read it: the reader is quicker by itself.
        entries_.erase(entry);
        changed_.notify_all();
    }
}

bool LookAhead::supply(std::size_t number, const FileVersion& version, std::size_t padding,
                       ByteBuffer& buffer, md5_state_t& md5) {
    if (padding > kPadding) {
        return false;
    }
    Lock lock(mutex_);
    auto entry = entries_.find(number);
    bool more = true;
    while (entry != entries_.end() && entry->second.state == State::Reading) {
        // Rather than sleep while a helper is at it, read the file after it.
        more = more && readNext(lock, false);
        if (!more && entry->second.state == State::Reading) {
            changed_.wait(lock);
        }
        entry = entries_.find(number);
    }
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
    changed_.notify_all();
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
        changed_.notify_all();
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
