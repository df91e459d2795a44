#include "Sources.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "Terminal.h"
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

bool exists(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

// The lines of a list. One that was written on Windows ends in a carriage return that is no part of
// the name, unless there is such a file.
std::vector<std::string> linesOf(const std::string& content) {
    std::vector<std::string> lines = split(content, '\n');
    for (std::string& line : lines) {
        if (line.ends_with('\r') && !exists(line)) {
            line.pop_back();
        }
    }
    std::erase(lines, std::string());
    return lines;
}

// What is the same for all spellings of a path that differ in where they start, in "." and in
// slashes. ".." stays: behind a link it does not lead back.
std::string spellingOf(const fs::path& path) {
    boost::system::error_code error;
    const fs::path folder = path.is_absolute() ? fs::path() : fs::current_path(error);
    std::string spelling;
    for (const fs::path& element : folder / path) {
        if (element != "." && element != "/") {
            spelling += "/" + element.native();
        }
    }
    return spelling;
}

// Whether the walk can be sent to `path`. A path whose status cannot be told is left to the walk,
// which says why.
bool isThere(const std::string& path, Console& console) {
    if (path.find('\0') != std::string::npos) {
        console.complain(pathText(path) + ": not a path (a list with zero bytes needs --null)");
        return false;
    }
    boost::system::error_code error;
    if (path.empty() || fs::status(path, error).type() == fs::file_not_found) {
        console.complain((path.empty() ? "''" : pathText(path)) + ": " + std::strerror(ENOENT));
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
        const std::string list = readList(options.filesFrom);
        const std::vector<std::string> more =
            options.nullSeparated ? split(list, '\0') : linesOf(list);
        paths.insert(paths.end(), more.begin(), more.end());
    }
    std::queue<fs::path> sources;
    std::set<std::string> taken;
    for (const std::string& path : paths) {
        if (isThere(path, console) && taken.insert(spellingOf(path)).second) {
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
