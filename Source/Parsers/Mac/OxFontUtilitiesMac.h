#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Export.h"
#include "FondViews.h"
#include "OxFont.h"
#include "ResourceManager.h"

/// What the parsers of classic Mac fonts share: checks of family records and strikes, names of
/// styles, names of printer font files, multiple-master names.
///
/// Checks read the current resource file, so callers hold macParsingMutex. Failures become
/// diagnostics (eError, code 0); no check throws.
class OXPARSER_EXPORT OxFontUtilitiesMac {
  public:
    OxFontUtilitiesMac() = delete;

    /// Checks the family record at `index` (from 1) of the current resource file. A strange size is
    /// reported and passes; the first other defect is reported and fails.
    static bool validateFOND(OxFont& font, short index);
    /// Checks the resource that an association entry names and records it on the font. A missing or
    /// small outline fails without a diagnostic. A missing strike is recorded all the same.
    static bool validateAssoc(OxFont& font, short fontSize, short fontId);
    /// The checks of a strike by its handle; the font gets type, size and, on failure, the
    /// diagnostic.
    static bool validateStrike(OxFont& font, Handle strike);

    /// Nothing when the family has no style table. The offset must lie inside the resource; the
    /// assertions "offset > 0" and "offset < GetHandleSize(inFondH)" throw std::runtime_error.
    static std::optional<StyleTable> GetFondStyleMappingTable(char** fondHandle);
    static NameTable GetStyleNamingTableFromStyleMappingTable(const StyleTable* table);
    static short GetNumStyleNames(const NameTable& names);
    static std::optional<std::string_view> NthStyleName(const NameTable& names, unsigned char n);
    /// The family's base name in the bytes of the resource.
    static void GetBaseFamilyNameFromStyleTable(const StyleTable& table, std::string& out);
    /// A style's PostScript name and its printer font's file name, in the bytes of the resource.
    /// Without a base name both stay as they are.
    static void GetNamesForStyle(const StyleTable& table, std::string& postscriptName,
                                 std::string& fileName, int style);
    /// Appends `part` to a printer font's file name by the 5-3-3 rule: five letters of the first
    /// word, three of each later one.
    static void MakeName(std::string& fileName, const std::string& part, bool first);

    /// False for every font.
    static bool isSystemFont(OxFont& font);
    /// True for every resource.
    static bool isValidTrueType(char** handle);

    static bool isMultipleMasterStem(const std::string& name);
    static bool isMultipleMasterFond(const std::string& name);
    static void stripMultipleMasterEncoding(std::string& name);
    static std::string getMMFamilyName(const std::string& name);

    /// Mac Roman as UTF-8, at most 255 bytes of it; ends at the first zero byte.
    static std::string convertMacRomanToUTF8(const unsigned char (&pascal)[256]);
    static std::string convertMacRomanToUTF8(const char* bytes, int length);
};
