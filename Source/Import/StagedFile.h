#pragma once

#include <sys/types.h>
#include <time.h>

#include <boost/system/error_code.hpp>
#include <cstdint>
#include <span>
#include <string>

#include "FileDescriptor.h"

/// A file that appears in a folder complete or not at all, and never in place of another one.
///
/// Where the file system can (O_TMPFILE), the file has no name until it is published, and nothing
/// is left of it when the process is killed. Elsewhere it is called ".oxparser-XXXXXXXXXXXX.part"
/// meanwhile, and a killed process leaves that behind: no font's name, and nobody removes it, since
/// it may as well belong to an import that is still running.
class StagedFile {
  public:
    /// The ways to get a file into place without replacing, best first. A test can leave some out.
    enum Ways : unsigned {
        Unnamed = 1,  // no name before publishing
        Link = 2,     // a second name for the file; the first is removed
        Rename = 4,   // renameat2 with RENAME_NOREPLACE
        Claim = 8,    // an empty file of our own takes the name, the file is renamed over it
        AllWays = 15
    };

    explicit StagedFile(unsigned ways = AllWays) : ways_(ways) {}
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;
    /// Removes what was not published.
    ~StagedFile();

    /// Begins an empty file; `folder` must stay open for this object's life. The process's umask
    /// is taken off `mode`.
    boost::system::error_code create(const FileDescriptor& folder, mode_t mode);
    boost::system::error_code write(std::span<const std::uint8_t> bytes);
    /// A time that cannot be set is no failure.
    void setModificationTime(const timespec& time);

    /// Gives the file its name. Fails with EEXIST when anything has that name.
    boost::system::error_code publish(const std::string& name);
    /// Removes the file that this object has published under `name`, if it still is that file.
    void withdraw(const std::string& name);

  private:
    bool createUnnamed(mode_t mode);
    boost::system::error_code createNamed(mode_t mode);
    bool place(const std::string& name);
    bool claim(const std::string& name);
    void discard();

    unsigned ways_;
    int folder_ = -1;
    FileDescriptor file_;
    std::string temporary_;  // empty while the file has no name
    dev_t device_ = 0;
    ino_t inode_ = 0;
};
