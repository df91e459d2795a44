#pragma once

#include <sys/types.h>

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <map>

#include "FileDescriptor.h"

/// Has the file systems that files were written to put them on their disks, so that the files
/// outlive a power failure. One call for all costs much less than one for each file.
class FileSystemSync {
  public:
    /// A file was written into this folder.
    void noteFileIn(const boost::filesystem::path& folder);
    /// Waits until everything is on its disk; the first failure.
    [[nodiscard]] boost::system::error_code sync();

  private:
    // Opened with the first file: errors of writing from then on are told.
    std::map<dev_t, FileDescriptor> systems_;
    boost::system::error_code trouble_;
};
