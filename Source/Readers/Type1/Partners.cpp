#include "Partners.h"

#include <array>

#include "Ascii.h"
#include "FolderPartners.h"
#include "FontDictionary.h"
#include "ProgramParts.h"
#include "RegularFile.h"
#include "TextDecoding.h"

namespace {

using Paths = FolderPartners::Paths;

constexpr std::string_view kMetrics[] = {".pfm", ".afm", ".inf"};
constexpr std::string_view kPrograms[] = {".pfb", ".pfa", ".t1"};

// A font's name stands before its encoding, which is the longest of what precedes the program.
constexpr std::size_t kNameLiesWithin = 8192;
constexpr std::uint64_t kSegmentHeader = 6;

constexpr int kMissingPfb = 15001;
constexpr int kDamagedPfb = 15002;
constexpr int kOtherName = 20400;

Paths partnersOf(Face& face, std::span<const std::string_view> extensions) {
    FaceContext& context = face.context();
    FolderPartners own;
    FolderPartners& partners = context.partners != nullptr ? *context.partners : own;
    return partners.of(context.file, extensions);
}

// As the file system spells them, whatever their bytes: who reads the property opens the files.
void setPaths(Face& face, std::string_view property, const Paths& paths) {
    OxPropertyValue::List list;
    for (const boost::filesystem::path& path : paths) {
        list.emplace_back(path.string());
    }
    if (!list.empty()) {
        face.set(property, std::move(list));
    }
}

// What a program's first bytes tell.
struct ProgramHead {
    bool readable = false;
    bool segmented = false;
    std::string fontName;
};

ProgramHead headOf(const boost::filesystem::path& file) {
    ProgramHead head;
    RegularFile program;
    if (program.open(file)) {
        return head;
    }
    std::array<std::uint8_t, kNameLiesWithin> bytes;
    boost::system::error_code error;
    const std::size_t count = program.read(0, bytes, error);
    const ByteView start(bytes.data(), count);
    head.readable = !error;
    head.segmented = ProgramParts::isSegmented(start);
    const ByteView text = start.clamped(head.segmented ? kSegmentHeader : 0, count);
    head.fontName = fromUnstated(FontDictionary(text.text()).bytes(FontDictionary::Key::eFontName));
    return head;
}

}  // namespace

void addMetrics(Face& face) {
    setPaths(face, "metrics", partnersOf(face, kMetrics));
}

void addOutline(Face& face, bool wantsPfb) {
    const Paths programs = partnersOf(face, kPrograms);
    setPaths(face, "outline", programs);
    if (programs.empty()) {
        if (wantsPfb) {
            face.find(eNote, kMissingPfb, "");
        }
        return;
    }
    const boost::filesystem::path& program = programs.front();
    const std::string name = fromUnstated(program.filename().string());
    const ProgramHead head = headOf(program);
    const bool isPfb = ascii::toLower(program.extension().string()) == kPrograms[0];
    if (wantsPfb && isPfb && head.readable && !head.segmented) {
        face.find(eWarning, kDamagedPfb, name);
    }
    const std::string own = face.text("postscriptName");
    if (!own.empty() && !head.fontName.empty() && own != head.fontName) {
        face.find(kOtherName, own + ", in " + name + " " + head.fontName);
    }
}
