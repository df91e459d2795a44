#include <algorithm>

#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "ScratchFolder.h"

namespace {

constexpr std::size_t kMostRecords = 4096;

std::size_t offsetsIn(ByteView input) {
    return input.size() < 12 ? 0 : std::min<std::size_t>(input.u32be(8), (input.size() - 12) / 4);
}

// A collection, and each member as if it were alone: that it is read after others must not show,
// but for the glyph count, which 'kern' sees and which is kept deliberately.
void run(ByteView input) {
    const auto file = ScratchFolder::instance().write("font.ttc", input);
    const FontListPtr fonts = parseTwice(
        [&] { return OxParserTrueTypeCollectionImp(0).parseFontFile(file); }, rules::kCollection);
    check(fonts->size() <= std::min(offsetsIn(input), kMostRecords),
          "no more records than the file has offsets");
    OxParserTrueTypeCollectionImp single(0);
    for (std::size_t i = 0; i < fonts->size(); ++i) {
        const OxFont& font = (*fonts)[i];
        const auto offset = static_cast<std::int32_t>(input.u32be(12 + 4 * i));
        check(font.getAttributeAsInt(eFontOffset) == offset, "the offset array's order");
        checkFileAttributes(font, file, input);
        if (i < 4) {
            const FontListPtr alone(single.validate(file, offset));
            check(alone->size() == 1, "one record a member");
            check(alone->front().attributes() == font.attributes(),
                  "a member's attributes do not depend on its neighbours");
        }
    }
}

const FuzzTarget target("Collection", run);

}  // namespace
