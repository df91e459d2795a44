#include "PropertyNames.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view kNames[] = {
    // what it is
    "format", "container", "index", "offset", "fork", "resource",
    // names
    "family", "style", "fullName", "postscriptName", "version", "uniqueId", "copyright",
    "trademark", "manufacturer", "designer", "description", "vendorUrl", "designerUrl", "license",
    "licenseUrl", "typographicFamily", "typographicStyle", "names",
    // style
    "weight", "width", "italic", "monospace", "symbol", "variable", "color", "hinted",
    "italicAngle",
    // origin
    "vendor", "foundry", "embedding", "noSubsetting", "bitmapOnly",
    // measures
    "unitsPerEm", "ascender", "descender", "lineGap", "xHeight", "capHeight", "glyphs", "created",
    "modified", "revision",
    // what it covers
    "codepoints", "coverage", "languages", "scripts", "features", "axes", "instances", "tables",
    "size", "encoding", "kerningPairs",
    // what belongs to it
    "outline", "metrics", "printerFonts"};

}  // namespace

std::span<const std::string_view> propertyNames() {
    return kNames;
}

std::size_t propertyRank(std::string_view name) {
    return static_cast<std::size_t>(std::find(std::begin(kNames), std::end(kNames), name) -
                                    std::begin(kNames));
}
