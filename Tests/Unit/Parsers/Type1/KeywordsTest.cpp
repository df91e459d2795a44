#include "Keywords.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace {

template <std::size_t N>
std::int32_t lookUp(const char* token, const SymbolMapping (&table)[N]) {
    return lookupSymbol(token, table, N, sizeof(SymbolMapping));
}

template <std::size_t N>
void expectFindsAllBut(const char* missing, const SymbolMapping (&table)[N]) {
    for (const SymbolMapping& row : table) {
        EXPECT_EQ(lookUp(row.keyword, table), std::string(row.keyword) == missing ? 0 : row.id)
            << row.keyword;
    }
}

TEST(Keywords, EveryKeywordIsFoundButTheFullName) {
    expectFindsAllBut("", kSymbols);
    expectFindsAllBut("/fullname", kFontInfoSymbols);
    expectFindsAllBut("", kPS3Symbols);
    EXPECT_EQ(lookUp("eexec", kSymbols), 2);
    EXPECT_EQ(lookUp("/notice", kFontInfoSymbols), 13);
    EXPECT_EQ(lookUp("/copyright", kFontInfoSymbols), 9);
    EXPECT_EQ(lookUp("creator:", kPS3Symbols), 15);
}

TEST(Keywords, OtherTokensAreNone) {
    EXPECT_EQ(lookUp("/FontName", kSymbols), 0) << "callers fold the token to lower case";
    EXPECT_EQ(lookUp("/fontnam", kSymbols), 0);
    EXPECT_EQ(lookUp("zzz", kFontInfoSymbols), 0);
    try {
        lookUp("", kSymbols);
        FAIL() << "an empty token must throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "inTokenStr.length() != 0");
    }
}

}  // namespace
