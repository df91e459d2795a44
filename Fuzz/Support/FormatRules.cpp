#include "FormatRules.h"

namespace {

// Each format's rows lie side by side.
constexpr CodeRange kCodes[] = {
    {eError, 11050, 11050},    // the names of OpenType
    {eError, -1003, -1003},    // files
    {eError, 10000, 10000},    //
    {eError, 11001, 11001},    // every sfnt
    {eError, 11013, 11023},    //
    {eWarning, 11024, 11033},  //
    {eError, 11103, 11103},    //
    {eWarning, 11300, 11300},  //
    {eError, 11301, 11302},    //
    {eError, 11051, 11051},    // 'kern'
    {eWarning, 11052, 11052},  //
    {eError, 11801, 11801},    //
    {eWarning, 11802, 11803},  //
    {eError, 15310, 15310},    // suitcases
};
constexpr std::span kAllCodes(kCodes);
constexpr auto kFileCodes = kAllCodes.subspan(1, 8);
constexpr auto kKerningCodes = kAllCodes.subspan(1, 12);

// In a table's own reader nothing but a read past the end can be raised.
constexpr std::string_view kTexts[] = {
    "read past the end of the font data",
    "True type collection must have Windows scalar type",
    "Font data is too entangled to check",
    "Table directory goes past the end of the font data",
    "cmap:  read past the end of the font data",
    "head:  read past the end of the font data",
    "hhea:  read past the end of the font data",
    "glyf:  read past the end of the font data",
    "hmtx:  read past the end of the font data",
    "loca:  read past the end of the font data",
    "maxp:  read past the end of the font data",
    "name:  read past the end of the font data",
    "os2:  read past the end of the font data",
    "kern:  read past the end of the font data",
    "Missing sfnt resource",
    "Corrupt FOND:  ",
    "Corrupt Assoc:  ",
    "Corrupt Font:  No Style Table",
    "offset > 0",
    "offset < GetHandleSize(inFondH)",
};
constexpr std::span kAllTexts(kTexts);
constexpr auto kFileTexts = kAllTexts.subspan(2, 11);
constexpr auto kKerningTexts = kAllTexts.subspan(2, 12);
constexpr std::string_view kPrinterFontTexts[] = {"Corrupt Font:  ", "err == noErr"};

constexpr int kTrueTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::T1, OxFont::notSure};
constexpr std::span kMemoryTypes = std::span(kTrueTypes).first(2);
constexpr int kPlainTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::notSure};
constexpr int kOpenTypes[] = {OxFont::OTPS, OxFont::notSure};
constexpr int kCollectionTypes[] = {OxFont::TTC, OxFont::notSure, OxFont::OTTT};
constexpr int kPrinterFontTypes[] = {OxFont::T1Outline, OxFont::T3Outline, OxFont::notSure};

}  // namespace

namespace rules {

const RecordRules kTrueType = {kFileCodes, kFileTexts, kTrueTypes};
const RecordRules kPlainFile = {kKerningCodes, kKerningTexts, kPlainTypes};
const RecordRules kMemory = {kKerningCodes, kKerningTexts, kMemoryTypes};
const RecordRules kOpenType = {kAllCodes.first(13), kAllTexts.first(14), kOpenTypes};
const RecordRules kCollection = {kKerningCodes, kAllTexts.subspan(1, 13), kCollectionTypes};
const RecordRules kSuitcase = {kAllCodes.subspan(3), kAllTexts.subspan(2), kTrueTypes};
const RecordRules kDfont = {kAllCodes.subspan(3, 10), kAllTexts.subspan(2, 14), kPlainTypes};
const RecordRules kPrinterFont = {{}, kPrinterFontTexts, kPrinterFontTypes};

}  // namespace rules
