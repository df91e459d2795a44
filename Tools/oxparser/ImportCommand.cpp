#include "ImportCommand.h"

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "Counted.h"
#include "ExitStatus.h"
#include "LibrarySetup.h"
#include "OxFontImporter.h"
#include "ResultWriter.h"
#include "ScanSession.h"
#include "Sources.h"
#include "StayedBehind.h"
#include "UsageError.h"
#include "Utf8.h"

namespace {

namespace fs = boost::filesystem;

constexpr CopyOutcome kOutcomes[] = {
    CopyOutcome::eCopied, CopyOutcome::eSame,    CopyOutcome::eDiffers, CopyOutcome::eNoFolder,
    CopyOutcome::eNoFile, CopyOutcome::eRefused, CopyOutcome::eFailed,  CopyOutcome::eSameFile};
constexpr std::size_t kOutcomeCount = std::size(kOutcomes);
constexpr std::size_t kCompatibleOutcomeCount = kOutcomeCount - 1;  // without the last

ResultShape importShape() {
    ResultShape shape;
    shape.table = {
        {"OUTCOME", 9, 9, 0, 0},
        {"SOURCE", 20, 60, 1, 0, Align::eLeft, Cut::eStart},
        {"DESTINATION", 24, 80, 2, 0, Align::eLeft, Cut::eStart},
        {"WHY", 4, 1000, 1, 0, Align::eLeft, Cut::eNever},
    };
    shape.csv = {"outcome", "source", "destination", "error"};
    return shape;
}

// What keeps a copy from being one more of the wanted files in the tree.
bool isTrouble(CopyOutcome outcome) {
    return outcome == CopyOutcome::eDiffers || outcome == CopyOutcome::eNoFolder ||
           outcome == CopyOutcome::eRefused || outcome == CopyOutcome::eFailed;
}

// The importer's layout begins with "./", which a reader can do without.
fs::path withoutDots(const fs::path& path) {
    fs::path plain;
    for (const fs::path& element : path) {
        if (element != ".") {
            plain /= element;
        }
    }
    return plain;
}

class ImportResult : public Result {
  public:
    // A record that names no file comes from one all the same.
    explicit ImportResult(const FontCopy& copy)
        : outcome_(copy.outcome),
          source_(hasFile() ? copy.source : copy.font->sourceFile()),
          destination_(hasFile() ? withoutDots(copy.destination) : fs::path()),
          error_(copy.error) {}

    nlohmann::ordered_json json() const override {
        nlohmann::ordered_json object = {{"record", "import"},
                                         {"source", toUtf8(source_.string())},
                                         {"destination", toUtf8(destination_.string())},
                                         {"outcome", copyOutcomeName(outcome_)}};
        const std::string text = why();
        object["error"] = text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
        return object;
    }
    std::vector<Row> tableRows() const override { return {row()}; }
    std::vector<Row> csvRows() const override { return {row()}; }

  private:
    bool hasFile() const { return outcome_ != CopyOutcome::eNoFile; }
    std::string why() const {
        switch (outcome_) {
            case CopyOutcome::eFailed:
                return error_.message();
            case CopyOutcome::eDiffers:
                return "the destination is taken by something else";
            default:
                return {};
        }
    }
    Row row() const {
        const Mark mark = isTrouble(outcome_) ? Mark::eError : Mark::ePlain;
        return {{copyOutcomeName(outcome_), mark},
                {source_.string()},
                {destination_.string()},
                {why()}};
    }

    const CopyOutcome outcome_;
    const fs::path source_;
    const fs::path destination_;
    const boost::system::error_code error_;
};

/// How often each outcome occurred, and the bytes that were copied.
class ImportTally {
  public:
    explicit ImportTally(Reading reading)
        : kinds_(reading == Reading::eModern ? kOutcomeCount : kCompatibleOutcomeCount) {}

    void count(const FontCopy& copy) {
        ++counts_[static_cast<std::size_t>(copy.outcome)];
        troubled_ = troubled_ || isTrouble(copy.outcome);
        if (copy.outcome == CopyOutcome::eCopied) {
            boost::system::error_code error;
            const std::uintmax_t size = fs::file_size(copy.source, error);
            bytes_ += error ? 0 : size;
        }
    }
    bool troubled() const { return troubled_; }

    std::string text(bool dryRun) const {
        std::string text = dryRun ? "nothing was done, but would be: " : std::string();
        for (std::size_t i = 0; i < kinds_; ++i) {
            // The first says something even when it is none.
            if (i == 0 || counts_[i] > 0) {
                text += (i == 0 ? "" : ", ") + std::to_string(counts_[i]) + " " +
                        copyOutcomeName(kOutcomes[i]);
            }
        }
        return text + " (" + bytesText() + ")";
    }

    nlohmann::ordered_json json(nlohmann::ordered_json summary) const {
        for (std::size_t i = 0; i < kinds_; ++i) {
            summary[copyOutcomeName(kOutcomes[i])] = counts_[i];
        }
        summary["bytesCopied"] = bytes_;
        return summary;
    }

    std::string bytesText() const {
        constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
        std::uintmax_t value = bytes_;
        std::size_t unit = 0;
        while (value >= 10240 && unit + 1 < std::size(kUnits)) {
            value /= 1024;
            ++unit;
        }
        return std::to_string(value) + " " + kUnits[unit];
    }

  private:
    const std::size_t kinds_;
    std::array<int, kOutcomeCount> counts_{};
    std::uintmax_t bytes_ = 0;
    bool troubled_ = false;
};

void requireDestination(std::queue<fs::path> sources, const fs::path& destination) {
    boost::system::error_code error;
    if (fs::exists(destination, error) && !fs::is_directory(destination, error)) {
        throw UsageError("--to: " + destination.string() + " is no folder");
    }
    // Copies would be made among the files that they are copied from.
    for (; !sources.empty(); sources.pop()) {
        if (fs::equivalent(sources.front(), destination, error)) {
            throw UsageError("--to: " + destination.string() + " is a PATH to copy from, too");
        }
    }
}

}  // namespace

int runImport(const Options& options, Output& output, Console& console) {
    if (options.arguments.empty() && options.filesFrom.empty()) {
        throw UsageError("import needs a PATH to copy fonts from");
    }
    if (options.destination.empty()) {
        throw UsageError("import needs --to FOLDER");
    }
    if (options.keepBoth && options.reading == Reading::eCompatible) {
        throw UsageError("--keep-both: the compatible reading has no such outcome");
    }
    configureLogging(options);
    const FoundryLists lists = foundryLists(options, console);
    const std::unique_ptr<ResultWriter> writer =
        makeResultWriter(options.format, importShape(), output);
    const auto sources = givenSources(options, console);
    requireDestination(sources, options.destination);
    writer->begin();

    ScanSession session(options, output, console);
    OxFontImporter importer(sources, options.destination, lists.names, lists.codes);
    importer.parser().setTolerantWalk(true);
    importer.parser().setReading(options.reading);
    importer.setCreateFolders(options.createFolders);
    importer.setDryRun(options.dryRun);
    importer.setKeepBoth(options.keepBoth);
    session.setCancel([&importer] { importer.cancel(); });

    ImportTally tally(options.reading);
    StayedBehind behind;
    importer.copyCallbacks.push_back([&](const FontCopy& copy) {
        tally.count(copy);
        if (options.reading == Reading::eModern) {
            behind.count(copy);
        }
        session.showExtra(tally.bytesText());
        session.add(copy.font, std::make_unique<ImportResult>(copy));
    });
    session.run(
        importer.parser(), [&importer] { importer.import(); }, *writer,
        [](const ScanSession::Record&) { return nullptr; });
    if (importer.syncError()) {
        console.complain("the copies may not have reached the disk: " +
                         importer.syncError().message());
    }
    if (importer.leftOut() > 0) {
        console.note(counted(static_cast<int>(importer.leftOut()), "record") +
                     " not placed, since the import ended early");
    }
    session.summarize(*writer, tally.json(session.summary().json()),
                      behind.text() + tally.text(options.dryRun) + "; " + session.summary().text());
    const int status = session.exitStatus();
    return status == eDone && tally.troubled() ? int{eFailed} : status;
}
