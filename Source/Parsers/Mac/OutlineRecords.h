#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstddef>
#include <map>
#include <memory>
#include <tuple>

#include "FondViews.h"
#include "OxFont.h"
#include "ResourceManager.h"
#include "WorkBudget.h"

/// The records of outline entries, made once for each resource.
///
/// Entries that name the same bytes yield equal records, so a font that many families share, or
/// that a hostile map names many times over, is read once. Serves the current resource file, for
/// as long as that is open.
class OutlineRecords {
  public:
    struct Result {
        const boost::ptr_vector<OxFont>& fonts;
        bool isNew;  ///< not answered before
    };

    /// Work is counted on `work`, which outlives the object.
    OutlineRecords(const boost::filesystem::path& file, int mode, SuitcaseWork& work)
        : file_(file), mode_(mode), work_(work) {}

    Result of(Handle fond, const AsscEntry& entry);

  private:
    // Whether the resource is there, its data and size, and whether the size is judged: only
    // entries of font size 0 are outlines by their own account.
    using Key = std::tuple<bool, const void*, std::size_t, bool>;

    const boost::filesystem::path& file_;
    const int mode_;
    SuitcaseWork& work_;
    std::map<Key, std::unique_ptr<boost::ptr_vector<OxFont>>> known_;
};
