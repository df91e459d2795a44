#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

#include "ForkLocator.h"
#include "WorkLimit.h"

/// Finds the printer fonts of a suitcase: files of the name that is made from a PostScript name,
/// plain or with an ending that containers add, in the suitcase's folder, with 'POST' resources in
/// their resource fork or, without one, in their data fork. Answers are remembered, since a style
/// has many strikes.
class PrinterFontSearch {
  public:
    /// `forks` and `work` must outlive the search.
    PrinterFontSearch(boost::filesystem::path folder, ForkLocator& forks, WorkLimit& work)
        : folder_(std::move(folder)), forks_(forks), work_(work) {}

    /// The path, or an empty one. `name` is UTF-8.
    const boost::filesystem::path& find(const std::string& name);

  private:
    bool holdsProgram(const boost::filesystem::path& file);

    boost::filesystem::path folder_;
    ForkLocator& forks_;
    WorkLimit& work_;
    std::map<std::string, boost::filesystem::path> known_;
};
