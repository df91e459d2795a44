#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Export.h"
#include "Keywords.h"
#include "OxFont.h"
#include "OxParserImp.h"

/// Reads PostScript printer font files: the font program in the 'POST' resources of the resource
/// fork, wherever that is kept. The font dictionary in the program's clear text gives the names,
/// the version, the notice and with it the foundry; the record's type is T1Outline or T3Outline.
///
/// Never registered with a coordinator, so no file is taken by inspection; the suitcase parser
/// hands printer fonts over. Takes macParsingMutex and leaves the current resource file as it was.
class OXPARSER_EXPORT OxParserPSOutlineImp : public OxParserImp {
  public:
    OxParserPSOutlineImp();
    ~OxParserPSOutlineImp() override;

    /// A new list of one record, owned by the caller. Damage becomes diagnostics (eError, code 0).
    /// Texts are Mac Roman in the program and UTF-8 in the record.
    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;

    /// The id of `token` (in lower case) in a keyword table, or 0; an empty token throws
    /// std::runtime_error.
    static std::int32_t lookupSymbol(const std::string& token, const SymbolMapping* table,
                                     std::size_t count, std::size_t rowSize);

  private:
    static void readFont(const boost::filesystem::path& file, OxFont& font);
    static void readDictionary(const std::string& program, OxFont& font);
};
