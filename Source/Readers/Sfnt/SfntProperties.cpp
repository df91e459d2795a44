#include "SfntProperties.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <initializer_list>

#include "SfntFields.h"
#include "SfntRules.h"

namespace {

constexpr std::uint32_t kIdlePrepLength = 7;  // what tools write that switch hinting off
constexpr std::uint64_t kListedTableWork = 1024;

enum class As { eNumber, eDecimal, eFlag, eTag, eDate };

struct FieldProperty {
    const char* property;
    SfntField field;
    As as;
    unsigned fromOs2Version = 0;
};

// In the order of properties, as far as they follow each other.
constexpr FieldProperty kStyle[] = {
    {"weight", fields::kWeight, As::eNumber},
    {"width", fields::kWidth, As::eNumber},
    {"monospace", fields::kFixedPitch, As::eFlag},
};
constexpr FieldProperty kOrigin[] = {
    {"italicAngle", fields::kItalicAngle, As::eDecimal},
    {"vendor", fields::kVendor, As::eTag},
};
constexpr FieldProperty kMeasures[] = {
    {"unitsPerEm", fields::kUnitsPerEm, As::eNumber},
    {"ascender", fields::kAscender, As::eNumber},
    {"descender", fields::kDescender, As::eNumber},
    {"lineGap", fields::kLineGap, As::eNumber},
    {"xHeight", fields::kXHeight, As::eNumber, 2},
    {"capHeight", fields::kCapHeight, As::eNumber, 2},
    {"glyphs", fields::kNumGlyphs, As::eNumber},
    {"created", fields::kCreated, As::eDate},
    {"modified", fields::kModified, As::eDate},
    {"revision", fields::kRevision, As::eDecimal},
};

// Seconds since 1904 as ISO 8601; empty outside 1980 to 2100, where they mean something else.
std::string dateText(std::int64_t seconds) {
    using namespace std::chrono;
    constexpr sys_days kEpoch = 1904y / January / 1;
    constexpr std::int64_t kFirst = (sys_days(1980y / January / 1) - kEpoch) / 1s;
    constexpr std::int64_t kEnd = (sys_days(2101y / January / 1) - kEpoch) / 1s;
    if (seconds < kFirst || seconds >= kEnd) {
        return {};
    }
    const sys_days day = kEpoch + days(seconds / 86400);
    const year_month_day date(day);
    const auto rest = static_cast<int>(seconds % 86400);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), rest / 3600, rest / 60 % 60, rest % 60);
    return text;
}

void setProperty(SfntFont& font, const FieldProperty& row, std::int64_t value) {
    Face& face = font.face();
    switch (row.as) {
        case As::eNumber:
            return face.set(row.property, static_cast<double>(value));
        case As::eDecimal:
            return face.setDecimal(row.property, static_cast<double>(value) / 65536.0);
        case As::eFlag:
            return face.set(row.property, value != 0);
        case As::eTag:
            return face.setText(row.property, tagText(static_cast<SfntTag>(value)));
        case As::eDate:
            return face.setText(row.property, dateText(value));
    }
}

void setFields(SfntFont& font, std::span<const FieldProperty> rows) {
    const std::int64_t version = font.value(fields::kOs2Version).value_or(0);
    for (const FieldProperty& row : rows) {
        const bool exists = version >= row.fromOs2Version;
        if (const auto value = exists ? font.require(row.field) : std::nullopt) {
            setProperty(font, row, *value);
        }
    }
}

bool hasAny(const SfntFont& font, std::initializer_list<SfntTag> tags) {
    return std::any_of(tags.begin(), tags.end(), [&font](SfntTag tag) { return font.has(tag); });
}

void setItalic(SfntFont& font) {
    if (const auto selection = font.value(fields::kSelection)) {
        font.face().set("italic", (*selection & 0x01) != 0);
    } else if (const auto macStyle = font.value(fields::kMacStyle)) {
        font.face().set("italic", (*macStyle & 0x02) != 0);
    }
}

// fsType (OpenType, OS/2): bits 1 to 3 exclude each other from version 3 on; before it the least
// restrictive of several holds. Later versions are read carefully: the most restrictive.
void setEmbedding(SfntFont& font) {
    struct Licence {
        unsigned bit;
        const char* name;
    };
    constexpr Licence kByRestriction[] = {{0x2, "restricted"}, {0x4, "preview"}, {0x8, "editable"}};
    const auto fsType = font.require(fields::kFsType);
    if (!fsType) {
        return;
    }
    const std::int64_t version = font.value(fields::kOs2Version).value_or(0);
    const char* name = "installable";
    for (const Licence& licence : kByRestriction) {
        if ((*fsType & licence.bit) != 0) {
            name = licence.name;
            if (version >= 3) {
                break;
            }
        }
    }
    font.face().set("embedding", name);
    if (version >= 2) {
        font.face().set("noSubsetting", (*fsType & 0x100) != 0);
        font.face().set("bitmapOnly", (*fsType & 0x200) != 0);
    }
}

}  // namespace

void readStyle(SfntFont& font) {
    Face& face = font.face();
    setFields(font, kStyle);
    setItalic(font);
    face.set("variable", font.has(fourCharCode("fvar")));
    face.set("color", hasAny(font, {fourCharCode("COLR"), fourCharCode("CBDT"),
                                    fourCharCode("sbix"), fourCharCode("SVG ")}));
    if (font.isTrueType()) {
        const FontTable* prep = font.table(fourCharCode("prep"));
        face.set("hinted", prep != nullptr && prep->length > kIdlePrepLength);
    }
    setFields(font, kOrigin);
    setEmbedding(font);
}

void readMeasures(SfntFont& font) {
    setFields(font, kMeasures);
}

void listTables(SfntFont& font) {
    OxPropertyValue::List list;
    for (const FontTable& table : font.tables()) {
        if (!font.spend(kListedTableWork)) {
            break;
        }
        OxProperties row;
        row.set("tag", tagText(table.tag));
        row.set("offset", std::uint64_t{table.offset});
        row.set("length", std::uint64_t{table.length});
        row.set("stored", std::uint64_t{table.stored});
        if (const auto computed = computedSum(font, table)) {
            row.set("computed", std::uint64_t{*computed});
        }
        list.emplace_back(std::move(row));
    }
    font.face().set("tables", std::move(list));
}
