#include <sstream>
#include <string>
#include <vector>

#include "Check.h"
#include "FontFoundryList.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "ScratchFolder.h"

namespace {

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
void run(ByteView input) {
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

const FuzzTarget target("FoundryLists", run);

}  // namespace
