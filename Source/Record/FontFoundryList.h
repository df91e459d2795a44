#pragma once

#include <map>
#include <shared_mutex>
#include <string>
#include <vector>

#include "Export.h"

/// Maps what a font says about its maker to a foundry's name: foundry names that are looked for
/// inside copyright texts, and a table from vendor codes ('OS/2' achVendID) to names.
///
/// Look-ups are safe from any thread, also while another thread loads.
class OXPARSER_EXPORT FontFoundryList {
  public:
    FontFoundryList();
    ~FontFoundryList();
    FontFoundryList(const FontFoundryList&) = delete;
    FontFoundryList& operator=(const FontFoundryList&) = delete;

    /// Loads the library's own two lists into theFoundries; a list that is not found is left out.
    void LoadLists();

    /// Appends the names of a text file, one a line, each line taken whole (an empty line is an
    /// empty name, which every text contains). Does nothing when there is no such file. Loading a
    /// file again appends its names again.
    void LoadFoundryNames(const std::string& path);

    /// Adds the entries of a text file, one a line: code, tabs, name. A later entry of a code
    /// replaces the earlier one. A line with fewer than two fields is skipped with a warning in
    /// the log. A missing file yields no entries.
    void LoadFoundryCodes(const std::string& path);

    /// The first name, in file order, that occurs in `copyright` byte for byte; "Unknown" when
    /// none does.
    std::string FindFoundryFromCopyright(const std::string& copyright) const;

    /// The name of exactly this code (no trimming, no case folding); "Unknown" when there is none.
    std::string FindFoundryFromCode(const std::string& code) const;

  private:
    std::vector<std::string> names_;
    std::map<std::string, std::string> codes_;
    mutable std::shared_mutex mutex_;
};

/// The list that the whole library uses. It exists before any static initialiser of a host runs
/// and is never destroyed, since parsing threads may outlive the process's exit handlers.
extern OXPARSER_EXPORT FontFoundryList& theFoundries;
