#include "FoundryRules.h"

#include <algorithm>

#include "FontFoundryList.h"

namespace {

constexpr char kUnknown[] = "Unknown";
// What the list calls codes that a font editor writes by itself.
constexpr char kTool[] = "Made with";

std::string listedIn(const std::string& text) {
    const std::string name = text.empty() ? kUnknown : theFoundries.FindFoundryFromCopyright(text);
    return name == kUnknown ? std::string() : name;
}

std::string registered(std::string vendor) {
    std::erase(vendor, ' ');
    const std::string name = vendor.empty() ? kUnknown : theFoundries.FindFoundryFromCode(vendor);
    return name == kUnknown || name.find(kTool) != std::string::npos ? std::string() : name;
}

}  // namespace

std::string foundryOf(const std::string& manufacturer, const std::string& vendor,
                      const std::string& copyright) {
    if (!manufacturer.empty()) {
        const std::string listed = listedIn(manufacturer);
        return listed.empty() ? manufacturer : listed;
    }
    const std::string name = registered(vendor);
    return name.empty() ? listedIn(copyright) : name;
}
