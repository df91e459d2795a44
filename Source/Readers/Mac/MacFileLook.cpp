#include "MacFileLook.h"

#include <algorithm>
#include <utility>

#include "Ascii.h"
#include "ContainedDataFork.h"
#include "FontResources.h"
#include "FourCharCode.h"
#include "MacFindings.h"
#include "SidecarOwner.h"
#include "TextDecoding.h"

namespace {

using Kind = MacFile::Kind;

// What Finders and their successors call files that hold fonts: suitcases, TrueType fonts by
// themselves, desk accessories' suitcases, which hold fonts as well, printer fonts, and both kinds
// of OpenType.
constexpr std::uint32_t kFontFileTypes[] = {
    fourCharCode("FFIL"), fourCharCode("ffil"), fourCharCode("tfil"),
    fourCharCode("DFIL"), fourCharCode("LWFN"), fourCharCode("sfnt"),
    fourCharCode("dfon"), fourCharCode("OTTO"), fourCharCode("TTFF"),
};
// Names of files whose fonts lie in a fork.
constexpr std::string_view kForkExtensions[] = {".suit", ".dfont", ".ffil", ".lwfn"};

constexpr std::uint32_t kUsualData = 256;  // where resource data begin in almost all files
constexpr std::size_t kResourceHeader = 16;

bool hasForkExtension(const boost::filesystem::path& file) {
    const std::string extension = ascii::toLower(file.extension().string());
    return std::find(std::begin(kForkExtensions), std::end(kForkExtensions), extension) !=
           std::end(kForkExtensions);
}

// A resource header whose map lies right behind the data, past the end of the file: the file was
// cut.
bool isCutResourceFile(const FileInHand& file) {
    if (!file.start.holds(0, kResourceHeader)) {
        return false;
    }
    const std::uint64_t map = file.start.u32be(4);
    return file.start.u32be(0) == kUsualData && map == kUsualData + file.start.u32be(8) &&
           map + file.start.u32be(12) > file.size;
}

class Look {
  public:
    Look(ForkLocator& forks, const FileInHand& file) : forks_(forks), file_(file) {}

    MacFile run() {
        if (isSidecarOfExistingFile(forks_, file_.file, file_.start)) {
            result_.kind = Kind::eSidecar;
            return std::move(result_);
        }
        ForkAnswer answer = forks_.resourceFork(file_.file);
        result_.trouble = answer.status == fnfErr ? std::string() : answer.trouble.reason;
        if (!takeFork(answer) && !takeDataFork()) {
            judge(answer);
            if (result_.kind == Kind::eNothing && !result_.trouble.empty()) {
                breakWith(finding::kForkUnreadable, result_.trouble);
            }
        }
        return std::move(result_);
    }

  private:
    bool takeFork(ForkAnswer& answer) {
        if (answer.status != noErr || !holdsMacFonts(ByteView(*answer.bytes))) {
            return false;
        }
        result_.kind = Kind::eFonts;
        result_.fork = std::move(answer.bytes);
        result_.resources = ByteView(*result_.fork);
        result_.origin.fork = forkPlaceName(answer.source.place);
        result_.origin.dataFork = [file = file_, kept = ContainedFork()]() mutable {
            if (!isForkContainer(file)) {
                return file.whole();
            }
            kept = containedDataFork(file);
            return kept.bytes;
        };
        return true;
    }

    bool takeDataFork() {
        if (!isPlausibleResourceHeader(file_.start, file_.size)) {
            return false;
        }
        const ByteView bytes = file_.whole();
        if (!holdsMacFonts(bytes)) {
            return false;
        }
        result_.kind = Kind::eFonts;
        result_.resources = bytes;
        result_.origin.inDataFork = true;
        return true;
    }

    void judge(const ForkAnswer& answer) {
        FontResources resources;
        if (answer.status == noErr) {
            const std::int16_t status = resources.open(ByteView(*answer.bytes));
            if (status != noErr && status != eofErr) {
                breakWith(finding::kForkDamaged, forkPlaceName(answer.source.place));
            }
        } else if (answer.status == mapReadErr) {
            breakWith(finding::kForkDamaged, answer.trouble.reason.empty()
                                                 ? forkPlaceName(answer.source.place)
                                                 : answer.trouble.reason);
        } else if (answer.status != eofErr && answer.status != fnfErr) {
            breakWith(finding::kForkUnreadable, answer.trouble.reason);
        } else {
            judgeWithoutFork(answer);
        }
    }

    void judgeWithoutFork(const ForkAnswer& answer) {
        if (file_.size == 0) {
            judgeEmptyFile(answer);
        } else if (hasForkExtension(file_.file) &&
                   (isCutResourceFile(file_) ||
                    isPlausibleResourceHeader(file_.start, file_.size))) {
            judgeDataFork();
        }
    }

    // The data fork means to be a resource file.
    void judgeDataFork() {
        FontResources resources;
        if (isCutResourceFile(file_)) {
            breakWith(
                finding::kForkDamaged,
                "the file ends at " + std::to_string(file_.size) + ", its map at " +
                    std::to_string(std::uint64_t{file_.start.u32be(4)} + file_.start.u32be(12)));
        } else if (resources.open(file_.whole()) == mapReadErr) {
            breakWith(finding::kForkDamaged, "its map does not lie inside");
        }
    }

    // Whatever such a file holds is in its fork.
    void judgeEmptyFile(const ForkAnswer& answer) {
        if (answer.trouble) {
            breakWith(finding::kForkUnreadable, answer.trouble.reason);
            return;
        }
        const FinderAnswer finder = forks_.finderInfo(file_.file);
        const std::uint32_t type = finder.info.type();
        const bool isFontType = std::find(std::begin(kFontFileTypes), std::end(kFontFileTypes),
                                          type) != std::end(kFontFileTypes);
        if (isFontType || hasForkExtension(file_.file)) {
            breakWith(finding::kForkLost, isFontType ? "by its Finder type" : "by its name");
        }
    }

    void breakWith(int code, const std::string& detail) {
        result_.kind = Kind::eBroken;
        result_.finding = code;
        result_.detail = fromUnstated(detail);  // it may tell a path
    }

    ForkLocator& forks_;
    const FileInHand& file_;
    MacFile result_;
};

}  // namespace

MacFile lookAtMacFile(ForkLocator& forks, const FileInHand& file) {
    return Look(forks, file).run();
}

void readMacFile(const MacFile& macFile, ForkLocator& forks, FaceContext& context,
                 FontFaces& faces) {
    if (macFile.kind == Kind::eFonts) {
        readMacFonts(macFile.resources, macFile.origin, forks, context, faces);
    } else if (macFile.kind == Kind::eBroken) {
        FaceContext withoutContainer = context;
        withoutContainer.container.clear();
        Face face(faces, withoutContainer);
        face.record().setAttribute(ePlatform, "Macintosh");
        face.find(macFile.finding, macFile.detail);
    }
}
