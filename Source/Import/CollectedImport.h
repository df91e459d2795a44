#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "CopyOutcome.h"
#include "FolderSpellings.h"
#include "OxFont.h"
#include "PlacementPlan.h"

/// The import of a scan as a whole: collects its records, then places their files, so that fonts
/// that need each other stay in one folder under their own names.
class CollectedImport {
  public:
    /// What is done with one file; destinations are relative to the destination folder.
    struct Ways {
        std::function<CopyResult(const boost::filesystem::path& source,
                                 const boost::filesystem::path& destination,
                                 boost::shared_ptr<OxFont>& font)>
            place;
        /// Whether the destination is taken by something else.
        std::function<bool(const boost::filesystem::path& source,
                           const boost::filesystem::path& destination)>
            differs;
        /// Told of each record, and of each partner without a record.
        std::function<void(const FontCopy&)> report;
        std::function<bool()> cancelled;
    };
    /// More files than this that want one name are not kept beside each other.
    static constexpr unsigned kMostKept = 999;

    explicit CollectedImport(const boost::filesystem::path& destination);

    void add(const OxFont& font) { plan_.add(font); }
    /// Places everything, once. With `keepBoth` what would differ gets a free name: a file
    /// NAME-2.EXT, a set its own names in a folder NAME-2. What is cancelled before its turn is
    /// neither placed nor told.
    void place(const Ways& ways, bool keepBoth);
    /// The records that were not told.
    std::size_t leftOut() const { return leftOut_; }

  private:
    struct Placed {
        boost::filesystem::path destination;
        CopyResult result;
    };
    using Files = std::vector<std::size_t>;

    boost::filesystem::path spelled(const boost::filesystem::path& folder);
    boost::filesystem::path destinationOf(const Files& set, std::size_t file, unsigned number);
    bool anyDiffers(const Ways& ways, const Files& set, unsigned number);
    void placeSet(const Ways& ways, const Files& set, bool keepBoth);
    void tell(const Ways& ways, const PlacementPlan::Step& step, bool isFurtherFace);

    boost::filesystem::path destination_;
    FolderSpellings spellings_;
    PlacementPlan plan_;
    std::vector<std::optional<Placed>> placed_;  // by the file's number
    std::size_t leftOut_ = 0;
};
