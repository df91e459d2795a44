#include "OxFontUtilitiesMac.h"

#include <algorithm>
#include <stdexcept>

#include "Ascii.h"
#include "MacResourceTypes.h"
#include "MacRoman.h"

namespace {

constexpr std::int32_t kSmallestFond = 60;
constexpr std::int32_t kLargestFond = 250000;
constexpr unsigned kMostEntriesWord = 50;  // entries less one; 0xFFFF, no entries, fails as well
constexpr std::int32_t kSmallestStrike = 300;
constexpr std::int32_t kLargestStrike = 100000;
constexpr std::uint16_t kCharacters = 256;

const char* fondDefect(const FondView& fond, std::int32_t size) {
    const auto outside = [size](std::int32_t offset) { return offset < 0 || offset > size; };
    if (fond.firstCharacter() >= kCharacters) {
        return "Corrupt FOND:  Invalid first character";
    }
    if (fond.lastCharacter() >= kCharacters) {
        return "Corrupt FOND:  Invalid last character";
    }
    if (outside(fond.widthTableOffset())) {
        return "Corrupt FOND:  Invalid width table offset";
    }
    if (outside(fond.kerningTableOffset())) {
        return "Corrupt FOND:  Invalid kerning table offset";
    }
    if (outside(fond.styleTableOffset())) {
        return "Corrupt FOND:  Invalid style table offset";
    }
    if (fond.entryCountWord() > kMostEntriesWord) {
        return "Corrupt FOND:  Invalid number of assoc entries";
    }
    return nullptr;
}

const char* characterDefect(const NfntView& strike) {
    if (strike.firstCharacter() >= kCharacters) {
        return "Corrupt Assoc:  Invalid first character";
    }
    if (strike.lastCharacter() >= kCharacters) {
        return "Corrupt Assoc:  Invalid last character";
    }
    if (strike.firstCharacter() > strike.lastCharacter()) {
        return "Corrupt Assoc:  First character greater than last character";
    }
    return nullptr;
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool startsWord(const std::string& part, std::size_t place, bool first) {
    const char c = part[place];
    return ascii::isUpper(c) || (place == 0 && ascii::isDigit(c)) || (!first && !ascii::isAlpha(c));
}

}  // namespace

bool OxFontUtilitiesMac::validateFOND(OxFont& font, short index) {
    const Handle fond = Get1IndResource(kFondType, index);
    const std::int16_t status = ResError();
    if (fond == nullptr || status != noErr) {
        font.addDiagnostic(eError, 0, "Corrupt FOND:  " + std::to_string(status));
    }
    if (fond == nullptr) {
        return false;
    }
    const std::int32_t size = GetHandleSize(fond);
    if (size < kSmallestFond || size > kLargestFond) {
        font.addDiagnostic(eError, 0, "Corrupt FOND:  Invalide Size");
    }
    if (*fond == nullptr && size != 0) {
        font.addDiagnostic(eError, 0, "Corrupt FOND:  Null Resource");
        return false;
    }
    if (const char* const defect = fondDefect(FondView(handleBytes(fond)), size)) {
        font.addDiagnostic(eError, 0, defect);
        return false;
    }
    return true;
}

bool OxFontUtilitiesMac::validateAssoc(OxFont& font, short fontSize, short fontId) {
    if (fontSize < 0) {
        return true;
    }
    if (fontSize == 0) {
        const Handle outline = Get1Resource(kSfntType, fontId);
        const std::int16_t status = ResError();
        font.setFontType(OxFont::TT);
        if (outline == nullptr) {
            return false;
        }
        if (status == noErr) {
            font.addResource(kSfntType, fontId);
        }
        if (GetHandleSize(outline) < kSmallestOutline) {
            return false;
        }
        font.setAttributeAsInt(eFntSize, GetHandleSize(outline));
        return true;
    }
    Handle strike = nullptr;
    for (const ResType type : {kNfntType, kFontType}) {
        strike = Get1Resource(type, fontId);
        font.addResource(static_cast<int>(type), fontId);
        if (strike != nullptr) {
            break;
        }
    }
    return validateStrike(font, strike);
}

bool OxFontUtilitiesMac::validateStrike(OxFont& font, Handle strike) {
    font.setFontType(OxFont::T1);  // a strike stands for a PostScript family
    try {
        if (strike == nullptr) {
            throw std::runtime_error("Corrupt Assoc:  NULL HFNT Resource");
        }
        const std::int32_t size = GetHandleSize(strike);
        if (size < kSmallestStrike || size > kLargestStrike) {
            throw std::runtime_error("Corrupt Assoc:  Invalid NFNT size");
        }
        font.setAttributeAsInt(eFntSize, size);
        if (const char* const defect = characterDefect(NfntView(handleBytes(strike)))) {
            throw std::runtime_error(defect);
        }
        return true;
    } catch (const std::exception& error) {
        font.addDiagnostic(eError, 0, error.what());
        return false;
    }
}

std::optional<StyleTable> OxFontUtilitiesMac::GetFondStyleMappingTable(char** fondHandle) {
    const ByteView fond = handleBytes(fondHandle);
    const std::int32_t offset = FondView(fond).styleTableOffset();
    if (offset == 0) {
        return std::nullopt;
    }
    if (offset < 0) {
        throw std::runtime_error("offset > 0");
    }
    if (offset >= GetHandleSize(fondHandle)) {
        throw std::runtime_error("offset < GetHandleSize(inFondH)");
    }
    return StyleTable(ZeroPaddedView(fond).from(static_cast<std::uint64_t>(offset)));
}

NameTable OxFontUtilitiesMac::GetStyleNamingTableFromStyleMappingTable(const StyleTable* table) {
    return table != nullptr ? table->nameTable() : NameTable(ZeroPaddedView());
}

short OxFontUtilitiesMac::GetNumStyleNames(const NameTable& names) {
    return names.count();
}

std::optional<std::string_view> OxFontUtilitiesMac::NthStyleName(const NameTable& names,
                                                                 unsigned char n) {
    return names.string(n);
}

void OxFontUtilitiesMac::GetBaseFamilyNameFromStyleTable(const StyleTable& table,
                                                         std::string& out) {
    out = table.nameTable().baseName();
}

void OxFontUtilitiesMac::GetNamesForStyle(const StyleTable& table, std::string& postscriptName,
                                          std::string& fileName, int style) {
    const NameTable names = table.nameTable();
    const std::string base(names.baseName());
    const std::uint8_t index = table.styleIndex(style);
    if (index != 1 && base.empty()) {
        return;
    }
    postscriptName = base;
    MakeName(fileName, base, true);
    if (index == 1) {
        return;
    }
    for (const char pieceIndex : names.string(index).value_or(std::string_view())) {
        std::string piece(names.string(static_cast<std::uint8_t>(pieceIndex)).value_or(""));
        postscriptName += piece;
        if (piece == "-") {
            continue;
        }
        if (piece.starts_with('-')) {
            piece.erase(0, 1);
        }
        MakeName(fileName, piece, false);
    }
}

void OxFontUtilitiesMac::MakeName(std::string& fileName, const std::string& part, bool first) {
    const std::size_t end = std::min(part.find('_'), part.size());
    std::size_t left = 0;  // of the current word; none before the first
    for (std::size_t i = 0; i < end; ++i) {
        if (startsWord(part, i, first)) {
            left = first && fileName.empty() ? 5 : 3;
        }
        if (left > 0) {
            fileName += part[i];
            --left;
        }
    }
}

bool OxFontUtilitiesMac::isSystemFont(OxFont& /*font*/) {
    return false;
}

bool OxFontUtilitiesMac::isValidTrueType(char** /*handle*/) {
    return true;
}

bool OxFontUtilitiesMac::isMultipleMasterStem(const std::string& name) {
    return name.starts_with("%M") && contains(name, "_");
}

bool OxFontUtilitiesMac::isMultipleMasterFond(const std::string& name) {
    return !contains(name, "%") && (contains(name, "_") || contains(name, "MM"));
}

void OxFontUtilitiesMac::stripMultipleMasterEncoding(std::string& name) {
    const std::string beforeEncoding = name.substr(0, name.find('_'));
    if (isMultipleMasterFond(name)) {
        name = beforeEncoding;
    } else if (isMultipleMasterStem(name)) {
        name = beforeEncoding.substr(2);
    }
}

std::string OxFontUtilitiesMac::getMMFamilyName(const std::string& name) {
    const std::size_t start = name.starts_with("%M") ? 2 : 0;
    const std::size_t end = std::min(name.find("MM"), name.size());
    // After "%M" another M makes the end lie before the start; then everything counts.
    return end < start ? name.substr(start) : name.substr(start, end - start);
}

std::string OxFontUtilitiesMac::convertMacRomanToUTF8(const unsigned char (&pascal)[256]) {
    return macRomanToUtf8(ZeroPaddedView(ByteView(pascal, sizeof pascal)).pascalString(0));
}

std::string OxFontUtilitiesMac::convertMacRomanToUTF8(const char* bytes, int length) {
    if (bytes == nullptr || length <= 0) {
        return std::string();
    }
    return macRomanToUtf8(std::string_view(bytes, static_cast<std::size_t>(length)));
}
