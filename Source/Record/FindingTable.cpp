#include "FindingTable.h"

#include <algorithm>
#include <array>

namespace {

constexpr FindingRow kRows[] = {
    // 20000: the file and what it is
    {20000, eError, "File has a font's name and holds none"},
    {20001, eNote, "File has a font's name and holds something else"},
    {20002, eNote, "File is a font of another kind than its extension says"},
    {20003, eError, "Font is too entangled to be read to its end"},
    {20004, eError, "File cannot be read whole"},
    {20005, eError, "File has changed or shrunk while it was read"},
    {20006, eNote, "Further findings are left out"},
    // 20100: sfnt fonts and their collections
    {20100, eError, "Collection has no member"},
    {20101, eError, "Table directory goes past the end of the font"},
    {20102, eError, "Table lies outside the font"},
    {20103, eError, "Field of a table cannot be read"},
    {20104, eWarning, "mismatching checksums for a table"},
    {20105, eNote, "Table directory names a table more than once"},
    {20106, eError, "Members of the collection begin past its end"},
    {20107, eError, "Collection has more members than are read"},
    {20108, eWarning, "Text of a name record lies outside the 'name' table"},
    {20109, eError, "Character map lies outside the 'cmap' table"},
    {20110, eError, "Character map has an unknown format"},
    {20111, eError, "Character map goes past the end of the 'cmap' table"},
    {20112, eError, "Table has an unknown version"},
    {20113, eError, "'fvar' table has records that are too short"},
    {20114, eError, "Font has neither outlines nor bitmaps"},
    {20115, eError, "invalid units per em"},
    {20116, eWarning, "'hmtx' table is shorter than its metrics"},
    {20117, eError, "'loca' table is shorter than its locations"},
    {20118, eError, "'glyf' table ends before its last glyph"},
    // 20200: WOFF and WOFF2
    {20200, eError, "WOFF header or directory is incomplete"},
    {20201, eError, "Length in WOFF header is not the file's"},
    {20202, eError, "Size of the unpacked font in WOFF header is wrong"},
    {20203, eError, "Tables in WOFF directory are not in order"},
    {20204, eError, "Parts of WOFF file do not lie one behind the other"},
    {20205, eError, "Table cannot be unpacked whole from WOFF file"},
    {20206, eError, "Tables cannot be unpacked from WOFF2 file"},
    {20207, eError, "Font in WOFF file is too large to be unpacked"},
    {20208, eWarning, "Metadata of WOFF file cannot be read"},
    {20209, eWarning, "Reserved field of WOFF header is not zero"},
    // 20300: Type 1, Type 42, CID and bare CFF
    {20300, eWarning, "PFB segment reaches past the end of the file"},
    {20301, eNote, "PFB has no end marker"},
    {20302, eError, "PFB begins with a wrong byte"},
    {20303, eWarning, "PFB segment has no valid header"},
    {20304, eError, "Type 1 program has no encrypted part"},
    {20305, eError, "Encrypted part of Type 1 program cannot be decoded"},
    {20306, eError, "Font program has no glyphs"},
    {20307, eError, "Font program ends within its glyphs"},
    {20308, eNote, "Font program has another number of glyphs than it claims"},
    {20309, eWarning, "Font program lacks a required entry"},
    {20310, eWarning, "String in font program has no end"},
    {20311, eError, "Type 42 program holds no TrueType font"},
    {20320, eError, "CFF font cannot be read"},
    {20321, eError, "CFF font has no glyphs"},
    // 20400: PFM and AFM
    {20400, eNote, "Metrics and font program state different PostScript names"},
    {20401, eError, "PFM width table is cut off"},
    {20402, eError, "PFM kerning table is cut off"},
    {20403, eNote, "PFM kerning table has another number of pairs than the metrics say"},
    {20404, eNote, "AFM section has another number of lines than it claims"},
    {20405, eWarning, "AFM section has no end"},
    {20406, eWarning, "AFM file lacks a required word"},
    // 20500: Mac fonts
    {20500, eError, "Resource fork is damaged"},
    {20501, eError, "Resource fork cannot be read"},
    {20502, eError, "Resource fork is lost"},
    {20503, eError, "Font family record cannot be read"},
    {20504, eError, "Resource that a font family names is missing"},
    {20505, eError, "Resource lies outside its file"},
    {20506, eError, "Resource is compressed"},
    {20507, eError, "Bitmap strike cannot be read"},
    {20508, eWarning, "Printer font is missing"},
    {20509, eError, "Part of a printer font is missing"},
    {20510, eError, "Part of a printer font is of an unknown kind"},
    {20511, eWarning, "Printer font does not say where it ends"},
    {20512, eWarning, "Part of a printer font lies behind its end"},
    {20513, eNote, "Resource is named by several font families"},
    {20514, eWarning, "Resource number occurs twice"},
    {20515, eError, "Further fonts of the file are left out"},
    {20516, eError, "Data fork in a container cannot be read"},
};

static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const FindingRow& a, const FindingRow& b) {
                                 return a.code < b.code;
                             }));

}  // namespace

std::span<const FindingRow> findingTable() {
    return kRows;
}

const FindingRow* findingRow(int code) {
    const auto row = std::lower_bound(
        std::begin(kRows), std::end(kRows), code,
        [](const FindingRow& candidate, int wanted) { return candidate.code < wanted; });
    return row != std::end(kRows) && row->code == code ? &*row : nullptr;
}
