#include "TolerantWalk.h"

#include <dirent.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

namespace fs = boost::filesystem;

// What statfs says of file systems that hold what the kernel tells and nothing that anybody has put
// there. Not tmpfs and ramfs, where users may keep fonts, nor autofs, behind which their folders
// may lie.
constexpr unsigned kKernelFileSystems[] = {
    PROC_SUPER_MAGIC,     SYSFS_MAGIC,        CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC,
    DEBUGFS_MAGIC,        TRACEFS_MAGIC,      SECURITYFS_MAGIC,   SELINUX_MAGIC,
    SMACK_MAGIC,          PSTOREFS_MAGIC,     EFIVARFS_MAGIC,     BPF_FS_MAGIC,
    NSFS_MAGIC,           DEVPTS_SUPER_MAGIC, HUGETLBFS_MAGIC,    BINFMTFS_MAGIC,
    RDTGROUP_SUPER_MAGIC,
    0x62656570,  // configfs
    0x19800202,  // mqueue
    0x65735543,  // fusectl
    0x67596969,  // rpc_pipefs
    0x6E667364,  // nfsd
};

// devtmpfs calls itself tmpfs, so it is known by its place.
bool isDeviceFileSystem(dev_t device) {
    struct stat devices;
    struct stat root;
    return ::stat("/dev", &devices) == 0 && ::stat("/", &root) == 0 &&
           devices.st_dev != root.st_dev && devices.st_dev == device;
}

bool isKernelFileSystem(const fs::path& folder, dev_t device) {
    struct statfs status;
    const bool isListed =
        ::statfs(folder.c_str(), &status) == 0 &&
        std::find(std::begin(kKernelFileSystems), std::end(kKernelFileSystems),
                  static_cast<unsigned>(status.f_type)) != std::end(kKernelFileSystems);
    return isListed || isDeviceFileSystem(device);
}

bool isMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

bool isLink(const fs::path& path, unsigned char type) {
    struct stat status;
    return type == DT_UNKNOWN ? ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode)
                              : type == DT_LNK;
}

}  // namespace

TolerantWalk::TolerantWalk(const std::atomic<bool>& cancelled, const std::vector<fs::path>& leftOut,
                           FileFound found, Failed failed)
    : cancelled_(cancelled),
      leftOut_(leftOut),
      found_(std::move(found)),
      failed_(std::move(failed)) {}

void TolerantWalk::run(const fs::path& source) {
    struct stat status;
    if (::stat(source.c_str(), &status) != 0) {
        if (!isMissing(errno)) {
            fail(source, errno);
        }
    } else if (!S_ISDIR(status.st_mode)) {
        found_(source);
    } else {
        devices_[status.st_dev] = false;  // whatever it is, it was asked for
        enter(source, status);
    }
    while (!links_.empty() && !cancelled_) {
        const fs::path link = std::move(links_.front());
        links_.pop_front();
        if (::stat(link.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            enter(link, status);
        }
    }
}

void TolerantWalk::visit(const fs::path& path, unsigned char type) {
    struct stat status;
    const int error = ::stat(path.c_str(), &status) == 0 ? 0 : errno;
    if (error != 0 && !isMissing(error)) {
        fail(path, error);
    } else if (error != 0 || !S_ISDIR(status.st_mode)) {
        // A link to nowhere is a file to the parsers, too.
        if (!forks_.isSidecar(path)) {
            found_(path);
        }
    } else if (!ForkLocator::isSidecarFolder(path.filename().native()) &&
               !isLeftOut(path, status)) {
        if (isLink(path, type)) {
            links_.push_back(path);
        } else {
            enter(path, status);
        }
    }
}

void TolerantWalk::enter(const fs::path& folder, const struct stat& status) {
    if (!entered_.emplace(status.st_dev, status.st_ino).second) {
        return;
    }
    // Taken from a heap rather than sorted at once, so that the walk can end while a huge folder is
    // put in order.
    auto [names, entries] = list(folder);
    const auto comesLater = [&names = names](const Entry& a, const Entry& b) {
        return std::strcmp(&names[a.name], &names[b.name]) > 0;
    };
    std::make_heap(entries.begin(), entries.end(), comesLater);
    while (!entries.empty() && !cancelled_) {
        std::pop_heap(entries.begin(), entries.end(), comesLater);
        const Entry entry = entries.back();
        entries.pop_back();
        visit(folder / &names[entry.name], entry.type);
    }
}

TolerantWalk::Listing TolerantWalk::list(const fs::path& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.c_str()), ::closedir);
    Listing listing;
    if (!stream) {
        fail(folder, errno);
        return listing;
    }
    // What an automounter has put there now is entered, too.
    struct stat status;
    if (::fstat(::dirfd(stream.get()), &status) == 0) {
        entered_.emplace(status.st_dev, status.st_ino);
    }
    while (!cancelled_) {
        errno = 0;
        const struct dirent* const entry = ::readdir(stream.get());
        if (entry == nullptr) {
            if (errno != 0) {
                fail(folder, errno);
            }
            break;
        }
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            listing.entries.push_back({listing.names.size(), entry->d_type});
            listing.names.append(entry->d_name).push_back('\0');
        }
    }
    return listing;
}

bool TolerantWalk::isLeftOut(const fs::path& folder, const struct stat& status) {
    const bool isNamed =
        std::any_of(leftOut_.begin(), leftOut_.end(), [&status](const fs::path& named) {
            struct stat other;
            return ::stat(named.c_str(), &other) == 0 && other.st_dev == status.st_dev &&
                   other.st_ino == status.st_ino;
        });
    const auto [device, isNew] = devices_.try_emplace(status.st_dev, false);
    if (isNew) {
        device->second = isKernelFileSystem(folder, status.st_dev);
    }
    return isNamed || device->second;
}

void TolerantWalk::fail(const fs::path& path, int error) const {
    failed_(path, {error, boost::system::system_category()});
}
