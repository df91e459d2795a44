#include "CodeTexts.h"

#include "ErrorCatalogue.h"
#include "FindingTable.h"

namespace {

constexpr UncataloguedCode kUncatalogued[] = {
    {-1003,
     "the sfnt version is none that the format allows, or a PFB file could not be read to "
     "its end"},
    {-1001, "the status of a PFB or PFM file cannot be read"},
    {0, "no number of its own: the text that comes with the defect says everything"},
    {2, "the status of a TrueType or OpenType file cannot be read"},
    {11051, "the 'kern' table cannot be read"},
    {11052, "mismatching checksums for the 'kern' table"},
    {15310, "the printer font file of a Mac font is missing"},
};

// The texts of findings need no subject before them.
constexpr int kFirstFinding = 20000;

struct Subject {
    int first;
    int last;
    const char* text;
};

constexpr Subject kSubjects[] = {
    {2, 2, "file"},
    {10000, 10000, "file"},
    {11001, 11023, "directory"},
    {11024, 11033, "checksum"},
    {11050, 11050, "directory"},
    {11051, 11052, "kern"},
    {11100, 11199, "head"},
    {11200, 11299, "cmap"},
    {11300, 11399, "name"},
    {11400, 11499, "maxp"},
    {11500, 11599, "hhea"},
    {11600, 11699, "OS/2"},
    {11700, 11799, "post"},
    {11800, 11899, "kern"},
    {15000, 15099, "PFM file"},
    {15100, 15199, "PFM header"},
    {15200, 15299, "PFM extension"},
    {15300, 15309, "PFM text metrics"},
    {15310, 15310, "printer font"},
    {20000, 20099, "file"},
    {20100, 20199, "sfnt"},
    {20200, 20299, "WOFF"},
    {20300, 20399, "Type 1"},
    {20400, 20499, "PFM, AFM"},
    {20500, 20599, "Mac font"},
};

// Many messages are the same for several tables: "invalid table version number".
std::string withSubject(int code, const std::string& message) {
    const std::string subject = subjectOf(code);
    const bool ownWords = code >= kFirstFinding || subject.empty() || subject == "file" ||
                          subject == "directory" || subject == "checksum" ||
                          message.find(subject) != std::string::npos;
    return ownWords ? message : subject + ": " + message;
}

}  // namespace

std::span<const UncataloguedCode> uncataloguedCodes() {
    return kUncatalogued;
}

const char* subjectOf(int code) {
    for (const Subject& subject : kSubjects) {
        if (code >= subject.first && code <= subject.last) {
            return subject.text;
        }
    }
    return "";
}

std::optional<std::string> codeMessage(int code) {
    if (const FindingRow* row = findingRow(code)) {
        return row->message;
    }
    ErrorTableEntry entry;
    if (GetErrorMessage(code, &entry) == 0) {
        return std::nullopt;
    }
    return entry.message;
}

const char* severityName(FontDiagnosticType type) {
    return type == eError ? "error" : type == eWarning ? "warning" : "note";
}

Mark markOf(FontDiagnosticType type) {
    return type == eError ? Mark::eError : type == eWarning ? Mark::eWarning : Mark::eNote;
}

std::string describe(const FontDiagnostic& diagnostic) {
    if (const std::optional<std::string> message = codeMessage(diagnostic.code)) {
        const std::string text = withSubject(diagnostic.code, *message);
        return diagnostic.text.empty() ? text : text + ": " + diagnostic.text;
    }
    if (!diagnostic.text.empty()) {
        return diagnostic.text;
    }
    for (const UncataloguedCode& known : kUncatalogued) {
        if (known.code == diagnostic.code) {
            return known.meaning;
        }
    }
    return "unknown defect";
}
