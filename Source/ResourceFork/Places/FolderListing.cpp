#include "FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "FileDescriptor.h"
#include "FileNames.h"
#include "FileTime.h"

using boost::system::error_code;

namespace {

// Spelt as foldedName answers them, in the order of KnownEntry.
constexpr std::string_view kKnownNames[] = {".appledouble", ".resource",    ".finderinfo",
                                            ".rsrc",        ".finf",        ".hsresource",
                                            ".hsancillary", "resource.frk", "finder.dat"};
static_assert(std::size(kKnownNames) == static_cast<std::size_t>(KnownEntry::eCount));

// Whether a further change could leave the same time: FAT counts in steps of two seconds, other
// file systems in those of the system's clock.
bool changedJustNow(const timespec& changed) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const double age = static_cast<double>(now.tv_sec - changed.tv_sec) +
                       static_cast<double>(now.tv_nsec - changed.tv_nsec) / 1e9;
    return std::abs(age) < (changed.tv_nsec == 0 ? 2.5 : 0.1);
}

// The error of the system call that has just failed, unless it says that there is no such folder.
error_code unlessMissing() {
    const bool missing =
        errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG;
    return missing ? error_code() : lastSystemError();
}

// Closes the descriptor. Leaves out what comes after an error.
std::vector<FolderListing::Entry> readEntries(int descriptor, error_code& error) {
    std::vector<FolderListing::Entry> entries;
    DIR* stream = ::fdopendir(descriptor);
    if (stream == nullptr) {
        error = lastSystemError();
        ::close(descriptor);
        return entries;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> closer(stream, ::closedir);
    errno = 0;
    while (const dirent* entry = ::readdir(stream)) {
        const bool maybeLink = entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
        entries.push_back({entry->d_name, maybeLink, entry->d_type == DT_REG});
        errno = 0;
    }
    error = errno != 0 ? unlessMissing() : error_code();
    return entries;
}

}  // namespace

FolderListing::FolderListing(std::vector<Entry> entries, const error_code& error,
                             bool hidesAttributes)
    : entries_(std::move(entries)), error_(error), hidesAttributes_(hidesAttributes) {
    std::sort(entries_.begin(), entries_.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    for (const Entry& entry : entries_) {
        plainAscii_ = plainAscii_ && isPlainAscii(entry.name);
        const std::string folded = foldedName(entry.name);
        const auto* found = std::find(std::begin(kKnownNames), std::end(kKnownNames), folded);
        if (found != std::end(kKnownNames)) {
            known_[static_cast<std::size_t>(found - std::begin(kKnownNames))] = entry.name;
        }
    }
}

const FolderListing::Entry* FolderListing::find(std::string_view name) const {
    const auto exact =
        std::lower_bound(entries_.begin(), entries_.end(), name,
                         [](const Entry& entry, std::string_view n) { return entry.name < n; });
    if (exact != entries_.end() && exact->name == name) {
        return &*exact;
    }
    if (plainAscii_ || isPlainAscii(name)) {
        return nullptr;
    }
    buildIndexes();
    return findIn(canonical_, canonicalName(name));
}

const FolderListing::Entry* FolderListing::findAnyCase(std::string_view name) const {
    if (const Entry* entry = find(name)) {
        return entry;
    }
    buildIndexes();
    return findIn(folded_, foldedName(name));
}

const std::string* FolderListing::known(KnownEntry entry) const {
    const std::string& name = known_[static_cast<std::size_t>(entry)];
    return name.empty() ? nullptr : &name;
}

const FolderListing::Entry* FolderListing::findIn(const Index& index,
                                                  const std::string& key) const {
    const auto found = index.find(key);
    return found != index.end() ? &entries_[found->second] : nullptr;
}

void FolderListing::buildIndexes() const {
    if (indexed_) {
        return;
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        canonical_.emplace(canonicalName(entries_[i].name), i);
        folded_.emplace(foldedName(entries_[i].name), i);
    }
    indexed_ = true;
}

std::shared_ptr<const FolderListing> FolderListings::of(const boost::filesystem::path& folder,
                                                        Links links) {
    const bool follow = links == Links::eFollow;
    const char* path = folder.empty() ? "." : folder.c_str();
    struct stat status;
    const bool failed = (follow ? ::stat(path, &status) : ::lstat(path, &status)) != 0;
    if (failed || !S_ISDIR(status.st_mode)) {
        return std::make_shared<FolderListing>(std::vector<FolderListing::Entry>(),
                                               failed ? unlessMissing() : error_code());
    }
    const timespec changed = modificationTime(status);
    const auto kept = std::find_if(kept_.begin(), kept_.end(), [&](const Kept& k) {
        return k.inode == status.st_ino && k.device == status.st_dev && k.path == path;
    });
    if (kept != kept_.end()) {
        const bool same =
            kept->changed.tv_sec == changed.tv_sec && kept->changed.tv_nsec == changed.tv_nsec;
        if (same) {
            kept_.splice(kept_.begin(), kept_, kept);
            return kept_.front().listing;
        }
        kept_.erase(kept);
    }
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
    const bool settled = !changedJustNow(changed);
    const int descriptor = ::open(path, follow ? flags : flags | O_NOFOLLOW);
    error_code error = descriptor < 0 ? unlessMissing() : error_code();
    std::vector<FolderListing::Entry> entries;
    if (descriptor >= 0) {
        entries = readEntries(descriptor, error);
    }
    const bool hides = hidesAttributes_ && hidesAttributes_(path);
    auto listing = std::make_shared<FolderListing>(std::move(entries), error, hides);
    if (settled && descriptor >= 0 && !error) {
        kept_.push_front({path, status.st_dev, status.st_ino, changed, listing});
        if (kept_.size() > kKept) {
            kept_.pop_back();
        }
    }
    return listing;
}
