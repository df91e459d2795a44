#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>

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

    /// Waits for an item and takes the front one. The wait is a thread interruption point.
    void wait_and_pop(T& out) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        while (items_.empty()) {
            condition_.wait(lock);
        }
        out = items_.front();
        items_.pop_front();
    }

    /// Removes every item, front first.
    void clear() {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        while (!items_.empty()) {
            items_.pop_front();
        }
    }

  private:
    std::deque<T> items_;
    boost::mutex mutex_;
    boost::condition_variable condition_;
};
