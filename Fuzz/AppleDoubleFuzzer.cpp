#include "AppleDouble.h"

#include "Check.h"
#include "FuzzTarget.h"

namespace {

using appledouble::Extent;
using appledouble::Strictness;

void checkExtent(const std::optional<Extent>& extent, std::size_t headerSize, ByteView file) {
    if (extent) {
        check(extent->length != 0 && extent->offset >= headerSize &&
                  file.holds(extent->offset, extent->length),
              "an entry lies inside the file, behind the header");
    }
}

// A file's header, and the file as a fork that is wrapped.
void run(ByteView input) {
    for (const Strictness strictness : {Strictness::eStrict, Strictness::eOldNetatalk}) {
        const auto size = appledouble::headerSize(input, strictness);
        const auto layout = appledouble::readHeader(input, input.size(), strictness);
        check(size || !layout, "a header has a size");
        if (layout) {
            check(*size <= appledouble::kHeaderLimit && *size <= input.size(), "a header's size");
            checkExtent(layout->resourceFork, *size, input);
            checkExtent(layout->finderInfo, *size, input);
            const ByteView header = input.clamped(0, *size);
            const auto again = appledouble::readHeader(header, input.size(), strictness);
            check(again && again->isSingle == layout->isSingle && again->clamped == layout->clamped,
                  "the header alone suffices");
        }
    }
    const FinderInfo info = FinderInfo::from(input);
    const auto bytes = appledouble::makeAppleDouble(info, input);
    const ByteView made(bytes.data(), bytes.size());
    const auto layout = appledouble::readHeader(made, made.size(), Strictness::eStrict);
    check(layout && !layout->isSingle && !layout->clamped && layout->finderInfo,
          "what is made is read");
    check(FinderInfo::from(made.from(layout->finderInfo->offset)) == info,
          "the Finder information");
    check(layout->resourceFork.has_value() != input.empty(), "a fork if there is one");
    if (layout->resourceFork) {
        const auto [offset, length] = *layout->resourceFork;
        check(made.clamped(offset, length).text() == input.text(), "the fork's bytes");
    }
}

const FuzzTarget target("AppleDouble", run);

}  // namespace
