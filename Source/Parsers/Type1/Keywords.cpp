#include "Keywords.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

const SymbolMapping kSymbols[8] = {
    {"/encoding", 7}, {"/fontbbox", 6},   {"/fontinfo", 8}, {"/fontname", 4},
    {"/fonttype", 5}, {"currentfile", 3}, {"eexec", 2},     {"end", 1},
};

const SymbolMapping kFontInfoSymbols[7] = {
    {"/copyright", 9}, {"/familyname", 10}, {"/notice", 13}, {"/version", 11},
    {"/fullname", 12}, {"currentdict", 1},  {"end", 1},
};

const SymbolMapping kPS3Symbols[3] = {
    {"creationdate:", 14},
    {"creator:", 15},
    {"fontname:", 4},
};

namespace {

int compareToken(const void* token, const void* row) {
    return std::strcmp(static_cast<const char*>(token),
                       static_cast<const SymbolMapping*>(row)->keyword);
}

}  // namespace

std::int32_t lookupSymbol(const std::string& token, const SymbolMapping* table, std::size_t count,
                          std::size_t rowSize) {
    if (token.empty()) {
        throw std::runtime_error("inTokenStr.length() != 0");
    }
    const void* row = std::bsearch(token.c_str(), table, count, rowSize, compareToken);
    return row != nullptr ? static_cast<const SymbolMapping*>(row)->id : 0;
}
