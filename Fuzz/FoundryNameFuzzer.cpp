#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "Ascii.h"
#include "Check.h"
#include "FoundryName.h"
#include "FuzzTarget.h"
#include "InputParts.h"

namespace {

using ascii::toLower;

void checkSearch(const std::string& text, const std::string& pattern) {
    const char* const found = stristr(text.c_str(), pattern.c_str());
    const std::size_t expected =
        text.empty() ? std::string::npos : toLower(text).find(toLower(pattern));
    check((found == nullptr) == (expected == std::string::npos), "a text that is there is found");
    check(found == nullptr || found == text.c_str() + expected, "the first place is found");
}

// A pattern, then a notice.
void run(ByteView input) {
    InputParts parts(input);
    const std::string pattern = parts.shortText().c_str();
    const std::string text = std::string(parts.rest().text()).c_str();
    checkSearch(text, pattern);
    checkSearch(text, "copyright");

    constexpr std::size_t kSize = 1024;
    std::array<char, kSize> name{};
    check(XGetFoundryName(text.c_str(), name.data()) == 0, "XGetFoundryName returns 0");
    const auto end = std::find(name.begin(), name.end(), '\0');
    check(end != name.end(), "a name ends in its buffer");
    const std::string derived(name.begin(), end);
    const bool marked = stristr(text.c_str(), "copyright") || text.find("(c)") != text.npos ||
                        text.find("\\(c\\)") != text.npos || text.find('\xA9') != text.npos;
    if (!marked) {
        check(derived == "Unknown", "a text without a marker names nobody");
    } else if (!stristr(text.c_str(), "copyrighted")) {
        check(derived.empty(), "only \"Copyrighted\" yields a name");
    } else {
        check(toLower(text).find(toLower(derived)) != text.npos, "a name stands in its text");
    }
}

const FuzzTarget target("FoundryName", run);

}  // namespace
