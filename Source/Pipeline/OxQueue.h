#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <deque>
#include <iterator>
#include <utility>
#include <vector>

/// An unbounded first-in-first-out queue between threads, with any number of pushers and exactly
/// one taker. The end of a stream travels in the data.
template <typename T>
class OxQueue {
  public:
    OxQueue() = default;
    OxQueue(const OxQueue&) = delete;
    OxQueue& operator=(const OxQueue&) = delete;

    /// Appends a copy of `item`. Wakes the taker only when the queue was empty, which is enough for
    /// one taker.
    void push(const T& item) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        const bool wasEmpty = items_.empty();
        items_.push_back(item);
        lock.unlock();
        if (wasEmpty) {
            condition_.notify_one();
        }
    }

    /// Appends `items` in their order, in one step for the taker.
    void pushAll(std::vector<T>&& items) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        const bool wasEmpty = items_.empty();
        items_.insert(items_.end(), std::make_move_iterator(items.begin()),
                      std::make_move_iterator(items.end()));
        lock.unlock();
        if (wasEmpty) {
            condition_.notify_one();
        }
    }

    /// Waits for an item and takes the front one. The wait is a thread interruption point.
    void wait_and_pop(T& out) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        while (items_.empty()) {
            condition_.wait(lock);
        }
        takeFront(out);
    }

    /// Takes the front item; false when there is none now.
    bool try_pop(T& out) {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        if (items_.empty()) {
            return false;
        }
        takeFront(out);
        return true;
    }

    enum class Place { eTaken, eWaiting, eNotThereYet };
    /// Where the item is that is the `number`th to be taken, counted from 0 over the queue's whole
    /// life. `out` becomes a copy of one that is waiting.
    Place peek(std::size_t number, T& out) const {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        if (number < taken_) {
            return Place::eTaken;
        }
        if (number - taken_ >= items_.size()) {
            return Place::eNotThereYet;
        }
        out = items_[number - taken_];
        return Place::eWaiting;
    }

    /// Removes every item, front first. Others need not wait for that: the items may be many.
    void clear() {
        std::deque<T> removed;
        const boost::lock_guard<boost::mutex> lock(mutex_);
        removed.swap(items_);
        taken_ += removed.size();
    }

  private:
    void takeFront(T& out) {
        out = std::move(items_.front());
        items_.pop_front();
        ++taken_;
    }

    std::deque<T> items_;
    std::size_t taken_ = 0;
    mutable boost::mutex mutex_;
    boost::condition_variable condition_;
};
