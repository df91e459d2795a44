#include "OxParserPostscriptImp.h"

#include <boost/filesystem/operations.hpp>
#include <memory>
#include <stdexcept>

#include "FontTypes.h"
#include "MacResourceTypes.h"
#include "OxFontUtilitiesMac.h"
#include "OxParserPSOutlineImp.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr int kMissingPrinterFont = 15310;  // not in the catalogue, its text goes with it
constexpr char kYes[] = "YES";

struct Strike {
    Handle handle;  // null: there is none
    ResType type;
};

Strike findStrike(std::int16_t id) {
    const Handle strike = Get1Resource(kNfntType, id);
    return strike != nullptr ? Strike{strike, kNfntType}
                             : Strike{Get1Resource(kFontType, id), kFontType};
}

// A printer font is a file of that name in that folder, nothing that a made-up name leads to
// elsewhere. An empty name leads to the folder itself, which is there.
bool printerFontExists(const fs::path& path, const std::string& fileName) {
    if (fileName.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return false;
    }
    boost::system::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    return type == fs::regular_file || type == fs::directory_file;
}

}  // namespace

OxParserPostscriptImp::OxParserPostscriptImp() = default;
OxParserPostscriptImp::~OxParserPostscriptImp() = default;

FontList* OxParserPostscriptImp::parseFont(const fs::path& file, char** fondHandle,
                                           const AsscEntry* entry, int /*mode*/) {
    auto fonts = std::make_unique<FontList>();
    fonts->push_back(new OxFont);
    OxFont& font = fonts->back();
    if (!validateAssoc(font, entry)) {
        return fonts.release();
    }
    const auto styles = OxFontUtilitiesMac::GetFondStyleMappingTable(fondHandle);
    if (!styles) {
        throw std::runtime_error("Corrupt Font:  No Style Table");
    }
    const Handle strike = findStrike(entry->fontID).handle;
    font.setAttributeAsInt(eSize, entry->fontSize);
    font.setAttributeAsInt(eStyle, entry->fontStyle);
    setAttributes(file, font, fondHandle, strike);

    std::string fileName;
    setNames(font, *styles, fileName);
    font.setAttribute(ePrinterFilePath, fileName);
    const fs::path printerFont = fs::path(font.getAttribute(eFontFilePath)) / fileName;
    font.printerFontPaths.push_back(printerFont);
    if (printerFontExists(printerFont, fileName)) {
        takeOverPrinterFont(font, printerFont);
    } else if (!fondIsT1TT(fonts.get())) {
        font.addDiagnostic(eError, kMissingPrinterFont, "Missing Printer Font:  " + fileName);
    }
    return fonts.release();
}

bool OxParserPostscriptImp::validateAssoc(OxFont& font, const AsscEntry* entry) {
    if (entry->fontSize < 1) {
        return true;
    }
    const Strike strike = findStrike(entry->fontID);
    if (strike.handle != nullptr) {
        font.addResource(static_cast<int>(strike.type), entry->fontID);
    }
    return OxFontUtilitiesMac::validateStrike(font, strike.handle);
}

void OxParserPostscriptImp::setAttributes(const fs::path& file, OxFont& font, char** fondHandle,
                                          char** fontHandle) {
    font.setFontType(OxFont::T1);
    font.setAttribute(eFontFilePath, file.parent_path().string());

    std::int16_t id = 0;
    Str255 name = {};
    GetResInfo(fondHandle, &id, nullptr, name);
    const std::int16_t status = ResError();
    const std::string family = OxFontUtilitiesMac::convertMacRomanToUTF8(name);
    font.addResource(kFondType, id);
    if (status != noErr) {
        font.addDiagnostic(eError, 0, "Corrupt FOND:  " + std::to_string(status));
    } else {
        const bool multipleMaster = OxFontUtilitiesMac::isMultipleMasterFond(family) ||
                                    OxFontUtilitiesMac::isMultipleMasterStem(family);
        font.setAttribute(eMultipleMaster, multipleMaster ? kYes : "NO");
        for (const char* const key :
             {eFamilyname, eBasename, eDisplayname, ePostscriptname, eResourcename}) {
            font.setAttribute(key, family);
        }
        font.setAttribute(eFileName, file.filename().string());
    }

    std::int16_t strikeId = 0;
    ResType strikeType = 0;
    GetResInfo(fontHandle, &strikeId, &strikeType, nullptr);
    font.setAttributeAsInt(eFontId, strikeId);
    font.addResource(static_cast<int>(strikeType), strikeId);
    font.setAttributeAsInt(eFntSize, GetHandleSize(fontHandle));
}

void OxParserPostscriptImp::setNames(OxFont& font, const StyleTable& table, std::string& fileName) {
    std::string family;
    OxFontUtilitiesMac::GetBaseFamilyNameFromStyleTable(table, family);
    font.setAttribute(eFamilyname, family);
    std::string name;
    OxFontUtilitiesMac::GetNamesForStyle(table, name, fileName, font.getAttributeAsInt(eStyle));
    font.setAttribute(ePostscriptname, name);
    if (font.getAttribute(eMultipleMaster) == kYes) {
        font.setAttribute(eFamilyname, OxFontUtilitiesMac::getMMFamilyName(name));
    }
}

void OxParserPostscriptImp::takeOverPrinterFont(OxFont& font, const fs::path& printerFont) {
    const Attributes& attributes = printerFontAttributes(printerFont);
    if (attributes.empty()) {
        return;
    }
    font.setPrinterFontAttributes(attributes);
    const std::string foundry = font.getAttribute(eFoundry);
    if (foundry.empty() || foundry == "Unknown") {
        font.setAttribute(eFoundry, attributes.at(eFoundry));
    }
}

const OxParserPostscriptImp::Attributes& OxParserPostscriptImp::printerFontAttributes(
    const fs::path& printerFont) {
    const auto known = printerFonts_.find(printerFont.string());
    if (known != printerFonts_.end()) {
        return known->second;
    }
    OxParserPSOutlineImp parser;
    const std::unique_ptr<FontList> outlines(parser.parseFontFile(printerFont));
    Attributes attributes;
    if (outlines && !outlines->empty()) {
        attributes = outlines->front().attributes();
    }
    return printerFonts_.emplace(printerFont.string(), std::move(attributes)).first->second;
}

bool OxParserPostscriptImp::fondIsT1TT(const FontList* fonts) const {
    return holdsPostScriptAndTrueType(*fonts);
}
