#include <future>
#include <random>

#include "BlockPool.h"
#include "LookAhead.h"
#include "UnitTest.h"

namespace {

constexpr std::size_t kBudget = std::size_t{4} << 20;

struct Content {
    bool opened = false;
    Bytes bytes;
    std::string digest;

    bool operator==(const Content&) const = default;
};

Content contentOf(const fs::path& file, ByteBuffer& buffer, std::size_t padding) {
    FileBytes bytes;
    if (!bytes.open(file)) {
        return {};
    }
    bytes.readAll(buffer, padding);
    return {true, Bytes(buffer.data(), buffer.data() + buffer.size()), bytes.digest()};
}

class ConcurrencyLookAhead : public testing::Test {
  protected:
    Bytes randomBytes(std::size_t size) {
        Bytes bytes(size);
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<std::uint8_t>(random_()); });
        return bytes;
    }
    /// The files as the reader's queue.
    void queueFiles(LookAhead::PathQueue& queue) {
        for (const fs::path& file : files_) {
            queue.push(file);
        }
    }
    static bool readsAll(const fs::path& /*file*/) { return true; }
    void addFiles(std::size_t count, std::size_t largest) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string name = "file" + std::to_string(files_.size());
            files_.push_back(folder_.write(name, randomBytes(random_() % (largest + 1))));
        }
    }

    std::mt19937 random_{7};
    TemporaryFolder folder_;
    std::vector<fs::path> files_;
};

TEST_F(ConcurrencyLookAhead, TheReaderSeesEachFileAsItIsAtItsTurn) {
    addFiles(60, 40'000);
    addFiles(20, 900'000);
    files_.push_back(folder_.write("larger", randomBytes(kBudget + 1)));
    files_.push_back(folder_.path() / "missing");
    files_.push_back(folder_.path());
    files_.emplace_back();
    addFiles(60, 200'000);

    LookAhead::PathQueue queue;
    queueFiles(queue);
    LookAhead lookAhead(3, kBudget, queue, readsAll);
    ByteBuffer kept;
    fs::path taken;
    for (std::size_t i = 0; i < files_.size(); ++i) {
        queue.wait_and_pop(taken);
        if (i % 7 == 3 && i < 80) {
            folder_.write(files_[i].filename().string(), randomBytes(random_() % 5'000));
        } else if (i % 7 == 5 && i < 80) {
            fs::remove(files_[i]);
        }
        const std::size_t padding = i % 3 == 0 ? 0 : (i % 3 == 1 ? 2049 : 5000);
        ByteBuffer own;
        const Content expected = contentOf(files_[i], own, padding);
        const LookAhead::Turn turn(lookAhead, i);
        if (i % 5 != 4) {  // some files are not read at all
            ASSERT_EQ(contentOf(files_[i], kept, padding), expected) << files_[i];
        }
    }
}

TEST_F(ConcurrencyLookAhead, EndsAtAnyMoment) {
    addFiles(40, 300'000);
    for (std::size_t turns = 0; turns < files_.size(); ++turns) {
        LookAhead::PathQueue queue;
        queueFiles(queue);
        LookAhead lookAhead(2, kBudget, queue, readsAll);
        ByteBuffer buffer;
        fs::path taken;
        for (std::size_t i = 0; i < turns; ++i) {
            queue.wait_and_pop(taken);
            const LookAhead::Turn turn(lookAhead, i);
            ASSERT_TRUE(contentOf(files_[i], buffer, 0).opened);
        }
    }
}

// The reader has taken the first path, but its turn has not begun, when the helper asks for it.
TEST_F(ConcurrencyLookAhead, APathThatWasJustTakenIsNotTheEnd) {
    addFiles(2, 100);
    LookAhead::PathQueue queue;
    queueFiles(queue);
    fs::path taken;
    queue.wait_and_pop(taken);
    std::promise<fs::path> asked;
    const LookAhead lookAhead(1, kBudget, queue, [&asked](const fs::path& file) {
        asked.set_value(file);
        return false;
    });
    std::future<fs::path> next = asked.get_future();
    ASSERT_EQ(next.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_EQ(next.get(), files_[1]);
}

// What was read or digested ahead is not read or digested again: of a file that is written to
// without a trace in its status, it is the state of then that is seen.
TEST_F(ConcurrencyLookAhead, WhatWasDoneAheadIsNotDoneAgain) {
    struct Fixed : FileBytes::Supplier {
        FileBytes::Supplied supplied = FileBytes::Supplied::eEverything;

        FileBytes::Supplied supply(const FileVersion& version, std::size_t padding,
                                   ByteBuffer& buffer, md5_state_t& md5) override {
            if (supplied == FileBytes::Supplied::eEverything) {
                buffer.resize(static_cast<std::size_t>(version.size) + padding);
                std::fill_n(buffer.data(), buffer.size(), std::uint8_t{'x'});
            }
            md5_init(&md5);
            return supplied;
        }
    } fixed;
    const fs::path file = folder_.write("file", "abc");
    ByteBuffer buffer;
    FileBytes::setSupplier(&fixed);
    const Content everything = contentOf(file, buffer, 1);
    fixed.supplied = FileBytes::Supplied::eDigest;
    const Content digest = contentOf(file, buffer, 1);
    FileBytes::setSupplier(nullptr);
    constexpr char kDigestOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";
    EXPECT_EQ(everything, (Content{true, bytesOf("xxxx"), kDigestOfNothing}));
    EXPECT_EQ(digest, (Content{true, bytesOf(std::string("abc\0", 4)), kDigestOfNothing}));
    EXPECT_EQ(contentOf(file, buffer, 0).bytes, bytesOf("abc"));
}

TEST(BlockPool, FillsTheGapsThatBlocksLeave) {
    BlockPool pool(1000);
    std::uint8_t* const first = pool.take(500);
    std::uint8_t* const second = pool.take(300);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_GE(second - first, 500);
    EXPECT_EQ(pool.take(300), nullptr);
    pool.giveBack(first, 500);
    EXPECT_EQ(pool.take(513), nullptr);
    std::uint8_t* const third = pool.take(200);
    EXPECT_EQ(third, first);
    std::uint8_t* const fourth = pool.take(0);
    EXPECT_TRUE(fourth >= third + 200 && fourth < second);
    pool.giveBack(second, 300);
    pool.giveBack(third, 200);
    pool.giveBack(fourth, 0);
    EXPECT_EQ(pool.inUse(), 0u);
    EXPECT_EQ(pool.take(1001), nullptr);
    EXPECT_EQ(pool.take(960), first);
}

}  // namespace
