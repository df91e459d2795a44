#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "MacErrors.h"
#include "RegularFile.h"

/// An open file that holds a fork, read in places.
class ForkFile {
  public:
    struct Opened {
        std::int16_t status = 0;  // fnfErr also for what is no regular file or a refused link
        std::shared_ptr<const ForkFile> file;
    };
    static Opened open(const boost::filesystem::path& path, RegularFile::Links links);

    ForkFile(const ForkFile&) = delete;
    ForkFile& operator=(const ForkFile&) = delete;

    const boost::filesystem::path& path() const { return path_; }
    std::uint64_t size() const { return file_.size(); }
    FileVersion version() const { return file_.version(); }
    /// The bytes of [offset, offset + count), fewer at the file's end or after a reading error.
    std::vector<std::uint8_t> read(std::uint64_t offset, std::uint64_t count) const;
    /// Whether some read gave fewer bytes than the file had when it was opened.
    bool wasCutShort() const { return cutShort_; }

  private:
    ForkFile(boost::filesystem::path path, RegularFile file)
        : path_(std::move(path)), file_(std::move(file)) {}

    boost::filesystem::path path_;
    RegularFile file_;
    mutable bool cutShort_ = false;
};
