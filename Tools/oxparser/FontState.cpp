#include "FontState.h"

#include <algorithm>

#include "FontResult.h"

namespace {

constexpr int kNoFontFindings[] = {20000, 20001};

struct StateRow {
    const char* name;
    Mark mark;
};
constexpr StateRow kStates[] = {{"ok", Mark::ePlain},
                                {"note", Mark::eNote},
                                {"warning", Mark::eWarning},
                                {"broken", Mark::eError},
                                {"no font", Mark::eError}};

bool onlyNameMakesFont(const OxFont& font) {
    const auto saysSo = [](const FontDiagnostic& diagnostic) {
        return std::ranges::find(kNoFontFindings, diagnostic.code) != std::end(kNoFontFindings);
    };
    return font.getAttribute(eFileName).empty() && std::ranges::any_of(font.diagnostics(), saysSo);
}

const StateRow& rowOf(FontState state) {
    return kStates[static_cast<std::size_t>(state)];
}

}  // namespace

FontState stateOf(const OxFont& font) {
    if (onlyNameMakesFont(font)) {
        return FontState::eNoFont;
    }
    const DefectCounts counts = countDefects(font);
    return counts.errors > 0     ? FontState::eBroken
           : counts.warnings > 0 ? FontState::eWarning
           : counts.notes > 0    ? FontState::eNote
                                 : FontState::eOk;
}

const char* stateName(FontState state) {
    return rowOf(state).name;
}

Mark markOf(FontState state) {
    return rowOf(state).mark;
}
