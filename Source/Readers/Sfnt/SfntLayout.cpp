#include "SfntLayout.h"

#include <algorithm>

namespace {

constexpr int kVersion = 20112;

constexpr SfntTag kTables[] = {fourCharCode("GSUB"), fourCharCode("GPOS")};
constexpr std::uint32_t kRecordSize = 6;

struct TagList {
    const char* field;
    std::uint32_t offset;  // of the list's offset in the table's header
};
constexpr TagList kScripts = {"scriptListOffset", 4};
constexpr TagList kFeatures = {"featureListOffset", 6};

// A list is {count, {tag, offset}[count]}; a null offset means that there is none.
void addTags(ByteView table, const TagList& list, std::vector<SfntTag>& tags) {
    const std::uint32_t offset = table.u16be(list.offset, list.field);
    if (offset == 0) {
        return;
    }
    const std::uint32_t count = table.u16be(offset, list.field);
    static_cast<void>(table.slice(offset + 2, count, kRecordSize, list.field));
    for (std::uint32_t i = 0; i < count; ++i) {
        tags.push_back(table.u32be(offset + 2 + std::uint64_t{i} * kRecordSize));
    }
}

OxPropertyValue::List sorted(std::vector<SfntTag>& tags) {
    std::sort(tags.begin(), tags.end());
    tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
    OxPropertyValue::List list;
    list.reserve(tags.size());
    for (const SfntTag tag : tags) {
        list.emplace_back(tagText(tag));
    }
    return list;
}

void readTags(SfntFont& font, const FontTable& table, std::vector<SfntTag>& scripts,
              std::vector<SfntTag>& features) {
    const unsigned major = table.bytes.u16be(0, "majorVersion");
    if (major != 1) {
        font.find(kVersion, std::to_string(major) + ", should be 1",
                  font.place(table, "majorVersion"));
        return;
    }
    addTags(table.bytes, kScripts, scripts);
    addTags(table.bytes, kFeatures, features);
}

}  // namespace

void readLayout(SfntFont& font) {
    std::vector<SfntTag> scripts;
    std::vector<SfntTag> features;
    bool any = false;
    for (const SfntTag tag : kTables) {
        if (const FontTable* table = font.table(tag)) {
            any = true;
            font.attempt(*table, [&] { readTags(font, *table, scripts, features); });
        }
    }
    // What is kept of a tag is far larger than the tag.
    if (any && font.spend((scripts.size() + features.size()) * 128)) {
        font.face().set("scripts", sorted(scripts));
        font.face().set("features", sorted(features));
    }
}
