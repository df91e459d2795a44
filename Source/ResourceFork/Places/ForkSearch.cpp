#include "ForkSearch.h"

#include <sys/stat.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <utility>

#include "FileBytes.h"
#include "Log.h"
#include "ResourceFile.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t kResourceHeader = 16;
constexpr std::size_t kContentStart = 128;
// How far above a file a __MACOSX folder is looked for, and how long the answer holds.
constexpr int kHighestMacOsXFolder = 16;
constexpr std::chrono::seconds kMacOsXFoldersKept(1);
constexpr std::string_view kPlaceholderText = "This resource fork intentionally left blank";

const LogChannel& logChannel() {
    static const LogChannel channel("ForkLocator");
    return channel;
}

// Mac OS X and Samba keep such a fork for files without one.
bool isPlaceholder(ByteView start) {
    constexpr std::size_t kDataLengthAt = 8;
    return start.u32be(kDataLengthAt) == 0 &&
           start.clamped(kResourceHeader, kPlaceholderText.size()).text() == kPlaceholderText;
}

// The folder `below` of `top`; nothing when it is not there or a link leads to it.
std::optional<fs::path> folderBelow(const fs::path& top, const fs::path& below) {
    fs::path path = top;
    for (const fs::path& part : below) {
        if (part == ".") {  // what an empty last part is shown as
            continue;
        }
        path /= part;
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
            return std::nullopt;
        }
    }
    return path;
}

bool isLink(const fs::path& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace

const FinderDat& FinderDatCache::of(const ForkFile& file,
                                    const std::shared_ptr<const FolderListing>& folder) {
    if (folder != folder_ || file.version() != version_) {
        const std::vector<std::uint8_t> bytes = file.read(0, FinderDat::kSizeLimit);
        version_ = file.readError() ? FileVersion() : file.version();
        folder_ = folder;
        parsed_ = FinderDat(ByteView(bytes), [&](const std::string& name) {
            return folder_->findAnyCase(name) != nullptr;
        });
    }
    return parsed_;
}

const std::vector<fs::path>& MacOsXFolders::of(
    const fs::path& folder, const std::shared_ptr<const FolderListing>& listing) {
    const auto now = std::chrono::steady_clock::now();
    if (listing == listing_ && now - looked_ < kMacOsXFoldersKept) {
        return folders_;
    }
    listing_ = listing;
    looked_ = now;
    folders_.clear();
    fs::path ancestor = folder;
    fs::path below;
    for (int i = 0; i < kHighestMacOsXFolder; ++i) {
        if (std::optional<fs::path> tree = folderBelow(ancestor, "__MACOSX" / below)) {
            folders_.push_back(std::move(*tree));
        }
        const fs::path name = ancestor.filename();
        if (name.empty() || name == "." || name == ".." || name == "/") {
            break;
        }
        below = name / below;
        ancestor = ancestor.parent_path();
    }
    return folders_;
}

ForkSearch::ForkSearch(const ForkLocator::Environment& environment, ForkCaches& caches,
                       const fs::path& file, Wanted wanted)
    : environment_(environment), caches_(caches), file_(file), wanted_(wanted) {}

std::int16_t ForkSearch::run() {
    findSpots();
    const std::int16_t status = lookAtFile();
    if (status != noErr) {
        return status;
    }
    for (const ForkProbe& probe : forkProbes()) {
        if (done()) {
            break;
        }
        const bool useful =
            (probe.givesFork && wantsFork()) || (probe.givesFinderInfo && wantsFinderInfo());
        if (useful && !(probe.looksInsideFile && wanted_.onlyOutsideFile)) {
            probe.probe(*this);
            noteReadErrors();
        }
    }
    return noErr;
}

// A container that cannot be read looks like none, and what it holds would be missed silently.
void ForkSearch::noteReadErrors() {
    for (const auto& file : openedFiles_) {
        note(file->readError(), "cannot read " + nameOf(file->path()));
    }
}

std::int16_t ForkSearch::lookAtFile() {
    // A scan asks for the Finder information of every file that no other parser takes: what the
    // listing tells is not asked again.
    if (!wanted_.fork && isListedFile()) {
        return noErr;
    }
    struct stat status;
    boost::system::error_code error;
    if (::stat(file_.c_str(), &status) != 0) {
        error = lastSystemError();
    } else if (!S_ISREG(status.st_mode)) {
        error = systemError(S_ISDIR(status.st_mode) ? EISDIR : EOPNOTSUPP);
    } else {
        isEmpty_ = status.st_size == 0;
        return noErr;
    }
    trouble_ = {error, "cannot read the file: " + error.message()};
    return statusOfError(error);
}

bool ForkSearch::isListedFile() const {
    const Spot& asked = spots_.back();
    const FolderListing::Entry* entry = asked.listing->find(asked.name);
    return entry != nullptr && entry->isFile && entry->name == asked.name;
}

void ForkSearch::findSpots() {
    const auto spotOf = [&](const fs::path& path) {
        const fs::path folder = path.parent_path();
        return Spot{folder, path.filename().string(),
                    listing(folder, FolderListings::Links::eFollow)};
    };
    const Spot asked = spotOf(file_);
    const FolderListing::Entry* entry = asked.listing->find(asked.name);
    if ((entry == nullptr || entry->maybeLink) && isLink(file_)) {
        boost::system::error_code error;
        const fs::path target = fs::canonical(file_, error);
        if (!error) {
            spots_.push_back(spotOf(target));
        }
    }
    spots_.push_back(asked);
}

std::shared_ptr<const FolderListing> ForkSearch::listing(const fs::path& sidecarFolder) {
    return listing(sidecarFolder, FolderListings::Links::eRefuse);
}

std::shared_ptr<const FolderListing> ForkSearch::listing(const fs::path& folder,
                                                         FolderListings::Links links) {
    auto result = caches().listings.of(folder, links);
    note(result->error(), "cannot list " + (folder.empty() ? "." : folder.string()));
    return result;
}

bool ForkSearch::hasAttribute(const std::string& name) {
    if (!attributes_) {
        boost::system::error_code error;
        attributes_ = environment().listAttributes(file_, error);
        note(error, "cannot list its attributes");
    }
    return std::find(attributes_->begin(), attributes_->end(), name) != attributes_->end();
}

std::optional<std::vector<std::uint8_t>> ForkSearch::attribute(const std::string& name) {
    return hasAttribute(name) ? readAttribute(name) : std::nullopt;
}

std::optional<std::vector<std::uint8_t>> ForkSearch::readAttribute(const std::string& name) {
    boost::system::error_code error;
    auto value = environment().readAttribute(file_, name, environment().forkLimit, error);
    note(error, "cannot read its attribute " + name);
    return value;
}

std::optional<std::vector<std::uint8_t>> ForkSearch::unlistedAttribute(const std::string& name) {
    // The first spot is where the file itself lies, links followed.
    return spots_.front().listing->hidesAttributes() ? readAttribute(name) : attribute(name);
}

std::shared_ptr<const ForkFile> ForkSearch::openSidecar(const fs::path& path) {
    return open(path, RegularFile::Links::eRefuse);
}

std::shared_ptr<const ForkFile> ForkSearch::open(const fs::path& path, RegularFile::Links links) {
    boost::system::error_code error;
    auto file = ForkFile::open(path, links, error);
    note(error, "cannot read " + nameOf(path));
    if (file) {
        openedFiles_.push_back(file);
    }
    return file;
}

std::shared_ptr<const ForkFile> ForkSearch::content() {
    if (!contentOpened_) {
        contentOpened_ = true;
        if (isEmpty_) {
            return nullptr;
        }
        const auto file = open(file_, RegularFile::Links::eFollow);
        if (file && file->size() != 0 && file->size() < kTooLargeToRead) {
            content_ = file;
            contentStart_ = content_->read(0, kContentStart);
        }
    }
    return content_;
}

ByteView ForkSearch::contentStart() {
    content();
    return ByteView(contentStart_);
}

std::string ForkSearch::nameOf(const fs::path& path) const {
    return path == file_ ? "the file" : path.string();
}

void ForkSearch::note(const boost::system::error_code& error, const std::string& what) {
    // A sidecar that is not there after all is nothing unusual.
    if (error && !trouble_ && statusOfError(error) != fnfErr) {
        trouble_ = {error, what + ": " + error.message()};
    }
}

void ForkSearch::noteDamage(const std::shared_ptr<const ForkFile>& file) {
    if (!damage_) {
        damage_ = {errorOfStatus(mapReadErr), nameOf(file->path()) + " is damaged"};
    }
    if (file != content_ && !damagedSidecar_) {
        damagedSidecar_ = file;
    }
}

void ForkSearch::offerFinderInfo(ForkPlace place, const FinderInfo& info) {
    const bool known = wanted_.finderInfoWithoutType ? !info.empty() : info.type() != 0;
    if (wantsFinderInfo() && known) {
        finder_.place = place;
        finder_.info = info;
    }
}

void ForkSearch::offerFinderInfo(ForkPlace place, const std::optional<FinderInfo>& info) {
    if (info) {
        offerFinderInfo(place, *info);
    }
}

// Of a fork of `length` bytes that begins so.
ForkSearch::Rank ForkSearch::rankOf(ByteView start, std::uint64_t length) {
    if (!isPlausibleResourceHeader(start, length)) {
        return Rank::eDamaged;
    }
    return isPlaceholder(start) ? Rank::ePlaceholder : Rank::ePlausible;
}

bool ForkSearch::offerFork(ForkPlace place, std::shared_ptr<const ForkFile> file,
                           std::uint64_t offset, std::uint64_t length) {
    if (!wantsFork() || offset >= file->size() || length == 0) {
        return true;
    }
    ForkSource source{place, file->path(), {}, offset, std::min(length, file->size() - offset)};
    const std::vector<std::uint8_t> start =
        file->read(offset, std::min<std::uint64_t>(source.length, kContentStart));
    const Rank rank = rankOf(ByteView(start), source.length);
    keep(rank, std::move(source), std::move(file), nullptr);
    return rank != Rank::eDamaged;
}

void ForkSearch::offerFork(ForkPlace place, std::shared_ptr<const ForkFile> file) {
    const std::uint64_t size = file->size();
    offerFork(place, std::move(file), 0, size);
}

void ForkSearch::offerFork(ForkPlace place, const fs::path& file, const std::string& attribute,
                           std::vector<std::uint8_t> bytes) {
    if (!wantsFork() || bytes.empty()) {
        return;
    }
    const Rank rank = rankOf(ByteView(bytes), bytes.size());
    const ForkSource source{place, file, attribute, 0, bytes.size()};
    keep(rank, source, nullptr, std::make_shared<std::vector<std::uint8_t>>(std::move(bytes)));
}

void ForkSearch::offerDamagedFork(ForkPlace place, const fs::path& file) {
    keep(Rank::eDamaged, ForkSource{place, file, {}, 0, 0}, nullptr, nullptr);
}

void ForkSearch::keep(Rank rank, ForkSource source, std::shared_ptr<const ForkFile> file,
                      ForkBytes bytes) {
    if (wanted_.fork && rank > rank_) {
        rank_ = rank;
        source_ = std::move(source);
        sourceFile_ = std::move(file);
        sourceBytes_ = std::move(bytes);
    }
}

bool ForkSearch::offerAppleDouble(ForkPlace place, std::shared_ptr<const ForkFile> file,
                                  appledouble::Strictness strictness) {
    const std::vector<std::uint8_t> start = file->read(0, kContentStart);
    const std::optional<std::size_t> size = appledouble::headerSize(ByteView(start), strictness);
    const std::vector<std::uint8_t> header = file->read(0, size.value_or(0));
    const auto layout = appledouble::readHeader(ByteView(header), file->size(), strictness);
    if (!layout) {
        // Any file may have such a name, and only the mark tells what it is meant to be.
        if (appledouble::hasMagic(ByteView(start))) {
            noteDamage(file);
        }
        return false;
    }
    // AppleSingle is a whole file of its own, never the sidecar of another.
    if (layout->isSingle && place != ForkPlace::eAppleSingle) {
        return false;
    }
    if (layout->finderInfo) {
        const std::vector<std::uint8_t> info =
            file->read(layout->finderInfo->offset,
                       std::min<std::uint64_t>(layout->finderInfo->length, FinderInfo::kSize));
        offerFinderInfo(place, FinderInfo::from(ByteView(info)));
    }
    bool damaged = layout->forkLost;
    if (layout->resourceFork) {
        if (layout->clamped && wantsFork()) {
            logChannel().warn("Resource fork ends with its file:  " + file->path().string());
        }
        damaged =
            !offerFork(place, file, layout->resourceFork->offset, layout->resourceFork->length);
    }
    if (damaged) {
        noteDamage(file);
    }
    return true;
}

bool ForkSearch::hasRealFork() const {
    return rank_ == Rank::ePlausible || rank_ == Rank::eDamaged;
}

ForkBytes ForkSearch::damagedSidecar() {
    if (!damagedSidecar_ || rank_ == Rank::ePlausible) {
        return nullptr;
    }
    const std::uint64_t size = damagedSidecar_->size();
    if (size > environment().forkLimit) {
        note(systemError(EFBIG), "cannot read " + nameOf(damagedSidecar_->path()));
        return nullptr;
    }
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(damagedSidecar_->read(0, size));
    noteReadErrors();
    return bytes;
}

ForkTrouble ForkSearch::outOfReach() const {
    return {systemError(ENODATA), "the resource fork is out of reach on its volume"};
}

void ForkSearch::requireForkInReach() {
    if (outOfReach_ && isEmpty_ && !hasRealFork() && !trouble_) {
        trouble_ = outOfReach();
    }
}

ForkAnswer ForkSearch::takeFork() {
    ForkAnswer answer;
    answer.source = source_;
    if (rank_ == Rank::eNone) {
        answer.status = trouble_ ? statusOfError(trouble_.error) : eofErr;
        if (outOfReach_) {
            logChannel().warn("Resource fork is out of reach on its volume:  " + file_.string());
            trouble_ = trouble_ ? trouble_ : outOfReach();
        }
    } else if (source_.length > environment().forkLimit) {
        answer.status = memFullErr;
        note(systemError(EFBIG), "cannot read the resource fork in " + nameOf(source_.file));
    } else {
        answer.bytes = std::move(sourceBytes_);
        if (!answer.bytes && sourceFile_) {
            answer.bytes = std::make_shared<std::vector<std::uint8_t>>(
                sourceFile_->read(source_.offset, source_.length));
        }
        noteReadErrors();
        if (answer.bytes && answer.bytes->size() != source_.length) {
            answer.status = ioErr;
        } else {
            answer.status = rank_ == Rank::eDamaged ? mapReadErr : noErr;
        }
        logChannel().info("Resource fork:  %s",
                          forkPlaceName(source_.place) + (": " + source_.file.string()));
    }
    answer.trouble = troubleOrDamage();
    return answer;
}
