#include "SuitcaseBudget.h"

std::uint64_t SuitcaseBudget::sizeOf(const OxFont& font) {
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
