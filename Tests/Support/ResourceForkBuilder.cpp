#include "ResourceForkBuilder.h"

#include <algorithm>

namespace {

constexpr std::size_t kDataAt = 256;

}  // namespace

ResourceForkBuilder& ResourceForkBuilder::add(std::string_view type, int id, Bytes data,
                                              std::string name, std::uint8_t attributes) {
    auto found = std::find_if(types_.begin(), types_.end(),
                              [&](const Type& t) { return t.type == type && t.source.empty(); });
    if (found == types_.end()) {
        types_.push_back({std::string(type), {}, {}});
        found = types_.end() - 1;
    }
    found->resources.push_back({id, std::move(data), std::move(name), attributes});
    return *this;
}

ResourceForkBuilder& ResourceForkBuilder::addTypeAgain(std::string_view type,
                                                       std::string_view source) {
    types_.push_back({std::string(type), std::string(source), {}});
    return *this;
}

Bytes ResourceForkBuilder::build() const {
    BigEndian data;
    BigEndian names;
    BigEndian references;
    BigEndian typeList;
    typeList.u16(types_.size() - 1);
    for (const Type& type : types_) {
        const auto owner = std::find_if(types_.begin(), types_.end(), [&](const Type& t) {
            return t.source.empty() && t.type == (type.source.empty() ? type.type : type.source);
        });
        std::size_t before = 0;
        for (auto t = types_.begin(); t != owner; ++t) {
            before += t->resources.size();
        }
        typeList.text(type.type).u16(owner->resources.size() - 1);
        typeList.u16(2 + 8 * types_.size() + 12 * before);
        for (const Resource& resource : type.resources) {
            references.u16(resource.id).u16(resource.name.empty() ? 0xFFFF : names.size());
            references.u8(resource.attributes).u8(data.size() >> 16).u16(data.size()).u32(0);
            data.u32(resource.data.size()).append(resource.data);
            if (!resource.name.empty()) {
                names.u8(resource.name.size()).text(resource.name);
            }
        }
    }
    const std::size_t namesAt = 28 + typeList.size() + references.size();
    BigEndian fork;
    fork.u32(kDataAt).u32(kDataAt + data.size()).u32(data.size()).u32(namesAt + names.size());
    fork.padTo(kDataAt).append(data).zeros(24).u16(28).u16(namesAt);
    return fork.append(typeList).append(references).append(names);
}

std::size_t ResourceForkBuilder::mapAt() const {
    return get32(build(), 4);
}

std::size_t ResourceForkBuilder::referenceAt(std::size_t index) const {
    return typeEntryAt(types_.size()) + 12 * index;
}

Bytes placeholderFork() {
    BigEndian fork;
    fork.u32(256).u32(256).u32(0).u32(30).text("This resource fork intentionally left blank   ");
    return fork.padTo(256 + 24).u16(28).u16(30).u16(0xFFFF);
}

Bytes finderInfoBytes(std::string_view type, std::string_view creator) {
    return BigEndian().text(type).text(creator).padTo(32);
}

Bytes appleFile(std::uint32_t magic, const AppleEntries& entries, std::uint32_t version) {
    BigEndian header;
    BigEndian body;
    header.u32(magic).u32(version).zeros(16).u16(entries.size());
    for (const auto& [id, bytes] : entries) {
        header.u32(id).u32(26 + 12 * entries.size() + body.size()).u32(bytes.size());
        body.append(bytes);
    }
    return header.append(body);
}

Bytes appleDouble(std::string_view type, std::string_view creator, const Bytes& fork) {
    return appleFile(0x00051607, {{9, finderInfoBytes(type, creator)}, {2, fork}});
}

Bytes macBinary(const Bytes& fork, const MacBinaryOptions& options) {
    BigEndian header;
    header.u8(0).u8(13).text("Test suitcase").padTo(65).text(options.type).text(options.creator);
    header.padTo(83).u32(options.dataFork.size()).u32(fork.size()).padTo(102);
    header.text(options.version == 3 ? "mBIN" : "").padTo(120);
    if (options.version >= 2) {
        header.u16(options.secondaryLength).u8(127 + options.version).u8(129);
        header.u16(options.rightChecksum ? xmodem(header) : xmodem(header) ^ 1u);
    }
    header.padTo(128).zeros(options.secondaryLength).padUnit(128);
    return header.append(options.dataFork).padUnit(128).append(fork).padUnit(128);
}

std::string binHexText(const Bytes& bytes) {
    static constexpr std::string_view kAlphabet =
        "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    Bytes packed;
    for (std::size_t i = 0; i < bytes.size();) {
        std::size_t run = 1;
        while (run < 255 && i + run < bytes.size() && bytes[i + run] == bytes[i]) {
            ++run;
        }
        packed.push_back(bytes[i]);
        if (bytes[i] == 0x90) {
            packed.push_back(0);
        }
        if (run > 3) {
            packed.insert(packed.end(), {0x90, static_cast<std::uint8_t>(run)});
        }
        i += run > 3 ? run : 1;
    }
    std::string text;
    unsigned bits = 0;
    unsigned count = 0;
    const auto put = [&](unsigned value) {
        text += kAlphabet[value & 63];
        if (text.size() % 65 == 64) {
            text += '\n';
        }
    };
    for (const std::uint8_t byte : packed) {
        bits = bits << 8 | byte;
        count += 8;
        while (count >= 6) {
            count -= 6;
            put(bits >> count);
        }
    }
    if (count > 0) {
        put(bits << (6 - count));
    }
    return text;
}

Bytes binHex(const Bytes& fork, const BinHexOptions& options) {
    BigEndian file;
    file.u8(4).text("Test").u8(0).text(options.type).text(options.creator).u16(0);
    file.u32(options.dataFork.size()).u32(fork.size()).u16(xmodem(file));
    file.append(options.dataFork).u16(xmodem(options.dataFork));
    file.append(fork).u16(options.rightForkChecksum ? xmodem(fork) : xmodem(fork) ^ 1u);
    return bytesOf(options.before + "(This file must be converted with BinHex 4.0)\n\n:" +
                   binHexText(file) + (options.lastColon ? ":\n" : ""));
}

Bytes afpInfo(std::string_view type, std::string_view creator) {
    BigEndian info;
    info.text(std::string_view("AFP\0", 4)).u32(0x00000100).u32(0).u32(0x80000000);
    return info.append(finderInfoBytes(type, creator)).padTo(60);
}

Bytes finderDat(const std::vector<FinderDatRecord>& records, std::size_t cluster) {
    BigEndian file;
    for (const FinderDatRecord& record : records) {
        BigEndian bytes;
        bytes.u8(record.macName.size()).text(record.macName).padTo(32);
        bytes.append(finderInfoBytes(record.type, record.creator)).padTo(80);
        bytes.text(record.shortName).padTo(92);
        if (file.size() % cluster + bytes.size() > cluster) {
            file.padUnit(cluster);
        }
        file.append(bytes);
    }
    return file;
}

std::uint16_t xmodem(const Bytes& bytes) {
    unsigned crc = 0;
    for (const std::uint8_t byte : bytes) {
        crc ^= static_cast<unsigned>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) != 0 ? (crc << 1 ^ 0x1021) & 0xFFFF : crc << 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}
