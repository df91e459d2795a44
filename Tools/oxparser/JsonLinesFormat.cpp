#include "JsonLinesFormat.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

namespace {

// JSON wants only the first 32 control characters escaped. DEL and U+0080 to U+009F are legal as
// they stand, but some of the latter start terminal sequences, and results are looked at on
// terminals too. They can only stand inside texts, where an escape means the same.
// Nearly no text has one, so what lies between is copied as a whole.
std::string escapeLaterControls(std::string json) {
    static constexpr std::string_view kFirstBytes = "\x7F\xC2";
    const auto isFirst = [](char c) { return c == kFirstBytes[0] || c == kFirstBytes[1]; };
    auto found = std::find_if(json.cbegin(), json.cend(), isFirst);
    if (found == json.cend()) {
        return json;
    }
    std::string escaped;
    escaped.reserve(json.size() + 1);
    for (auto done = json.cbegin();; found = std::find_if(found, json.cend(), isFirst)) {
        escaped.append(done, found);
        if (found == json.cend()) {
            return escaped;
        }
        const auto next = static_cast<unsigned char>(json.cend() - found > 1 ? found[1] : 0);
        if (*found == kFirstBytes[0]) {
            escaped += "\\u007f";
            ++found;
        } else if (next >= 0x80 && next < 0xA0) {
            escaped += "\\u00";
            escaped += "89"[(next >> 4) - 8];
            escaped += "0123456789abcdef"[next & 0xF];
            found += 2;
        } else {
            escaped += *found++;
        }
        done = found;
    }
}

}  // namespace

void JsonLinesFormat::write(const Result& result) {
    writeLine(result.jsonText());
}

void JsonLinesFormat::writeJsonOnly(const nlohmann::ordered_json& object) {
    writeLine(object.dump());
}

void JsonLinesFormat::writeLine(std::string json) {
    output_.write(escapeLaterControls(std::move(json)) + "\n");
}
