#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserDfontImp.h"
#include "ResourceManager.h"
#include "ScratchFolder.h"

namespace {

void run(ByteView input) {
    static OxParserDfontImp used;
    const auto file = ScratchFolder::instance().write("font.dfont", input);
    const FontListPtr fonts =
        parseTwice([&] { return OxParserDfontImp().parseFontFile(file); }, rules::kDfont);
    check(input.size() >= 16 || fonts->empty(), "no records without a resource file");
    checkEqual(*fonts, *FontListPtr(used.parseFontFile(file)));
}

const FuzzTarget target("Dfont", run);

}  // namespace
