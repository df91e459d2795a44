#pragma once

#include <sys/types.h>
#include <time.h>

#include <boost/filesystem/path.hpp>
#include <string>

#include "ByteView.h"
#include "FileDescriptor.h"

/// A file that comes into being whole or not at all, and never in place of another one.
///
/// Where the file system can (O_TMPFILE), the file has no name until it is put into place, and
/// nothing is left of it when the process is killed. Elsewhere it is called
/// ".oxparser-XXXXXXXXXXXX.part" meanwhile, and a killed process leaves that behind: no font's
/// name, and nobody removes it, since it may as well belong to an import that is still running.
///
/// All operations answer an errno value, 0 for success.
class NewFile {
  public:
    /// The ways to get a file into place without replacing, best first. A test leaves some out.
    enum Ways : unsigned {
        eUnnamed = 1,    // no name before it is in place
        eLink = 2,       // a second name for the file; the first is removed
        eRename = 4,     // renameat2 with RENAME_NOREPLACE
        eClaim = 8,      // an empty file of our own takes the name, the file is renamed over it
        eExchange = 16,  // renameat2 with RENAME_EXCHANGE, to replace a file
        eAllWays = 31
    };

    explicit NewFile(unsigned ways = eAllWays) : ways_(ways) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Removes what was not put into place.
    ~NewFile();

    /// Begins a file that is to have this path; its folder must exist.
    [[nodiscard]] int create(const boost::filesystem::path& path);
    /// Begins a file that is to have this name in `folder`, with these permissions less the umask.
    /// The folder must stay open for this object's life.
    [[nodiscard]] int create(const FileDescriptor& folder, const std::string& name, mode_t mode);
    [[nodiscard]] int write(ByteView bytes);
    /// A time that cannot be set is no failure. To be called after the last write.
    void setModificationTime(const timespec& time);

    /// Puts the file into place; EEXIST when something has its name by now.
    [[nodiscard]] int commit();
    /// Puts the file into place of the file that an earlier NewFile has committed under this path,
    /// as fileId() of that one tells; EEXIST when the name belongs to something else by now. Where
    /// the file system cannot exchange names, the name is missing for a moment.
    [[nodiscard]] int replace(const std::string& earlierFileId);
    /// Removes the file that was put into place, if the name still belongs to it.
    void withdraw();

    /// Identifies the written file on this computer; empty before create.
    std::string fileId() const { return id_; }

  private:
    bool createUnnamed(mode_t mode);
    int createNamed(mode_t mode);
    int giveTemporaryName();
    int close();
    int linkUnnamed(const std::string& name) const;
    int flush() const;
    int exchange(const std::string& earlierFileId);
    int replaceInSteps(const std::string& earlierFileId);
    int place() { return place(temporary_); }
    int place(const std::string& from);
    int claim(const std::string& from);
    void discard();

    unsigned ways_;
    FileDescriptor ownFolder_;  // of a file that was created by its path
    int folder_ = -1;
    std::string name_;
    FileDescriptor file_;
    std::string temporary_;  // empty while the file has no name
    std::string id_;
};
