#include <algorithm>
#include <iterator>

#include "AfpInfo.h"
#include "Ascii.h"
#include "BinHex.h"
#include "CapFinderInfo.h"
#include "EtherShare.h"
#include "FileNames.h"
#include "ForkSearch.h"
#include "MacBinary.h"
#include "ResourceFile.h"
#include "XinetAncillary.h"

namespace fs = boost::filesystem;

namespace {

using appledouble::Strictness;
using FilePtr = std::shared_ptr<const ForkFile>;
using Value = std::vector<std::uint8_t>;

// An ancillary file is a few hundred bytes for each file of its folder.
constexpr std::uint64_t kAncillaryLimit = std::uint64_t{1} << 20;

// A sidecar with this name in the same folder; null without one. The listing is asked first.
FilePtr besideFile(ForkSearch& search, const ForkSearch::Spot& spot, const std::string& name) {
    const FolderListing::Entry* entry = spot.listing->find(name);
    return entry != nullptr ? search.openSidecar(spot.folder / entry->name) : nullptr;
}

// A file in a folder of sidecars beside the file. Names match exactly, on request in any case.
FilePtr inSidecarFolder(ForkSearch& search, const ForkSearch::Spot& spot, KnownEntry folder,
                        const std::string& name, bool anyCase = false) {
    const std::string* known = spot.listing->known(folder);
    if (known == nullptr) {
        return nullptr;
    }
    const fs::path path = spot.folder / *known;
    const auto listing = search.listing(path);
    const auto* entry = anyCase ? listing->findAnyCase(name) : listing->find(name);
    return entry != nullptr ? search.openSidecar(path / entry->name) : nullptr;
}

std::optional<FinderInfo> finderInfoOfBytes(const Value& value) {
    return value.size() < 8 ? std::nullopt : std::optional(FinderInfo::from(ByteView(value)));
}

std::optional<FinderInfo> finderInfoOfStream(const Value& value) {
    return finderInfoOfAfpInfo(ByteView(value));
}

// A pair of attributes that hold the fork and the Finder information.
struct AttributePair {
    ForkPlace place;
    const char* fork;
    const char* finderInfo;
    std::optional<FinderInfo> (*read)(const Value&);
};

constexpr AttributePair kAttributePairs[] = {
    {ForkPlace::eAppleAttributes, "com.apple.ResourceFork", "com.apple.FinderInfo",
     finderInfoOfBytes},
    {ForkPlace::eCopiedAttributes, "user.com.apple.ResourceFork", "user.com.apple.FinderInfo",
     finderInfoOfBytes},
    {ForkPlace::eSambaStreams, "user.DosStream.AFP_Resource:$DATA",
     "user.DosStream.AFP_AfpInfo:$DATA", finderInfoOfStream},
    {ForkPlace::eNtfsStreams, "user.AFP_Resource", "user.AFP_AfpInfo", finderInfoOfStream},
};

// The place's Samba streams carry one byte too many; the resource header says where a fork ends.
void dropTrailingByte(Value& fork) {
    const ByteView view(fork);
    if (!isPlausibleResourceHeader(view, view.size())) {
        return;
    }
    const std::uint64_t dataEnd = std::uint64_t{view.u32be(0)} + view.u32be(8);
    const std::uint64_t mapEnd = std::uint64_t{view.u32be(4)} + view.u32be(12);
    if (std::max(dataEnd, mapEnd) + 1 == view.size()) {
        fork.pop_back();
    }
}

void probeAttributes(ForkSearch& search, const AttributePair& pair) {
    if (search.wantsFinderInfo()) {
        if (const auto value = search.attribute(pair.finderInfo)) {
            search.offerFinderInfo(pair.place, pair.read(*value));
        }
    }
    if (search.wantsFork()) {
        if (auto value = search.attribute(pair.fork)) {
            if (pair.place == ForkPlace::eSambaStreams) {
                dropTrailingByte(*value);
            }
            search.offerFork(pair.place, search.file(), pair.fork, std::move(*value));
        }
    }
}

template <std::size_t row>
void probeAttributePair(ForkSearch& search) {
    probeAttributes(search, kAttributePairs[row]);
}

// Opening a path below a regular file fails at once where the file system has no such forks.
void probeForkBelowFile(ForkSearch& search, ForkPlace place, const std::string& suffix) {
    if (!suffix.empty()) {
        if (FilePtr fork = search.openSidecar(search.file().string() + suffix)) {
            search.offerFork(place, std::move(fork));
        }
    }
}

void probeNamedFork(ForkSearch& search) {
    probeForkBelowFile(search, ForkPlace::eNamedFork, search.environment().namedForkSuffix);
}

// The server's own copy; the one in ._NAME may be stale.
void probeNetatalkMetadata(ForkSearch& search) {
    for (const char* name : {"user.org.netatalk.Metadata", "org.netatalk.Metadata"}) {
        const auto value = search.attribute(name);
        if (!value) {
            continue;
        }
        const ByteView blob(*value);
        const auto layout = appledouble::readHeader(blob, blob.size(), Strictness::eStrict);
        if (layout && layout->finderInfo) {
            search.offerFinderInfo(ForkPlace::eNetatalkMetadata,
                                   FinderInfo::from(blob.clamped(layout->finderInfo->offset,
                                                                 layout->finderInfo->length)));
        }
    }
}

void probeNetatalkFork(ForkSearch& search) {
    for (const char* name : {"org.netatalk.ResourceFork", "user.org.netatalk.ResourceFork"}) {
        if (auto value = search.attribute(name)) {
            search.offerFork(ForkPlace::eNetatalkFork, search.file(), name, std::move(*value));
        }
    }
}

void probeSidecars(ForkSearch& search, ForkPlace place, const std::string& prefix) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        if (FilePtr file = besideFile(search, spot, prefix + spot.name)) {
            search.offerAppleDouble(place, std::move(file), Strictness::eStrict);
        }
    }
}

void probeAppleDoubleSidecar(ForkSearch& search) {
    probeSidecars(search, ForkPlace::eAppleDoubleSidecar, "._");
}

void probePercentSidecar(ForkSearch& search) {
    probeSidecars(search, ForkPlace::ePercentSidecar, "%");
}

void probeNetatalkFolder(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        if (FilePtr file = inSidecarFolder(search, spot, KnownEntry::eAppleDouble, spot.name)) {
            search.offerAppleDouble(ForkPlace::eNetatalkFolder, std::move(file),
                                    Strictness::eOldNetatalk);
        }
    }
}

const FinderDat::Record* finderDatRecord(ForkSearch& search, const ForkSearch::Spot& spot) {
    const std::string* name = spot.listing->known(KnownEntry::eFinderDat);
    const FilePtr file = name != nullptr ? search.openSidecar(spot.folder / *name) : nullptr;
    return file ? search.caches().finderDat.of(*file, spot.listing).find(spot.name) : nullptr;
}

// PC Exchange and DAVE use one folder: a fork as it is, or an AppleDouble file.
void probePcExchange(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        const FinderDat::Record* record = finderDatRecord(search, spot);
        const auto open = [&](const std::string& name) {
            return inSidecarFolder(search, spot, KnownEntry::eResourceFrk, name, true);
        };
        FilePtr file = open(spot.name);
        if (!file && record != nullptr) {
            file = open(record->shortName);
        }
        if (record != nullptr) {
            search.offerFinderInfo(ForkPlace::ePcExchange, record->finderInfo);
        }
        if (file && !search.offerAppleDouble(ForkPlace::eDave, file, Strictness::eStrict)) {
            search.offerFork(ForkPlace::ePcExchange, std::move(file));
        }
    }
}

void probeCap(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        if (search.wantsFinderInfo()) {
            if (FilePtr file = inSidecarFolder(search, spot, KnownEntry::eFinderInfo, spot.name)) {
                const Value bytes = file->read(0, 64);
                search.offerFinderInfo(ForkPlace::eCap, finderInfoOfCap(ByteView(bytes)));
            }
        }
        if (search.wantsFork()) {
            if (FilePtr file = inSidecarFolder(search, spot, KnownEntry::eResource, spot.name)) {
                search.offerFork(ForkPlace::eCap, std::move(file));
            }
        }
    }
}

bool holdsForkAt(const ForkFile& file, std::uint64_t offset) {
    const Value header = file.read(offset, 16);
    return offset < file.size() &&
           isPlausibleResourceHeader(ByteView(header), file.size() - offset);
}

// EtherShare marks its header. Without the mark, Basilisk's fork begins at once, UShare's behind a
// header of the same size; the resource header tells.
void probeRsrcFolder(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        FilePtr file = inSidecarFolder(search, spot, KnownEntry::eRsrc, spot.name);
        if (!file) {
            continue;
        }
        const Value start = file->read(0, 64);
        const ByteView header(start);
        const std::uint64_t size = file->size();
        if (const auto info = ethershare::finderInfoOfEtherShare(header)) {
            search.offerFinderInfo(ForkPlace::eEtherShare, info);
            search.offerFork(ForkPlace::eEtherShare, std::move(file), ethershare::kHeaderSize,
                             size);
        } else if (!holdsForkAt(*file, 0) && holdsForkAt(*file, ethershare::kHeaderSize)) {
            search.offerFinderInfo(ForkPlace::eEtherShare, ethershare::finderInfoOfUShare(header));
            search.offerFork(ForkPlace::eEtherShare, std::move(file), ethershare::kHeaderSize,
                             size);
        } else {
            search.offerFork(ForkPlace::eBasilisk, std::move(file));
        }
    }
}

void probeFinfFolder(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        if (FilePtr file = inSidecarFolder(search, spot, KnownEntry::eFinf, spot.name)) {
            search.offerFinderInfo(ForkPlace::eBasilisk,
                                   finderInfoOfBytes(file->read(0, FinderInfo::kSize)));
        }
    }
}

void probeXinet(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        const std::string* ancillary = spot.listing->known(KnownEntry::eHsAncillary);
        if (search.wantsFinderInfo() && ancillary != nullptr) {
            if (const FilePtr file = search.openSidecar(spot.folder / *ancillary)) {
                const Value bytes = file->read(0, kAncillaryLimit);
                search.offerFinderInfo(ForkPlace::eXinet,
                                       finderInfoOfXinet(ByteView(bytes), spot.name));
            }
        }
        if (search.wantsFork()) {
            if (FilePtr file = inSidecarFolder(search, spot, KnownEntry::eHsResource, spot.name)) {
                search.offerFork(ForkPlace::eXinet, std::move(file));
            }
        }
    }
}

void probeUnarchiver(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        FilePtr file = besideFile(search, spot, spot.name + ".rsrc");
        if (file && !search.offerAppleDouble(ForkPlace::eUnarchiver, file, Strictness::eStrict)) {
            search.offerFork(ForkPlace::eUnarchiver, file);
        }
    }
}

void probeProDos(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        const std::string stem = fs::path(spot.name).stem().string();
        for (const std::string& name : {stem + ".ADF", "R." + spot.name}) {
            if (name == spot.name) {
                continue;
            }
            if (FilePtr file = besideFile(search, spot, name)) {
                search.offerAppleDouble(ForkPlace::eProDos, std::move(file), Strictness::eStrict);
            }
        }
    }
}

// Linux hands out the attributes; its NAME/rsrc ends at the kernel's own check that only folders
// are walked through (seen with 5.10 to 7.2). The path is tried all the same, for kernels without
// it.
void probeHfsMount(ForkSearch& search) {
    const auto type = search.attribute("hfs.type");
    const auto creator = search.attribute("hfs.creator");
    if (type && creator && type->size() >= 4 && creator->size() >= 4) {
        search.offerFinderInfo(ForkPlace::eHfsMount, FinderInfo::of(ByteView(*type).u32be(0),
                                                                    ByteView(*creator).u32be(0)));
    }
    if (search.wantsFork()) {
        probeForkBelowFile(search, ForkPlace::eHfsMount, search.environment().hfsForkSuffix);
        if (type) {
            search.noteForkOutOfReach();
        }
    }
}

void probeHfsPlusMount(ForkSearch& search) {
    if (const auto value = search.unlistedAttribute("osx.com.apple.FinderInfo")) {
        search.offerFinderInfo(ForkPlace::eHfsPlusMount, finderInfoOfBytes(*value));
        search.noteForkOutOfReach();
    }
}

void probeAppleFile(ForkSearch& search) {
    const ByteView start = search.contentStart();
    if (appledouble::hasMagic(start)) {
        const bool isSingle = start.u32be(0) == appledouble::kSingleMagic;
        search.offerAppleDouble(isSingle ? ForkPlace::eAppleSingle : ForkPlace::eAppleDouble,
                                search.content(), Strictness::eStrict);
    }
}

void probeMacBinary(ForkSearch& search) {
    const FilePtr file = search.content();
    const auto layout =
        file ? macbinary::readHeader(search.contentStart(), file->size()) : std::nullopt;
    if (!layout) {
        return;
    }
    if (layout->strong || holdsForkAt(*file, layout->forkOffset)) {
        search.offerFinderInfo(ForkPlace::eMacBinary, layout->finderInfo);
        search.offerFork(ForkPlace::eMacBinary, file, layout->forkOffset, layout->forkLength);
    }
}

// Where the encoded text begins; nothing when the file is no BinHex.
std::optional<std::uint64_t> binHexText(ForkSearch& search) {
    const bool named = ascii::toLower(search.file().extension().string()) == ".hqx";
    const FilePtr file = search.content();
    if (!file) {
        return std::nullopt;
    }
    if (!named) {
        return binhex::findText(search.contentStart());
    }
    const Value start = file->read(0, binhex::kLineWithinNamed);
    return binhex::findText(ByteView(start));
}

void probeBinHex(ForkSearch& search) {
    const std::optional<std::uint64_t> text = binHexText(search);
    if (!text) {
        return;
    }
    const FilePtr file = search.content();
    const Value headerText = file->read(*text, binhex::kHeaderText);
    const auto header = binhex::readHeader(ByteView(headerText));
    if (!header) {
        search.noteDamage(file);
        return;
    }
    search.offerFinderInfo(ForkPlace::eBinHex, header->finderInfo);
    if (!search.wantsFork() || header->forkLength == 0) {
        return;
    }
    constexpr std::uint64_t kPiece = std::uint64_t{64} * 1024;
    std::uint64_t at = *text;
    Value piece;
    const auto next = [&] {
        piece = file->read(at, kPiece);
        at += piece.size();
        return ByteView(piece);
    };
    if (auto fork = binhex::decodeFork(next, search.environment().forkLimit)) {
        search.offerFork(ForkPlace::eBinHex, file->path(), {}, std::move(*fork));
    } else {
        search.offerDamagedFork(ForkPlace::eBinHex, file->path());
    }
}

void probeMacOsXFolder(ForkSearch& search) {
    for (const ForkSearch::Spot& spot : search.spots()) {
        for (const fs::path& folder : search.caches().macOsX.of(spot.folder, spot.listing)) {
            const auto listing = search.listing(folder);
            const auto* entry = listing->find("._" + spot.name);
            FilePtr file = entry != nullptr ? search.openSidecar(folder / entry->name) : nullptr;
            if (file) {
                search.offerAppleDouble(ForkPlace::eMacOsXFolder, std::move(file),
                                        Strictness::eStrict);
            }
        }
    }
}

constexpr ForkProbe kProbes[] = {
    // fork, Finder information, inside the file
    {true, false, false, probeNamedFork},
    {true, true, false, probeAttributePair<0>},
    {true, true, false, probeAttributePair<1>},
    {false, true, false, probeNetatalkMetadata},
    {true, true, false, probeAppleDoubleSidecar},
    {true, false, false, probeNetatalkFork},
    {true, true, false, probeAttributePair<2>},
    {true, true, false, probeAttributePair<3>},
    {true, true, false, probeNetatalkFolder},
    {true, true, false, probePercentSidecar},
    {true, true, false, probePcExchange},
    {true, true, false, probeCap},
    {true, true, false, probeRsrcFolder},
    {false, true, false, probeFinfFolder},
    {true, true, false, probeXinet},
    {true, true, false, probeUnarchiver},
    {true, true, false, probeProDos},
    {true, true, false, probeHfsMount},
    {true, true, false, probeHfsPlusMount},
    {true, true, true, probeAppleFile},
    {true, true, true, probeMacBinary},
    {true, true, true, probeBinHex},
    {true, true, false, probeMacOsXFolder},
};

}  // namespace

std::span<const ForkProbe> forkProbes() {
    return kProbes;
}
