#include "MacRules.h"

namespace {

constexpr CodeRange kCodes[] = {
    {eError, 11001, 11001},   {eError, 11013, 11023},   {eWarning, 11024, 11033},
    {eError, 11103, 11103},   {eWarning, 11300, 11300}, {eError, 11301, 11302},
    {eError, 11051, 11051},   {eWarning, 11052, 11052}, {eError, 11801, 11801},
    {eWarning, 11802, 11803}, {eError, 15310, 15310},
};
constexpr std::span kAllCodes(kCodes);

// Those of a dfont first.
constexpr std::string_view kTexts[] = {
    "Missing sfnt resource",
    "Corrupt FOND:  ",
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
    "Corrupt Assoc:  ",
    "Corrupt Font:  No Style Table",
    "offset > 0",
    "offset < GetHandleSize(inFondH)",
};
constexpr std::span kAllTexts(kTexts);
constexpr std::string_view kPrinterFontTexts[] = {"Corrupt Font:  ", "err == noErr"};

constexpr int kOutlineTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::notSure};
constexpr int kSuitcaseTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::notSure, OxFont::T1};
constexpr int kPrinterFontTypes[] = {OxFont::T1Outline, OxFont::T3Outline, OxFont::notSure};

}  // namespace

const RecordRules macrules::kSuitcase = {kAllCodes, kAllTexts, kSuitcaseTypes};
const RecordRules macrules::kDfont = {kAllCodes.first(10), kAllTexts.first(14), kOutlineTypes};
const RecordRules macrules::kPrinterFont = {{}, kPrinterFontTexts, kPrinterFontTypes};
