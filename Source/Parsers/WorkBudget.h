#pragma once

#include <cstddef>
#include <cstdint>

#include "OxFont.h"

/// What one file may cost: parts of a file may name each other many times over, so a small file can
/// ask for far more work, and records, than its size explains. The limits lie far beyond every real
/// font; files whose parts do not overlap never come near them.

/// The diagnostic (eError, code 0) of a file that is cut short.
constexpr char kTooEntangled[] = "Font data is too entangled to check";
/// Tells of the end on the last record made, once.
void reportTooEntangled(OxFont& last);

/// What the directory walks of one image, all members of a collection together, have asked for.
/// It counts what is asked for, not what had to be done, so that it does not depend on what is
/// remembered.
class SfntWork {
  public:
    static constexpr std::size_t kMostRecords = 4096;

    /// A checksum over a table of that length.
    void addSum(std::uint32_t length);
    /// A 'kern' subtable, or a name of a 'CFF' table.
    void addStep() { ++steps_; }
    /// Text of the latter.
    void addStepText(std::size_t size) { steps_ += size / kTextPerStep; }
    /// A record of a 'name' table.
    void addName() { ++names_; }
    /// Its text.
    void addNameText(std::size_t size) { names_ += size / kTextPerStep; }

    /// Whether one more table may be begun in an image of `size` bytes.
    bool allowsTable(std::uint64_t size) const;
    /// Whether one more member of a collection, file or resource, of `size` bytes may be begun
    /// after `records`, for which `digested` bytes were digested.
    bool allowsMember(std::uint64_t size, std::size_t records, std::uint64_t digested) const;
    /// In bytes digested, or as slow.
    std::uint64_t cost() const;

  private:
    static constexpr std::uint64_t kTextPerStep = 64;

    std::uint64_t bytesSummed_ = 0;
    std::uint64_t steps_ = 0;
    std::uint64_t names_ = 0;
};

/// What one file of resources has cost. A few megabytes of families can name the same resources and
/// style names a million times over.
class SuitcaseWork {
  public:
    /// Bytes that a record takes, roughly.
    static std::uint64_t sizeOf(const OxFont& font);

    /// A bitmap entry's names are put together and its printer font is looked for, which is slower
    /// than to digest as many bytes.
    void addStrike(const OxFont& font);
    /// In bytes digested, or as slow.
    void addWork(std::uint64_t bytes) { work_ += bytes; }
    void addKept(const OxFont& font) { textKept_ += sizeOf(font); }
    bool isExhausted() const;

  private:
    std::uint64_t work_ = 0;
    std::uint64_t textKept_ = 0;
};
