#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "ByteView.h"
#include "FinderInfo.h"

/// FINDER.DAT, in which PC Exchange (Mac OS 7.5 to 9) keeps the Finder information of a FAT folder:
/// records of 92 bytes, big-endian (Aaru, PCExchange.cs):
///
///     Mac name 1+31 | FInfo 16 | FXInfo 16 | three dates | file id 4 | 8.3 name 8+3 | 1
///
/// Records do not run across the clusters of the disk: each cluster ends in padding, and its size
/// is not in the file.
class FinderDat {
  public:
    /// Longer files are not read; this is room for more than ten thousand records.
    static constexpr std::uint64_t kSizeLimit = std::uint64_t{1} << 20;

    struct Record {
        std::string macName;    // UTF-8
        std::string shortName;  // NAME.EXT
        FinderInfo finderInfo;
    };

    FinderDat() = default;
    FinderDat(FinderDat&&) = default;
    FinderDat& operator=(FinderDat&&) = default;
    /// Reads with the cluster size that makes most records look sane: a name of at most 31 bytes,
    /// a printable type, a legal 8.3 name for which `exists` is true.
    FinderDat(ByteView file, const std::function<bool(const std::string&)>& exists);

    std::size_t size() const { return size_; }
    /// The record of the file `name`: by its 8.3 name, else by its Mac name; null when there is
    /// none. Case does not matter.
    const Record* find(std::string_view name) const;

  private:
    void read(ByteView file, std::size_t cluster,
              const std::function<bool(const std::string&)>& exists);

    std::size_t size_ = 0;
    std::unordered_map<std::string, Record> byShortName_;       // key in upper case
    std::unordered_map<std::string, const Record*> byMacName_;  // key folded
};
