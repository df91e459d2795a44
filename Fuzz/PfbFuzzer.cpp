#include "Check.h"
#include "FuzzTarget.h"
#include "OxParserPFBImp.h"
#include "RecordChecks.h"
#include "ScratchFolder.h"

namespace {

constexpr int kTypes[] = {OxFont::PFB};

// Whatever a PFB file holds, nothing is reported about it.
void run(ByteView input) {
    static OxParserPFBImp used;
    const auto file = ScratchFolder::instance().write("font.pfb", input);
    const FontListPtr fonts =
        parseTwice([&] { return OxParserPFBImp().parseFontFile(file); }, {{}, {}, kTypes});
    check(fonts->size() == 1, "one record a file");
    checkFileAttributes(fonts->front(), file, input);
    checkEqual(*fonts, *FontListPtr(used.parseFontFile(file)));
}

const FuzzTarget target("Pfb", run);

}  // namespace
