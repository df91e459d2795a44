#pragma once

#include <sys/stat.h>

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ForkLocator.h"

/// Walks one source as a user would have it walked: what cannot be read is told and passed over,
/// and the walk ends, however folders link to each other.
///
/// - The entries of a folder come in byte order of their names, so two walks of one tree are equal.
/// - A folder is entered once (device and inode), whatever links and mount points lead to it: by
///   its own path where the walk reaches it that way, else by the first link to it. Links to
///   folders wait for that until all else has been walked.
/// - The kernel's own file systems (proc, sysfs and the like) are left out, unless the source lies
///   on one, and so are the folders that the host names.
/// - Mac sidecars are left out: they belong to the file beside them.
class TolerantWalk {
  public:
    using FileFound = std::function<void(const boost::filesystem::path&)>;
    using Failed =
        std::function<void(const boost::filesystem::path&, const boost::system::error_code&)>;

    /// The walk ends when `cancelled` becomes true. The folders `leftOut` need not exist; they are
    /// looked at when the walk comes to a folder. Both must outlive the walk.
    TolerantWalk(const std::atomic<bool>& cancelled,
                 const std::vector<boost::filesystem::path>& leftOut, FileFound found,
                 Failed failed);

    /// Once an object. A source that does not exist is no failure.
    void run(const boost::filesystem::path& source);

  private:
    using FolderId = std::pair<dev_t, ino_t>;
    struct Entry {
        std::size_t name;    // where it begins in the listing's names
        unsigned char type;  // DT_LNK and so on; many file systems do not tell
    };
    // A folder may hold millions, so the names share one piece of memory.
    struct Listing {
        std::string names;  // each ended by a zero byte
        std::vector<Entry> entries;
    };

    void visit(const boost::filesystem::path& path, unsigned char type);
    void enter(const boost::filesystem::path& folder, const struct stat& status);
    Listing list(const boost::filesystem::path& folder);
    bool isLeftOut(const boost::filesystem::path& folder, const struct stat& status);
    void fail(const boost::filesystem::path& path, int error) const;

    const std::atomic<bool>& cancelled_;
    const std::vector<boost::filesystem::path>& leftOut_;
    const FileFound found_;
    const Failed failed_;
    ForkLocator forks_;
    std::set<FolderId> entered_;
    std::deque<boost::filesystem::path> links_;  // to folders not entered yet, in the order met
    std::map<dev_t, bool> devices_;              // whether they are left out
};
