#include "CffDict.h"

#include <string>

#include "PostScriptScanner.h"

namespace {

constexpr std::uint8_t kLastOperator = 21;
constexpr std::uint8_t kShort = 28;
constexpr std::uint8_t kLong = 29;
constexpr std::uint8_t kReal = 30;
constexpr std::uint8_t kFirstByteNumber = 32;
constexpr std::uint8_t kFirstPositivePair = 247;
constexpr std::uint8_t kFirstNegativePair = 251;
constexpr std::size_t kLongestReal = 40;

// A real number: a decimal text in half bytes. Moves behind it.
double realAt(ByteView bytes, std::uint64_t& at) {
    constexpr std::string_view kDigits[] = {"0", "1", "2", "3", "4",  "5", "6", "7",
                                            "8", "9", ".", "E", "E-", "",  "-"};
    constexpr unsigned kEnd = 15;
    std::string text;
    while (true) {
        const unsigned byte = bytes.u8(at++, "real number");
        for (const unsigned half : {byte >> 4, byte & 15}) {
            if (half == kEnd) {
                return numberIn(text).value_or(0);
            }
            if (text.size() < kLongestReal) {
                text += kDigits[half];
            }
        }
    }
}

// An operand whose first byte is `first`; `at` is behind that, and then behind the operand.
double operandAt(ByteView bytes, std::uint8_t first, std::uint64_t& at) {
    if (first == kShort) {
        at += 2;
        return bytes.s16be(at - 2);
    }
    if (first == kLong) {
        at += 4;
        return bytes.s32be(at - 4);
    }
    if (first == kReal) {
        return realAt(bytes, at);
    }
    if (first < kFirstPositivePair) {
        return first - 139;
    }
    const int second = bytes.u8(at++);
    return first < kFirstNegativePair ? (first - kFirstPositivePair) * 256 + second + 108
                                      : -(first - kFirstNegativePair) * 256 - second - 108;
}

bool isOperand(std::uint8_t first) {
    return first == kShort || first == kLong || first == kReal ||
           (first >= kFirstByteNumber && first != 0xFF);
}

}  // namespace

CffDict::CffDict(ByteView bytes) try {
    double last = 0;
    for (std::uint64_t at = 0; at < bytes.size();) {
        const std::uint8_t first = bytes.u8(at++);
        if (isOperand(first)) {
            last = operandAt(bytes, first, at);
        } else if (first <= kLastOperator) {
            const bool escaped = first == eEscape;
            const unsigned op = escaped ? eCopyrightText + bytes.u8(at++, "operator") : first;
            entries_.emplace_back(static_cast<std::uint16_t>(op), last);
        }
    }
} catch (const ReadPastEnd&) {
}

std::optional<double> CffDict::operand(std::uint16_t op) const {
    for (const auto& [key, value] : entries_) {
        if (key == op) {
            return value;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> CffDict::count(std::uint16_t op) const {
    const std::optional<double> value = operand(op);
    return value && *value >= 0 && *value <= UINT32_MAX
               ? std::optional(static_cast<std::uint32_t>(*value))
               : std::nullopt;
}
