#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <map>
#include <string>

#include "Export.h"
#include "FondViews.h"
#include "OxFont.h"
#include "OxParserImp.h"
#include "ResourceManager.h"

/// Turns one bitmap entry of a family into a record. The strike stands for a PostScript font whose
/// outlines are in a printer font file beside the suitcase; names, version and foundry are taken
/// from that file when it is there.
///
/// The family's file is the current resource file during each call, and the caller holds
/// macParsingMutex. An object remembers the printer fonts that it has read, since all sizes of a
/// style share one; it is meant to live no longer than one suitcase is being parsed.
class OXPARSER_EXPORT OxParserPostscriptImp : public OxParserImp {
  public:
    OxParserPostscriptImp();
    ~OxParserPostscriptImp() override;

    /// A new list of one record, owned by the caller. A family without a style table throws
    /// std::runtime_error, which ends the suitcase's walk.
    boost::ptr_vector<OxFont>* parseFont(const boost::filesystem::path& file, char** fondHandle,
                                         const AsscEntry* entry, int mode);
    /// Checks the strike and records it on the font when it is there; true for entries that name
    /// no strike.
    bool validateAssoc(OxFont& font, const AsscEntry* entry);
    /// What family record and strike say about the font.
    void setAttributes(const boost::filesystem::path& file, OxFont& font, char** fondHandle,
                       char** fontHandle);
    /// True when the list holds PostScript and TrueType records.
    bool fondIsT1TT(const boost::ptr_vector<OxFont>* fonts) const;

  private:
    using Attributes = std::map<std::string, std::string>;

    void setNames(OxFont& font, const StyleTable& table, std::string& fileName);
    void takeOverPrinterFont(OxFont& font, const boost::filesystem::path& printerFont);
    const Attributes& printerFontAttributes(const boost::filesystem::path& printerFont);

    std::map<std::string, Attributes> printerFonts_;  // by path; empty when it yields no record
};
