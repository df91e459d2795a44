#include "Sources.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "UsageError.h"

namespace {

namespace fs = boost::filesystem;

std::string readAll(int descriptor, const std::string& name) {
    std::string content;
    char block[64 * 1024];
    for (;;) {
        const ssize_t count = ::read(descriptor, block, sizeof block);
        if (count == 0) {
            return content;
        }
        if (count > 0) {
            content.append(block, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            throw UsageError("--files-from: cannot read " + name + ": " + std::strerror(errno));
        }
    }
}

std::string readList(const std::string& file) {
    if (file == "-") {
        return readAll(STDIN_FILENO, "standard input");
    }
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw UsageError("--files-from: cannot open " + file + ": " + std::strerror(errno));
    }
    struct Closer {
        int descriptor;
        ~Closer() { ::close(descriptor); }
    } const closer{descriptor};
    return readAll(descriptor, file);
}

std::vector<std::string> split(const std::string& content, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t end = std::min(content.find(separator, start), content.size());
        if (end > start) {
            parts.push_back(content.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts;
}

// Whether the walk can be sent to `path`. A path whose status cannot be told is left to the walk,
// which says why.
bool isThere(const std::string& path, Console& console) {
    if (path.find('\0') != std::string::npos) {
        console.complain(path + ": not a path (a list with zero bytes needs --null)");
        return false;
    }
    boost::system::error_code error;
    if (path.empty() || fs::status(path, error).type() == fs::file_not_found) {
        console.complain((path.empty() ? "''" : path) + ": " + std::strerror(ENOENT));
        return false;
    }
    return true;
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

// The folders in which a desktop of the XDG kind looks for fonts, and the customary ones.
std::vector<fs::path> fontFolderCandidates() {
    std::vector<fs::path> folders = {"/usr/share/fonts", "/usr/local/share/fonts"};
    for (const std::string& folder : split(environment("XDG_DATA_DIRS"), ':')) {
        folders.push_back(fs::path(folder) / "fonts");
    }
    const fs::path home = environment("HOME");
    const fs::path userData = environment("XDG_DATA_HOME");
    folders.push_back(userData.is_absolute() ? userData / "fonts" : home / ".local/share/fonts");
    folders.push_back(home / ".fonts");
    // Relative entries count for nothing.
    std::erase_if(folders, [](const fs::path& folder) { return !folder.is_absolute(); });
    return folders;
}

bool liesIn(const fs::path& path, const fs::path& folder) {
    const auto [inPath, inFolder] =
        std::mismatch(path.begin(), path.end(), folder.begin(), folder.end());
    return inFolder == folder.end();
}

}  // namespace

std::queue<fs::path> givenSources(const Options& options, Console& console) {
    std::vector<std::string> paths = options.arguments;
    if (!options.filesFrom.empty()) {
        const char separator = options.nullSeparated ? '\0' : '\n';
        const std::vector<std::string> more = split(readList(options.filesFrom), separator);
        paths.insert(paths.end(), more.begin(), more.end());
    }
    std::queue<fs::path> sources;
    for (const std::string& path : paths) {
        if (isThere(path, console)) {
            sources.push(path);
        }
    }
    return sources;
}

std::queue<fs::path> fontFolders() {
    std::vector<std::pair<fs::path, fs::path>> existing;  // as written, and without links
    for (const fs::path& folder : fontFolderCandidates()) {
        boost::system::error_code error;
        const fs::path real = fs::canonical(folder, error);
        if (!error && fs::is_directory(real, error)) {
            existing.emplace_back(folder, real);
        }
    }
    std::queue<fs::path> sources;
    for (std::size_t i = 0; i < existing.size(); ++i) {
        bool covered = false;
        for (std::size_t j = 0; j < existing.size() && !covered; ++j) {
            const bool inside = liesIn(existing[i].second, existing[j].second);
            const bool same = existing[i].second == existing[j].second;
            covered = inside && (same ? j < i : true);
        }
        if (!covered) {
            sources.push(existing[i].first);
        }
    }
    return sources;
}
