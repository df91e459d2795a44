#include "OxParserPSOutlineImp.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <optional>

#include "CString.h"
#include "Log.h"
#include "MacRoman.h"
#include "ParserSupport.h"
#include "PostChunks.h"
#include "PostScriptFontDictionary.h"
#include "ResourceFileSession.h"
#include "ResourceManager.h"

namespace {

namespace fs = boost::filesystem;

const LogChannel& log() {
    static const LogChannel channel("OxParserPSOutlineImp");
    return channel;
}

// A notice may be longer than what is converted at a time.
std::string programText(std::string_view text) {
    constexpr std::size_t kBlock = 85;  // three bytes of UTF-8 each at most
    std::string result;
    for (text = upToZero(text); !text.empty(); text.remove_prefix(std::min(kBlock, text.size()))) {
        result += macRomanToUtf8(text.substr(0, kBlock));
    }
    return result;
}

struct DictionaryAttribute {
    const char* key;
    std::optional<std::string> PostScriptFontDictionary::*field;
};

constexpr DictionaryAttribute kAttributes[] = {
    {ePostscriptname, &PostScriptFontDictionary::fontName},
    {eFullname, &PostScriptFontDictionary::fullName},
    {eFamilyname, &PostScriptFontDictionary::familyName},
    {eFontVersion, &PostScriptFontDictionary::version},
};

void report(OxFont& font, const std::string& text) {
    log().error(text);
    font.addDiagnostic(eError, 0, text);
}

}  // namespace

OxParserPSOutlineImp::OxParserPSOutlineImp() = default;
OxParserPSOutlineImp::~OxParserPSOutlineImp() = default;

boost::ptr_vector<OxFont>* OxParserPSOutlineImp::parseFontFile(fs::path file) {
    log().info("parseFontFile:  %s", file.string());
    const boost::lock_guard<boost::recursive_mutex> lock(macParsingMutex());
    return readOneRecord(
        file, log(), [&](OxFont& font) { readFont(file, font); }, report);
}

void OxParserPSOutlineImp::readFont(const fs::path& file, OxFont& font) {
    setPathAttributes(font, file);
    const FSRef reference = referenceTo(file);
    ResourceFileSession session;
    session.open(reference, FSGetResourceForkName);
    const PostChunks chunks = PostChunks::read(file);
    for (const std::string& defect : chunks.defects) {
        report(font, defect);
    }
    readDictionary(chunks.text, font);
}

void OxParserPSOutlineImp::readDictionary(const std::string& program, OxFont& font) {
    const auto dictionary = PostScriptFontDictionary::read(program);
    if (!dictionary.isPresent) {
        report(font, "Corrupt Font:  No font dictionary");
    }
    for (const DictionaryAttribute& attribute : kAttributes) {
        if (const auto& value = dictionary.*attribute.field) {
            font.setAttribute(attribute.key, programText(*value));
        }
    }
    if (const auto& notice = dictionary.notice ? dictionary.notice : dictionary.copyright) {
        const std::string text = programText(*notice);
        font.setAttribute(eCopyright, text);
        font.setAttribute(eFoundry, text);
    }
    if (!dictionary.isPresent) {
        return;
    }
    const std::string type = dictionary.fontType.value_or("");
    if (type != "1" && type != "3") {
        report(font, "Corrupt Font:  Invalid font type");
    }
    font.setFontType(type == "3" ? OxFont::T3Outline : OxFont::T1Outline);
}

std::int32_t OxParserPSOutlineImp::lookupSymbol(const std::string& token,
                                                const SymbolMapping* table, std::size_t count,
                                                std::size_t rowSize) {
    return ::lookupSymbol(token, table, count, rowSize);
}
