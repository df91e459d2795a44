#include "Check.h"
#include "FuzzTarget.h"
#include "OxParserPFMImp.h"
#include "RecordChecks.h"
#include "ScratchFolder.h"

namespace {

constexpr CodeRange kCodes[] = {
    {eError, 10000, 10000},   {eWarning, 15100, 15100}, {eWarning, 15105, 15108},
    {eNote, 15109, 15109},    {eError, 15110, 15113},   {eError, 15200, 15200},
    {eError, 15204, 15205},   {eWarning, 15207, 15207}, {eError, 15208, 15211},
    {eWarning, 15212, 15212}, {eWarning, 15300, 15300}, {eNote, 15301, 15306},
};
constexpr int kTypes[] = {OxFont::notSure};

void run(ByteView input) {
    static OxParserPFMImp used;
    const auto file = ScratchFolder::instance().write("font.pfm", input);
    const FontListPtr fonts =
        parseTwice([&] { return OxParserPFMImp().parseFontFile(file); }, {kCodes, {}, kTypes});
    check(fonts->size() == 1, "one record a file");
    checkFileAttributes(fonts->front(), file, input);
    checkEqual(*fonts, *FontListPtr(used.parseFontFile(file)));
    const bool refused = input.size() < 199;
    check(refused == fonts->front().getAttribute(eItalic).empty(), "all files but short ones read");
}

const FuzzTarget target("Pfm", run);

}  // namespace
