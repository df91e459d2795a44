#include "SfntNames.h"

#include <algorithm>

#include "Ascii.h"
#include "TextDecoding.h"

namespace {

constexpr int kFormat = 11300;
constexpr int kCount = 11301;
constexpr int kOutside = 20108;

constexpr SfntTag kName = fourCharCode("name");
constexpr std::uint32_t kHeaderSize = 6;
constexpr std::uint32_t kRecordSize = 12;
constexpr std::uint64_t kWorkPerByte = 8;
constexpr std::uint64_t kRecordWork = 32;          // of one that is decoded, however short
constexpr std::uint64_t kListedRecordWork = 1024;  // what is kept of one

enum Platform : std::uint16_t { eUnicode = 0, eMacintosh = 1, eIso = 2, eWindows = 3 };

struct NameProperty {
    unsigned id;
    const char* property;
};

// Those that stand alone, in the order of properties.
constexpr NameProperty kProperties[] = {
    {1, "family"},       {2, "style"},    {4, "fullName"},     {6, "postscriptName"},
    {5, "version"},      {3, "uniqueId"}, {0, "copyright"},    {7, "trademark"},
    {8, "manufacturer"}, {9, "designer"}, {10, "description"}, {11, "vendorUrl"},
    {12, "designerUrl"}, {13, "license"}, {14, "licenseUrl"},
};

bool isEnglish(std::uint16_t windowsLanguage) {
    // From 0x8000 on a number stands for a language tag of the table.
    return windowsLanguage < 0x8000 && (windowsLanguage & 0x3FF) == 0x09;
}

unsigned rank(std::uint16_t platform, std::uint16_t encoding, std::uint16_t language) {
    if (platform == eWindows) {
        const bool isUnicode = encoding == 1 || encoding == 10;
        return isUnicode && language == 0x0409 ? 0 : isEnglish(language) ? 2 : 4;
    }
    if (platform == eMacintosh) {
        return encoding == 0 && language == 0 ? 3 : 5;
    }
    return platform == eUnicode ? 1 : 6;
}

void trim(std::string& text) {
    while (!text.empty() && (text.back() == '\0' || ascii::isSpace(text.back()))) {
        text.pop_back();
    }
}

}  // namespace

SfntNames::SfntNames(SfntFont& font) : font_(font) {
    if (const FontTable* table = font.table(kName)) {
        font.attempt(*table, [&] { readRecords(*table); });
        std::sort(choices_.begin(), choices_.end());
    }
}

void SfntNames::readRecords(const FontTable& table) {
    const ByteView bytes = table.bytes;
    const unsigned format = bytes.u16be(0, "version");
    if (format > 1) {
        font_.find(eWarning, kFormat, std::to_string(format) + ", should be 0 or 1",
                   font_.place(table, "version"));
    }
    const std::uint32_t count = bytes.u16be(2, "count");
    const std::uint32_t storage = bytes.u16be(4, "storageOffset");
    const auto fitting = static_cast<std::uint32_t>((bytes.size() - kHeaderSize) / kRecordSize);
    if (count > fitting && !table.isCut()) {
        font_.find(eError, kCount, std::to_string(count) + ", room for " + std::to_string(fitting),
                   font_.place(table, "count", 2));
    }
    const std::uint32_t taken = std::min(count, fitting);
    if (!font_.spend(std::uint64_t{taken} * kRecordSize * kWorkPerByte)) {
        return;
    }
    records_.reserve(taken);
    choices_.reserve(taken);
    std::uint32_t outside = 0;
    Record firstOutside{};
    for (std::uint32_t i = 0; i < taken; ++i) {
        const ByteView row = bytes.slice(kHeaderSize + i * kRecordSize, 1, kRecordSize);
        Record record = {row.u16be(0), row.u16be(2), row.u16be(4), row.u16be(6), {}};
        const std::uint32_t length = row.u16be(8);
        const std::uint64_t offset = std::uint64_t{storage} + row.u16be(10);
        if (!bytes.holds(offset, length)) {
            firstOutside = outside++ == 0 ? record : firstOutside;
            continue;
        }
        record.text = bytes.slice(offset, length);
        const auto index = static_cast<std::uint32_t>(records_.size());
        choices_.push_back({std::uint32_t{record.id} << 8 |
                                rank(record.platform, record.encoding, record.language),
                            index});
        records_.push_back(record);
    }
    if (outside > 0 && count == taken && !table.isCut()) {
        font_.find(kOutside,
                   std::to_string(outside) + " of " + std::to_string(count) + ", the first name " +
                       std::to_string(firstOutside.id) + " of platform " +
                       std::to_string(firstOutside.platform),
                   font_.place(table));
    }
}

std::string SfntNames::decoded(const Record& record) {
    if (!font_.spend(kRecordWork + record.text.size() * kWorkPerByte)) {
        return {};
    }
    switch (record.platform) {
        case eUnicode:
            return fromUtf16(record.text);
        case eMacintosh:
            return fromMacScript(record.text, record.encoding, record.language);
        case eIso:
            return record.encoding == 1 ? fromUtf16(record.text) : fromUnstated(record.text.text());
        case eWindows:
            return fromWindowsEncoding(record.text, record.encoding);
        default:
            return fromUnstated(record.text.text());
    }
}

std::string SfntNames::text(unsigned id) {
    const auto first = std::lower_bound(choices_.begin(), choices_.end(), Choice{id << 8, 0});
    for (auto choice = first; choice != choices_.end() && choice->idAndRank >> 8 == id; ++choice) {
        std::string text = decoded(records_[choice->index]);
        trim(text);
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

void SfntNames::setProperties() {
    for (const NameProperty& row : kProperties) {
        font_.face().setText(row.property, text(row.id));
    }
    // A typographic style belongs to a typographic family only.
    if (std::string family = text(16); !family.empty()) {
        font_.face().setText("typographicFamily", std::move(family));
        font_.face().setText("typographicStyle", text(17));
    }
    if (font_.face().context().details.names && font_.has(kName)) {
        listAll();
    }
}

void SfntNames::listAll() {
    OxPropertyValue::List list;
    for (const Record& record : records_) {
        if (!font_.spend(kListedRecordWork)) {
            break;
        }
        OxProperties row;
        row.set("platform", int{record.platform});
        row.set("encoding", int{record.encoding});
        row.set("language", int{record.language});
        row.set("id", int{record.id});
        row.set("text", decoded(record));
        list.emplace_back(std::move(row));
    }
    font_.face().set("names", std::move(list));
}
