#pragma once

#include <cstdint>

#include "OxFont.h"

/// What one file of resources may cost.
///
/// A few megabytes of families can name the same resources and style names a million times over.
/// The limits lie far beyond every real suitcase; they keep a made-up one from filling the memory
/// or holding up the scan.
class SuitcaseBudget {
  public:
    static constexpr std::uint64_t kMostTextKept = std::uint64_t{256} << 20;
    static constexpr std::uint64_t kMostWork = std::uint64_t{8} << 30;

    /// Bytes that a record takes, roughly.
    static std::uint64_t sizeOf(const OxFont& font);

    /// A bitmap entry's names are put together and its printer font is looked for, which is slower
    /// than to digest as many bytes.
    void addStrike(const OxFont& font) { work_ += kStrikeWork + 8 * sizeOf(font); }
    /// In bytes digested, or as slow.
    void addWork(std::uint64_t bytes) { work_ += bytes; }
    void addKept(const OxFont& font) { textKept_ += sizeOf(font); }
    bool isExhausted() const { return work_ > kMostWork || textKept_ > kMostTextKept; }

  private:
    static constexpr std::uint64_t kStrikeWork = std::uint64_t{32} * 1024;

    std::uint64_t work_ = 0;
    std::uint64_t textKept_ = 0;
};
