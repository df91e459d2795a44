#include "CsvFormat.h"

#include "Utf8.h"

namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr char kReplacement[] = "\uFFFD";

bool isUnwelcome(char32_t c) {
    return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || (c >= 0x7F && c < 0xA0);
}

std::string field(const std::string& bytes) {
    const std::string text = toUtf8(bytes);
    std::string value;
    bool quoted = false;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t start = position;
        const char32_t c = nextCodePoint(text, position);
        quoted = quoted || c == ',' || c == '"' || c == '\n' || c == '\r';
        if (isUnwelcome(c)) {
            value += kReplacement;
        } else if (c == '"') {
            value += "\"\"";
        } else {
            value.append(text, start, position - start);
        }
    }
    return quoted ? '"' + value + '"' : value;
}

}  // namespace

void CsvFormat::begin() {
    std::string line;
    for (const char* column : columns_) {
        line += line.empty() ? "" : ",";
        line += column;
    }
    output_.write(line + kLineEnd);
}

void CsvFormat::write(const Result& result) {
    std::string lines;
    for (const Row& row : result.csvRows()) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            lines += i == 0 ? "" : ",";
            lines += field(row[i].text);
        }
        lines += kLineEnd;
    }
    output_.write(lines);
}
