#pragma once

#include <cstddef>
#include <cstdint>

/// What the members of one collection, a file or a resource, may ask for altogether. Members may
/// share tables, so a small collection can ask for far more work than its size explains.
struct CollectionBudget {
    /// The diagnostic (eError, code 0) of the last record made.
    static constexpr char kTooEntangled[] = "Font data is too entangled to check";

    static constexpr std::size_t kMostRecords = 4096;
    static constexpr std::uint64_t kMostTimesSummed = 256;
    static constexpr std::uint64_t kMostTimesDigested = 64;
    static constexpr std::uint64_t kAllowance = 16 * 1024 * 1024;

    std::uint64_t size;  ///< of the file or resource in bytes

    /// Whether one more record may be begun after `records`, for which tables of `summed` bytes
    /// were asked for and `digested` bytes were digested.
    bool allowsMore(std::size_t records, std::uint64_t summed, std::uint64_t digested) const {
        return records < kMostRecords && summed <= kMostTimesSummed * size + kAllowance &&
               digested <= kMostTimesDigested * size + kAllowance;
    }
};
