#pragma once

#include <cstdint>

/// What the directory walks of one image, all members of a collection together, may ask for beside
/// checksums. Directory records may all name one table, so a small file can ask for far more work,
/// and diagnostics, than its size explains. Tables that do not overlap never come near the limit.
struct WalkBudget {
    static constexpr std::uint64_t kAllowance = 4 * 65536;
    static constexpr std::uint64_t kBytesPerStep = 4;
    static constexpr std::uint64_t kTextPerStep = 64;

    /// 'kern' subtables and records of names that were looked at, and text in units of
    /// kTextPerStep.
    std::uint64_t steps = 0;

    void addText(std::uint64_t bytes) { steps += bytes / kTextPerStep; }
    /// Whether one more table may be begun in an image of `size` bytes.
    bool allowsMore(std::uint64_t size) const { return steps <= size / kBytesPerStep + kAllowance; }
};
