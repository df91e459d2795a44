#pragma once

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

/// One token of a PostScript program (PostScript Language Reference, 3.2). A view of its text.
struct PostScriptToken {
    enum class Kind {
        eEnd,
        eName,       // text without the slash
        eWord,       // an executable name or a number
        eString,     // text between the parentheses, as written
        eHexString,  // text between the angle brackets
        eArrayBegin,
        eArrayEnd,
        eProcedureBegin,
        eProcedureEnd,
        eMark,  // << or >>
    };
    Kind kind = Kind::eEnd;
    std::string_view text;

    bool is(Kind wanted) const { return kind == wanted; }
    /// For a literal, whose length the compiler knows: words are compared for every token.
    template <std::size_t kSize>
    bool isWord(const char (&word)[kSize]) const {
        return kind == Kind::eWord && text.size() == kSize - 1 &&
               std::memcmp(text.data(), word, kSize - 1) == 0;
    }
};

/// Walks over the tokens of a PostScript program, any line ends, comments left out. Never fails and
/// goes once over the text, whatever is in it: a string without its end ends with its line.
class PostScriptScanner {
  public:
    explicit PostScriptScanner(std::string_view text) : text_(text) {}

    PostScriptToken next();
    /// Leaves out everything up to the bracket that closes the array whose opening bracket was the
    /// last token.
    void skipArray();
    /// Leaves out the rest of an encoding's entry, `dup 32 /space put`, if the last token was the
    /// first of one; fast, since most programs have 256.
    void skipEncodingEntry();

    /// The offset behind the last token.
    std::size_t position() const { return position_; }
    void moveTo(std::size_t position) { position_ = position; }
    /// The offset of the first string that has no end.
    std::optional<std::size_t> unclosedString() const { return unclosed_; }

  private:
    PostScriptToken token(PostScriptToken::Kind kind, std::size_t first, std::size_t last);
    PostScriptToken string();
    PostScriptToken hexString();
    std::size_t blanksEnd(std::size_t from) const;
    std::size_t regularEnd(std::size_t from) const;

    std::string_view text_;
    std::size_t position_ = 0;
    std::optional<std::size_t> unclosed_;
};

/// The bytes that a string token means: escapes (\n, \ddd, \( and the like) and continued lines
/// resolved, hexadecimal digits decoded. Any other token's text as it is.
std::string stringBytes(const PostScriptToken& token);

/// The decimal number that a word is; nothing for any other word.
std::optional<double> numberIn(std::string_view word);
/// The same for a whole number of at least 0 that fits.
std::optional<std::size_t> countIn(std::string_view word);
