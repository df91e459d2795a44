#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>
#include <vector>

#include "OxFont.h"

/// What an import keeps of a record until the scan has ended, in little memory: its attributes but
/// for long texts (a copyright notice), its diagnostics, and the properties that say what it is and
/// what belongs to it. Names, languages, coverage and tables are not kept.
class SlimRecord {
  public:
    explicit SlimRecord(const OxFont& font);

    /// A record with what was kept.
    boost::shared_ptr<OxFont> restored() const;

  private:
    std::string attributes_;  // keys and values, each behind its length
    OxProperties properties_;
    std::vector<FontDiagnostic> diagnostics_;
    boost::filesystem::path sourceFile_;
};

/// The files that a record names as belonging to it, in the order of naming.
std::vector<boost::filesystem::path> partnersOf(const OxFont& font);
