#include "SfntRules.h"

namespace {

// Shared by all formats first, then those of 'kern', then that of the CFF names.
constexpr CodeRange kCodes[] = {
    {eError, -1003, -1003},   {eError, 10000, 10000},   {eError, 11001, 11001},
    {eError, 11013, 11023},   {eWarning, 11024, 11033}, {eError, 11103, 11103},
    {eWarning, 11300, 11300}, {eError, 11301, 11302},   {eError, 11051, 11051},
    {eWarning, 11052, 11052}, {eError, 11801, 11801},   {eWarning, 11802, 11803},
    {eError, 11050, 11050},
};
constexpr std::span kAllCodes(kCodes);
constexpr auto kCodesWithoutKerning = kAllCodes.first(8);
constexpr auto kCodesWithKerning = kAllCodes.first(12);

// In a table's own reader nothing but a read past the end can be raised. The collection's texts
// come last.
constexpr std::string_view kTexts[] = {
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
    "read past the end of the font data",
    "True type collection must have Windows scalar type",
    "Font data is too entangled to check",
};
constexpr std::span kAllTexts(kTexts);
constexpr auto kTextsWithoutKerning = kAllTexts.first(10);
constexpr auto kTextsWithKerning = kAllTexts.first(11);
constexpr auto kTextsWithNames = kAllTexts.first(12);

constexpr int kTrueTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::T1, OxFont::notSure};
constexpr std::span kMemoryTypes = std::span(kTrueTypes).first(2);
constexpr int kPlainTypes[] = {OxFont::TTF, OxFont::OTTT, OxFont::notSure};
constexpr int kOpenTypes[] = {OxFont::OTPS, OxFont::notSure};
constexpr int kCollectionTypes[] = {OxFont::TTC, OxFont::notSure, OxFont::OTTT};

}  // namespace

const RecordRules sfntrules::kTrueType = {kCodesWithoutKerning, kTextsWithoutKerning, kTrueTypes};
const RecordRules sfntrules::kPlainFile = {kCodesWithKerning, kTextsWithKerning, kPlainTypes};
const RecordRules sfntrules::kMemory = {kCodesWithKerning, kTextsWithKerning, kMemoryTypes};
const RecordRules sfntrules::kOpenType = {kAllCodes, kTextsWithNames, kOpenTypes};
const RecordRules sfntrules::kCollection = {kCodesWithKerning, kAllTexts, kCollectionTypes};
