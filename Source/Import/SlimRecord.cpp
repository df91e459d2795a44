#include "SlimRecord.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <cstdint>
#include <cstring>
#include <map>
#include <string_view>

namespace {

constexpr std::size_t kLongestText = 128;
constexpr std::size_t kMostDiagnostics = 20;
constexpr std::string_view kKept[] = {"format", "container", "index"};
constexpr std::string_view kPartners[] = {"outline", "metrics", "printerFonts"};

void append(std::string& packed, const std::string& text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    packed.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
}

std::string takeText(std::string_view& packed) {
    std::uint32_t size = 0;
    std::memcpy(&size, packed.data(), sizeof size);
    std::string text(packed.substr(sizeof size, size));
    packed.remove_prefix(sizeof size + size);
    return text;
}

}  // namespace

SlimRecord::SlimRecord(const OxFont& font) : sourceFile_(font.sourceFile()) {
    for (const auto& [key, value] : font.attributes()) {
        if (value.size() <= kLongestText || key == eFontFilePath || key == eFileName) {
            append(attributes_, key);
            append(attributes_, value);
        }
    }
    attributes_.shrink_to_fit();
    for (const std::string_view name : kKept) {
        if (const OxPropertyValue* value = font.properties().find(name)) {
            properties_.set(name, *value);
        }
    }
    const std::size_t count = std::min(font.diagnostics().size(), kMostDiagnostics);
    diagnostics_.assign(font.diagnostics().begin(),
                        font.diagnostics().begin() + static_cast<std::ptrdiff_t>(count));
}

boost::shared_ptr<OxFont> SlimRecord::restored() const {
    auto font = boost::make_shared<OxFont>();
    std::map<std::string, std::string> attributes;
    for (std::string_view packed = attributes_; !packed.empty();) {
        std::string key = takeText(packed);
        attributes[std::move(key)] = takeText(packed);
    }
    // Unlike setAttribute this looks for no foundry in the foundry's name.
    font->setPrinterFontAttributes(attributes);
    for (const auto& [name, value] : properties_) {
        font->setProperty(name, value);
    }
    for (const FontDiagnostic& diagnostic : diagnostics_) {
        font->addDiagnostic(diagnostic.type, diagnostic.code, diagnostic.text, diagnostic.where);
    }
    font->setSourceFile(sourceFile_);
    return font;
}

std::vector<boost::filesystem::path> partnersOf(const OxFont& font) {
    std::vector<boost::filesystem::path> partners;
    const auto add = [&partners](const OxPropertyValue& value) {
        if (const std::string* text = value.text(); text != nullptr && !text->empty()) {
            partners.emplace_back(*text);
        }
    };
    for (const std::string_view name : kPartners) {
        const OxPropertyValue* value = font.properties().find(name);
        if (value != nullptr && value->list() != nullptr) {
            std::for_each(value->list()->begin(), value->list()->end(), add);
        } else if (value != nullptr) {
            add(*value);
        }
    }
    partners.insert(partners.end(), font.printerFontPaths.begin(), font.printerFontPaths.end());
    return partners;
}
