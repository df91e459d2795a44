#include "OxFontReader.h"

class OxFontReader::Look {};

OxFontReader::OxFontReader(const ReadingDetails& details) : details_(details) {}
OxFontReader::~OxFontReader() = default;

// NOLINTBEGIN(performance-unnecessary-value-param)
boost::ptr_vector<OxFont>* OxFontReader::parseFontFile(boost::filesystem::path /*file*/) {
    return nullptr;
}
bool OxFontReader::inspectFont(boost::filesystem::path /*file*/) {
    return false;
}
// NOLINTEND(performance-unnecessary-value-param)
bool OxFontReader::readsWhole(const boost::filesystem::path& /*file*/) const {
    return false;
}
void OxFontReader::releaseMemory() {}
