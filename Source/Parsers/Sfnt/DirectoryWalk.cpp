#include "DirectoryWalk.h"

#include <string>

#include "Log.h"

namespace {

constexpr unsigned kMostTables = 36;
constexpr unsigned kDirectoryRecordSize = 16;

std::string tagText(std::uint32_t tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(tag >> shift & 0xFF);
    }
    return text;
}

bool readDirectoryRecord(SfntImage& image, std::uint64_t position, ttf::tagTableDirectory& record) {
    if (!image.view().holds(position, kDirectoryRecordSize)) {
        return false;
    }
    record.tag = image.take32(position, "table tag");
    record.checkSum = image.take32(position + 4, "table checksum");
    record.offset = image.take32(position + 8, "table offset");
    record.length = image.take32(position + 12, "table length");
    return true;
}

void walkTable(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font,
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
    if (!readTable(*table, reading, &record, font)) {
        font.addDiagnostic(eError, table->failedCode, table->failedText);
    }
}

}  // namespace

ttf::tagFontDirectory readOffsetTable(ByteView bytes) {
    return {bytes.u32be(0), bytes.u16be(4), bytes.u16be(6), bytes.u16be(8), bytes.u16be(10)};
}

bool walkDirectory(SfntReading& reading, OxFont& font, std::uint64_t start, unsigned count,
                   const SfntFormat& format) {
    if (count > kMostTables) {
        font.addDiagnostic(eError, 11001);
        return false;
    }
    const std::uint64_t size = reading.image.view().size();
    for (unsigned i = 0; i < count; ++i) {
        if (!reading.work.allowsTable(size)) {
            LogChannel(format.category).error(kTooEntangled);
            reportTooEntangled(font);
            break;
        }
        ttf::tagTableDirectory record;
        if (!readDirectoryRecord(reading.image, start + std::uint64_t{i} * kDirectoryRecordSize,
                                 record)) {
            constexpr char kText[] = "Table directory goes past the end of the font data";
            LogChannel(format.category).error(kText);
            font.addDiagnostic(eError, 0, kText);
            break;
        }
        if (preflight(record, font, static_cast<std::uint32_t>(size))) {
            walkTable(reading, record, font, format);
        }
    }
    return true;
}

bool preflight(const ttf::tagTableDirectory& record, OxFont& font, std::uint32_t imageLength) {
    const SfntTable* const table = findSfntTable(record.tag);
    const auto structure = static_cast<std::uint32_t>(table != nullptr ? table->minimumSize : 0);
    // 32-bit sums, which wrap. Older, shorter 'OS/2' tables pass.
    const bool tableOutside = record.offset + record.length > imageLength;
    const bool structureOutside =
        record.offset + structure > imageLength && record.tag != fourCharCode("OS/2");
    if (tableOutside || structureOutside) {
        font.addDiagnostic(eError, 11013, tagText(record.tag));
        return false;
    }
    return true;
}
