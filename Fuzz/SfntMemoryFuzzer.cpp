#include <memory>

#include "Check.h"
#include "FormatRules.h"
#include "FuzzTarget.h"
#include "OxParserTrueTypeImp.h"

namespace {

// A resource's bytes, in a block that ends exactly where they end. The first byte chooses whose
// names count.
void run(ByteView input) {
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

const FuzzTarget target("SfntMemory", run);

}  // namespace
