#include <algorithm>
#include <span>

#include "CffDict.h"
#include "CffIndex.h"
#include "CffStandardStrings.h"
#include "FindingText.h"
#include "GlyphCharacters.h"
#include "StyleFields.h"
#include "Type1Reader.h"

namespace {

constexpr int kUnreadable = 20320;
constexpr int kNoGlyphs = 20321;

struct TextOperator {
    std::uint16_t op;
    const char* property;
};

// A notice after the copyright, in whose place it stands.
constexpr TextOperator kTexts[] = {
    {CffDict::eFamilyName, "family"}, {CffDict::eFullName, "fullName"},
    {CffDict::eVersion, "version"},   {CffDict::eCopyrightText, "copyright"},
    {CffDict::eNotice, "copyright"},
};

struct IdRange {
    std::uint32_t first;
    std::uint32_t last;
};

// The predefined charsets (appendix C), as ranges of string ids.
constexpr IdRange kIsoAdobe[] = {{0, 228}};
constexpr IdRange kExpert[] = {{0, 1},     {229, 238}, {13, 15},   {99, 99},   {239, 248},
                               {27, 28},   {249, 266}, {109, 110}, {267, 318}, {158, 158},
                               {155, 155}, {163, 163}, {319, 326}, {150, 150}, {164, 164},
                               {169, 169}, {327, 378}};
constexpr IdRange kExpertSubset[] = {
    {0, 1},     {231, 232}, {235, 238}, {13, 15},   {99, 99},   {239, 248}, {27, 28},   {249, 251},
    {253, 266}, {109, 110}, {267, 270}, {272, 272}, {300, 302}, {305, 305}, {314, 315}, {158, 158},
    {155, 155}, {163, 163}, {320, 326}, {150, 150}, {164, 164}, {169, 169}, {327, 346}};
constexpr std::span<const IdRange> kPredefined[] = {kIsoAdobe, kExpert, kExpertSubset};

class CffFont {
  public:
    CffFont(ByteView file, Face& face);

    void addNames(Face& face) const;
    void addGlyphs(Face& face) const;

  private:
    std::string_view string(std::uint32_t id) const;
    void addRange(GlyphCharacters& characters, const IdRange& range, std::uint32_t& left) const;
    void addCharset(GlyphCharacters& characters, std::uint32_t glyphs) const;
    void readCharset(GlyphCharacters& characters, std::uint64_t at, std::uint32_t left) const;

    ByteView file_;
    CffIndex names_;
    CffIndex strings_;
    CffDict top_{ByteView()};
};

CffFont::CffFont(ByteView file, Face& face) : file_(file) {
    names_ = CffIndex(file, file.u8(2, "header size"), "Name INDEX");
    setUnstated(face, "postscriptName", names_.object(0).text());
    const CffIndex tops(file, names_.end(), "Top DICT INDEX");
    strings_ = CffIndex(file, tops.end(), "String INDEX");
    top_ = CffDict(tops.object(0));
}

std::string_view CffFont::string(std::uint32_t id) const {
    if (id < kCffStandardStrings) {
        return cffStandardString(id);
    }
    const auto number = static_cast<std::uint32_t>(id - kCffStandardStrings);
    return number < strings_.count() ? strings_.object(number).text() : std::string_view();
}

void CffFont::addNames(Face& face) const {
    for (const TextOperator& row : kTexts) {
        const std::optional<std::uint32_t> id = top_.count(row.op);
        if (id && face.text(row.property).empty()) {
            setUnstated(face, row.property, string(*id));
        }
    }
    if (const std::optional<std::uint32_t> id = top_.count(CffDict::eWeightWord)) {
        setWeightWord(face, string(*id));
    }
    // What these are without an operator is stated by the format (table 9).
    setItalicAngle(face, top_.operand(CffDict::eItalicAngle).value_or(0));
    face.set("monospace", top_.operand(CffDict::eIsFixedPitch).value_or(0) != 0);
}

void CffFont::addGlyphs(Face& face) const {
    const std::optional<std::uint32_t> offset = top_.count(CffDict::eCharStrings);
    if (!offset || *offset == 0) {
        face.find(kNoGlyphs, "");
        return;
    }
    const CffIndex charStrings(file_, *offset, "CharStrings INDEX");
    face.set("glyphs", charStrings.count());
    if (charStrings.count() == 0) {
        face.find(kNoGlyphs, "0", inFile("CharStrings INDEX", *offset));
        return;
    }
    file_.from(charStrings.end(), "CharStrings INDEX");  // throws when they reach past the end
    if (!top_.has(CffDict::eRos)) {  // else the charset holds numbers of a character collection
        GlyphCharacters characters;
        addCharset(characters, charStrings.count());
        characters.addTo(face);
    }
}

void CffFont::addRange(GlyphCharacters& characters, const IdRange& range,
                       std::uint32_t& left) const {
    for (std::uint32_t id = range.first; id <= range.last && left > 0; ++id, --left) {
        characters.add(string(id));
    }
}

void CffFont::addCharset(GlyphCharacters& characters, std::uint32_t glyphs) const {
    const std::uint32_t charset = top_.count(CffDict::eCharset).value_or(0);
    if (charset >= std::size(kPredefined)) {
        readCharset(characters, charset, glyphs - 1);  // without .notdef
        return;
    }
    for (const IdRange& range : kPredefined[charset]) {
        addRange(characters, range, glyphs);
    }
}

void CffFont::readCharset(GlyphCharacters& characters, std::uint64_t at, std::uint32_t left) const {
    constexpr const char* kField = "charset";
    const std::uint8_t format = file_.u8(at++, kField);
    if (format > 2) {
        throw CffDamage("format " + std::to_string(format) + ", should be 0 to 2", kField, at - 1);
    }
    while (left > 0) {
        const std::uint32_t first = file_.u16be(at, kField);
        std::uint32_t more = 0;
        if (format != 0) {
            more = format == 1 ? file_.u8(at + 2, kField) : file_.u16be(at + 2, kField);
        }
        addRange(characters, {first, first + more}, left);
        at += 2U + format;
    }
}

}  // namespace

void readBareCff(ByteView file, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "cff");
    setContainer(face, "cff");
    try {
        const CffFont font(file, face);
        font.addNames(face);
        font.addGlyphs(face);
    } catch (const CffDamage& damage) {
        face.find(kUnreadable, damage.what(), inFile(damage.field(), damage.offset()));
    } catch (const ReadPastEnd& past) {
        face.find(kUnreadable,
                  std::to_string(past.count()) + " bytes at " + std::to_string(past.offset()) +
                      ", file has " + std::to_string(file.size()),
                  inFile(past.field(), past.offset()));
    }
}
