#include "FontTypes.h"

#include <algorithm>

bool holdsPostScriptAndTrueType(const boost::ptr_vector<OxFont>& fonts) {
    const auto holds = [&fonts](int type) {
        return std::any_of(fonts.begin(), fonts.end(),
                           [type](const OxFont& font) { return font.getFontType() == type; });
    };
    return holds(OxFont::T1) && holds(OxFont::TT);
}
