#include <array>
#include <fstream>
#include <set>

#include "FontFoundryList.h"
#include "FoundryName.h"
#include "UnitTest.h"

namespace {

std::string nameIn(const std::string& text) {
    std::array<char, 1024> out{};
    EXPECT_EQ(XGetFoundryName(text.c_str(), out.data()), 0);
    return out.data();
}

TEST(FoundryName, CaseInsensitiveSearch) {
    const char text[] = "MyCopyRIGHT";
    EXPECT_EQ(stristr("", ""), nullptr);
    EXPECT_EQ(stristr(text, ""), text);
    EXPECT_EQ(stristr(text, "copyright"), text + 2);
    EXPECT_EQ(stristr(text, "copyrights"), nullptr);
    const char repeated[] = "aab";
    EXPECT_EQ(stristr(repeated, "AB"), repeated + 1);
}

TEST(FoundryName, CopyrightedIsTheMarkerThatYieldsAName) {
    for (const Lines& row : rowsOf("foundry-texts.tsv")) {
        EXPECT_EQ(nameIn(row[0]), row.at(1)) << row[0];
    }
    EXPECT_EQ(nameIn("Copyrighted " + std::string(5000, 'x')).size(), 1023u);
}

TEST(FoundryName, OtherMarkersLeaveTheFirstByteAlone) {
    for (const char* text : {"Copyright 1990 Acme", "(c) Acme", "\\(c\\) Acme", "\xA9 Acme"}) {
        EXPECT_EQ(nameIn(text), "") << text;
        std::array<char, 1024> out{};
        out[0] = 'q';
        XGetFoundryName(text, out.data());
        EXPECT_STREQ(out.data(), "QAcm") << text << ": the last byte is cut, the rest shifted";
    }
    std::array<char, 1024> out{};
    XGetFoundryName(("Copyright " + std::string(5000, 'x')).c_str(), out.data());
    EXPECT_EQ(out[1022], 'x');
    EXPECT_EQ(out[1023], '\0');
}

class FoundryList : public testing::Test {
  protected:
    void names(const std::string& text) {
        list.LoadFoundryNames(folder.write("names.txt", text).string());
    }
    void codes(const std::string& text) {
        list.LoadFoundryCodes(folder.write("codes.txt", text).string());
    }

    TemporaryFolder folder;
    FontFoundryList list;
};

TEST_F(FoundryList, TheFirstListedNameWins) {
    EXPECT_EQ(list.FindFoundryFromCopyright("Acme"), "Unknown");
    names("Acme\nAcme Type\n");
    EXPECT_EQ(list.FindFoundryFromCopyright("(c) Acme Type"), "Acme");
    EXPECT_EQ(list.FindFoundryFromCopyright("(c) ACME"), "Unknown") << "case counts";
    names(" Spaced \nLast");
    EXPECT_EQ(list.FindFoundryFromCopyright("x Spaced x"), " Spaced ");
    EXPECT_EQ(list.FindFoundryFromCopyright("my Last"), "Last")
        << "a line without line feed counts";
    EXPECT_EQ(list.FindFoundryFromCopyright("zzz"), "Unknown")
        << "the final line feed makes no empty line";
    names("\nNever\n");
    EXPECT_EQ(list.FindFoundryFromCopyright("Never"), "") << "an empty name is in every text";
    list.LoadFoundryNames((folder.path() / "missing").string());
    EXPECT_EQ(list.FindFoundryFromCopyright("Acme"), "Acme");
}

TEST_F(FoundryList, CodesAreExactAndTheLastLineWins) {
    codes("ACME\tAcme\nABC \tBlank\nACME\t\t\tAcme Two\tignored\n\nlonely\n\t\tX\nCR\tName\r\n");
    EXPECT_EQ(list.FindFoundryFromCode("ACME"), "Acme Two");
    EXPECT_EQ(list.FindFoundryFromCode("ABC "), "Blank");
    EXPECT_EQ(list.FindFoundryFromCode("ABC"), "Unknown");
    EXPECT_EQ(list.FindFoundryFromCode("acme"), "Unknown");
    EXPECT_EQ(list.FindFoundryFromCode("lonely"), "Unknown") << "skipped, and nothing stops";
    EXPECT_EQ(list.FindFoundryFromCode("X"), "Unknown");
    EXPECT_EQ(list.FindFoundryFromCode("CR"), "Name\r");
    list.LoadFoundryCodes((folder.path() / "missing").string());
}

// The library's own lists, on copyright notices of real fonts and the foundries that made them.
TEST_F(FoundryList, TheOwnNamesNameTheRightFoundry) {
    list.LoadFoundryNames(OXPARSER_SOURCE_DIR "/Resources/foundrylist.txt");
    std::ifstream corpus(OXPARSER_TEST_DATA "/copyrights.tsv");
    int notices = 0;
    for (std::string expected, text;
         std::getline(corpus, expected, '\t') && std::getline(corpus, text); ++notices) {
        EXPECT_EQ(list.FindFoundryFromCopyright(text), expected) << text;
    }
    EXPECT_GE(notices, 60);
}

TEST_F(FoundryList, TheOwnListsAreWellFormed) {
    std::ifstream namesFile(OXPARSER_SOURCE_DIR "/Resources/foundrylist.txt");
    std::vector<std::string> all;
    for (std::string name; std::getline(namesFile, name);) {
        EXPECT_GE(name.size(), 3u) << name;
        EXPECT_NE(name, "Unknown");
        for (const std::string& earlier : all) {
            EXPECT_EQ(name.find(earlier), std::string::npos)
                << name << " can never be found behind " << earlier;
        }
        all.push_back(name);
    }
    EXPECT_GT(all.size(), 100u);

    std::ifstream codesFile(OXPARSER_SOURCE_DIR "/Resources/foundrycodelist.txt");
    std::set<std::string> seen;
    for (std::string code, name;
         std::getline(codesFile, code, '\t') && std::getline(codesFile, name);) {
        EXPECT_TRUE(seen.insert(code).second) << code;
        EXPECT_LE(code.size(), 4u) << code;
        EXPECT_NE(code.back(), ' ') << code;
        EXPECT_EQ(code.find_first_of("abcdefghijklmnopqrstuvwxyz"), std::string::npos) << code;
        EXPECT_FALSE(name.empty());
        EXPECT_EQ(name.find('\t'), std::string::npos);
    }
    EXPECT_GT(seen.size(), 1000u);
}

}  // namespace
