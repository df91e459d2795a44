#include "PostScriptFontDictionary.h"

#include "Ascii.h"
#include "OxParserPSOutlineImp.h"
#include "PostScriptTokens.h"

namespace {

using Kind = PostScriptToken::Kind;

// Identifiers of the keyword tables.
enum Symbol : std::int32_t {
    eNoSymbol = 0,
    eDictionaryEnd = 1,
    eEexec = 2,
    eFontNameSymbol = 4,
    eFontTypeSymbol = 5,
    eFontInfoSymbol = 8,
    eCopyrightSymbol = 9,
    eFamilyNameSymbol = 10,
    eVersionSymbol = 11,
    eFullNameSymbol = 12,
    eNoticeSymbol = 13,
};

template <std::size_t N>
std::int32_t lookUp(const std::string& token, const SymbolMapping (&table)[N]) {
    return OxParserPSOutlineImp::lookupSymbol(token, table, N, sizeof(SymbolMapping));
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
        if (lookUp(key, kSymbols) == eEexec) {
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
        if (lookUp(key, kPS3Symbols) == eFontNameSymbol) {
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
            case eFontNameSymbol:
                return readName(font_.fontName);
            case eFontTypeSymbol:
                return readValue(Kind::eWord, font_.fontType);
            case eFontInfoSymbol:
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
            case eDictionaryEnd:
                info_ = Info::eOutside;
                return false;
            case eFamilyNameSymbol:
                return readValue(Kind::eString, font_.familyName);
            case eVersionSymbol:
                return readValue(Kind::eString, font_.version);
            case eNoticeSymbol:
                return readValue(Kind::eString, font_.notice);
            case eCopyrightSymbol:
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
