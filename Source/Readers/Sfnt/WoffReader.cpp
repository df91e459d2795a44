#include "WoffReader.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "ByteBuffer.h"
#include "ByteWriter.h"
#include "FourCharCode.h"
#include "SfntFont.h"
#include "SfntReader.h"
#include "WoffHeader.h"

namespace {

constexpr std::uint64_t kEntrySize = 20;
constexpr std::uint64_t kSfntHeaderSize = 12;
constexpr std::uint64_t kSfntEntrySize = 16;
constexpr int kEntangled = 20003;
// What deflate makes of a byte at most (zlib.net/zlib_tech.html), so what a length can mean.
constexpr std::uint64_t kMostPerDeflatedByte = 1032;

struct Entry {
    std::uint32_t tag;
    std::uint32_t offset;
    std::uint32_t packed;
    std::uint32_t length;
    std::uint32_t sum;
    std::uint32_t unpackedAt = 0;
    std::uint32_t unpacked = 0;  // how much of it there is

    FontDiagnosticPlace place(const char* field = "") const {
        return {.table = tagText(tag), .field = field, .offset = offset};
    }
};

// One zlib stream after the other.
class Inflater {
  public:
    Inflater() = default;
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() {
        if (open_) {
            inflateEnd(&stream_);
        }
    }

    struct Outcome {
        std::size_t size;  // bytes that came out
        bool complete;     // and the stream ended with them, sound
    };
    /// At most `room` bytes into `out`.
    Outcome inflate(ByteView packed, std::uint8_t* out, std::size_t room) {
        start();
        stream_.next_in = const_cast<Bytef*>(packed.data());  // which zlib does not write to
        stream_.avail_in = static_cast<uInt>(packed.size());
        stream_.next_out = out;
        stream_.avail_out = static_cast<uInt>(room);
        const int result = ::inflate(&stream_, Z_FINISH);
        return {room - stream_.avail_out, result == Z_STREAM_END};
    }

  private:
    void start() {
        if (open_ ? inflateReset(&stream_) != Z_OK : inflateInit(&stream_) != Z_OK) {
            throw std::bad_alloc();
        }
        open_ = true;
    }

    z_stream stream_{};
    bool open_ = false;
};

// An sfnt image out of one file.
class WoffUnpacker {
  public:
    WoffUnpacker(ByteView file, FaceContext& context, WoffFindings& findings)
        : file_(file), context_(context), findings_(findings) {}

    /// The image; nothing when there is none to make.
    std::optional<ByteView> unpack() {
        if (!readDirectory()) {
            return std::nullopt;
        }
        checkDirectory();
        const std::uint64_t size = imageSize();
        if (size > woffLimit(file_.size())) {
            findings_.add(woff::kTooLarge, std::to_string(size) + " bytes, more than " +
                                               std::to_string(woffLimit(file_.size())));
            return std::nullopt;
        }
        image_.resize(size);
        end_ = directorySize();
        std::memset(image_.data(), 0, end_);
        for (Entry& entry : entries_) {
            unpackTable(entry);
        }
        return writeDirectory() ? std::optional(ByteView(image_.data(), end_)) : std::nullopt;
    }

    /// What is wrong with the metadata; to be called after unpack.
    void checkMetadata() {
        const WoffBlock& block = header_.metadata;
        if (block.length == 0 || !file_.holds(block.offset, block.length)) {
            return;  // absent, or told as what lies outside
        }
        const std::uint64_t most = block.length * kMostPerDeflatedByte;
        if (block.originalLength > std::min(most, woffLimit(file_.size())) ||
            !context_.work.spend(block.originalLength)) {
            findings_.add(woff::kMetadata, std::to_string(block.originalLength) + " bytes",
                          {.field = "metaOrigLength"});
            return;
        }
        ByteBuffer text;
        text.resize(block.originalLength + std::size_t{1});
        const Inflater::Outcome outcome =
            inflater_.inflate(file_.slice(block.offset, block.length), text.data(), text.size());
        if (!outcome.complete || outcome.size != block.originalLength) {
            findings_.add(woff::kMetadata,
                          std::to_string(outcome.size) + " of " +
                              std::to_string(block.originalLength) + " bytes",
                          {.field = "metaOffset", .offset = block.offset});
        }
    }

  private:
    std::uint64_t directorySize() const {
        return kSfntHeaderSize + kSfntEntrySize * entries_.size();
    }

    bool readDirectory() {
        if (!file_.holds(0, WoffHeader::kSize1)) {
            findings_.add(woff::kHeader, std::to_string(file_.size()) + " bytes");
            return false;
        }
        header_ = WoffHeader::read1(file_);
        for (std::uint64_t i = 0; i < header_.tables; ++i) {
            const std::uint64_t at = WoffHeader::kSize1 + i * kEntrySize;
            if (!file_.holds(at, kEntrySize)) {
                findings_.add(woff::kHeader,
                              std::to_string(i) + " of " + std::to_string(header_.tables) +
                                  " directory entries",
                              {.field = "numTables", .offset = at});
                break;
            }
            entries_.push_back({file_.u32be(at), file_.u32be(at + 4), file_.u32be(at + 8),
                                file_.u32be(at + 12), file_.u32be(at + 16)});
        }
        if (header_.tables == 0) {
            findings_.add(woff::kHeader, "no tables", {.field = "numTables"});
        }
        return !entries_.empty();
    }

    // What the header says of the whole, and whether the tables lie one behind the other.
    void checkDirectory() {
        std::uint64_t total = directorySize();
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            total += woffPadded(entries_[i].length);
            if (i > 0 && entries_[i].tag <= entries_[i - 1].tag) {
                findings_.add(woff::kOrder, "", entries_[i].place());
            }
        }
        if (total != header_.totalSfntSize) {
            findings_.add(
                woff::kSfntSize,
                std::to_string(header_.totalSfntSize) + ", should be " + std::to_string(total),
                {.field = "totalSfntSize"});
        }
        checkWoffLayout(file_, header_, checkPlaces(), findings_);
    }

    // Where the last table ends.
    std::uint64_t checkPlaces() {
        std::sort(entries_.begin(), entries_.end(),
                  [](const Entry& a, const Entry& b) { return a.offset < b.offset; });
        std::uint64_t end = WoffHeader::kSize1 + kEntrySize * entries_.size();
        bool told = false;
        for (const Entry& entry : entries_) {
            if (entry.offset != woffPadded(end) && !told) {
                findings_.add(
                    woff::kLayout,
                    std::to_string(entry.offset) + ", should be " + std::to_string(woffPadded(end)),
                    entry.place("offset"));
                told = true;
            }
            end = std::max<std::uint64_t>(end, std::uint64_t{entry.offset} + entry.packed);
        }
        if (woffPadded(end) > file_.size() && end <= file_.size()) {
            findings_.add(woff::kLayout, "the last table is not padded", {.offset = end});
        }
        return std::min<std::uint64_t>(end, file_.size());
    }

    // What can come out of a table at most.
    std::uint64_t roomFor(const Entry& entry) const {
        const std::uint64_t packed = file_.clamped(entry.offset, entry.packed).size();
        return entry.packed == entry.length
                   ? packed
                   : std::min<std::uint64_t>(entry.length, packed * kMostPerDeflatedByte);
    }

    std::uint64_t imageSize() const {
        std::uint64_t size = directorySize();
        for (const Entry& entry : entries_) {
            size += woffPadded(roomFor(entry));
        }
        return size;
    }

    void unpackTable(Entry& entry) {
        const ByteView packed = file_.clamped(entry.offset, entry.packed);
        const std::size_t room = roomFor(entry);
        if (!context_.work.spend(room)) {
            findings_.add(kEntangled, "", entry.place());
            return;
        }
        std::uint8_t* const out = image_.data() + end_;
        Inflater::Outcome outcome{packed.size(), packed.size() == entry.packed};
        if (entry.packed != entry.length) {
            outcome = inflater_.inflate(packed, out, room);
        } else if (!packed.empty()) {
            std::memcpy(out, packed.data(), packed.size());
        }
        tellIncomplete(entry, packed, outcome);
        entry.unpackedAt = static_cast<std::uint32_t>(end_);
        entry.unpacked = static_cast<std::uint32_t>(outcome.size);
        const std::size_t padded = woffPadded(outcome.size);
        std::memset(out + outcome.size, 0, padded - outcome.size);
        end_ += padded;
    }

    void tellIncomplete(const Entry& entry, ByteView packed, Inflater::Outcome outcome) {
        const std::string length = std::to_string(entry.length) + " bytes";
        std::string detail = std::to_string(outcome.size) + " of " + length;
        if (packed.size() < entry.packed) {
            detail += ", cut off by the end of the file";
        } else if (entry.packed > entry.length) {
            detail += ", packed into " + std::to_string(entry.packed);
        } else if (outcome.size == entry.length) {
            if (outcome.complete) {
                return;
            }
            detail = "more than " + length + ", or a wrong sum of them";
        }
        findings_.add(woff::kTable, detail, entry.place());
    }

    // What stands before the tables; false when none of them has a byte.
    bool writeDirectory() {
        std::sort(entries_.begin(), entries_.end(),
                  [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
        const auto isLost = [](const Entry& entry) {
            return entry.unpacked == 0 && entry.length != 0;
        };
        entries_.erase(std::remove_if(entries_.begin(), entries_.end(), isLost), entries_.end());
        ByteWriter out;
        // A collection cannot be packed this way, whatever the header says.
        out.u32be(header_.flavor == fourCharCode("ttcf") ? 0x00010000 : header_.flavor);
        const auto tables = static_cast<std::uint16_t>(entries_.size());
        std::uint16_t selector = 0;
        while (2U << selector <= tables) {
            ++selector;
        }
        const auto range = static_cast<std::uint16_t>(16U << selector);
        out.u16be(tables).u16be(range).u16be(selector);
        out.u16be(static_cast<std::uint16_t>(tables * 16U - range));
        for (const Entry& entry : entries_) {
            out.u32be(entry.tag).u32be(entry.sum).u32be(entry.unpackedAt).u32be(entry.unpacked);
        }
        std::memcpy(image_.data(), out.view().data(), out.size());
        return !entries_.empty();
    }

    ByteView file_;
    FaceContext& context_;
    WoffFindings& findings_;
    WoffHeader header_;
    std::vector<Entry> entries_;
    Inflater inflater_;
    ByteBuffer image_;
    std::size_t end_ = 0;
};

}  // namespace

void readWoff(ByteView file, FaceContext& context, FontFaces& faces) {
    context.container = "woff";
    WoffFindings findings;
    WoffUnpacker unpacker(file, context, findings);
    const std::optional<ByteView> image = unpacker.unpack();
    unpacker.checkMetadata();
    if (!image) {
        addUnreadableWoff(context, faces, findings);
        return;
    }
    const std::size_t first = faces.size();
    readUnpackedSfnt(*image, SfntOrigin::eUnpacked, context, faces);
    findings.giveTo(faces, first);
}
