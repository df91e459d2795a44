#include "FontSignatures.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "Ascii.h"
#include "FourCharCode.h"
#include "ProgramWords.h"

namespace {

constexpr std::uint32_t kTags[] = {
    fourCharCode("head"), fourCharCode("bhed"), fourCharCode("name"), fourCharCode("cmap"),
    fourCharCode("maxp"), fourCharCode("hhea"), fourCharCode("hmtx"), fourCharCode("OS/2"),
    fourCharCode("post"), fourCharCode("glyf"), fourCharCode("loca"), fourCharCode("CFF "),
    fourCharCode("CFF2"), fourCharCode("EBDT"), fourCharCode("EBLC"), fourCharCode("bdat"),
    fourCharCode("bloc"), fourCharCode("sbix"), fourCharCode("CBDT"), fourCharCode("CBLC"),
    fourCharCode("TYP1"), fourCharCode("CID "), fourCharCode("cvt "), fourCharCode("fpgm"),
    fourCharCode("prep"), fourCharCode("kern"), fourCharCode("GSUB"), fourCharCode("GPOS"),
    fourCharCode("fvar")};

constexpr std::uint32_t kVersions[] = {0x00010000, fourCharCode("true"), fourCharCode("OTTO"),
                                       fourCharCode("typ1")};

constexpr std::string_view kType42Words[] = {"%!PS-TrueTypeFont"};
constexpr std::string_view kCidWords[] = {"%!PS-Adobe-3.0 Resource-CIDFont"};
constexpr std::string_view kAfmWords[] = {"StartFontMetrics"};

bool isOneOf(std::uint32_t value, std::span<const std::uint32_t> list) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Known tables of an sfnt directory at the file's start.
struct KnownTables {
    unsigned beginInside = 0;
    unsigned lieInside = 0;
};

KnownTables knownTables(const FontStart& start) {
    constexpr std::size_t kHeader = 12;
    constexpr std::size_t kRecord = 16;
    constexpr std::size_t kMostRecords = 4096;
    KnownTables known;
    const ByteView bytes = start.bytes();
    if (!bytes.holds(0, kHeader)) {
        return known;
    }
    const std::size_t count = std::min<std::size_t>(bytes.u16be(4), kMostRecords);
    const ByteView records = start.at(kHeader, count * kRecord);
    for (std::size_t at = 0; records.holds(at, kRecord); at += kRecord) {
        const std::uint64_t offset = records.u32be(at + 8);
        if (isOneOf(records.u32be(at), kTags) && offset < start.fileSize()) {
            ++known.beginInside;
            known.lieInside += offset + records.u32be(at + 12) <= start.fileSize() ? 1U : 0U;
        }
    }
    return known;
}

bool isSfnt(const FontStart& start, bool isNamedSo) {
    constexpr unsigned kEnoughTables = 3;
    const ByteView bytes = start.bytes();
    if (!bytes.holds(0, 4)) {
        return false;
    }
    if (isOneOf(bytes.u32be(0), kVersions)) {
        return knownTables(start).beginInside > 0;
    }
    return isNamedSo && knownTables(start).lieInside >= kEnoughTables;
}

bool beginsWithOneOf(std::string_view text, std::span<const std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view word) { return text.starts_with(word); });
}

bool isPfb(const FontStart& start, bool /*isNamedSo*/) {
    constexpr std::size_t kWithin = 16;
    const ByteView bytes = start.bytes();
    if (!bytes.holds(0, 2) || (bytes.u8(0) != 0x80 && bytes.u8(0) != 0) || bytes.u8(1) != 1) {
        return false;
    }
    for (std::size_t at = 2; at <= kWithin; ++at) {
        if (beginsWithOneOf(bytes.clamped(at, bytes.size()).text(), kType1Words)) {
            return true;
        }
    }
    return false;
}

// Header, then a Name INDEX of one readable name (Adobe Technical Note 5176, sections 5 to 7).
bool isBareCff(const FontStart& start, bool /*isNamedSo*/) {
    constexpr std::size_t kLongestName = 127;
    const ByteView bytes = start.bytes();
    if (!bytes.holds(0, 4) || bytes.u8(0) != 1 || bytes.u8(1) != 0 || bytes.u8(2) < 4 ||
        bytes.u8(3) < 1 || bytes.u8(3) > 4) {
        return false;
    }
    const ByteView index = bytes.clamped(bytes.u8(2), bytes.size());
    if (!index.holds(0, 3) || index.u16be(0) != 1 || index.u8(2) < 1 || index.u8(2) > 4) {
        return false;
    }
    const std::size_t width = index.u8(2);
    if (!index.holds(3, 2 * width)) {
        return false;
    }
    const auto offset = [&](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            value = value << 8 | index.u8(at + i);
        }
        return value;
    };
    const std::uint32_t end = offset(3 + width);
    const ByteView name = index.clamped(3 + 2 * width, end - 1);
    return offset(3) == 1 && end > 1 && end - 1 <= kLongestName && name.size() == end - 1 &&
           std::none_of(name.data(), name.data() + name.size(),
                        [](std::uint8_t byte) { return byte < 0x21 || byte == 0x7F; });
}

// Version, type and the device's name (Windows 3.1 DDK, Printer Font Metrics).
bool isPfm(const FontStart& start, bool isNamedSo) {
    constexpr std::size_t kHeader = 117;
    constexpr std::size_t kTypeAt = 66;
    constexpr std::size_t kDeviceAt = 101;
    constexpr std::string_view kDevice = "POSTSCRIPT";
    const ByteView bytes = start.bytes();
    if (!bytes.holds(0, kHeader)) {
        return false;
    }
    const bool version = bytes.u16le(0) == 0x0100;
    const bool type = (bytes.u16le(kTypeAt) & 0x0080) != 0;
    if (!version && !type) {
        return false;  // and nothing is read for it
    }
    if (!isNamedSo && !(version && type)) {
        return false;
    }
    const bool device =
        ascii::toUpper(start.at(bytes.u32le(kDeviceAt), kDevice.size()).text()) == kDevice;
    const int marks = (version ? 1 : 0) + (type ? 1 : 0) + (device ? 1 : 0);
    return marks >= (isNamedSo ? 2 : 3);
}

template <const auto& Words>
bool isText(const FontStart& start, bool /*isNamedSo*/) {
    return beginsWithOneOf(behindBlanks(start.bytes().text()), Words);
}

template <std::uint32_t Tag>
bool hasTag(const FontStart& start, bool /*isNamedSo*/) {
    return start.bytes().holds(0, 4) && start.bytes().u32be(0) == Tag;
}

/// How a format is told, and the extensions that say the same.
struct Signature {
    FontFormat format;
    bool (*fits)(const FontStart& start, bool isNamedSo);
    std::array<const char*, 4> extensions;
};

// The first that fits decides.
constexpr Signature kSignatures[] = {
    {FontFormat::eCollection, hasTag<fourCharCode("ttcf")>, {"ttc", "otc"}},
    {FontFormat::eWoff, hasTag<fourCharCode("wOFF")>, {"woff"}},
    {FontFormat::eWoff2, hasTag<fourCharCode("wOF2")>, {"woff2"}},
    {FontFormat::eSfnt, isSfnt, {"ttf", "otf"}},
    {FontFormat::ePfb, isPfb, {"pfb", "t1"}},
    {FontFormat::eType42, isText<kType42Words>, {"t42", "pfa"}},
    {FontFormat::eCid, isText<kCidWords>, {"cid", "pfa"}},
    {FontFormat::ePfa, isText<kType1Words>, {"pfa", "t1"}},
    {FontFormat::eAfm, isText<kAfmWords>, {"afm"}},
    {FontFormat::eCff, isBareCff, {"cff"}},
    {FontFormat::ePfm, isPfm, {"pfm"}},
};

struct Extension {
    const char* text;
    bool shared;  // used by other programs, too
};
constexpr Extension kExtensions[] = {
    {"ttf", false},   {"otf", false},   {"ttc", false}, {"otc", false}, {"woff", false},
    {"woff2", false}, {"pfb", false},   {"pfa", true},  {"t1", true},   {"pfm", true},
    {"afm", true},    {"dfont", false}, {"suit", true}};

std::string extensionOf(const boost::filesystem::path& file) {
    const std::string extension = file.extension().string();
    return ascii::toLower(extension.empty() ? extension : extension.substr(1));
}

const Extension* fontExtension(const std::string& extension) {
    const auto found =
        std::find_if(std::begin(kExtensions), std::end(kExtensions),
                     [&extension](const Extension& row) { return extension == row.text; });
    return found == std::end(kExtensions) ? nullptr : &*found;
}

bool isNamedAs(const std::string& extension, const Signature& signature) {
    return std::any_of(signature.extensions.begin(), signature.extensions.end(),
                       [&extension](const char* text) { return text && extension == text; });
}

struct Magic {
    std::size_t offset;
    std::string_view bytes;
    std::string_view look;
};
using namespace std::string_view_literals;
constexpr Magic kMagics[] = {
    {0, "PK\3\4"sv, "archive"},
    {0, "PK\5\6"sv, "archive"},
    {0, "\x1F\x8B"sv, "archive"},
    {0, "BZh"sv, "archive"},
    {0,
     "\xFD"
     "7zXZ"sv,
     "archive"},
    {0, "7z\xBC\xAF"sv, "archive"},
    {0, "Rar!"sv, "archive"},
    {257, "ustar"sv, "archive"},
    {0, "\x28\xB5\x2F\xFD"sv, "archive"},
    {0, "SIT!"sv, "archive"},
    {0, "StuffIt"sv, "archive"},
    {2, "-lh"sv, "archive"},
    {0, "!<arch>"sv, "archive"},
    {0, "MSCF"sv, "archive"},
    {0, "\x89PNG"sv, "image"},
    {0, "\xFF\xD8\xFF"sv, "image"},
    {0, "GIF8"sv, "image"},
    {0, "II*\0"sv, "image"},
    {0, "MM\0*"sv, "image"},
    {8, "WEBP"sv, "image"},
    {0, "BM"sv, "image"},
    {0, "8BPS"sv, "image"},
};
constexpr std::string_view kHtmlWords[] = {"<!DOCTYPE HTML", "<HTML", "<HEAD", "<BODY", "<!--"};

bool isText(ByteView start) {
    return std::none_of(start.data(), start.data() + start.size(), [](std::uint8_t byte) {
        return (byte < 0x20 && !ascii::isSpace(static_cast<char>(byte)) && byte != 0x1A) ||
               byte == 0x7F;
    });
}

}  // namespace

FontStart::FontStart(ByteView file)
    : FontStart(
          file.clamped(0, kSize), file.size(),
          [file](std::uint64_t offset, std::size_t count) { return file.clamped(offset, count); }) {
}

ByteView FontStart::at(std::uint64_t offset, std::size_t count) const {
    return start_.holds(offset, count) || start_.size() == fileSize_ ? start_.clamped(offset, count)
                                                                     : readAt_(offset, count);
}

FontFormat recogniseFont(const FontStart& start, const boost::filesystem::path& file) {
    const std::string extension = extensionOf(file);
    for (const Signature& signature : kSignatures) {
        if (signature.fits(start, isNamedAs(extension, signature))) {
            return signature.format;
        }
    }
    return FontFormat::eNone;
}

bool hasFontExtension(const boost::filesystem::path& file) {
    return fontExtension(extensionOf(file)) != nullptr;
}

bool hasSharedFontExtension(const boost::filesystem::path& file) {
    const Extension* extension = fontExtension(extensionOf(file));
    return extension != nullptr && extension->shared;
}

bool extensionDisagrees(const boost::filesystem::path& file, FontFormat format, ByteView start) {
    const std::string extension = extensionOf(file);
    if (fontExtension(extension) == nullptr) {
        return false;
    }
    if (extension == "ttf" && start.holds(0, 4) && start.u32be(0) == fourCharCode("OTTO")) {
        return true;
    }
    const auto signature =
        std::find_if(std::begin(kSignatures), std::end(kSignatures),
                     [format](const Signature& row) { return row.format == format; });
    return signature == std::end(kSignatures) || !isNamedAs(extension, *signature);
}

bool extensionDisagreesWithMacFont(const boost::filesystem::path& file) {
    const std::string extension = extensionOf(file);
    return fontExtension(extension) != nullptr && extension != "dfont" && extension != "suit";
}

std::string_view lookOfBytes(ByteView start) {
    if (start.empty()) {
        return "empty";
    }
    if (std::all_of(start.data(), start.data() + start.size(),
                    [](std::uint8_t byte) { return byte == 0; })) {
        return "all zero";
    }
    for (const Magic& magic : kMagics) {
        if (start.clamped(magic.offset, magic.bytes.size()).text() == magic.bytes) {
            return magic.look;
        }
    }
    const std::string text = ascii::toUpper(behindBlanks(start.text()));
    if (std::any_of(std::begin(kHtmlWords), std::end(kHtmlWords),
                    [&text](std::string_view word) { return text.starts_with(word); })) {
        return "HTML";
    }
    return isText(start) ? "text" : "unknown";
}
