#include "OxParserOpenTypeImp.h"

#include "Log.h"
#include "NameIndex.h"
#include "ParserSupport.h"
#include "SfntFile.h"

namespace {

namespace fs = boost::filesystem;

constexpr char kCategory[] = "OxParserOpenTypeImp";
constexpr char kExtension[] = ".OTF";

constexpr SfntFormat::Version kVersions[] = {
    {fourCharCode("OTTO"), -1, "Open Type"},
    {kTrueTypeVersion, -1, "MacOrWindows"},
};
// The tag is not that of a real CFF table ('CFF ', upper case); hosts see no CFF diagnostics.
constexpr SfntTable kNameIndexTable = {0x00636666, 0,  "parsing cff", readNameIndex, 11050, 0, "",
                                       "",         "", nullptr};
constexpr SfntFormat kFormat = {kCategory, kVersions,        -1,          true,
                                false,     &kNameIndexTable, OxFont::OTPS};

}  // namespace

OxParserOpenTypeImp::OxParserOpenTypeImp(int PlatformId) : OxParserTrueTypeImp(PlatformId) {}

OxParserOpenTypeImp::~OxParserOpenTypeImp() = default;

boost::ptr_vector<OxFont>* OxParserOpenTypeImp::parseFontFile(fs::path file) {
    LogChannel(kCategory).info("parseFontFile:  ");
    boost::ptr_vector<OxFont>* const fonts = validate(file);
    if (reading_->fileError) {
        reportFileError(file, reading_->fileError.message());
    }
    return fonts;
}

bool OxParserOpenTypeImp::inspectFont(fs::path file) {
    return hasExtension(file, kExtension);
}

bool OxParserOpenTypeImp::readsWhole(const fs::path& file) const {
    return hasExtension(file, kExtension);
}

boost::ptr_vector<OxFont>* OxParserOpenTypeImp::validate(const fs::path& file) {
    reading_->fontNames.clear();
    return readSfntFile(*reading_, file, kFormat);
}

bool OxParserOpenTypeImp::parseCompactFontFormatTable(const ttf::tagTableDirectory* record,
                                                      OxFont& font) {
    return readTable(kNameIndexTable, *reading_, record, font);
}

const std::vector<std::string>& OxParserOpenTypeImp::fontNames() const {
    return reading_->fontNames;
}
