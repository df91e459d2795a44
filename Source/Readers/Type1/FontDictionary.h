#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "BlendDesign.h"
#include "PostScriptScanner.h"

/// What the clear text of a PostScript font program says of the font: its font dictionary and
/// FontInfo (Type 1 Font Format, chapter 2), and the keys of Type 42 and CID programs. Of a key
/// that occurs several times the first value of its kind counts; what stands in procedures does
/// not.
class FontDictionary {
  public:
    enum class Key {
        eFontName,
        eCidFontName,
        eVersion,
        eFullName,
        eFamilyName,
        eCopyrightText,
        eNotice,
        eWeightWord,
        eItalicAngle,
        eIsFixedPitch,
        eFontType,
        eCidCount,
        eEncoding,
        eSfnts,
        eBlendAxisTypes,
        eBlendDesignMap,
        eBlendDesignPositions,
        eWeightVector,
        eCount
    };

    /// Reads up to `eexec`, or to `StartData` in a CID program.
    explicit FontDictionary(std::string_view clearText);

    bool has(Key key) const { return values_[index(key)].has_value(); }
    /// The bytes of a string, the text of a name or word; empty for what is not there.
    std::string bytes(Key key) const;
    std::optional<double> number(Key key) const;
    /// Nothing for anything but true and false.
    std::optional<bool> flag(Key key) const;
    const BlendDesign& blend() const { return blend_; }
    /// The offset of the first string that has no end.
    std::optional<std::size_t> unclosedString() const { return scanner_.unclosedString(); }

  private:
    struct Row;
    static const Row* rowOf(std::string_view name);
    static std::size_t index(Key key) { return static_cast<std::size_t>(key); }

    void read();
    void readValue(const Row& row);
    void readArray(Key key);

    PostScriptScanner scanner_;
    std::array<std::optional<PostScriptToken>, static_cast<std::size_t>(Key::eCount)> values_;
    BlendDesign blend_;
};
