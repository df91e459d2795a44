#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "BlockPool.h"
#include "FileBytes.h"
#include "FileReading.h"
#include "OxQueue.h"

/// Helper threads that read and digest files before their turn comes, several files side by side.
///
/// One thread (the reader) takes the paths from a queue and opens one Turn for each. While a Turn
/// is open, FileBytes::readAll on the reader's thread is given what a helper has read, if the file
/// has not changed since; it reads the file itself whenever there is nothing. So the reader sees
/// the same bytes and errors as without helpers. Helpers never use descriptors that others could
/// need: each has a table of its own.
class LookAhead {
  public:
    using PathQueue = OxQueue<boost::filesystem::path>;
    /// Whether the reader will read such a file whole. Called from the helpers.
    using ReadsWhole = std::function<bool(const boost::filesystem::path&)>;

    /// Starts `helpers` threads, or as many as the system allows. `paths` must outlive them; nobody
    /// but the reader may take from it. What is being read or waits for the reader takes at most
    /// `budget` bytes together, besides a piece of each file in hand. A file that finds no room
    /// there is only digested ahead, which takes much longer than to read it once more.
    LookAhead(unsigned helpers, std::size_t budget, const PathQueue& paths, ReadsWhole readsWhole);
    LookAhead(const LookAhead&) = delete;
    LookAhead& operator=(const LookAhead&) = delete;
    /// Waits for the helpers to let go of the files in hand.
    ~LookAhead();

    /// The reader's time with the `number`th path of the queue, counted from 0; numbers must rise.
    /// Made and destroyed on the reader's thread.
    class Turn : private FileBytes::Supplier {
      public:
        Turn(LookAhead& lookAhead, std::size_t number);
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() override;

      private:
        FileBytes::Supplied supply(const FileVersion& version, std::size_t padding,
                                   ByteBuffer& buffer, md5_state_t& md5) override;

        LookAhead& lookAhead_;
        std::size_t number_;
    };

  private:
    struct Entry {
        bool ready = false;  // else it is being read
        FileVersion version;
        std::uint8_t* block = nullptr;  // where its bytes wait; null when it is only digested
        md5_state_t md5{};
    };
    // One of the files that a helper has in hand.
    struct Lane {
        std::size_t number = 0;
        std::optional<FileBytes> file;  // until it has been read
        Entry* entry = nullptr;         // null: nothing in hand
        ByteBuffer piece;               // for a file that is only digested
        FileReading reading;
        bool isWhole = false;  // it was read to its end and did not change meanwhile

        bool isReading() const { return entry != nullptr; }
    };
    using Lanes = std::array<Lane, kMd5Lanes>;
    using Lock = std::unique_lock<std::mutex>;

    // How far ahead of the reader the helpers may be. The digest of a large file takes as long by
    // itself as with those of many others beside it, so there should be many to be had; with too
    // many, the system may have to fetch once more what was only digested.
    static constexpr std::uint64_t kMostBytesAhead = std::uint64_t{256} << 20;
    static constexpr std::size_t kMostFilesAhead = 1024;
    // Larger files are digested ahead without memory, too.
    static constexpr std::size_t kSmall = std::size_t{512} << 10;

    void help();
    void claim(Lock& lock, Lanes& lanes);
    bool open(Lane& lane);
    bool mayClaim(const Lanes& lanes) const;
    void startReading(Lane& lane);
    void advance(Lock& lock, Lanes& lanes);
    void drop(std::size_t number);
    void wakeHelpers();

    void beginTurn(std::size_t number);
    FileBytes::Supplied supply(std::size_t number, const FileVersion& version, std::size_t padding,
                               ByteBuffer& buffer, md5_state_t& md5);
    void endTurn(std::size_t number);

    const PathQueue& paths_;
    const ReadsWhole readsWhole_;
    std::mutex mutex_;
    std::condition_variable filled_;  // the file that the reader waits for
    std::condition_variable freed_;   // the helpers may go on
    bool stopping_ = false;
    bool atEnd_ = false;                    // no helper will find any further path
    std::optional<std::size_t> awaited_;    // what the reader waits for
    std::size_t begun_ = 0;                 // the first file whose turn has not begun
    std::size_t ended_ = 0;                 // the first file whose turn is not over
    std::size_t next_ = 0;                  // the first file that nobody has claimed
    std::map<std::size_t, Entry> entries_;  // those being read and those that wait for their turn
    std::uint64_t bytesAhead_ = 0;          // in them
    const std::size_t budget_;
    BlockPool blocks_;
    bool isFull_ = false;  // a small file found no room, and not half of it is free again
    std::vector<std::thread> helpers_;
};
