#include <string>
#include <vector>

#include "Check.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "ResourceFile.h"
#include "ResourceFileWriter.h"

namespace {

struct Resource {
    std::uint32_t type;
    std::int16_t id;
    std::uint8_t attributes;
    std::string name;
    ByteView data;
};

// A list of resources: type, id, attributes, name, data. The compressed attribute is left out: such
// data may look compressed, which a reader refuses.
std::vector<Resource> readResources(ByteView input) {
    std::vector<Resource> resources;
    InputParts parts(input);
    while (!parts.empty()) {
        const std::uint32_t type = parts.u32();
        const auto id = static_cast<std::int16_t>(parts.u16());
        const auto attributes =
            static_cast<std::uint8_t>(parts.u8() & ~unsigned{ResourceFile::kCompressed});
        std::string name = parts.shortText();
        resources.push_back({type, id, attributes, std::move(name), parts.longPart()});
    }
    return resources;
}

void run(ByteView input) {
    ResourceFileWriter writer;
    std::vector<Resource> resources = readResources(input);
    std::erase_if(resources, [&](const Resource& r) {
        return !writer.add(r.type, r.id, r.name, r.attributes, r.data);
    });
    const std::vector<std::uint8_t> bytes = writer.build();
    ResourceFile file;
    check(file.open(ByteView(bytes.data(), bytes.size())) == noErr, "what is written opens");
    std::vector<std::size_t> seen(resources.size());
    for (const std::uint32_t type : file.types()) {
        std::size_t place = 0;
        for (const ResourceFile::Reference& reference : file.references(type)) {
            while (place < resources.size() && resources[place].type != type) {
                ++place;
            }
            check(place < resources.size(), "no more is read than was written");
            const Resource& r = resources[place];
            check(reference.id == r.id && reference.attributes == r.attributes &&
                      file.name(reference) == r.name &&
                      file.data(reference).bytes.text() == r.data.text(),
                  "what is written is read back");
            ++seen[place++];
        }
    }
    for (const std::size_t count : seen) {
        check(count == 1, "everything that was written is read");
    }
}

const FuzzTarget target("ResourceWriter", run);

}  // namespace
