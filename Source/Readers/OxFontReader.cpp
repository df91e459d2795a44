#include "OxFontReader.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Ascii.h"
#include "ContainedDataFork.h"
#include "Face.h"
#include "FileBytes.h"
#include "FindingTable.h"
#include "FolderPartners.h"
#include "FontSignatures.h"
#include "Log.h"
#include "MacFileLook.h"
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
constexpr char kShrunkText[] = "the file has become shorter";

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
void runReader(const std::function<void()>& read, FaceContext& context, FontFaces& faces) {
    std::string failure;
    try {
        read();
        return;
    } catch (const std::bad_alloc&) {
        failure = kTooLargeText;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (faces.empty()) {
        Face(faces, context);
    }
    log().error(failure + ":  " + context.file.string());
    faces.back().addDiagnostic(eError, 0, failure);
}

}  // namespace

/// What was found out about one file.
class OxFontReader::Look {
  public:
    bool isOf(const fs::path& file) const { return isCurrent_ && path_ == file; }
    /// Whether the file gives records.
    bool at(const fs::path& file);
    /// Its records, once.
    void read(const ReadingDetails& details, FontFaces& faces);
    void release();
    /// What kept the file from being read whole; for people.
    std::string takeTrouble() { return std::exchange(trouble_, {}); }

  private:
    enum class Kind { eNothing, eFont, eContainedFont, eMac, eNoFont };

    Kind look();
    bool isFontItself();
    bool isContainedFont();
    ByteView start() const { return ByteView(start_); }
    FileInHand inHand();
    ByteView whole();
    void readFont(ByteView bytes, const ReadingDetails& details, FontFaces& faces);
    void readMac(const ReadingDetails& details, FontFaces& faces);
    bool fill();
    void addNoFont(FontFaces& faces) const;

    ForkLocator forks_;
    FolderPartners partners_;
    fs::path path_;
    bool isCurrent_ = false;
    Kind kind_ = Kind::eNothing;
    FontFormat format_ = FontFormat::eNone;
    FileBytes file_;
    bool isOpen_ = false;
    std::vector<std::uint8_t> start_;
    std::vector<std::uint8_t> further_;  // what a signature asked for last
    ByteBuffer bytes_;                   // kept from file to file
    ByteView whole_;                     // the file in it
    bool isFilled_ = false;              // the file was read, as far as it could be
    std::string incomplete_;             // why not to its end; empty when it was
    ContainedFork contained_;
    MacFile mac_;
    std::string trouble_;
};

bool OxFontReader::Look::at(const fs::path& file) {
    path_ = file;
    isCurrent_ = true;
    isFilled_ = false;
    incomplete_.clear();
    trouble_.clear();
    contained_ = {};
    mac_ = {};
    kind_ = look();
    return kind_ != Kind::eNothing;
}

OxFontReader::Look::Kind OxFontReader::Look::look() {
    start_.clear();
    isOpen_ = file_.open(path_);
    if (isOpen_ && isFontItself()) {
        return Kind::eFont;
    }
    if (isOpen_ && isContainedFont()) {
        return Kind::eContainedFont;
    }
    mac_ = lookAtMacFile(forks_, inHand());
    trouble_ = mac_.trouble;
    if (mac_.kind == MacFile::Kind::eFonts || mac_.kind == MacFile::Kind::eBroken) {
        return Kind::eMac;
    }
    const bool isNoFont =
        isOpen_ && mac_.kind == MacFile::Kind::eNothing && hasFontExtension(path_);
    return isNoFont ? Kind::eNoFont : Kind::eNothing;
}

bool OxFontReader::Look::isFontItself() {
    constexpr std::size_t kBinHexStart = 4096;  // where its line may begin
    const bool isBinHexName = ascii::toLower(path_.extension().string()) == ".hqx";
    start_.resize(isBinHexName ? kBinHexStart : FontStart::kSize);
    start_.resize(file_.readAt(0, start_.data(), start_.size()));
    const auto readAt = [this](std::uint64_t offset, std::size_t count) {
        further_.resize(count);
        further_.resize(file_.readAt(offset, further_.data(), count));
        return ByteView(further_);
    };
    format_ = recogniseFont(FontStart(start(), file_.size(), readAt), path_);
    return format_ != FontFormat::eNone;
}

// The data fork inside AppleSingle, MacBinary or BinHex.
bool OxFontReader::Look::isContainedFont() {
    const FileInHand hand = inHand();
    if (!isForkContainer(hand)) {
        return false;
    }
    contained_ = containedDataFork(hand);
    format_ = recogniseFont(FontStart(contained_.bytes), path_);
    return format_ != FontFormat::eNone;
}

FileInHand OxFontReader::Look::inHand() {
    return {path_, isOpen_ ? file_.size() : 0, start(), [this] { return whole(); }};
}

ByteView OxFontReader::Look::whole() {
    return isOpen_ && fill() ? whole_ : ByteView();
}

void OxFontReader::Look::read(const ReadingDetails& details, FontFaces& faces) {
    isCurrent_ = false;
    switch (kind_) {
        case Kind::eFont:
            fill();
            readFont(whole_, details, faces);
            if (extensionDisagrees(path_, format_, start())) {
                addFinding(faces.front(), kOtherExtension, path_.extension().string());
            }
            break;
        case Kind::eContainedFont:
            readFont(contained_.bytes, details, faces);
            break;
        case Kind::eMac:
            readMac(details, faces);
            break;
        case Kind::eNoFont:
            addNoFont(faces);
            break;
        case Kind::eNothing:
            break;
    }
    mac_ = {};
    contained_ = {};
}

void OxFontReader::Look::readFont(ByteView bytes, const ReadingDetails& details, FontFaces& faces) {
    WorkLimit work(bytes.size());
    FaceContext context{path_, details, {}, {}, work, &partners_};
    if (incomplete_.empty()) {
        context.fingerprint = file_.digest();
    }
    runReader([&] { readerOf(format_)(bytes, context, faces); }, context, faces);
    if (!incomplete_.empty()) {
        addFinding(faces.front(), incomplete_ == kShrunkText ? kShrunk : kUnreadable, incomplete_);
    }
}

void OxFontReader::Look::readMac(const ReadingDetails& details, FontFaces& faces) {
    WorkLimit work(std::max<std::uint64_t>(mac_.resources.size(), isOpen_ ? file_.size() : 0));
    FaceContext context{path_, details, {}, {}, work, &partners_};
    runReader([&] { readMacFile(mac_, forks_, context, faces); }, context, faces);
    if (faces.empty() && hasFontExtension(path_)) {
        addNoFont(faces);
    } else if (!faces.empty() && mac_.kind == MacFile::Kind::eFonts &&
               extensionDisagreesWithMacFont(path_)) {
        addFinding(faces.front(), kOtherExtension, path_.extension().string());
    }
}

// Reads the file into memory; what cannot be read of it is zero. Whether there is anything.
bool OxFontReader::Look::fill() {
    if (isFilled_) {
        return incomplete_.empty();
    }
    isFilled_ = true;
    whole_ = {};
    if (file_.size() >= kTooLargeToRead) {
        incomplete_ = kTooLargeText;
        return false;
    }
    try {
        const std::size_t got = file_.readAll(bytes_);
        whole_ = ByteView(bytes_.data(), bytes_.size());
        if (got < file_.size()) {
            const boost::system::error_code error = file_.readError();
            incomplete_ = error ? error.message() : kShrunkText;
            trouble_ = error ? incomplete_ : std::string();
        }
    } catch (const std::bad_alloc&) {
        bytes_.release();
        incomplete_ = "memory does not suffice";
    }
    return incomplete_.empty();
}

void OxFontReader::Look::release() {
    bytes_.release();
    whole_ = {};
    isFilled_ = false;
    isCurrent_ = false;
}

// No "FileName": an import has nothing to copy.
void OxFontReader::Look::addNoFont(FontFaces& faces) const {
    faces.push_back(new OxFont);
    faces.back().setAttribute(eFontFilePath, path_.parent_path().string());
    const std::string look(lookOfBytes(start()));
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
