#include "OxParserPFBImp.h"

#include "FileBytes.h"
#include "Log.h"
#include "ParserSupport.h"
#include "PfbHeader.h"

namespace {

constexpr char kExtension[] = ".PFB";
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

OxParserPFBImp::OxParserPFBImp() : buffer_(std::make_unique<ByteBuffer>()) {}
OxParserPFBImp::~OxParserPFBImp() = default;

boost::ptr_vector<OxFont>* OxParserPFBImp::parseFontFile(boost::filesystem::path file) {
    log().info("parseFontFile:  ");
    return validate(file);
}

bool OxParserPFBImp::inspectFont(boost::filesystem::path file) {
    return hasExtension(file, kExtension);
}

bool OxParserPFBImp::readsWhole(const boost::filesystem::path& file) const {
    return hasExtension(file, kExtension);
}

void OxParserPFBImp::releaseMemory() {
    buffer_->release();
}

bool OxParserPFBImp::diagnoseFont(boost::filesystem::path /*file*/) {
    return true;
}

bool OxParserPFBImp::repairFont(boost::filesystem::path /*file*/) {
    return true;
}

boost::ptr_vector<OxFont>* OxParserPFBImp::validate(const boost::filesystem::path& file) {
    return readOneRecord(
        file, log(), [&](OxFont& font) { readFont(file, font); },
        [&](OxFont& /*font*/, const std::string& text) {
            log().error("Cannot read " + file.string() + ":  " + text);
        });
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
    if (!readWhole(file, *size, bytes, *buffer_, kPfbHeaderBufferSize)) {
        if (bytes.readError()) {
            reportFileError(file, bytes.readError().message());
        }
        font.addDiagnostic(eError, kReadFailed);
        return;
    }
    font.setAttribute(eFingerprint, bytes.digest());

    PfbHeader header{};
    ParsePFBHeader(reinterpret_cast<char*>(buffer_->data()), &header);
    for (const HeaderAttribute& attribute : kHeaderAttributes) {
        font.setAttribute(attribute.key, header.*attribute.field);
    }
    font.setFontType(OxFont::PFB);
}
