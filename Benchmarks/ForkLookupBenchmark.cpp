// What the look for forks adds to a scan: the scan's time over the time that is left when the
// look-ups, measured turn by turn with the scans, are taken off. Once in a folder of documents,
// where each file is looked at and nothing else is done, and once in a folder of fonts with a
// document for every twenty. Usage: fork_lookup_benchmark [FILES]
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include "OxParser.h"
#include "OxParserSuitcaseImp.h"
#include "SfntBuilder.h"
#include "Support.h"

namespace {

namespace fs = boost::filesystem;

// Every so many files is a document, the others are fonts. Answers the documents.
std::vector<fs::path> makeFiles(const fs::path& folder, int count, int every) {
    constexpr const char* kExtensions[] = {".txt", ".jpg", ".pdf", ".html", ""};
    const Bytes font = SfntBuilder::goodFont().table("glyf", Bytes(20000)).build();
    const Bytes document(1000, 'x');
    std::vector<fs::path> documents;
    for (int i = 0; i < count; ++i) {
        const bool plain = i % every == 0;
        const fs::path file =
            folder / ("file " + std::to_string(i) + (plain ? kExtensions[i % 5] : ".ttf"));
        const Bytes& bytes = plain ? document : font;
        fs::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (plain) {
            documents.push_back(file);
        }
    }
    // A folder that changed just now is listed anew for each file.
    ::sleep(1);
    return documents;
}

template <typename Work>
double seconds(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void scan(const fs::path& folder, int count) {
    OxParser parser(folder, "", "");
    parser.setTolerantWalk(true);
    std::promise<void> done;
    parser.fontCompletionCallbacks.push_back([&done](bool) { done.set_value(); });
    parser.run();
    done.get_future().wait();
    if (parser.filesParsed() != count) {
        std::fprintf(stderr, "the scan met %d files\n", parser.filesParsed());
        std::exit(1);
    }
}

void lookUp(const std::vector<fs::path>& files) {
    OxParserSuitcaseImp parser;
    for (const fs::path& file : files) {
        if (parser.inspectFont(file)) {
            std::fprintf(stderr, "an ordinary file is no suitcase\n");
            std::exit(1);
        }
    }
}

void measure(const char* what, int count, int every) {
    constexpr int kRounds = 11;
    const TemporaryFolder folder;
    const std::vector<fs::path> documents = makeFiles(folder.path(), count, every);
    std::vector<double> scans;
    std::vector<double> lookUps;
    for (int i = 0; i < kRounds; ++i) {
        scans.push_back(seconds([&] { scan(folder.path(), count); }));
        lookUps.push_back(seconds([&] { lookUp(documents); }));
    }
    std::sort(scans.begin(), scans.end());
    std::sort(lookUps.begin(), lookUps.end());
    const double whole = scans[kRounds / 2];
    const double looking = lookUps[kRounds / 2];
    std::printf("%s: median scan %.1f us a file, look-up %.1f us; with look-ups / without %.3f\n",
                what, 1e6 * whole / count, 1e6 * looking / static_cast<double>(documents.size()),
                whole / (whole - looking));
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 20000;
    measure("documents", count, 1);
    measure("fonts", count, 20);
}
