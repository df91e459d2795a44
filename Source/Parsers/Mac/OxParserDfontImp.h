#pragma once

#include <cstdint>

#include "Export.h"
#include "OxParserTrueTypeMacImp.h"

/// Reads ".dfont" files: suitcases whose resources are in the data fork. One record for each font
/// of every outline entry, without a duplicate test, and one for each damaged family. Bitmap
/// entries are deliberately treated as outlines, so each yields a "Missing sfnt resource" record.
///
/// The file stays open and is the current resource file after a parse, until the parser opens the
/// next one or is destroyed. Each parse takes macParsingMutex.
class OXPARSER_EXPORT OxParserDfontImp : public OxParserTrueTypeMacImp {
  public:
    OxParserDfontImp();
    ~OxParserDfontImp() override;

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;

    using OxParserTrueTypeImp::validate;
    /// A new list, owned by the caller. An error that ends the walk is logged.
    boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file) override;

    using OxParserTrueTypeMacImp::parseFont;
    boost::ptr_vector<OxFont>* parseFont(const boost::filesystem::path& file, char** fondHandle,
                                         const AsscEntry* entry);

  private:
    class Walk;

    void openFile(const boost::filesystem::path& file);
    void closeFile();

    std::int16_t openFile_ = -1;
};
