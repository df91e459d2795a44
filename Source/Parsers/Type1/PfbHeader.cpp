#include "PfbHeader.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include "FoundryName.h"

namespace {

constexpr std::string_view kMagic = "%!PS";
constexpr std::size_t kLastMagicOffset = 2043;
constexpr std::size_t kNoticeLimit = 1023;
// One less than the record's fields would hold.
constexpr std::size_t kTextLimit = 254;

// A rule answers the value of a line that starts with a key, or nothing to keep what was found
// before.
using Rule = std::optional<std::string_view> (*)(std::string_view line, std::size_t keyLength);

// "/FontName /Acme-Bold def": what follows the slash, less the four bytes of " def". A blank behind
// the "def" moves it to where the first test sees it, and the line is passed over, deliberately.
std::optional<std::string_view> nameBeforeDef(std::string_view line, std::size_t keyLength) {
    const std::size_t slash = line.find('/', keyLength);
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t begin = slash + 1;
    const std::size_t end = line.size() - 4;
    if (line.substr(end, 3) == "def") {
        return std::nullopt;
    }
    return begin < end ? line.substr(begin, end - begin) : std::string_view();
}

// "/Notice (text) readonly def": from the first "(" to the last ")", or to the end of the line.
std::optional<std::string_view> parenthesised(std::string_view line, std::size_t /*keyLength*/) {
    const std::size_t open = line.find('(');
    if (open == std::string_view::npos) {
        return std::string_view();
    }
    const std::size_t close = line.rfind(')');
    if (close == std::string_view::npos) {
        return line.substr(open + 1);
    }
    return open < close ? line.substr(open + 1, close - open - 1) : std::string_view();
}

// "/FontType 1 def": the first word, whatever it is.
std::optional<std::string_view> word(std::string_view line, std::size_t keyLength) {
    const std::size_t begin = std::min(line.find_first_not_of(' ', keyLength), line.size());
    return line.substr(begin, line.find(' ', begin) - begin);
}

struct Key {
    std::string_view text;
    Rule rule;
    char (PfbHeader::*field)[PfbHeader::kFieldSize];
};

// A line belongs to the first key that it starts with: "/WeightVector" is taken for a "/Weight".
constexpr Key kKeys[] = {
    {"/FontName", nameBeforeDef, &PfbHeader::shortFontName},
    {"/Notice", parenthesised, &PfbHeader::notice},
    {"/FamilyName", parenthesised, &PfbHeader::familyName},
    {"/version", parenthesised, &PfbHeader::version},
    {"/FontType", word, &PfbHeader::fontType},
    {"/Weight", word, &PfbHeader::weight},
    {"/FullName", parenthesised, &PfbHeader::fullName},
};

void store(char (&field)[PfbHeader::kFieldSize], std::string_view text, std::size_t limit) {
    const std::size_t length = text.copy(field, std::min(limit, sizeof field - 1));
    std::memset(field + length, 0, sizeof field - length);
}

// A "%" right behind the last place that was looked at counts as the start of a program, too.
std::optional<std::size_t> findProgram(const char* buffer) {
    const std::string_view head(buffer, kLastMagicOffset + kMagic.size());
    const std::size_t offset = head.find(kMagic);
    if (offset != std::string_view::npos) {
        return offset;
    }
    return head[kLastMagicOffset + 1] == '%' ? std::optional(kLastMagicOffset + 1) : std::nullopt;
}

// Takes the next line off `rest`. Empty lines vanish, and the carriage return that ends the line is
// overwritten.
std::optional<std::string_view> nextLine(std::span<char>& rest) {
    const std::string_view text(rest.data(), rest.size());
    const std::size_t begin = text.find_first_not_of('\r');
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t end = text.find('\r', begin);
    if (end == std::string_view::npos) {
        rest = {};
    } else {
        rest[end] = '\0';
        rest = rest.subspan(end + 1);
    }
    return text.substr(begin, end - begin);
}

// Answers the last notice in full length, for the foundry.
std::optional<std::string_view> readLines(std::span<char> text, PfbHeader& record) {
    std::optional<std::string_view> notice;
    std::optional<std::size_t> indentLimit;
    while (const std::optional<std::string_view> line = nextLine(text)) {
        if (!indentLimit) {
            indentLimit = line->size() - 1;
        }
        const std::size_t indent = std::min(line->find_first_not_of("\t\n "), line->size());
        if (indent >= *indentLimit) {
            break;
        }
        const std::string_view entry = line->substr(indent);
        const auto key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                      [entry](const Key& k) { return entry.starts_with(k.text); });
        if (key == std::end(kKeys)) {
            continue;
        }
        if (const std::optional<std::string_view> value = key->rule(entry, key->text.size())) {
            const bool isNotice = key->field == &PfbHeader::notice;
            store(record.*key->field, *value, isNotice ? kNoticeLimit : kTextLimit);
            if (isNotice) {
                notice = value->substr(0, kNoticeLimit);
            }
        }
    }
    return notice;
}

void storeFoundry(std::string_view notice, PfbHeader& record) {
    char text[kNoticeLimit + 1] = {};
    notice.copy(text, kNoticeLimit);
    char foundry[1024] = {};
    XGetFoundryName(text, foundry);
    store(record.foundry, foundry, kTextLimit);
}

}  // namespace

int ParsePFBHeader(char* buffer, PfbHeader* record) {
    static std::mutex oneAtATime;
    const std::lock_guard<std::mutex> lock(oneAtATime);

    const std::optional<std::size_t> start = findProgram(buffer);
    if (!start) {
        return 0;
    }
    *record = {};
    char* program = buffer + *start;
    const auto notice = readLines(std::span<char>(program, std::strlen(program)), *record);
    if (notice) {
        storeFoundry(*notice, *record);
    }
    return 0;
}
