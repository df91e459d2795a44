#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// One token of a PostScript program.
struct PostScriptToken {
    enum class Kind {
        eEnd,        ///< nothing is left
        eName,       ///< a literal name; the text begins with "/"
        eWord,       ///< an executable name or a number
        eString,     ///< the text of a "(" string, escapes resolved
        eDelimiter,  ///< "[", "]", "{", "}", "<<", ">>" or a stray ")" or ">"
        eComment,    ///< the text behind "%", without the line's end
    };

    Kind kind = Kind::eEnd;
    std::string text;

    bool is(Kind wanted, std::string_view wantedText) const {
        return kind == wanted && text == wantedText;
    }
};

/// Splits a PostScript program into tokens (PostScript Language Reference, 3.2). Hexadecimal
/// strings are skipped. Ends of line are CR, LF or both. Whatever is left open at the program's end
/// ends there. The program's bytes must outlive the object.
class PostScriptTokens {
  public:
    /// Longer texts are cut; it is also the language's own limit for strings.
    static constexpr std::size_t kLongestText = 65535;

    explicit PostScriptTokens(std::string_view program) : program_(program) {}

    PostScriptToken next();
    /// Skips what follows a "{" up to its "}".
    void skipProcedure();

  private:
    bool atEnd() const { return position_ >= program_.size(); }
    char current() const { return program_[position_]; }
    std::string_view take(std::size_t end);
    std::string string();
    void appendEscape(std::string& text);

    std::string_view program_;
    std::size_t position_ = 0;
};
