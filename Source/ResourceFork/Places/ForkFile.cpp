#include "ForkFile.h"

#include <algorithm>
#include <cerrno>

std::shared_ptr<const ForkFile> ForkFile::open(const boost::filesystem::path& path,
                                               RegularFile::Links links,
                                               boost::system::error_code& error) {
    RegularFile file;
    error = file.open(path, links);
    return error ? nullptr : std::shared_ptr<const ForkFile>(new ForkFile(path, std::move(file)));
}

std::vector<std::uint8_t> ForkFile::read(std::uint64_t offset, std::uint64_t count) const {
    const std::uint64_t inside = offset < size() ? std::min(count, size() - offset) : 0;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inside));
    boost::system::error_code error;
    const std::size_t done = file_.read(offset, bytes, error);
    if (done < bytes.size() && !readError_) {
        readError_ = error ? error : systemError(EIO);  // it has become shorter
    }
    bytes.resize(done);
    return bytes;
}
