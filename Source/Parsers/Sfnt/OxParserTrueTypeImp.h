#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Export.h"
#include "FileBytes.h"
#include "OxFont.h"
#include "OxParserImp.h"
#include "SfntImage.h"
#include "TtfRecords.h"
#include "WalkBudget.h"

class LogChannel;
struct SfntFormat;
struct SfntTable;

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
    /// A table reader's work behind the checksum comparison.
    using TableBody = bool (OxParserTrueTypeImp::*)(const ttf::tagTableDirectory&, OxFont&);

    /// Reads a whole file as the format says: one record, or the members' work is left to the
    /// collection parser. `directory` receives the offset table when given.
    boost::ptr_vector<OxFont>* validateFile(const boost::filesystem::path& file,
                                            const SfntFormat& format,
                                            ttf::tagFontDirectory* directory = nullptr);
    /// Whether a file of this size can be read as a font; what speaks against it is reported on the
    /// font, nothing standing for a status that cannot be told.
    static bool hasReadableSize(const boost::filesystem::path& file,
                                const std::optional<std::uint64_t>& size, OxFont& font,
                                const LogChannel& log);
    /// validate(font, image, length) without beginCounting().
    boost::ptr_vector<OxFont>* validateImage(OxFont& font, ttf::tagFontDirectory& image,
                                             std::uint32_t length);
    /// What counts towards budgets starts at zero: another file or resource begins.
    void beginCounting();
    /// Reads the opened file into the image and sets the fingerprint. Throws std::bad_alloc, with
    /// no image, for a file that is too large or that memory does not suffice for.
    void readImage(FileBytes& file, OxFont& font);
    /// Walks `count` records of the table directory at `start`, reading every table that the
    /// format reads, until walks_ is used up.
    void walkDirectory(OxFont& font, std::uint64_t start, unsigned count, const SfntFormat& format);
    /// "Foundry" from the record's copyright text; "Unknown" when that leaves it empty.
    static void resolveFoundry(OxFont& font);

    /// Runs a table reader: checksum comparison, then `body`; what it throws is reported.
    bool readTable(const SfntTable& table, const ttf::tagTableDirectory* record, OxFont& font,
                   TableBody body);

    SfntImage image_;
    const int platformId_;
    std::uint16_t glyphCount_ = 0;  // kept from font to font, deliberately: 'kern' may come first
    bool italic_ = false;           // bit 0 of fsSelection of the last 'OS/2' table read
    ByteBuffer fileBuffer_;
    std::string fileDigest_;
    std::uint64_t tableBytesSummed_ = 0;  // what checksums were asked for since beginCounting()
    WalkBudget walks_;                    // since then, too

  private:
    /// Bytes that passes over one place have changed, by offset, as they were before.
    using ChangedBytes = std::map<std::uint64_t, std::uint8_t>;
    using AcceptedNames = std::array<std::optional<ttf::tagNameRecord>, 8>;

    void readFile(const boost::filesystem::path& file, const SfntFormat& format,
                  ttf::tagFontDirectory* directory, OxFont& font);
    bool checksumOnly(const ttf::tagTableDirectory& record, OxFont& font);
    bool readFontHeader(const ttf::tagTableDirectory& record, OxFont& font);
    bool readMaximumProfile(const ttf::tagTableDirectory& record, OxFont& font);
    bool readOS2(const ttf::tagTableDirectory& record, OxFont& font);
    bool readNames(const ttf::tagTableDirectory& record, OxFont& font);
    bool readKerning(const ttf::tagTableDirectory& record, OxFont& font);

    bool readDirectoryRecord(std::uint64_t position, ttf::tagTableDirectory& record);
    void walkTable(const ttf::tagTableDirectory& record, OxFont& font, const SfntFormat& format);
    void compareChecksum(const SfntTable& table, const ttf::tagTableDirectory& record,
                         OxFont& font);
    bool acceptsName(const ttf::tagNameRecord& name) const;
    bool collectNames(std::uint64_t table, unsigned count, std::uint64_t storage,
                      AcceptedNames& accepted);
    void setNames(const AcceptedNames& names, std::uint64_t storage, OxFont& font);
    void setVendorFoundry(std::uint64_t table, OxFont& font);
    std::uint64_t readKerningPairs(std::uint64_t subtable, OxFont& font);
    std::uint64_t readKerningClasses(std::uint64_t subtable, ChangedBytes& changed);
};
