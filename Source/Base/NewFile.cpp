#include "NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdio>

namespace {

constexpr int kAttempts = 16;
// One call never takes more than this on some systems.
constexpr std::size_t kPiece = std::size_t{1} << 30;

std::string idOf(const struct stat& status) {
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

// Gives `to` to the file called `from`, unless `to` is taken. Not all file systems know links.
int renameWithoutReplacing(const char* from, const char* to) {
    if (::link(from, to) == 0) {
        ::unlink(from);
        return 0;
    }
    if (errno == EEXIST) {
        return EEXIST;
    }
#if defined(__APPLE__)
    return ::renamex_np(from, to, RENAME_EXCL) == 0 ? 0 : errno;
#else
    return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0 ? 0 : errno;
#endif
}

}  // namespace

NewFile::~NewFile() {
    discard();
}

int NewFile::create(const boost::filesystem::path& path) {
    discard();
    path_ = path;
    for (int i = 0; i < kAttempts; ++i) {
        boost::system::error_code error;
        const auto name = boost::filesystem::unique_path(".oxparser-%%%%%%%%%%%%", error);
        if (error) {
            return error.value();
        }
        const std::string temporary = (path.parent_path() / name).string();
        descriptor_ =
            ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (descriptor_ >= 0) {
            temporary_ = temporary;
            struct stat status;
            const int result = ::fstat(descriptor_, &status) == 0 ? 0 : errno;
            id_ = result == 0 ? idOf(status) : std::string();
            return result;
        }
        if (errno != EEXIST) {
            return errno;
        }
    }
    return EEXIST;
}

int NewFile::write(ByteView bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ByteView rest = bytes.clamped(done, kPiece);
        const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return 0;
}

int NewFile::commit() {
    int result = close();
    if (result == 0) {
        result = renameWithoutReplacing(temporary_.c_str(), path_.c_str());
    }
    if (result == 0) {
        temporary_.clear();
    }
    discard();
    return result;
}

int NewFile::replace(const std::string& earlierFileId) {
    int result = close();
    struct stat status;
    if (result == 0 && ::lstat(path_.c_str(), &status) != 0) {
        return errno == ENOENT ? commit() : errno;
    }
    if (result == 0 && idOf(status) != earlierFileId) {
        result = EEXIST;
    }
    if (result == 0 && ::rename(temporary_.c_str(), path_.c_str()) != 0) {
        result = errno;
    }
    if (result == 0) {
        temporary_.clear();
    }
    discard();
    return result;
}

std::string NewFile::fileId() const {
    return id_;
}

int NewFile::close() {
    if (descriptor_ < 0) {
        return temporary_.empty() ? EBADF : 0;
    }
    const int result = ::close(descriptor_) == 0 ? 0 : errno;
    descriptor_ = -1;
    return result;
}

void NewFile::discard() {
    close();
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        temporary_.clear();
    }
}
