#pragma once

#include <boost/filesystem.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OxFont.h"

using Bytes = std::vector<std::uint8_t>;

/// A folder of its own for one test, removed with everything in it at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const boost::filesystem::path& path() const { return path_; }
    /// Writes a file (its folder is made if need be) and answers its path.
    boost::filesystem::path write(const std::string& name, const Bytes& bytes) const;
    boost::filesystem::path write(const std::string& name, std::string_view text) const;

  private:
    boost::filesystem::path path_;
};

Bytes bytesOf(std::string_view text);
Bytes readFile(const boost::filesystem::path& file);

/// The entries of a folder, sorted.
std::vector<std::string> namesIn(const boost::filesystem::path& folder);

/// A record's diagnostics, one a line: "error 11103 1", "warning 0 text".
std::vector<std::string> diagnosticLines(const OxFont& font);
