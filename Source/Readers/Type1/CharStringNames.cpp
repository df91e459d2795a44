#include "CharStringNames.h"

#include <algorithm>

#include "PostScriptScanner.h"

namespace {

using Kind = PostScriptToken::Kind;

constexpr std::string_view kKey = "/CharStrings";
constexpr std::size_t kUsualGlyphs = 512;

// Reads the value behind a glyph's name: `123 RD <123 bytes> ND`, or `12 def` in Type 42. False
// when it is neither.
bool skipCharString(PostScriptScanner& scanner, std::string_view text, CharStringNames& found) {
    const std::optional<std::size_t> length = countIn(scanner.next().text);
    if (!length) {
        return false;
    }
    const std::size_t behindLength = scanner.position();
    if (scanner.next().isWord("def")) {
        return true;
    }
    // One blank parts the operator that reads the charstring from its bytes.
    const std::size_t start = scanner.position() + 1;
    if (start > text.size() || *length > text.size() - start) {
        found.cut = behindLength;
        scanner.moveTo(text.size());
        return true;
    }
    scanner.moveTo(start + *length);
    return true;
}

// Reads a dictionary from the number behind its name on; the scanner is then behind its end.
CharStringNames readDictionary(PostScriptScanner& scanner, std::string_view text) {
    CharStringNames found;
    found.claimed = countIn(scanner.next().text);
    if (!found.claimed || !scanner.next().isWord("dict")) {
        return {};
    }
    found.found = true;
    found.names.reserve(std::min(*found.claimed, kUsualGlyphs));
    for (PostScriptToken token = scanner.next(); !token.is(Kind::eEnd); token = scanner.next()) {
        if (token.isWord("end")) {
            found.ended = true;
            return found;
        }
        if (!token.is(Kind::eName)) {
            continue;
        }
        const std::string_view name = token.text;
        if (skipCharString(scanner, text, found) && !found.cut) {
            found.names.push_back(name);
        }
    }
    return found;
}

}  // namespace

CharStringNames charStringNames(std::string_view text) {
    CharStringNames fullest;
    PostScriptScanner scanner(text);  // one for all, so that it goes over the text once
    for (std::size_t place = text.find(kKey); place != text.npos;
         place = text.find(kKey, scanner.position())) {
        scanner.moveTo(place + kKey.size());
        CharStringNames found = readDictionary(scanner, text);
        if (found.found && (!fullest.found || found.names.size() > fullest.names.size())) {
            fullest = std::move(found);
        }
    }
    return fullest;
}
