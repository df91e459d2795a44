#include "GlyphCharacters.h"

#include "GlyphNames.h"
#include "Orthographies.h"

namespace {

// As long as a PostScript name can be (PostScript Language Reference, appendix B).
constexpr std::size_t kLongestName = 127;

}  // namespace

void GlyphCharacters::add(std::string_view name) {
    if (name.size() > kLongestName) {
        return;
    }
    if (const char32_t character = glyphNameCharacter(name)) {
        characters_.add(character);
    }
}

bool GlyphCharacters::onlySpace() const {
    const std::size_t count = characters_.count();
    return count == 0 || (count == 1 && characters_.contains(U' '));
}

void GlyphCharacters::addTo(Face& face) const {
    face.set("codepoints", characters_.count());
    if (face.context().details.coverage && !characters_.empty()) {
        face.set("coverage", characters_.ranges());
    }
    std::vector<std::string> names = coveredLanguages(characters_);
    OxPropertyValue::List languages;
    languages.reserve(names.size());
    for (std::string& name : names) {
        languages.emplace_back(std::move(name));
    }
    face.set("languages", std::move(languages));
}
