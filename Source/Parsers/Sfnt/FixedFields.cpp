#include "FixedFields.h"

#include <cstdint>
#include <string>

#include "Ascii.h"
#include "CString.h"
#include "FontFoundryList.h"

namespace {

constexpr std::uint32_t kHeadMagic = 0x5F0F3CF5;

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

void setVendorFoundry(ByteView image, std::uint64_t table, OxFont& font) {
    const std::string_view vendor = upToZero(image.slice(table + 58, 4, 1, "achVendID").text());
    const std::string code = ascii::toUpper(vendor.substr(0, vendor.find_last_not_of(' ') + 1));
    font.setAttribute(eFoundry, theFoundries.FindFoundryFromCode(code));
}

}  // namespace

bool readFontHeader(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font) {
    convertFields(reading.image, record, kHeadFields);
    const std::uint32_t magic =
        reading.image.view().u32le(std::uint64_t{record.offset} + 12, "magic number");
    if (magic != kHeadMagic) {
        font.addDiagnostic(eError, 11103, std::to_string(magic));
    }
    return true;
}

bool readMaximumProfile(SfntReading& reading, const ttf::tagTableDirectory& record,
                        OxFont& /*font*/) {
    reading.glyphCount =
        reading.image.view().u16be(std::uint64_t{record.offset} + 4, "number of glyphs");
    return true;
}

bool readOS2(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font) {
    const std::uint64_t table = record.offset;
    convertFields(reading.image, record, kOS2Fields);
    const ByteView image = reading.image.view();
    reading.italic = (image.u16le(table + 62, "fsSelection") & 1) != 0;
    font.setAttribute(eWeight, std::to_string(image.u16le(table + 4, "usWeightClass")));
    font.setAttribute(eWidth, std::to_string(image.u16le(table + 6, "usWidthClass")));
    if (font.getAttribute(eFoundry).empty()) {
        setVendorFoundry(image, table, font);
    }
    return true;
}
