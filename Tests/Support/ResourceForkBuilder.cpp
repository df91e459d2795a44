#include "ResourceForkBuilder.h"

#include <algorithm>

namespace {

constexpr std::size_t kDataAt = 256;

void padTo(Bytes& bytes, std::size_t unit) {
    bytes.resize((bytes.size() + unit - 1) / unit * unit);
}

}  // namespace

std::uint32_t get32(const Bytes& bytes, std::size_t at) {
    return std::uint32_t{bytes.at(at)} << 24 | std::uint32_t{bytes.at(at + 1)} << 16 |
           std::uint32_t{bytes.at(at + 2)} << 8 | bytes.at(at + 3);
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append(Bytes& bytes, std::string_view more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append16(Bytes& bytes, std::uint32_t value) {
    bytes.resize(bytes.size() + 2);
    patch(bytes, bytes.size() - 2, 2, value);
}

void append32(Bytes& bytes, std::uint32_t value) {
    bytes.resize(bytes.size() + 4);
    patch(bytes, bytes.size() - 4, 4, value);
}

std::uint32_t code(std::string_view text) {
    return get32(bytesOf(text), 0);
}

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
    Bytes data;
    Bytes names;
    Bytes typeList;
    Bytes references;
    append16(typeList, static_cast<std::uint32_t>(types_.size()) - 1);
    for (const Type& type : types_) {
        const auto owner = std::find_if(types_.begin(), types_.end(), [&](const Type& t) {
            return t.source.empty() && t.type == (type.source.empty() ? type.type : type.source);
        });
        std::size_t before = 0;
        for (auto t = types_.begin(); t != owner; ++t) {
            before += t->resources.size();
        }
        append(typeList, type.type);
        append16(typeList, static_cast<std::uint32_t>(owner->resources.size()) - 1);
        append16(typeList, static_cast<std::uint32_t>(2 + 8 * types_.size() + 12 * before));
        for (const Resource& resource : type.resources) {
            append16(references, static_cast<std::uint32_t>(resource.id));
            append16(references,
                     resource.name.empty() ? 0xFFFF : static_cast<std::uint32_t>(names.size()));
            append32(references, std::uint32_t{resource.attributes} << 24 |
                                     static_cast<std::uint32_t>(data.size()));
            append32(references, 0);
            append32(data, static_cast<std::uint32_t>(resource.data.size()));
            append(data, resource.data);
            if (!resource.name.empty()) {
                names.push_back(static_cast<std::uint8_t>(resource.name.size()));
                append(names, resource.name);
            }
        }
    }
    const auto mapLength =
        static_cast<std::uint32_t>(28 + typeList.size() + references.size() + names.size());
    Bytes fork;
    append32(fork, kDataAt);
    append32(fork, static_cast<std::uint32_t>(kDataAt + data.size()));
    append32(fork, static_cast<std::uint32_t>(data.size()));
    append32(fork, mapLength);
    fork.resize(kDataAt);
    append(fork, data);
    fork.resize(fork.size() + 24);
    append16(fork, 28);
    append16(fork, static_cast<std::uint32_t>(28 + typeList.size() + references.size()));
    append(fork, typeList);
    append(fork, references);
    append(fork, names);
    return fork;
}

std::size_t ResourceForkBuilder::mapAt() const {
    return get32(build(), 4);
}

std::size_t ResourceForkBuilder::referenceAt(std::size_t index) const {
    return typeEntryAt(types_.size()) + 12 * index;
}

Bytes placeholderFork() {
    Bytes fork;
    for (const std::uint32_t word : {256u, 256u, 0u, 30u}) {
        append32(fork, word);
    }
    append(fork, "This resource fork intentionally left blank   ");
    fork.resize(256 + 24);
    append16(fork, 28);
    append16(fork, 30);
    append16(fork, 0xFFFF);
    return fork;
}

Bytes finderInfoBytes(std::string_view type, std::string_view creator) {
    Bytes info;
    append(info, type);
    append(info, creator);
    info.resize(32);
    return info;
}

Bytes appleFile(std::uint32_t magic, const AppleEntries& entries, std::uint32_t version) {
    Bytes file;
    append32(file, magic);
    append32(file, version);
    file.resize(24);
    append16(file, static_cast<std::uint32_t>(entries.size()));
    std::size_t at = 26 + 12 * entries.size();
    for (const auto& [id, bytes] : entries) {
        append32(file, id);
        append32(file, static_cast<std::uint32_t>(at));
        append32(file, static_cast<std::uint32_t>(bytes.size()));
        at += bytes.size();
    }
    for (const auto& [id, bytes] : entries) {
        append(file, bytes);
    }
    return file;
}

Bytes appleDouble(std::string_view type, std::string_view creator, const Bytes& fork) {
    return appleFile(0x00051607, {{9, finderInfoBytes(type, creator)}, {2, fork}});
}

Bytes macBinary(const Bytes& fork, const MacBinaryOptions& options) {
    Bytes file(128);
    const std::string name = "Test suitcase";
    file[1] = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), file.begin() + 2);
    std::copy(options.type.begin(), options.type.end(), file.begin() + 65);
    std::copy(options.creator.begin(), options.creator.end(), file.begin() + 69);
    patch(file, 83, 4, static_cast<std::uint32_t>(options.dataFork.size()));
    patch(file, 87, 4, static_cast<std::uint32_t>(fork.size()));
    if (options.version >= 2) {
        patch(file, 120, 2, options.secondaryLength);
        file[122] = static_cast<std::uint8_t>(127 + options.version);
        file[123] = 129;
        if (options.version == 3) {
            const std::string_view signature = "mBIN";
            std::copy(signature.begin(), signature.end(), file.begin() + 102);
        }
        const std::uint16_t crc = xmodem(Bytes(file.begin(), file.begin() + 124));
        patch(file, 124, 2, options.rightChecksum ? crc : crc ^ 1u);
    }
    file.resize(file.size() + options.secondaryLength);
    padTo(file, 128);
    append(file, options.dataFork);
    padTo(file, 128);
    append(file, fork);
    padTo(file, 128);
    return file;
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
            packed.push_back(0x90);
            packed.push_back(static_cast<std::uint8_t>(run));
            i += run;
        } else {
            ++i;
        }
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
    const std::string name = "Test";
    Bytes header;
    header.push_back(static_cast<std::uint8_t>(name.size()));
    append(header, name);
    header.push_back(0);
    append(header, options.type);
    append(header, options.creator);
    append16(header, 0);
    append32(header, static_cast<std::uint32_t>(options.dataFork.size()));
    append32(header, static_cast<std::uint32_t>(fork.size()));
    append16(header, xmodem(header));
    append(header, options.dataFork);
    append16(header, xmodem(options.dataFork));
    append(header, fork);
    append16(header, options.rightForkChecksum ? xmodem(fork) : xmodem(fork) ^ 1u);
    return bytesOf(options.before + "(This file must be converted with BinHex 4.0)\n\n:" +
                   binHexText(header) + (options.lastColon ? ":\n" : ""));
}

Bytes afpInfo(std::string_view type, std::string_view creator) {
    Bytes info = bytesOf(std::string_view("AFP\0\0\0\1\0", 8));
    info.resize(12);
    append32(info, 0x80000000);
    append(info, finderInfoBytes(type, creator));
    info.resize(60);
    return info;
}

Bytes finderDat(const std::vector<FinderDatRecord>& records, std::size_t cluster) {
    Bytes file;
    for (const FinderDatRecord& record : records) {
        Bytes bytes(1, static_cast<std::uint8_t>(record.macName.size()));
        append(bytes, record.macName);
        bytes.resize(32);
        append(bytes, finderInfoBytes(record.type, record.creator));
        bytes.resize(80);
        append(bytes, record.shortName);
        bytes.resize(92);
        if (file.size() % cluster + bytes.size() > cluster) {
            padTo(file, cluster);
        }
        append(file, bytes);
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
