#include "SidecarOwner.h"

#include <boost/filesystem/operations.hpp>
#include <string>
#include <string_view>

#include "AppleDouble.h"
#include "Ascii.h"
#include "ResourceFile.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::string_view kMacOsX = "__MACOSX";
constexpr int kDeepest = 64;

bool isFile(const fs::path& path) {
    boost::system::error_code error;
    return fs::is_regular_file(path, error);
}

std::string withoutMark(const std::string& name) {
    return name.starts_with("._") ? name.substr(2) : name;
}

int hexDigit(char c) {
    const char lower = ascii::toLower(c);
    return lower >= '0' && lower <= '9'   ? lower - '0'
           : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10
                                          : -1;
}

// Old servers write characters that the disk does not take as a colon and two digits.
std::string withoutEscapes(const std::string& name) {
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool escaped = name[i] == ':' && i + 2 < name.size() && hexDigit(name[i + 1]) >= 0 &&
                             hexDigit(name[i + 2]) >= 0;
        if (escaped) {
            result += static_cast<char>(16 * hexDigit(name[i + 1]) + hexDigit(name[i + 2]));
            i += 2;
        } else {
            result += name[i];
        }
    }
    return result;
}

bool liesInSidecarFolder(ForkLocator& forks, const fs::path& file) {
    const fs::path folder = file.parent_path();
    if (!ForkLocator::isSidecarFolder(folder.filename().native())) {
        return false;
    }
    const fs::path owners = folder.parent_path();
    const std::string name = file.filename().string();
    return forks.hasFileCalled(owners, name) || forks.hasFileCalled(owners, withoutMark(name)) ||
           (name.find(':') != name.npos && forks.hasFileCalled(owners, withoutEscapes(name)));
}

// The sidecar of A/B/NAME is __MACOSX/A/B/._NAME.
bool liesInMacOsXTree(const fs::path& file) {
    if (file.native().find(kMacOsX) == std::string::npos) {
        return false;
    }
    fs::path below = withoutMark(file.filename().string());
    fs::path folder = file.parent_path();
    for (int i = 0; i < kDeepest && folder.has_filename(); ++i) {
        if (folder.filename() == fs::path(std::string(kMacOsX))) {
            return isFile(folder.parent_path() / below);
        }
        below = folder.filename() / below;
        folder = folder.parent_path();
    }
    return false;
}

bool liesBesideOwner(const fs::path& file, ByteView start) {
    const std::string name = file.filename().string();
    std::string owner;
    if (name.size() > 5 && ascii::toLower(name).ends_with(".rsrc")) {
        owner = name.substr(0, name.size() - 5);
    } else if (name.size() > 2 && name.starts_with("R.")) {
        owner = name.substr(2);
    }
    const bool isFork = appledouble::hasMagic(start) ||
                        (start.holds(0, 16) && isPlausibleResourceHeader(start, UINT64_MAX));
    return !owner.empty() && isFork && isFile(file.parent_path() / owner);
}

}  // namespace

bool isSidecarOfExistingFile(ForkLocator& forks, const fs::path& file, ByteView start) {
    return forks.isSidecar(file) || liesInSidecarFolder(forks, file) || liesInMacOsXTree(file) ||
           liesBesideOwner(file, start);
}
