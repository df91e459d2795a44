#pragma once

#include <memory>

#include "OxParserImp.h"

class ByteBuffer;

/// The parser of Type 1 font programs in PFB files: one record a file, with the names that the
/// clear text at the program's head gives, a fingerprint over the whole file and the type "PFB".
///
/// The container's segments are not interpreted, and no companion PFM file is looked for. A file
/// without a font program yields a record whose names are empty. A missing file gives the code
/// -1001, an unreadable one -1003.
class OXPARSER_EXPORT OxParserPFBImp : public OxParserImp {
  public:
    OxParserPFBImp();

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    /// True for the extension ".pfb" in any case.
    bool inspectFont(boost::filesystem::path file) override;
    bool readsWhole(const boost::filesystem::path& file) const override;
    void releaseMemory() override;
    /// Does nothing and returns true.
    bool diagnoseFont(boost::filesystem::path file) override;
    /// Does nothing and returns true.
    bool repairFont(boost::filesystem::path file) override;
    ~OxParserPFBImp() override;

    /// The work of parseFontFile; never null.
    virtual boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file);

  private:
    void readFont(const boost::filesystem::path& file, OxFont& font);

    const std::unique_ptr<ByteBuffer> buffer_;  // what a file is read into
};
