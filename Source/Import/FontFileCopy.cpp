#include "FontFileCopy.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <vector>

#include "FolderListing.h"
#include "NewFile.h"
#include "RegularFile.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;

constexpr std::size_t kPiece = std::size_t{256} * 1024;

error_code copyBytes(const RegularFile& source, NewFile& copy) {
    std::vector<std::uint8_t> buffer(kPiece);
    std::uint64_t position = 0;
    for (;;) {
        error_code error;
        const std::size_t count = source.read(position, buffer, error);
        if (error) {
            return error;
        }
        if (const int failed = copy.write(ByteView(buffer.data(), count))) {
            return systemError(failed);
        }
        position += count;
        if (count < buffer.size()) {
            // Files that the kernel makes up as they are read report a size of 0.
            const bool whole = source.isStill(source.version()) &&
                               (position == source.size() || source.size() == 0);
            return whole ? error_code() : systemError(EIO);
        }
    }
}

bool holds(const FileDescriptor& folder, const std::string& name,
           std::span<const std::uint8_t> bytes) {
    RegularFile existing;
    if (existing.open(name, RegularFile::Links::eFollow, folder.get())) {
        return false;
    }
    std::vector<std::uint8_t> read(bytes.size() + 1);
    error_code error;
    read.resize(existing.read(0, read, error));
    return !error && std::equal(read.begin(), read.end(), bytes.begin(), bytes.end());
}

// Whether a folder lists that name, which is known to be taken. The HFS driver of Linux cuts a
// name of more than 31 letters silently and finds it under the long name again.
bool keepsName(const FileDescriptor& folder, const std::string& name) {
    const long longest = ::fpathconf(folder.get(), _PC_NAME_MAX);
    if (longest <= 0 || name.size() <= static_cast<std::size_t>(longest)) {
        return true;
    }
    FolderListings listings;
    const fs::path entry = "/proc/self/fd/" + std::to_string(folder.get());
    return listings.of(entry, FolderListings::Links::eFollow)->find(name) != nullptr;
}

// The errno value of putting the file beside its owner; EEXIST when the name is taken.
int placeSidecar(NewFile& sidecar, const FileDescriptor& folder, const std::string& name,
                 const struct stat& owner, std::span<const std::uint8_t> bytes) {
    int error = sidecar.create(folder, name, owner.st_mode & 0777);
    if (error == 0) {
        error = sidecar.write(ByteView(bytes));
    }
    if (error != 0) {
        return error;
    }
    sidecar.setModificationTime(owner.st_mtim);
    error = sidecar.commit();
    if ((error == 0 || error == EEXIST) && !keepsName(folder, name)) {
        if (error == 0) {
            sidecar.withdraw();
        }
        error = ENAMETOOLONG;
    }
    return error;
}

bool holdEqualBytes(const RegularFile& first, const RegularFile& second, error_code& error) {
    std::vector<std::uint8_t> piece(kPiece);
    std::vector<std::uint8_t> otherPiece(kPiece);
    for (std::uint64_t position = 0;; position += kPiece) {
        const std::size_t count = first.read(position, piece, error);
        const std::size_t otherCount = error ? 0 : second.read(position, otherPiece, error);
        if (error || !std::equal(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count),
                                 otherPiece.begin(),
                                 otherPiece.begin() + static_cast<std::ptrdiff_t>(otherCount))) {
            return false;
        }
        if (count < kPiece) {
            return true;
        }
    }
}

}  // namespace

error_code copyFontFile(const fs::path& source, const FileDescriptor& folder,
                        const std::string& name, std::span<const std::uint8_t> sidecar) {
    RegularFile file;
    if (const error_code error = file.open(source)) {
        return error;
    }
    NewFile copy;
    if (const int error = copy.create(folder, name, file.status().st_mode & 0777)) {
        return systemError(error);
    }
    if (const error_code error = copyBytes(file, copy)) {
        return error;
    }
    copy.setModificationTime(file.status().st_mtim);

    NewFile beside;
    const std::string besideName = "._" + name;
    int error =
        sidecar.empty() ? 0 : placeSidecar(beside, folder, besideName, file.status(), sidecar);
    const bool besideIsOurs = !sidecar.empty() && error == 0;
    if (error == EEXIST && holds(folder, besideName, sidecar)) {
        error = 0;
    }
    if (error == 0) {
        error = copy.commit();
    }
    if (error != 0 && besideIsOurs) {
        beside.withdraw();
    }
    return error == 0 ? error_code() : systemError(error);
}

bool haveEqualBytes(const fs::path& a, const fs::path& b, error_code& error) {
    RegularFile first;
    RegularFile second;
    error = first.open(a);
    if (error) {
        return false;
    }
    error = second.open(b);
    if (error) {
        static constexpr int kNoFile[] = {ENOENT, ELOOP, EISDIR, EOPNOTSUPP, ENXIO};
        if (std::find(std::begin(kNoFile), std::end(kNoFile), error.value()) != std::end(kNoFile)) {
            error.clear();
        }
        return false;
    }
    const FileVersion one = first.version();
    const FileVersion other = second.version();
    if (one.device == other.device && one.inode == other.inode) {
        return true;
    }
    return one.size == other.size && holdEqualBytes(first, second, error);
}
