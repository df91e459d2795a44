#include <algorithm>
#include <array>
#include <boost/filesystem/operations.hpp>
#include <string>
#include <vector>

#include "AfpInfo.h"
#include "AppleDouble.h"
#include "BinHex.h"
#include "CapFinderInfo.h"
#include "Check.h"
#include "EtherShare.h"
#include "FileNames.h"
#include "ForkLocator.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "MacBinary.h"
#include "MacErrors.h"
#include "PcExchange.h"
#include "ResourceFile.h"
#include "ResourceFileWriter.h"
#include "ScratchFolder.h"
#include "XinetAncillary.h"

namespace {

struct Resource {
    std::uint32_t type;
    std::int16_t id;
    std::uint8_t attributes;
    std::string name;
    ByteView data;
};

// What was written is read back, all of it, type by type in its order.
void checkReadBack(const ResourceFileWriter& writer, const std::vector<Resource>& written) {
    const std::vector<std::uint8_t> bytes = writer.build();
    ResourceFile file;
    check(file.open(ByteView(bytes)) == noErr, "what is written opens");
    std::size_t read = 0;
    for (const std::uint32_t type : file.types()) {
        auto place = written.begin();
        for (const ResourceFile::Reference& reference : file.references(type)) {
            place = std::find_if(place, written.end(),
                                 [type](const Resource& r) { return r.type == type; });
            check(place != written.end(), "no more is read than was written");
            check(reference.id == place->id && reference.attributes == place->attributes &&
                      file.name(reference) == place->name &&
                      file.data(reference).bytes.text() == place->data.text(),
                  "what is written is read back");
            ++place;
            ++read;
        }
    }
    check(read == written.size(), "everything that was written is read");
}

bool liesInside(std::string_view part, ByteView whole) {
    const std::string_view text = whole.text();
    return part.empty() ||
           (part.data() >= text.data() && part.data() + part.size() <= text.data() + text.size());
}

// A hostile map can name the same references under thousands of types, and the same data in
// thousands of references.
constexpr std::size_t kMostReferences = 2000;

// Reads everything that a fork holds, writes it anew and reads that back.
FUZZ_TARGET(ResourceFile) {
    ResourceFile file;
    const std::int16_t status = file.open(input);
    const auto types = file.types();
    if (status != noErr) {
        check(status == (input.empty() ? eofErr : mapReadErr), "a status of opening");
        check(types.empty(), "a damaged fork holds nothing");
        return;
    }
    ResourceFileWriter writer;
    std::vector<Resource> written;
    std::size_t looked = 0;
    for (const std::uint32_t type : types) {
        check(file.holdsType(type) && std::count(types.begin(), types.end(), type) == 1,
              "of two entries for one type the first counts");
        for (const ResourceFile::Reference& reference : file.references(type)) {
            if (++looked > kMostReferences) {
                return;
            }
            check(file.find(type, reference.id) != nullptr, "what is listed is found");
            const std::string_view name = file.name(reference);
            check(liesInside(name, input), "a name lies inside the fork");
            const ResourceFile::Data data = file.data(reference);
            check(liesInside(data.bytes.text(), input), "a resource lies inside the fork");
            check(data.status == noErr || data.bytes.empty(), "no bytes with a failure");
            if (data.status == noErr &&
                writer.add(type, reference.id, name, reference.attributes, data.bytes)) {
                written.push_back(
                    {type, reference.id, reference.attributes, std::string(name), data.bytes});
            }
        }
    }
    checkReadBack(writer, written);
}

// A list of resources: type, id, attributes, name, data. The compressed attribute is left out: such
// data may look compressed, which a reader refuses.
FUZZ_TARGET(ResourceWriter) {
    ResourceFileWriter writer;
    std::vector<Resource> written;
    for (InputParts parts(input); !parts.empty();) {
        Resource r{parts.u32(), static_cast<std::int16_t>(parts.u16()),
                   static_cast<std::uint8_t>(parts.u8() & ~unsigned{ResourceFile::kCompressed}),
                   parts.shortText(), parts.longPart()};
        if (writer.add(r.type, r.id, r.name, r.attributes, r.data)) {
            written.push_back(std::move(r));
        }
    }
    checkReadBack(writer, written);
}

using appledouble::Extent;
using appledouble::Strictness;

void checkExtent(const std::optional<Extent>& extent, std::size_t headerSize, ByteView file) {
    if (extent) {
        check(extent->length != 0 && extent->offset >= headerSize &&
                  file.holds(extent->offset, extent->length),
              "an entry lies inside the file, behind the header");
    }
}

// A file's header, and the file as a fork that is wrapped.
FUZZ_TARGET(AppleDouble) {
    for (const Strictness strictness : {Strictness::eStrict, Strictness::eOldNetatalk}) {
        const auto size = appledouble::headerSize(input, strictness);
        const auto layout = appledouble::readHeader(input, input.size(), strictness);
        check(size || !layout, "a header has a size");
        if (layout) {
            check(*size <= appledouble::kHeaderLimit && *size <= input.size(), "a header's size");
            checkExtent(layout->resourceFork, *size, input);
            checkExtent(layout->finderInfo, *size, input);
            const ByteView header = input.clamped(0, *size);
            const auto again = appledouble::readHeader(header, input.size(), strictness);
            check(again && again->isSingle == layout->isSingle && again->clamped == layout->clamped,
                  "the header alone suffices");
        }
    }
    const FinderInfo info = FinderInfo::from(input);
    const auto bytes = appledouble::makeAppleDouble(info, input);
    const ByteView made(bytes);
    const auto layout = appledouble::readHeader(made, made.size(), Strictness::eStrict);
    check(layout && !layout->isSingle && !layout->clamped && layout->finderInfo,
          "what is made is read");
    check(FinderInfo::from(made.from(layout->finderInfo->offset)) == info,
          "the Finder information");
    check(layout->resourceFork.has_value() != input.empty(), "a fork if there is one");
    if (layout->resourceFork) {
        const auto [offset, length] = *layout->resourceFork;
        check(made.clamped(offset, length).text() == input.text(), "the fork's bytes");
    }
}

void checkRoundTrip(ByteView input) {
    InputParts parts(input);
    const FinderInfo info = FinderInfo::of(parts.u32() | 0x41000000, parts.u32(), parts.u16());
    const std::string name = "A" + parts.shortText();
    const ByteView data = parts.longPart();
    const ByteView fork = parts.rest();
    const auto bytes = macbinary::makeMacBinary(name, info, data, fork);
    const ByteView file(bytes);
    const auto layout = macbinary::readHeader(file, file.size());
    check(layout && layout->strong, "what is made is read");
    check(layout->finderInfo == info, "the Finder information");
    check(file.clamped(layout->dataOffset, layout->dataLength).text() == data.text(),
          "the data fork");
    check(file.clamped(layout->forkOffset, layout->forkLength).text() == fork.text(),
          "the resource fork");
}

FUZZ_TARGET(MacBinary) {
    if (const auto layout = macbinary::readHeader(input, input.size())) {
        check(layout->dataOffset >= macbinary::kHeaderSize && layout->dataOffset % 128 == 0 &&
                  layout->forkOffset >= layout->dataOffset + layout->dataLength &&
                  layout->forkOffset % 128 == 0,
              "the forks follow each other");
        const ByteView header = input.clamped(0, macbinary::kHeaderSize);
        check(macbinary::readHeader(header, input.size()).has_value(), "the header suffices");
    }
    checkRoundTrip(input);
}

std::optional<std::vector<std::uint8_t>> decodeInPieces(ByteView text, std::size_t piece,
                                                        std::uint64_t limit) {
    InputParts parts(text);
    return binhex::decodeFork([&] { return parts.take(piece); }, limit);
}

// The size of the pieces, then the file. Runs of 255 equal bytes take 4 characters at the least.
FUZZ_TARGET(BinHex) {
    InputParts parts(input);
    const std::size_t piece = 1 + std::size_t{parts.u8()};
    const ByteView file = parts.rest();
    const auto start = binhex::findText(file);
    if (!start) {
        return;
    }
    const ByteView text = file.from(*start);
    const auto header = binhex::readHeader(text);
    constexpr std::uint64_t kNoLimit = ~std::uint64_t{0} >> 1;
    const auto fork = decodeInPieces(text, piece, kNoLimit);
    check(fork == decodeInPieces(text, text.size(), kNoLimit), "the pieces do not show");
    check(header || !fork, "no fork without a header");
    if (fork) {
        check(fork->size() == header->forkLength, "the fork's length");
        check(fork->size() <= 255 * text.size(), "a fork in proportion to its text");
        check(decodeInPieces(text, piece, fork->size()) == fork, "a fork of the limit's length");
        check(fork->empty() || !decodeInPieces(text, piece, fork->size() - 1), "no longer fork");
    }
}

constexpr std::size_t kRecordSize = 92;

// The small files in which servers and systems keep Finder information.
FUZZ_TARGET(FinderRecords) {
    std::string longest;
    const auto exists = [&](const std::string& name) {
        check(!name.empty() && name.size() <= 12 && name.find('/') == name.npos, "an 8.3 name");
        longest = std::max(longest, name);
        return true;
    };
    const FinderDat dat(input, exists);
    check(dat.size() <= input.size() / kRecordSize, "no more records than there is room for");
    if (dat.size() != 0) {
        const auto* record = dat.find(longest);
        check(record == nullptr || dat.find(record->shortName) == record, "a record by its name");
    }
    check(FinderDat(input, [](const std::string&) { return false; }).size() == 0,
          "no records of files that are not there");
    const std::string folded = foldedName(input.text());
    check(foldedName(folded) == folded, "a folded name stays as it is");
    const std::string canonical = canonicalName(input.text());
    check(canonicalName(canonical) == canonical, "a canonical name stays as it is");
    check(!isPlainAscii(input.text()) || canonical == input.text(), "plain ASCII is canonical");
    finderInfoOfAfpInfo(input);
    finderInfoOfCap(input);
    ethershare::finderInfoOfEtherShare(input);
    ethershare::finderInfoOfUShare(input);
    finderInfoOfXinet(input, input.clamped(254, 32).text());
}

// Where the input lies beside the file "font"; the empty name stands for the file itself.
constexpr std::array<const char*, 16> kPlaces = {"",
                                                 "font.hqx",
                                                 "._font",
                                                 "%font",
                                                 ".AppleDouble/font",
                                                 "resource.frk/font",
                                                 "FINDER.DAT",
                                                 ".resource/font",
                                                 ".finderinfo/font",
                                                 ".rsrc/font",
                                                 ".finf/font",
                                                 ".HSResource/font",
                                                 ".HSancillary",
                                                 "font.rsrc",
                                                 "R.font",
                                                 "__MACOSX/._font"};

bool isStatus(std::int16_t status) {
    constexpr std::int16_t kKnown[] = {noErr, eofErr,     fnfErr,    permErr,
                                       ioErr, memFullErr, mapReadErr};
    return std::find(std::begin(kKnown), std::end(kKnown), status) != std::end(kKnown);
}

// The folder keeps a file at each place that was used: places compete, as on real disks. The
// higher bits of the first byte choose a second place for the same bytes.
boost::filesystem::path layOut(ByteView input) {
    static const ScratchFolder& scratch = ScratchFolder::instance();
    scratch.clear();
    for (const char* folder : {".AppleDouble", "resource.frk", ".resource", ".finderinfo", ".rsrc",
                               ".finf", ".HSResource", "__MACOSX"}) {
        boost::filesystem::create_directory(scratch.path() / folder);
    }
    const std::uint8_t places = input.u8(0);
    const ByteView bytes = input.from(1);
    const auto file = scratch.write("font", {});
    boost::filesystem::path asked = file;
    for (const unsigned place : {places & 0xFu, places >> 4 & 0xFu}) {
        const std::string name = kPlaces[place];
        const auto written = scratch.write(name.empty() ? "font" : name, bytes);
        if (name == "font.hqx") {
            asked = written;
        }
    }
    return asked;
}

FUZZ_TARGET(ForkLocator) {
    if (input.empty()) {
        return;
    }
    const auto file = layOut(input);
    ForkLocator locator;
    ForkLocator other;
    const ForkAnswer fork = locator.resourceFork(file);
    const FinderAnswer finder = locator.finderInfo(file);
    check(isStatus(fork.status) && finder.status == noErr, "a status of looking");
    check(fork.status != noErr || fork.bytes, "bytes of what was found");
    // In the order in which another program would ask.
    const FinderAnswer finderAgain = other.finderInfo(file);
    const ForkAnswer forkAgain = other.resourceFork(file);
    check(finder.place == finderAgain.place && finder.info == finderAgain.info,
          "Finder information does not depend on what was asked before");
    check(fork.status == forkAgain.status && fork.source.place == forkAgain.source.place,
          "a fork does not depend on what was asked before");
    if (fork.status == noErr) {
        check(*fork.bytes == *forkAgain.bytes, "equal forks");
        check(fork.bytes->size() == fork.source.length, "the length of the fork");
        const ByteView bytes(*fork.bytes);
        check(isPlausibleResourceHeader(bytes, bytes.size()), "a plausible fork");
        ResourceFile resources;
        resources.open(bytes);
    }
    check(!finder.info.empty() == (finder.place != ForkPlace::eNone), "a place for what is known");
    const ExternalForks outside = locator.externalForks(file);
    check(locator.hasForkOutsideFile(file) == (!outside.empty() || outside.status != noErr),
          "a fork outside the file is announced");
    check(!locator.isSidecar(file), "a font is no sidecar");
    locator.isSidecar(file.parent_path() / "._font");
}

}  // namespace
