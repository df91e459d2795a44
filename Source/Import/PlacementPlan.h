#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "OxFont.h"
#include "SlimRecord.h"

/// Which folder each file of an import goes to, once all records are known, so that what belongs
/// together stays together.
///
/// Files that name each other as partners, directly or through others, are a set and go to one
/// folder; a file without partners is a set by itself. The folder is that of the set's best record:
/// the first of a font program that has a family and a known foundry, else of one that has a
/// family; else the first strike or metrics file with a family, likewise; else the first record.
///
/// Records and files are known by their numbers, in the order in which they were met.
class PlacementPlan {
  public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    /// The folder, relative to the destination, that a record alone would go to: by its texts.
    using Layout = std::function<boost::filesystem::path(const OxFont&)>;
    /// The folder that such a one really is: called by `decide`, in order, for what is used.
    using Spelling = std::function<boost::filesystem::path(const boost::filesystem::path&)>;

    /// One thing to place or to tell.
    struct Step {
        std::size_t record;
        std::size_t file;  ///< kNone: the record names no file
    };

    PlacementPlan(Layout layout, Spelling spelling)
        : layout_(std::move(layout)), spelling_(std::move(spelling)) {}

    /// One more record of the scan, in its order; only what is needed of it is kept.
    void add(const OxFont& font);
    /// To be called once, after the last record and before what follows.
    void decide();

    /// For each record one, and behind the record that names them first the partners that no
    /// record comes from.
    const std::vector<Step>& steps() const { return steps_; }
    const SlimRecord& record(std::size_t number) const { return records_[number].slim; }
    /// Whether no record of the scan comes from the file.
    bool isOnlyPartner(std::size_t file) const { return files_[file].firstRecord == kNone; }
    /// The record to show for a file: its first face's, else the one that names it.
    std::size_t recordOf(std::size_t file) const;
    const boost::filesystem::path& source(std::size_t file) const { return files_[file].source; }
    const boost::filesystem::path& folder(std::size_t file) const {
        return folders_[files_[file].folder];
    }
    /// The files of the set that a file belongs to, in the order of the steps; itself alone when
    /// it has no partners beside it.
    std::vector<std::size_t> setOf(std::size_t file) const;
    std::size_t fileCount() const { return files_.size(); }

  private:
    struct Record {
        SlimRecord slim;
        std::size_t file;
        std::size_t ownFolder;  // where it alone would go
        int merit;              // of its set's records the best decides
        std::vector<std::size_t> partners;
    };
    struct File {
        boost::filesystem::path source;
        std::size_t firstRecord = kNone;  // made from it
        std::size_t namer = kNone;        // the first other file's record that names it
        std::size_t folder = kNone;       // its set's
        std::size_t set = kNone;          // a file of the same set; the representative's is its own
    };

    std::size_t fileNumber(const boost::filesystem::path& source);
    std::size_t folderNumber(const boost::filesystem::path& folder);
    void joinPartners();
    void chooseFolders();
    void spellFolders();
    void listSteps();
    std::size_t representative(std::size_t file);
    void listSets();

    Layout layout_;
    Spelling spelling_;
    std::vector<Record> records_;
    std::vector<File> files_;
    std::vector<boost::filesystem::path> folders_;
    std::unordered_map<std::string, std::size_t> fileNumbers_;
    std::unordered_map<std::string, std::size_t> folderNumbers_;
    std::vector<Step> steps_;
    std::map<std::size_t, std::vector<std::size_t>> sets_;  // of several files; by representative
};
