#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <string>

#include "ByteView.h"

/// A file that comes into being whole or not at all, and never in place of another one.
///
/// The bytes go into a file of another name in the same folder, which is put into place when all of
/// it is written and removed otherwise. All operations answer an errno value, 0 for success.
class NewFile {
  public:
    NewFile() = default;
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Removes what was not put into place.
    ~NewFile();

    /// Begins a file that is to have this path; its folder must exist.
    int create(const boost::filesystem::path& path);
    int write(ByteView bytes);
    /// Puts the file into place; EEXIST when something has its name by now.
    int commit();
    /// Puts the file into place of the file that an earlier NewFile has committed under this path,
    /// as fileId() of that one tells; EEXIST when the name belongs to something else by now.
    int replace(const std::string& earlierFileId);

    /// Identifies the written file on this computer; empty before create.
    std::string fileId() const;

  private:
    int close();
    void discard();

    boost::filesystem::path path_;
    std::string temporary_;
    std::string id_;
    int descriptor_ = -1;
};
