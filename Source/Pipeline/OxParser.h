#pragma once

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/system/error_code.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <utility>
#include <vector>

#include "Export.h"
#include "OxFileFactory.h"
#include "OxFont.h"
#include "OxFontFactory.h"
#include "OxParserImp.h"
#include "OxQueue.h"
#include "ReadingDetails.h"

class LookAhead;

/// How font files are read.
enum class Reading {
    eCompatible,  ///< as hosts have always known it, quirk for quirk
    eModern       ///< what is really in the file, by the published formats; typed properties
};

/// The coordinator of a scan: owns the format parsers, the queues and the threads, and hands every
/// font record to the host's callbacks.
///
/// Use: construct with the paths to scan, append callbacks, `run`, wait for the font completion
/// callback, destroy. A coordinator is run once. `run` walks the paths and returns; parsing goes on
/// in background threads until the font completion callbacks are called. Once those have returned,
/// any other thread may destroy the coordinator at once.
///
/// All callbacks run on the coordinator's threads with its mutex held: they must not call back
/// into the coordinator (nor destroy it). While one runs, no file is parsed.
class OXPARSER_EXPORT OxParser {
  public:
    using FileProgressCallback = boost::function<void(int, int, void*)>;
    using FontProgressCallback = boost::function<void(int, int, boost::shared_ptr<OxFont>)>;
    using CompletionCallback = boost::function<void(bool)>;
    using WalkErrorCallback =
        boost::function<void(const boost::filesystem::path&, const boost::system::error_code&)>;
    using FileErrorCallback = OxParserImp::FileErrorReport;

    /// No source: finds no files.
    OxParser(const boost::filesystem::path& foundryNames,
             const boost::filesystem::path& foundryCodes);
    /// Scans one file or folder.
    OxParser(const boost::filesystem::path& source, const boost::filesystem::path& foundryNames,
             const boost::filesystem::path& foundryCodes);
    /// Scans several files and folders, in order.
    OxParser(const std::queue<boost::filesystem::path>& sources,
             const boost::filesystem::path& foundryNames,
             const boost::filesystem::path& foundryCodes);
    OxParser(const OxParser&) = delete;
    OxParser& operator=(const OxParser&) = delete;
    virtual ~OxParser();  // NOLINT(bugprone-exception-escape)

    /// Creates the queues and factories and registers the parsers; the constructors call it.
    void initialize();

    /// Configures log4cpp from a property file. A failure is written to standard output
    /// ("Configure Problem ..."), nothing is thrown.
    static void configure_log4cpp(const char* propertyFile);

    /// Loads the two lists into theFoundries, the codes first. A file that a coordinator of this
    /// process has loaded and that has not changed since is not loaded again.
    void loadFoundryList(const boost::filesystem::path& foundryNames,
                         const boost::filesystem::path& foundryCodes);
    /// Loads the library's own two lists.
    void loadFoundryList();

    /// Chooses the reading: the coordinator's own parsers give way to those of that reading, before
    /// any that a host has added. Compatible without this call. To be called before `run`.
    void setReading(Reading reading, const ReadingDetails& details = {});
    Reading reading() const { return reading_; }

    /// Appends a parser to the registry, which owns it from then on and passes its file errors on.
    /// Like removeParserImp, to be called from any thread but out of a callback or a parser; waits
    /// for the file in hand.
    void addParserImp(OxParserImp* imp);
    /// Removes and deletes exactly this parser; does nothing when it is not registered.
    void removeParserImp(OxParserImp* imp);
    /// Has the first parser that accepts `file` parse it. The caller owns the list; null when no
    /// parser accepts the file or it yields nothing. What keeps the file from being read whole is
    /// told to fileErrorCallbacks before this returns.
    boost::ptr_vector<OxFont>* parseFile(const boost::filesystem::path& file);

    /// Walks all sources, then starts the parsing threads and returns. Raises
    /// boost::thread_resource_error when a thread cannot be made: none is left then, and callbacks
    /// that have not come will not.
    void run();
    /// Ends the scan early; neither waits nor joins. Callable from any thread, but not from a
    /// callback.
    void cancel();

    /// Removes and returns the next source; an empty path when none is left.
    boost::filesystem::path getNextPath();
    void setTotalFilesToParse(int total);
    /// Files offered to the registry so far; -1 before `run`.
    int filesParsed() const { return filesParsed_; }
    /// Files that the walk found; -1 before `run`, 0 until the walk has ended.
    int totalFiles() const { return totalFiles_; }

    /// Call every callback of the matching list, in order. What a callback throws is passed on.
    void NotifyFileProgress(int found, int total, void* context);
    void NotifyFileCompletion(bool cancelled);
    void NotifyFontProgress(int parsed, int total, boost::shared_ptr<OxFont> font);
    void NotifyFontCompletion(bool cancelled);
    void NotifyWalkError(const boost::filesystem::path& path,
                         const boost::system::error_code& error);
    void NotifyFileError(const boost::filesystem::path& path, const std::string& reason);

    /// Asks for the tolerant walk; to be called before `run`. Folders and entries that cannot be
    /// read are reported through walkErrorCallbacks and skipped. The entries of a folder come in
    /// byte order of their names. Within one source a folder is entered once: by its own path where
    /// the walk reaches it that way, else by the first link to it, after all that needs no link.
    /// The kernel's own file systems are left out unless the source lies on one, and so are Mac
    /// sidecars. A cancelled walk stops.
    void setTolerantWalk(bool tolerant) { tolerantWalk_ = tolerant; }
    bool tolerantWalk() const { return tolerantWalk_; }
    /// A tolerant walk does not enter this folder, however it comes there, unless it is a source
    /// itself. It need not exist yet. To be called before `run`.
    void leaveOut(const boost::filesystem::path& folder) { leftOutFolders_.push_back(folder); }
    const std::vector<boost::filesystem::path>& leftOutFolders() const { return leftOutFolders_; }

    /// Asks for `helpers` threads that read and digest the next font files while one is parsed;
    /// their bytes wait in at most `budget` bytes of memory, and what finds no room there is read
    /// once more from the system's cache. To be called before `run`. With 0,
    /// as it is without this call, each file is read when it is parsed. Records, their order and
    /// the threads that call the host are the same either way.
    void setLookAhead(unsigned helpers, std::size_t budget = kLookAheadBudget) {
        lookAheadHelpers_ = helpers;
        lookAheadBudget_ = budget;
    }
    static constexpr std::size_t kLookAheadBudget = std::size_t{8} << 20;

  private:
    friend class OxFontFactory;
    class NotificationTurn;
    using FileErrors = std::vector<std::pair<boost::filesystem::path, std::string>>;

    void watchErrorsOf(OxParserImp& parser);
    void recordQueued() { ++queuedRecords_; }
    void recordTaken() { --queuedRecords_; }
    bool notificationsGoFirst() const;
    std::unique_ptr<LookAhead> startLookAhead();
    bool readsWhole(const boost::filesystem::path& file);
    struct Parsed {
        std::unique_ptr<boost::ptr_vector<OxFont>> fonts;
        bool firstFirst = false;  // the order in which they go to the host
    };
    Parsed parse(const boost::filesystem::path& file);
    boost::ptr_vector<OxFont>* parseWith(OxParserImp& parser, const boost::filesystem::path& file);
    void reportRecords(const std::function<void()>& report);
    void callFontProgress(int parsed, int total, const boost::shared_ptr<OxFont>& font);

    std::unique_ptr<OxFileFactory> fileFactory_;
    std::unique_ptr<OxFontFactory> fontFactory_;
    boost::shared_ptr<OxFileFactory::PathQueue> pathQueue_;
    boost::shared_ptr<OxFontFactory::FontQueue> fontQueue_;
    std::queue<boost::filesystem::path> sources_;
    boost::ptr_vector<OxParserImp> parsers_;
    OxParserImp* lastParser_ = nullptr;     // that parsed a file
    std::vector<OxParserImp*> ownParsers_;  // those of parsers_ that belong to the reading
    std::atomic<Reading> reading_{Reading::eCompatible};
    boost::mutex mutex_;
    // Who changes the registry holds this as well as mutex_, which a parse keeps to its end:
    // helpers ask the parsers meanwhile.
    boost::mutex registry_;
    std::atomic<int> filesParsed_{-1};
    std::atomic<int> totalFiles_{-1};

  public:
    /// (files found so far, files found so far, null), once a file found; walk thread.
    std::vector<FileProgressCallback> fileProgressCallbacks;
    /// (files parsed, total files, the font), once a record; font-producer thread.
    std::vector<FontProgressCallback> fontProgressCallbacks;
    /// (whether cancelled), once, after the walk; walk thread.
    std::vector<CompletionCallback> fileCompletionCallbacks;
    /// (whether cancelled), once, after the last record; font-producer thread.
    std::vector<CompletionCallback> fontCompletionCallbacks;
    /// (path, error) of what a tolerant walk could not read; walk thread.
    std::vector<WalkErrorCallback> walkErrorCallbacks;
    /// (path, reason) of a file that cannot be read whole, where no record can say it: its folder
    /// cannot be listed, an attribute or sidecar cannot be read, its fork is damaged or out of
    /// reach. Called before the records of that file are; file-consumer thread.
    std::vector<FileErrorCallback> fileErrorCallbacks;

  private:
    FileErrors fileErrors_;  // of the parse that goes on
    std::atomic<bool> tolerantWalk_{false};
    std::vector<boost::filesystem::path> leftOutFolders_;
    std::atomic<unsigned> lookAheadHelpers_{0};
    std::atomic<std::size_t> lookAheadBudget_{kLookAheadBudget};
    // A parse gives way to these, so that records reach the host while later files are parsed.
    std::atomic<int> waitingNotifications_{0};
    std::atomic<int> queuedRecords_{0};
    boost::condition_variable notificationsDone_;
};
