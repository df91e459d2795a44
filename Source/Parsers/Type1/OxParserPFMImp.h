#pragma once

#include <cstdint>
#include <memory>

#include "ByteView.h"
#include "OxParserImp.h"

class ByteBuffer;

/// The parser of printer font metrics (PFM) files, the metrics half of a Type 1 font for Windows:
/// one record a file, with a fingerprint, the italic flag and a diagnostic for every field that
/// does not hold what a Type 1 PFM must hold. It sets no names and no font type.
///
/// The layout is Adobe's (technical note 5178, "Building PFM Files for PostScript-Language CJK
/// Fonts", and Microsoft's printer driver documentation before it), little-endian, with its three
/// parts at fixed places: the offsets stored in the file are checked, but not followed. A file of
/// at most 198 bytes is refused; one that cannot be read gives a record without a diagnostic.
///
/// Logs under "OxParserPFBImp", deliberately: hosts configure one category for both halves.
class OXPARSER_EXPORT OxParserPFMImp : public OxParserImp {
  public:
    OxParserPFMImp();

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    /// True for the extension ".pfm" in any case.
    bool inspectFont(boost::filesystem::path file) override;
    bool readsWhole(const boost::filesystem::path& file) const override;
    void releaseMemory() override;
    /// Does nothing and returns true.
    bool diagnoseFont(boost::filesystem::path file) override;
    /// Does nothing and returns true.
    bool repairFont(boost::filesystem::path file) override;
    ~OxParserPFMImp() override;

    /// The work of parseFontFile; never null.
    virtual boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file);

    /// @name Checks of the file that is being validated
    /// Each adds its diagnostics to `font` and returns true. They read what `validate` has put in
    /// place; at any other time they throw ReadPastEnd. `fileSize` is the file's real size in
    /// bytes.
    /// @{
    bool check_T1_header(OxFont& font, std::uint32_t fileSize);
    bool check_T1_extension(OxFont& font, const std::uint8_t* buffer, std::uint32_t fileSize);
    bool check_T1_extTextMetrics(OxFont& font);
    /// @}
    /// @name Checks that find nothing
    /// @{
    bool check_T1_kernPairs(OxFont& font);
    bool check_T1_kernTrack(OxFont& font);
    /// @}

  private:
    void readFont(const boost::filesystem::path& file, OxFont& font);
    void setViews(ByteView file);

    const std::unique_ptr<ByteBuffer> buffer_;  // what a file is read into
    ByteView header_;
    ByteView extension_;
    ByteView metrics_;
};
