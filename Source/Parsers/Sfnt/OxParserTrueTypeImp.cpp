#include "OxParserTrueTypeImp.h"

#include <algorithm>
#include <bit>
#include <exception>
#include <functional>
#include <new>

#include "Ascii.h"
#include "CString.h"
#include "CollectionBudget.h"
#include "FontFoundryList.h"
#include "Log.h"
#include "MacRoman.h"
#include "ParserSupport.h"
#include "SfntTables.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr char kCategory[] = "OxParserTrueTypeImp";
constexpr std::uint64_t kShortestFile = 28;
constexpr std::uint32_t kHeadMagic = 0x5F0F3CF5;
constexpr std::size_t kCopyrightLookUp = 4095;  // characters of a copyright that are looked at

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
constexpr SfntFormat kMemory = {kCategory, {}, OxFont::TTF, true, true, nullptr, -1};

std::string tagText(std::uint32_t tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(tag >> shift & 0xFF);
    }
    return text;
}

const SfntTable& row(const char (&tag)[5]) {
    return *findSfntTable(fourCharCode(tag));
}

// Runs of equal fields that a table's conversion covers, one row a run; a run is converted when the
// table's length from its directory record is at least `minimumLength`. What lies between the runs
// stays in file order.
struct FieldRun {
    std::uint16_t offset;
    std::uint8_t width;
    std::uint8_t count;
    std::uint8_t minimumLength;
};

constexpr FieldRun kHeadFields[] = {
    {0, 4, 4, 0},   // version, revision, checksum adjustment, magic number
    {16, 2, 2, 0},  // flags, units per em
    {20, 4, 2, 0},  // created: its halves are not exchanged
    {28, 2, 9, 0},  // modified, bounding box, style
};
constexpr FieldRun kOS2Fields[] = {
    {0, 2, 4, 0},    // version, average width, weight, width class; fsType stays as it is
    {10, 2, 11, 0},  // subscripts to family class
    {42, 4, 4, 0},   // Unicode ranges
    {62, 2, 3, 0},   // selection, first and last character
    {68, 2, 5, 69},  // typographic and Windows metrics
    {78, 4, 2, 79},  // code page ranges
    {86, 2, 5, 87},  // heights, default and break character, context
};

template <std::size_t N>
void convertFields(SfntImage& image, const ttf::tagTableDirectory& record,
                   const FieldRun (&runs)[N]) {
    for (const FieldRun& run : runs) {
        if (record.length < run.minimumLength) {
            continue;
        }
        for (unsigned i = 0; i < run.count; ++i) {
            const std::uint64_t field = run.offset + std::uint64_t{i} * run.width;
            const std::uint64_t offset = record.offset + field;
            if (run.width == 2) {
                image.convert16(offset, "16-bit field");
            } else {
                image.convert32(offset, "32-bit field");
            }
        }
    }
}

constexpr std::uint16_t kMacintosh = 1;
constexpr std::uint16_t kWindows = 3;

// The bytes of a name record that its decoding reads.
std::uint32_t nameBytesRead(const ttf::tagNameRecord& name) {
    const bool decoded =
        name.platformId < kWindows || (name.platformId == kWindows && name.encodingId <= 1);
    if (!decoded) {
        return 0;
    }
    // 16-bit units: an odd last byte is no unit.
    return name.platformId == kMacintosh ? name.length : name.length & ~1u;
}

// Reports the first thing that keeps the records of a 'name' table from being read; false then.
bool checkNameHeader(unsigned count, unsigned storageOffset, std::uint32_t tableLength,
                     OxFont& font) {
    if (count == 0) {
        font.addDiagnostic(eError, 11301, "Invalid Name table header count");
        return false;
    }
    if (storageOffset == 0) {
        font.addDiagnostic(eError, 11302, "Invalid Name table header offset");
        return false;
    }
    // A length below that of the header wraps and bounds nothing.
    if (storageOffset > tableLength - 6) {
        font.addDiagnostic(eError, 11302, "Name table header offset goes off the end of the table");
        return false;
    }
    return true;
}

// `bytes` as many as nameBytesRead says.
std::string nameText(const ttf::tagNameRecord& name, ByteView bytes) {
    if (name.platformId == kMacintosh) {
        return macRomanToUtf8(bytes.text());
    }
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 1; i < bytes.size(); i += 2) {
        text += static_cast<char>(bytes.u8(i));
    }
    return text;
}

// Where in the image `p` points; nothing when it points elsewhere.
std::optional<std::uint64_t> offsetInImage(ByteView image, const void* p) {
    const auto* byte = static_cast<const std::uint8_t*>(p);
    const std::less<> before;
    if (image.empty() || before(byte, image.data()) || !before(byte, image.data() + image.size())) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(byte - image.data());
}

// A 'kern' subtable of classes may not be stepped over, and then up to 65,535 passes convert it to
// and fro. After so many of them it is looked whether all is as it was: a number that the lengths
// of the usual circles divide.
constexpr unsigned kPassesInPlace = 12;

bool isAsBefore(ByteView image, const std::map<std::uint64_t, std::uint8_t>& changed) {
    return std::all_of(changed.begin(), changed.end(),
                       [&](const auto& byte) { return image.u8(byte.first) == byte.second; });
}

ttf::tagFontDirectory readOffsetTable(ByteView bytes) {
    return {bytes.u32be(0), bytes.u16be(4), bytes.u16be(6), bytes.u16be(8), bytes.u16be(10)};
}

// Sets the font's type and platform by the version; false when the format does not have it.
bool applyVersion(const SfntFormat& format, std::uint32_t version, OxFont& font) {
    if (format.initialFontType >= 0) {
        font.setFontType(format.initialFontType);
    }
    const auto accepted =
        std::find_if(format.versions.begin(), format.versions.end(),
                     [version](const SfntFormat::Version& v) { return v.version == version; });
    if (accepted == format.versions.end()) {
        font.addDiagnostic(eError, -1003);
        return false;
    }
    font.setAttribute(ePlatform, accepted->platform);
    if (accepted->fontType >= 0) {
        font.setFontType(accepted->fontType);
    }
    return true;
}

}  // namespace

OxParserTrueTypeImp::OxParserTrueTypeImp(int PlatformId) : platformId_(PlatformId) {}

OxParserTrueTypeImp::~OxParserTrueTypeImp() = default;

FontList* OxParserTrueTypeImp::parseFontFile(fs::path file) {
    LogChannel(kCategory).info("parseFontFile:  ");
    return validate(file);
}

bool OxParserTrueTypeImp::inspectFont(fs::path file) {
    return hasExtension(file, ".TTF");
}

bool OxParserTrueTypeImp::diagnoseFont(fs::path /*file*/) {
    return true;
}

bool OxParserTrueTypeImp::repairFont(fs::path /*file*/) {
    return true;
}

FontList* OxParserTrueTypeImp::validate(const fs::path& file) {
    return validateFile(file, kFile);
}

FontList* OxParserTrueTypeImp::validate(const fs::path& file, ttf::tagFontDirectory& directory) {
    return validateFile(file, kPlainFile, &directory);
}

FontList* OxParserTrueTypeImp::validate(OxFont& font, ttf::tagFontDirectory& image,
                                        std::uint32_t length) {
    beginCounting();
    return validateImage(font, image, length);
}

void OxParserTrueTypeImp::beginCounting() {
    tableBytesSummed_ = 0;
    walks_ = {};
}

FontList* OxParserTrueTypeImp::validateImage(OxFont& font, ttf::tagFontDirectory& image,
                                             std::uint32_t length) {
    const LogChannel log(kCategory);
    auto fonts = std::make_unique<FontList>();
    fonts->push_back(new OxFont(font));
    OxFont& record = fonts->back();
    try {
        auto* const bytes = reinterpret_cast<std::uint8_t*>(&image);
        image_.refer(bytes, length);
        record.setFontType(kMemory.initialFontType);
        record.setAttribute(eFingerprint, md5Hex(image_.view()));
        // In place, like everything else: a table may overlap it.
        image = {endian_swaplong(image.version), endian_swapword(image.numTables),
                 endian_swapword(image.searchRange), endian_swapword(image.entrySelector),
                 endian_swapword(image.rangeShift)};
        if (image.numTables > kMostTables) {
            record.addDiagnostic(eError, 11001);
        } else {
            walkDirectory(record, kOffsetTableSize, image.numTables, kMemory);
        }
    } catch (const std::exception& error) {
        log.error(error.what());
    }
    image_.forget();
    return fonts.release();
}

FontList* OxParserTrueTypeImp::validateFile(const fs::path& file, const SfntFormat& format,
                                            ttf::tagFontDirectory* directory) {
    const LogChannel log(format.category);
    beginCounting();
    log.info("Parsing:  %s", file.string());
    return readOneRecord(
        file, log, [&](OxFont& font) { readFile(file, format, directory, font); },
        [&](OxFont& /*font*/, const std::string& text) { log.error(text); });
}

void OxParserTrueTypeImp::readFile(const fs::path& file, const SfntFormat& format,
                                   ttf::tagFontDirectory* directory, OxFont& font) {
    setPathAttributes(font, file);
    if (!hasReadableSize(file, regularFileSize(file), font, LogChannel(format.category))) {
        return;
    }
    // A file that can no longer be read looks like one whose offset table is zero.
    FileBytes bytes;
    std::array<std::uint8_t, kOffsetTableSize> start{};
    if (bytes.open(file)) {
        bytes.readAt(0, start.data(), start.size());
    }
    const ttf::tagFontDirectory offsetTable = readOffsetTable(ByteView(start.data(), start.size()));
    if (directory != nullptr) {
        *directory = offsetTable;
    }
    if (!applyVersion(format, offsetTable.version, font)) {
        return;
    }
    readImage(bytes, font);
    if (offsetTable.numTables > kMostTables) {
        font.addDiagnostic(eError, 11001);
        return;
    }
    if (offsetTable.numTables == 0) {
        return;
    }
    walkDirectory(font, kOffsetTableSize, offsetTable.numTables, format);
    if (format.finalFontType >= 0) {
        resolveFoundry(font);
        font.setFontType(format.finalFontType);
    }
}

bool OxParserTrueTypeImp::hasReadableSize(const fs::path& file,
                                          const std::optional<std::uint64_t>& size, OxFont& font,
                                          const LogChannel& log) {
    if (!size) {
        font.addDiagnostic(eError, 2);
        return false;
    }
    if (*size < kShortestFile) {
        const std::string text = "(file length=" + std::to_string(*size) + " )";
        font.addDiagnostic(eError, 10000, text);
        log.error(text);
        return false;
    }
    if (*size >= kTooLargeToRead) {
        reportTooLarge(font, file, log);
        return false;
    }
    return true;
}

void OxParserTrueTypeImp::readImage(FileBytes& file, OxFont& font) {
    image_.forget();
    if (file.size() >= kTooLargeToRead) {
        throw std::bad_alloc();
    }
    file.readAll(fileBuffer_);
    image_.refer(fileBuffer_.data(), fileBuffer_.size());
    fileDigest_ = file.digest();
    font.setAttribute(eFingerprint, fileDigest_);
}

void OxParserTrueTypeImp::resolveFoundry(OxFont& font) {
    const std::string copyright = font.getAttribute(eCopyright).substr(0, kCopyrightLookUp);
    font.setAttribute(eFoundry, theFoundries.FindFoundryFromCopyright(copyright));
    if (font.getAttribute(eFoundry).empty()) {
        font.setAttribute(eFoundry, "Unknown");
    }
}

bool OxParserTrueTypeImp::readDirectoryRecord(std::uint64_t position,
                                              ttf::tagTableDirectory& record) {
    if (!image_.view().holds(position, kDirectoryRecordSize)) {
        return false;
    }
    record.tag = image_.take32(position, "table tag");
    record.checkSum = image_.take32(position + 4, "table checksum");
    record.offset = image_.take32(position + 8, "table offset");
    record.length = image_.take32(position + 12, "table length");
    return true;
}

void OxParserTrueTypeImp::walkDirectory(OxFont& font, std::uint64_t start, unsigned count,
                                        const SfntFormat& format) {
    for (unsigned i = 0; i < count; ++i) {
        if (!walks_.allowsMore(image_.view().size())) {
            LogChannel(format.category).error(CollectionBudget::kTooEntangled);
            CollectionBudget::report(font);
            return;
        }
        ttf::tagTableDirectory record;
        if (!readDirectoryRecord(start + std::uint64_t{i} * kDirectoryRecordSize, record)) {
            constexpr char kText[] = "Table directory goes past the end of the font data";
            LogChannel(format.category).error(kText);
            font.addDiagnostic(eError, 0, kText);
            return;
        }
        if (preflightTable(&record, font, static_cast<int>(image_.view().size()))) {
            walkTable(record, font, format);
        }
    }
}

void OxParserTrueTypeImp::walkTable(const ttf::tagTableDirectory& record, OxFont& font,
                                    const SfntFormat& format) {
    if (record.tag == fourCharCode("DSIG") && format.signatureSetsType) {
        font.setFontType(OxFont::OTTT);
        return;
    }
    const SfntTable* table = findSfntTable(record.tag);
    if (format.extraTable != nullptr && format.extraTable->tag == record.tag) {
        table = format.extraTable;
    }
    if (table == nullptr || (record.tag == fourCharCode("kern") && !format.readsKerning)) {
        return;
    }
    LogChannel(format.category).info(table->logText);
    if (!(this->*table->read)(&record, font)) {
        font.addDiagnostic(eError, table->failedCode, table->failedText);
    }
}

bool OxParserTrueTypeImp::preflightTable(const ttf::tagTableDirectory* record, OxFont& font,
                                         int imageLength) {
    if (record == nullptr) {
        return false;
    }
    const auto size = static_cast<std::uint32_t>(imageLength);
    const auto structure =
        static_cast<std::uint32_t>(getTableStructureSize(static_cast<int>(record->tag)));
    // 32-bit sums, which wrap. Older, shorter 'OS/2' tables pass.
    const bool tableOutside = record->offset + record->length > size;
    const bool structureOutside =
        record->offset + structure > size && record->tag != fourCharCode("OS/2");
    if (tableOutside || structureOutside) {
        font.addDiagnostic(eError, 11013, tagText(record->tag));
        return false;
    }
    return true;
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
    if (const auto offset = offsetInImage(image_.view(), data)) {
        return image_.checksum(static_cast<std::uint32_t>(*offset), length);
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

void OxParserTrueTypeImp::compareChecksum(const SfntTable& table,
                                          const ttf::tagTableDirectory& record, OxFont& font) {
    if (static_cast<std::int32_t>(record.length) > 0) {  // others have no sum
        tableBytesSummed_ += record.length;
    }
    const std::uint32_t sum = image_.checksum(record.offset, record.length);
    if (sum != record.checkSum) {
        font.addDiagnostic(eWarning, table.checksumCode,
                           table.checksumLabel + std::to_string(record.checkSum) + " calculated " +
                               std::to_string(sum));
    }
}

bool OxParserTrueTypeImp::readTable(const SfntTable& table, const ttf::tagTableDirectory* record,
                                    OxFont& font, TableBody body) {
    if (record == nullptr) {
        return false;
    }
    try {
        if (table.checksumCode != 0) {
            compareChecksum(table, *record, font);
        }
        return (this->*body)(*record, font);
    } catch (const std::exception& error) {
        font.addDiagnostic(eError, 0, std::string(table.exceptionLabel) + error.what());
        return false;
    }
}

bool OxParserTrueTypeImp::parseCharacterMapTable(const ttf::tagTableDirectory* record,
                                                 OxFont& font) {
    return readTable(row("cmap"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseFontHeaderTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable(row("head"), record, font, &OxParserTrueTypeImp::readFontHeader);
}

bool OxParserTrueTypeImp::parseHorizontalHeaderTable(const ttf::tagTableDirectory* record,
                                                     OxFont& font) {
    return readTable(row("hhea"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseGlyfTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable(row("glyf"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseHorizontalMetricsTable(const ttf::tagTableDirectory* record,
                                                      OxFont& font) {
    return readTable(row("hmtx"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseGlyfLocationTable(const ttf::tagTableDirectory* record,
                                                 OxFont& font) {
    return readTable(row("loca"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseMaximumProfileTable(const ttf::tagTableDirectory* record,
                                                   OxFont& font) {
    return readTable(row("maxp"), record, font, &OxParserTrueTypeImp::readMaximumProfile);
}

bool OxParserTrueTypeImp::parseNameTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable(row("name"), record, font, &OxParserTrueTypeImp::readNames);
}

bool OxParserTrueTypeImp::parseOS2Table(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable(row("OS/2"), record, font, &OxParserTrueTypeImp::readOS2);
}

bool OxParserTrueTypeImp::parsePostscriptTable(const ttf::tagTableDirectory* record, OxFont& font) {
    return readTable(row("post"), record, font, &OxParserTrueTypeImp::checksumOnly);
}

bool OxParserTrueTypeImp::parseKerningTable(const ttf::tagTableDirectory* record, OxFont& font) {
    if (record != nullptr) {
        // The stored checksum, whether or not it is right.
        font.setAttribute(eKerningChecksum, std::to_string(record->checkSum));
    }
    return readTable(row("kern"), record, font, &OxParserTrueTypeImp::readKerning);
}

bool OxParserTrueTypeImp::checksumOnly(const ttf::tagTableDirectory& /*record*/, OxFont& /*font*/) {
    return true;
}

bool OxParserTrueTypeImp::readFontHeader(const ttf::tagTableDirectory& record, OxFont& font) {
    convertFields(image_, record, kHeadFields);
    const std::uint32_t magic =
        image_.view().u32le(std::uint64_t{record.offset} + 12, "magic number");
    if (magic != kHeadMagic) {
        font.addDiagnostic(eError, 11103, std::to_string(magic));
    }
    return true;
}

bool OxParserTrueTypeImp::readMaximumProfile(const ttf::tagTableDirectory& record,
                                             OxFont& /*font*/) {
    glyphCount_ = image_.view().u16be(std::uint64_t{record.offset} + 4, "number of glyphs");
    return true;
}

bool OxParserTrueTypeImp::readOS2(const ttf::tagTableDirectory& record, OxFont& font) {
    const std::uint64_t table = record.offset;
    convertFields(image_, record, kOS2Fields);
    italic_ = (image_.view().u16le(table + 62, "fsSelection") & 1) != 0;
    font.setAttribute(eWeight, std::to_string(image_.view().u16le(table + 4, "usWeightClass")));
    font.setAttribute(eWidth, std::to_string(image_.view().u16le(table + 6, "usWidthClass")));
    if (font.getAttribute(eFoundry).empty()) {
        setVendorFoundry(table, font);
    }
    return true;
}

void OxParserTrueTypeImp::setVendorFoundry(std::uint64_t table, OxFont& font) {
    const std::string_view vendor =
        upToZero(image_.view().slice(table + 58, 4, 1, "achVendID").text());
    const std::string code = ascii::toUpper(vendor.substr(0, vendor.find_last_not_of(' ') + 1));
    font.setAttribute(eFoundry, theFoundries.FindFoundryFromCode(code));
}

bool OxParserTrueTypeImp::acceptsName(const ttf::tagNameRecord& name) const {
    const bool macEnglish = name.platformId == kMacintosh && name.languageId == 0;
    const bool windowsEnglish = name.platformId == kWindows && name.languageId == 0x0409;
    return (macEnglish && (platformId_ == 0 || platformId_ == 1)) ||
           (windowsEnglish && (platformId_ == 0 || platformId_ == 2));
}

bool OxParserTrueTypeImp::collectNames(std::uint64_t table, unsigned count, std::uint64_t storage,
                                       AcceptedNames& accepted) {
    bool any = false;
    for (unsigned i = 0; i < count; ++i) {
        ++walks_.names;
        const ByteView r =
            image_.view().slice(table + 6 + std::uint64_t{i} * 12, 12, 1, "name record");
        const ttf::tagNameRecord name = {r.u16be(0), r.u16be(2), r.u16be(4),
                                         r.u16be(6), r.u16be(8), r.u16be(10)};
        if (!acceptsName(name)) {
            continue;
        }
        const std::uint32_t read = nameBytesRead(name);
        if (read != 0) {
            image_.view().slice(storage + name.offset, read, 1, "name text");
        }
        if (name.nameId < accepted.size()) {
            accepted[name.nameId] = name;
        }
        any = true;
    }
    return any;
}

bool OxParserTrueTypeImp::readNames(const ttf::tagTableDirectory& record, OxFont& font) {
    const std::uint64_t table = record.offset;
    const std::uint16_t format = image_.take16(table, "name table format");
    const std::uint16_t count = image_.take16(table + 2, "name record count");
    const std::uint16_t storageOffset = image_.take16(table + 4, "name storage offset");
    if (format != 0) {
        font.addDiagnostic(eWarning, 11300, "Name table wrong format");
    }
    if (!checkNameHeader(count, storageOffset, record.length, font)) {
        return false;
    }
    // Only the last accepted record of each id is decoded: a damaged table can name 65,535 records
    // of 64 KB each. A record that reaches outside ends the table, but those before it count.
    const std::uint64_t storage = table + storageOffset;
    AcceptedNames accepted;
    bool any = false;
    try {
        any = collectNames(table, count, storage, accepted);
    } catch (const ReadPastEnd&) {
        setNames(accepted, storage, font);
        throw;
    }
    setNames(accepted, storage, font);
    if (!any) {
        font.addDiagnostic(eError, 11302, "Name table has invalid platform or language");
    }
    return any;
}

void OxParserTrueTypeImp::setNames(const AcceptedNames& names, std::uint64_t storage,
                                   OxFont& font) {
    constexpr const char* kKeys[] = {eCopyright, eFamilyname,  eSubFamilyname,  eUniqueId,
                                     eFullname,  eFontVersion, ePostscriptname, eTrademark};
    for (std::size_t id = 0; id < names.size(); ++id) {
        if (const auto& name = names[id]) {
            const std::uint32_t read = nameBytesRead(*name);
            walks_.names += read / WalkBudget::kTextPerStep;
            const ByteView bytes = image_.view().clamped(storage + name->offset, read);
            font.setAttribute(kKeys[id], nameText(*name, bytes));
        }
    }
}

std::string OxParserTrueTypeImp::get_name_table_string(const ttf::tagNameRecord* record,
                                                       const unsigned char* storage) {
    const std::uint32_t read = nameBytesRead(*record);
    if (read == 0) {
        return {};
    }
    const auto offset = offsetInImage(image_.view(), storage);
    const ByteView bytes = offset ? image_.view().from(*offset)
                                  : ByteView(storage, std::size_t{record->offset} + record->length);
    return nameText(*record, bytes.slice(record->offset, read, 1, "name text"));
}

bool OxParserTrueTypeImp::readKerning(const ttf::tagTableDirectory& record, OxFont& font) {
    if (record.length <= 3) {
        font.addDiagnostic(eError, 11801, "Missing kerning table");
        return false;
    }
    const std::uint64_t table = record.offset;
    image_.convert16(table, "kern version");
    const std::uint16_t count = image_.take16(table + 2, "kern subtable count");
    // Measured against the number of glyph pairs; the glyph count may be the previous font's.
    if (count == 0 || count > std::uint64_t{glyphCount_} * glyphCount_) {
        font.addDiagnostic(eWarning, 11802, "Invalid kerning subtable");
    }
    std::uint64_t subtable = table + 4;
    ChangedBytes changed;
    unsigned passesInPlace = 0;
    for (unsigned left = count; left > 0; --left) {
        ++walks_.steps;
        const std::uint64_t start = subtable;
        const std::uint8_t format = image_.view().u8(start + 4, "kern subtable format");
        if (format == 0) {
            subtable = readKerningPairs(start, font);
        } else if (format == 2) {
            subtable = readKerningClasses(start, changed);
        } else {
            // An unknown format is not stepped over: all remaining passes see it again, unchanged.
            break;
        }
        passesInPlace = subtable == start ? passesInPlace + 1 : 0;
        if (passesInPlace == kPassesInPlace && isAsBefore(image_.view(), changed)) {
            // They would go on in a circle; whole rounds of it change nothing.
            left = (left - 1) % kPassesInPlace + 1;
        }
        if (passesInPlace == kPassesInPlace || subtable != start) {
            passesInPlace = 0;
            changed.clear();
        }
    }
    return true;
}

std::uint64_t OxParserTrueTypeImp::readKerningPairs(std::uint64_t subtable, OxFont& font) {
    const std::uint16_t pairs = image_.take16(subtable + 6, "nPairs");
    for (const unsigned field : {8u, 10u, 12u}) {
        image_.convert16(subtable + field, "kern search field");
    }
    const std::uint16_t length = image_.view().u16be(subtable + 2, "kern subtable length");
    const std::uint32_t bytes = std::uint32_t{pairs} * 6;
    if (pairs == 0 || bytes > length) {
        font.addDiagnostic(eWarning, 11803, "Invalid kerning subtable");
    }
    return subtable + 14 + bytes;
}

std::uint64_t OxParserTrueTypeImp::readKerningClasses(std::uint64_t subtable,
                                                      ChangedBytes& changed) {
    const auto convert = [&](std::uint64_t field, const char* name) {
        const ByteView bytes = image_.view().slice(field, 2, 1, name);
        changed.try_emplace(field, bytes.u8(0));
        changed.try_emplace(field + 1, bytes.u8(1));
        image_.convert16(field, name);
    };
    for (const unsigned field : {6u, 8u, 10u}) {
        convert(subtable + field, "kern class header");
    }
    const std::uint64_t left = subtable + image_.view().u16le(subtable + 8, "left class table");
    const std::uint64_t right = subtable + image_.view().u16le(subtable + 10, "right class table");
    for (const std::uint64_t field : {left, left + 2, right, right + 2}) {
        convert(field, "kern class table");
    }
    // Read where they were converted: class tables that overlap convert each other back.
    const std::uint64_t rowWidth = image_.view().u16le(subtable + 6, "row width");
    const std::uint32_t glyphs = image_.view().u16le(right + 2, "right class glyph count");
    return subtable + rowWidth * glyphs;
}
