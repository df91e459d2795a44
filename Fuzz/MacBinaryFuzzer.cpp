#include "MacBinary.h"

#include <string>

#include "Check.h"
#include "FuzzTarget.h"
#include "InputParts.h"

namespace {

void checkRoundTrip(ByteView input) {
    InputParts parts(input);
    const FinderInfo info = FinderInfo::of(parts.u32() | 0x41000000, parts.u32(), parts.u16());
    const std::string name = "A" + parts.shortText();
    const ByteView data = parts.longPart();
    const ByteView fork = parts.rest();
    const auto bytes = macbinary::makeMacBinary(name, info, data, fork);
    const ByteView file(bytes.data(), bytes.size());
    const auto layout = macbinary::readHeader(file, file.size());
    check(layout && layout->strong, "what is made is read");
    check(layout->finderInfo == info, "the Finder information");
    check(file.clamped(layout->dataOffset, layout->dataLength).text() == data.text(),
          "the data fork");
    check(file.clamped(layout->forkOffset, layout->forkLength).text() == fork.text(),
          "the resource fork");
}

void run(ByteView input) {
    if (const auto layout = macbinary::readHeader(input, input.size())) {
        check(layout->dataOffset >= macbinary::kHeaderSize && layout->dataOffset % 128 == 0 &&
                  layout->forkOffset >= layout->dataOffset + layout->dataLength &&
                  layout->forkOffset % 128 == 0,
              "the forks follow each other");
        const ByteView header = input.clamped(0, macbinary::kHeaderSize);
        check(macbinary::readHeader(header, input.size()).has_value(), "the header suffices");
    }
    checkRoundTrip(input);
}

const FuzzTarget target("MacBinary", run);

}  // namespace
