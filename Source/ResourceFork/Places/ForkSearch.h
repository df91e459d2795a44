#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "AppleDouble.h"
#include "ErrorStatus.h"
#include "FolderListing.h"
#include "ForkFile.h"
#include "ForkLocator.h"
#include "PcExchange.h"

/// The FINDER.DAT that was read last.
class FinderDatCache {
  public:
    /// The records of an open FINDER.DAT whose folder has this listing.
    const FinderDat& of(const ForkFile& file, const std::shared_ptr<const FolderListing>& folder);

  private:
    FileVersion version_;
    std::shared_ptr<const FolderListing> folder_;
    FinderDat parsed_;
};

/// The __MACOSX folders above the folder that was asked for last. Unpacking a Mac's zip archive
/// elsewhere leaves such a tree of sidecars beside the tree of files: the sidecar of A/B/NAME is
/// __MACOSX/A/B/._NAME.
class MacOsXFolders {
  public:
    /// The folders in which sidecars of the files of `folder` lie, nearest tree first; no links on
    /// the way. Looked for anew when the listing is another one or some time has gone by.
    const std::vector<boost::filesystem::path>& of(
        const boost::filesystem::path& folder, const std::shared_ptr<const FolderListing>& listing);

  private:
    std::shared_ptr<const FolderListing> listing_;
    std::chrono::steady_clock::time_point looked_;
    std::vector<boost::filesystem::path> folders_;
};

/// What a locator remembers from file to file.
struct ForkCaches {
    explicit ForkCaches(FolderListings::FolderTest hidesAttributes)
        : listings(std::move(hidesAttributes)) {}

    FolderListings listings;
    FinderDatCache finderDat;
    MacOsXFolders macOsX;
};

/// One look for the fork or the Finder information of one file. The probes in ForkProbes.cpp are
/// called one after the other; they ask this object for files and attributes and offer it what they
/// find, and it keeps the best.
class ForkSearch {
  public:
    struct Wanted {
        bool fork = false;
        bool finderInfo = false;
        bool onlyOutsideFile = false;        // not the containers that the file itself may be
        bool finderInfoWithoutType = false;  // any nonzero byte will do

        static Wanted externalForks() { return {true, true, true, true}; }
    };
    /// A folder entry beside which sidecars may lie: the file as asked for, or what its link means.
    struct Spot {
        boost::filesystem::path folder;
        std::string name;
        std::shared_ptr<const FolderListing> listing;
    };

    /// The first two must outlive the search.
    ForkSearch(const ForkLocator::Environment& environment, ForkCaches& caches,
               const boost::filesystem::path& file, Wanted wanted);

    /// Goes through the probes until everything wanted is found. Answers the status of the file
    /// itself: noErr, or why there is nothing to look at.
    std::int16_t run();

    ForkAnswer takeFork();
    const FinderAnswer& finder() const { return finder_; }
    /// The first failure other than that something is not there; of a file that cannot be looked
    /// at, why.
    const ForkTrouble& trouble() const { return trouble_; }
    /// That, else what is wrong with a damaged container.
    const ForkTrouble& troubleOrDamage() const { return trouble_ ? trouble_ : damage_; }
    bool hasDamagedSidecar() const { return damagedSidecar_ != nullptr; }
    /// Its bytes; null without one, and, in trouble, when they cannot be read.
    ForkBytes damagedSidecar();
    /// A file that is empty while its volume keeps forks out of reach has all that it holds there.
    void requireForkInReach();
    /// Whether a fork was found that is worth keeping: no placeholder, possibly damaged.
    bool hasRealFork() const;

    // For the probes.

    const boost::filesystem::path& file() const { return file_; }
    const ForkLocator::Environment& environment() const { return environment_; }
    bool wantsFork() const { return wanted_.fork && rank_ < Rank::ePlausible; }
    bool wantsFinderInfo() const { return wanted_.finderInfo && finder_.place == ForkPlace::eNone; }
    const std::vector<Spot>& spots() const { return spots_; }
    std::shared_ptr<const FolderListing> listing(const boost::filesystem::path& sidecarFolder);

    bool hasAttribute(const std::string& name);
    std::optional<std::vector<std::uint8_t>> attribute(const std::string& name);
    /// The same for a name that the system may leave out of its list.
    std::optional<std::vector<std::uint8_t>> unlistedAttribute(const std::string& name);

    /// Opens a sidecar, never through a link; null when that fails.
    std::shared_ptr<const ForkFile> openSidecar(const boost::filesystem::path& path);
    /// The file itself, opened at most once; null when it cannot be read.
    std::shared_ptr<const ForkFile> content();
    /// Its first bytes, at most 128.
    ByteView contentStart();
    ForkCaches& caches() { return caches_; }

    void offerFinderInfo(ForkPlace place, const FinderInfo& info);
    void offerFinderInfo(ForkPlace place, const std::optional<FinderInfo>& info);
    /// A part of a file as the fork; it may reach past the file's end and is cut there. False when
    /// it is damaged.
    bool offerFork(ForkPlace place, std::shared_ptr<const ForkFile> file, std::uint64_t offset,
                   std::uint64_t length);
    void offerFork(ForkPlace place, std::shared_ptr<const ForkFile> file);
    /// Bytes in memory as the fork: an attribute's value or decoded text.
    void offerFork(ForkPlace place, const boost::filesystem::path& file,
                   const std::string& attribute, std::vector<std::uint8_t> bytes);
    /// The file lies on a volume that keeps forks, and the system does not give them.
    void noteForkOutOfReach() { outOfReach_ = true; }
    /// The file is marked as a container, and what it holds cannot be told.
    void noteDamage(const std::shared_ptr<const ForkFile>& file);
    /// A fork that cannot be used at all.
    void offerDamagedFork(ForkPlace place, const boost::filesystem::path& file);
    /// Both parts of an AppleSingle or AppleDouble file; false when it is none.
    bool offerAppleDouble(ForkPlace place, std::shared_ptr<const ForkFile> file,
                          appledouble::Strictness strictness);

  private:
    enum class Rank { eNone, eDamaged, ePlaceholder, ePlausible };

    static Rank rankOf(ByteView start, std::uint64_t length);
    std::int16_t lookAtFile();
    bool isListedFile() const;
    void findSpots();
    bool done() const { return !wantsFork() && !wantsFinderInfo(); }
    /// What people are told about a path; that of the file itself they know.
    std::string nameOf(const boost::filesystem::path& path) const;
    void note(const boost::system::error_code& error, const std::string& what);
    void noteReadErrors();
    ForkTrouble outOfReach() const;
    std::optional<std::vector<std::uint8_t>> readAttribute(const std::string& name);
    std::shared_ptr<const FolderListing> listing(const boost::filesystem::path& folder,
                                                 FolderListings::Links links);
    std::shared_ptr<const ForkFile> open(const boost::filesystem::path& path,
                                         RegularFile::Links links);
    void keep(Rank rank, ForkSource source, std::shared_ptr<const ForkFile> file, ForkBytes bytes);

    const ForkLocator::Environment& environment_;
    ForkCaches& caches_;
    boost::filesystem::path file_;
    Wanted wanted_;
    bool isEmpty_ = false;  // known to hold nothing
    std::vector<Spot> spots_;
    std::optional<std::vector<std::string>> attributes_;
    std::vector<std::shared_ptr<const ForkFile>> openedFiles_;
    bool contentOpened_ = false;
    std::shared_ptr<const ForkFile> content_;
    std::vector<std::uint8_t> contentStart_;

    bool outOfReach_ = false;
    ForkTrouble trouble_;  // the first thing that went wrong on the way
    ForkTrouble damage_;
    std::shared_ptr<const ForkFile> damagedSidecar_;
    FinderAnswer finder_;
    Rank rank_ = Rank::eNone;
    ForkSource source_;
    std::shared_ptr<const ForkFile> sourceFile_;
    ForkBytes sourceBytes_;
};

/// The places in the order of looking.
struct ForkProbe {
    bool givesFork;
    bool givesFinderInfo;
    bool looksInsideFile;
    void (*probe)(ForkSearch& search);
};
std::span<const ForkProbe> forkProbes();
