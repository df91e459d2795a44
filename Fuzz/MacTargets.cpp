#include <memory>
#include <string>
#include <vector>

#include "AppleDouble.h"
#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "MacResourceTypes.h"
#include "OxParserDfontImp.h"
#include "OxParserPSOutlineImp.h"
#include "OxParserSuitcaseImp.h"
#include "ResourceFileWriter.h"
#include "ResourceManager.h"
#include "ScratchFolder.h"

namespace {

// Writes an empty file of this Finder type with a resource fork, both in its sidecar.
boost::filesystem::path writeMacFile(const char* name, std::uint32_t type, ByteView fork) {
    const ScratchFolder& folder = ScratchFolder::instance();
    const auto bytes = appledouble::makeAppleDouble(FinderInfo::of(type, 0), fork);
    folder.write(std::string("._") + name, ByteView(bytes));
    return folder.write(name, {});
}

// A resource fork as a suitcase.
FUZZ_TARGET(Suitcase) {
    const auto file = writeMacFile("font", fourCharCode("FFIL"), input);
    check(OxParserSuitcaseImp().inspectFont(file), "a suitcase by its type");
    const std::int16_t current = CurResFile();
    const FontListPtr fonts = parseTwice<OxParserSuitcaseImp>(file, rules::kSuitcase);
    check(CurResFile() == current, "the current resource file stays as it was");
    check(input.size() >= 16 || fonts->empty(), "no records without a fork");

    OxParserSuitcaseImp parser;
    auto unique = std::make_unique<FontList>();
    parser.addUniqueFonts(unique.get(), new FontList(*fonts));
    check(unique->size() <= fonts->size(), "no more unique records than records");
    const FontListPtr masters(parser.collectMultipleMasterFonts(*fonts));
    check(masters->size() <= fonts->size(), "no more families than records");
}

FUZZ_TARGET(Dfont) {
    const auto file = ScratchFolder::instance().write("font.dfont", input);
    const FontListPtr fonts = parseTwice<OxParserDfontImp>(file, rules::kDfont);
    check(input.size() >= 16 || fonts->empty(), "no records without a resource file");
    checkUsedParser<OxParserDfontImp>(*fonts, file);
}

// The first byte says what follows: a resource fork, or the clear text of a font program.
FUZZ_TARGET(PSOutline) {
    InputParts parts(input);
    std::vector<std::uint8_t> built;
    if (parts.u8() % 2 == 1) {
        std::vector<std::uint8_t> chunk = {1, 0};
        chunk.insert(chunk.end(), parts.rest().data(), parts.rest().data() + parts.rest().size());
        constexpr std::uint8_t kEnd[] = {5, 0};
        ResourceFileWriter writer;
        if (writer.add(kPostType, 501, "", 0, ByteView(chunk)) &&
            writer.add(kPostType, 502, "", 0, ByteView(kEnd))) {
            built = writer.build();
        }
    }
    const ByteView fork = built.empty() ? parts.rest() : ByteView(built);
    const auto file = writeMacFile("AcmeBol", fourCharCode("LWFN"), fork);
    const std::int16_t current = CurResFile();
    const FontListPtr fonts = parseTwice<OxParserPSOutlineImp>(file, rules::kPrinterFont);
    check(CurResFile() == current, "the current resource file stays as it was");
    checkOneRecord(*fonts, file, {});
}

}  // namespace
