#include "FontCommand.h"

#include "LibrarySetup.h"
#include "OxParser.h"
#include "ResultWriter.h"
#include "ScanSession.h"
#include "Sources.h"

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

}  // namespace

int runFontCommand(const Options& options, const ResultShape& shape,
                   const ScanSession::ResultMaker& makeResult, Output& output, Console& console) {
    configureLogging(options);
    const FoundryLists lists = foundryLists(options, console);
    const bool nothingGiven = options.arguments.empty() && options.filesFrom.empty();
    const std::queue<boost::filesystem::path> sources =
        nothingGiven ? fontFolders() : givenSources(options, console);
    if (nothingGiven) {
        sayWhatIsScanned(sources, console);
    }
    const std::unique_ptr<ResultWriter> writer = makeResultWriter(options.format, shape, output);
    writer->begin();

    ScanSession session(options, output, console);
    OxParser parser(sources, lists.names, lists.codes);
    parser.setTolerantWalk(true);
    session.run(
        parser, [&parser] { parser.run(); }, *writer, makeResult);
    session.summarize(*writer);
    return session.exitStatus();
}
