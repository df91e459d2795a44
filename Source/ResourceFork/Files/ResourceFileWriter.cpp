#include "ResourceFileWriter.h"

#include <algorithm>

#include "ByteWriter.h"

namespace {

constexpr std::uint32_t kDataStart = 256;
constexpr std::size_t kDataOffsetLimit = std::size_t{1} << 24;
constexpr std::size_t kForkLimit = 0x7FFFFFFF;
constexpr std::size_t kWordLimit = 0xFFFF;
constexpr std::size_t kTypeListAt = 28;
constexpr std::size_t kTypeSize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr std::size_t kNameLimit = 255;
constexpr std::uint16_t kNoName = 0xFFFF;

constexpr std::size_t nameListAt(std::size_t types, std::size_t references) {
    return kTypeListAt + 2 + kTypeSize * types + kReferenceSize * references;
}

void writeHeader(ByteWriter& out, std::size_t dataLength, std::size_t mapLength) {
    const auto data = static_cast<std::uint32_t>(dataLength);
    out.u32be(kDataStart).u32be(kDataStart + data).u32be(data);
    out.u32be(static_cast<std::uint32_t>(mapLength));
}

}  // namespace

bool ResourceFileWriter::add(std::uint32_t type, std::int16_t id, std::string_view name,
                             std::uint8_t attributes, ByteView data) {
    const std::string_view kept = name.substr(0, kNameLimit);
    auto found =
        std::find_if(types_.begin(), types_.end(), [&](const Type& t) { return t.type == type; });
    const bool isNewType = found == types_.end();
    const std::size_t namesAt = nameListAt(types_.size() + isNewType, references_ + 1);
    const std::size_t rest = kForkLimit - kDataStart - dataSize_ - 2 * kWordLimit;
    if (namesAt > kWordLimit || (!kept.empty() && namesSize_ >= kNoName) ||
        dataSize_ >= kDataOffsetLimit || data.size() > rest - 4) {
        return false;
    }
    if (isNewType) {
        types_.push_back({type, {}});
        found = types_.end() - 1;
    }
    found->resources.push_back({id, std::string(kept), attributes, data});
    ++references_;
    dataSize_ += 4 + data.size();
    namesSize_ += kept.empty() ? 0 : 1 + kept.size();
    return true;
}

std::vector<std::uint8_t> ResourceFileWriter::build() const {
    const std::size_t namesAt = nameListAt(types_.size(), references_);
    ByteWriter data;
    ByteWriter typeList;
    ByteWriter references;
    ByteWriter names;
    typeList.u16be(static_cast<std::uint16_t>(types_.size() - 1));
    for (const Type& type : types_) {
        const std::size_t listOffset = 2 + kTypeSize * types_.size() + references.size();
        typeList.u32be(type.type).u16be(static_cast<std::uint16_t>(type.resources.size() - 1));
        typeList.u16be(static_cast<std::uint16_t>(listOffset));
        for (const Resource& resource : type.resources) {
            const std::size_t nameOffset = resource.name.empty() ? kNoName : names.size();
            references.u16be(static_cast<std::uint16_t>(resource.id));
            references.u16be(static_cast<std::uint16_t>(nameOffset)).u8(resource.attributes);
            references.u24be(static_cast<std::uint32_t>(data.size())).u32be(0);
            data.u32be(static_cast<std::uint32_t>(resource.data.size())).bytes(resource.data);
            if (!resource.name.empty()) {
                names.u8(static_cast<std::uint8_t>(resource.name.size())).text(resource.name);
            }
        }
    }
    ByteWriter out;
    writeHeader(out, data.size(), namesAt + names.size());
    out.zeros(kDataStart - out.size()).bytes(data.view());
    writeHeader(out, data.size(), namesAt + names.size());
    out.zeros(8).u16be(kTypeListAt).u16be(static_cast<std::uint16_t>(namesAt));
    out.bytes(typeList.view()).bytes(references.view()).bytes(names.view());
    return out.take();
}
