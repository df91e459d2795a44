#include "ForkFile.h"

#include <algorithm>

ForkFile::Opened ForkFile::open(const boost::filesystem::path& path, RegularFile::Links links) {
    RegularFile file;
    const boost::system::error_code error = file.open(path, links);
    const bool isAnotherKind = error.value() == EISDIR || error.value() == EOPNOTSUPP;
    if (error) {
        return {isAnotherKind ? fnfErr : statusOfErrno(error.value()), nullptr};
    }
    return {noErr, std::shared_ptr<const ForkFile>(new ForkFile(path, std::move(file)))};
}

std::vector<std::uint8_t> ForkFile::read(std::uint64_t offset, std::uint64_t count) const {
    const std::uint64_t inside = offset < size() ? std::min(count, size() - offset) : 0;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(inside));
    boost::system::error_code error;
    const std::size_t done = file_.read(offset, bytes, error);
    cutShort_ = cutShort_ || done < bytes.size();
    bytes.resize(done);
    return bytes;
}
