#include "OxParserTrueTypeCollectionImp.h"

#include <array>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>

#include "Log.h"
#include "ParserSupport.h"
#include "RegularFile.h"
#include "SfntFile.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;
using FontList = boost::ptr_vector<OxFont>;

constexpr char kCategory[] = "OxParserTrueTypeCollectionImp";
constexpr char kExtension[] = ".TTC";
constexpr SfntFormat kFormat = {kCategory, {}, -1, true, true, nullptr, OxFont::TTC};

constexpr std::uint64_t kHeaderSize = 12;

// What keeps a regular file from being read.
error_code readError(const fs::path& file) {
    RegularFile opened;
    error_code error = opened.open(file);
    if (std::uint8_t byte = 0; !error) {
        opened.read(0, {&byte, 1}, error);
    }
    return error.value() == EOPNOTSUPP ? error_code() : error;
}

}  // namespace

/// The file behind the members: its status, read once, and its bytes, read when the first member
/// needs them.
class OxParserTrueTypeCollectionImp::Source {
  public:
    explicit Source(const fs::path& file) : path(file), size(regularFileSize(file)) {
        // A file that can no longer be read looks like one of zero bytes.
        if (size && *size < kTooLargeToRead) {
            bytes.open(file);
        }
    }

    std::uint32_t u32(std::uint64_t offset) const {
        std::uint8_t value[4] = {};
        return bytes.readAt(offset, value, 4) == 4 ? ByteView(value, 4).u32be(0) : 0;
    }
    bool tooLarge() const { return size && *size >= kTooLargeToRead; }

    const fs::path& path;
    const std::optional<std::uint64_t> size;
    FileBytes bytes;
    bool loaded = false;
};

OxParserTrueTypeCollectionImp::OxParserTrueTypeCollectionImp(int PlatformId)
    : OxParserTrueTypeImp(PlatformId) {}

OxParserTrueTypeCollectionImp::~OxParserTrueTypeCollectionImp() = default;

FontList* OxParserTrueTypeCollectionImp::parseFontFile(fs::path file) {
    LogChannel(kCategory).info("parseFontFile:  ");
    FontList* const fonts = validate(file);
    // That there is no record is all that anybody would see of it.
    if (const error_code error = fonts->empty() ? readError(file) : reading_->fileError) {
        reportFileError(file, error.message());
    }
    return fonts;
}

bool OxParserTrueTypeCollectionImp::inspectFont(fs::path file) {
    return hasExtension(file, kExtension);
}

bool OxParserTrueTypeCollectionImp::readsWhole(const fs::path& file) const {
    return hasExtension(file, kExtension);
}

FontList* OxParserTrueTypeCollectionImp::validate(const fs::path& file) {
    const LogChannel log(kCategory);
    auto fonts = std::make_unique<FontList>();
    log.info("Parsing:  %s", file.string());
    try {
        Source source(file);
        if (!source.size) {
            log.error("damaged");
            return fonts.release();
        }
        if (source.tooLarge()) {
            fonts->push_back(new OxFont);
            setPathAttributes(fonts->back(), file);
            reportTooLarge(fonts->back(), file, log);
            return fonts.release();
        }
        reading_->work = {};
        reading_->fileError.clear();
        // Offsets past the end of the file are not read, so the count needs no other bound.
        const std::uint64_t count = source.u32(8);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = kHeaderSize + 4 * i;
            if (entry + 4 > *source.size) {
                break;
            }
            // The file's own digest is taken once.
            if (!fonts->empty() &&
                !reading_->work.allowsMember(*source.size, fonts->size(), *source.size)) {
                reportTooEntangled(fonts->back());
                break;
            }
            const auto offset = static_cast<std::int32_t>(source.u32(entry));
            fonts->push_back(new OxFont);
            validateMember(source, offset, fonts->back());
        }
        reading_->fileError = source.bytes.readError();
    } catch (const std::exception& error) {
        log.error(error.what());
    }
    return fonts.release();
}

FontList* OxParserTrueTypeCollectionImp::validate(const fs::path& file, std::int32_t offset) {
    auto fonts = std::make_unique<FontList>();
    fonts->push_back(new OxFont);
    Source source(file);
    reading_->work = {};
    validateMember(source, offset, fonts->back());
    return fonts.release();
}

void OxParserTrueTypeCollectionImp::validateMember(Source& source, std::int32_t offset,
                                                   OxFont& font) {
    const LogChannel log(kCategory);
    log.info("Parsing:  %s", source.path.string());
    try {
        setPathAttributes(font, source.path);
        font.setAttributeAsInt(eFontOffset, offset);
        if (!hasReadableSize(source.path, source.size, font, log)) {
            return;
        }
        std::array<std::uint8_t, kOffsetTableSize> start{};
        if (offset < 0 || source.bytes.readAt(static_cast<std::uint64_t>(offset), start.data(),
                                              start.size()) < start.size()) {
            start.fill(0);
        }
        const ttf::tagFontDirectory offsetTable =
            readOffsetTable(ByteView(start.data(), start.size()));
        if (offsetTable.version != kTrueTypeVersion) {
            font.addDiagnostic(eError, 0, "True type collection must have Windows scalar type");
            return;
        }
        if (source.loaded) {
            font.setAttribute(eFingerprint, reading_->fileDigest);
        } else {
            readImage(*reading_, source.bytes, font);
            source.loaded = true;
            reading_->image.beginSharing();
        }
        const std::uint64_t directory = static_cast<std::uint64_t>(offset) + kOffsetTableSize;
        if (walkDirectory(*reading_, font, directory, offsetTable.numTables, kFormat)) {
            finish(font, kFormat);
        }
    } catch (const FileTooLarge&) {
        reportTooLarge(font, source.path, log);
    } catch (const std::bad_alloc&) {
        reportTooLarge(font, source.path, log);
    } catch (const std::exception& error) {
        log.error(error.what());
    }
    reading_->image.undo();
}
