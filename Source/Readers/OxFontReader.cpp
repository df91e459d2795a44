#include "OxFontReader.h"

#include "Face.h"
#include "FileLook.h"
#include "FontSignatures.h"
#include "Log.h"

namespace {

namespace fs = boost::filesystem;

const LogChannel& log() {
    static const LogChannel channel("OxFontReader");
    return channel;
}

}  // namespace

OxFontReader::OxFontReader(const ReadingDetails& details)
    : details_(details), look_(std::make_unique<FileLook>()) {}

OxFontReader::~OxFontReader() = default;

// The contract passes files by value.
// NOLINTBEGIN(performance-unnecessary-value-param)
boost::ptr_vector<OxFont>* OxFontReader::parseFontFile(fs::path file) {
    auto faces = std::make_unique<FontFaces>();
    try {
        if (look_->isOf(file) || look_->at(file)) {
            look_->read(details_, *faces);
        }
        for (OxFont& face : *faces) {
            completeAttributes(face);
        }
    } catch (const std::exception& error) {
        log().error(error.what());
        reportFileError(file, error.what());
    }
    reportTrouble(file);
    return faces.release();
}

bool OxFontReader::inspectFont(fs::path file) {
    try {
        if (look_->at(file)) {
            return true;  // what is wrong is told when it is read
        }
    } catch (const std::exception& error) {
        reportFileError(file, error.what());
    }
    reportTrouble(file);
    return false;
}
// NOLINTEND(performance-unnecessary-value-param)

void OxFontReader::reportTrouble(const fs::path& file) {
    if (const std::string trouble = look_->takeTrouble(); !trouble.empty()) {
        reportFileError(file, trouble);
    }
}

bool OxFontReader::readsWhole(const fs::path& file) const {
    return hasFontExtension(file);
}

void OxFontReader::releaseMemory() {
    look_->release();
}
