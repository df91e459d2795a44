#include "OxFont.h"

#include <algorithm>
#include <array>
#include <boost/assign/list_of.hpp>
#include <iterator>
#include <locale>
#include <new>
#include <sstream>

#include "FontFoundryList.h"
#include "FoundryName.h"
#include "PropertyNames.h"

namespace {

using TypeTable = std::map<int, std::string>;

// Built before any other initialiser of the library or a host, never destroyed.
union ProcessLifetime {
    char nothing;
    TypeTable table;
    constexpr ProcessLifetime() : nothing() {}
    ~ProcessLifetime() {}
};
ProcessLifetime holder;

[[gnu::constructor(101)]] void constructTypeTable() {
    new (&holder.table) TypeTable(
        boost::assign::map_list_of(0, "T1")(1, "TT")(2, "Bi")(4, "DF")(5, "TTF")(6, "TTC")(
            7, "OTPS")(8, "OTTT")(9, "PFB")(10, "T1Outline")(11, "T3Outline")(20, "notSure")
            .convert_to_container<TypeTable>());
}

template <typename Resources>
auto lastOfType(const Resources& resources, int type) {
    return std::find_if(resources.rbegin(), resources.rend(),
                        [type](const auto& resource) { return resource.first == type; });
}

}  // namespace

std::map<int, std::string>& OxFont::_fontType = holder.table;

OxFont::OxFont() {
    attributes_[eFoundry] = "Unknown";
}

OxFont::OxFont(const OxFont& other) {
    *this = other;
}

OxFont::~OxFont() = default;

OxFont& OxFont::operator=(const OxFont& other) {
    if (this == &other) {
        return *this;
    }
    for (const auto& [key, value] : other.attributes_) {
        attributes_[key] = value;
    }
    for (const auto& [name, value] : other.properties_) {
        setProperty(name, value);
    }
    diagnostics_.insert(diagnostics_.end(), other.diagnostics_.begin(), other.diagnostics_.end());
    printerFontPaths.insert(printerFontPaths.end(), other.printerFontPaths.begin(),
                            other.printerFontPaths.end());
    resources_.insert(resources_.end(), other.resources_.begin(), other.resources_.end());
    if (!other.sourceFile_.empty()) {
        sourceFile_ = other.sourceFile_;
    }
    return *this;
}

std::string OxFont::getAttribute(const std::string& key) const {
    const auto value = [this](const char* name) { return attributes_.find(name); };
    const auto absent = attributes_.end();

    std::string result;
    if (const auto stored = attributes_.find(key); stored != absent) {
        result = stored->second;
    } else if (key == eSourcePath && value(eFontFilePath) != absent && value(eFileName) != absent) {
        result = (boost::filesystem::path(value(eFontFilePath)->second) / value(eFileName)->second)
                     .string();
    }
    if (key == eDisplayname && result.empty()) {
        // Presence decides: an empty "Fullname" is taken as it is.
        if (const auto full = value(eFullname); full != absent) {
            result = full->second;
        } else if (const auto postscript = value(ePostscriptname); postscript != absent) {
            result = postscript->second;
        }
    }
    return result;
}

void OxFont::setAttribute(const std::string& key, const std::string& value) {
    attributes_[key] = value;
    if (key != eFoundry) {
        return;
    }
    std::string foundry = theFoundries.FindFoundryFromCopyright(value);
    if (foundry == "Unknown") {
        std::array<char, 1024> name{};
        XGetFoundryName(value.c_str(), name.data());
        foundry = name.data();
    }
    attributes_[key] = foundry;
}

void OxFont::setAttributeAsInt(const std::string& key, int value) {
    setAttribute(key, std::to_string(value));
}

int OxFont::getAttributeAsInt(const std::string& key) const {
    const auto stored = attributes_.find(key);
    if (stored == attributes_.end()) {
        return 0;
    }
    std::istringstream stream(stored->second);
    stream.imbue(std::locale::classic());
    int value = 0;
    stream >> value;
    return value;
}

void OxFont::setFontType(int type) {
    const auto known = _fontType.find(type);
    setAttribute(eType, known != _fontType.end() ? known->second : _fontType[type]);
}

int OxFont::getFontType() const {
    const auto stored = attributes_.find(eType);
    if (stored != attributes_.end()) {
        for (const auto& [number, text] : _fontType) {
            if (text == stored->second) {
                return number;
            }
        }
    }
    return notSure;
}

void OxFont::addDiagnostic(FontDiagnosticType type, int code, const std::string& text) {
    diagnostics_.push_back({type, code, text});
}

void OxFont::addDiagnostic(FontDiagnosticType type, int code) {
    addDiagnostic(type, code, std::string());
}

void OxFont::addDiagnostic(FontDiagnosticType type, int code, const std::string& text,
                           FontDiagnosticPlace where) {
    diagnostics_.push_back({type, code, text, std::move(where)});
}

void OxFont::setProperty(std::string_view name, OxPropertyValue value) {
    // Searched from the end, since readers mostly set properties in their order.
    const std::size_t rank = propertyRank(name);
    auto later = properties_.end();
    while (later != properties_.begin() && propertyRank(std::prev(later)->first) > rank) {
        --later;
    }
    const auto position = static_cast<std::size_t>(later - properties_.begin());
    properties_.insert(position, name, std::move(value));
}

void OxFont::removeDiagnostic(const FontDiagnostic& diagnostic) {
    const auto found = std::find_if(
        diagnostics_.begin(), diagnostics_.end(), [&diagnostic](const FontDiagnostic& candidate) {
            return candidate.type == diagnostic.type && candidate.text == diagnostic.text;
        });
    if (found != diagnostics_.end()) {
        diagnostics_.erase(found);
    }
}

void OxFont::getDiagnosticsByType(FontDiagnosticType type, std::vector<int>& codes,
                                  std::vector<std::string>& texts) const {
    for (const FontDiagnostic& diagnostic : diagnostics_) {
        if (diagnostic.type == type) {
            codes.push_back(diagnostic.code);
            texts.push_back(diagnostic.text);
        }
    }
}

void OxFont::getErrors(std::vector<int>& codes, std::vector<std::string>& texts) const {
    getDiagnosticsByType(eError, codes, texts);
}

void OxFont::getWarnings(std::vector<int>& codes, std::vector<std::string>& texts) const {
    getDiagnosticsByType(eWarning, codes, texts);
}

void OxFont::getNotes(std::vector<int>& codes, std::vector<std::string>& texts) const {
    getDiagnosticsByType(eNote, codes, texts);
}

bool OxFont::getNextError(int index, int& code, std::string& text) const {
    const auto position = static_cast<unsigned>(index);
    if (position >= diagnostics_.size()) {
        return false;
    }
    code = diagnostics_[position].code;
    text = diagnostics_[position].text;
    return true;
}

void OxFont::setPrinterFontAttributes(const std::map<std::string, std::string>& attributes) {
    for (const auto& [key, value] : attributes) {
        std::string& own = attributes_[key];
        if (own.empty() || key == eFoundry) {
            own = value;
        }
    }
}

void OxFont::mergeMultipleMasterFont(OxFont& other) {
    // By index: `other` may be this record itself.
    const std::size_t count = other.resources_.size();
    for (std::size_t i = 0; i < count; ++i) {
        resources_.push_back(std::pair<int, int>(other.resources_[i]));
    }
}

void OxFont::addResource(int type, int id) {
    const auto last = lastOfType(resources_, type);
    if (last == resources_.rend() || last->second != id) {
        resources_.emplace_back(type, id);
    }
}

int OxFont::getResourceCount(int type) const {
    return static_cast<int>(
        std::count_if(resources_.begin(), resources_.end(),
                      [type](const auto& resource) { return resource.first == type; }));
}

std::pair<int, int> OxFont::getResourceByType(int type) const {
    const auto last = lastOfType(resources_, type);
    return last != resources_.rend() ? *last : std::pair<int, int>(0, 0);
}

std::string OxFont::getGeneratedSuitcaseName() const {
    return getAttribute(ePostscriptname);
}

std::string OxFont::getGeneratedSuitcaseFolder() const {
    return getAttribute(eFoundry);
}
