#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "ByteView.h"

/// A DICT of CFF (Adobe Technical Note 5176, chapter 4): operators, each with its last operand.
/// Bytes that mean nothing are passed over; what the bytes end within is left out.
class CffDict {
  public:
    /// Operators of two bytes are 0x0C00 + the second.
    enum Operator : std::uint16_t {
        eVersion = 0,
        eNotice = 1,
        eFullName = 2,
        eFamilyName = 3,
        eWeightWord = 4,
        eCharset = 15,
        eCharStrings = 17,
        eEscape = 12,
        eCopyrightText = 0x0C00,
        eIsFixedPitch = 0x0C01,
        eItalicAngle = 0x0C02,
        eRos = 0x0C1E,
    };

    explicit CffDict(ByteView bytes);

    /// Of an operator that occurs several times the first operand.
    std::optional<double> operand(std::uint16_t op) const;
    bool has(std::uint16_t op) const { return operand(op).has_value(); }
    /// As a whole number of at least 0.
    std::optional<std::uint32_t> count(std::uint16_t op) const;

  private:
    std::vector<std::pair<std::uint16_t, double>> entries_;
};
