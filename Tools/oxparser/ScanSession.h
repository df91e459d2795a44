#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "Console.h"
#include "FontResult.h"
#include "Interruption.h"
#include "Options.h"
#include "OxParser.h"
#include "Progress.h"
#include "ResultWriter.h"

/// What became of a scan.
struct ScanSummary {
    int filesFound = 0;
    int filesParsed = 0;
    int fonts = 0;
    DefectCounts defects;
    bool cancelled = false;

    nlohmann::ordered_json json() const;
    std::string text() const;
};

/// Runs one coordinator from start to end: counts, shows progress, names what cannot be read, ends
/// early on a signal or when nobody takes the results, and knows the exit status.
///
/// To be made before any other thread, since it blocks signals for the threads to come.
class ScanSession {
  public:
    using Record = boost::shared_ptr<OxFont>;
    /// Makes the result to print for a record; null when the command leaves the record out. Called
    /// for every record, on the coordinator's thread: must not call the coordinator.
    using ResultMaker = std::function<std::unique_ptr<Result>(const Record&)>;

    /// Neither is owned; both must outlive the session.
    ScanSession(const Options& options, Output& output, Console& console);
    ScanSession(const ScanSession&) = delete;
    ScanSession& operator=(const ScanSession&) = delete;

    /// Calls `start`, which must run `parser`, and returns when the last result has been written;
    /// `parser` may then be destroyed. `start` is called on a thread of its own. Results are
    /// written on the calling thread, in the order of their records: parsing goes on meanwhile.
    void run(OxParser& parser, const std::function<void()>& start, ResultWriter& writer,
             const ResultMaker& makeResult);

    /// What ends a run early instead of the coordinator's cancel; to be called before `run`.
    void setCancel(std::function<void()> cancel) { cancel_ = std::move(cancel); }

    /// Appends one more result to be written. Called as a ResultMaker is.
    void add(const Record& font, std::unique_ptr<Result> result);

    /// Writes the summary: `json` to `writer` where the format has a place for it, else the lines
    /// of `text` to the console. The last call of a session: does not return when the walk hangs
    /// and the user has ended it.
    void summarize(ResultWriter& writer, const nlohmann::ordered_json& json,
                   const std::string& text);
    /// One more count behind the others in the progress line.
    void showExtra(const std::string& text) { progress_.extra(text); }
    const ScanSummary& summary() const { return summary_; }
    int exitStatus() const;

  private:
    struct Waiting {
        Record font;
        std::unique_ptr<Result> result;
    };

    void connect(OxParser& parser, const ResultMaker& makeResult);
    bool walk(const std::function<void()>& start);
    void count(const OxFont& font);
    void nameUnreadable(const OxFont& font);
    void finished();
    void writeUntilComplete(const OxParser& parser, ResultWriter& writer);
    void write(const Waiting& waiting, ResultWriter& writer);
    bool failOnMet() const;

    const Options& options_;
    Output& output_;
    Console& console_;
    std::function<void()> cancel_;
    Interruption interruption_;
    Progress progress_;
    ScanSummary summary_;
    std::future<void> walk_;
    std::atomic<int> filesFound_{0};
    std::atomic<bool> cancelled_{false};
    bool walkHangs_ = false;
    std::string unreadable_;         // the file that was named last
    bool outputIsTerminal_ = false;  // asked once: the question is a system call
    std::mutex mutex_;
    std::condition_variable arrived_;  // a result to write, or the end
    std::condition_variable written_;  // room for more results
    std::deque<Waiting> waiting_;
    bool complete_ = false;
};
