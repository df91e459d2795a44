#include "ForkLocator.h"

#ifdef __linux__
#include <sys/vfs.h>
#endif

#include <algorithm>
#include <array>
#include <utility>

#include "Ascii.h"
#include "ErrorStatus.h"
#include "FileAttributes.h"
#include "FolderListing.h"
#include "ForkSearch.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::pair<ForkPlace, const char*> kPlaceNames[] = {
    {ForkPlace::eNone, "none"},
    {ForkPlace::eNamedFork, "named fork"},
    {ForkPlace::eAppleAttributes, "attribute of macOS"},
    {ForkPlace::eCopiedAttributes, "copied attribute of macOS"},
    {ForkPlace::eNetatalkMetadata, "attribute of Netatalk"},
    {ForkPlace::eAppleDoubleSidecar, "AppleDouble sidecar"},
    {ForkPlace::eNetatalkFork, "attribute of Netatalk"},
    {ForkPlace::eSambaStreams, "stream of Samba"},
    {ForkPlace::eNtfsStreams, "stream of NTFS"},
    {ForkPlace::eNetatalkFolder, ".AppleDouble folder"},
    {ForkPlace::ePercentSidecar, "AppleDouble sidecar of A/UX"},
    {ForkPlace::ePcExchange, "PC Exchange"},
    {ForkPlace::eDave, "DAVE"},
    {ForkPlace::eCap, "CAP"},
    {ForkPlace::eEtherShare, "EtherShare"},
    {ForkPlace::eBasilisk, "Basilisk II"},
    {ForkPlace::eXinet, "XINET"},
    {ForkPlace::eUnarchiver, "file named .rsrc"},
    {ForkPlace::eProDos, "AppleDouble sidecar of ProDOS"},
    {ForkPlace::eHfsMount, "HFS volume"},
    {ForkPlace::eHfsPlusMount, "HFS Plus volume"},
    {ForkPlace::eAppleSingle, "AppleSingle file"},
    {ForkPlace::eAppleDouble, "AppleDouble file"},
    {ForkPlace::eMacBinary, "MacBinary file"},
    {ForkPlace::eBinHex, "BinHex file"},
    {ForkPlace::eMacOsXFolder, "__MACOSX folder"},
};

constexpr std::string_view kSidecarFolders[] = {".appledouble",  ".resource", ".finderinfo",
                                                ".rsrc",         ".finf",     ".hsresource",
                                                ".appledesktop", "__macosx",  "resource.frk"};

// The file's name in a sidecar's name; empty when the name is no sidecar's.
std::string ownerName(const std::string& name) {
    if (name.size() > 2 && name.compare(0, 2, "._") == 0) {
        return name.substr(2);
    }
    return name.size() > 1 && name.front() == '%' ? name.substr(1) : std::string();
}

// Linux lists the Finder information of HFS Plus without its last letter (6.12) or not at all
// (7.2).
bool liesOnHfsPlus(const fs::path& folder) {
#ifdef __linux__
    constexpr auto kHfsPlus = 0x482B;
    struct statfs volume;
    return ::statfs(folder.c_str(), &volume) == 0 && volume.f_type == kHfsPlus;
#else
    static_cast<void>(folder);
    return false;
#endif
}

}  // namespace

const char* forkPlaceName(ForkPlace place) {
    const auto* found = std::find_if(std::begin(kPlaceNames), std::end(kPlaceNames),
                                     [&](const auto& row) { return row.first == place; });
    return found != std::end(kPlaceNames) ? found->second : "";
}

ForkLocator::Environment ForkLocator::Environment::native() {
    Environment environment;
    environment.listAttributes = listFileAttributes;
    environment.readAttribute = readFileAttribute;
    environment.hidesAttributes = liesOnHfsPlus;
    environment.namedForkSuffix = "/..namedfork/rsrc";
    environment.hfsForkSuffix = "/rsrc";
    return environment;
}

ForkLocator::ForkLocator() : ForkLocator(Environment::native()) {}

ForkLocator::ForkLocator(Environment environment)
    : environment_(std::move(environment)),
      caches_(std::make_unique<ForkCaches>(environment_.hidesAttributes)) {}

ForkLocator::~ForkLocator() = default;

FinderAnswer ForkLocator::finderInfo(const fs::path& file) {
    ForkSearch search(environment_, *caches_, file, {.finderInfo = true});
    const std::int16_t status = search.run();
    FinderAnswer answer = search.finder();
    answer.status = status;
    answer.trouble = search.troubleOrDamage();
    return answer;
}

ForkAnswer ForkLocator::resourceFork(const fs::path& file) {
    ForkSearch search(environment_, *caches_, file, {.fork = true});
    const std::int16_t status = search.run();
    if (status != noErr) {
        ForkAnswer answer;
        answer.status = status;
        answer.trouble = search.trouble();
        return answer;
    }
    return search.takeFork();
}

ExternalForks ForkLocator::externalForks(const fs::path& file) {
    ForkSearch search(environment_, *caches_, file, ForkSearch::Wanted::externalForks());
    ExternalForks result;
    if (search.run() == noErr) {
        result.finderInfo = search.finder().info;
        result.damagedSidecar = search.damagedSidecar();
        if (search.hasRealFork()) {
            result.resourceFork = search.takeFork().bytes;
        }
        search.requireForkInReach();
    }
    result.trouble = search.trouble();
    result.status = statusOfError(result.trouble.error);
    return result;
}

bool ForkLocator::hasForkOutsideFile(const fs::path& file) {
    ForkSearch search(environment_, *caches_, file, ForkSearch::Wanted::externalForks());
    if (search.run() != noErr) {
        return false;
    }
    search.requireForkInReach();
    return search.hasRealFork() || search.hasDamagedSidecar() || search.trouble() ||
           search.finder().place != ForkPlace::eNone;
}

bool ForkLocator::isSidecar(const fs::path& file) {
    const std::string owner = ownerName(file.filename().string());
    if (owner.empty() ||
        caches_->listings.of(file.parent_path(), FolderListings::Links::eFollow)->find(owner) ==
            nullptr) {
        return false;
    }
    boost::system::error_code error;
    const auto opened = ForkFile::open(file, RegularFile::Links::eRefuse, error);
    if (!opened) {
        return false;
    }
    const std::vector<std::uint8_t> magic = opened->read(0, 4);
    return magic.size() == 4 && ByteView(magic).u32be(0) == appledouble::kDoubleMagic;
}

bool ForkLocator::hasFileCalled(const fs::path& folder, const std::string& name) {
    const auto listing = caches_->listings.of(folder, FolderListings::Links::eFollow);
    const auto holdsFile = [&](const std::string& wanted) {
        const FolderListing::Entry* entry = listing->findAnyCase(wanted);
        return entry != nullptr && (entry->isFile || entry->maybeLink);
    };
    if (holdsFile(name)) {
        return true;
    }
    const std::string* finderDat = listing->known(KnownEntry::eFinderDat);
    boost::system::error_code error;
    const auto file = finderDat == nullptr
                          ? nullptr
                          : ForkFile::open(folder / *finderDat, RegularFile::Links::eRefuse, error);
    const FinderDat::Record* record =
        file ? caches_->finderDat.of(*file, listing).find(name) : nullptr;
    return record != nullptr && (holdsFile(record->macName) || holdsFile(record->shortName));
}

bool ForkLocator::isSidecarFolder(std::string_view name) {
    const std::string lower = ascii::toLower(name);
    return std::find(std::begin(kSidecarFolders), std::end(kSidecarFolders), lower) !=
           std::end(kSidecarFolders);
}
