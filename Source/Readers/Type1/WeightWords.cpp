#include "WeightWords.h"

#include <algorithm>
#include <iterator>

#include "Ascii.h"

namespace {

struct WeightWord {
    std::string_view word;  // in lower case
    int weight;
};

constexpr WeightWord kWords[] = {
    {"thin", 100},   {"extralight", 200}, {"ultralight", 200}, {"light", 300},
    {"book", 400},   {"regular", 400},    {"roman", 400},      {"normal", 400},
    {"medium", 500}, {"demi", 600},       {"demibold", 600},   {"semibold", 600},
    {"bold", 700},   {"extrabold", 800},  {"ultrabold", 800},  {"ultra", 800},
    {"heavy", 800},  {"black", 900},
};

}  // namespace

std::optional<int> weightOf(std::string_view word) {
    const std::string lower = ascii::toLower(word);
    const auto* row = std::find_if(std::begin(kWords), std::end(kWords),
                                   [&lower](const WeightWord& w) { return w.word == lower; });
    return row != std::end(kWords) ? std::optional(row->weight) : std::nullopt;
}
