#include "SfntRules.h"

#include <algorithm>
#include <iterator>

#include "SfntFields.h"

namespace {

constexpr int kAdjustmentCode = 11102;
constexpr int kEmptyTable = 11013;
constexpr int kOtherSum = 20104;
constexpr int kNoGlyphs = 20114;

constexpr std::uint64_t kSumWork = 64;
constexpr std::uint32_t kMagicSum = 0xB1B0AFBA;

constexpr SfntTag kGlyf = fourCharCode("glyf");
constexpr SfntTag kLoca = fourCharCode("loca");
constexpr SfntTag kHmtx = fourCharCode("hmtx");

// Which fonts a rule is for.
enum Outlines : unsigned { eTrueType = 1, eCff = 2, eBitmap = 4, eScalable = 3, eAnyGlyphs = 7 };

unsigned outlinesOf(const SfntFont& font) {
    switch (font.glyphTable()) {
        case kGlyf:
            return eTrueType;
        case fourCharCode("CFF "):
        case fourCharCode("CFF2"):
            return eCff;
        case 0:
            return 0;
        default:
            return eBitmap;
    }
}

// The tables that a font needs. Macintosh fonts are sound without those that Windows asks for.
struct NeededTable {
    SfntTag tag;
    int code;
    unsigned outlines;
    bool onMacintosh;
};
constexpr NeededTable kNeeded[] = {
    {fourCharCode("cmap"), 11014, eAnyGlyphs, true},
    {fields::kHead, 11015, eAnyGlyphs, true},
    {fields::kHhea, 11016, eScalable, true},
    {kHmtx, 11017, eScalable, true},
    {kLoca, 11019, eTrueType, true},
    {fields::kMaxp, 11020, eAnyGlyphs, true},
    {fourCharCode("name"), 11021, eAnyGlyphs, true},
    {fields::kOs2, 11022, eScalable, false},
    {fields::kPost, 11023, eScalable, false},
};

// The codes of wrong sums; tables without a row have kOtherSum.
struct SumCode {
    SfntTag tag;
    int code;
};
constexpr SumCode kSumCodes[] = {
    {fourCharCode("cmap"), 11024},
    {fields::kHead, 11025},
    {fields::kHhea, 11026},
    {kGlyf, 11027},
    {kHmtx, 11028},
    {kLoca, 11029},
    {fields::kMaxp, 11030},
    {fourCharCode("name"), 11031},
    {fields::kOs2, 11032},
    {fields::kPost, 11033},
};

// A field and the range of its sound values.
struct FieldRule {
    SfntField field;
    std::int64_t least, most;
    int code;
    FontDiagnosticType severity;
    unsigned outlines;
};
constexpr FieldRule kFieldRules[] = {
    {fields::kMagic, 0x5F0F3CF5, 0x5F0F3CF5, 11103, eError, eAnyGlyphs},
    {fields::kUnitsPerEm, 16, 16384, 20115, eError, eScalable},
    {fields::kLocaFormat, 0, 1, 11108, eError, eTrueType},
    {fields::kMetricCount, 1, 0xFFFF, 11516, eError, eScalable},
    {fields::kNumGlyphs, 1, 0xFFFF, 11401, eError, eAnyGlyphs},
};

bool isMacintosh(SfntFont& font) {
    const std::string container = font.face().text("container");
    return font.version() == fourCharCode("true") || container == "suitcase" ||
           container == "dfont" || container == "printer-font";
}

void checkTables(SfntFont& font) {
    const unsigned outlines = outlinesOf(font);
    if (outlines == 0 && font.version() != fourCharCode("typ1") && !font.tables().empty()) {
        font.find(kNoGlyphs, "none of glyf, CFF, CFF2, EBDT, bdat, sbix, CBDT");
    }
    for (const NeededTable& row : kNeeded) {
        if ((row.outlines & outlines) == 0) {
            continue;
        }
        const FontTable* table = font.table(row.tag);
        if (table == nullptr) {
            const bool isNeeded = row.onMacintosh || !isMacintosh(font);
            font.find(isNeeded ? eError : eNote, row.code, "", {.table = tagText(row.tag)});
        } else if (table->length == 0 && row.tag != kLoca) {
            font.find(eError, kEmptyTable, tagText(row.tag), font.place(*table));
        }
    }
}

std::string range(std::int64_t least, std::int64_t most) {
    return least == most    ? hexadecimal(static_cast<std::uint64_t>(least))
           : most == 0xFFFF ? "at least " + std::to_string(least)
                            : std::to_string(least) + " to " + std::to_string(most);
}

void checkFields(SfntFont& font) {
    const unsigned outlines = outlinesOf(font);
    for (const FieldRule& row : kFieldRules) {
        const auto value = (row.outlines & outlines) != 0 ? font.require(row.field) : std::nullopt;
        if (!value || (*value >= row.least && *value <= row.most)) {
            continue;
        }
        const std::string found = row.least == row.most
                                      ? hexadecimal(static_cast<std::uint64_t>(*value))
                                      : std::to_string(*value);
        font.find(row.severity, row.code, found + ", should be " + range(row.least, row.most),
                  font.place(*font.table(row.field.table), row.field.name, row.field.offset));
    }
}

// What must agree between tables: a length, and the least that other tables ask of it.
struct LengthRule {
    SfntTag table;
    int code;
    std::uint64_t (*least)(const SfntFont&);
};

std::uint64_t metricsLength(const SfntFont& font) {
    const auto metrics = static_cast<std::uint64_t>(font.value(fields::kMetricCount).value_or(0));
    const auto glyphs = static_cast<std::uint64_t>(font.value(fields::kNumGlyphs).value_or(0));
    return 4 * metrics + (glyphs > metrics ? 2 * (glyphs - metrics) : 0);
}

std::uint64_t locationSize(const SfntFont& font) {
    return font.value(fields::kLocaFormat).value_or(0) == 0 ? 2 : 4;
}

std::uint64_t locationsLength(const SfntFont& font) {
    const auto glyphs = font.value(fields::kNumGlyphs);
    const std::int64_t format = font.value(fields::kLocaFormat).value_or(-1);
    return glyphs && (format == 0 || format == 1)
               ? (static_cast<std::uint64_t>(*glyphs) + 1) * locationSize(font)
               : 0;
}

// Where the last glyph's data end.
std::uint64_t glyphsLength(const SfntFont& font) {
    const FontTable* loca = font.table(kLoca);
    const std::uint64_t end = locationsLength(font);
    if (loca == nullptr || end == 0 || loca->bytes.size() < end) {
        return 0;
    }
    return locationSize(font) == 2 ? loca->bytes.u16be(end - 2) * std::uint64_t{2}
                                   : loca->bytes.u32be(end - 4);
}

constexpr LengthRule kLengthRules[] = {
    {kHmtx, 20116, metricsLength},
    {kLoca, 20117, locationsLength},
    {kGlyf, 20118, glyphsLength},
};

void checkLengths(SfntFont& font) {
    for (const LengthRule& row : kLengthRules) {
        const FontTable* table = font.table(row.table);
        const std::uint64_t least = table == nullptr ? 0 : row.least(font);
        if (table != nullptr && table->length < least) {
            font.find(row.code,
                      std::to_string(table->length) + " bytes, should be at least " +
                          std::to_string(least),
                      font.place(*table));
        }
    }
}

void checkSums(SfntFont& font) {
    for (const FontTable& table : font.tables()) {
        const auto sum = table.isCut() ? std::nullopt : computedSum(font, table);
        if (!sum || *sum == table.stored) {
            continue;
        }
        const auto* row = std::find_if(std::begin(kSumCodes), std::end(kSumCodes),
                                       [&table](const SumCode& r) { return r.tag == table.tag; });
        font.find(eWarning, row == std::end(kSumCodes) ? kOtherSum : row->code,
                  hexadecimal(table.stored) + ", should be " + hexadecimal(*sum),
                  font.place(table));
    }
}

// The adjustment makes the whole file's sum kMagicSum. Of a file whose tables are not all there it
// says nothing.
void checkAdjustment(SfntFont& font) {
    const FontTable* head = font.table(fields::kHead);
    const auto stored = font.value(fields::kAdjustment);
    const bool isWhole = std::none_of(font.tables().begin(), font.tables().end(),
                                      [](const FontTable& table) { return table.isCut(); });
    const ByteView image = font.shared().image;
    if (!stored || !isWhole || head->offset % 4 != 0 || !font.spend(image.size() / 4)) {
        return;
    }
    const auto adjustment = static_cast<std::uint32_t>(*stored);
    const std::uint32_t sum = font.shared().sums.whole(font.tables());
    const std::uint32_t expected = kMagicSum - (sum - adjustment);
    if (expected != adjustment) {
        font.find(eNote, kAdjustmentCode,
                  hexadecimal(adjustment) + ", should be " + hexadecimal(expected),
                  font.place(*head, fields::kAdjustment.name, fields::kAdjustment.offset));
    }
}

}  // namespace

std::optional<std::uint32_t> computedSum(SfntFont& font, const FontTable& table) {
    TableSums& sums = font.shared().sums;
    if (!sums.knows(table.offset, table.length) && !font.spend(kSumWork + table.bytes.size() / 4)) {
        return std::nullopt;
    }
    const TableSums::Sum sum = sums.of(table.offset, table.length);
    const bool isHead = table.tag == fields::kHead || table.tag == fourCharCode("bhed");
    const std::uint32_t adjustment = isHead && table.bytes.holds(fields::kAdjustment.offset, 4)
                                         ? table.bytes.u32be(fields::kAdjustment.offset)
                                         : 0;
    const std::uint32_t other = sum.fileFilled - adjustment;
    return other == table.stored ? other : sum.zeroFilled - adjustment;
}

void checkRules(SfntFont& font) {
    checkTables(font);
    checkFields(font);
    checkLengths(font);
    if (font.shared().origin != SfntOrigin::eRebuilt) {
        checkSums(font);
    }
    if (font.shared().origin == SfntOrigin::eOriginal && !font.shared().isCollection) {
        checkAdjustment(font);
    }
}
