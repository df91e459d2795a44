#include "Check.h"
#include "FinderInfo.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "MacFiles.h"
#include "MacResourceTypes.h"
#include "OxParserPSOutlineImp.h"
#include "ResourceFileWriter.h"
#include "ResourceManager.h"

namespace {

// A fork whose first chunk is this text.
std::vector<std::uint8_t> forkOfText(ByteView text) {
    std::vector<std::uint8_t> chunk = {1, 0};
    chunk.insert(chunk.end(), text.data(), text.data() + text.size());
    constexpr std::uint8_t kEnd[] = {5, 0};
    ResourceFileWriter writer;
    writer.add(kPostType, 501, "", 0, ByteView(chunk.data(), chunk.size()));
    writer.add(kPostType, 502, "", 0, ByteView(kEnd, sizeof kEnd));
    return writer.build();
}

// The first byte says what follows: a resource fork, or the clear text of a font program.
void run(ByteView input) {
    InputParts parts(input);
    const bool isText = parts.u8() % 2 == 1;
    const std::vector<std::uint8_t> text =
        isText ? forkOfText(parts.rest()) : std::vector<std::uint8_t>();
    const ByteView fork = isText ? ByteView(text.data(), text.size()) : parts.rest();
    const auto file = writeMacFile("AcmeBol", fourCharCode("LWFN"), fork);
    const std::int16_t current = CurResFile();
    const FontListPtr fonts =
        parseTwice([&] { return OxParserPSOutlineImp().parseFontFile(file); }, rules::kPrinterFont);
    check(fonts->size() == 1, "one record a printer font");
    check(CurResFile() == current, "the current resource file stays as it was");
    checkFileAttributes(fonts->front(), file, {});
}

const FuzzTarget target("PSOutline", run);

}  // namespace
