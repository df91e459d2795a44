#include "UnitTest.h"

#include <algorithm>
#include <exception>
#include <fstream>

FontList taken(FontList* list) {
    const std::unique_ptr<FontList> owned(list);
    FontList fonts;
    if (owned) {
        fonts.transfer(fonts.end(), *owned);
    }
    return fonts;
}

std::string problems(const OxFont& font) {
    std::string text;
    for (const std::string& line : diagnosticLines(font)) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::string digestOf(const Bytes& bytes) {
    return md5Hex(ByteView(bytes));
}

std::string outcomeText(CopyOutcome outcome, const boost::system::error_code& error) {
    return copyOutcomeName(outcome) + (error ? " " + std::to_string(error.value()) : "");
}

std::string failedWith(int error) {
    return "failed " + std::to_string(error);
}

std::string textOfException(const std::function<void()>& failing) {
    try {
        failing();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

namespace {

std::string unescaped(const std::string& field) {
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] != '\\') {
            text += field[i];
        } else if (field.at(++i) == 'x') {
            text += static_cast<char>(std::stoi(field.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            const std::string_view kNames = "rnt\\";
            text += "\r\n\t\\"[kNames.find(field[i])];
        }
    }
    return text;
}

}  // namespace

std::vector<Lines> rowsOf(const std::string& table) {
    std::ifstream file(OXPARSER_TEST_DATA "/" + table);
    std::vector<Lines> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#')) {
            continue;
        }
        Lines& row = rows.emplace_back();
        for (std::size_t at = 0; at <= line.size();) {
            const std::size_t end = std::min(line.find('\t', at), line.size());
            row.push_back(unescaped(line.substr(at, end - at)));
            at = end + 1;
        }
    }
    EXPECT_THAT(rows, testing::Not(IsEmpty())) << table;
    return rows;
}

OxFont parseMemory(OxParserTrueTypeImp& parser, const Bytes& bytes, OxFont start) {
    std::vector<ttf::tagFontDirectory> aligned(bytes.size() / 12 + 1);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(aligned.data()));
    const FontList fonts =
        taken(parser.validate(start, aligned[0], static_cast<std::uint32_t>(bytes.size())));
    EXPECT_THAT(fonts, SizeIs(1));
    return OxFont(fonts.front());
}
