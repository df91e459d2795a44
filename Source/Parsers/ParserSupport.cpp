#include "ParserSupport.h"

#include <memory>
#include <new>

#include "Ascii.h"
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

boost::ptr_vector<OxFont>* readOneRecord(
    const boost::filesystem::path& file, const LogChannel& log,
    const std::function<void(OxFont&)>& read,
    const std::function<void(OxFont&, const std::string&)>& failed) {
    auto fonts = std::make_unique<boost::ptr_vector<OxFont>>();
    fonts->push_back(new OxFont);
    OxFont& font = fonts->back();
    try {
        read(font);
    } catch (const FileTooLarge&) {
        reportTooLarge(font, file, log);
    } catch (const std::bad_alloc&) {
        reportTooLarge(font, file, log);
    } catch (const std::exception& error) {
        failed(font, error.what());
    }
    return fonts.release();
}

bool readWhole(const boost::filesystem::path& file, std::uint64_t size, FileBytes& bytes,
               ByteBuffer& buffer, std::size_t padding) {
    if (!bytes.open(file) || bytes.size() < size) {
        return false;
    }
    if (bytes.size() >= kTooLargeToRead) {
        throw FileTooLarge();
    }
    return bytes.readAll(buffer, padding) == bytes.size();
}
