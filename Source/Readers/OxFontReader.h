#pragma once

#include <memory>

#include "Export.h"
#include "OxParserImp.h"
#include "ReadingDetails.h"

class FileLook;

/// The modern reading of font files, as a format parser: what is really in a file, known by its
/// content, whatever its name; typed properties beside the attributes.
///
/// Reads sfnt fonts and collections, WOFF and WOFF2, Type 1 (PFB, PFA), Type 42, CID programs, bare
/// CFF, PFM and AFM, and Mac fonts in every place where a resource fork can be. A coordinator with
/// the modern reading has one; a host can register one beside other parsers. Keeps the bytes of the
/// file in hand and listings of the folders it was asked about last; used by one thread at a time.
class OXPARSER_EXPORT OxFontReader : public OxParserImp {
  public:
    explicit OxFontReader(const ReadingDetails& details = {});
    ~OxFontReader() override;

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    /// Looks at the file's first bytes and, when they are no font's, for a resource fork. What
    /// parseFontFile is asked next is answered from the same look.
    bool inspectFont(boost::filesystem::path file) override;
    /// By the name: those that fonts usually have.
    bool readsWhole(const boost::filesystem::path& file) const override;
    void releaseMemory() override;
    bool firstRecordFirst() const override { return true; }

  private:
    void reportTrouble(const boost::filesystem::path& file);

    ReadingDetails details_;
    std::unique_ptr<FileLook> look_;
};
