#include "RecordJson.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Check.h"
#include "ModernResult.h"

namespace {

// The program's own form of a record, without its tables.
class JsonResult : public ModernResult {
  public:
    explicit JsonResult(const OxFont& font) : ModernResult(boost::make_shared<OxFont>(font)) {}
    std::vector<Row> tableRows() const override { return {}; }
    std::vector<Row> csvRows() const override { return {}; }
};

// The bytes that a text in JSON stands for: it was taken as ISO 8859-1 when it was no UTF-8.
bool standsFor(const std::string& text, const std::string& bytes) {
    if (text == bytes) {
        return true;
    }
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x80 && i + 1 < text.size()) {
            decoded += static_cast<char>((byte & 0x03) << 6 |
                                         (static_cast<unsigned char>(text[++i]) & 0x3F));
        } else {
            decoded += text[i];
        }
    }
    return decoded == bytes;
}

}  // namespace

void checkJson(const OxFont& font) {
    const JsonResult result(font);
    const std::string line = result.jsonText();
    check(line.find_first_of("\r\n") == std::string::npos, "one line of JSON");
    const nlohmann::json read = nlohmann::json::parse(line);
    check(read == nlohmann::json(result.json()), "the same text and tree");
    check(read.at("properties").size() == font.properties().size(), "all properties in JSON");
    const nlohmann::json& attributes = read.at("attributes");
    check(attributes.size() == font.attributes().size(), "all attributes in JSON");
    for (const auto& [key, value] : font.attributes()) {
        check(standsFor(attributes.at(key).get<std::string>(), value), "a value through JSON", key);
    }
    const nlohmann::json& diagnostics = read.at("diagnostics");
    check(diagnostics.size() == font.diagnostics().size(), "all diagnostics in JSON");
    for (std::size_t i = 0; i < diagnostics.size(); ++i) {
        const FontDiagnostic& diagnostic = font.diagnostics()[i];
        check(diagnostics[i].at("code") == diagnostic.code &&
                  standsFor(diagnostics[i].at("text").get<std::string>(), diagnostic.text),
              "a diagnostic through JSON");
    }
}
