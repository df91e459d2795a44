#include "UniqueFonts.h"

#include <algorithm>

#include "OxFontComparer.h"

UniqueFonts::UniqueFonts(boost::ptr_vector<OxFont>& fonts) : fonts_(fonts) {
    for (const OxFont& font : fonts_) {
        index_.emplace(keyOf(font), &font);
    }
}

void UniqueFonts::append(OxFont* font) {
    fonts_.push_back(font);
    index_.emplace(keyOf(*font), font);
}

bool UniqueFonts::add(const OxFont& font) {
    const OxFontComparer equals(font);
    const auto [begin, end] = index_.equal_range(keyOf(font));
    if (std::any_of(begin, end, [&equals](const auto& known) { return equals(*known.second); })) {
        return false;
    }
    append(new OxFont(font));
    return true;
}

// Equal for equal records, and not for many others.
std::string UniqueFonts::keyOf(const OxFont& font) {
    return font.getAttribute(ePostscriptname) + '\0' + std::to_string(font.getFontType());
}
