#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Export.h"
#include "FontDiagnostic.h"
#include "OxProperties.h"

/// @name Attribute keys
/// Hosts look attributes up by these texts; the capitalisation is part of the interface. What is
/// said of a value is what the parsers store; keys without a remark hold what their name says, or
/// are for hosts.
/// @{
inline constexpr char eFontFilePath[] = "FontFilePath";  ///< folder that holds the font file
inline constexpr char eFileName[] = "FileName";          ///< the file's leaf name
inline constexpr char ePlatform[] = "Platform";  ///< "MacOrWindows", "Macintosh" or "Open Type"
inline constexpr char ePrinterFilePath[] = "PrinterFilePath";  ///< leaf name, beside the suitcase
inline constexpr char eBasename[] = "Basename";
inline constexpr char ePostscriptname[] = "Postscriptname";
inline constexpr char eFullname[] = "Fullname";
inline constexpr char eDisplayname[] = "Displayname";
inline constexpr char eFamilyname[] = "Familyname";
inline constexpr char eSubFamilyname[] = "SubFamilyname";
inline constexpr char eFoundry[] = "Foundry";
inline constexpr char eType[] = "Type";
inline constexpr char eCopyright[] = "Copyright";
inline constexpr char eKerningChecksum[] = "KerningChecksum";  ///< that stored for the 'kern' table
inline constexpr char eFingerprint[] = "FingerPrint";  ///< MD5, 32 lower-case hexadecimal digits
inline constexpr char eFontVersion[] = "Version";
inline constexpr char eUniqueId[] = "UniqueId";  ///< name record 3
inline constexpr char eTrademark[] = "Trademark";
inline constexpr char eWeight[] = "Weight";  ///< usWeightClass of 'OS/2', or a program's /Weight
inline constexpr char eWidth[] = "Width";    ///< usWidthClass of 'OS/2'
inline constexpr char eMonospace[] = "MonoSpace";
inline constexpr char eItalic[] = "Italic";              ///< "true" or "false"
inline constexpr char eStyle[] = "Style";                ///< style code of the association entry
inline constexpr char eFontId[] = "FontId";              ///< resource id of the strike
inline constexpr char eResourcename[] = "Resourcename";  ///< name of the 'FOND' resource
inline constexpr char eSize[] = "Size";                  ///< of the strike, in points
inline constexpr char eStyleType[] = "StyleType";
inline constexpr char eResourceType[] = "ResourceType";
inline constexpr char eFntSize[] = "FntSize";                ///< size of the font's data in bytes
inline constexpr char eMultipleMaster[] = "MultipleMaster";  ///< "YES" or "NO"
inline constexpr char eFontOffset[] = "FontOffset";  ///< of the font in its collection, in bytes
inline constexpr char eSourcePath[] = "SourcePath";
inline constexpr char eDestinationPath[] = "DestinationPath";
/// @}

/// The record of one font (a suitcase or a collection yields several).
///
/// All values are text; numbers are stored in decimal. A record is written by one parser on one
/// thread and only read once it has been queued; it has no lock. It owns everything it holds.
class OXPARSER_EXPORT OxFont {
  public:
    /// Font type numbers; 3 is unassigned.
    enum FontType : int {
        T1 = 0,
        TT = 1,
        Bi = 2,
        DF = 4,
        TTF = 5,
        TTC = 6,
        OTPS = 7,
        OTTT = 8,
        PFB = 9,
        T1Outline = 10,
        T3Outline = 11,
        notSure = 20,
    };

    /// Number to text of every font type. Shared by all records and never destroyed.
    static std::map<int, std::string>& _fontType;

    /// An empty record whose "Foundry" is "Unknown".
    OxFont();
    /// Starts empty, without "Foundry", and then assigns.
    OxFont(const OxFont& other);
    virtual ~OxFont();

    /// Merges: `other`'s attributes overwrite equal keys, everything else of `other` is appended
    /// behind what this record holds. A record that is assigned to repeatedly accumulates.
    OxFont& operator=(const OxFont& other);

    /// The value of `key`; empty when there is none. "SourcePath" is made from "FontFilePath" and
    /// "FileName" when it is not stored, "Displayname" falls back to "Fullname", then to
    /// "Postscriptname".
    std::string getAttribute(const std::string& key) const;
    /// Stores a value. "Foundry" takes the text in which a foundry may be named (a copyright
    /// notice, say) and keeps only the foundry found in it, which may be empty.
    void setAttribute(const std::string& key, const std::string& value);
    void setAttributeAsInt(const std::string& key, int value);
    /// The value as a stream reads a decimal int; 0 when there is none.
    int getAttributeAsInt(const std::string& key) const;

    /// Sets "Type" to the type's text. A number that is not in the table is added to the shared
    /// table with an empty text; that must not happen while other threads read types.
    void setFontType(int type);
    /// The number of "Type"'s text; `notSure` when it cannot be told.
    int getFontType() const;

    void addDiagnostic(FontDiagnosticType type, int code, const std::string& text);
    void addDiagnostic(FontDiagnosticType type, int code);
    void addDiagnostic(FontDiagnosticType type, int code, const std::string& text,
                       FontDiagnosticPlace where);
    /// Removes the first diagnostic of equal type and text. The code is deliberately not compared.
    void removeDiagnostic(const FontDiagnostic& diagnostic);
    /// Appends the codes and texts of all diagnostics of one type; the vectors stay parallel.
    void getDiagnosticsByType(FontDiagnosticType type, std::vector<int>& codes,
                              std::vector<std::string>& texts) const;
    void getErrors(std::vector<int>& codes, std::vector<std::string>& texts) const;
    void getWarnings(std::vector<int>& codes, std::vector<std::string>& texts) const;
    void getNotes(std::vector<int>& codes, std::vector<std::string>& texts) const;
    /// The diagnostic at `index`, of whatever type; false, with both outputs untouched, when
    /// `index` is negative or too large.
    bool getNextError(int index, int& code, std::string& text) const;

    /// Takes over a printer font's attributes: fills what is empty or absent here, and "Foundry" in
    /// any case. No foundry look-up runs.
    void setPrinterFontAttributes(const std::map<std::string, std::string>& attributes);
    /// Appends `other`'s resources, nothing else.
    void mergeMultipleMasterFont(OxFont& other);

    /// Appends (type, id) unless the last pair of that type holds the same id.
    void addResource(int type, int id);
    int getResourceCount(int type) const;
    /// The last pair of that type; (0, 0) when there is none.
    std::pair<int, int> getResourceByType(int type) const;

    /// Name and folder that a mover gives a suitcase written for this font.
    std::string getGeneratedSuitcaseName() const;
    std::string getGeneratedSuitcaseFolder() const;

    const std::map<std::string, std::string>& attributes() const { return attributes_; }
    /// What the modern reading found, typed; empty in a record of the compatible one. The names
    /// and their order are those of propertyNames, then any others as they were set.
    const OxProperties& properties() const { return properties_; }
    void setProperty(std::string_view name, OxPropertyValue value);
    void removeProperty(std::string_view name) { properties_.remove(name); }
    const std::vector<FontDiagnostic>& diagnostics() const { return diagnostics_; }
    const std::vector<std::pair<int, int>>& resources() const { return resources_; }

    /// The file that the record was made from, as the walk named it; set when the record goes into
    /// the pipeline's font queue. No attribute.
    const boost::filesystem::path& sourceFile() const { return sourceFile_; }
    void setSourceFile(const boost::filesystem::path& file) { sourceFile_ = file; }

  private:
    std::map<std::string, std::string> attributes_;
    OxProperties properties_;
    std::vector<FontDiagnostic> diagnostics_;

  public:
    /// Printer (outline) font files that belong to this font; the parsers append to it.
    std::vector<boost::filesystem::path> printerFontPaths;

  private:
    std::vector<std::pair<int, int>> resources_;
    boost::filesystem::path sourceFile_;
};
