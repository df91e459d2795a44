#include "NewFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cerrno>

namespace {

constexpr int kAttempts = 16;
// One call never takes more than this on some systems.
constexpr std::size_t kPiece = std::size_t{1} << 30;
constexpr int kOnlyOurs = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

// The handle that servers know a file by, on file systems that have such; it tells the file from
// another one that was given its number after it had been removed.
std::string handleOf(int folder, const std::string& name, int flags) {
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> room{};
    auto* const handle = reinterpret_cast<file_handle*>(room.data());
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    const bool known = ::name_to_handle_at(folder, name.c_str(), handle, &mount, flags) == 0;
    return known ? std::string(room.data() + sizeof(file_handle), handle->handle_bytes)
                 : std::string();
}

// Identifies the file of that name, links not followed; empty when there is none. With
// AT_EMPTY_PATH and no name, it is the open file itself.
std::string idOf(int folder, const std::string& name, int flags = 0) {
    struct statx status;
    if (::statx(folder, name.c_str(), flags | AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_BTIME,
                &status) != 0) {
        return std::string();
    }
    std::string id = handleOf(folder, name, flags);
    for (const std::uint64_t part :
         {std::uint64_t{status.stx_dev_major}, std::uint64_t{status.stx_dev_minor},
          std::uint64_t{status.stx_ino}, static_cast<std::uint64_t>(status.stx_btime.tv_sec),
          std::uint64_t{status.stx_btime.tv_nsec}}) {
        id += ":" + std::to_string(part);
    }
    return id;
}

std::string idOf(const FileDescriptor& file) {
    return idOf(file.get(), std::string(), AT_EMPTY_PATH);
}

// The file's own entry in /proc: linking it gives an unnamed file a name without any privilege.
std::string procEntry(const FileDescriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.get());
}

// Calls `take` with one random name after the other until it answers something but EEXIST.
template <typename Take>
int withTemporaryName(std::string& taken, const Take& take) {
    for (int i = 0; i < kAttempts; ++i) {
        boost::system::error_code error;
        const auto name = boost::filesystem::unique_path(".oxparser-%%%%%%%%%%%%.part", error);
        if (error) {
            return error.value();
        }
        const int result = take(name.string());
        if (result != EEXIST) {
            taken = result == 0 ? name.string() : std::string();
            return result;
        }
    }
    return EEXIST;
}

}  // namespace

NewFile::~NewFile() {
    discard();
}

int NewFile::create(const boost::filesystem::path& path) {
    const boost::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    FileDescriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen()) {
        return errno;
    }
    discard();
    ownFolder_ = std::move(opened);
    return create(ownFolder_, path.filename().string(), 0666);
}

int NewFile::create(const FileDescriptor& folder, const std::string& name, mode_t mode) {
    discard();
    folder_ = folder.get();
    name_ = name;
    const int result = createUnnamed(mode) ? 0 : createNamed(mode);
    id_ = result == 0 ? idOf(file_) : std::string();
    return result;
}

bool NewFile::createUnnamed(mode_t mode) {
    if ((ways_ & eUnnamed) == 0) {
        return false;
    }
    file_ = FileDescriptor(::openat(folder_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    struct stat status;
    if (file_.isOpen() && ::stat(procEntry(file_).c_str(), &status) != 0) {
        file_.close();
    }
    return file_.isOpen();
}

int NewFile::createNamed(mode_t mode) {
    return withTemporaryName(temporary_, [&](const std::string& name) {
        file_ = FileDescriptor(::openat(folder_, name.c_str(), kOnlyOurs, mode));
        return file_.isOpen() ? 0 : errno;
    });
}

int NewFile::write(ByteView bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ByteView rest = bytes.clamped(done, kPiece);
        const ssize_t written = ::write(file_.get(), rest.data(), rest.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return 0;
}

void NewFile::setModificationTime(const timespec& time) {
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1] = time;
    static_cast<void>(::futimens(file_.get(), times));
}

int NewFile::commit() {
    if (!file_.isOpen() && temporary_.empty()) {
        return EBADF;
    }
    int result = 0;
    if (temporary_.empty()) {
        result = flush();
        result = result == 0 ? linkUnnamed(name_) : result;
    } else {
        result = close();
        result = result == 0 ? place() : result;
    }
    if (result == 0) {
        temporary_.clear();
    }
    discard();
    return result;
}

int NewFile::replace(const std::string& earlierFileId) {
    if (!file_.isOpen() && temporary_.empty()) {
        return EBADF;
    }
    const std::string there = idOf(folder_, name_);
    if (there.empty()) {
        return commit();
    }
    int result = there == earlierFileId ? giveTemporaryName() : EEXIST;
    if (result == 0) {
        result = close();
    }
    if (result == 0) {
        result = exchange(earlierFileId);
    }
    discard();
    return result;
}

// Puts both files in each other's place and looks at what came out: between a look at a name and a
// change to it, anybody may put something else there.
int NewFile::exchange(const std::string& earlierFileId) {
    const auto swapNames = [this] {
        return (ways_ & eExchange) != 0 && ::renameat2(folder_, temporary_.c_str(), folder_,
                                                       name_.c_str(), RENAME_EXCHANGE) == 0;
    };
    if (!swapNames()) {
        return replaceInSteps(earlierFileId);
    }
    if (idOf(folder_, temporary_) == earlierFileId) {
        return 0;  // the earlier file is removed under our temporary name
    }
    // Back, until our own file comes out: somebody may be at it at the same time.
    for (int i = 0; i < kAttempts && idOf(folder_, temporary_) != id_ && swapNames(); ++i) {
    }
    if (idOf(folder_, temporary_) != id_) {
        temporary_.clear();  // it is somebody else's, and stays
    }
    return EEXIST;
}

int NewFile::replaceInSteps(const std::string& earlierFileId) {
    std::string aside;
    const int moved = withTemporaryName(aside, [this](const std::string& name) {
        struct stat status;
        if (::fstatat(folder_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            return EEXIST;
        }
        return ::renameat(folder_, name_.c_str(), folder_, name.c_str()) == 0 ? 0 : errno;
    });
    if (moved != 0 && moved != ENOENT) {
        return moved;
    }
    if (moved == 0 && idOf(folder_, aside) != earlierFileId) {
        static_cast<void>(place(aside));  // if the name is taken again, it stays where it is
        return EEXIST;
    }
    const int result = place();
    if (result == 0) {
        temporary_.clear();
    }
    if (moved == 0 && result == 0) {
        ::unlinkat(folder_, aside.c_str(), 0);
    } else if (moved == 0) {
        static_cast<void>(place(aside));
    }
    return result;
}

// Some file systems report failed writes when a descriptor is closed, and the file must not be in
// place by then.
int NewFile::flush() const {
    FileDescriptor copy(::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0));
    return copy.isOpen() && copy.close() ? 0 : errno;
}

// Only a file with a name can be renamed over another one.
int NewFile::giveTemporaryName() {
    if (!temporary_.empty()) {
        return 0;
    }
    return withTemporaryName(temporary_,
                             [this](const std::string& name) { return linkUnnamed(name); });
}

int NewFile::linkUnnamed(const std::string& name) const {
    const std::string self = procEntry(file_);
    return ::linkat(AT_FDCWD, self.c_str(), folder_, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0
                                                                                           : errno;
}

int NewFile::place(const std::string& from) {
    const char* const to = name_.c_str();
    if ((ways_ & eLink) != 0) {
        if (::linkat(folder_, from.c_str(), folder_, to, 0) == 0) {
            ::unlinkat(folder_, from.c_str(), 0);
            return 0;
        }
        if (errno == EEXIST) {
            return EEXIST;
        }
    }
    if ((ways_ & eRename) != 0) {
        if (::renameat2(folder_, from.c_str(), folder_, to, RENAME_NOREPLACE) == 0) {
            return 0;
        }
        if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
            return errno;
        }
    }
    return claim(from);
}

// For old file systems in user space, which know neither links nor the careful kind of renaming.
int NewFile::claim(const std::string& from) {
    const FileDescriptor claimed(::openat(folder_, name_.c_str(), kOnlyOurs, 0600));
    if (!claimed.isOpen()) {
        return errno;
    }
    const std::string id = idOf(claimed);
    if (id.empty() || idOf(folder_, name_) != id) {
        return EEXIST;
    }
    if (::renameat(folder_, from.c_str(), folder_, name_.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    if (idOf(folder_, name_) == id) {
        ::unlinkat(folder_, name_.c_str(), 0);
    }
    return error;
}

void NewFile::withdraw() {
    if (!id_.empty() && idOf(folder_, name_) == id_) {
        ::unlinkat(folder_, name_.c_str(), 0);
    }
}

int NewFile::close() {
    return file_.close() ? 0 : errno;
}

void NewFile::discard() {
    file_.close();
    if (!temporary_.empty()) {
        ::unlinkat(folder_, temporary_.c_str(), 0);
        temporary_.clear();
    }
}
