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

// What the directory says of the one stream that all tables are packed into.
struct PackedTables {
    std::uint64_t transformed = 0;  // bytes in the stream
    std::uint64_t unpacked = 0;     // bytes in the font
    std::uint64_t offset = 0;       // where the stream begins
};

// Reads the directory front to back. Throws ReadPastEnd.
class Woff2Directory {
  public:
    Woff2Directory(ByteView file, const WoffHeader& header) : file_(file) {
        at_ = WoffHeader::kSize2;
        for (unsigned i = 0; i < header.tables; ++i) {
            readEntry();
        }
        if (header.flavor == fourCharCode("ttcf")) {
            skipCollection();
        }
        tables_.offset = at_;
    }
    const PackedTables& tables() const { return tables_; }

  private:
    void readEntry() {
        constexpr unsigned kGlyf = 10;  // by the standard's list of known tags
        constexpr unsigned kLoca = 11;
        constexpr unsigned kOtherTag = 63;
        const std::uint8_t flags = file_.u8(at_++, "flags");
        const unsigned tag = flags & kOtherTag;
        bool outlines = tag == kGlyf || tag == kLoca;
        if (tag == kOtherTag) {
            const std::uint32_t text = file_.u32be(at_, "tag");
            outlines = text == fourCharCode("glyf") || text == fourCharCode("loca");
            at_ += 4;
        }
        const std::uint32_t length = readBase128("origLength");
        // The version that means "as it is" differs.
        const bool transformed = flags >> 6 != (outlines ? 3 : 0);
        tables_.unpacked += woffPadded(length);
        tables_.transformed += transformed ? readBase128("transformLength") : length;
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
    void skipCollection() {
        at_ += 4;  // version
        const unsigned fonts = read255("numFonts");
        for (unsigned font = 0; font < fonts; ++font) {
            const unsigned tables = read255("numTables");
            at_ += 4;  // flavor
            for (unsigned table = 0; table < tables; ++table) {
                read255("index");
            }
        }
    }

    ByteView file_;
    std::uint64_t at_ = 0;
    PackedTables tables_;
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
        const std::uint64_t end = tables_.offset + header_.totalCompressedSize;
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
            tables_ = Woff2Directory(file_, header_).tables();
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

    // Before anything is allocated.
    bool isBounded() {
        const std::uint64_t limit = woffLimit(file_.size());
        const std::uint64_t size = std::max(tables_.transformed, tables_.unpacked);
        if (size > limit || !context_.work.spend(size)) {
            findings_.add(woff::kTooLarge,
                          std::to_string(size) + " bytes, more than " + std::to_string(limit));
            return false;
        }
        return true;
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
        out_.emplace(tables_.unpacked, woffLimit(file_.size()));
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
                              std::to_string(file_.size() - tables_.offset) + " there",
                          {.field = "totalCompressedSize", .offset = tables_.offset});
        } else if (out_->isFull()) {
            findings_.add(woff::kTooLarge,
                          "more than " + std::to_string(woffLimit(file_.size())) + " bytes");
        } else {
            findings_.add(woff::kTables,
                          std::to_string(header_.totalCompressedSize) + " bytes packed",
                          {.offset = tables_.offset});
        }
    }

    ByteView file_;
    FaceContext& context_;
    WoffFindings& findings_;
    WoffHeader header_;
    PackedTables tables_;
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
    readSfnt(*image, context, faces, SfntOrigin::eRebuilt);
    findings.giveTo(faces, first);
}
