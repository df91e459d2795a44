#pragma once

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include "CopyOutcome.h"
#include "Export.h"
#include "OxFont.h"
#include "OxFontMover.h"
#include "OxParser.h"

class CollectedImport;
class FileSystemSync;

/// Copies every font file found in some sources into a destination folder, laid out by family
/// initial, family name and foundry.
///
/// Use: construct, append callbacks to parser() and to copyCallbacks, `import`, wait for the
/// coordinator's font completion callback, destroy. Copies are made one at a time on the
/// coordinator's font-producer thread, with its mutex held: under the compatible reading when a
/// record is reported; under the modern one when all have been, before the host's font completion
/// callbacks. Then a family's suitcases and their printer fonts, programs and their metrics go into
/// one folder, folder and file names are made safe for every file system, folders that are equal
/// but for case are one, and what was copied is on the disk at the end.
///
/// Nothing is ever overwritten and nothing is written outside the destination folder: family and
/// file names come out of fonts, so an output path that leads elsewhere, by its text or through a
/// link below the destination folder, is refused. A link that stays below the folder is followed.
class OXPARSER_EXPORT OxFontImporter {
  public:
    using CopyCallback = boost::function<void(const FontCopy&)>;

    /// No sources, no destination.
    OxFontImporter();
    OxFontImporter(const std::queue<boost::filesystem::path>& sources,
                   const boost::filesystem::path& destination,
                   const boost::filesystem::path& foundryNames,
                   const boost::filesystem::path& foundryCodes);
    OxFontImporter(const OxFontImporter&) = delete;
    OxFontImporter& operator=(const OxFontImporter&) = delete;
    /// As for a coordinator: after the font completion callbacks have returned, from another
    /// thread.
    virtual ~OxFontImporter();

    /// Creates the mover and the coordinator and attaches the two handlers; the constructors call
    /// it.
    void initialize();
    /// Walks the sources and returns; parsing and copying go on in the coordinator's threads. A
    /// tolerant walk leaves out the destination where it lies inside a source.
    void import();
    /// Ends the scan and the copying early, from any thread but not from a callback. Under the
    /// modern reading nothing is placed from then on; the same goes for a coordinator that is
    /// cancelled.
    void cancel();

    /// The handler of the coordinator's file progress.
    void fileProgress(int found, int total, void* context);
    /// The handler of the coordinator's font progress: has the mover copy the record's file, and
    /// makes the record's "FontFilePath" the new folder, relative to the destination. Releases
    /// `font`. Under the modern reading it only collects.
    void fontProgress(int parsed, int total, boost::shared_ptr<OxFont> font);
    /// Where a font goes below the destination: "./", the family's first byte and the family, the
    /// foundry, the file name. Empty texts have no element; texts are used as they are.
    boost::filesystem::path createPath(const std::string& family, const std::string& foundry,
                                       const std::string& fileName);

    /// The handler of the coordinator's font completion: places what was collected.
    void fontCompletion(bool cancelled);

    /// The coordinator, for callbacks and settings of the host.
    OxParser& parser() { return *parser_; }
    OxFontMover& mover() { return *mover_; }

    /// @name To be called before `import`
    /// @{
    /// Takes another mover; null is ignored. Its Move is called for every record that names a file
    /// and whose output path is not refused, except for one that it has failed to copy already.
    void setMover(std::unique_ptr<OxFontMover> mover);
    /// Whether missing folders of an output path are made. Off, such a copy is skipped.
    void setCreateFolders(bool create) { createFolders_ = create; }
    /// Nothing is copied or created; the outcomes say what would have been.
    void setDryRun(bool dryRun) { dryRun_ = dryRun; }
    /// Under the modern reading: what would be "differs" is placed as NAME-2.EXT, NAME-3.EXT, …; a
    /// set of partners under its own names in a folder NAME-2. What is there already with equal
    /// bytes is the "same".
    void setKeepBoth(bool keepBoth) { keepBoth_ = keepBoth; }
    /// @}

    /// Called once a record, on the font-producer thread. Several records may come from one file;
    /// only the first is "copied", the others are the "same", or "same-file" under the modern
    /// reading. That reading tells of partners without a record, too.
    std::vector<CopyCallback> copyCallbacks;

    /// @name Under the modern reading, once the font completion callbacks are called
    /// @{
    /// What kept the copies from being written to the disk; none when they are there.
    const boost::system::error_code& syncError() const { return syncError_; }
    /// The records that were cancelled before their turn to be placed.
    std::size_t leftOut() const;
    /// @}

  private:
    boost::filesystem::path destinationFolder() const;
    void placeCollected();
    bool differs(const boost::filesystem::path& source, const boost::filesystem::path& destination);
    void report(const FontCopy& copy);
    CopyResult place(const boost::filesystem::path& source, const boost::filesystem::path& output,
                     boost::shared_ptr<OxFont>& font);
    void move(const boost::filesystem::path& source, const boost::filesystem::path& output,
              boost::shared_ptr<OxFont>& font);
    CopyResult outcomeOfMove(const boost::filesystem::path& source,
                             const boost::filesystem::path& target, bool wasTaken,
                             const boost::system::error_code& folderError);
    CopyResult rehearse(const boost::filesystem::path& source,
                        const boost::filesystem::path& target,
                        const boost::system::error_code& folderError);

    std::unique_ptr<OxFontMover> mover_;
    std::unique_ptr<OxParser> parser_;
    std::queue<boost::filesystem::path> sources_;
    boost::filesystem::path destination_;
    boost::filesystem::path foundryNames_;
    boost::filesystem::path foundryCodes_;
    bool createFolders_ = false;
    bool dryRun_ = false;
    // What is known of copying a source to a path below the destination (in this order), so that
    // the members of a collection are not compared and copied one by one.
    std::map<std::pair<std::string, std::string>, std::optional<CopyResult>> results_;
    std::map<std::string, boost::filesystem::path> rehearsed_;  // target, the source copied to it
    // The modern reading's.
    std::unique_ptr<CollectedImport> collected_;
    std::unique_ptr<FileSystemSync> sync_;
    bool keepBoth_ = false;
    std::atomic<bool> cancelled_{false};
    boost::system::error_code syncError_;
};
