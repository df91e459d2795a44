#pragma once

#include <string>
#include <vector>

#include "Export.h"
#include "OxParserTrueTypeImp.h"

/// Reads OpenType files with CFF outlines (".OTF"), one record each.
class OXPARSER_EXPORT OxParserOpenTypeImp : public OxParserTrueTypeImp {
  public:
    explicit OxParserOpenTypeImp(int PlatformId);
    ~OxParserOpenTypeImp() override;

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;
    bool readsWhole(const boost::filesystem::path& file) const override;

    using OxParserTrueTypeImp::validate;
    boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file) override;

    /// Appends the names of a CFF table's Name INDEX (Adobe Technical Note #5176) to fontNames().
    /// A real 'CFF ' table never gets here: the walk asks for the lower-case tag, deliberately.
    bool parseCompactFontFormatTable(const ttf::tagTableDirectory* record, OxFont& font);
    /// The names read from the current file's CFF table.
    const std::vector<std::string>& fontNames() const;
};
