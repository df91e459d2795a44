#include "PrinterFontSearch.h"

#include <vector>

#include "FontResources.h"
#include "RegularFile.h"

namespace fs = boost::filesystem;

namespace {

constexpr const char* kEndings[] = {"", ".bin", ".hqx", ".rsrc"};
// About what the system calls of one look cost.
constexpr std::uint64_t kLookCost = 20000;
constexpr std::size_t kResourceHeader = 16;

bool holdsPost(ByteView fork) {
    FontResources resources;
    return resources.open(fork) == noErr && resources.holds(FontResourceType::eProgram);
}

// Resources that are a file's whole data fork.
std::vector<std::uint8_t> dataForkResources(const fs::path& path) {
    RegularFile file;
    if (file.open(path) || file.size() > ForkLocator::kForkLimit) {
        return {};
    }
    boost::system::error_code error;
    std::vector<std::uint8_t> bytes(kResourceHeader);
    if (file.read(0, bytes, error) != bytes.size() ||
        !isPlausibleResourceHeader(ByteView(bytes), file.size())) {
        return {};
    }
    bytes.resize(static_cast<std::size_t>(file.size()));
    bytes.resize(file.read(0, bytes, error));
    return bytes;
}

}  // namespace

const fs::path& PrinterFontSearch::find(const std::string& name) {
    const auto [known, isNew] = known_.try_emplace(name);
    // A file of that name in that folder, nothing that a made-up name leads to elsewhere.
    if (!isNew || name.empty() || name == "." || name == ".." ||
        name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return known->second;
    }
    for (const char* const ending : kEndings) {
        const fs::path candidate = folder_ / (name + ending);
        if (!work_.spend(kLookCost)) {
            break;
        }
        if (holdsProgram(candidate)) {
            known->second = candidate;
            break;
        }
    }
    return known->second;
}

bool PrinterFontSearch::holdsProgram(const fs::path& file) {
    const ForkAnswer answer = forks_.resourceFork(file);
    if (answer.status == noErr && answer.bytes) {
        work_.spend(answer.bytes->size());
        if (holdsPost(ByteView(*answer.bytes))) {
            return true;
        }
    } else if (answer.status != eofErr) {
        return false;
    }
    const std::vector<std::uint8_t> bytes = dataForkResources(file);
    work_.spend(bytes.size());
    return holdsPost(ByteView(bytes));
}
