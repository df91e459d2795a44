#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "Ascii.h"
#include "Check.h"
#include "FontFoundryList.h"
#include "FoundryName.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "MacRoman.h"
#include "OxFont.h"
#include "RecordJson.h"
#include "ScratchFolder.h"

namespace {

using ascii::toLower;

void checkSearch(const std::string& text, const std::string& pattern) {
    const char* const found = stristr(text.c_str(), pattern.c_str());
    const std::size_t expected =
        text.empty() ? std::string::npos : toLower(text).find(toLower(pattern));
    check((found == nullptr) == (expected == std::string::npos), "a text that is there is found");
    check(found == nullptr || found == text.c_str() + expected, "the first place is found");
}

// A pattern, then a notice.
FUZZ_TARGET(FoundryName) {
    InputParts parts(input);
    const std::string pattern = parts.shortText().c_str();
    const std::string text = std::string(parts.rest().text()).c_str();
    checkSearch(text, pattern);
    checkSearch(text, "copyright");

    constexpr std::size_t kSize = 1024;
    std::array<char, kSize> name{};
    check(XGetFoundryName(text.c_str(), name.data()) == 0, "XGetFoundryName returns 0");
    const auto end = std::find(name.begin(), name.end(), '\0');
    check(end != name.end(), "a name ends in its buffer");
    const std::string derived(name.begin(), end);
    const bool marked = stristr(text.c_str(), "copyright") || text.find("(c)") != text.npos ||
                        text.find("\\(c\\)") != text.npos || text.find('\xA9') != text.npos;
    if (!marked) {
        check(derived == "Unknown", "a text without a marker names nobody");
    } else if (!stristr(text.c_str(), "copyrighted")) {
        check(derived.empty(), "only \"Copyrighted\" yields a name");
    } else {
        check(toLower(text).find(toLower(derived)) != text.npos, "a name stands in its text");
    }
}

std::vector<std::string> linesOf(ByteView file) {
    std::istringstream stream{std::string(file.text())};
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string firstNameIn(const std::string& text, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (text.find(name) != std::string::npos) {
            return name;
        }
    }
    return "Unknown";
}

// A text to look up, a vendor code, the list of names, the list of codes.
FUZZ_TARGET(FoundryLists) {
    InputParts parts(input);
    const std::string text = parts.shortText();
    const std::string code = parts.shortText();
    const ByteView names = parts.longPart();
    const ByteView codes = parts.rest();
    const ScratchFolder& folder = ScratchFolder::instance();

    FontFoundryList list;
    list.LoadFoundryNames(folder.write("names.txt", names).string());
    list.LoadFoundryCodes(folder.write("codes.txt", codes).string());
    check(list.FindFoundryFromCopyright(text) == firstNameIn(text, linesOf(names)),
          "the first name in file order");
    const std::string answer = list.FindFoundryFromCode(code);
    check(answer == "Unknown" || codes.text().find(answer) != std::string_view::npos,
          "an answer out of the list");
    list.LoadFoundryCodes(folder.write("codes.txt", codes).string());
    check(list.FindFoundryFromCode(code) == answer, "loading codes again changes nothing");

    // A line of its own decides, since it is the last.
    if (!code.empty() && code.find_first_of("\t\n") == code.npos) {
        const std::string line = "\n" + code + "\t\tAcme\tmore\n";
        list.LoadFoundryCodes(
            folder
                .write("codes.txt",
                       ByteView(reinterpret_cast<const std::uint8_t*>(line.data()), line.size()))
                .string());
        check(list.FindFoundryFromCode(code) == "Acme", "the later entry counts");
    }
}

FUZZ_TARGET(MacRoman) {
    constexpr std::size_t kLongest = 255;
    const std::string utf8 = macRomanToUtf8(input.text());
    check(utf8.size() <= kLongest, "a text of at most 255 bytes");
    const std::string_view text = input.text().substr(0, input.text().find('\0'));
    const std::string back = macRomanFromUtf8(utf8);
    check(text.substr(0, back.size()) == back, "Mac Roman through UTF-8");
    check(back.size() == text.size() || utf8.size() + 3 > kLongest, "cut only when it is too long");
    macRomanFromUtf8(input.text());
}

// A record of such attributes and diagnostics, each a kind, a code and a text.
FUZZ_TARGET(RecordJson) {
    constexpr const char* kKeys[] = {eFamilyname, eFullname, eCopyright, eFileName, eResourcename};
    constexpr FontDiagnosticType kTypes[] = {eError, eWarning, eNote};
    OxFont font;
    for (InputParts parts(input); !parts.empty();) {
        const unsigned kind = parts.u8();
        const int code = parts.u16();
        const std::string text = parts.shortText();
        if (kind < 128) {
            font.setAttribute(kKeys[kind % std::size(kKeys)], text);
        } else {
            font.addDiagnostic(kTypes[kind % std::size(kTypes)], code, text);
        }
    }
    checkJson(font);
}

}  // namespace
