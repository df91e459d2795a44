#include "ErrorCatalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

TEST(ErrorCatalogue, HoldsEveryRowInItsOrder) {
    std::ifstream file(OXPARSER_TEST_DATA "/catalogue.tsv");
    int rows = 0;
    for (std::string code, message; std::getline(file, code, '\t') && std::getline(file, message);
         ++rows) {
        EXPECT_EQ(errorTable[rows].code, std::stoi(code)) << rows;
        EXPECT_EQ(errorTable[rows].kind, 0);
        ASSERT_NE(errorTable[rows].message, nullptr);
        EXPECT_EQ(errorTable[rows].message, message) << rows;
    }
    EXPECT_EQ(rows, 166);
    EXPECT_EQ(errorTable[166].code, -9999);
    EXPECT_EQ(errorTable[166].kind, 0);
    EXPECT_EQ(errorTable[166].message, nullptr);
}

TEST(ErrorCatalogue, TheFirstRowOfACodeAnswers) {
    ErrorTableEntry entry = {1, 2, "untouched"};
    for (const int unknown : {0, -9999, 11011, 11051, -1003}) {
        EXPECT_EQ(GetErrorMessage(unknown, &entry), 0);
        EXPECT_STREQ(entry.message, "untouched");
        EXPECT_EQ(entry.code, 1);
    }
    ASSERT_EQ(GetErrorMessage(15306, &entry), 1);
    EXPECT_STREQ(entry.message, "PFM extended text metrics has invalid master units value");
    EXPECT_EQ(entry.code, 15306);
    EXPECT_EQ(entry.kind, 0);
    ASSERT_EQ(GetErrorMessage(11050, &entry), 1);
    EXPECT_STREQ(entry.message, "Font file table directory has no entry for 'CFF' table");
}

}  // namespace
