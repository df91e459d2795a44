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

/// Helper threads that read and digest files before their turn comes, several files side by side.
///
/// The files have an order, and one thread (the reader) takes them in that order, one Turn each.
/// While a Turn is open, FileBytes::readAll on the reader's thread is given what a helper has read,
/// if the file has not changed since; it reads the file itself whenever there is nothing.
/// So the reader sees the same bytes and errors as without helpers.
class LookAhead {
  public:
    /// The path of the file with this number, counted from 0; nothing when there is none any more.
    /// An empty path is passed over. Called from the helpers.
    using PathOf = std::function<std::optional<boost::filesystem::path>(std::size_t number)>;

    /// Starts `helpers` threads, or as many as the system allows. What is being read or waits for
    /// the reader takes at most `budget` bytes together, besides a piece of each file in hand. A
    /// file that finds no room there is only digested ahead, which takes much longer than to read
    /// it once more.
    LookAhead(unsigned helpers, std::size_t budget, PathOf pathOf);
    LookAhead(const LookAhead&) = delete;
    LookAhead& operator=(const LookAhead&) = delete;
    /// Waits for the helpers to finish the file in hand.
    ~LookAhead();

    /// The reader's time with one file; numbers must rise. Made and destroyed on the reader's
    /// thread.
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
    enum class State { Waiting, Reading, Ready };
    struct Entry {
        State state = State::Waiting;
        bool wanted = true;  // its turn has not passed
        FileVersion version;
        std::uint8_t* block = nullptr;  // where its bytes wait; null when it is only digested
        md5_state_t md5{};
    };
    // One of the files that a helper has in hand; it belongs to an entry that is Waiting or
    // Reading.
    struct Lane {
        std::size_t number = 0;
        std::optional<FileBytes> file;
        Entry* entry = nullptr;  // once it is being read
        ByteBuffer piece;        // for a file that is only digested
        FileReading reading;

        bool isReading() const { return file && entry != nullptr; }
        void clear();
    };
    using Lanes = std::array<Lane, kMd5Lanes>;
    using Lock = std::unique_lock<std::mutex>;

    // How far ahead of the reader the helpers may be. The digest of a large file takes as long by
    // itself as with those of many others beside it, so there should be many to be had; with too
    // many, the system may have to fetch once more what was only digested.
    static constexpr std::uint64_t kMostBytesAhead = std::uint64_t{128} << 20;
    static constexpr std::size_t kMostFilesAhead = 1024;

    void help();
    bool claim(Lock& lock, Lane& lane);
    bool isFarAhead() const;
    bool startReading(Lane& lane);
    void advance(Lock& lock, Lanes& lanes);
    void drop(std::size_t number);
    void wakeHelpers();

    void beginTurn(std::size_t number);
    FileBytes::Supplied supply(std::size_t number, const FileVersion& version, std::size_t padding,
                               ByteBuffer& buffer, md5_state_t& md5);
    void endTurn(std::size_t number);

    const PathOf pathOf_;
    std::mutex mutex_;
    std::condition_variable filled_;  // the block that the reader waits for
    std::condition_variable freed_;   // the helpers may go on
    bool stopping_ = false;
    std::optional<std::size_t> awaited_;    // what the reader waits for
    std::size_t next_ = 0;                  // the first file that nobody has claimed
    std::map<std::size_t, Entry> entries_;  // claimed by a helper, not passed by the reader
    std::uint64_t bytesAhead_ = 0;          // in those that are being read or ready
    BlockPool blocks_;
    std::vector<std::thread> helpers_;
};
