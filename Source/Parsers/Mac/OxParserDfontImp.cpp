#include "OxParserDfontImp.h"

#include <boost/thread/lock_guard.hpp>
#include <exception>
#include <memory>
#include <new>

#include "Log.h"
#include "MacResourceTypes.h"
#include "OutlineRecords.h"
#include "OxFontUtilitiesMac.h"
#include "ParserSupport.h"
#include "ResourceFileSession.h"
#include "WorkBudget.h"

namespace {

namespace fs = boost::filesystem;
using FontList = boost::ptr_vector<OxFont>;

const LogChannel& log() {
    static const LogChannel channel("OxParserDfontImp");
    return channel;
}

}  // namespace

/// Turns the families of the current resource file into records.
class OxParserDfontImp::Walk {
  public:
    Walk(OxParserDfontImp& parser, const fs::path& file, FontList& fonts)
        : parser_(parser), file_(file), fonts_(fonts), outlines_(file, eDfontMode, work_) {}

    void run() {
        const int count = Count1Resources(kFondType);
        for (int i = 1; i <= count && !work_.isExhausted(); ++i) {
            readFamily(static_cast<std::int16_t>(i));
        }
        if (work_.isExhausted() && !fonts_.empty()) {
            log().error(kTooEntangled);
            fonts_.back().addDiagnostic(eError, 0, kTooEntangled);
        }
    }

  private:
    void readFamily(std::int16_t index) {
        const Handle fond = Get1IndResource(kFondType, index);
        const std::int16_t status = ResError();
        auto record = std::make_unique<OxFont>();
        if (status != noErr) {
            setPathAttributes(*record, file_);
            record->addDiagnostic(eError, 0, "Corrupt FOND:  " + std::to_string(status));
            fonts_.push_back(record.release());
        } else if (!OxFontUtilitiesMac::validateFOND(*record, index)) {
            fonts_.push_back(record.release());
        } else {
            HLock(fond);
            readEntries(fond, *record);
            HUnlock(fond);
        }
    }

    void readEntries(Handle fond, OxFont& record) {
        for (const AsscEntry& entry : FondView(handleBytes(fond)).entries()) {
            if (work_.isExhausted()) {
                return;
            }
            if (parser_.validateAssoc(record, &entry)) {
                addFonts(outlines_.of(fond, entry).fonts);
            }
        }
    }

    void addFonts(const FontList& fonts) {
        for (const OxFont& font : fonts) {
            fonts_.push_back(new OxFont(font));
            work_.addKept(font);
            if (work_.isExhausted()) {
                return;
            }
        }
    }

    OxParserDfontImp& parser_;
    const fs::path& file_;
    FontList& fonts_;
    SuitcaseWork work_;
    OutlineRecords outlines_;
};

OxParserDfontImp::OxParserDfontImp() = default;

OxParserDfontImp::~OxParserDfontImp() {
    closeFile();
}

FontList* OxParserDfontImp::parseFontFile(fs::path file) {
    log().info("parseFontFile:  %s", file.string());
    return validate(file);
}

bool OxParserDfontImp::inspectFont(fs::path file) {
    return hasExtension(file, ".DFONT");
}

FontList* OxParserDfontImp::validate(const fs::path& file) {
    log().info("Parsing:  %s", file.string());
    auto fonts = std::make_unique<FontList>();
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    try {
        openFile(file);
        Walk(*this, file, *fonts).run();
    } catch (const ForkError& error) {
        log().error(error.what());
        reportFileError(file, error.trouble().reason);
    } catch (const std::bad_alloc& error) {
        log().error(error.what());
        reportFileError(file, "memory does not suffice");
    } catch (const std::exception& error) {
        log().error(error.what());
        if (fonts->empty()) {
            reportFileError(file, error.what());
        }
    }
    return fonts.release();
}

FontList* OxParserDfontImp::parseFont(const fs::path& file, char** fondHandle,
                                      const AsscEntry* entry) {
    OxParserTrueTypeMacImp parser;
    return parser.parseFont(file, fondHandle, entry, eDfontMode);
}

void OxParserDfontImp::openFile(const fs::path& file) {
    const FSRef reference = referenceTo(file);
    closeFile();
    openFile_ = openFork(reference, FSGetDataForkName);
}

void OxParserDfontImp::closeFile() {
    if (openFile_ != -1) {
        CloseResFile(openFile_);
        openFile_ = -1;
    }
}
