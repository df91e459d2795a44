#include <algorithm>
#include <memory>

#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "ScratchFolder.h"

namespace {

// A TrueType file, by a parser of its own and by one that has read another font before.
FUZZ_TARGET(TrueType) {
    const auto file = ScratchFolder::instance().write("font.ttf", input);
    const FontListPtr fonts = parseTwice<OxParserTrueTypeImp>(file, rules::kTrueType, 0);
    checkOneRecord(*fonts, file, input);
    checkUsedParser<OxParserTrueTypeImp>(*fonts, file, 0);

    ttf::tagFontDirectory directory{};
    const FontListPtr plain(OxParserTrueTypeImp(2).validate(file, directory));
    check(plain->size() == 1, "one record a file");
    checkRecord(plain->front(), rules::kPlainFile);
}

FUZZ_TARGET(OpenType) {
    const auto file = ScratchFolder::instance().write("font.otf", input);
    const FontListPtr fonts = parseTwice<OxParserOpenTypeImp>(file, rules::kOpenType, 0);
    checkOneRecord(*fonts, file, input);
    check(!fonts->front().getAttribute(eFoundry).empty(), "a foundry, if only \"Unknown\"");
}

constexpr std::size_t kMostRecords = 4096;

std::size_t offsetsIn(ByteView input) {
    return input.size() < 12 ? 0 : std::min<std::size_t>(input.u32be(8), (input.size() - 12) / 4);
}

// A collection, and each member as if it were alone: that it is read after others must not show,
// but for the glyph count, which 'kern' sees and which is kept deliberately.
FUZZ_TARGET(Collection) {
    const auto file = ScratchFolder::instance().write("font.ttc", input);
    const FontListPtr fonts =
        parseTwice<OxParserTrueTypeCollectionImp>(file, rules::kCollection, 0);
    check(fonts->size() <= std::min(offsetsIn(input), kMostRecords),
          "no more records than the file has offsets");
    OxParserTrueTypeCollectionImp single(0);
    for (std::size_t i = 0; i < fonts->size(); ++i) {
        const OxFont& font = (*fonts)[i];
        const auto offset = static_cast<std::int32_t>(input.u32be(12 + 4 * i));
        check(font.getAttributeAsInt(eFontOffset) == offset, "the offset array's order");
        checkFileAttributes(font, file, input);
        if (i < 2) {
            const FontListPtr alone(single.validate(file, offset));
            check(alone->size() == 1, "one record a member");
            check(alone->front().attributes() == font.attributes(),
                  "a member's attributes do not depend on its neighbours");
        }
    }
}

// A resource's bytes, in a block that ends exactly where they end. The first byte chooses whose
// names count.
FUZZ_TARGET(SfntMemory) {
    constexpr std::size_t kOffsetTable = 12;
    if (input.size() < 1 + kOffsetTable) {
        return;
    }
    const int platform = input.u8(0);
    const ByteView font = input.from(1);
    OxFont given;
    given.setAttribute(eResourcename, "Acme");
    const auto parse = [&] {
        const auto block = std::make_unique<std::uint8_t[]>(font.size());
        std::copy_n(font.data(), font.size(), block.get());
        return OxParserTrueTypeImp(platform).validate(
            given, reinterpret_cast<ttf::tagFontDirectory&>(*block.get()),
            static_cast<std::uint32_t>(font.size()));
    };
    const FontListPtr fonts = parseTwice(parse, rules::kMemory);
    check(fonts->size() == 1, "one record");
    check(fonts->front().getAttribute(eResourcename) == "Acme", "a copy of the given record");
    check(given.attributes().size() == 2 && given.diagnostics().empty(),
          "the given record stays as it was");
}

}  // namespace
