#include <string>

#include "Check.h"
#include "FuzzTarget.h"
#include "MacRoman.h"

namespace {

void run(ByteView input) {
    constexpr std::size_t kLongest = 255;
    const std::string utf8 = macRomanToUtf8(input.text());
    check(utf8.size() <= kLongest, "a text of at most 255 bytes");
    const std::string_view text = input.text().substr(0, input.text().find('\0'));
    const std::string back = macRomanFromUtf8(utf8);
    check(text.substr(0, back.size()) == back, "Mac Roman through UTF-8");
    check(back.size() == text.size() || utf8.size() + 3 > kLongest, "cut only when it is too long");
    macRomanFromUtf8(input.text());
}

const FuzzTarget target("MacRoman", run);

}  // namespace
