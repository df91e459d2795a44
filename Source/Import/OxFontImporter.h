#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
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

/// Copies every font file found in some sources into a destination folder, laid out by family
/// initial, family name and foundry.
///
/// Use: construct, append callbacks to parser() and to copyCallbacks, `import`, wait for the
/// coordinator's font completion callback, destroy. Copies are made one at a time on the
/// coordinator's font-producer thread, with its mutex held.
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

    /// The handler of the coordinator's file progress.
    void fileProgress(int found, int total, void* context);
    /// The handler of the coordinator's font progress: has the mover copy the record's file, and
    /// makes the record's "FontFilePath" the new folder, relative to the destination. Releases
    /// `font`.
    void fontProgress(int parsed, int total, boost::shared_ptr<OxFont> font);
    /// Where a font goes below the destination: "./", the family's first byte and the family, the
    /// foundry, the file name. Empty texts have no element; texts are used as they are.
    boost::filesystem::path createPath(const std::string& family, const std::string& foundry,
                                       const std::string& fileName);

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
    /// @}

    /// Called once a record, on the font-producer thread. Several records may come from one file;
    /// only the first is "copied", the others are the "same".
    std::vector<CopyCallback> copyCallbacks;

  private:
    boost::filesystem::path destinationFolder() const;
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
};
