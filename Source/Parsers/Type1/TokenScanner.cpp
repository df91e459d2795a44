#include "TokenScanner.h"

#include <algorithm>
#include <cstring>
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
                    return eTokenComma;
                case '.':
                    return eTokenPeriod;
                case '-':
                    return eTokenMinus;
                default:
                    return previous;
            }
        case 2:
        case 4:
            return std::all_of(token.begin(), token.end(), ascii::isDigit) ? eTokenNumber
                                                                           : eTokenWord;
        default:
            return eTokenWord;
    }
}

// Where the last token ended. A caller who goes on from there pays for what is left of the line
// alone; elsewhere the line is measured first, so that no place behind its end is looked at.
struct Place {
    const char* line;
    std::int32_t index;
};
Place reached = {nullptr, 0};

std::size_t placeIn(const char* line) {
    const auto index = static_cast<std::size_t>(std::max(iIndex, 0));
    if (line == reached.line) {
        const auto known = static_cast<std::size_t>(reached.index);
        // Callers step over separators.
        if (index >= known) {
            return known + ::strnlen(line + known, index - known);
        }
    }
    return ::strnlen(line, index);
}

}  // namespace

int set_line(const char* line) {
    cpLine = line;
    iIndex = 0;
    reached = {nullptr, 0};
    return 0;
}

int get_next_token() {
    const char* const line = cpLine != nullptr ? cpLine : "";
    const std::size_t start = placeIn(line);
    const std::size_t begin = start + std::strspn(line + start, "\t\n ");
    iIndex = static_cast<std::int32_t>(begin);
    tokenlen = 0;
    if (line[begin] == '\0') {
        reached = {line, iIndex};
        tokentype = eTokenEndOfLine;
        return 0;
    }
    const std::string_view token(line + begin, std::strcspn(line + begin, ",."));
    iIndex = static_cast<std::int32_t>(begin + token.size());
    reached = {line, iIndex};
    const std::string_view stored = token.substr(0, kTokenValueSize - 1);
    tokenval[stored.copy(tokenval, stored.size())] = '\0';
    jIndex = tokenlen = static_cast<std::int32_t>(stored.size());
    tokentype = classify(stored, tokentype);
    return 0;
}
