#include "FontFileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <vector>

#include "FolderListing.h"
#include "NewFile.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;

constexpr std::size_t kPiece = std::size_t{256} * 1024;

/// A regular file, open for one reading from its start to its end.
class Source {
  public:
    error_code open(int folder, const char* path) {
        file_ =
            FileDescriptor(::openat(folder, path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        if (!file_.isOpen() || ::fstat(file_.get(), &status_) != 0) {
            return lastSystemError();
        }
        if (!S_ISREG(status_.st_mode)) {
            return systemError(S_ISDIR(status_.st_mode) ? EISDIR : EOPNOTSUPP);
        }
        return {};
    }

    const struct stat& status() const { return status_; }

    // Fills `piece` unless the file ends; what is left of it is what was read.
    error_code read(std::span<std::uint8_t>& piece) {
        std::size_t done = 0;
        while (done < piece.size()) {
            const ssize_t count = ::read(file_.get(), piece.data() + done, piece.size() - done);
            if (count < 0 && errno != EINTR) {
                return lastSystemError();
            }
            if (count == 0) {
                break;
            }
            done += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        piece = piece.first(done);
        position_ += static_cast<off_t>(done);
        return {};
    }

    // Whether what was read is the file as it was when it was opened. Files that the kernel makes
    // up as they are read report a size of 0.
    bool wasReadWhole() const {
        struct stat now;
        return ::fstat(file_.get(), &now) == 0 && now.st_size == status_.st_size &&
               now.st_mtim.tv_sec == status_.st_mtim.tv_sec &&
               now.st_mtim.tv_nsec == status_.st_mtim.tv_nsec &&
               (position_ == status_.st_size || status_.st_size == 0);
    }

  private:
    FileDescriptor file_;
    struct stat status_ {};
    off_t position_ = 0;
};

error_code copyBytes(Source& source, NewFile& copy) {
    std::vector<std::uint8_t> buffer(kPiece);
    for (;;) {
        std::span<std::uint8_t> piece(buffer);
        if (const error_code error = source.read(piece)) {
            return error;
        }
        if (const int error = copy.write(ByteView(piece))) {
            return systemError(error);
        }
        if (piece.size() < buffer.size()) {
            return source.wasReadWhole() ? error_code() : systemError(EIO);
        }
    }
}

bool holds(const FileDescriptor& folder, const std::string& name,
           std::span<const std::uint8_t> bytes) {
    Source existing;
    std::vector<std::uint8_t> buffer(bytes.size() + 1);
    std::span<std::uint8_t> read(buffer);
    return !existing.open(folder.get(), name.c_str()) && !existing.read(read) &&
           std::equal(read.begin(), read.end(), bytes.begin(), bytes.end());
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

bool haveEqualRest(Source& first, Source& second, error_code& error) {
    std::vector<std::uint8_t> buffers[2] = {std::vector<std::uint8_t>(kPiece),
                                            std::vector<std::uint8_t>(kPiece)};
    for (;;) {
        std::span<std::uint8_t> piece(buffers[0]);
        std::span<std::uint8_t> otherPiece(buffers[1]);
        error = first.read(piece);
        if (!error) {
            error = second.read(otherPiece);
        }
        if (error ||
            !std::equal(piece.begin(), piece.end(), otherPiece.begin(), otherPiece.end())) {
            return false;
        }
        if (piece.size() < kPiece) {
            return true;
        }
    }
}

}  // namespace

error_code copyFontFile(const fs::path& source, const FileDescriptor& folder,
                        const std::string& name, std::span<const std::uint8_t> sidecar) {
    Source file;
    if (const error_code error = file.open(AT_FDCWD, source.c_str())) {
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
    Source first;
    Source second;
    error = first.open(AT_FDCWD, a.c_str());
    if (error) {
        return false;
    }
    error = second.open(AT_FDCWD, b.c_str());
    if (error) {
        static constexpr int kNoFile[] = {ENOENT, ELOOP, EISDIR, EOPNOTSUPP, ENXIO};
        if (std::find(std::begin(kNoFile), std::end(kNoFile), error.value()) != std::end(kNoFile)) {
            error.clear();
        }
        return false;
    }
    const struct stat& one = first.status();
    const struct stat& other = second.status();
    if (one.st_dev == other.st_dev && one.st_ino == other.st_ino) {
        return true;
    }
    return one.st_size == other.st_size && haveEqualRest(first, second, error);
}
