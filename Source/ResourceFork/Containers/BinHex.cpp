#include "BinHex.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Crc16.h"

namespace binhex {

namespace {

constexpr std::string_view kLine = "(This file must be converted with BinHex";
constexpr std::string_view kAlphabet =
    "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
constexpr std::uint8_t kRunMarker = 0x90;
constexpr std::uint8_t kNameLimit = 63;
constexpr std::size_t kFixedHeader = 22;  // all of the header but its name

constexpr std::uint8_t kDamage = 0xFF;
constexpr std::uint8_t kSkipped = 0xFE;
constexpr std::uint8_t kColon = 0xFD;

// What a character means: a value below 64 or one of the above.
constexpr auto kMeaning = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kDamage);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        table[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    }
    for (const char c : {'\r', '\n', ' ', '\t'}) {
        table[static_cast<std::uint8_t>(c)] = kSkipped;
    }
    table[':'] = kColon;
    return table;
}();

constexpr bool isLineEnd(std::uint8_t c) {
    return c == '\r' || c == '\n';
}

enum class Wanted { eHeader, eDataFork, eResourceFork };

// Takes the unpacked bytes, in runs, and keeps the header and the fork that is wanted.
class Parts {
  public:
    Parts(Wanted wanted, std::uint64_t forkLimit) : wanted_(wanted), forkLimit_(forkLimit) {}

    bool finished() const { return part_ == Part::eDone || part_ == Part::eDamaged; }
    bool complete() const { return part_ == Part::eDone; }
    const Header& header() const { return header_; }
    std::vector<std::uint8_t>& fork() { return fork_; }

    void take(std::uint8_t byte, std::uint32_t count) {
        while (count > 0 && !finished()) {
            count -= takeSome(byte, count);
        }
    }

  private:
    enum class Part { eHeader, eData, eFork, eDone, eDamaged };

    std::uint32_t takeSome(std::uint8_t byte, std::uint32_t count) {
        if (part_ == Part::eHeader) {
            small_.push_back(byte);
            takeHeader();
            return 1;
        }
        const auto used = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, left_));
        if (part_ == wantedPart()) {
            fork_.insert(fork_.end(), used, byte);
        }
        left_ -= used;
        if (left_ == 0) {
            endPart();
        }
        return used;
    }

    void takeHeader() {
        const std::size_t nameLength = small_.front();
        if (nameLength == 0 || nameLength > kNameLimit) {
            part_ = Part::eDamaged;
        } else if (small_.size() == nameLength + kFixedHeader) {
            const ByteView bytes(small_.data(), small_.size());
            const std::size_t end = bytes.size() - 2;
            const bool intact =
                bytes.u8(nameLength + 1) == 0 &&
                crc16(bytes.slice(0, static_cast<std::uint32_t>(end))) == bytes.u16be(end);
            readFields(bytes.from(nameLength + 2));
            if (!intact) {
                part_ = Part::eDamaged;
            } else if (wanted_ == Wanted::eHeader) {
                part_ = Part::eDone;
            } else {
                begin(Part::eData, header_.dataLength);
            }
        }
    }

    Part wantedPart() const { return wanted_ == Wanted::eDataFork ? Part::eData : Part::eFork; }

    void begin(Part part, std::uint32_t length) {
        part_ = part == wantedPart() && length > forkLimit_ ? Part::eDamaged : part;
        length_ = length;
        left_ = std::uint64_t{length} + 2;
    }

    void readFields(ByteView fields) {
        header_.finderInfo = FinderInfo::from(fields.slice(0, 10));
        header_.dataLength = fields.u32be(10);
        header_.forkLength = fields.u32be(14);
    }

    void endPart() {
        if (part_ != wantedPart()) {
            begin(Part::eFork, header_.forkLength);
            return;
        }
        const ByteView bytes(fork_.data(), fork_.size());
        const std::uint16_t stored = bytes.u16be(length_);
        const bool intact = crc16(bytes.slice(0, length_)) == stored;
        fork_.resize(length_);
        part_ = intact ? Part::eDone : Part::eDamaged;
    }

    Wanted wanted_;
    std::uint64_t forkLimit_;
    Part part_ = Part::eHeader;
    std::vector<std::uint8_t> small_;
    Header header_;
    std::uint32_t length_ = 0;  // of the part
    std::uint64_t left_ = 0;    // of it, its CRC included
    std::vector<std::uint8_t> fork_;
};

// Characters to bytes to unpacked runs of bytes.
class Decoder {
  public:
    explicit Decoder(Parts& parts) : parts_(parts) {}

    // False when no more text is needed: all is there, or damage was met.
    bool take(ByteView text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (!takeCharacter(text.u8(i)) || parts_.finished()) {
                return false;
            }
        }
        return true;
    }

  private:
    bool takeCharacter(std::uint8_t c) {
        if (!started_) {
            started_ = c == ':' && isLineEnd(previous_);
            previous_ = c;
            return true;
        }
        const std::uint8_t value = kMeaning[c];
        if (value == kSkipped) {
            return true;
        }
        if (value >= 64) {
            return false;
        }
        bits_ = (bits_ << 6 | value) & 0xFFFF;
        bitCount_ += 6;
        if (bitCount_ >= 8) {
            bitCount_ -= 8;
            return takeByte(static_cast<std::uint8_t>(bits_ >> bitCount_));
        }
        return true;
    }

    bool takeByte(std::uint8_t byte) {
        if (inRun_) {
            inRun_ = false;
            if (byte == 0) {
                emit(kRunMarker);
            } else if (!anyByte_) {
                return false;  // a run of nothing
            } else {
                parts_.take(last_, byte - 1u);
            }
        } else if (byte == kRunMarker) {
            inRun_ = true;
        } else {
            emit(byte);
        }
        return true;
    }

    void emit(std::uint8_t byte) {
        last_ = byte;
        anyByte_ = true;
        parts_.take(byte, 1);
    }

    Parts& parts_;
    bool started_ = false;
    std::uint8_t previous_ = 0;
    unsigned bits_ = 0;
    unsigned bitCount_ = 0;
    bool inRun_ = false;
    bool anyByte_ = false;
    std::uint8_t last_ = 0;
};

}  // namespace

std::optional<std::size_t> findText(ByteView start) {
    const std::string_view text = start.text();
    for (std::size_t at = text.find(kLine); at != text.npos; at = text.find(kLine, at + 1)) {
        if (at == 0 || isLineEnd(start.u8(at - 1))) {
            return at + kLine.size();
        }
    }
    return std::nullopt;
}

std::optional<Header> readHeader(ByteView text) {
    Parts parts(Wanted::eHeader, 0);
    Decoder(parts).take(text);
    return parts.complete() ? std::optional(parts.header()) : std::nullopt;
}

namespace {

std::optional<std::vector<std::uint8_t>> decode(Wanted wanted, const NextPiece& next,
                                                std::uint64_t limit) {
    Parts parts(wanted, limit);
    Decoder decoder(parts);
    for (ByteView piece = next(); !piece.empty(); piece = next()) {
        if (!decoder.take(piece)) {
            break;
        }
    }
    return parts.complete() ? std::optional(std::move(parts.fork())) : std::nullopt;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> decodeFork(const NextPiece& next, std::uint64_t limit) {
    return decode(Wanted::eResourceFork, next, limit);
}

std::optional<std::vector<std::uint8_t>> decodeDataFork(const NextPiece& next,
                                                        std::uint64_t limit) {
    return decode(Wanted::eDataFork, next, limit);
}

}  // namespace binhex
