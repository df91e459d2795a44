#include "WorkBudget.h"

namespace {

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

// Of one image, however many directories it has.
constexpr std::uint64_t kBytesPerStep = 4;
constexpr std::uint64_t kStepAllowance = std::uint64_t{4} * 65536;
// What 36 'name' tables, the most of a directory, of 65,535 records and eight texts of 64 KB each
// ask for is less: names are cheap, and only members of a collection go past it.
constexpr std::uint64_t kNameAllowance = std::uint64_t{41} * 65536;

// Of a collection, in multiples of its size.
constexpr std::uint64_t kMostTimesSummed = 256;
constexpr std::uint64_t kMostTimesDigested = 64;
constexpr std::uint64_t kAllowance = 16 * kMebibyte;

// What costs as much as digesting so many bytes.
constexpr std::uint64_t kSumsPerDigest = 8;  // a byte is summed that much faster than digested
constexpr std::uint64_t kStepCost = 256;
constexpr std::uint64_t kNameCost = 64;
constexpr std::uint64_t kStrikeCost = std::uint64_t{32} * 1024;

constexpr std::uint64_t kMostTextKept = 256 * kMebibyte;
constexpr std::uint64_t kMostSuitcaseWork = 8192 * kMebibyte;

}  // namespace

void reportTooEntangled(OxFont& last) {
    if (last.diagnostics().empty() || last.diagnostics().back().text != kTooEntangled) {
        last.addDiagnostic(eError, 0, kTooEntangled);
    }
}

void SfntWork::addSum(std::uint32_t length) {
    if (static_cast<std::int32_t>(length) > 0) {  // others have no sum
        bytesSummed_ += length;
    }
}

bool SfntWork::allowsTable(std::uint64_t size) const {
    return steps_ <= size / kBytesPerStep + kStepAllowance &&
           names_ <= size / kBytesPerStep + kNameAllowance;
}

bool SfntWork::allowsMember(std::uint64_t size, std::size_t records, std::uint64_t digested) const {
    return records < kMostRecords && allowsTable(size) &&
           bytesSummed_ <= kMostTimesSummed * size + kAllowance &&
           digested <= kMostTimesDigested * size + kAllowance;
}

std::uint64_t SfntWork::cost() const {
    return bytesSummed_ / kSumsPerDigest + steps_ * kStepCost + names_ * kNameCost;
}

std::uint64_t SuitcaseWork::sizeOf(const OxFont& font) {
    constexpr std::uint64_t kRecord = 512;
    constexpr std::uint64_t kEntry = 96;  // of the attribute map or of a list
    std::uint64_t size = kRecord;
    for (const auto& [key, value] : font.attributes()) {
        size += kEntry + value.size();
    }
    for (const FontDiagnostic& diagnostic : font.diagnostics()) {
        size += kEntry + diagnostic.text.size();
    }
    return size;
}

void SuitcaseWork::addStrike(const OxFont& font) {
    work_ += kStrikeCost + 8 * sizeOf(font);
}

bool SuitcaseWork::isExhausted() const {
    return work_ > kMostSuitcaseWork || textKept_ > kMostTextKept;
}
