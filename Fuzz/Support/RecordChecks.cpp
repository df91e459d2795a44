#include "RecordChecks.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>

#include "Check.h"
#include "Md5.h"

namespace {

const std::set<std::string_view> kKeys = {
    eFontFilePath,   eFileName,   ePlatform,        ePrinterFilePath, eBasename,
    ePostscriptname, eFullname,   eDisplayname,     eFamilyname,      eSubFamilyname,
    eFoundry,        eType,       eCopyright,       eKerningChecksum, eFingerprint,
    eFontVersion,    eUniqueId,   eTrademark,       eWeight,          eWidth,
    eMonospace,      eItalic,     eStyle,           eFontId,          eResourcename,
    eSize,           eStyleType,  eResourceType,    eFntSize,         eMultipleMaster,
    eFontOffset,     eSourcePath, eDestinationPath,
};

bool isKnown(const FontDiagnostic& diagnostic, const RecordRules& rules) {
    if (diagnostic.type == eError && diagnostic.code == 0) {
        return std::any_of(rules.texts.begin(), rules.texts.end(), [&](std::string_view text) {
            return diagnostic.text.starts_with(text);
        });
    }
    return std::any_of(rules.codes.begin(), rules.codes.end(), [&](const CodeRange& range) {
        return diagnostic.type == range.type && diagnostic.code >= range.first &&
               diagnostic.code <= range.last;
    });
}

bool isEqual(const FontDiagnostic& a, const FontDiagnostic& b) {
    return a.type == b.type && a.code == b.code && a.text == b.text && a.where == b.where;
}

}  // namespace

void checkEqual(const OxFont& a, const OxFont& b) {
    check(a.attributes() == b.attributes(), "equal attributes of two parses");
    check(a.properties() == b.properties(), "equal properties of two parses");
    check(std::equal(a.diagnostics().begin(), a.diagnostics().end(), b.diagnostics().begin(),
                     b.diagnostics().end(), isEqual),
          "equal diagnostics of two parses");
    check(a.resources() == b.resources(), "equal resources of two parses");
    check(a.printerFontPaths == b.printerFontPaths, "equal printer fonts of two parses");
}

void checkEqual(const FontList& a, const FontList& b) {
    check(a.size() == b.size(), "equal numbers of records of two parses");
    for (std::size_t i = 0; i < a.size(); ++i) {
        checkEqual(a[i], b[i]);
    }
}

void checkRecord(const OxFont& font, const RecordRules& rules) {
    for (const FontDiagnostic& diagnostic : font.diagnostics()) {
        check(isKnown(diagnostic, rules), "a diagnostic of the format",
              std::to_string(diagnostic.type) + " " + std::to_string(diagnostic.code) + " " +
                  diagnostic.text);
    }
    for (const auto& [key, value] : font.attributes()) {
        check(kKeys.contains(key), "a key of the library", key);
    }
    const int type = font.getFontType();
    check(std::find(rules.fontTypes.begin(), rules.fontTypes.end(), type) != rules.fontTypes.end(),
          "a type of the format", std::to_string(type));
}

FontListPtr parseTwice(const std::function<FontList*()>& parse, const RecordRules& rules) {
    FontListPtr fonts(parse());
    const FontListPtr again(parse());
    check(fonts != nullptr && again != nullptr, "a list, if only an empty one");
    checkEqual(*fonts, *again);
    for (const OxFont& font : *fonts) {
        checkRecord(font, rules);
    }
    return fonts;
}

void checkFileAttributes(const OxFont& font, const boost::filesystem::path& file, ByteView bytes) {
    check(font.getAttribute(eFontFilePath) == file.parent_path().string(), "the file's folder");
    check(font.getAttribute(eFileName) == file.filename().string(), "the file's name");
    const std::string fingerprint = font.getAttribute(eFingerprint);
    check(fingerprint.empty() || fingerprint == md5Hex(bytes), "the file's fingerprint");
}

void checkOneRecord(const FontList& fonts, const boost::filesystem::path& file, ByteView bytes) {
    check(fonts.size() == 1, "one record a file");
    checkFileAttributes(fonts.front(), file, bytes);
}
