#include <woff2/decode.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "ByteWriter.h"
#include "FourCharCode.h"
#include "SfntReader.h"
#include "WoffHeader.h"
#include "WoffReader.h"

namespace {

// Outlines are transformed together with their index, or not at all.
enum class Part : std::uint8_t { eOther, eGlyf, eLoca };

struct PackedTable {
    Part part;
    bool transformed;
};

// Reads the directory front to back, and what it says of the one stream that all tables are packed
// into.
class Woff2Directory {
  public:
    /// Throws ReadPastEnd.
    void read(ByteView file, const WoffHeader& header) {
        file_ = file;
        at_ = WoffHeader::kSize2;
        for (unsigned i = 0; i < header.tables; ++i) {
            readEntry();
        }
        collection_ = header.flavor == fourCharCode("ttcf");
        if (collection_) {
            readCollection();
        } else {
            beginFont(tables_.size());
            for (std::size_t i = 0; i < tables_.size(); ++i) {
                addToFont(i);
            }
            endFont();
        }
    }

    std::uint64_t transformedSize() const { return transformed_; }
    /// With what a decoder has to remember of each font.
    std::uint64_t unpackedSize() const { return unpacked_; }
    std::uint64_t streamOffset() const { return at_; }
    /// Each font has both outlines and their index, once, or neither; in a collection the one
    /// behind the other.
    bool isConsistent() const { return consistent_; }

  private:
    struct Font {
        unsigned glyf = 0;
        unsigned loca = 0;
        std::size_t lastGlyf = 0;
        std::size_t lastLoca = 0;
    };

    void readEntry() {
        constexpr unsigned kOtherTag = 63;
        const std::uint8_t flags = file_.u8(at_++, "flags");
        Part part = knownPart(flags & kOtherTag);
        if ((flags & kOtherTag) == kOtherTag) {
            part = taggedPart(file_.u32be(at_, "tag"));
            at_ += 4;
        }
        const std::uint32_t length = readBase128("origLength");
        // The version that means "as it is" differs.
        const bool transformed = flags >> 6 != (part == Part::eOther ? 0 : 3);
        unpacked_ += woffPadded(length);
        transformed_ += transformed ? readBase128("transformLength") : length;
        tables_.push_back({part, transformed});
    }
    // By the standard's list of known tags.
    static Part knownPart(unsigned index) {
        return index == 10 ? Part::eGlyf : index == 11 ? Part::eLoca : Part::eOther;
    }
    static Part taggedPart(std::uint32_t tag) {
        return tag == fourCharCode("glyf")   ? Part::eGlyf
               : tag == fourCharCode("loca") ? Part::eLoca
                                             : Part::eOther;
    }

    void readCollection() {
        at_ += 4;  // version
        const unsigned fonts = read255("numFonts");
        for (unsigned font = 0; font < fonts; ++font) {
            const unsigned tables = read255("numTables");
            at_ += 4;  // flavor
            beginFont(tables);
            for (unsigned table = 0; table < tables; ++table) {
                addToFont(read255("index"));
            }
            endFont();
        }
    }

    void beginFont(std::size_t tables) {
        constexpr std::size_t kPerTable = 128;
        font_ = Font();
        unpacked_ += (tables + 1) * kPerTable;
    }
    void addToFont(std::size_t index) {
        if (index >= tables_.size()) {
            consistent_ = false;
        } else if (tables_[index].part == Part::eGlyf) {
            ++font_.glyf;
            font_.lastGlyf = index;
        } else if (tables_[index].part == Part::eLoca) {
            ++font_.loca;
            font_.lastLoca = index;
        }
    }
    void endFont() {
        const bool both = font_.glyf == 1 && font_.loca == 1;
        const bool neither = font_.glyf == 0 && font_.loca == 0;
        const bool inOrder = !collection_ || font_.lastLoca == font_.lastGlyf + 1;
        consistent_ = consistent_ && (neither || (both && inOrder &&
                                                  tables_[font_.lastGlyf].transformed ==
                                                      tables_[font_.lastLoca].transformed));
    }

    std::uint32_t readBase128(const char* field) {
        std::uint32_t value = 0;
        for (int i = 0; i < 5; ++i) {
            const std::uint8_t byte = file_.u8(at_++, field);
            value = value << 7 | (byte & 0x7FU);
            if ((byte & 0x80) == 0) {
                break;
            }
        }
        return value;
    }
    unsigned read255(const char* field) {
        const std::uint8_t code = file_.u8(at_++, field);
        switch (code) {
            case 253:
                at_ += 2;
                return file_.u16be(at_ - 2, field);
            case 254:
                return 506U + file_.u8(at_++, field);
            case 255:
                return 253U + file_.u8(at_++, field);
            default:
                return code;
        }
    }

    ByteView file_;
    std::uint64_t at_ = 0;
    std::vector<PackedTable> tables_;
    std::uint64_t transformed_ = 0;
    std::uint64_t unpacked_ = 0;
    Font font_;
    bool collection_ = false;
    bool consistent_ = true;
};

// Where the decoder writes to; takes no more than a limit.
class BoundedOut : public woff2::WOFF2Out {
  public:
    BoundedOut(std::uint64_t expected, std::uint64_t limit)
        : limit_(static_cast<std::size_t>(limit)) {
        bytes_.reserve(static_cast<std::size_t>(std::min(expected, limit)));
    }

    bool Write(const void* bytes, std::size_t count) override {
        return Write(bytes, bytes_.size(), count);
    }
    bool Write(const void* bytes, std::size_t offset, std::size_t count) override {
        if (offset > limit_ || count > limit_ - offset) {
            full_ = true;
            return false;
        }
        if (offset + count > bytes_.size()) {
            bytes_.resize(offset + count);
        }
        if (count > 0) {
            std::memcpy(bytes_.data() + offset, bytes, count);
        }
        return true;
    }
    std::size_t Size() override { return bytes_.size(); }

    bool isFull() const { return full_; }
    ByteView view() const { return ByteView(bytes_.data(), bytes_.size()); }

  private:
    std::vector<std::uint8_t> bytes_;
    std::size_t limit_;
    bool full_ = false;
};

class Woff2Unpacker {
  public:
    Woff2Unpacker(ByteView file, FaceContext& context, WoffFindings& findings)
        : file_(file), context_(context), findings_(findings) {}

    /// The image; nothing when the tables do not come out.
    std::optional<ByteView> unpack() {
        if (!readDirectory() || !isBounded()) {
            return std::nullopt;
        }
        const std::uint64_t end = directory_.streamOffset() + header_.totalCompressedSize;
        const bool complete = end <= file_.size();
        checkWoffLayout(file_, header_, std::min<std::uint64_t>(end, file_.size()), findings_);
        const bool unpacked = complete && decode(end);
        if (!unpacked) {
            tellFailure(end);
        }
        return unpacked ? std::optional(out_->view()) : std::nullopt;
    }

  private:
    bool readDirectory() {
        try {
            header_ = WoffHeader::read2(file_);
            directory_.read(file_, header_);
        } catch (const ReadPastEnd& e) {
            findings_.add(woff::kHeader, std::string(e.field()) + " outside the file",
                          {.field = e.field(), .offset = e.offset()});
            return false;
        }
        if (header_.tables == 0) {
            findings_.add(woff::kHeader, "no tables", {.field = "numTables"});
        }
        return header_.tables != 0;
    }

    // Before anything is allocated. What the decoder would refuse is refused here, since it says
    // so on the process's error output.
    bool isBounded() {
        constexpr std::uint64_t kMostPerPackedByte = 100;
        const std::uint64_t limit = woffLimit(file_.size());
        const std::uint64_t mostPacked = std::min(limit, kMostPerPackedByte * file_.size());
        if (directory_.transformedSize() > mostPacked) {
            findings_.add(woff::kTooLarge, std::to_string(directory_.transformedSize()) +
                                               " bytes, more than " + std::to_string(mostPacked));
            return false;
        }
        if (directory_.unpackedSize() > limit || !context_.work.spend(directory_.unpackedSize())) {
            findings_.add(woff::kTooLarge, std::to_string(directory_.unpackedSize()) +
                                               " bytes, more than " + std::to_string(limit));
            return false;
        }
        if (!directory_.isConsistent()) {
            findings_.add(woff::kTables, "'glyf' and 'loca' do not go together",
                          {.offset = WoffHeader::kSize2});
        }
        return directory_.isConsistent();
    }

    bool decode(std::uint64_t end) {
        if (findings_.empty()) {
            return decode(file_);
        }
        // The decoder takes nothing whose header does not fit; the tables may be sound still.
        const std::vector<std::uint8_t> mended = withoutRest(end);
        return decode(ByteView(mended.data(), mended.size()));
    }

    bool decode(ByteView file) {
        out_.emplace(directory_.unpackedSize(), woffLimit(file_.size()));
        try {
            return woff2::ConvertWOFF2ToTTF(file.data(), file.size(), &*out_) && out_->Size() > 0;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            return false;
        }
    }

    // Header, directory and tables only, with a header that says so.
    std::vector<std::uint8_t> withoutRest(std::uint64_t end) const {
        constexpr std::uint64_t kLengthAt = 8;
        constexpr std::uint64_t kBlocksAt = 28;
        ByteWriter out;
        out.bytes(file_.clamped(0, kLengthAt));
        out.u32be(static_cast<std::uint32_t>(woffPadded(end)));
        out.u16be(header_.tables).u16be(0);
        out.bytes(file_.clamped(out.size(), kBlocksAt - out.size()));
        out.zeros(WoffHeader::kSize2 - out.size());
        out.bytes(file_.clamped(out.size(), end - out.size()));
        return out.padTo(4).take();
    }

    void tellFailure(std::uint64_t end) {
        if (end > file_.size()) {
            findings_.add(woff::kTables,
                          std::to_string(header_.totalCompressedSize) + " bytes packed, " +
                              std::to_string(file_.size() - directory_.streamOffset()) + " there",
                          {.field = "totalCompressedSize", .offset = directory_.streamOffset()});
        } else if (out_->isFull()) {
            findings_.add(woff::kTooLarge,
                          "more than " + std::to_string(woffLimit(file_.size())) + " bytes");
        } else {
            findings_.add(woff::kTables,
                          std::to_string(header_.totalCompressedSize) + " bytes packed",
                          {.offset = directory_.streamOffset()});
        }
    }

    ByteView file_;
    FaceContext& context_;
    WoffFindings& findings_;
    WoffHeader header_;
    Woff2Directory directory_;
    std::optional<BoundedOut> out_;
};

}  // namespace

void readWoff2(ByteView file, FaceContext& context, FontFaces& faces) {
    context.container = "woff2";
    WoffFindings findings;
    Woff2Unpacker unpacker(file, context, findings);
    const std::optional<ByteView> image = unpacker.unpack();
    if (!image) {
        addUnreadableWoff(context, faces, findings);
        return;
    }
    const std::size_t first = faces.size();
    readUnpackedSfnt(*image, SfntOrigin::eRebuilt, context, faces);
    findings.giveTo(faces, first);
}
