#include "SfntTables.h"

#include <algorithm>

namespace {

using P = OxParserTrueTypeImp;

// The codes of 'glyf' and 'hmtx' are crossed, 'post' shares the label of 'OS/2', and "Horiziontal"
// is spelt so: hosts know them that way.
constexpr SfntTable kTables[] = {
    {fourCharCode("cmap"), 8, "parsing cmap", &P::parseCharacterMapTable, 11014, "", 11024,
     "Character map table checksum:  stored ", "cmap:  "},
    {fourCharCode("head"), 46, "parsing head", &P::parseFontHeaderTable, 11015, "", 11025,
     "Font header table checksum:  stored= ", "head:  "},
    {fourCharCode("hhea"), 36, "parsing hhea", &P::parseHorizontalHeaderTable, 11016, "", 11026,
     "Horiziontal header table checksum:  stored ", "hhea:  "},
    {fourCharCode("glyf"), 4, "parsing glyf", &P::parseGlyfTable, 11017, "", 11027,
     "Glyf table checksum:  stored ", "glyf:  "},
    {fourCharCode("hmtx"), 6, "parsing hmtx", &P::parseHorizontalMetricsTable, 11018, "", 11028,
     "Horizontal metrics table checksum:  stored ", "hmtx:  "},
    {fourCharCode("loca"), 4, "parsing loca", &P::parseGlyfLocationTable, 11019, "", 11029,
     "Glyf location table checksum:  stored ", "loca:  "},
    {fourCharCode("maxp"), 32, "parsing maxp", &P::parseMaximumProfileTable, 11020, "", 11030,
     "Maximum Profile Table checksum:  stored ", "maxp:  "},
    {fourCharCode("name"), 10, "parsing name", &P::parseNameTable, 11021, "", 11031,
     "Name Table checksum:  stored ", "name:  "},
    {fourCharCode("OS/2"), 96, "parsing os/2", &P::parseOS2Table, 11022, "", 11032,
     "OS/2 table checksum:  stored ", "os2:  "},
    {fourCharCode("post"), 32, "parsing post", &P::parsePostscriptTable, 11023, "", 11033,
     "Postscript table checksum:  stored ", "os2:  "},
    {fourCharCode("kern"), 4, "parsing kern", &P::parseKerningTable, 11051, "Invalid kerning table",
     11052, "Kerning table checksum:  stored ", "kern:  "},
};

}  // namespace

std::span<const SfntTable> sfntTables() {
    return kTables;
}

const SfntTable* findSfntTable(std::uint32_t tag) {
    const auto found = std::find_if(std::begin(kTables), std::end(kTables),
                                    [tag](const SfntTable& table) { return table.tag == tag; });
    return found != std::end(kTables) ? found : nullptr;
}
