#include "OxParserPFBImp.h"

#include <memory>
#include <new>

#include "Log.h"
#include "ParserSupport.h"
#include "PfbHeader.h"

namespace {

constexpr int kNoStatus = -1001;
constexpr int kReadFailed = -1003;

struct HeaderAttribute {
    const char* key;
    char (PfbHeader::*field)[PfbHeader::kFieldSize];
};

constexpr HeaderAttribute kHeaderAttributes[] = {
    {ePostscriptname, &PfbHeader::shortFontName},
    {eFullname, &PfbHeader::fullName},
    {eFamilyname, &PfbHeader::familyName},
    {eCopyright, &PfbHeader::notice},
    {eFoundry, &PfbHeader::foundry},
    {eWeight, &PfbHeader::weight},
    {eFontVersion, &PfbHeader::version},
};

const LogChannel& log() {
    static const LogChannel channel("OxParserPFBImp");
    return channel;
}

}  // namespace

OxParserPFBImp::OxParserPFBImp() = default;
OxParserPFBImp::~OxParserPFBImp() = default;

boost::ptr_vector<OxFont>* OxParserPFBImp::parseFontFile(boost::filesystem::path file) {
    log().info("parseFontFile:  ");
    return validate(file);
}

bool OxParserPFBImp::inspectFont(boost::filesystem::path file) {
    return hasExtension(file, ".PFB");
}

bool OxParserPFBImp::diagnoseFont(boost::filesystem::path /*file*/) {
    return true;
}

bool OxParserPFBImp::repairFont(boost::filesystem::path /*file*/) {
    return true;
}

boost::ptr_vector<OxFont>* OxParserPFBImp::validate(const boost::filesystem::path& file) {
    auto fonts = std::make_unique<boost::ptr_vector<OxFont>>();
    fonts->push_back(new OxFont);
    OxFont& font = fonts->back();
    try {
        readFont(file, font);
    } catch (const std::bad_alloc&) {
        reportTooLarge(font, file, log());
    } catch (const std::exception& error) {
        log().error("Cannot read " + file.string() + ":  " + error.what());
    }
    return fonts.release();
}

void OxParserPFBImp::readFont(const boost::filesystem::path& file, OxFont& font) {
    setPathAttributes(font, file);
    const auto size = regularFileSize(file);
    if (!size) {
        font.addDiagnostic(eError, kNoStatus);
        return;
    }
    if (*size >= kTooLargeToRead) {
        reportTooLarge(font, file, log());
        return;
    }
    FileBytes bytes;
    // The file may have become shorter since its status was read, or become so while it is read.
    if (!bytes.open(file) || bytes.size() < *size ||
        bytes.readAll(buffer_, kPfbHeaderBufferSize) != bytes.size()) {
        font.addDiagnostic(eError, kReadFailed);
        return;
    }
    font.setAttribute(eFingerprint, bytes.digest());

    PfbHeader header{};
    ParsePFBHeader(reinterpret_cast<char*>(buffer_.data()), &header);
    for (const HeaderAttribute& attribute : kHeaderAttributes) {
        font.setAttribute(attribute.key, header.*attribute.field);
    }
    font.setFontType(OxFont::PFB);
}
