#include "PrinterFileName.h"

#include "Ascii.h"

namespace {

constexpr int kFirstWord = 5;
constexpr int kLaterWord = 3;

}  // namespace

std::string printerFileName(const std::vector<std::string_view>& nameParts) {
    std::string name;
    for (std::string_view part : nameParts) {
        part = part.substr(0, part.find('_'));
        int left = 0;
        for (std::size_t i = 0; i < part.size(); ++i) {
            if (part[i] == '-') {
                left = 0;  // parts words and is none
                continue;
            }
            if (i == 0 || part[i - 1] == '-' || ascii::isUpper(part[i])) {
                left = name.empty() ? kFirstWord : kLaterWord;
            }
            if (left > 0) {
                name += part[i];
                --left;
            }
        }
    }
    return name;
}
