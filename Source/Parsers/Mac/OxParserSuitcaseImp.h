#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>

#include "Export.h"
#include "OxFont.h"
#include "OxParserImp.h"

/// Reads classic Mac font suitcases: files of Finder type FFIL, tfil or ffil, whatever their name,
/// wherever fork and Finder information are kept.
///
/// One record for each distinct font (PostScript name and type) of the families' association
/// entries, and one for each damaged family. An error that ends the walk is put on the last record
/// so far. Keeps nothing between calls; each parse takes macParsingMutex and leaves the current
/// resource file as it was.
class OXPARSER_EXPORT OxParserSuitcaseImp : public OxParserImp {
  public:
    using FontList = boost::ptr_vector<OxFont>;

    OxParserSuitcaseImp();
    ~OxParserSuitcaseImp() override;

    FontList* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;
    /// A new list, owned by the caller.
    virtual FontList* validate(const boost::filesystem::path& file);

    /// False for what cannot be looked at.
    bool isSuitcase(const char* path);

    /// Appends a copy of each record of `source` that `destination` holds no equal of
    /// (OxFontComparer), in order; `source` is then destroyed.
    void addUniqueFonts(FontList* destination, FontList* source);
    void addUniqueFont(FontList* destination, const OxFont& font);
    /// True when the list holds PostScript and TrueType records.
    bool fondIsT1TT(const FontList* fonts) const;

    /// @name Multiple-master families
    /// Not part of the parse.
    /// @{
    /// A new list, owned by the caller, of the records that are multiple-master families.
    FontList* collectMultipleMasterFonts(const FontList& fonts);
    /// Appends a copy of a record that is one; its resources go to a record of the same family
    /// that is there already.
    void addMultipleMasterFont(FontList& families, OxFont* font);
    /// Adds the family records of the current resource file that are stems of the font's family.
    void addMultipleMasterStemResources(OxFont* font);
    /// @}

  private:
    /// Reports what the last look at the file could not see into.
    void reportTrouble(const boost::filesystem::path& file) const;
    void walk(const boost::filesystem::path& file, FontList& fonts);
};
