#include "FontDictionary.h"

#include <algorithm>
#include <iterator>

using Kind = PostScriptToken::Kind;

struct FontDictionary::Row {
    enum class Value { eString, eName, eWord, eArray, eAny };

    std::string_view name;
    Key key;
    Value value;

    bool takes(const PostScriptToken& token) const {
        switch (value) {
            case Value::eString:
                return token.is(Kind::eString) || token.is(Kind::eHexString);
            case Value::eName:  // seldom a string, which `cvn` makes a name
                return token.is(Kind::eName) || token.is(Kind::eString);
            case Value::eWord:
                return token.is(Kind::eWord);
            case Value::eArray:
                return token.is(Kind::eArrayBegin);
            case Value::eAny:
                return token.is(Kind::eWord) || token.is(Kind::eArrayBegin);
        }
        return false;
    }
};

const FontDictionary::Row* FontDictionary::rowOf(std::string_view name) {
    using Value = Row::Value;
    static constexpr Row kRows[] = {
        {"FontName", Key::eFontName, Value::eName},
        {"CIDFontName", Key::eCidFontName, Value::eName},
        {"version", Key::eVersion, Value::eString},
        {"FullName", Key::eFullName, Value::eString},
        {"FamilyName", Key::eFamilyName, Value::eString},
        {"Copyright", Key::eCopyrightText, Value::eString},
        {"Notice", Key::eNotice, Value::eString},
        {"Weight", Key::eWeightWord, Value::eString},
        {"ItalicAngle", Key::eItalicAngle, Value::eWord},
        {"isFixedPitch", Key::eIsFixedPitch, Value::eWord},
        {"FontType", Key::eFontType, Value::eWord},
        {"CIDCount", Key::eCidCount, Value::eWord},
        {"Encoding", Key::eEncoding, Value::eAny},
        {"sfnts", Key::eSfnts, Value::eArray},
        {"BlendAxisTypes", Key::eBlendAxisTypes, Value::eArray},
        {"BlendDesignMap", Key::eBlendDesignMap, Value::eArray},
        {"BlendDesignPositions", Key::eBlendDesignPositions, Value::eArray},
        {"WeightVector", Key::eWeightVector, Value::eArray},
    };
    static_assert(std::size(kRows) == static_cast<std::size_t>(Key::eCount));
    constexpr std::size_t kShortest = 5;
    if (name.size() < kShortest) {  // the glyph names of an encoding
        return nullptr;
    }
    // Most names are those of glyphs: the first character and the length tell without a comparison.
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [name](const Row& r) {
        return r.name.size() == name.size() && r.name[0] == name[0] && r.name == name;
    });
    return row != std::end(kRows) ? row : nullptr;
}

FontDictionary::FontDictionary(std::string_view clearText) : scanner_(clearText) {
    read();
}

void FontDictionary::read() {
    std::size_t procedures = 0;
    for (PostScriptToken token = scanner_.next(); !token.is(Kind::eEnd); token = scanner_.next()) {
        if (token.isWord("dup") && procedures == 0) {
            scanner_.skipEncodingEntry();
        } else if (token.isWord("eexec") || token.isWord("StartData")) {
            return;
        }
        if (token.is(Kind::eProcedureBegin)) {
            ++procedures;
        } else if (token.is(Kind::eProcedureEnd) && procedures > 0) {
            --procedures;
        } else if (token.is(Kind::eName) && procedures == 0) {
            if (const Row* row = rowOf(token.text)) {
                readValue(*row);
            }
        }
    }
}

void FontDictionary::readValue(const Row& row) {
    const std::size_t behindKey = scanner_.position();
    const PostScriptToken value = scanner_.next();
    if (!row.takes(value)) {
        scanner_.moveTo(behindKey);
        return;
    }
    std::optional<PostScriptToken>& kept = values_[index(row.key)];
    if (!kept) {
        kept = value;
    }
    if (value.is(Kind::eArrayBegin)) {
        readArray(row.key);
    }
}

void FontDictionary::readArray(Key key) {
    switch (key) {
        case Key::eBlendAxisTypes:
            return blend_.readAxisTypes(scanner_);
        case Key::eBlendDesignMap:
            return blend_.readDesignMap(scanner_);
        case Key::eBlendDesignPositions:
            return blend_.readDesignPositions(scanner_);
        case Key::eWeightVector:
            return blend_.readWeightVector(scanner_);
        default:
            return scanner_.skipArray();
    }
}

std::string FontDictionary::bytes(Key key) const {
    const std::optional<PostScriptToken>& value = values_[index(key)];
    return value ? stringBytes(*value) : std::string();
}

std::optional<double> FontDictionary::number(Key key) const {
    const std::optional<PostScriptToken>& value = values_[index(key)];
    return value ? numberIn(value->text) : std::nullopt;
}

std::optional<bool> FontDictionary::flag(Key key) const {
    const std::optional<PostScriptToken>& value = values_[index(key)];
    if (!value || (!value->isWord("true") && !value->isWord("false"))) {
        return std::nullopt;
    }
    return value->isWord("true");
}
