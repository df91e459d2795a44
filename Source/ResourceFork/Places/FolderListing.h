#pragma once

#include <sys/types.h>

#include <array>
#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

/// Entries of a folder with a meaning of their own beside every file in it.
enum class KnownEntry {
    eAppleDouble,  // .AppleDouble
    eResource,     // .resource
    eFinderInfo,   // .finderinfo
    eRsrc,         // .rsrc
    eFinf,         // .finf
    eHsResource,   // .HSResource
    eHsAncillary,  // .HSancillary
    eResourceFrk,  // RESOURCE.FRK
    eFinderDat,    // FINDER.DAT
    eCount
};

/// The names in one folder, as they were when it was listed.
class FolderListing {
  public:
    struct Entry {
        std::string name;
        bool maybeLink = false;  // a symbolic link, or the file system does not tell
        bool isFile = false;     // certainly a regular file
    };

    FolderListing() = default;
    explicit FolderListing(std::vector<Entry> entries, const boost::system::error_code& error = {},
                           bool hidesAttributes = false);

    /// Why names may be missing; none when all are there, also when there is no such folder.
    const boost::system::error_code& error() const { return error_; }

    /// The entry of this name: byte for byte, else up to Unicode normalisation; null without one.
    const Entry* find(std::string_view name) const;
    /// The same, and in the end without regard to case.
    const Entry* findAnyCase(std::string_view name) const;
    /// The spelling of a known entry, null when it is missing; case does not matter.
    const std::string* known(KnownEntry entry) const;
    /// Whether the folder lies on a volume whose files may have attributes that no list of them
    /// shows.
    bool hidesAttributes() const { return hidesAttributes_; }

  private:
    using Index = std::unordered_map<std::string, std::size_t>;

    const Entry* findIn(const Index& index, const std::string& key) const;
    void buildIndexes() const;

    std::vector<Entry> entries_;  // sorted by name
    boost::system::error_code error_;
    bool hidesAttributes_ = false;
    bool plainAscii_ = true;
    std::array<std::string, static_cast<std::size_t>(KnownEntry::eCount)> known_;
    mutable bool indexed_ = false;
    mutable Index canonical_;
    mutable Index folded_;
};

/// Listings of the folders that were asked for last. A listing is kept until the folder changes;
/// while it has changed so recently that a further change might not show in its time of change, it
/// is listed anew each time, as it is after an error. Holds few folders, since files are asked for
/// folder by folder.
class FolderListings {
  public:
    enum class Links { eFollow, eRefuse };
    using FolderTest = std::function<bool(const boost::filesystem::path& folder)>;

    FolderListings() = default;
    /// `hidesAttributes` is asked once for each listing.
    explicit FolderListings(FolderTest hidesAttributes)
        : hidesAttributes_(std::move(hidesAttributes)) {}

    /// Never null: a folder that is not there has an empty listing.
    std::shared_ptr<const FolderListing> of(const boost::filesystem::path& folder, Links links);

  private:
    static constexpr std::size_t kKept = 8;

    struct Kept {
        std::string path;
        dev_t device;
        ino_t inode;
        timespec changed;
        std::shared_ptr<const FolderListing> listing;
    };
    FolderTest hidesAttributes_;
    std::list<Kept> kept_;  // latest first
};
