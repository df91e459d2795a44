#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "ByteView.h"

/// A folder of this process in memory (/dev/shm, else the folder for temporary files), in which
/// inputs become files. OXPARSER_FUZZ_FOLDER names another place, which its owner cleans up after a
/// crash. Removed with everything in it when the process ends.
class ScratchFolder {
  public:
    static ScratchFolder& instance();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    const boost::filesystem::path& path() const { return path_; }
    /// Writes or replaces a file, in a folder below that must exist, and answers its path.
    boost::filesystem::path write(const std::string& name, ByteView bytes) const;
    /// Removes everything in it.
    void clear() const;

  private:
    ScratchFolder();

    boost::filesystem::path path_;
};
