#include "JsonLinesFormat.h"

#include <nlohmann/json.hpp>

namespace {

// JSON wants only the first 32 control characters escaped. DEL and U+0080 to U+009F are legal as
// they stand, but some of the latter start terminal sequences, and results are looked at on
// terminals too. They can only stand inside texts, where an escape means the same.
std::string escapeLaterControls(const std::string& json) {
    std::string escaped;
    escaped.reserve(json.size() + 1);
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto byte = static_cast<unsigned char>(json[i]);
        const auto next = static_cast<unsigned char>(i + 1 < json.size() ? json[i + 1] : 0);
        if (byte == 0x7F) {
            escaped += "\\u007f";
        } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
            escaped += "\\u00";
            escaped += "89"[(next >> 4) - 8];
            escaped += "0123456789abcdef"[next & 0xF];
            ++i;
        } else {
            escaped += json[i];
        }
    }
    return escaped;
}

}  // namespace

void JsonLinesFormat::write(const Result& result) {
    writeJsonOnly(result.json());
}

void JsonLinesFormat::writeJsonOnly(const nlohmann::ordered_json& object) {
    output_.write(escapeLaterControls(object.dump()) + "\n");
}
