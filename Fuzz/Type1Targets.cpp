#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "Ascii.h"
#include "Check.h"
#include "FuzzTarget.h"
#include "OxParserPFBImp.h"
#include "OxParserPFMImp.h"
#include "PfbHeader.h"
#include "RecordChecks.h"
#include "ScratchFolder.h"
#include "TokenScanner.h"

namespace {

constexpr int kPfbTypes[] = {OxFont::PFB};

// Whatever a PFB file holds, nothing is reported about it.
FUZZ_TARGET(Pfb) {
    const auto file = ScratchFolder::instance().write("font.pfb", input);
    const FontListPtr fonts = parseTwice<OxParserPFBImp>(file, {{}, {}, kPfbTypes});
    checkOneRecord(*fonts, file, input);
    checkUsedParser<OxParserPFBImp>(*fonts, file);
}

constexpr CodeRange kPfmCodes[] = {
    {eError, 10000, 10000},   {eWarning, 15100, 15100}, {eWarning, 15105, 15108},
    {eNote, 15109, 15109},    {eError, 15110, 15113},   {eError, 15200, 15200},
    {eError, 15204, 15205},   {eWarning, 15207, 15207}, {eError, 15208, 15211},
    {eWarning, 15212, 15212}, {eWarning, 15300, 15300}, {eNote, 15301, 15306},
};
constexpr int kPfmTypes[] = {OxFont::notSure};

FUZZ_TARGET(Pfm) {
    const auto file = ScratchFolder::instance().write("font.pfm", input);
    const FontListPtr fonts = parseTwice<OxParserPFMImp>(file, {kPfmCodes, {}, kPfmTypes});
    checkOneRecord(*fonts, file, input);
    checkUsedParser<OxParserPFMImp>(*fonts, file);
    const bool refused = input.size() < 199;
    check(refused == fonts->front().getAttribute(eItalic).empty(), "all files but short ones read");
}

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

FUZZ_TARGET(PfbHeader) {
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

bool isNumber(const std::string& token) {
    return (token.size() == 2 || token.size() == 4) &&
           std::all_of(token.begin(), token.end(), ascii::isDigit);
}

// Every byte of the line is in a token, a separator or white space before a token.
FUZZ_TARGET(TokenScanner) {
    const std::string line(input.text().substr(0, input.text().find('\0')));
    set_line(line.c_str());
    for (std::size_t steps = 0;; ++steps) {
        check(steps <= line.size() + 1, "the scanner comes to an end");
        const auto before = static_cast<std::size_t>(iIndex);
        get_next_token();
        const auto after = static_cast<std::size_t>(iIndex);
        check(before <= after && after <= line.size(), "the scanner stays in its line");
        if (tokentype == eTokenEndOfLine && tokenlen == 0 && after == line.size()) {
            check(line.find_first_not_of("\t\n ", before) == std::string::npos,
                  "nothing but white space is left at the end");
            break;
        }
        const std::string token = tokenval;
        check(static_cast<std::size_t>(tokenlen) == token.size() && token.size() < kTokenValueSize,
              "the token's length");
        check(token.find_first_of(",.") == std::string::npos, "a token holds no separator");
        const std::size_t start = line.find_first_not_of("\t\n ", before);
        check(line.compare(start, token.size(), token) == 0, "a token stands in the line");
        check(token.size() == 1 || (tokentype == eTokenNumber) == isNumber(token),
              "two or four digits are a number");
        if (after < line.size()) {
            check(line[after] == ',' || line[after] == '.', "a token ends at a separator");
            ++iIndex;
        }
    }
    set_line(nullptr);
}

}  // namespace
