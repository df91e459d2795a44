#include "FileLook.h"

#include <algorithm>
#include <functional>
#include <new>

#include "Ascii.h"
#include "Log.h"
#include "MacFindings.h"
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
    static const LogChannel channel("FileLook");
    return channel;
}

// What a font is and what it is named, as "type1 in pfb, named .pfm".
std::string kindAndName(const OxFont& font, const fs::path& file) {
    std::string kind;
    for (const char* name : {"format", "container"}) {
        const OxPropertyValue* value = font.properties().find(name);
        if (value != nullptr && value->text() != nullptr) {
            kind += (kind.empty() ? "" : " in ") + *value->text();
        }
    }
    return kind + (kind.empty() ? "" : ", ") + "named " + file.extension().string();
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

bool FileLook::at(const fs::path& file) {
    path_ = file;
    isCurrent_ = false;
    isFilled_ = false;
    incomplete_.clear();
    trouble_.clear();
    contained_ = {};
    mac_ = {};
    kind_ = look();
    isCurrent_ = true;
    return kind_ != Kind::eNothing;
}

FileLook::Kind FileLook::look() {
    start_.clear();
    isOpen_ = file_.open(path_);
    if (isOpen_ && isFontItself()) {
        return Kind::eFont;
    }
    if (isOpen_ && isContainedFont()) {
        return Kind::eContainedFont;
    }
    mac_ = lookAtMacFile(forks_, inHand());
    if (!mac_.trouble.empty()) {
        trouble_ = mac_.trouble;
    }
    if (mac_.kind == MacFile::Kind::eSidecar) {
        return Kind::eNothing;
    }
    if (mac_.kind == MacFile::Kind::eFonts) {
        return Kind::eMac;
    }
    return isOpen_ ? lookWithoutFont() : lookUnopened();
}

// What is said of a file in which nothing was found.
FileLook::Kind FileLook::lookWithoutFont() {
    if (const boost::system::error_code error = file_.readError()) {
        incomplete_ = error.message();
        trouble_ = trouble_.empty() ? incomplete_ : trouble_;
        return Kind::eUnreadable;
    }
    if (mac_.kind == MacFile::Kind::eBroken) {
        return Kind::eMac;
    }
    if (contained_.isDamaged && contained_.bytes.empty()) {
        mac_.kind = MacFile::Kind::eBroken;
        mac_.finding = finding::kContainerDamaged;
        return Kind::eMac;
    }
    return hasFontExtension(path_) ? Kind::eNoFont : Kind::eNothing;
}

// A file that cannot be opened is told; a link to nothing or a FIFO only with a font's name.
FileLook::Kind FileLook::lookUnopened() {
    const bool isTold = hasFontExtension(path_) || regularFileSize(path_);
    if (mac_.kind == MacFile::Kind::eNothing || !isTold) {
        return Kind::eNothing;
    }
    if (mac_.finding != finding::kForkUnreadable) {
        return Kind::eMac;
    }
    incomplete_ = mac_.detail;
    return Kind::eUnreadable;
}

bool FileLook::isFontItself() {
    constexpr std::size_t kBinHexStart = 4096;  // where its line may begin
    const bool isBinHexName = ascii::toLower(path_.extension().string()) == ".hqx";
    const std::size_t wanted = isBinHexName ? kBinHexStart : FontStart::kSize;
    start_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(wanted, file_.size())));
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
bool FileLook::isContainedFont() {
    const FileInHand hand = inHand();
    if (!isForkContainer(hand)) {
        return false;
    }
    contained_ = containedDataFork(hand);
    format_ = recogniseFont(FontStart(contained_.bytes), path_);
    return format_ != FontFormat::eNone;
}

FileInHand FileLook::inHand() {
    return {path_, isOpen_ ? file_.size() : 0, start(), [this] { return whole(); }};
}

ByteView FileLook::whole() {
    return isOpen_ && fill() ? whole_ : ByteView();
}

void FileLook::read(const ReadingDetails& details, FontFaces& faces) {
    isCurrent_ = false;
    switch (kind_) {
        case Kind::eFont:
            fill();
            readFont(whole_, details, faces);
            if (extensionDisagrees(path_, format_, start())) {
                addFinding(faces.front(), kOtherExtension, kindAndName(faces.front(), path_));
            }
            break;
        case Kind::eContainedFont:
            readFont(contained_.bytes, details, faces);
            if (contained_.isDamaged) {
                addFinding(faces.front(), finding::kContainerDamaged, "it is cut off");
            }
            break;
        case Kind::eMac:
            readMac(details, faces);
            break;
        case Kind::eNoFont:
            addNoFont(faces);
            break;
        case Kind::eUnreadable:
            readFont({}, details, faces);
            break;
        case Kind::eNothing:
            break;
    }
    mac_ = {};
    contained_ = {};
}

void FileLook::readFont(ByteView bytes, const ReadingDetails& details, FontFaces& faces) {
    WorkLimit work(bytes.size());
    FaceContext context{path_, details, {}, {}, work, &partners_};
    if (incomplete_.empty()) {
        context.fingerprint = file_.digest();
    }
    if (incomplete_.empty() || !bytes.empty()) {
        runReader([&] { readerOf(format_)(bytes, context, faces); }, context, faces);
    } else {
        Face(faces, context);  // nothing can be said of what was not read
    }
    if (!incomplete_.empty()) {
        addFinding(faces.front(), incomplete_ == kShrunkText ? kShrunk : kUnreadable, incomplete_);
    }
}

void FileLook::readMac(const ReadingDetails& details, FontFaces& faces) {
    WorkLimit work(std::max<std::uint64_t>(mac_.resources.size(), isOpen_ ? file_.size() : 0));
    FaceContext context{path_, details, {}, {}, work, &partners_};
    runReader([&] { readMacFile(mac_, forks_, context, faces); }, context, faces);
    if (faces.empty() && hasFontExtension(path_)) {
        addNoFont(faces);
    } else if (!faces.empty() && mac_.kind == MacFile::Kind::eFonts &&
               extensionDisagreesWithMacFont(path_)) {
        addFinding(faces.front(), kOtherExtension, kindAndName(faces.front(), path_));
    }
}

// Reads the file into memory, as far as it can be read. Whether that is all of it.
bool FileLook::fill() {
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
        whole_ = ByteView(bytes_.data(), got);
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

void FileLook::release() {
    mac_ = {};
    contained_ = {};
    bytes_.release();
    whole_ = {};
    isFilled_ = false;
    isCurrent_ = false;
}

// No "FileName": an import has nothing to copy.
void FileLook::addNoFont(FontFaces& faces) {
    faces.push_back(new OxFont);
    if (isOpen_ && fill()) {
        faces.back().setAttribute(eFingerprint, file_.digest());
    }
    faces.back().setAttribute(eFontFilePath, path_.parent_path().string());
    const std::string look(lookOfBytes(start()));
    const bool isLost = look == "empty" || look == "all zero";
    addFinding(faces.back(), hasSharedFontExtension(path_) && !isLost ? kSomethingElse : kNoFont,
               look);
    if (!incomplete_.empty()) {
        addFinding(faces.back(), kUnreadable, incomplete_);
    }
}
