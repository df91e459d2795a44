// What the look for forks adds to the scan of a folder of ordinary files, which no parser takes:
// the scan's time over the time that is left when the look-ups, measured turn by turn with the
// scans, are taken off. Usage: fork_lookup_benchmark [FILES]
#include <stdlib.h>
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

namespace {

namespace fs = boost::filesystem;

// Some files for each kind of name that a folder of documents holds.
std::vector<fs::path> makeFiles(const fs::path& folder, int count) {
    constexpr const char* kExtensions[] = {".txt", ".jpg", ".pdf", ".html", ""};
    std::vector<fs::path> files;
    for (int i = 0; i < count; ++i) {
        files.push_back(folder / ("ordinary file " + std::to_string(i) + kExtensions[i % 5]));
        fs::ofstream(files.back(), std::ios::binary) << std::string(1000, 'x');
    }
    // A folder that changed just now is listed anew for each file.
    ::sleep(1);
    return files;
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

}  // namespace

int main(int argc, char** argv) {
    constexpr int kRounds = 11;
    const int count = argc > 1 ? std::atoi(argv[1]) : 20000;
    char name[] = "/tmp/fork-lookups-XXXXXX";
    if (::mkdtemp(name) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    const fs::path folder = name;
    const std::vector<fs::path> files = makeFiles(folder, count);
    std::vector<double> ratios;
    for (int i = 0; i < kRounds; ++i) {
        const double whole = seconds([&] { scan(folder, count); });
        const double lookUps = seconds([&] { lookUp(files); });
        std::printf("scan %.1f us a file, look-ups %.1f us a file\n", 1e6 * whole / count,
                    1e6 * lookUps / count);
        ratios.push_back(whole / (whole - lookUps));
    }
    fs::remove_all(folder);
    std::sort(ratios.begin(), ratios.end());
    std::printf("scan with look-ups / without, time: min %.3f median %.3f max %.3f\n",
                ratios.front(), ratios[ratios.size() / 2], ratios.back());
}
