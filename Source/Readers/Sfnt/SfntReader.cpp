#include "SfntReader.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "SfntCoverage.h"
#include "SfntFont.h"
#include "SfntKerning.h"
#include "SfntLayout.h"
#include "SfntNames.h"
#include "SfntProperties.h"
#include "SfntRules.h"
#include "SfntVariations.h"

namespace {

constexpr int kVersion = 11002;
constexpr int kNoMember = 20100;
constexpr int kMembersOutside = 20106;
constexpr int kTooManyMembers = 20107;

constexpr SfntTag kCollection = fourCharCode("ttcf");
constexpr std::uint32_t kMembersOffset = 12;
constexpr std::uint32_t kMostMembers = 4096;
constexpr int kUnset = -1;

struct Format {
    SfntTag glyphs;
    int fontType;
    const char* name;
};
constexpr Format kFormats[] = {
    {fourCharCode("glyf"), OxFont::TTF, "truetype"}, {fourCharCode("CFF "), OxFont::OTPS, "cff"},
    {fourCharCode("CFF2"), OxFont::OTPS, "cff2"},    {fourCharCode("EBDT"), kUnset, "bitmap"},
    {fourCharCode("bdat"), kUnset, "bitmap"},        {fourCharCode("sbix"), kUnset, "bitmap"},
    {fourCharCode("CBDT"), kUnset, "bitmap"},
};
constexpr Format kWrappedType1 = {0, kUnset, "type1"};

const Format* formatOf(const SfntFont& font) {
    if (font.version() == fourCharCode("typ1") &&
        (font.has(fourCharCode("TYP1")) || font.has(fourCharCode("CID ")))) {
        return &kWrappedType1;
    }
    const SfntTag glyphs = font.glyphTable();
    const auto* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                      [glyphs](const Format& f) { return f.glyphs == glyphs; });
    return format == std::end(kFormats) ? nullptr : format;
}

void setFormat(SfntFont& font) {
    const Format* format = formatOf(font);
    if (format != nullptr) {
        font.face().set("format", format->name);
    }
    const int type = font.shared().isCollection ? OxFont::TTC
                     : format != nullptr        ? format->fontType
                                                : kUnset;
    if (type != kUnset) {
        font.face().record().setFontType(type);
    }
}

// Reads the font whose directory is at `start`.
void readFont(Face& face, SfntShared& shared, std::uint64_t start) {
    SfntFont font(face, shared, start);
    setFormat(font);
    SfntNames names(font);
    names.setProperties();
    readStyle(font);
    readMeasures(font);
    readCoverage(font);
    readLayout(font);
    readVariations(font, names);
    if (face.context().details.tables) {
        listTables(font);
    }
    readKerning(font);
    checkRules(font);
}

// The faces of one image.
class ImageReader {
  public:
    ImageReader(ByteView image, FaceContext& context, FontFaces& faces, SfntOrigin origin)
        : context_(context), faces_(faces), shared_(image, origin) {}

    void read();

  private:
    Face newFace();
    void readCollection();
    void tellCollection(Face& face, std::uint32_t count, std::size_t found);

    FaceContext& context_;
    FontFaces& faces_;
    SfntShared shared_;
};

Face ImageReader::newFace() {
    Face face(faces_, context_);
    if (context_.container.empty()) {
        face.set("container", shared_.isCollection ? "collection" : "sfnt");
    }
    return face;
}

void ImageReader::readCollection() {
    const ByteView image = shared_.image;
    const std::uint32_t count = image.holds(8, 4) ? image.u32be(8) : 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> members;  // index and start
    for (std::uint32_t i = 0; i < std::min(count, kMostMembers); ++i) {
        const std::uint64_t place = kMembersOffset + std::uint64_t{4} * i;
        if (image.holds(place, 4) && image.u32be(place) < image.size()) {
            members.emplace_back(i, image.u32be(place));
        }
    }
    // What is wrong with the collection itself is told of its last member.
    for (const auto& [index, start] : members) {
        Face face = newFace();
        face.set("index", index);
        face.set("offset", start);
        readFont(face, shared_, start);
        if (index == members.back().first) {
            tellCollection(face, count, members.size());
        }
    }
    if (members.empty()) {
        Face face = newFace();
        face.find(kNoMember, std::to_string(count) + " members");
    }
}

void ImageReader::tellCollection(Face& face, std::uint32_t count, std::size_t found) {
    const std::uint32_t version = shared_.image.u32be(4);
    if (version != 0x00010000 && version != 0x00020000) {
        face.find(eWarning, kVersion, hexadecimal(version) + ", should be 0x00010000 or 0x00020000",
                  {.table = "ttcf", .field = "version", .offset = 4});
    }
    if (found < std::min(count, kMostMembers)) {
        face.find(
            kMembersOutside,
            std::to_string(std::min(count, kMostMembers) - found) + " of " + std::to_string(count),
            {.table = "ttcf", .field = "tableDirectoryOffsets"});
    }
    if (count > kMostMembers) {
        face.find(kTooManyMembers,
                  std::to_string(count) + ", at most " + std::to_string(kMostMembers) + " are read",
                  {.table = "ttcf", .field = "numFonts", .offset = 8});
    }
}

void ImageReader::read() {
    const ByteView image = shared_.image;
    if (image.holds(0, 4) && image.u32be(0) == kCollection) {
        shared_.isCollection = true;
        readCollection();
    } else {
        Face face = newFace();
        readFont(face, shared_, 0);
    }
}

}  // namespace

void readSfnt(ByteView image, FaceContext& context, FontFaces& faces) {
    readUnpackedSfnt(image, SfntOrigin::eOriginal, context, faces);
}

void readUnpackedSfnt(ByteView image, SfntOrigin origin, FaceContext& context, FontFaces& faces) {
    ImageReader(image, context, faces, origin).read();
}
