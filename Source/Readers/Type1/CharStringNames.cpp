#include "CharStringNames.h"

#include <algorithm>

#include "PostScriptCharacters.h"
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

// Walks over what nearly all of a dictionary is, `/name 123 RD <123 bytes> ND`, and decodes all but
// the charstrings. Anything else ends the walk: the scanner reads that.
class PlainGlyphs {
  public:
    PlainGlyphs(DecodedEexec& program, std::size_t position)
        : program_(program), text_(program.text()), position_(position) {}

    /// What a dictionary claims to hold, `123 dict`; no move when it is written otherwise.
    std::optional<std::size_t> head() {
        std::size_t at = endOf(Class::eBlank, position_);
        const std::string_view digits = wordAt(at);
        at = endOf(Class::eBlank, at + digits.size());
        const std::optional<std::size_t> claimed = countIn(digits);
        if (!claimed || wordAt(at) != kDict) {
            return std::nullopt;
        }
        position_ = at + kDict.size();
        return claimed;
    }
    /// Moves behind the next glyph; false, and no move, when it is written otherwise.
    bool next() {
        std::size_t at = position_;
        if (!moveToName(at)) {
            return false;
        }
        name_ = wordAt(++at);
        at = endOf(Class::eBlank, at + name_.size());
        const std::string_view digits = wordAt(at);
        const std::optional<std::size_t> length = countIn(digits);
        at = endOf(Class::eBlank, at + digits.size());
        const std::string_view reader = wordAt(at);
        const std::size_t start = at + reader.size() + 1;
        if (!length || reader.empty() || reader == "def" || start > text_.size() ||
            *length > text_.size() - start) {
            return false;
        }
        position_ = start + *length;
        program_.skipTo(position_);
        return true;
    }
    std::string_view name() const { return name_; }
    std::size_t position() const { return position_; }

  private:
    using Class = PostScriptClass;
    static constexpr std::string_view kDict = "dict";

    // Over the words that store the charstring before.
    bool moveToName(std::size_t& at) {
        for (at = endOf(Class::eBlank, at); at < text_.size() && text_[at] != '/';
             at = endOf(Class::eBlank, at)) {
            const std::string_view word = wordAt(at);
            if (word.empty() || word == "end") {
                return false;
            }
            at += word.size();
        }
        return at < text_.size();
    }
    std::string_view wordAt(std::size_t at) {
        return text_.substr(at, endOf(Class::eRegular, at) - at);
    }
    std::size_t endOf(Class wanted, std::size_t at) {
        constexpr std::size_t kAhead = 24;  // most of what stands between two charstrings
        for (;; ++at) {
            if (at >= program_.decoded()) {
                program_.decodeTo(at + kAhead);
            }
            if (at >= text_.size() || postScriptClassOf(text_[at]) != wanted) {
                return at;
            }
        }
    }

    DecodedEexec& program_;
    std::string_view text_;
    std::size_t position_;
    std::string_view name_;
};

// One that claims to hold so many glyphs; one that was not found without a claim.
CharStringNames newDictionary(std::optional<std::size_t> claimed) {
    CharStringNames found;
    if (claimed) {
        found.claimed = claimed;
        found.found = true;
        found.names.reserve(std::min(*claimed, kUsualGlyphs));
    }
    return found;
}

// Reads the head of a dictionary from the number behind its name on.
CharStringNames readHead(PostScriptScanner& scanner) {
    const std::optional<std::size_t> claimed = countIn(scanner.next().text);
    return newDictionary(claimed && scanner.next().isWord("dict") ? claimed : std::nullopt);
}

// Reads the glyphs behind the head; the scanner is then behind the dictionary's end.
void readGlyphs(PostScriptScanner& scanner, std::string_view text, CharStringNames& found) {
    for (PostScriptToken token = scanner.next(); !token.is(Kind::eEnd); token = scanner.next()) {
        if (token.isWord("end")) {
            found.ended = true;
            return;
        }
        if (!token.is(Kind::eName)) {
            continue;
        }
        const std::string_view name = token.text;
        if (skipCharString(scanner, text, found) && !found.cut) {
            found.names.push_back(name);
        }
    }
}

void keepFuller(CharStringNames& fullest, CharStringNames found) {
    if (found.found && (!fullest.found || found.names.size() > fullest.names.size())) {
        fullest = std::move(found);
    }
}

}  // namespace

CharStringNames charStringNames(std::string_view text) {
    CharStringNames fullest;
    PostScriptScanner scanner(text);  // one for all, so that it goes over the text once
    for (std::size_t place = text.find(kKey); place != text.npos;
         place = text.find(kKey, scanner.position())) {
        scanner.moveTo(place + kKey.size());
        CharStringNames found = readHead(scanner);
        if (found.found) {
            readGlyphs(scanner, text, found);
        }
        keepFuller(fullest, std::move(found));
    }
    return fullest;
}

CharStringNames charStringNames(DecodedEexec& program) {
    CharStringNames fullest;
    PostScriptScanner scanner(program.text());
    for (std::size_t place = program.find(kKey, 0); place != std::string_view::npos;
         place = program.find(kKey, scanner.position())) {
        PlainGlyphs plain(program, place + kKey.size());
        CharStringNames found = newDictionary(plain.head());
        while (found.found && plain.next()) {
            found.names.push_back(plain.name());
        }
        program.decodeTo(program.size());
        scanner.moveTo(plain.position());
        if (!found.found) {
            found = readHead(scanner);
        }
        if (found.found) {
            readGlyphs(scanner, program.text(), found);
        }
        keepFuller(fullest, std::move(found));
    }
    return fullest;
}
