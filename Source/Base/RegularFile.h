#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <cstdint>
#include <span>

#include "FileDescriptor.h"
#include "FileVersion.h"

/// A regular file that is open for reading in places.
class RegularFile {
  public:
    enum class Links { eFollow, eRefuse };

    /// Opens the file in place of the one that was open; `path` is taken from the open folder
    /// `folder` unless it is absolute. Never blocks on a FIFO or device that is there instead:
    /// EISDIR for a folder, EOPNOTSUPP for anything else that is no regular file, ELOOP for a
    /// refused link. After an error no file is open.
    [[nodiscard]] boost::system::error_code open(const boost::filesystem::path& path,
                                                 Links links = Links::eFollow,
                                                 int folder = AT_FDCWD);

    bool isOpen() const { return descriptor_.isOpen(); }
    /// As it was when the file was opened; all zero without an open file.
    const struct stat& status() const { return status_; }
    std::uint64_t size() const { return static_cast<std::uint64_t>(status_.st_size); }
    FileVersion version() const;
    /// Whether the open file is in this state now.
    bool isStill(const FileVersion& version) const;

    /// Fills `out` with the bytes at `offset`. Answers how many there were: fewer at the file's end
    /// and with an error, which is cleared otherwise.
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out,
                     boost::system::error_code& error) const;

  private:
    FileDescriptor descriptor_;
    struct stat status_ {};
};
