#include "ParserSupport.h"

#include <string>

#include "Ascii.h"
#include "FileBytes.h"
#include "Log.h"

void setPathAttributes(OxFont& font, const boost::filesystem::path& file) {
    font.setAttribute(eFontFilePath, file.parent_path().string());
    font.setAttribute(eFileName, file.filename().string());
}

bool hasExtension(const boost::filesystem::path& file, const char* extension) {
    return ascii::toUpper(file.extension().string()) == extension;
}

void reportTooLarge(OxFont& font, const boost::filesystem::path& file, const LogChannel& log) {
    font.addDiagnostic(eError, 0, kTooLargeText);
    log.error(std::string(kTooLargeText) + ":  " + file.string());
}
