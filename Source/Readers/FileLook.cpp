#include "FileLook.h"

#include <algorithm>
#include <functional>
#include <new>

#include "Ascii.h"
#include "FindingTable.h"
#include "Log.h"
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

void addFinding(OxFont& font, int code, const std::string& detail) {
    font.addDiagnostic(findingRow(code)->severity, code, detail);
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
    isCurrent_ = true;
    isFilled_ = false;
    incomplete_.clear();
    trouble_.clear();
    contained_ = {};
    mac_ = {};
    kind_ = look();
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
    trouble_ = mac_.trouble;
    if (mac_.kind == MacFile::Kind::eFonts || mac_.kind == MacFile::Kind::eBroken) {
        return Kind::eMac;
    }
    const bool isNoFont =
        isOpen_ && mac_.kind == MacFile::Kind::eNothing && hasFontExtension(path_);
    return isNoFont ? Kind::eNoFont : Kind::eNothing;
}

bool FileLook::isFontItself() {
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

void FileLook::readFont(ByteView bytes, const ReadingDetails& details, FontFaces& faces) {
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

// Reads the file into memory; what cannot be read of it is zero. Whether there is anything.
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

void FileLook::release() {
    bytes_.release();
    whole_ = {};
    isFilled_ = false;
    isCurrent_ = false;
}

// No "FileName": an import has nothing to copy.
void FileLook::addNoFont(FontFaces& faces) const {
    faces.push_back(new OxFont);
    faces.back().setAttribute(eFontFilePath, path_.parent_path().string());
    const std::string look(lookOfBytes(start()));
    const bool isLost = look == "empty" || look == "all zero";
    addFinding(faces.back(), hasSharedFontExtension(path_) && !isLost ? kSomethingElse : kNoFont,
               look);
}
