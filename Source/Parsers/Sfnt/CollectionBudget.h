#pragma once

#include <cstddef>
#include <cstdint>

#include "OxFont.h"
#include "WalkBudget.h"

/// What the members of one collection, a file or a resource, may ask for altogether. Members may
/// share tables, so a small collection can ask for far more work than its size explains.
struct CollectionBudget {
    static constexpr char kTooEntangled[] = "Font data is too entangled to check";
    /// Tells of the end on the last record made (eError, code 0), once.
    static void report(OxFont& last) {
        if (last.diagnostics().empty() || last.diagnostics().back().text != kTooEntangled) {
            last.addDiagnostic(eError, 0, kTooEntangled);
        }
    }

    static constexpr std::size_t kMostRecords = 4096;
    static constexpr std::uint64_t kMostTimesSummed = 256;
    static constexpr std::uint64_t kMostTimesDigested = 64;
    static constexpr std::uint64_t kAllowance = std::uint64_t{16} * 1024 * 1024;

    std::uint64_t size;  ///< of the file or resource in bytes

    /// Whether one more record may be begun after `records`, for which tables of `summed` bytes
    /// were asked for and `digested` bytes were digested.
    bool allowsMore(std::size_t records, std::uint64_t summed, std::uint64_t digested,
                    const WalkBudget& walks) const {
        return records < kMostRecords && walks.allowsMore(size) &&
               summed <= kMostTimesSummed * size + kAllowance &&
               digested <= kMostTimesDigested * size + kAllowance;
    }
};
