#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzTarget.h"
#include "ReaderChecks.h"

namespace {

namespace fs = boost::filesystem;
using Bytes = std::vector<std::uint8_t>;

// How many places of a target's inputs are damaged, so that each target takes seconds.
constexpr std::size_t kPlaces = 600;

std::vector<fs::path> filesIn(const fs::path& place) {
    if (!fs::exists(place)) {
        return {};  // not every target has found anything yet
    }
    if (!fs::is_directory(place)) {
        return {place};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const FuzzTarget& target, const Bytes& bytes) {
    // A block of its own, so that the address sanitizer knows its end.
    const Bytes exact(bytes);
    target.run(ByteView(exact.data(), exact.size()));
}

// Truncations and damaged bytes at so many places: half of them at the front, where the headers
// are, half of them spread over the rest.
std::size_t replayDamaged(const FuzzTarget& target, const Bytes& bytes, std::size_t places) {
    const std::size_t dense = std::min(bytes.size(), places / 2);
    const std::size_t step = std::max<std::size_t>(1, 2 * (bytes.size() - dense) / (places + 1));
    std::size_t runs = 0;
    for (std::size_t at = 0; at < bytes.size(); at += at < dense ? 1 : step) {
        replay(target, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(at)));
        Bytes damaged = bytes;
        for (const int value : {0x00, 0xFF, bytes[at] ^ 0x01, bytes[at] ^ 0x80}) {
            damaged[at] = static_cast<std::uint8_t>(value);
            replay(target, damaged);
        }
        runs += 5;
    }
    return runs;
}

}  // namespace

// replay [--damaged] TARGET FILE-OR-FOLDER...: runs the target on each file, and with --damaged on
// damaged forms of it too. Ends with an abort on the first property that does not hold.
int main(int argc, char** argv) {
    int next = 1;
    const bool damaged = next < argc && std::strcmp(argv[next], "--damaged") == 0;
    next += damaged ? 1 : 0;
    const std::string name = next < argc ? argv[next++] : "";
    const FuzzTarget* const target = FuzzTarget::find(name);
    if (target == nullptr) {
        std::fprintf(stderr, "usage: %s [--damaged] TARGET FILE-OR-FOLDER...\n", argv[0]);
        return 2;
    }
    std::vector<fs::path> files;
    for (; next < argc; ++next) {
        const std::vector<fs::path> more = filesIn(argv[next]);
        files.insert(files.end(), more.begin(), more.end());
    }
    std::size_t runs = 0;
    for (const fs::path& path : files) {
        std::ifstream file(path.string(), std::ios::binary);
        const Bytes bytes(std::istreambuf_iterator<char>(file), {});
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);  // names the culprit should the run abort
        inputIsSound() = path.filename().string().starts_with("sound");
        replay(*target, bytes);
        inputIsSound() = false;
        runs += 1 + (damaged ? replayDamaged(*target, bytes, kPlaces / files.size()) : 0);
    }
    std::printf("%s: %zu inputs, %zu runs\n", name.c_str(), files.size(), runs);
    return files.empty() ? 1 : 0;
}
