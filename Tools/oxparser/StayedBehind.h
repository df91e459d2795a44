#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <string>

#include "CopyOutcome.h"

/// The files that an import has not brought to their place, with the reason, as lines to be read.
class StayedBehind {
  public:
    /// More files than this are only counted.
    static constexpr std::size_t kMostLines = 100;

    /// Takes a copy that went well, too. The faces of one file come in a row and are one line.
    void count(const FontCopy& copy);
    /// Lines that each end with a line feed; empty when everything is in its place.
    std::string text() const;

  private:
    boost::filesystem::path last_;
    std::string lines_;
    std::size_t files_ = 0;
};
