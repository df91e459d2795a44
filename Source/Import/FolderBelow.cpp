#include "FolderBelow.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <string>
#include <vector>

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;
using Elements = std::vector<std::string>;

constexpr int kMostLinks = 40;
constexpr int kOpenFolder = O_PATH | O_DIRECTORY | O_CLOEXEC;

// By bytes, not with Boost's iterators, to which "//tmp" is the name of a host and "dst/" ends in
// an element ".".
Elements normalisedElements(const std::string& absolute) {
    Elements elements;
    for (std::size_t begin = 0; begin < absolute.size();) {
        const std::size_t end = std::min(absolute.find('/', begin), absolute.size());
        const std::string element = absolute.substr(begin, end - begin);
        if (element == ".." && !elements.empty()) {
            elements.pop_back();
        } else if (!element.empty() && element != "." && element != "..") {
            elements.push_back(element);
        }
        begin = end + 1;
    }
    return elements;
}

std::optional<Elements> elementsOf(const fs::path& path) {
    if (path.string().rfind('/', 0) == 0) {
        return normalisedElements(path.string());
    }
    error_code error;
    const fs::path current = fs::current_path(error);
    if (error) {
        return std::nullopt;
    }
    return normalisedElements(current.string() + '/' + path.string());
}

fs::path joined(Elements::const_iterator begin, Elements::const_iterator end) {
    std::string text;
    for (auto element = begin; element != end; ++element) {
        text += (text.empty() ? "" : "/") + *element;
    }
    return text;
}

// Empty for the folder itself.
std::optional<fs::path> pathBelowOrEqual(const fs::path& folder, const fs::path& file) {
    const std::optional<Elements> outer = elementsOf(folder);
    const std::optional<Elements> inner = elementsOf(file);
    if (!outer || !inner || outer->size() > inner->size() ||
        !std::equal(outer->begin(), outer->end(), inner->begin())) {
        return std::nullopt;
    }
    const auto count = static_cast<std::ptrdiff_t>(outer->size());
    return joined(inner->begin() + count, inner->end());
}

FileDescriptor openElement(const FileDescriptor& folder, const std::string& name,
                           MissingFolders missing) {
    const auto open = [&] {
        return FileDescriptor(::openat(folder.get(), name.c_str(), kOpenFolder | O_NOFOLLOW));
    };
    FileDescriptor element = open();
    if (element.isOpen() || errno != ENOENT || missing == MissingFolders::eKeep) {
        return element;
    }
    if (::mkdirat(folder.get(), name.c_str(), 0777) != 0 && errno != EEXIST) {
        return {};
    }
    return open();
}

bool isLink(const FileDescriptor& folder, const std::string& name) {
    const int before = errno;
    struct stat status;
    const bool link = ::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                      S_ISLNK(status.st_mode);
    errno = before;
    return link;
}

// Where the link `link` leads to, as a path below `root` without links.
std::optional<fs::path> linkTargetBelow(const fs::path& root, const fs::path& link,
                                        error_code& error) {
    const fs::path target = fs::canonical(root / link, error);
    if (error) {
        return std::nullopt;
    }
    const fs::path realRoot = fs::canonical(root, error);
    if (error) {
        return std::nullopt;
    }
    std::optional<fs::path> below = pathBelowOrEqual(realRoot, target);
    if (!below) {
        error = systemError(EXDEV);
    }
    return below;
}

}  // namespace

std::optional<fs::path> pathBelow(const fs::path& folder, const fs::path& file) {
    if (file.string().find('\0') != std::string::npos) {
        return std::nullopt;
    }
    std::optional<fs::path> below = pathBelowOrEqual(folder, file);
    return below && !below->empty() ? below : std::nullopt;
}

FileDescriptor openFolderBelow(const fs::path& root, const fs::path& relative,
                               MissingFolders missing, error_code& error) {
    error.clear();
    if (missing == MissingFolders::eCreate && !root.empty()) {
        fs::create_directories(root, error);
        if (error) {
            return {};
        }
    }
    Elements elements = normalisedElements(relative.string());
    for (int links = 0; links <= kMostLinks; ++links) {
        FileDescriptor folder(::open(root.empty() ? "." : root.c_str(), kOpenFolder));
        auto element = elements.cbegin();
        while (folder.isOpen() && element != elements.cend()) {
            FileDescriptor next = openElement(folder, *element, missing);
            if (!next.isOpen() && isLink(folder, *element)) {
                break;
            }
            folder = FileDescriptor(std::move(next));
            ++element;
        }
        if (!folder.isOpen()) {
            error = lastSystemError();
            return {};
        }
        if (element == elements.cend()) {
            return folder;
        }
        const std::optional<fs::path> target =
            linkTargetBelow(root, joined(elements.cbegin(), element + 1), error);
        if (!target) {
            return {};
        }
        elements = normalisedElements((*target / joined(element + 1, elements.cend())).string());
    }
    error = systemError(ELOOP);
    return {};
}
