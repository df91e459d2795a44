#include "ForkFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "FileTime.h"

ForkFile::Opened ForkFile::open(const boost::filesystem::path& path, Links links) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    FileDescriptor descriptor(
        ::open(path.c_str(), links == Links::eRefuse ? flags | O_NOFOLLOW : flags));
    if (!descriptor.isOpen()) {
        return {statusOfErrno(errno), nullptr};
    }
    struct stat status;
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {fnfErr, nullptr};
    }
    const timespec modified = modificationTime(status);
    const Stamp stamp{
        static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
        static_cast<std::uint64_t>(status.st_size), modified.tv_sec, modified.tv_nsec};
    return {noErr,
            std::shared_ptr<const ForkFile>(new ForkFile(path, std::move(descriptor), stamp))};
}

std::vector<std::uint8_t> ForkFile::read(std::uint64_t offset, std::uint64_t count) const {
    const std::uint64_t inside = offset < size() ? std::min(count, size() - offset) : 0;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inside));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = ::pread(descriptor_.get(), bytes.data() + done, bytes.size() - done,
                                    static_cast<off_t>(offset + done));
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    cutShort_ = cutShort_ || done < bytes.size();
    bytes.resize(done);
    return bytes;
}
