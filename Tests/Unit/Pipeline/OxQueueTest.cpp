#include "OxQueue.h"

#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>
#include <thread>
#include <vector>

namespace {

TEST(OxQueue, ClearLeavesRoomForTheEndMarker) {
    OxQueue<int> queue;
    queue.clear();
    queue.push(1);
    queue.push(2);
    queue.clear();
    queue.push(0);
    int item = -1;
    queue.wait_and_pop(item);
    EXPECT_EQ(item, 0);
}

TEST(OxQueue, AWaitingTakerCanBeInterruptedAndTheQueueStaysAsItWas) {
    OxQueue<int> queue;
    bool interrupted = false;
    boost::thread taker([&] {
        int item = -1;
        try {
            queue.wait_and_pop(item);
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    taker.interrupt();
    taker.join();
    EXPECT_TRUE(interrupted);
    queue.push(7);
    int item = -1;
    queue.wait_and_pop(item);
    EXPECT_EQ(item, 7);
}

TEST(ConcurrencyQueue, ManyPushersOneTaker) {
    constexpr int kPushers = 4;
    constexpr int kItems = 2000;
    OxQueue<std::pair<int, int>> queue;
    std::vector<std::thread> pushers;
    for (int pusher = 0; pusher < kPushers; ++pusher) {
        pushers.emplace_back([&queue, pusher] {
            for (int i = 0; i < kItems; ++i) {
                queue.push({pusher, i});
            }
        });
    }
    std::vector<int> next(kPushers, 0);
    for (int i = 0; i < kPushers * kItems; ++i) {
        std::pair<int, int> item;
        queue.wait_and_pop(item);
        ASSERT_EQ(item.second, next[static_cast<std::size_t>(item.first)]++);
    }
    for (std::thread& pusher : pushers) {
        pusher.join();
    }
}

}  // namespace
