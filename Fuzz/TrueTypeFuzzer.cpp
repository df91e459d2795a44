#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserTrueTypeImp.h"
#include "ScratchFolder.h"

namespace {

// A TrueType file, by a parser of its own and by one that has read another font before.
void run(ByteView input) {
    static OxParserTrueTypeImp used(0);
    const auto file = ScratchFolder::instance().write("font.ttf", input);
    const FontListPtr fonts =
        parseTwice([&] { return OxParserTrueTypeImp(0).parseFontFile(file); }, rules::kTrueType);
    check(fonts->size() == 1, "one record a file");
    checkFileAttributes(fonts->front(), file, input);
    checkEqual(*fonts, *FontListPtr(used.parseFontFile(file)));

    ttf::tagFontDirectory directory{};
    const FontListPtr plain(OxParserTrueTypeImp(2).validate(file, directory));
    check(plain->size() == 1, "one record a file");
    checkRecord(plain->front(), rules::kPlainFile);
}

const FuzzTarget target("TrueType", run);

}  // namespace
