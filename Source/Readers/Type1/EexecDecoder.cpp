#include "EexecDecoder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "HexDigits.h"

namespace {

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
constexpr auto kShift = static_cast<std::uint16_t>(kSummand * kInverse);

Lanes wideBytes(const std::uint8_t* from) {
    LaneBytes bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return __builtin_convertvector(bytes, Lanes);
}

// The key behind `count` bytes, whole lanes and at most kTile.
std::uint16_t decodeTile(std::uint16_t key, const std::uint8_t* cipher, std::uint8_t* clear,
                         std::size_t count) {
    Lanes sum = Lanes{} + key;
    for (std::size_t i = 0; i < count; i += kLanes) {
        const Lanes wide = wideBytes(cipher + i);
        const Lanes own = (wide + kShift) * lanesOf(&kInverses[i]);
        const Lanes sums = runningSums(own);
        const Lanes keys = (sum + sums - own) * lanesOf(&kFactors[i]);
        sum += __builtin_shufflevector(sums, sums, 7, 7, 7, 7, 7, 7, 7, 7);
        const LaneBytes bytes = __builtin_convertvector(wide ^ keys >> 8, LaneBytes);
        std::memcpy(clear + i, &bytes, sizeof bytes);
    }
    return static_cast<std::uint16_t>(unsigned{sum[0]} * kFactors[count]);
}

// The same without the bytes; `count`: any up to kTile.
std::uint16_t skipTile(std::uint16_t key, const std::uint8_t* cipher, std::size_t count) {
    Lanes sums{};
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        sums += (wideBytes(cipher + i) + kShift) * lanesOf(&kInverses[i]);
    }
    unsigned sum = key;
    for (; i < count; ++i) {
        sum += (cipher[i] + unsigned{kShift}) * kInverses[i];
    }
    return static_cast<std::uint16_t>((sum + runningSums(sums)[kLanes - 1]) * kFactors[count]);
}

// The first four cipher bytes are not all hexadecimal digits in a binary part (chapter 7.2).
bool isHexadecimal(std::string_view text) {
    return text.size() >= kDeciding && std::all_of(text.begin(), text.begin() + kDeciding,
                                                   [](char c) { return hexDigit(c) >= 0; });
}

}  // namespace

void EexecKeys::decode(const std::uint8_t* cipher, std::uint8_t* clear, std::size_t count) {
    std::size_t done = 0;
    while (count - done >= kLanes) {
        const std::size_t tile = std::min(count - done, kTile) / kLanes * kLanes;
        key_ = decodeTile(key_, cipher + done, clear + done, tile);
        done += tile;
    }
    for (; done < count; ++done) {
        const std::uint8_t byte = cipher[done];
        clear[done] = static_cast<std::uint8_t>(byte ^ key_ >> 8);
        key_ = static_cast<std::uint16_t>((byte + key_) * kFactor + kSummand);
    }
}

void EexecKeys::skip(const std::uint8_t* cipher, std::size_t count) {
    for (std::size_t done = 0; done < count; done += kTile) {
        key_ = skipTile(key_, cipher + done, std::min(count - done, kTile));
    }
}

DecodedEexec::DecodedEexec(ByteView encrypted) : cipher_(encrypted.data()) {
    const bool isText = isHexadecimal(encrypted.text());
    const std::size_t room = isText ? encrypted.size() / 2 + 1 : encrypted.size();
    bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    if (!isText) {
        size_ = encrypted.size();
        return;
    }
    HexDigits digits(encrypted.text());
    while (const auto byte = digits.next()) {
        bytes_[size_++] = *byte;
    }
    cipher_ = bytes_.get();
}

void DecodedEexec::decodeTo(std::size_t end) {
    end = std::min(end, size_);
    if (end > decoded_) {
        // A little more costs nothing: whole lanes are decoded side by side.
        const std::size_t lanes = (end - decoded_ + kLanes - 1) / kLanes * kLanes;
        const std::size_t count = std::min(lanes, size_ - decoded_);
        keys_.decode(cipher_ + decoded_, bytes_.get() + decoded_, count);
        decoded_ += count;
    }
}

void DecodedEexec::skipTo(std::size_t end) {
    if (end > decoded_) {
        keys_.skip(cipher_ + decoded_, end - decoded_);
        decoded_ = end;
    }
}

std::size_t DecodedEexec::find(std::string_view word, std::size_t from) {
    constexpr std::size_t kStep = 4096;
    for (;;) {
        const std::size_t place = text().substr(0, decoded_).find(word, from);
        if (place != std::string_view::npos || decoded_ == size_) {
            return place;
        }
        // The word may lie across the end of what was decoded.
        from = std::max(from, decoded_ - std::min(decoded_, word.size() - 1));
        decodeTo(decoded_ + kStep);
    }
}
