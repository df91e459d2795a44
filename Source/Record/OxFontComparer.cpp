#include "OxFontComparer.h"

bool OxFontComparer::operator()(const OxFont& other) const {
    return reference_.getAttribute(ePostscriptname) == other.getAttribute(ePostscriptname) &&
           reference_.getFontType() == other.getFontType();
}
