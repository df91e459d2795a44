#include <string>

#include "Ascii.h"
#include "Check.h"
#include "FuzzTarget.h"
#include "TokenScanner.h"

namespace {

bool isNumber(const std::string& token) {
    return (token.size() == 2 || token.size() == 4) &&
           std::all_of(token.begin(), token.end(), ascii::isDigit);
}

// Every byte of the line is in a token, a separator or white space before a token.
void run(ByteView input) {
    const std::string line(input.text().substr(0, input.text().find('\0')));
    set_line(line.c_str());
    for (std::size_t steps = 0;; ++steps) {
        check(steps <= line.size() + 1, "the scanner comes to an end");
        const auto before = static_cast<std::size_t>(iIndex);
        get_next_token();
        const auto after = static_cast<std::size_t>(iIndex);
        check(before <= after && after <= line.size(), "the scanner stays in its line");
        if (tokentype == kTokenEndOfLine && tokenlen == 0 && after == line.size()) {
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
        check(token.size() == 1 || (tokentype == kTokenNumber) == isNumber(token),
              "two or four digits are a number");
        if (after < line.size()) {
            check(line[after] == ',' || line[after] == '.', "a token ends at a separator");
            ++iIndex;
        }
    }
    set_line(nullptr);
}

const FuzzTarget target("TokenScanner", run);

}  // namespace
