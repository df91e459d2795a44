#pragma once

#include <boost/filesystem/path.hpp>
#include <span>
#include <string_view>
#include <vector>

#include "FolderListing.h"

/// Which files lie beside a file under its stem: the metrics of a font program, the program of
/// metrics. A folder is listed once for all its files. Used by one thread at a time.
class FolderPartners {
  public:
    using Paths = std::vector<boost::filesystem::path>;

    /// The files in the folder of `file` that have its stem and one of the extensions, each given
    /// with its dot, whatever the case of both; in the order of the extensions, each in the
    /// spelling that it has there, behind the folder as `file` names it; never the file itself.
    Paths of(const boost::filesystem::path& file, std::span<const std::string_view> extensions);
    /// Forgets all listings.
    void clear() { listings_ = FolderListings(); }

  private:
    FolderListings listings_;
};
