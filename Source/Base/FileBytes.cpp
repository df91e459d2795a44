#include "FileBytes.h"

#include <algorithm>
#include <span>

#include "FileReading.h"
#include "RegularFile.h"

namespace {

thread_local FileBytes::Supplier* theSupplier = nullptr;

}  // namespace

std::optional<std::uint64_t> regularFileSize(const boost::filesystem::path& file) {
    struct stat status;
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

FileBytes::FileBytes() : file_(std::make_unique<RegularFile>()) {}

FileBytes::~FileBytes() = default;

bool FileBytes::open(const boost::filesystem::path& file) {
    readError_.clear();
    return !file_->open(file);
}

std::uint64_t FileBytes::size() const {
    return file_->size();
}

FileVersion FileBytes::version() const {
    return file_->version();
}

bool FileBytes::isStill(const FileVersion& version) const {
    return file_->isStill(version);
}

void FileBytes::setSupplier(Supplier* supplier) {
    theSupplier = supplier;
}

std::size_t FileBytes::readAt(std::uint64_t offset, std::uint8_t* out, std::size_t count) const {
    boost::system::error_code error;
    const std::size_t done = file_->read(offset, {out, count}, error);
    if (error && !readError_) {
        readError_ = error;
    }
    return done;
}

std::size_t FileBytes::readAll(ByteBuffer& buffer, std::size_t padding) {
    const FileVersion version = file_->version();
    const auto size = static_cast<std::size_t>(version.size);
    const Supplied supplied = theSupplier != nullptr && file_->isOpen()
                                  ? theSupplier->supply(version, padding, buffer, md5_)
                                  : Supplied::eNothing;
    if (supplied == Supplied::eEverything) {
        return size;
    }
    buffer.resize(size + padding);
    std::fill_n(buffer.data() + size, padding, std::uint8_t{0});
    if (supplied == Supplied::eDigest && readAt(0, buffer.data(), size) == size &&
        isStill(version)) {
        return size;
    }
    FileReading reading(*this, size, buffer.data(), size);
    while (!reading.isDone()) {
        FileReading* const one = &reading;
        FileReading::advance({&one, 1});
    }
    md5_ = reading.md5();
    const std::size_t done = reading.bytesRead();
    std::fill_n(buffer.data() + done, size - done, std::uint8_t{0});
    return done;
}

std::string FileBytes::digest() {
    return md5FinishHex(&md5_);
}
