#include "SfntTables.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string>

#include "FixedFields.h"
#include "KernTable.h"
#include "NameTable.h"

namespace {

// The codes of 'glyf' and 'hmtx' are crossed, 'post' shares the label of 'OS/2', and "Horiziontal"
// is spelt so: hosts know them that way.
constexpr SfntTable kTables[] = {
    {fourCharCode("cmap"), 8, "parsing cmap", nullptr, 11014, 11024, "",
     "Character map table checksum:  stored ", "cmap:  ", nullptr},
    {fourCharCode("head"), 46, "parsing head", readFontHeader, 11015, 11025, "",
     "Font header table checksum:  stored= ", "head:  ", nullptr},
    {fourCharCode("hhea"), 36, "parsing hhea", nullptr, 11016, 11026, "",
     "Horiziontal header table checksum:  stored ", "hhea:  ", nullptr},
    {fourCharCode("glyf"), 4, "parsing glyf", nullptr, 11017, 11027, "",
     "Glyf table checksum:  stored ", "glyf:  ", nullptr},
    {fourCharCode("hmtx"), 6, "parsing hmtx", nullptr, 11018, 11028, "",
     "Horizontal metrics table checksum:  stored ", "hmtx:  ", nullptr},
    {fourCharCode("loca"), 4, "parsing loca", nullptr, 11019, 11029, "",
     "Glyf location table checksum:  stored ", "loca:  ", nullptr},
    {fourCharCode("maxp"), 32, "parsing maxp", readMaximumProfile, 11020, 11030, "",
     "Maximum Profile Table checksum:  stored ", "maxp:  ", nullptr},
    {fourCharCode("name"), 10, "parsing name", readNames, 11021, 11031, "",
     "Name Table checksum:  stored ", "name:  ", nullptr},
    {fourCharCode("OS/2"), 96, "parsing os/2", readOS2, 11022, 11032, "",
     "OS/2 table checksum:  stored ", "os2:  ", nullptr},
    {fourCharCode("post"), 32, "parsing post", nullptr, 11023, 11033, "",
     "Postscript table checksum:  stored ", "os2:  ", nullptr},
    {fourCharCode("kern"), 4, "parsing kern", readKerning, 11051, 11052, "Invalid kerning table",
     "Kerning table checksum:  stored ", "kern:  ", eKerningChecksum},
};

void compareChecksum(const SfntTable& table, SfntReading& reading,
                     const ttf::tagTableDirectory& record, OxFont& font) {
    reading.work.addSum(record.length);
    const std::uint32_t sum = reading.image.checksum(record.offset, record.length);
    if (sum != record.checkSum) {
        font.addDiagnostic(eWarning, table.checksumCode,
                           table.checksumLabel + std::to_string(record.checkSum) + " calculated " +
                               std::to_string(sum));
    }
}

}  // namespace

const SfntTable* findSfntTable(std::uint32_t tag) {
    const auto found = std::find_if(std::begin(kTables), std::end(kTables),
                                    [tag](const SfntTable& table) { return table.tag == tag; });
    return found != std::end(kTables) ? found : nullptr;
}

bool readTable(const SfntTable& table, SfntReading& reading, const ttf::tagTableDirectory* record,
               OxFont& font) {
    if (record == nullptr) {
        return false;
    }
    if (table.checksumKey != nullptr) {
        font.setAttribute(table.checksumKey, std::to_string(record->checkSum));
    }
    try {
        if (table.checksumCode != 0) {
            compareChecksum(table, reading, *record, font);
        }
        return table.read == nullptr || table.read(reading, *record, font);
    } catch (const std::exception& error) {
        font.addDiagnostic(eError, 0, std::string(table.exceptionLabel) + error.what());
        return false;
    }
}
