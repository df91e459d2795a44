#include "EexecDecoder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "HexDigits.h"

namespace {

constexpr std::uint16_t kFirstKey = 55665;
constexpr unsigned kFactor = 52845;
constexpr unsigned kSummand = 22719;
constexpr std::size_t kDeciding = 4;

// What times kFactor is 1 modulo 2^16; each round doubles the bits that are right.
constexpr unsigned kInverse = [] {
    unsigned inverse = 1;
    for (int bits = 1; bits < 16; bits *= 2) {
        inverse = inverse * (2 - kFactor * inverse) & 0xFFFF;
    }
    return inverse;
}();
static_assert((kFactor * kInverse & 0xFFFF) == 1);

constexpr std::size_t kLanes = 8;
constexpr std::size_t kTile = 1024;
using Lanes = std::uint16_t __attribute__((vector_size(sizeof(std::uint16_t) * kLanes)));
using LaneBytes = std::uint8_t __attribute__((vector_size(kLanes)));

using Powers = std::array<std::uint16_t, kTile + kLanes>;

constexpr Powers powersOf(unsigned base) {
    Powers powers{};
    unsigned power = 1;
    for (std::uint16_t& place : powers) {
        place = static_cast<std::uint16_t>(power);
        power = power * base & 0xFFFF;
    }
    return powers;
}

constexpr Powers kFactors = powersOf(kFactor);
constexpr Powers kInverses = powersOf(kInverse);

Lanes lanesOf(const std::uint16_t* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

// In each lane the sum of all lanes up to it.
Lanes runningSums(Lanes lanes) {
    constexpr Lanes kZero{};
    lanes += __builtin_shufflevector(kZero, lanes, 0, 8, 9, 10, 11, 12, 13, 14);
    lanes += __builtin_shufflevector(kZero, lanes, 0, 1, 8, 9, 10, 11, 12, 13);
    return lanes + __builtin_shufflevector(kZero, lanes, 0, 1, 2, 3, 8, 9, 10, 11);
}

// Each key follows from the one before: key' = (cipher + key) * factor + summand, modulo 2^16. One
// byte after the other that costs a multiplication's latency each. But the factor has an inverse,
// and key(i) * inverse^i is a plain sum: the first key plus (cipher(j) + summand * inverse) *
// inverse^j of all bytes before. So eight keys are made side by side.
class KeyStream {
  public:
    void decode(const std::uint8_t* cipher, std::uint8_t* clear, std::size_t count) {
        while (count >= kLanes) {
            const std::size_t tile = std::min(count, kTile) / kLanes * kLanes;
            decodeTile(cipher, clear, tile);
            cipher += tile;
            clear += tile;
            count -= tile;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t byte = cipher[i];
            clear[i] = static_cast<std::uint8_t>(byte ^ key_ >> 8);
            key_ = static_cast<std::uint16_t>((byte + key_) * kFactor + kSummand);
        }
    }

  private:
    // `count`: whole lanes, at most kTile.
    void decodeTile(const std::uint8_t* cipher, std::uint8_t* clear, std::size_t count) {
        constexpr auto kShift = static_cast<std::uint16_t>(kSummand * kInverse);
        Lanes sum = Lanes{} + key_;
        for (std::size_t i = 0; i < count; i += kLanes) {
            LaneBytes bytes;
            std::memcpy(&bytes, cipher + i, sizeof bytes);
            const Lanes wide = __builtin_convertvector(bytes, Lanes);
            const Lanes own = (wide + kShift) * lanesOf(&kInverses[i]);
            const Lanes sums = runningSums(own);
            const Lanes keys = (sum + sums - own) * lanesOf(&kFactors[i]);
            sum += __builtin_shufflevector(sums, sums, 7, 7, 7, 7, 7, 7, 7, 7);
            bytes = __builtin_convertvector(wide ^ keys >> 8, LaneBytes);
            std::memcpy(clear + i, &bytes, sizeof bytes);
        }
        key_ = static_cast<std::uint16_t>(sum[0] * kFactors[count]);
    }

    std::uint16_t key_ = kFirstKey;
};

// The first four cipher bytes are not all hexadecimal digits in a binary part (chapter 7.2).
bool isHexadecimal(std::string_view text) {
    return text.size() >= kDeciding && std::all_of(text.begin(), text.begin() + kDeciding,
                                                   [](char c) { return hexDigit(c) >= 0; });
}

}  // namespace

DecodedEexec::DecodedEexec(ByteView encrypted) {
    const bool isText = isHexadecimal(encrypted.text());
    const std::size_t room = isText ? encrypted.size() / 2 + 1 : encrypted.size();
    bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    if (!isText) {
        size_ = encrypted.size();
        KeyStream().decode(encrypted.data(), bytes_.get(), size_);
        return;
    }
    HexDigits digits(encrypted.text());
    while (const auto byte = digits.next()) {
        bytes_[size_++] = *byte;
    }
    KeyStream().decode(bytes_.get(), bytes_.get(), size_);
}
