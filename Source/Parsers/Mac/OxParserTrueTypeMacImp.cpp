#include "OxParserTrueTypeMacImp.h"

#include <exception>
#include <memory>
#include <vector>

#include "MacResourceTypes.h"
#include "OxFontUtilitiesMac.h"
#include "ParserSupport.h"
#include "SfntFile.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr char kMissing[] = "Missing sfnt resource";
constexpr std::uint64_t kCollectionHeaderSize = 12;

void setFileAttributes(OxFont& font, const fs::path& file) {
    font.setAttribute(ePlatform, "Macintosh");
    setPathAttributes(font, file);
}

}  // namespace

OxParserTrueTypeMacImp::OxParserTrueTypeMacImp() : OxParserTrueTypeImp(0) {}

OxParserTrueTypeMacImp::~OxParserTrueTypeMacImp() = default;

bool OxParserTrueTypeMacImp::readsWhole(const fs::path& /*file*/) const {
    return false;
}

FontList* OxParserTrueTypeMacImp::parseFont(const fs::path& file, char** /*fondHandle*/,
                                            const AsscEntry* entry, int mode) {
    auto fonts = std::make_unique<FontList>();
    if (mode != eSuitcaseMode && mode != eDfontMode) {
        return fonts.release();
    }
    OxFont scratch;  // what the check finds is not reported twice
    const Handle sfnt =
        validateAssoc(scratch, entry) ? Get1Resource(kSfntType, entry->fontID) : nullptr;
    if (sfnt == nullptr) {
        fonts->push_back(new OxFont);
        fonts->back().addDiagnostic(eError, 0, kMissing);
        return fonts.release();
    }
    HLock(sfnt);
    readMembers(file, handleBytes(sfnt), *fonts);
    HUnlock(sfnt);
    return fonts.release();
}

void OxParserTrueTypeMacImp::readMembers(const fs::path& file, ByteView sfnt, FontList& fonts) {
    SfntWork& work = reading_->work;
    work = {};
    std::uint64_t bytesDigested = 0;
    const ZeroPaddedView header(sfnt);
    const bool isCollection = header.u32be(0) == fourCharCode("ttcf");
    const std::uint32_t count = isCollection ? header.u32be(8) : 1;
    const std::uint64_t start = isCollection ? kCollectionHeaderSize : 0;
    std::vector<std::uint8_t> image;
    for (std::uint64_t k = 0; k < count; ++k) {
        const std::uint64_t place = start + 4 * k;
        if (!sfnt.holds(place + 4, 2)) {
            break;  // nor can any later member's table count be read
        }
        if (16u * sfnt.u16be(place + 4) + 12u > sfnt.size()) {
            continue;
        }
        if (!fonts.empty() && !work.allowsMember(sfnt.size(), fonts.size(), bytesDigested)) {
            reportTooEntangled(fonts.back());
            break;
        }
        const std::string_view rest = sfnt.from(place).text();
        image.assign(rest.begin(), rest.end());
        image.resize(sfnt.size());

        OxFont font;
        setFileAttributes(font, file);
        const std::unique_ptr<FontList> members(
            readSfntMemory(*reading_, font, reinterpret_cast<ttf::tagFontDirectory&>(*image.data()),
                           static_cast<std::uint32_t>(image.size())));
        fonts.transfer(fonts.end(), *members);
        bytesDigested += image.size();
    }
    bytesWorked_ += bytesDigested + work.cost();
}

bool OxParserTrueTypeMacImp::validateAssoc(OxFont& font, const AsscEntry* entry) {
    try {
        if (entry->fontSize != 0) {
            return true;
        }
        const Handle sfnt = Get1Resource(kSfntType, entry->fontID);
        if (sfnt == nullptr) {
            font.addDiagnostic(eError, 0, kMissing);
            return false;
        }
        const std::int32_t size = GetHandleSize(sfnt);
        if (size < kSmallestOutline) {
            return false;
        }
        font.setAttributeAsInt(eFntSize, size);
        return !OxFontUtilitiesMac::isSystemFont(font) && OxFontUtilitiesMac::isValidTrueType(sfnt);
    } catch (const std::exception& error) {
        font.addDiagnostic(eError, 0, error.what());
        return false;
    }
}

void OxParserTrueTypeMacImp::setAttributes(const fs::path& file, OxFont* font, char** fondHandle,
                                           char** fontHandle) {
    setFileAttributes(*font, file);
    for (const Handle resource : {fondHandle, fontHandle}) {
        std::int16_t id = 0;
        ResType type = 0;
        GetResInfo(resource, &id, &type, nullptr);
        if (ResError() == noErr) {
            font->addResource(static_cast<int>(type), id);
        }
    }
    font->setAttributeAsInt(eFntSize, GetHandleSize(fontHandle));
}
