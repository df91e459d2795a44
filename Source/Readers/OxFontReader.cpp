#include "OxFontReader.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Face.h"
#include "FileBytes.h"
#include "FindingTable.h"
#include "FontSignatures.h"
#include "Log.h"
#include "MacFontReader.h"
#include "MetricsReader.h"
#include "SfntReader.h"
#include "Type1Reader.h"
#include "WoffReader.h"

namespace {

namespace fs = boost::filesystem;

constexpr int kNoFont = 20000;
constexpr int kSomethingElse = 20001;
constexpr int kOtherExtension = 20002;
constexpr int kUnreadable = 20004;
constexpr int kShrunk = 20005;

const LogChannel& log() {
    static const LogChannel channel("OxFontReader");
    return channel;
}

void addFinding(OxFont& font, int code, const std::string& detail) {
    font.addDiagnostic(findingRow(code)->severity, code, detail);
}

using Reader = void (*)(ByteView file, FaceContext& context, FontFaces& faces);

Reader readerOf(FontFormat format) {
    switch (format) {
        case FontFormat::eSfnt:
        case FontFormat::eCollection:
            return readSfnt;
        case FontFormat::eWoff:
            return readWoff;
        case FontFormat::eWoff2:
            return readWoff2;
        case FontFormat::ePfb:
        case FontFormat::ePfa:
            return readType1;
        case FontFormat::eType42:
            return readType42;
        case FontFormat::eCid:
            return readCidProgram;
        case FontFormat::eCff:
            return readBareCff;
        case FontFormat::ePfm:
            return readPfm;
        case FontFormat::eAfm:
            return readAfm;
        case FontFormat::eNone:
            break;
    }
    return nullptr;
}

// Runs a reader; what it throws becomes a diagnostic on the last face that it made.
void readFaces(Reader reader, ByteView bytes, FaceContext& context, FontFaces& faces) {
    std::string failure;
    try {
        reader(bytes, context, faces);
    } catch (const std::bad_alloc&) {
        failure = kTooLargeText;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (faces.empty()) {
        Face(faces, context);
    }
    if (!failure.empty()) {
        log().error(failure + ":  " + context.file.string());
        faces.back().addDiagnostic(eError, 0, failure);
    }
}

}  // namespace

/// What was found out about one file.
class OxFontReader::Look {
  public:
    bool isOf(const fs::path& file) const { return path_ == file && isCurrent_; }
    /// Whether the file gives records.
    bool at(const fs::path& file);
    /// Its records, once.
    void read(const ReadingDetails& details, FontFaces& faces);
    void release() { bytes_.release(); }

    /// Something that keeps the file from being read whole.
    std::string takeTrouble() { return std::exchange(trouble_, {}); }

  private:
    enum class Kind { eNothing, eFont, eNoFont };

    Kind lookAtStart();
    FontFormat formatOf();
    void readWhole(const ReadingDetails& details, FontFaces& faces);
    bool fill(std::string& reason);
    void addNoFont(FontFaces& faces) const;

    fs::path path_;
    bool isCurrent_ = false;
    Kind kind_ = Kind::eNothing;
    FontFormat format_ = FontFormat::eNone;
    FileBytes file_;
    std::vector<std::uint8_t> start_;
    std::vector<std::uint8_t> further_;  // what a signature asked for last
    ByteBuffer bytes_;
    std::string trouble_;
};

bool OxFontReader::Look::at(const fs::path& file) {
    path_ = file;
    isCurrent_ = true;
    trouble_.clear();
    kind_ = lookAtStart();
    return kind_ != Kind::eNothing;
}

OxFontReader::Look::Kind OxFontReader::Look::lookAtStart() {
    format_ = FontFormat::eNone;
    start_.clear();
    if (!file_.open(path_)) {
        return Kind::eNothing;
    }
    format_ = formatOf();
    if (format_ != FontFormat::eNone) {
        return Kind::eFont;
    }
    return hasFontExtension(path_) ? Kind::eNoFont : Kind::eNothing;
}

FontFormat OxFontReader::Look::formatOf() {
    start_.resize(FontStart::kSize);
    start_.resize(file_.readAt(0, start_.data(), start_.size()));
    const auto readAt = [this](std::uint64_t offset, std::size_t count) {
        further_.resize(count);
        further_.resize(file_.readAt(offset, further_.data(), count));
        return ByteView(further_);
    };
    return recogniseFont(FontStart(ByteView(start_), file_.size(), readAt), path_);
}

void OxFontReader::Look::read(const ReadingDetails& details, FontFaces& faces) {
    isCurrent_ = false;
    if (kind_ == Kind::eFont) {
        readWhole(details, faces);
    } else if (kind_ == Kind::eNoFont) {
        addNoFont(faces);
    }
}

void OxFontReader::Look::readWhole(const ReadingDetails& details, FontFaces& faces) {
    WorkLimit work(file_.size());
    FaceContext context{path_, details, {}, {}, work};
    std::string reason;
    const bool isWhole = fill(reason);
    if (isWhole) {
        context.fingerprint = file_.digest();
    }
    readFaces(readerOf(format_), ByteView(bytes_.data(), bytes_.size()), context, faces);
    if (!isWhole) {
        addFinding(faces.front(), reason.empty() ? kShrunk : kUnreadable, reason);
    }
    if (extensionDisagrees(path_, format_, ByteView(start_))) {
        addFinding(faces.front(), kOtherExtension, path_.extension().string());
    }
}

// Whether all of the file is in memory; what is missing is zero.
bool OxFontReader::Look::fill(std::string& reason) {
    bytes_.release();
    if (file_.size() >= kTooLargeToRead) {
        reason = kTooLargeText;
        return false;
    }
    try {
        if (file_.readAll(bytes_) == file_.size()) {
            return true;
        }
    } catch (const std::bad_alloc&) {
        reason = "memory does not suffice";
        return false;
    }
    if (const boost::system::error_code error = file_.readError()) {
        reason = error.message();
        trouble_ = reason;
    }
    return false;
}

// No "FileName": an import has nothing to copy.
void OxFontReader::Look::addNoFont(FontFaces& faces) const {
    faces.push_back(new OxFont);
    faces.back().setAttribute(eFontFilePath, path_.parent_path().string());
    const std::string look(lookOfBytes(ByteView(start_)));
    const bool isLost = look == "empty" || look == "all zero";
    addFinding(faces.back(), hasSharedFontExtension(path_) && !isLost ? kSomethingElse : kNoFont,
               look);
}

OxFontReader::OxFontReader(const ReadingDetails& details)
    : details_(details), look_(std::make_unique<Look>()) {}

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
    if (const std::string trouble = look_->takeTrouble(); !trouble.empty()) {
        reportFileError(file, trouble);
    }
    return faces.release();
}

bool OxFontReader::inspectFont(fs::path file) {
    try {
        return look_->at(file);
    } catch (const std::exception& error) {
        reportFileError(file, error.what());
        return false;
    }
}
// NOLINTEND(performance-unnecessary-value-param)

bool OxFontReader::readsWhole(const fs::path& file) const {
    return hasFontExtension(file);
}

void OxFontReader::releaseMemory() {
    look_->release();
}
