#include "ScanSession.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <thread>

#include "Counted.h"
#include "ExitStatus.h"
#include "ReadError.h"

namespace {

constexpr std::chrono::milliseconds kTick(100);
constexpr std::chrono::milliseconds kWalkTick(20);
// With a walk that should have ended.
constexpr std::chrono::milliseconds kPatience(50);
// Whoever reads the results may be slower than the scan.
constexpr std::size_t kMostWaiting = 64;

// Reading and digesting is most of a scan, and a few threads read as fast as a disk gives.
unsigned lookAheadHelpers() {
    const unsigned processors = std::thread::hardware_concurrency();
    return processors < 2 ? 0 : std::min(processors, 4U);
}

}  // namespace

nlohmann::ordered_json ScanSummary::json() const {
    return {{"record", "summary"},    {"filesFound", filesFound}, {"filesParsed", filesParsed},
            {"fonts", fonts},         {"errors", defects.errors}, {"warnings", defects.warnings},
            {"notes", defects.notes}, {"cancelled", cancelled}};
}

std::string ScanSummary::text() const {
    std::string text = counted(fonts, "font") + " in " + counted(filesFound, "file") + ": " +
                       counted(defects.errors, "error") + ", " +
                       counted(defects.warnings, "warning") + ", " + counted(defects.notes, "note");
    if (cancelled) {
        text += " (ended early after " + counted(filesParsed, "file") + ")";
    }
    return text;
}

ScanSession::ScanSession(const Options& options, Output& output, Console& console)
    : options_(options), output_(output), console_(console), progress_(console, options.progress) {}

void ScanSession::run(OxParser& parser, const std::function<void()>& start, ResultWriter& writer,
                      const ResultMaker& makeResult) {
    connect(parser, makeResult);
    {
        const Interruption::Attachment attachment(
            interruption_, cancel_ ? cancel_ : [&parser] { parser.cancel(); });
        if (!interruption_.requested() && walk(start)) {
            writeUntilComplete(parser, writer);
        }
    }
    // A cancellation during the walk is not told to the font completion callbacks.
    summary_.cancelled = cancelled_ || interruption_.requested();
    summary_.filesParsed = std::max(0, parser.filesParsed());
    summary_.filesFound = filesFound_;
    progress_.finish(summary_.filesParsed, summary_.filesFound);
}

// Whether the walk came to its end. A system call may hang for minutes, on a share whose server is
// gone; who has asked for the end then does not wait for it.
bool ScanSession::walk(const std::function<void()>& start) {
    walk_ = std::async(std::launch::async, start);
    do {
        progress_.walking(filesFound_);
        const bool ending = interruption_.requested();
        const auto patience = ending ? kPatience : kWalkTick;
        if (walk_.wait_for(patience) == std::future_status::ready) {
            walk_.get();
            return true;
        }
        walkHangs_ = ending;
    } while (!walkHangs_);
    return false;
}

void ScanSession::connect(OxParser& parser, const ResultMaker& makeResult) {
    outputIsTerminal_ = isTerminal(output_.descriptor());
    parser.setLookAhead(lookAheadHelpers());
    parser.fileProgressCallbacks.push_back([this](int found, int, void*) { filesFound_ = found; });
    parser.walkErrorCallbacks.push_back(
        [this](const boost::filesystem::path& path, const boost::system::error_code& error) {
            console_.complain("cannot read " + pathText(path.native()) + ": " + error.message());
        });
    parser.fileErrorCallbacks.push_back(
        [this](const boost::filesystem::path& path, const std::string& reason) {
            console_.complain(pathText(path.native()) + ": " + reason);
            unreadable_ = path.native();
        });
    const auto noteCancelled = [this](bool cancelled) {
        if (cancelled) {
            cancelled_ = true;
        }
    };
    parser.fileCompletionCallbacks.push_back(noteCancelled);
    parser.fontCompletionCallbacks.push_back(noteCancelled);
    parser.fontProgressCallbacks.push_back([this, &makeResult](int, int, const Record& font) {
        // The coordinator would only log an exception, and the record would be missing
        // silently.
        try {
            count(*font);
            nameUnreadable(*font);
            if (std::unique_ptr<Result> result = makeResult(font)) {
                add(font, std::move(result));
            }
        } catch (const std::exception& error) {
            console_.complain(pathText(font->sourceFile().native()) + ": " + error.what());
        }
    });
    parser.fontCompletionCallbacks.push_back([this](bool) { finished(); });
}

void ScanSession::count(const OxFont& font) {
    const DefectCounts defects = countDefects(font);
    ++summary_.fonts;
    summary_.defects.errors += defects.errors;
    summary_.defects.warnings += defects.warnings;
    summary_.defects.notes += defects.notes;
    progress_.record(font.sourceFile().string(), summary_.fonts, summary_.defects.all());
}

// A record says that its file could not be read, but not why.
void ScanSession::nameUnreadable(const OxFont& font) {
    const std::string& file = font.sourceFile().native();
    if (file == unreadable_ || !looksUnread(font)) {
        return;
    }
    if (const int error = readError(file)) {
        console_.complain("cannot read " + pathText(file) + ": " + std::strerror(error));
        unreadable_ = file;
    }
}

void ScanSession::add(const Record& font, std::unique_ptr<Result> result) {
    std::unique_lock lock(mutex_);
    written_.wait(lock, [this] { return waiting_.size() < kMostWaiting; });
    waiting_.push_back({font, std::move(result)});
    if (waiting_.size() == 1) {
        arrived_.notify_one();
    }
}

void ScanSession::finished() {
    const std::lock_guard lock(mutex_);
    complete_ = true;
    arrived_.notify_one();
}

void ScanSession::writeUntilComplete(const OxParser& parser, ResultWriter& writer) {
    std::deque<Waiting> results;
    std::unique_lock lock(mutex_);
    while (!complete_ || !waiting_.empty()) {
        arrived_.wait_for(lock, kTick, [this] { return complete_ || !waiting_.empty(); });
        results.swap(waiting_);
        lock.unlock();
        written_.notify_one();
        for (const Waiting& waiting : results) {
            write(waiting, writer);
        }
        results.clear();
        progress_.parsing(parser.filesParsed(), parser.totalFiles());
        lock.lock();
    }
}

void ScanSession::write(const Waiting& waiting, ResultWriter& writer) {
    try {
        std::optional<Console::StatusPause> pause;
        if (outputIsTerminal_) {
            pause.emplace(console_);
        }
        writer.write(*waiting.result);
    } catch (const std::exception& error) {
        console_.complain(pathText(waiting.font->sourceFile().native()) + ": " + error.what());
    }
    if (output_.failed()) {
        interruption_.request();
    }
}

void ScanSession::summarize(ResultWriter& writer, const nlohmann::ordered_json& json,
                            const std::string& text) {
    writer.writeJsonOnly(json);
    output_.flush();  // both may go to one place
    if (options_.format != Format::eJsonLines && output_.error() != EPIPE) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            console_.line(line);
        }
    }
    if (walkHangs_) {
        // The walk's thread still uses the coordinator, so that cannot be destroyed.
        ::_exit(exitStatus());
    }
}

int ScanSession::exitStatus() const {
    if (interruption_.signal() != 0) {
        return eSignalBase + interruption_.signal();
    }
    return console_.complaints() > 0 || failOnMet() ? eFailed : eDone;
}

bool ScanSession::failOnMet() const {
    const DefectCounts& defects = summary_.defects;
    return (options_.failOn != FailOn::eNever && defects.errors > 0) ||
           (options_.failOn == FailOn::eWarning && defects.warnings > 0);
}
