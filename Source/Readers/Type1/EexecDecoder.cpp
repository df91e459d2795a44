#include "EexecDecoder.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "HexDigits.h"

namespace {

constexpr std::uint16_t kFirstKey = 55665;
constexpr unsigned kFactor = 52845;
constexpr unsigned kSummand = 22719;
constexpr std::size_t kDeciding = 4;

constexpr unsigned kFactor2 = kFactor * kFactor & 0xFFFF;
constexpr unsigned kFactor4 = kFactor2 * kFactor2 & 0xFFFF;
constexpr unsigned kFactor8 = kFactor4 * kFactor4 & 0xFFFF;

// Each key follows from the one before: key' = (cipher + key) * factor + summand, modulo 2^16. One
// byte after the other that costs a multiplication's latency each. But the key eight bytes further
// is key * factor^8 + a sum over the eight cipher bytes; the sums of all places come of three
// doublings, and eight keys step forward side by side.
class KeyStream {
  public:
    static constexpr std::size_t kLanes = 8;
    static constexpr std::size_t kTile = 2048;

    // Decodes in place.
    void decode(std::uint8_t* bytes, std::size_t count) {
        while (count >= kTile + kLanes) {
            decodeTile(bytes);
            bytes += kTile;
            count -= kTile;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t cipher = bytes[i];
            bytes[i] = static_cast<std::uint8_t>(cipher ^ key_ >> 8);
            key_ = next(key_, cipher);
        }
    }

  private:
    static std::uint16_t next(unsigned key, unsigned cipher) {
        return static_cast<std::uint16_t>((cipher + key) * kFactor + kSummand);
    }

    // Needs kLanes further bytes behind the tile, whose steps are made and not used.
    void decodeTile(std::uint8_t* bytes) {
        constexpr std::size_t kPlaces = kTile + kLanes;
        std::array<std::uint16_t, kPlaces> steps;
        for (std::size_t i = 0; i < kPlaces; ++i) {
            steps[i] = static_cast<std::uint16_t>(bytes[i] * kFactor + kSummand);
        }
        for (std::size_t i = 0; i < kPlaces - 1; ++i) {
            steps[i] = static_cast<std::uint16_t>(steps[i] * kFactor + steps[i + 1]);
        }
        for (std::size_t i = 0; i < kPlaces - 3; ++i) {
            steps[i] = static_cast<std::uint16_t>(steps[i] * kFactor2 + steps[i + 2]);
        }
        for (std::size_t i = 0; i < kTile; ++i) {
            steps[i] = static_cast<std::uint16_t>(steps[i] * kFactor4 + steps[i + 4]);
        }
        std::array<std::uint16_t, kPlaces> keys;
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            keys[lane] = key_;
            key_ = next(key_, bytes[lane]);
        }
        for (std::size_t i = 0; i < kTile; ++i) {
            keys[i + kLanes] = static_cast<std::uint16_t>(keys[i] * kFactor8 + steps[i]);
        }
        for (std::size_t i = 0; i < kTile; ++i) {
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ keys[i] >> 8);
        }
        key_ = keys[kTile];
    }

    std::uint16_t key_ = kFirstKey;
};

// The first four cipher bytes are not all hexadecimal digits in a binary part (chapter 7.2).
bool isHexadecimal(std::string_view text) {
    return text.size() >= kDeciding && std::all_of(text.begin(), text.begin() + kDeciding,
                                                   [](char c) { return hexDigit(c) >= 0; });
}

}  // namespace

std::string decodedEexec(ByteView encrypted) {
    std::string bytes;
    if (isHexadecimal(encrypted.text())) {
        bytes.reserve(encrypted.size() / 2);
        HexDigits digits(encrypted.text());
        while (const auto byte = digits.next()) {
            bytes.push_back(static_cast<char>(*byte));
        }
    } else {
        bytes = encrypted.text();
    }
    KeyStream().decode(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size());
    return bytes;
}
