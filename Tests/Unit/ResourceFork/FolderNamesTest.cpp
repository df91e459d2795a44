#include "FileNames.h"
#include "FolderListing.h"
#include "UnitTest.h"

namespace {

TEST(FileNames, AreComparedDecomposed) {
    EXPECT_TRUE(isPlainAscii("\x01~\x7F"));
    EXPECT_FALSE(isPlainAscii("a\x80"));
    const std::pair<const char*, const char*> kNames[] = {
        {"Plain", "Plain"},
        {"\u00E9", "e\u0301"},
        {"\u0439", "\u0438\u0306"},        // a lead byte of two with all its bits
        {"\u0929", "\u0928\u093C"},        // the first lead byte of three
        {"\u1E14", "E\u0304\u0300"},       // twice
        {"\uAC00", "\u1100\u1161"},        // the first syllable, without a tail
        {"\uD7A3", "\u1112\u1175\u11C2"},  // the last one
        {"\uD7A4", "\uD7A4"},
        {"\u00A0", "\u00A0"},  // the first lead byte of two
        {"\U0001D11E", "\U0001D11E"},
        // What is no UTF-8 stays: too long a form, no continuation, cut.
        {"\xC1\x81", "\xC1\x81"},
        {"\xC3\xC0", "\xC3\xC0"},
        {"a\xE0\xA4", "a\xE0\xA4"},
        {"\x80z", "\x80z"}};
    for (const auto& [name, canonical] : kNames) {
        EXPECT_EQ(canonicalName(name), canonical) << name;
    }
    const std::string longName(300, 'n');
    EXPECT_EQ(canonicalName(longName + "\u00E9"), longName + "e\u0301");
    EXPECT_EQ(foldedName("PLAIN"), "plain");
    EXPECT_EQ(foldedName("CAF\u00C9"), "cafe\u0301");
}

TEST(FolderListing, FindsNamesExactlyOrNormalisedAndOnRequestInAnyCase) {
    const FolderListing listing({{"Caf\u00E9", false, true},
                                 {"CAFE", false, true},
                                 {"Zz", false, true},
                                 {".appleDouble", false, false}});
    const auto nameOf = [](const FolderListing::Entry* entry) {
        return entry != nullptr ? entry->name : "none";
    };
    const struct {
        const char* name;
        const char* found;
        const char* inAnyCase;
    } kCases[] = {{"Caf\u00E9", "Caf\u00E9", "Caf\u00E9"},
                  {"Cafe\u0301", "Caf\u00E9", "Caf\u00E9"},
                  {"CAFE\u0301", "none", "Caf\u00E9"},
                  {"CAF\u00C9", "none", "Caf\u00E9"},
                  {"cafe", "none", "CAFE"},
                  {"Zz", "Zz", "Zz"},
                  {"zzz", "none", "none"}};
    for (const auto& c : kCases) {
        EXPECT_EQ(nameOf(listing.find(c.name)), c.found) << c.name;
        EXPECT_EQ(nameOf(listing.findAnyCase(c.name)), c.inAnyCase) << c.name;
    }
    ASSERT_NE(listing.known(KnownEntry::eAppleDouble), nullptr);
    EXPECT_EQ(*listing.known(KnownEntry::eAppleDouble), ".appleDouble");
    EXPECT_EQ(listing.known(KnownEntry::eResource), nullptr);
}

}  // namespace
