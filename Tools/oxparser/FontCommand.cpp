#include "FontCommand.h"

#include <nlohmann/json.hpp>

#include "LibrarySetup.h"
#include "OxParser.h"
#include "ResultWriter.h"
#include "ScanSession.h"
#include "Sources.h"
#include "UsageError.h"

namespace {

void sayWhatIsScanned(std::queue<boost::filesystem::path> folders, Console& console) {
    std::string text = folders.empty()
                           ? "this system has none of the usual font folders; name a PATH"
                           : "no PATH given; these font folders are read:";
    for (; !folders.empty(); folders.pop()) {
        text += " " + folders.front().string();
    }
    console.note(text);
}

// Rather than to leave out silently what was asked for.
void requireShownDetails(const Options& options) {
    const std::pair<bool, const char*> details[] = {{options.details.names, "--names"},
                                                    {options.details.coverage, "--coverage"},
                                                    {options.details.tables, "--tables"}};
    for (const auto& [wanted, option] : details) {
        if (wanted && options.reading == Reading::eCompatible) {
            throw UsageError(std::string(option) + ": the compatible reading has no such property");
        }
        if (wanted && options.format != Format::eJsonLines) {
            throw UsageError(std::string(option) + " needs --format jsonl");
        }
    }
}

}  // namespace

int runFontCommand(const Options& options, FontReport& report, Output& output, Console& console) {
    requireShownDetails(options);
    configureLogging(options);
    const FoundryLists lists = foundryLists(options, console);
    const bool nothingGiven = options.arguments.empty() && options.filesFrom.empty();
    const std::queue<boost::filesystem::path> sources =
        nothingGiven ? fontFolders() : givenSources(options, console);
    if (nothingGiven) {
        sayWhatIsScanned(sources, console);
    }
    const std::unique_ptr<ResultWriter> writer =
        makeResultWriter(options.format, report.shape(), output);
    writer->begin();

    ScanSession session(options, output, console);
    OxParser parser(sources, lists.names, lists.codes);
    parser.setTolerantWalk(true);
    parser.setReading(options.reading, options.details);
    session.run(
        parser, [&parser] { parser.run(); }, *writer,
        [&report](const ScanSession::Record& font) { return report.result(font); });
    writer->end();
    session.summarize(*writer, session.summary().json(), report.summary(session.summary()));
    return session.exitStatus();
}
