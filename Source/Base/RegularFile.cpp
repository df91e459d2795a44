#include "RegularFile.h"

#include <unistd.h>

#include <cerrno>

using boost::system::error_code;

namespace {

FileVersion versionOf(const struct stat& status) {
    const auto nanoseconds = [](const timespec& time) {
        return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
    };
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

}  // namespace

error_code RegularFile::open(const boost::filesystem::path& path, Links links, int folder) {
    descriptor_.close();
    status_ = {};
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    FileDescriptor opened(
        ::openat(folder, path.c_str(), links == Links::eRefuse ? flags | O_NOFOLLOW : flags));
    struct stat status;
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0) {
        return lastSystemError();
    }
    if (!S_ISREG(status.st_mode)) {
        return systemError(S_ISDIR(status.st_mode) ? EISDIR : EOPNOTSUPP);
    }
    descriptor_ = std::move(opened);
    status_ = status;
    return {};
}

FileVersion RegularFile::version() const {
    return versionOf(status_);
}

bool RegularFile::isStill(const FileVersion& version) const {
    struct stat now;
    return ::fstat(descriptor_.get(), &now) == 0 && versionOf(now) == version;
}

std::size_t RegularFile::read(std::uint64_t offset, std::span<std::uint8_t> out,
                              error_code& error) const {
    error.clear();
    std::size_t done = 0;
    while (done < out.size()) {
        const ssize_t got = ::pread(descriptor_.get(), out.data() + done, out.size() - done,
                                    static_cast<off_t>(offset + done));
        if (got == 0) {
            break;
        }
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            error = lastSystemError();
            break;
        }
    }
    return done;
}
