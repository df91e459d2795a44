#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserOpenTypeImp.h"
#include "ScratchFolder.h"

namespace {

void run(ByteView input) {
    const auto file = ScratchFolder::instance().write("font.otf", input);
    const FontListPtr fonts =
        parseTwice([&] { return OxParserOpenTypeImp(0).parseFontFile(file); }, rules::kOpenType);
    check(fonts->size() == 1, "one record a file");
    checkFileAttributes(fonts->front(), file, input);
    check(!fonts->front().getAttribute(eFoundry).empty(), "a foundry, if only \"Unknown\"");
}

const FuzzTarget target("OpenType", run);

}  // namespace
