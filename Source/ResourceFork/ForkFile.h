#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "FileDescriptor.h"
#include "MacErrors.h"

/// An open regular file that is read in places. Opening never blocks.
class ForkFile {
  public:
    enum class Links { eFollow, eRefuse };

    /// Tells whether a file is the same and unchanged.
    struct Stamp {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::uint64_t size = 0;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    struct Opened {
        std::int16_t status = 0;  // fnfErr also for what is no regular file or a refused link
        std::shared_ptr<const ForkFile> file;
    };
    static Opened open(const boost::filesystem::path& path, Links links);

    ForkFile(const ForkFile&) = delete;
    ForkFile& operator=(const ForkFile&) = delete;

    const boost::filesystem::path& path() const { return path_; }
    std::uint64_t size() const { return stamp_.size; }
    const Stamp& stamp() const { return stamp_; }
    /// The bytes of [offset, offset + count), fewer at the file's end or after a reading error.
    std::vector<std::uint8_t> read(std::uint64_t offset, std::uint64_t count) const;
    /// Whether some read gave fewer bytes than the file had when it was opened.
    bool wasCutShort() const { return cutShort_; }

  private:
    ForkFile(boost::filesystem::path path, FileDescriptor descriptor, const Stamp& stamp)
        : path_(std::move(path)), descriptor_(std::move(descriptor)), stamp_(stamp) {}

    boost::filesystem::path path_;
    FileDescriptor descriptor_;
    Stamp stamp_;
    mutable bool cutShort_ = false;
};
