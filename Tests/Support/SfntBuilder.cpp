#include "SfntBuilder.h"

#include <algorithm>
#include <stdexcept>

#include "BigEndian.h"

namespace {

struct Field {
    std::string_view name;
    std::size_t offset;
    int width;
};

constexpr Field kFields[] = {
    {"head.checkSumAdjustment", 8, 4},
    {"head.magicNumber", 12, 4},
    {"maxp.numGlyphs", 4, 2},
    {"OS/2.usWeightClass", 4, 2},
    {"OS/2.usWidthClass", 6, 2},
    {"OS/2.fsSelection", 62, 2},
    {"name.format", 0, 2},
    {"name.count", 2, 2},
    {"name.stringOffset", 4, 2},
    {"name.record0.length", 14, 2},
    {"name.record0.offset", 16, 2},
    {"kern.nTables", 2, 2},
    {"kern.subtable0.length", 6, 2},
    {"kern.subtable0.format", 8, 1},
    {"kern.subtable0.nPairs", 10, 2},
};

}  // namespace

SfntBuilder SfntBuilder::goodFont() {
    SfntBuilder font;
    font.table("OS/2",
               BigEndian().u16(3).u16(500).u16(400).u16(5).zeros(50).text("ACME").padTo(96));
    font.table("cmap", BigEndian().u16(0).u16(0).zeros(4));
    font.table("glyf", BigEndian().u32(0x01020304).u16(0x0506));
    const BigEndian head = BigEndian().u32(0x00010000).u32(0x00020000).u32(0x12345678);
    font.table("head", BigEndian(head).u32(0x5F0F3CF5).u16(3).u16(1000).padTo(54));
    font.table("hhea", BigEndian().u32(0x00010000).padTo(36));
    font.table("hmtx", BigEndian().u16(500).u16(0).u16(250).u16(7));
    font.table("loca", BigEndian().u16(0).u16(3));
    font.table("maxp", BigEndian().u32(0x00010000).u16(4).padTo(32));
    font.table("name", nameTable(goodNames()));
    font.table("post", BigEndian().u32(0x00030000).padTo(32));
    return font;
}

std::vector<SfntBuilder::Name> SfntBuilder::goodNames() {
    return {{1, 0, 0, 0, "\xA9 Acme"},
            {1, 0, 0, 1, "Acme Sans"},
            {3, 1, 0x0409, 1, utf16(u"Acme Sans")},
            {3, 1, 0x0409, 2, utf16(u"Bold")},
            {3, 1, 0x0409, 3, utf16(u"Acme Sans Bold:2001")},
            {3, 1, 0x0409, 4, utf16(u"Acme Sans Bold")},
            {3, 1, 0x0409, 5, utf16(u"Version 1.0")},
            {3, 1, 0x0409, 6, utf16(u"AcmeSans-Bold")},
            {3, 1, 0x0409, 7, utf16(u"Acme is a trademark")}};
}

std::string SfntBuilder::utf16(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

Bytes SfntBuilder::nameTable(const std::vector<Name>& names) {
    BigEndian table;
    std::string storage;
    table.u16(0).u16(names.size()).u16(6 + 12 * names.size());
    for (const Name& name : names) {
        table.u16(name.platform).u16(name.encoding).u16(name.language).u16(name.id);
        table.u16(name.text.size()).u16(storage.size());
        storage += name.text;
    }
    return table.text(storage);
}

Bytes SfntBuilder::kernTable(const std::vector<unsigned>& pairCounts) {
    BigEndian table;
    table.u16(0).u16(pairCounts.size());
    for (const unsigned pairs : pairCounts) {
        table.u16(0).u16(14 + 6 * pairs).u16(0x0001).u16(pairs).zeros(6 + 6 * pairs);
    }
    return table;
}

std::uint32_t SfntBuilder::checksum(const Bytes& data) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < data.size(); ++i) {
        sum += static_cast<std::uint32_t>(data[i]) << (24 - 8 * (i % 4));
    }
    return sum;
}

SfntBuilder& SfntBuilder::version(std::uint32_t version) {
    version_ = version;
    return *this;
}

SfntBuilder& SfntBuilder::tableCount(std::uint16_t count) {
    tableCount_ = count;
    return *this;
}

SfntBuilder& SfntBuilder::fillUpTo(std::size_t count) {
    while (tables_.size() < count) {
        table("XX" + std::to_string(tables_.size() + 10), bytesOf("data"));
    }
    return *this;
}

SfntBuilder& SfntBuilder::table(const std::string& tag, const Bytes& data) {
    const auto found = std::find_if(tables_.begin(), tables_.end(),
                                    [&tag](const Table& t) { return t.tag == tag; });
    if (found != tables_.end()) {
        found->data = data;
    } else {
        tables_.push_back({tag, data});
    }
    return *this;
}

SfntBuilder::Table& SfntBuilder::operator[](const std::string& tag) {
    for (Table& table : tables_) {
        if (table.tag == tag) {
            return table;
        }
    }
    throw std::out_of_range("no table " + tag);
}

SfntBuilder& SfntBuilder::drop(const std::string& tag) {
    std::erase_if(tables_, [&tag](const Table& t) { return t.tag == tag; });
    return *this;
}

SfntBuilder& SfntBuilder::first(const std::string& tag) {
    std::stable_partition(tables_.begin(), tables_.end(),
                          [&tag](const Table& t) { return t.tag == tag; });
    return *this;
}

SfntBuilder& SfntBuilder::patch(std::string_view field, std::uint32_t value) {
    for (const Field& known : kFields) {
        if (known.name == field) {
            ::patch((*this)[std::string(field.substr(0, field.find('.')))].data, known.offset,
                    known.width, value);
            return *this;
        }
    }
    throw std::out_of_range("no field " + std::string(field));
}

Bytes SfntBuilder::directory(std::vector<std::pair<Bytes, std::uint32_t>>& stored, std::size_t& end,
                             bool share) const {
    BigEndian out;
    out.u32(version_).u16(tableCount_.value_or(tables_.size())).zeros(6);
    for (const Table& table : tables_) {
        const auto known = std::find_if(stored.begin(), stored.end(),
                                        [&](const auto& s) { return s.first == table.data; });
        std::uint32_t offset;
        if (share && known != stored.end()) {
            offset = known->second;
        } else {
            offset = static_cast<std::uint32_t>(end);
            stored.emplace_back(table.data, offset);
            end += (table.data.size() + 3) / 4 * 4;
        }
        out.text(table.tag).u32(table.checksum.value_or(checksum(table.data)));
        out.u32(table.offset.value_or(offset)).u32(table.length.value_or(table.data.size()));
    }
    return out;
}

Bytes SfntBuilder::build() const {
    std::vector<std::pair<Bytes, std::uint32_t>> stored;
    std::size_t end = 12 + 16 * tables_.size();
    BigEndian out;
    out.append(directory(stored, end, false));
    for (const auto& [data, offset] : stored) {
        out.padTo(offset).append(data);
    }
    return out.padTo(end);
}

Bytes SfntBuilder::collection(const std::vector<SfntBuilder>& members, bool share) {
    BigEndian header;
    header.text("ttcf").u32(0x00010000).u32(members.size());
    std::size_t end = 12 + 4 * members.size();
    for (const SfntBuilder& member : members) {
        header.u32(end);
        end += 12 + 16 * member.tables_.size();
    }
    std::vector<std::pair<Bytes, std::uint32_t>> stored;
    BigEndian out;
    out.append(header);
    for (const SfntBuilder& member : members) {
        out.append(member.directory(stored, end, share));
    }
    for (const auto& [data, offset] : stored) {
        out.padTo(offset).append(data);
    }
    return out.padTo(end);
}
