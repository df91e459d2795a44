#include "ForkLocator.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Ascii.h"
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
    environment.hidesAttributes = [](const FolderListing& folder) {
        return folder.hidesAttributes();
    };
    environment.namedForkSuffix = "/..namedfork/rsrc";
    environment.hfsForkSuffix = "/rsrc";
    return environment;
}

ForkLocator::ForkLocator() : ForkLocator(Environment::native()) {}

ForkLocator::ForkLocator(Environment environment)
    : environment_(std::move(environment)), caches_(std::make_unique<ForkCaches>()) {}

ForkLocator::~ForkLocator() = default;

FinderAnswer ForkLocator::finderInfo(const fs::path& file) {
    ForkSearch search(*this, file, {.finderInfo = true});
    const std::int16_t status = search.run();
    FinderAnswer answer = search.finder();
    answer.status = status;
    return answer;
}

ForkAnswer ForkLocator::resourceFork(const fs::path& file) {
    ForkSearch search(*this, file, {.fork = true});
    const std::int16_t status = search.run();
    if (status != noErr) {
        ForkAnswer answer;
        answer.status = status;
        return answer;
    }
    return search.takeFork();
}

ExternalForks ForkLocator::externalForks(const fs::path& file) {
    ForkSearch search(*this, file, ForkSearch::Wanted::externalForks());
    ExternalForks result;
    result.status = search.run();
    if (result.status != noErr) {
        return result;
    }
    result.finderInfo = search.finder().info;
    result.status = search.trouble();
    if (search.hasRealFork()) {
        const ForkAnswer fork = search.takeFork();
        result.resourceFork = fork.bytes;
        result.status = fork.bytes && fork.status == mapReadErr ? noErr : fork.status;
    }
    return result;
}

bool ForkLocator::hasForkOutsideFile(const fs::path& file) {
    ForkSearch search(*this, file, ForkSearch::Wanted::externalForks());
    return search.run() == noErr && (search.hasRealFork() || search.trouble() != noErr ||
                                     search.finder().place != ForkPlace::eNone);
}

bool ForkLocator::isSidecar(const fs::path& file) {
    const std::string owner = ownerName(file.filename().string());
    if (owner.empty() ||
        caches_->listings.of(file.parent_path(), FolderListings::Links::eFollow)->find(owner) ==
            nullptr) {
        return false;
    }
    const ForkFile::Opened opened = ForkFile::open(file, RegularFile::Links::eRefuse);
    if (!opened.file) {
        return false;
    }
    const std::vector<std::uint8_t> magic = opened.file->read(0, 4);
    return magic.size() == 4 && ByteView(magic).u32be(0) == appledouble::kDoubleMagic;
}

bool ForkLocator::isSidecarFolder(std::string_view name) {
    const std::string lower = ascii::toLower(name);
    return std::find(std::begin(kSidecarFolders), std::end(kSidecarFolders), lower) !=
           std::end(kSidecarFolders);
}
