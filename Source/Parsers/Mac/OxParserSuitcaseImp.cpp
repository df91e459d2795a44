#include "OxParserSuitcaseImp.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <memory>
#include <new>
#include <stdexcept>

#include "FileBytes.h"
#include "FontTypes.h"
#include "Log.h"
#include "MacResourceTypes.h"
#include "OutlineRecords.h"
#include "OxFontUtilitiesMac.h"
#include "OxParserPostscriptImp.h"
#include "OxParserTrueTypeMacImp.h"
#include "ResourceFileSession.h"
#include "ResourceManager.h"
#include "UniqueFonts.h"
#include "WorkBudget.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

constexpr std::uint32_t kSuitcaseTypes[] = {fourCharCode("FFIL"), fourCharCode("tfil"),
                                            fourCharCode("ffil")};

const LogChannel& log() {
    static const LogChannel channel("OxParserSuitcaseImp");
    return channel;
}

/// Turns the families of the current resource file into records.
class SuitcaseWalk {
  public:
    SuitcaseWalk(const fs::path& file, FontList& fonts)
        : file_(file), unique_(fonts), outlines_(file, eSuitcaseMode, work_) {}

    void readFamily(std::int16_t index) {
        auto damaged = std::make_unique<OxFont>();
        const Handle fond = Get1IndResource(kFondType, index);
        if (fond != nullptr) {
            GetResInfo(fond, nullptr, nullptr, nullptr);
        }
        const std::int16_t status = ResError();
        if (status != noErr) {
            damaged->addDiagnostic(eError, 0, "Corrupt FOND:  " + std::to_string(status));
            unique_.append(damaged.release());
        } else if (!OxFontUtilitiesMac::validateFOND(*damaged, index)) {
            unique_.append(damaged.release());
        } else {
            HLock(fond);
            readEntries(fond);
            HUnlock(fond);
        }
    }

  private:
    void readEntries(Handle fond) {
        for (const AsscEntry& entry : FondView(handleBytes(fond)).entries()) {
            if (work_.isExhausted()) {
                throw std::runtime_error(kTooEntangled);
            }
            readEntry(fond, entry);
        }
    }

    void readEntry(Handle fond, const AsscEntry& entry) {
        if (entry.fontSize > 0) {
            const std::unique_ptr<FontList> fonts(
                postscript_.parseFont(file_, fond, &entry, eSuitcaseMode));
            work_.addStrike(fonts->front());
            add(*fonts);
        } else if (const auto outline = outlines_.of(fond, entry); outline.isNew) {
            add(outline.fonts);  // later the same records would all be found to be known
        }
    }

    void add(const FontList& fonts) {
        for (const OxFont& font : fonts) {
            if (unique_.add(font)) {
                work_.addKept(font);
            }
        }
    }

    const fs::path& file_;
    UniqueFonts unique_;
    SuitcaseWork work_;
    OutlineRecords outlines_;
    OxParserPostscriptImp postscript_;
};

bool isMultipleMasterFamily(const OxFont& font) {
    return font.getAttribute(eMultipleMaster) == "YES" &&
           OxFontUtilitiesMac::isMultipleMasterFond(font.getAttribute(eResourcename));
}

std::string withoutEncoding(std::string name) {
    OxFontUtilitiesMac::stripMultipleMasterEncoding(name);
    return name;
}

}  // namespace

OxParserSuitcaseImp::OxParserSuitcaseImp() = default;
OxParserSuitcaseImp::~OxParserSuitcaseImp() = default;

FontList* OxParserSuitcaseImp::parseFontFile(fs::path file) {
    log().info("parseFontFile:  %s", file.string());
    return validate(file);
}

bool OxParserSuitcaseImp::inspectFont(fs::path file) {
    return isSuitcase(file.c_str());
}

FontList* OxParserSuitcaseImp::validate(const fs::path& file) {
    log().info("Parsing:  %s", file.string());
    auto fonts = std::make_unique<FontList>();
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    std::string failure;
    std::string reason;
    try {
        walk(file, *fonts);
    } catch (const std::bad_alloc&) {
        failure = kTooLargeText;
        reason = "memory does not suffice";
    } catch (const ForkError& error) {
        failure = error.what();
        reason = error.trouble().reason;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (!failure.empty()) {
        log().error(failure);
        if (!fonts->empty()) {
            fonts->back().addDiagnostic(eError, 0, failure);
        } else {
            reportFileError(file, reason.empty() ? failure : reason);
        }
    }
    return fonts.release();
}

void OxParserSuitcaseImp::reportTrouble(const fs::path& file) const {
    if (const ForkTrouble trouble = LastForkTrouble()) {
        reportFileError(file, trouble.reason);
    }
}

void OxParserSuitcaseImp::walk(const fs::path& file, FontList& fonts) {
    const FSRef reference = referenceTo(file);
    ResourceFileSession session;
    session.open(reference, FSGetResourceForkName);
    reportTrouble(file);
    SuitcaseWalk families(file, fonts);
    const int count = Count1Resources(kFondType);
    for (int i = 1; i <= count; ++i) {
        families.readFamily(static_cast<std::int16_t>(i));
    }
}

bool OxParserSuitcaseImp::isSuitcase(const char* path) {
    if (path == nullptr) {
        return false;
    }
    try {
        // Asked of every file that no other parser takes. FSPathMakeRef would ask for the file's
        // status, which the catalog information does anyway.
        FSRef file;
        file.path = path;
        FSCatalogInfo info;
        FSRefParam block;
        block.ref = &file;
        block.catInfo = &info;
        const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
        const std::int16_t status = PBGetCatalogInfoSync(&block);
        if (status != fnfErr) {
            reportTrouble(path);
        }
        return status == noErr && std::find(std::begin(kSuitcaseTypes), std::end(kSuitcaseTypes),
                                            info.fileType()) != std::end(kSuitcaseTypes);
    } catch (const std::exception& error) {
        log().error(error.what());
        return false;
    }
}

void OxParserSuitcaseImp::addUniqueFonts(FontList* destination, FontList* source) {
    const std::unique_ptr<FontList> owned(source);
    UniqueFonts unique(*destination);
    for (const OxFont& font : *source) {
        unique.add(font);
    }
}

void OxParserSuitcaseImp::addUniqueFont(FontList* destination, const OxFont& font) {
    UniqueFonts(*destination).add(font);
}

bool OxParserSuitcaseImp::fondIsT1TT(const FontList* fonts) const {
    return holdsPostScriptAndTrueType(*fonts);
}

FontList* OxParserSuitcaseImp::collectMultipleMasterFonts(const FontList& fonts) {
    auto families = std::make_unique<FontList>();
    for (const OxFont& font : fonts) {
        OxFont family(font);
        addMultipleMasterFont(*families, &family);
    }
    return families.release();
}

void OxParserSuitcaseImp::addMultipleMasterFont(FontList& families, OxFont* font) {
    if (!isMultipleMasterFamily(*font)) {
        return;
    }
    for (OxFont& family : families) {
        if (family.getAttribute(eFamilyname) == font->getAttribute(eFamilyname)) {
            family.mergeMultipleMasterFont(*font);
            return;
        }
    }
    families.push_back(new OxFont(*font));
}

void OxParserSuitcaseImp::addMultipleMasterStemResources(OxFont* font) {
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    const std::string family = withoutEncoding(font->getAttribute(eResourcename));
    const int count = Count1Resources(kFondType);
    for (int i = 1; i <= count; ++i) {
        std::int16_t id = 0;
        Str255 name = {};
        GetResInfo(Get1IndResource(kFondType, static_cast<std::int16_t>(i)), &id, nullptr, name);
        const std::string stem = OxFontUtilitiesMac::convertMacRomanToUTF8(name);
        if (OxFontUtilitiesMac::isMultipleMasterStem(stem) && withoutEncoding(stem) == family) {
            font->addResource(kFondType, id);
        }
    }
}
