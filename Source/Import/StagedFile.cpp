#include "StagedFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>

namespace {

using boost::system::error_code;

constexpr int kAttempts = 16;

// The file's own entry in /proc: linking it gives an unnamed file a name without any privilege.
std::string procEntry(const FileDescriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.get());
}

bool names(int folder, const std::string& name, dev_t device, ino_t inode) {
    struct stat status;
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           status.st_dev == device && status.st_ino == inode;
}

}  // namespace

StagedFile::~StagedFile() {
    discard();
}

error_code StagedFile::create(const FileDescriptor& folder, mode_t mode) {
    folder_ = folder.get();
    if (!createUnnamed(mode)) {
        if (const error_code error = createNamed(mode)) {
            return error;
        }
    }
    struct stat status;
    if (::fstat(file_.get(), &status) != 0) {
        return lastSystemError();
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
    return {};
}

bool StagedFile::createUnnamed(mode_t mode) {
    if ((ways_ & Unnamed) == 0) {
        return false;
    }
    file_ = FileDescriptor(::openat(folder_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    struct stat status;
    if (file_.isOpen() && ::stat(procEntry(file_).c_str(), &status) != 0) {
        file_.close();
    }
    return file_.isOpen();
}

error_code StagedFile::createNamed(mode_t mode) {
    for (int i = 0; i < kAttempts; ++i) {
        error_code error;
        const auto name = boost::filesystem::unique_path(".oxparser-%%%%%%%%%%%%.part", error);
        if (error) {
            return error;
        }
        file_ = FileDescriptor(::openat(
            folder_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (file_.isOpen()) {
            temporary_ = name.string();
            return {};
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return lastSystemError();
}

error_code StagedFile::write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return lastSystemError();
        }
        bytes = bytes.subspan(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return {};
}

void StagedFile::setModificationTime(const timespec& time) {
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1] = time;
    static_cast<void>(::futimens(file_.get(), times));
}

error_code StagedFile::publish(const std::string& name) {
    if (temporary_.empty()) {
        const std::string self = procEntry(file_);
        const bool linked =
            ::linkat(AT_FDCWD, self.c_str(), folder_, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
        return linked ? error_code() : lastSystemError();
    }
    if (!file_.close() || !place(name)) {
        return lastSystemError();
    }
    temporary_.clear();
    return {};
}

bool StagedFile::place(const std::string& name) {
    const char* from = temporary_.c_str();
    if ((ways_ & Link) != 0 && ::linkat(folder_, from, folder_, name.c_str(), 0) == 0) {
        ::unlinkat(folder_, from, 0);
        return true;
    }
    if ((ways_ & Link) != 0 && errno == EEXIST) {
        return false;
    }
    if ((ways_ & Rename) != 0) {
        if (::renameat2(folder_, from, folder_, name.c_str(), RENAME_NOREPLACE) == 0) {
            return true;
        }
        if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
            return false;
        }
    }
    return claim(name);
}

bool StagedFile::claim(const std::string& name) {
    constexpr int kOurs = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor claimed(::openat(folder_, name.c_str(), kOurs, 0600));
    struct stat status;
    if (!claimed.isOpen() || ::fstat(claimed.get(), &status) != 0) {
        return false;
    }
    if (!names(folder_, name, status.st_dev, status.st_ino)) {
        errno = EEXIST;
        return false;
    }
    if (::renameat(folder_, temporary_.c_str(), folder_, name.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    if (names(folder_, name, status.st_dev, status.st_ino)) {
        ::unlinkat(folder_, name.c_str(), 0);
    }
    errno = error;
    return false;
}

void StagedFile::withdraw(const std::string& name) {
    if (names(folder_, name, device_, inode_)) {
        ::unlinkat(folder_, name.c_str(), 0);
    }
}

void StagedFile::discard() {
    file_.close();
    if (!temporary_.empty()) {
        ::unlinkat(folder_, temporary_.c_str(), 0);
        temporary_.clear();
    }
}
