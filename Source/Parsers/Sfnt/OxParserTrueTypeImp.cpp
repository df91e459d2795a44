#include "OxParserTrueTypeImp.h"

#include <bit>

#include "Log.h"
#include "NameTable.h"
#include "ParserSupport.h"
#include "SfntFile.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr char kCategory[] = "OxParserTrueTypeImp";
constexpr char kExtension[] = ".TTF";

constexpr SfntFormat::Version kFileVersions[] = {
    {kTrueTypeVersion, -1, "MacOrWindows"},
    {fourCharCode("OTTO"), OxFont::OTTT, "Open Type"},
    {fourCharCode("true"), -1, "Macintosh"},
    {fourCharCode("typ1"), OxFont::T1, "Macintosh"},
};
constexpr SfntFormat::Version kPlainVersions[] = {
    {kTrueTypeVersion, -1, "MacOrWindows"},
    {fourCharCode("true"), -1, "Macintosh"},
};
constexpr SfntFormat kFile = {kCategory, kFileVersions, OxFont::TTF, false, true, nullptr, -1};
constexpr SfntFormat kPlainFile = {kCategory, kPlainVersions, OxFont::TTF, true, true, nullptr, -1};

bool readTable(const char (&tag)[5], SfntReading& reading, const ttf::tagTableDirectory* record,
               OxFont& font) {
    return readTable(*findSfntTable(fourCharCode(tag)), reading, record, font);
}

}  // namespace

OxParserTrueTypeImp::OxParserTrueTypeImp(int PlatformId)
    : reading_(std::make_unique<SfntReading>(PlatformId)) {}

OxParserTrueTypeImp::~OxParserTrueTypeImp() = default;

FontList* OxParserTrueTypeImp::parseFontFile(fs::path file) {
    LogChannel(kCategory).info("parseFontFile:  ");
    FontList* const fonts = validate(file);
    if (reading_->fileError) {
        reportFileError(file, reading_->fileError.message());
    }
    return fonts;
}

bool OxParserTrueTypeImp::inspectFont(fs::path file) {
    return hasExtension(file, kExtension);
}

bool OxParserTrueTypeImp::readsWhole(const fs::path& file) const {
    return hasExtension(file, kExtension);
}

void OxParserTrueTypeImp::releaseMemory() {
    reading_->image.forget();
    reading_->fileBuffer.release();
}

bool OxParserTrueTypeImp::diagnoseFont(fs::path /*file*/) {
    return true;
}

bool OxParserTrueTypeImp::repairFont(fs::path /*file*/) {
    return true;
}

FontList* OxParserTrueTypeImp::validate(const fs::path& file) {
    return readSfntFile(*reading_, file, kFile);
}

FontList* OxParserTrueTypeImp::validate(const fs::path& file, ttf::tagFontDirectory& directory) {
    return readSfntFile(*reading_, file, kPlainFile, &directory);
}

FontList* OxParserTrueTypeImp::validate(OxFont& font, ttf::tagFontDirectory& image,
                                        std::uint32_t length) {
    reading_->work = {};
    return readSfntMemory(*reading_, font, image, length);
}

bool OxParserTrueTypeImp::preflightTable(const ttf::tagTableDirectory* record, OxFont& font,
                                         int imageLength) {
    return record != nullptr && preflight(*record, font, static_cast<std::uint32_t>(imageLength));
}

int OxParserTrueTypeImp::getTableStructureSize(int tag) {
    const SfntTable* const table = findSfntTable(static_cast<std::uint32_t>(tag));
    return table != nullptr ? table->minimumSize : 0;
}

std::uint32_t OxParserTrueTypeImp::endian_swaplong(std::uint32_t value) {
    return __builtin_bswap32(value);
}

std::uint16_t OxParserTrueTypeImp::endian_swapword(std::uint16_t value) {
    return __builtin_bswap16(value);
}

bool OxParserTrueTypeImp::is_big_endian() {
    return std::endian::native == std::endian::big;
}

std::uint32_t OxParserTrueTypeImp::calcTableChecksum(const std::uint32_t* data,
                                                     std::uint32_t length) {
    if (const auto offset = reading_->image.placeOf(data)) {
        return reading_->image.checksum(static_cast<std::uint32_t>(*offset), length);
    }
    if (static_cast<std::int32_t>(length) <= 0) {
        return 0;
    }
    const std::uint32_t words = (length + 3) / 4;
    const ByteView bytes(reinterpret_cast<const std::uint8_t*>(data), std::size_t{words} * 4);
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < words; ++i) {
        sum += bytes.u32be(std::uint64_t{i} * 4);
    }
    return sum;
}

bool OxParserTrueTypeImp::parseCharacterMapTable(const ttf::tagTableDirectory* record,
                                                 OxFont& font) {
    return readTable("cmap", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseFontHeaderTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("head", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseHorizontalHeaderTable(const ttf::tagTableDirectory* record,
                                                     OxFont& font) {
    return readTable("hhea", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseGlyfTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("glyf", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseHorizontalMetricsTable(const ttf::tagTableDirectory* record,
                                                      OxFont& font) {
    return readTable("hmtx", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseGlyfLocationTable(const ttf::tagTableDirectory* record,
                                                 OxFont& font) {
    return readTable("loca", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseMaximumProfileTable(const ttf::tagTableDirectory* record,
                                                   OxFont& font) {
    return readTable("maxp", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseNameTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("name", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseOS2Table(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("OS/2", *reading_, record, font);
}

bool OxParserTrueTypeImp::parsePostscriptTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("post", *reading_, record, font);
}

bool OxParserTrueTypeImp::parseKerningTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable("kern", *reading_, record, font);
}

std::string OxParserTrueTypeImp::get_name_table_string(const ttf::tagNameRecord* record,
                                                       const unsigned char* storage) {
    return nameTableString(reading_->image, *record, storage);
}
