#include "TokenScanner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::int32_t typeOf(const char* line) {
    set_line(line);
    EXPECT_EQ(get_next_token(), 0);
    return tokentype;
}

TEST(TokenScanner, ClassifiesTokensByTheirLength) {
    EXPECT_EQ(typeOf("   "), 0);
    EXPECT_EQ(typeOf(""), 0);
    EXPECT_EQ(typeOf("-"), 3);
    EXPECT_EQ(typeOf("98"), 4);
    EXPECT_EQ(typeOf("1998"), 4);
    EXPECT_EQ(typeOf("9a"), 5);
    EXPECT_EQ(typeOf("199x"), 5);
    EXPECT_EQ(typeOf("123"), 5);
    EXPECT_EQ(typeOf("abc"), 5);
    EXPECT_EQ(typeOf(","), 5) << "an empty token";
    EXPECT_EQ(typeOf("\r"), 5) << "no white space here; keeps the last class";
}

TEST(TokenScanner, ASingleOtherByteKeepsTheClassBefore) {
    EXPECT_EQ(typeOf("1998"), 4);
    EXPECT_EQ(typeOf("x"), 4);
    EXPECT_EQ(typeOf("-"), 3);
    EXPECT_EQ(typeOf("x"), 3);
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
    const std::string line = std::string(10000, 'a') + ",b";
    set_line(line.c_str());
    get_next_token();
    EXPECT_EQ(std::string(tokenval), std::string(4095, 'a'));
    EXPECT_EQ(tokenlen, 4095);
    EXPECT_EQ(iIndex, 10000);
    EXPECT_EQ(typeOf(nullptr), 0);
    EXPECT_EQ(cpLine, nullptr);
}

}  // namespace
