#include "Type1Reader.h"

#include <span>

#include "CharStringNames.h"
#include "EexecDecoder.h"
#include "FindingText.h"
#include "FontDictionary.h"
#include "GlyphCharacters.h"
#include "Partners.h"
#include "ProgramParts.h"
#include "StyleFields.h"

namespace {

using Key = FontDictionary::Key;

constexpr int kNoEexec = 20304;
constexpr int kNotDecoded = 20305;
constexpr int kNoCharStrings = 20306;
constexpr int kCutCharString = 20307;
constexpr int kOtherCount = 20308;
constexpr int kMissingKey = 20309;
constexpr int kUnclosedString = 20310;
constexpr int kNoSfnts = 20311;

// CIDs go up to 65535 (PostScript Language Reference, appendix B).
constexpr double kMostCids = 65536;

constexpr char kPrinterFont[] = "printer-font";

// Decoding, looking for the dictionaries and reading them.
constexpr std::uint64_t kPassesOverProgram = 4;

struct TextProperty {
    const char* property;
    Key key;
};

constexpr TextProperty kTexts[] = {
    {"family", Key::eFamilyName},
    {"fullName", Key::eFullName},
    {"version", Key::eVersion},
};

// What a dictionary must hold (Type 1 Font Format 2.2, PostScript Language Reference 5.8 and 5.11).
struct RequiredKey {
    Key key;
    const char* name;
};

constexpr RequiredKey kType1Needs[] = {
    {Key::eFontName, "/FontName"},
    {Key::eFontType, "/FontType"},
    {Key::eEncoding, "/Encoding"},
};
constexpr RequiredKey kCidNeeds[] = {
    {Key::eCidFontName, "/CIDFontName"},
    {Key::eCidCount, "/CIDCount"},
};

void addDictionary(Face& face, const FontDictionary& dictionary, Key name) {
    for (const TextProperty& row : kTexts) {
        setUnstated(face, row.property, dictionary.bytes(row.key));
    }
    setUnstated(face, "postscriptName", dictionary.bytes(name));
    setUnstated(face, "copyright", dictionary.bytes(Key::eCopyrightText));
    if (face.text("copyright").empty()) {
        setUnstated(face, "copyright", dictionary.bytes(Key::eNotice));
    }
    setWeightWord(face, dictionary.bytes(Key::eWeightWord));
    if (const std::optional<double> angle = dictionary.number(Key::eItalicAngle)) {
        setItalicAngle(face, *angle);
    }
    if (const std::optional<bool> fixed = dictionary.flag(Key::eIsFixedPitch)) {
        face.set("monospace", *fixed);
    }
    dictionary.blend().addTo(face);
    if (const std::optional<std::size_t> offset = dictionary.unclosedString()) {
        face.find(kUnclosedString, "", inFile("string", *offset));
    }
}

void findMissing(Face& face, const FontDictionary& dictionary, std::span<const RequiredKey> needs) {
    for (const RequiredKey& need : needs) {
        if (!dictionary.has(need.key)) {
            face.find(kMissingKey, need.name);
        }
    }
}

// Answers it, too; empty without one.
std::string addEncoding(Face& face, const FontDictionary& dictionary) {
    if (!dictionary.has(Key::eEncoding)) {
        return {};
    }
    std::string word = dictionary.bytes(Key::eEncoding);
    if (word != "StandardEncoding" && word != "ISOLatin1Encoding") {
        word = "custom";
    }
    face.set("encoding", word);
    return word;
}

// What glyph names tell of characters.
void addCharacters(Face& face, const std::vector<std::string_view>& names,
                   const std::string& encoding) {
    GlyphCharacters characters;
    for (const std::string_view name : names) {
        characters.add(name);
    }
    characters.addTo(face);
    if (!encoding.empty()) {
        face.set("symbol", encoding == "custom" && characters.onlySpace());
    }
}

void addGlyphs(Face& face, const CharStringNames& glyphs, const std::string& encoding) {
    if (!glyphs.found) {
        face.find(kNoCharStrings, "");
        return;
    }
    face.set("glyphs", glyphs.names.size());
    if (glyphs.cut || !glyphs.ended) {
        face.find(kCutCharString, std::to_string(glyphs.names.size()) + " of " +
                                      std::to_string(glyphs.claimed.value_or(0)) +
                                      " glyphs are whole");
    } else if (glyphs.names.size() != glyphs.claimed) {
        face.find(kOtherCount, std::to_string(glyphs.names.size()) + ", claimed are " +
                                   std::to_string(glyphs.claimed.value_or(0)));
    }
    addCharacters(face, glyphs.names, encoding);
}

void addEncryptedPart(Face& face, const ProgramParts& parts, const std::string& encoding) {
    if (parts.encrypted().empty()) {
        face.find(kNoEexec, "");
        if (parts.clear().text().find("/CharStrings") != std::string_view::npos) {
            addGlyphs(face, charStringNames(parts.clear().text()), encoding);
        }
        return;
    }
    DecodedEexec decoded(parts.encrypted());
    const CharStringNames glyphs = charStringNames(decoded);
    // Without a dictionary all of the text is there.
    const std::string_view text = decoded.text();
    if (!glyphs.found && text.find("/Private") == text.npos &&
        text.find("/CharStrings") == text.npos) {
        face.find(kNotDecoded, "");
        return;
    }
    addGlyphs(face, glyphs, encoding);
}

void setType(Face& face, bool segmented, const FontDictionary& dictionary) {
    if (face.context().container == kPrinterFont) {
        const bool type3 = dictionary.number(Key::eFontType) == 3.0;
        face.record().setFontType(type3 ? OxFont::T3Outline : OxFont::T1Outline);
        return;
    }
    setContainer(face, segmented ? "pfb" : "pfa");
    if (segmented) {
        face.record().setFontType(OxFont::PFB);
    }
}

}  // namespace

void readType1(ByteView program, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "type1");
    const bool spent = face.spend(kPassesOverProgram * program.size());
    const ProgramParts parts(program, face);
    const FontDictionary dictionary(parts.clear().text());
    setType(face, ProgramParts::isSegmented(program), dictionary);
    addDictionary(face, dictionary, Key::eFontName);
    const std::string encoding = addEncoding(face, dictionary);
    if (!parts.encrypted().empty()) {  // else it is no whole program, which is told below
        findMissing(face, dictionary, kType1Needs);
    }
    if (spent) {
        addEncryptedPart(face, parts, encoding);
    }
    addMetrics(face);
}

void readType42(ByteView program, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "type42");
    setContainer(face, "pfa");
    face.spend(kPassesOverProgram * program.size());
    const FontDictionary dictionary(program.text());
    addDictionary(face, dictionary, Key::eFontName);
    findMissing(face, dictionary, kType1Needs);
    if (!dictionary.has(Key::eSfnts)) {
        face.find(kNoSfnts, "");
    }
    const std::string encoding = addEncoding(face, dictionary);
    addGlyphs(face, charStringNames(program.text()), encoding);
    addMetrics(face);
}

void readCidProgram(ByteView program, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "cid");
    setContainer(face, "pfa");
    face.spend(kPassesOverProgram * program.size());
    const FontDictionary dictionary(program.text());
    addDictionary(face, dictionary, Key::eCidFontName);
    findMissing(face, dictionary, kCidNeeds);
    const std::optional<double> count = dictionary.number(Key::eCidCount);
    if (count && *count >= 0 && *count <= kMostCids) {
        face.set("glyphs", *count);
    }
    addMetrics(face);
}
