#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "RegularFile.h"

/// An open file that holds a fork, read in places.
class ForkFile {
  public:
    /// Null with an error.
    static std::shared_ptr<const ForkFile> open(const boost::filesystem::path& path,
                                                RegularFile::Links links,
                                                boost::system::error_code& error);

    ForkFile(const ForkFile&) = delete;
    ForkFile& operator=(const ForkFile&) = delete;

    const boost::filesystem::path& path() const { return path_; }
    std::uint64_t size() const { return file_.size(); }
    FileVersion version() const { return file_.version(); }
    /// The bytes of [offset, offset + count), fewer at the file's end or after a reading error.
    std::vector<std::uint8_t> read(std::uint64_t offset, std::uint64_t count) const;
    /// Why some read gave fewer bytes than the file had when it was opened; none if none did.
    const boost::system::error_code& readError() const { return readError_; }

  private:
    ForkFile(boost::filesystem::path path, RegularFile file)
        : path_(std::move(path)), file_(std::move(file)) {}

    boost::filesystem::path path_;
    RegularFile file_;
    mutable boost::system::error_code readError_;
};
