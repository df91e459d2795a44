#include "ImportCommand.h"

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

#include "ExitStatus.h"
#include "LibrarySetup.h"
#include "OxFontImporter.h"
#include "ResultWriter.h"
#include "ScanSession.h"
#include "Sources.h"
#include "UsageError.h"
#include "Utf8.h"

namespace {

constexpr CopyOutcome kOutcomes[] = {
    CopyOutcome::Copied, CopyOutcome::Same,    CopyOutcome::Differs, CopyOutcome::NoFolder,
    CopyOutcome::NoFile, CopyOutcome::Refused, CopyOutcome::Failed};
constexpr std::size_t kOutcomeCount = std::size(kOutcomes);

ResultShape importShape() {
    ResultShape shape;
    shape.table = {
        {"OUTCOME", 9, 9, 0, 0},
        {"SOURCE", 20, 60, 1, 0, Align::Left, Cut::Start},
        {"DESTINATION", 24, 80, 2, 0, Align::Left, Cut::Start},
        {"WHY", 4, 1000, 1, 0},
    };
    shape.csv = {"outcome", "source", "destination", "error"};
    return shape;
}

// What keeps a copy from being one more of the wanted files in the tree.
bool isTrouble(CopyOutcome outcome) {
    return outcome == CopyOutcome::Differs || outcome == CopyOutcome::NoFolder ||
           outcome == CopyOutcome::Refused || outcome == CopyOutcome::Failed;
}

class ImportResult : public Result {
  public:
    explicit ImportResult(FontCopy copy) : copy_(std::move(copy)) {}

    nlohmann::ordered_json json() const override {
        nlohmann::ordered_json object = {{"record", "import"},
                                         {"source", toUtf8(copy_.source.string())},
                                         {"destination", toUtf8(copy_.destination.string())},
                                         {"outcome", copyOutcomeName(copy_.outcome)}};
        object["error"] = hasWhy() ? nlohmann::ordered_json(why()) : nlohmann::ordered_json();
        return object;
    }
    std::vector<Row> tableRows() const override { return {row()}; }
    std::vector<Row> csvRows() const override { return {row()}; }

  private:
    bool hasWhy() const { return copy_.outcome == CopyOutcome::Failed; }
    std::string why() const { return hasWhy() ? copy_.error.message() : std::string(); }
    Row row() const {
        const Mark mark = isTrouble(copy_.outcome) ? Mark::Error : Mark::Plain;
        return {{copyOutcomeName(copy_.outcome), mark},
                {copy_.source.string()},
                {copy_.destination.string()},
                {why()}};
    }

    const FontCopy copy_;
};

/// How often each outcome occurred, and the bytes that were copied.
class ImportTally {
  public:
    void count(const FontCopy& copy) {
        ++counts_[static_cast<std::size_t>(copy.outcome)];
        troubled_ = troubled_ || isTrouble(copy.outcome);
        if (copy.outcome == CopyOutcome::Copied) {
            boost::system::error_code error;
            const std::uintmax_t size = boost::filesystem::file_size(copy.source, error);
            bytes_ += error ? 0 : size;
        }
    }
    bool troubled() const { return troubled_; }

    std::string text(bool dryRun) const {
        std::string text = dryRun ? "nothing was done, but would be: " : std::string();
        for (std::size_t i = 0; i < kOutcomeCount; ++i) {
            // The first says something even when it is none.
            if (i == 0 || counts_[i] > 0) {
                text += (i == 0 ? "" : ", ") + std::to_string(counts_[i]) + " " +
                        copyOutcomeName(kOutcomes[i]);
            }
        }
        return text + " (" + bytesText() + ")";
    }

    nlohmann::ordered_json json(nlohmann::ordered_json summary) const {
        for (std::size_t i = 0; i < kOutcomeCount; ++i) {
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
    std::array<int, kOutcomeCount> counts_{};
    std::uintmax_t bytes_ = 0;
    bool troubled_ = false;
};

}  // namespace

int runImport(const Options& options, Output& output, Console& console) {
    if (options.arguments.empty() && options.filesFrom.empty()) {
        throw UsageError("import needs a PATH to copy fonts from");
    }
    if (options.destination.empty()) {
        throw UsageError("import needs --to FOLDER");
    }
    configureLogging(options);
    const FoundryLists lists = foundryLists(options, console);
    const std::unique_ptr<ResultWriter> writer =
        makeResultWriter(options.format, importShape(), output);
    const auto sources = givenSources(options, console);
    writer->begin();

    ScanSession session(options, output, console);
    OxFontImporter importer(sources, options.destination, lists.names, lists.codes);
    importer.parser().setTolerantWalk(true);
    importer.setCreateFolders(options.createFolders);
    importer.setDryRun(options.dryRun);

    // The importer tells of a record's copy right before the session is handed that record.
    ImportTally tally;
    std::optional<FontCopy> latest;
    importer.copyCallbacks.push_back([&latest](const FontCopy& copy) { latest = copy; });
    session.run(
        importer.parser(), [&importer] { importer.import(); }, *writer,
        [&](const ScanSession::Record&, int, int) -> std::unique_ptr<Result> {
            if (!latest) {
                return nullptr;
            }
            tally.count(*latest);
            session.showExtra(tally.bytesText());
            auto result = std::make_unique<ImportResult>(std::move(*latest));
            latest.reset();
            return result;
        });
    session.summarize(*writer, tally.json(session.summary().json()),
                      tally.text(options.dryRun) + "; " + session.summary().text());
    const int status = session.exitStatus();
    return status == kDone && tally.troubled() ? int{kFailed} : status;
}
