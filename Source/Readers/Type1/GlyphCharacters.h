#pragma once

#include <string_view>

#include "CharacterSet.h"
#include "Face.h"

/// The characters of glyphs, by their names, and what follows from them.
class GlyphCharacters {
  public:
    /// A glyph's name, as its font has it.
    void add(std::string_view name);
    /// Whether no glyph but that of the space stands for a character.
    bool onlySpace() const;
    /// Sets `codepoints`, `languages` and, when it is asked for, `coverage`.
    void addTo(Face& face) const;

  private:
    CharacterSet characters_;
};
