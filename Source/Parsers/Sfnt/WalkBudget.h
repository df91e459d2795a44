#pragma once

#include <cstdint>

/// What the directory walks of one image, all members of a collection together, may ask for beside
/// checksums. Directory records may all name one table, so a small file can ask for far more work,
/// and diagnostics, than its size explains. Tables that do not overlap never come near the limit.
struct WalkBudget {
    static constexpr std::uint64_t kStepAllowance = std::uint64_t{4} * 65536;
    /// What 36 'name' tables, the most of a directory, of 65,535 records and eight texts of 64 KB
    /// each ask for is less: names are cheap, and only members of a collection go past it.
    static constexpr std::uint64_t kNameAllowance = std::uint64_t{41} * 65536;
    static constexpr std::uint64_t kBytesPerStep = 4;
    static constexpr std::uint64_t kTextPerStep = 64;

    /// 'kern' subtables and names of a 'CFF' that were looked at, with the latter's text in units
    /// of kTextPerStep.
    std::uint64_t steps = 0;
    /// Records of 'name' tables that were looked at, with their text in the same units.
    std::uint64_t names = 0;

    /// Whether one more table may be begun in an image of `size` bytes.
    bool allowsMore(std::uint64_t size) const {
        return steps <= size / kBytesPerStep + kStepAllowance &&
               names <= size / kBytesPerStep + kNameAllowance;
    }
};
