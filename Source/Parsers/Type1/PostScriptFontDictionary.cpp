#include "PostScriptFontDictionary.h"

#include "Ascii.h"
#include "Keywords.h"
#include "PostScriptTokens.h"

namespace {

using Kind = PostScriptToken::Kind;

// Identifiers of the keyword tables.
enum class Symbol : std::int32_t {
    eNone = 0,
    eDictionaryEnd = 1,
    eEexec = 2,
    eFontName = 4,
    eFontType = 5,
    eFontInfo = 8,
    eCopyright = 9,
    eFamilyName = 10,
    eVersion = 11,
    eFullName = 12,
    eNotice = 13,
};

template <std::size_t N>
Symbol lookUp(const std::string& token, const SymbolMapping (&table)[N]) {
    return static_cast<Symbol>(lookupSymbol(token, table, N, sizeof(SymbolMapping)));
}

void setOnce(std::optional<std::string>& field, std::string value) {
    if (!field) {
        field = std::move(value);
    }
}

class DictionaryReader {
  public:
    explicit DictionaryReader(std::string_view program) : tokens_(program) {}

    PostScriptFontDictionary read() {
        while (token_ = tokens_.next(), token_.kind != Kind::eEnd) {
            // A key's value may itself be the next key, so it is looked at without being taken.
            while (readToken()) {
            }
            if (ended_) {
                break;
            }
        }
        if (!font_.fontName) {
            font_.fontName = commentName_;
        }
        return font_;
    }

  private:
    enum class Info { eOutside, eAnnounced, eInside };

    // True when token_ is now a further token that is still to be read.
    bool readToken() {
        if (token_.kind == Kind::eComment) {
            readComment();
            return false;
        }
        inHead_ = false;
        if (token_.kind == Kind::eDelimiter) {
            readDelimiter();
            return false;
        }
        if (token_.kind == Kind::eString) {
            return false;
        }
        const std::string key = ascii::toLower(token_.text);
        if (lookUp(key, kSymbols) == Symbol::eEexec) {
            ended_ = true;
            return false;
        }
        return info_ == Info::eInside ? readInfoKey(key) : readFontKey(key);
    }

    void readComment() {
        // "%%FontName: Name" in the comments before the program
        const std::size_t start = token_.text.find_first_not_of('%');
        const std::size_t colon = token_.text.find(':');
        if (!inHead_ || start == std::string::npos || colon == std::string::npos || colon < start) {
            return;
        }
        const std::string key = ascii::toLower(token_.text.substr(start, colon + 1 - start));
        if (lookUp(key, kPS3Symbols) == Symbol::eFontName) {
            PostScriptTokens value(std::string_view(token_.text).substr(colon + 1));
            const std::string name = value.next().text;
            if (!name.empty()) {
                setOnce(commentName_, name.substr(name.front() == '/' ? 1 : 0));
            }
        }
    }

    void readDelimiter() {
        if (token_.text == "{") {
            tokens_.skipProcedure();
        } else if (token_.text == "<<" && info_ == Info::eAnnounced) {
            info_ = Info::eInside;
        } else if (token_.text == ">>" && info_ == Info::eInside) {
            info_ = Info::eOutside;
        }
    }

    bool readFontKey(const std::string& key) {
        switch (lookUp(key, kSymbols)) {
            case Symbol::eFontName:
                return readName(font_.fontName);
            case Symbol::eFontType:
                return readValue(Kind::eWord, font_.fontType);
            case Symbol::eFontInfo:
                font_.isPresent = true;
                info_ = Info::eAnnounced;
                return false;
            default:
                break;
        }
        if (key == "fontinfo") {  // "/FontInfo 9 dict def FontInfo begin"
            info_ = Info::eAnnounced;
        } else if (info_ == Info::eAnnounced && key == "begin") {
            info_ = Info::eInside;
        } else if (info_ == Info::eAnnounced && key == "def") {
            info_ = Info::eOutside;  // an entry without a dictionary of its own
        }
        return false;
    }

    bool readInfoKey(const std::string& key) {
        if (key == "/fullname") {  // the table's search never finds it
            return readValue(Kind::eString, font_.fullName);
        }
        switch (lookUp(key, kFontInfoSymbols)) {
            case Symbol::eDictionaryEnd:
                info_ = Info::eOutside;
                return false;
            case Symbol::eFamilyName:
                return readValue(Kind::eString, font_.familyName);
            case Symbol::eVersion:
                return readValue(Kind::eString, font_.version);
            case Symbol::eNotice:
                return readValue(Kind::eString, font_.notice);
            case Symbol::eCopyright:
                return readValue(Kind::eString, font_.copyright);
            default:
                return false;
        }
    }

    bool readName(std::optional<std::string>& field) {
        token_ = tokens_.next();
        if (token_.kind == Kind::eName) {
            token_.text.erase(0, 1);
        } else if (token_.kind != Kind::eString) {
            return token_.kind != Kind::eEnd;
        }
        font_.isPresent = true;
        setOnce(field, token_.text);
        return false;
    }

    bool readValue(Kind kind, std::optional<std::string>& field) {
        token_ = tokens_.next();
        if (token_.kind != kind) {
            return token_.kind != Kind::eEnd;
        }
        font_.isPresent = true;
        setOnce(field, token_.text);
        return false;
    }

    PostScriptTokens tokens_;
    PostScriptToken token_;
    PostScriptFontDictionary font_;
    std::optional<std::string> commentName_;
    Info info_ = Info::eOutside;
    bool inHead_ = true;  // only comments so far
    bool ended_ = false;
};

}  // namespace

PostScriptFontDictionary PostScriptFontDictionary::read(std::string_view program) {
    return DictionaryReader(program).read();
}
