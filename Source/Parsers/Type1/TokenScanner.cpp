#include "TokenScanner.h"

#include <algorithm>
#include <string_view>

#include "Ascii.h"

const char* cpLine = nullptr;
std::int32_t iIndex = -1;
std::int32_t jIndex = 0;
std::int32_t tokenlen = 0;
std::int32_t tokentype = 0;
char tokenval[kTokenValueSize] = {};

namespace {

// A single byte that is none of the three keeps the previous token's class, deliberately.
std::int32_t classify(std::string_view token, std::int32_t previous) {
    switch (token.size()) {
        case 1:
            switch (token[0]) {
                case ',':
                    return kTokenComma;
                case '.':
                    return kTokenPeriod;
                case '-':
                    return kTokenMinus;
                default:
                    return previous;
            }
        case 2:
        case 4:
            return std::all_of(token.begin(), token.end(), ascii::isDigit) ? kTokenNumber
                                                                           : kTokenWord;
        default:
            return kTokenWord;
    }
}

}  // namespace

int set_line(const char* line) {
    cpLine = line;
    iIndex = 0;
    return 0;
}

int get_next_token() {
    const std::string_view line(cpLine != nullptr ? cpLine : "");
    const std::size_t start = std::min(static_cast<std::size_t>(std::max(iIndex, 0)), line.size());
    const std::size_t begin = std::min(line.find_first_not_of("\t\n ", start), line.size());
    iIndex = static_cast<std::int32_t>(begin);
    tokenlen = 0;
    if (begin == line.size()) {
        tokentype = kTokenEndOfLine;
        return 0;
    }
    const std::string_view token = line.substr(begin, line.find_first_of(",.", begin) - begin);
    iIndex = static_cast<std::int32_t>(begin + token.size());
    const std::string_view stored = token.substr(0, kTokenValueSize - 1);
    tokenval[stored.copy(tokenval, stored.size())] = '\0';
    jIndex = tokenlen = static_cast<std::int32_t>(stored.size());
    tokentype = classify(stored, tokentype);
    return 0;
}
