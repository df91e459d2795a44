#include "PostScriptTokens.h"

#include <algorithm>

namespace {

using Kind = PostScriptToken::Kind;

constexpr std::string_view kSpaces("\0\t\n\f\r ", 6);
constexpr std::string_view kWordEnds("\0\t\n\f\r ()<>[]{}/%", 16);
constexpr std::string_view kLineEnds("\r\n");

constexpr std::string_view kEscapes = "nrtbf";
constexpr std::string_view kEscaped = "\n\r\t\b\f";

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

}  // namespace

std::string_view PostScriptTokens::take(std::size_t end) {
    const std::size_t start = position_;
    position_ = std::min(end, program_.size());
    return program_.substr(start, position_ - start).substr(0, kLongestText);
}

PostScriptToken PostScriptTokens::next() {
    while (true) {
        position_ = std::min(program_.find_first_not_of(kSpaces, position_), program_.size());
        if (atEnd()) {
            return {};
        }
        switch (current()) {
            case '%':
                ++position_;
                return {Kind::eComment,
                        std::string(take(program_.find_first_of(kLineEnds, position_)))};
            case '(':
                ++position_;
                return {Kind::eString, string()};
            case '/':
                return {Kind::eName,
                        std::string(take(program_.find_first_of(kWordEnds, position_ + 1)))};
            case '<':
                if (program_.substr(position_, 2) != "<<") {
                    take(program_.find('>', position_));
                    take(position_ + 1);
                    continue;
                }
                return {Kind::eDelimiter, std::string(take(position_ + 2))};
            case '>':
                return {Kind::eDelimiter,
                        std::string(take(program_.substr(position_, 2) == ">>" ? position_ + 2
                                                                               : position_ + 1))};
            case ')':
            case '[':
            case ']':
            case '{':
            case '}':
                return {Kind::eDelimiter, std::string(take(position_ + 1))};
            default:
                return {Kind::eWord,
                        std::string(take(program_.find_first_of(kWordEnds, position_)))};
        }
    }
}

void PostScriptTokens::skipProcedure() {
    for (std::size_t depth = 1; depth > 0;) {
        const PostScriptToken token = next();
        if (token.kind == Kind::eEnd) {
            return;
        }
        if (token.is(Kind::eDelimiter, "{")) {
            ++depth;
        } else if (token.is(Kind::eDelimiter, "}")) {
            --depth;
        }
    }
}

std::string PostScriptTokens::string() {
    std::string text;
    std::size_t depth = 1;
    while (!atEnd()) {
        char c = program_[position_++];
        if (c == '\\') {
            appendEscape(text);
            continue;
        }
        if (c == '\r') {  // however a line ends, the string holds a line feed
            c = '\n';
            if (!atEnd() && current() == '\n') {
                ++position_;
            }
        }
        if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            break;
        }
        if (text.size() < kLongestText) {
            text += c;
        }
    }
    return text;
}

void PostScriptTokens::appendEscape(std::string& text) {
    if (atEnd()) {
        return;
    }
    const char c = program_[position_++];
    char resolved = c;
    if (c == '\r' || c == '\n') {  // the line goes on
        if (c == '\r' && !atEnd() && current() == '\n') {
            ++position_;
        }
        return;
    }
    if (isOctal(c)) {
        unsigned value = static_cast<unsigned>(c - '0');
        for (int digits = 1; digits < 3 && !atEnd() && isOctal(current()); ++digits) {
            value = value * 8 + static_cast<unsigned>(program_[position_++] - '0');
        }
        resolved = static_cast<char>(value);
    } else if (const std::size_t place = kEscapes.find(c); place != std::string_view::npos) {
        resolved = kEscaped[place];
    }
    if (text.size() < kLongestText) {
        text += resolved;
    }
}
