#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "Console.h"
#include "Options.h"

/// How far a scan has come, for somebody who waits: counts and the current file. Redrawn at most
/// ten times a second on a terminal; a line a second elsewhere; once more when parsing begins. Safe
/// from any thread.
class Progress {
  public:
    Progress(Console& console, ProgressMode mode);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// The walk has found so many files.
    void walking(int filesFound);
    /// So many files have been looked at.
    void parsing(int filesParsed, int totalFiles);
    /// A record has been reported.
    void record(const std::string& file, int fonts, int defects);
    /// Something more to tell behind the counts.
    void extra(const std::string& text);
    /// Clears the status line; elsewhere the last line tells the final counts.
    void finish(int filesParsed, int totalFiles);

  private:
    using Clock = std::chrono::steady_clock;

    bool due();
    std::string parsingText(int filesParsed, int totalFiles) const;

    Console& console_;
    const bool enabled_;
    std::mutex mutex_;
    Clock::time_point lastShown_{};
    bool parsing_ = false;
    std::string file_;
    std::string extra_;
    int fonts_ = 0;
    int defects_ = 0;
};
