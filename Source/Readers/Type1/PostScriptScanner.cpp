#include "PostScriptScanner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "HexDigits.h"
#include "PostScriptCharacters.h"

namespace {

using Kind = PostScriptToken::Kind;

using Class = PostScriptClass;

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

// What the escape at `position`, the character behind a backslash, means; moves behind it.
void appendEscaped(std::string& out, std::string_view text, std::size_t& position) {
    constexpr std::string_view kLetters = "nrtbf";
    constexpr std::string_view kMeanings = "\n\r\t\b\f";
    const char c = text[position++];
    if (isOctal(c)) {
        unsigned value = static_cast<unsigned>(c - '0');
        for (int digit = 1; digit < 3 && position < text.size() && isOctal(text[position]);
             ++digit) {
            value = value * 8 + static_cast<unsigned>(text[position++] - '0');
        }
        out.push_back(static_cast<char>(value & 0xFF));
    } else if (const std::size_t letter = kLetters.find(c); letter != kLetters.npos) {
        out.push_back(kMeanings[letter]);
    } else if (c == '\r') {
        position += position < text.size() && text[position] == '\n' ? 1U : 0U;
    } else if (c != '\n') {
        out.push_back(c);
    }
}

std::string unescaped(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i++];
        if (c == '\\' && i < text.size()) {
            appendEscaped(out, text, i);
        } else if (c == '\r') {  // any line end within a string is a line feed
            i += i < text.size() && text[i] == '\n' ? 1U : 0U;
            out.push_back('\n');
        } else if (c != '\\') {
            out.push_back(c);
        }
    }
    return out;
}

}  // namespace

PostScriptToken PostScriptScanner::next() {
    const std::size_t start = position_ = blanksEnd(position_);
    if (start >= text_.size()) {
        return {};
    }
    switch (text_[start]) {
        case '/':
            return token(Kind::eName, start + 1, regularEnd(start + 1));
        case '(':
            return string();
        case '<':
            return hexString();
        case '[':
            return token(Kind::eArrayBegin, start, start + 1);
        case ']':
            return token(Kind::eArrayEnd, start, start + 1);
        case '{':
            return token(Kind::eProcedureBegin, start, start + 1);
        case '}':
            return token(Kind::eProcedureEnd, start, start + 1);
        case '>':
        case ')':
            return token(Kind::eMark, start, start + 1);
        default:
            return token(Kind::eWord, start, regularEnd(start));
    }
}

void PostScriptScanner::skipArray() {
    for (std::size_t depth = 1; depth > 0;) {
        const PostScriptToken token = next();
        // Nothing is defined within an array: one without its end ends there.
        if (token.is(Kind::eEnd) || token.isWord("def") || token.isWord("eexec")) {
            return;
        }
        depth += token.is(Kind::eArrayBegin) ? 1U : 0U;
        depth -= token.is(Kind::eArrayEnd) ? 1U : 0U;
    }
}

void PostScriptScanner::skipEncodingEntry() {
    constexpr std::string_view kPut = "put";
    const std::size_t digits = blanksEnd(position_);
    std::size_t at = digits;
    while (at < text_.size() && text_[at] >= '0' && text_[at] <= '9') {
        ++at;
    }
    const std::size_t slash = blanksEnd(at);
    if (at == digits || slash >= text_.size() || text_[slash] != '/') {
        return;
    }
    const std::size_t put = blanksEnd(regularEnd(slash + 1));
    const std::size_t end = put + kPut.size();
    if (text_.substr(std::min(put, text_.size()), kPut.size()) == kPut && regularEnd(end) == end) {
        position_ = end;
    }
}

// Behind blanks and comments.
std::size_t PostScriptScanner::blanksEnd(std::size_t from) const {
    const std::string_view text = text_;
    while (from < text.size()) {
        if (postScriptClassOf(text[from]) == Class::eBlank) {
            ++from;
        } else if (text[from] == '%') {
            from = std::min(text.find_first_of("\r\n\f", from), text.size());
        } else {
            break;
        }
    }
    return from;
}

PostScriptToken PostScriptScanner::token(Kind kind, std::size_t first, std::size_t last) {
    position_ = last;
    return {kind, text_.substr(first, last - first)};
}

std::size_t PostScriptScanner::regularEnd(std::size_t from) const {
    const std::string_view text = text_;
    while (from < text.size() && postScriptClassOf(text[from]) == Class::eRegular) {
        ++from;
    }
    return from;
}

PostScriptToken PostScriptScanner::string() {
    const std::size_t start = position_ + 1;
    std::size_t depth = 1;
    for (std::size_t i = start; i < text_.size(); ++i) {
        const char c = text_[i];
        if (c == '\\') {
            ++i;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            PostScriptToken result = token(Kind::eString, start, i);
            ++position_;
            return result;
        } else if (unclosed_ && (c == '\r' || c == '\n')) {
            // Looking for the end of every such string would be quadratic.
            return token(Kind::eString, start, i);
        }
    }
    if (!unclosed_) {
        unclosed_ = position_;
        return string();
    }
    return token(Kind::eString, start, text_.size());
}

PostScriptToken PostScriptScanner::hexString() {
    const std::size_t start = position_ + 1;
    if (start < text_.size() && text_[start] == '<') {
        return token(Kind::eMark, position_, start + 1);
    }
    const std::size_t end = text_.find('>', start);
    if (end == text_.npos) {
        return token(Kind::eHexString, start, text_.size());
    }
    PostScriptToken result = token(Kind::eHexString, start, end);
    ++position_;
    return result;
}

std::string stringBytes(const PostScriptToken& token) {
    if (token.is(Kind::eString)) {
        return unescaped(token.text);
    }
    if (!token.is(Kind::eHexString)) {
        return std::string(token.text);
    }
    std::string bytes;
    HexDigits digits(token.text);
    while (const std::optional<std::uint8_t> byte = digits.next()) {
        bytes.push_back(static_cast<char>(*byte));
    }
    return bytes;
}

std::optional<double> numberIn(std::string_view word) {
    if (!word.empty() && word.front() == '+') {
        word.remove_prefix(1);
    }
    double number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<std::size_t> countIn(std::string_view word) {
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole ? std::optional(count) : std::nullopt;
}
