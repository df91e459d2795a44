#include <algorithm>

#include "Check.h"
#include "FuzzTarget.h"
#include "ResourceFile.h"
#include "ResourceFileWriter.h"

namespace {

bool liesInside(std::string_view part, ByteView whole) {
    const std::string_view text = whole.text();
    return part.empty() ||
           (part.data() >= text.data() && part.data() + part.size() <= text.data() + text.size());
}

// A hostile map can name the same references under thousands of types, and the same data in
// thousands of references.
constexpr std::size_t kMostReferences = 2000;

// Reads everything that a fork holds, writes it anew and reads that back.
void run(ByteView input) {
    ResourceFile file;
    const std::int16_t status = file.open(input);
    const auto types = file.types();
    if (status != noErr) {
        check(status == (input.empty() ? eofErr : mapReadErr), "a status of opening");
        check(types.empty(), "a damaged fork holds nothing");
        return;
    }
    ResourceFileWriter writer;
    std::vector<std::pair<std::uint32_t, ResourceFile::Reference>> written;
    std::size_t looked = 0;
    for (const std::uint32_t type : types) {
        check(file.holdsType(type) && std::count(types.begin(), types.end(), type) == 1,
              "of two entries for one type the first counts");
        for (const ResourceFile::Reference& reference : file.references(type)) {
            if (++looked > kMostReferences) {
                break;
            }
            check(file.find(type, reference.id) != nullptr, "what is listed is found");
            const std::string_view name = file.name(reference);
            check(liesInside(name, input), "a name lies inside the fork");
            const ResourceFile::Data data = file.data(reference);
            check(liesInside(data.bytes.text(), input), "a resource lies inside the fork");
            check(data.status == noErr || data.bytes.empty(), "no bytes with a failure");
            if (data.status == noErr &&
                writer.add(type, reference.id, name, reference.attributes, data.bytes)) {
                written.emplace_back(type, reference);
            }
        }
    }
    if (looked > kMostReferences) {
        return;
    }
    const std::vector<std::uint8_t> bytes = writer.build();
    ResourceFile copy;
    check(copy.open(ByteView(bytes.data(), bytes.size())) == noErr, "what is written opens");
    std::size_t read = 0;
    for (const std::uint32_t type : copy.types()) {
        std::size_t place = 0;
        for (const ResourceFile::Reference& reference : copy.references(type)) {
            while (place < written.size() && written[place].first != type) {
                ++place;
            }
            check(place < written.size(), "no more is read than was written");
            const ResourceFile::Reference& original = written[place++].second;
            check(reference.id == original.id && reference.attributes == original.attributes &&
                      copy.name(reference) == file.name(original) &&
                      copy.data(reference).bytes.text() == file.data(original).bytes.text(),
                  "what is written is read back");
            ++read;
        }
    }
    check(read == written.size(), "everything that was written is read");
}

const FuzzTarget target("ResourceFile", run);

}  // namespace
