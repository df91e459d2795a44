#include "OxParserPFMImp.h"

#include <span>
#include <string>

#include "FileBytes.h"
#include "Log.h"
#include "ParserSupport.h"

namespace {

constexpr char kExtension[] = ".PFM";
constexpr int kNoStatus = -1001;
constexpr int kInvalidLength = 10000;
constexpr std::uint64_t kLargestRefusedSize = 198;

constexpr std::uint64_t kHeaderOffset = 0;
constexpr std::uint32_t kHeaderSize = 117;
constexpr std::uint64_t kExtensionOffset = 117;
constexpr std::uint32_t kExtensionSize = 30;
constexpr std::uint64_t kMetricsOffset = 147;
constexpr std::uint32_t kMetricsSize = 52;
static_assert(kMetricsOffset + kMetricsSize == kLargestRefusedSize + 1);

constexpr std::uint64_t kItalicOffset = 80;

enum class Width { e16, e32 };

// What is wrong with a value.
enum class Fault { eIs, eIsNot, eExceeds, eExceedsFileSize };

struct FieldRule {
    std::uint32_t offset;  // from the start of its part
    Width width;
    Fault fault;
    std::uint32_t operand;
    FontDiagnosticType type;
    int code;
    const char* label;
};

constexpr FieldRule kHeaderRules[] = {
    {0, Width::e16, Fault::eIsNot, 0x0100, eWarning, 15100, "header= "},
    {2, Width::e32, Fault::eExceedsFileSize, 0, eWarning, 15105, "size= "},
    {66, Width::e16, Fault::eIsNot, 0x0081, eWarning, 15106, "type= "},
    {70, Width::e16, Fault::eIsNot, 300, eWarning, 15107, "vertical resolution= "},
    {72, Width::e16, Fault::eIsNot, 300, eWarning, 15108, "horizontal resolution= "},
    {99, Width::e16, Fault::eIsNot, 0, eNote, 15109, "width bytes= "},
    {101, Width::e32, Fault::eIs, 0, eError, 15110, "device offset= "},
    {101, Width::e32, Fault::eExceedsFileSize, 0, eError, 15111, "device offset= "},
    {105, Width::e32, Fault::eIs, 0, eError, 15112, "face offset= "},
    {105, Width::e32, Fault::eExceedsFileSize, 0, eError, 15113, "face offset= "},
};

constexpr FieldRule kExtensionRules[] = {
    {0, Width::e16, Fault::eIsNot, 30, eError, 15200, "extension size = "},
    {2, Width::e32, Fault::eIs, 0, eError, 15210, "extension metrics offset = "},
    {6, Width::e32, Fault::eIs, 0, eError, 15211, "extents offset = "},
    {10, Width::e32, Fault::eIsNot, 0, eWarning, 15212, "origin table offset = "},
    {14, Width::e32, Fault::eExceedsFileSize, 0, eError, 15204, "kern pair table offset = "},
    {18, Width::e32, Fault::eExceedsFileSize, 0, eError, 15205, "kern track table offset = "},
    {26, Width::e32, Fault::eIsNot, 0, eWarning, 15207, "extension reserved = "},
    {22, Width::e32, Fault::eExceedsFileSize, 0, eError, 15209, "extension driver offset = "},
    {22, Width::e32, Fault::eIs, 0, eError, 15208, "extension driver offset = "},
};

// The last rule shares its code with the one before it, deliberately: hosts tell them apart by the
// text.
constexpr FieldRule kMetricsRules[] = {
    {0, Width::e16, Fault::eExceeds, 52, eWarning, 15300, "extended text metrics size = "},
    {2, Width::e16, Fault::eIsNot, 240, eNote, 15301, "extended text metrics point size = "},
    {4, Width::e16, Fault::eIsNot, 0, eNote, 15302, "extended text metrics orientation = "},
    {6, Width::e16, Fault::eIsNot, 1000, eNote, 15303, "extended text metrics master height = "},
    {8, Width::e16, Fault::eIsNot, 3, eNote, 15304, "extended text metrics min scale = "},
    {10, Width::e16, Fault::eIsNot, 1000, eNote, 15305, "extended text metrics max scale = "},
    {12, Width::e16, Fault::eIsNot, 1000, eNote, 15306, "extended text metrics master units = "},
    {24, Width::e16, Fault::eIsNot, 0, eNote, 15306, "extended text metrics superscript offset = "},
};

bool isFaulty(const FieldRule& rule, std::uint32_t value, std::uint32_t fileSize) {
    switch (rule.fault) {
        case Fault::eIs:
            return value == rule.operand;
        case Fault::eIsNot:
            return value != rule.operand;
        case Fault::eExceeds:
            return value > rule.operand;
        case Fault::eExceedsFileSize:
            return value > fileSize;
    }
    return false;
}

void check(OxFont& font, ByteView part, std::span<const FieldRule> rules,
           std::uint32_t fileSize = 0) {
    for (const FieldRule& rule : rules) {
        const std::uint32_t value = rule.width == Width::e16 ? part.u16le(rule.offset, rule.label)
                                                             : part.u32le(rule.offset, rule.label);
        if (isFaulty(rule, value, fileSize)) {
            font.addDiagnostic(rule.type, rule.code, rule.label + std::to_string(value));
        }
    }
}

const LogChannel& log() {
    static const LogChannel channel("OxParserPFBImp");
    return channel;
}

}  // namespace

OxParserPFMImp::OxParserPFMImp() : buffer_(std::make_unique<ByteBuffer>()) {}
OxParserPFMImp::~OxParserPFMImp() = default;

boost::ptr_vector<OxFont>* OxParserPFMImp::parseFontFile(boost::filesystem::path file) {
    log().info("parseFontFile:  ");
    return validate(file);
}

bool OxParserPFMImp::inspectFont(boost::filesystem::path file) {
    return hasExtension(file, kExtension);
}

bool OxParserPFMImp::readsWhole(const boost::filesystem::path& file) const {
    return hasExtension(file, kExtension);
}

void OxParserPFMImp::releaseMemory() {
    buffer_->release();
}

bool OxParserPFMImp::diagnoseFont(boost::filesystem::path /*file*/) {
    return true;
}

bool OxParserPFMImp::repairFont(boost::filesystem::path /*file*/) {
    return true;
}

boost::ptr_vector<OxFont>* OxParserPFMImp::validate(const boost::filesystem::path& file) {
    auto* const fonts = readOneRecord(
        file, log(), [&](OxFont& font) { readFont(file, font); },
        [](OxFont& font, const std::string& text) { font.addDiagnostic(eError, 0, text); });
    setViews({});
    return fonts;
}

void OxParserPFMImp::readFont(const boost::filesystem::path& file, OxFont& font) {
    setPathAttributes(font, file);
    const auto size = regularFileSize(file);
    if (!size) {
        font.addDiagnostic(eError, kNoStatus);
        return;
    }
    if (*size <= kLargestRefusedSize) {
        font.addDiagnostic(eError, kInvalidLength, "file length = " + std::to_string(*size));
        return;
    }
    if (*size >= kTooLargeToRead) {
        reportTooLarge(font, file, log());
        return;
    }
    FileBytes bytes;
    if (!readWhole(file, *size, bytes, *buffer_)) {
        if (bytes.readError()) {
            reportFileError(file, bytes.readError().message());
        }
        return;
    }
    font.setAttribute(eFingerprint, bytes.digest());

    setViews(ByteView(buffer_->data(), buffer_->size()));
    const auto fileSize = static_cast<std::uint32_t>(*size);
    check_T1_header(font, fileSize);
    check_T1_extension(font, buffer_->data(), fileSize);
    check_T1_extTextMetrics(font);
    font.setAttribute(eItalic, (header_.u8(kItalicOffset) & 1) != 0 ? "true" : "false");
}

void OxParserPFMImp::setViews(ByteView file) {
    header_ = file.clamped(kHeaderOffset, kHeaderSize);
    extension_ = file.clamped(kExtensionOffset, kExtensionSize);
    metrics_ = file.clamped(kMetricsOffset, kMetricsSize);
}

bool OxParserPFMImp::check_T1_header(OxFont& font, std::uint32_t fileSize) {
    check(font, header_, kHeaderRules, fileSize);
    return true;
}

bool OxParserPFMImp::check_T1_extension(OxFont& font, const std::uint8_t* /*buffer*/,
                                        std::uint32_t fileSize) {
    check(font, extension_, kExtensionRules, fileSize);
    return true;
}

bool OxParserPFMImp::check_T1_extTextMetrics(OxFont& font) {
    check(font, metrics_, kMetricsRules);
    return true;
}

bool OxParserPFMImp::check_T1_kernPairs(OxFont& /*font*/) {
    return true;
}

bool OxParserPFMImp::check_T1_kernTrack(OxFont& /*font*/) {
    return true;
}
