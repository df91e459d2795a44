#include <algorithm>
#include <cstring>
#include <memory>

#include "Check.h"
#include "FuzzTarget.h"
#include "PfbHeader.h"

namespace {

// A buffer that is exactly as long as it must be: shorter texts are padded with zero bytes, and the
// last byte is a zero byte.
PfbHeader parse(ByteView text, char fill) {
    const std::size_t size = std::max(text.size() + 1, kPfbHeaderBufferSize);
    const auto buffer = std::make_unique<char[]>(size);
    std::copy_n(text.data(), text.size(), buffer.get());
    PfbHeader header;
    std::memset(&header, fill, sizeof header);
    check(ParsePFBHeader(buffer.get(), &header) == 0, "ParsePFBHeader returns 0");
    return header;
}

bool isFilledWith(const PfbHeader& header, char fill) {
    PfbHeader expected;
    std::memset(&expected, fill, sizeof expected);
    return std::memcmp(&header, &expected, sizeof header) == 0;
}

void run(ByteView input) {
    const PfbHeader header = parse(input, 'a');
    const PfbHeader again = parse(input, 'b');
    constexpr std::size_t kLookedThrough = 2047;
    // The byte behind the last place looked at is taken for a program's start by itself.
    const bool isProgram =
        input.clamped(0, kLookedThrough).text().find("%!PS") != std::string_view::npos ||
        input.clamped(kLookedThrough - 3, 1).text() == "%";
    if (isFilledWith(header, 'a')) {
        check(!isProgram && isFilledWith(again, 'b'), "a program's header is read");
        return;
    }
    check(isProgram, "only a program's header is read");
    for (char(PfbHeader::*field)[PfbHeader::kFieldSize] :
         {&PfbHeader::shortFontName, &PfbHeader::notice, &PfbHeader::fullName,
          &PfbHeader::familyName, &PfbHeader::version, &PfbHeader::foundry, &PfbHeader::fontType,
          &PfbHeader::weight}) {
        check(std::memchr(header.*field, '\0', PfbHeader::kFieldSize) != nullptr,
              "every text ends in its field");
        check(std::strcmp(header.*field, again.*field) == 0,
              "the texts do not depend on what the record held");
    }
}

const FuzzTarget target("PfbHeader", run);

}  // namespace
