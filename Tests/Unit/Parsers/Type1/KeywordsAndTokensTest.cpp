#include "Keywords.h"
#include "PostScriptTokens.h"
#include "TokenScanner.h"
#include "UnitTest.h"

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
    EXPECT_EQ(textOfException([] { lookUp("", kSymbols); }), "inTokenStr.length() != 0");
}

std::int32_t typeOf(const char* line) {
    set_line(line);
    EXPECT_EQ(get_next_token(), 0);
    return tokentype;
}

TEST(TokenScanner, ClassifiesTokensByTheirLength) {
    // A comma alone is an empty token. A single other byte, such as "\r", which is no white space
    // here, keeps the class before.
    const std::pair<const char*, int> kTokens[] = {
        {"   ", 0}, {"", 0},   {"-", 3},    {"98", 4},  {"1998", 4}, {"x", 4}, {"-", 3},
        {"x", 3},   {"9a", 5}, {"199x", 5}, {"123", 5}, {"abc", 5},  {",", 5}, {"\r", 5}};
    for (const auto& [token, type] : kTokens) {
        EXPECT_EQ(typeOf(token), type) << token;
    }
}

TEST(TokenScanner, StopsAtSeparatorsUntilTheCallerStepsOver) {
    set_line("1998,\t 12 a.b");
    get_next_token();
    EXPECT_STREQ(tokenval, "1998");
    EXPECT_EQ(tokenlen, 4);
    for (int i = 0; i < 2; ++i) {
        get_next_token();
        EXPECT_STREQ(tokenval, "");
        EXPECT_EQ(tokentype, 5);
        EXPECT_EQ(tokenlen, 0);
        EXPECT_EQ(iIndex, 4);
    }
    ++iIndex;
    get_next_token();
    EXPECT_STREQ(tokenval, "12 a") << "spaces inside are part of the token";
    EXPECT_EQ(jIndex, 4);
    EXPECT_EQ(iIndex, 11);
}

TEST(TokenScanner, CutsLongTokensAndReadsANullLineAsEmpty) {
    typeOf((std::string(10000, 'a') + ",b").c_str());
    EXPECT_EQ(std::string(tokenval), std::string(4095, 'a'));
    EXPECT_EQ(tokenlen, 4095);
    EXPECT_EQ(iIndex, 10000);
    EXPECT_EQ(typeOf(nullptr), 0);
    EXPECT_EQ(cpLine, nullptr);
}

Lines tokensOf(std::string_view program) {
    PostScriptTokens tokens(program);
    Lines texts;
    for (auto token = tokens.next(); token.kind != PostScriptToken::Kind::eEnd;
         token = tokens.next()) {
        texts.push_back((token.kind == PostScriptToken::Kind::eString ? "s:" : "") + token.text);
    }
    return texts;
}

TEST(PostScriptTokens, TextsAndTheirTokens) {
    for (const Lines& row : rowsOf("postscript-tokens.tsv")) {
        EXPECT_EQ(tokensOf(row[0]), Lines(row.begin() + 1, row.end())) << row[0];
    }
    PostScriptTokens procedure("{a (}) {b} %}\n c} d");
    procedure.next();
    procedure.skipProcedure();
    EXPECT_EQ(procedure.next().text, "d");
}

}  // namespace
