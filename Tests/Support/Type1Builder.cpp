#include "Type1Builder.h"

#include <algorithm>
#include <stdexcept>

namespace {

void appendSegment(Bytes& file, std::uint8_t type, std::string_view content) {
    file.insert(file.end(), {0x80, type});
    for (unsigned shift = 0; shift < 32; shift += 8) {
        file.push_back(static_cast<std::uint8_t>(content.size() >> shift));
    }
    file.insert(file.end(), content.begin(), content.end());
}

struct PfmField {
    std::string_view name;
    std::size_t offset;
    std::size_t width;
};

constexpr PfmField kPfmFields[] = {
    {"version", 0, 2},
    {"size", 2, 4},
    {"type", 66, 2},
    {"points", 68, 2},
    {"vertical resolution", 70, 2},
    {"horizontal resolution", 72, 2},
    {"italic", 80, 1},
    {"width bytes", 99, 2},
    {"device", 101, 4},
    {"face", 105, 4},
    {"extension size", 117, 2},
    {"metrics offset", 119, 4},
    {"extents offset", 123, 4},
    {"origin offset", 127, 4},
    {"kern pair offset", 131, 4},
    {"kern track offset", 135, 4},
    {"driver offset", 139, 4},
    {"reserved", 143, 4},
    {"metrics size", 147, 2},
    {"point size", 149, 2},
    {"orientation", 151, 2},
    {"master height", 153, 2},
    {"min scale", 155, 2},
    {"max scale", 157, 2},
    {"master units", 159, 2},
    {"superscript", 171, 2},
};

}  // namespace

std::string type1Text(std::initializer_list<std::string_view> lines, std::string_view lineEnd) {
    std::string text;
    for (const std::string_view line : lines) {
        text.append(line).append(lineEnd);
    }
    return text;
}

std::string acmeType1Text(std::string_view lineEnd) {
    return type1Text(
        {"%!PS-AdobeFont-1.0: Acme-Bold 001.003", "%%CreationDate: Mon Jan 1 1990", "11 dict begin",
         "/FontInfo 10 dict dup begin", "/version (001.003) readonly def",
         "/Notice (Copyrighted 1990 acme type inc. All (or most) rights) readonly def",
         "/FullName (Acme Bold) readonly def", "/FamilyName (Acme) readonly def",
         "/Weight (Bold) readonly def", "/ItalicAngle 0 def", "end readonly def",
         "/FontName /Acme-Bold def", "/PaintType 0 def", "/FontType 1 def", "/UniqueID 5012345 def",
         "currentfile eexec"},
        lineEnd);
}

Bytes pfbFile(std::string_view clearText) {
    Bytes file;
    appendSegment(file, 1, clearText);
    appendSegment(file, 2, "\xd9\xd6\x6f\x63\x3b\x84\x6a\x98");
    appendSegment(file, 1, std::string(64, '0') + "\rcleartomark\r");
    file.insert(file.end(), {0x80, 3});
    return file;
}

PfmBuilder::PfmBuilder() : bytes_(199) {
    constexpr std::uint32_t kExtents = 199;
    constexpr std::uint32_t kDevice = kExtents + 2 * 3;
    constexpr std::string_view kStrings("PostScript\0Acme\0Acme-Bold\0", 26);
    bytes_.resize(kDevice);
    bytes_.insert(bytes_.end(), kStrings.begin(), kStrings.end());

    set("version", 0x0100).set("size", size()).set("type", 0x0081).set("points", 10);
    set("vertical resolution", 300).set("horizontal resolution", 300);
    set("device", kDevice).set("face", kDevice + 11);
    set("extension size", 30).set("metrics offset", 147).set("extents offset", kExtents);
    set("driver offset", kDevice + 16);
    set("metrics size", 52).set("point size", 240).set("master height", 1000);
    set("min scale", 3).set("max scale", 1000).set("master units", 1000);
}

PfmBuilder& PfmBuilder::set(std::string_view field, std::uint32_t value) {
    const auto known = std::find_if(std::begin(kPfmFields), std::end(kPfmFields),
                                    [field](const PfmField& f) { return f.name == field; });
    if (known == std::end(kPfmFields)) {
        throw std::out_of_range("no such PFM field: " + std::string(field));
    }
    for (std::size_t i = 0; i < known->width; ++i) {
        bytes_[known->offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return *this;
}
