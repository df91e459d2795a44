#include "Check.h"
#include "FinderInfo.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "MacFiles.h"
#include "OxFontComparer.h"
#include "OxParserSuitcaseImp.h"
#include "ResourceManager.h"

namespace {

// A resource fork as a suitcase.
void run(ByteView input) {
    const auto file = writeMacFile("font", fourCharCode("FFIL"), input);
    check(OxParserSuitcaseImp().inspectFont(file), "a suitcase by its type");
    const std::int16_t current = CurResFile();
    const FontListPtr fonts =
        parseTwice([&] { return OxParserSuitcaseImp().parseFontFile(file); }, rules::kSuitcase);
    check(CurResFile() == current, "the current resource file stays as it was");
    check(input.size() >= 16 || fonts->empty(), "no records without a fork");

    OxParserSuitcaseImp parser;
    auto unique = std::make_unique<FontList>();
    parser.addUniqueFonts(unique.get(), new FontList(*fonts));
    check(unique->size() <= fonts->size(), "no more unique records than records");
    const FontListPtr masters(parser.collectMultipleMasterFonts(*fonts));
    check(masters->size() <= fonts->size(), "no more families than records");
}

const FuzzTarget target("Suitcase", run);

}  // namespace
