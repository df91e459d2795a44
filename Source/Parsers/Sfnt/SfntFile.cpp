#include "SfntFile.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <new>
#include <string>

#include "FontFoundryList.h"
#include "Log.h"
#include "ParserSupport.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr std::uint64_t kShortestFile = 28;
constexpr std::size_t kCopyrightLookUp = 4095;  // characters of a copyright that are looked at
constexpr SfntFormat kMemory = {"OxParserTrueTypeImp", {}, OxFont::TTF, true, true, nullptr, -1};

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

void readFile(SfntReading& reading, const fs::path& file, const SfntFormat& format,
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
    readImage(reading, bytes, font);
    if (walkDirectory(reading, font, kOffsetTableSize, offsetTable.numTables, format) &&
        offsetTable.numTables != 0) {
        finish(font, format);
    }
}

}  // namespace

FontList* readSfntFile(SfntReading& reading, const fs::path& file, const SfntFormat& format,
                       ttf::tagFontDirectory* directory) {
    const LogChannel log(format.category);
    reading.work = {};
    reading.fileError.clear();
    log.info("Parsing:  %s", file.string());
    return readOneRecord(
        file, log, [&](OxFont& font) { readFile(reading, file, format, directory, font); },
        [&](OxFont& /*font*/, const std::string& text) { log.error(text); });
}

FontList* readSfntMemory(SfntReading& reading, const OxFont& font, ttf::tagFontDirectory& image,
                         std::uint32_t length) {
    auto fonts = std::make_unique<FontList>();
    fonts->push_back(new OxFont(font));
    OxFont& record = fonts->back();
    try {
        auto* const bytes = reinterpret_cast<std::uint8_t*>(&image);
        reading.image.refer(bytes, length);
        record.setFontType(kMemory.initialFontType);
        record.setAttribute(eFingerprint, md5Hex(reading.image.view()));
        // In place, like everything else: a table may overlap it.
        image = readOffsetTable(ByteView(bytes, kOffsetTableSize));
        walkDirectory(reading, record, kOffsetTableSize, image.numTables, kMemory);
    } catch (const std::exception& error) {
        LogChannel(kMemory.category).error(error.what());
    }
    reading.image.forget();
    return fonts.release();
}

bool hasReadableSize(const fs::path& file, const std::optional<std::uint64_t>& size, OxFont& font,
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

void readImage(SfntReading& reading, FileBytes& file, OxFont& font) {
    reading.image.forget();
    if (file.size() >= kTooLargeToRead) {
        throw FileTooLarge();
    }
    ByteBuffer& buffer = reading.fileBuffer;
    file.readAll(buffer);
    reading.fileError = file.readError();
    reading.image.refer(buffer.data(), buffer.size());
    reading.fileDigest = file.digest();
    font.setAttribute(eFingerprint, reading.fileDigest);
}

void finish(OxFont& font, const SfntFormat& format) {
    if (format.finalFontType < 0) {
        return;
    }
    const std::string copyright = font.getAttribute(eCopyright).substr(0, kCopyrightLookUp);
    font.setAttribute(eFoundry, theFoundries.FindFoundryFromCopyright(copyright));
    if (font.getAttribute(eFoundry).empty()) {
        font.setAttribute(eFoundry, "Unknown");
    }
    font.setFontType(format.finalFontType);
}
