#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "Export.h"
#include "OxFont.h"
#include "OxParserImp.h"
#include "TtfRecords.h"

struct SfntReading;

/// Reads TrueType files (".TTF"), one record each, and is the base of every parser of sfnt data.
///
/// A file is read once, into a buffer that the parser keeps from file to file, and digested on the
/// way. The directory and some tables are converted to host order in that buffer, in a fixed
/// order. Damage becomes diagnostics; nothing is read outside the image. One thread at a time.
class OXPARSER_EXPORT OxParserTrueTypeImp : public OxParserImp {
  public:
    /// Which name records count: 0 Macintosh English and Windows US English, 1 the former only,
    /// 2 the latter only, others none.
    explicit OxParserTrueTypeImp(int PlatformId);
    ~OxParserTrueTypeImp() override;

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;
    bool readsWhole(const boost::filesystem::path& file) const override;
    void releaseMemory() override;
    bool diagnoseFont(boost::filesystem::path file) override;
    bool repairFont(boost::filesystem::path file) override;

    /// Reads and checks a whole file; a new list of one record, owned by the caller.
    virtual boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file);
    /// Checks sfnt data in memory: `length` bytes from `image` on, in file byte order, of which the
    /// directory and some tables are converted in place. The list's one record starts as a copy of
    /// `font`. The memory stays the caller's.
    boost::ptr_vector<OxFont>* validate(OxFont& font, ttf::tagFontDirectory& image,
                                        std::uint32_t length);
    /// As validate(file), but for the versions 0x00010000 and 'true' alone and with 'kern'; the
    /// offset table read from the file is left in `directory`, in host order.
    boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file,
                                        ttf::tagFontDirectory& directory);

    /// Sum of the big-endian words that `length` bytes from `data` begin, modulo 2^32; zero for a
    /// length that is not positive as a signed number. Inside the image the sum is bounded by it;
    /// elsewhere the caller answers for the memory.
    std::uint32_t calcTableChecksum(const std::uint32_t* data, std::uint32_t length);
    /// True when the table may be read; otherwise its tag is reported as 11013.
    bool preflightTable(const ttf::tagTableDirectory* record, OxFont& font, int imageLength);
    /// The bytes of a table that must lie inside the image; 0 for unknown tags.
    static int getTableStructureSize(int tag);
    static std::uint32_t endian_swaplong(std::uint32_t value);
    static std::uint16_t endian_swapword(std::uint16_t value);
    static bool is_big_endian();

    /// @name Table readers
    /// Each compares the table's checksum first. `record` is in host order; false means failure.
    /// @{
    bool parseCharacterMapTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseFontHeaderTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseHorizontalHeaderTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseGlyfTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseHorizontalMetricsTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseGlyfLocationTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseMaximumProfileTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseNameTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseOS2Table(const ttf::tagTableDirectory* record, OxFont& font);
    bool parsePostscriptTable(const ttf::tagTableDirectory* record, OxFont& font);
    bool parseKerningTable(const ttf::tagTableDirectory* record, OxFont& font);
    /// @}

    /// The text of a name record; `storage` is the start of the string storage. Bounded by the
    /// image where it lies inside; elsewhere the caller answers for the memory.
    std::string get_name_table_string(const ttf::tagNameRecord* record,
                                      const unsigned char* storage);

  protected:
    /// What the parser works on and keeps from font to font; the library's own.
    const std::unique_ptr<SfntReading> reading_;
};
