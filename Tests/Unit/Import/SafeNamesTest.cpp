#include "SafeNames.h"

#include "UnitTest.h"

namespace {

std::string times(std::size_t count, const std::string& text) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

TEST(SafeNames, AreTakenByEveryFileSystem) {
    const struct {
        std::string text;
        std::string folder;
        std::string file;
    } kCases[] = {
        {"Bitstream Charter", "Bitstream Charter", "Bitstream Charter"},
        {"x.ttf", "x.ttf", "x.ttf"},
        {"../../etc", "_.._etc", "_.._etc"},
        {"a/b\\c:d*e?f\"g<h>i|j", "a_b_c_d_e_f_g_h_i_j", "a_b_c_d_e_f_g_h_i_j"},
        {std::string("a\0b\n\x7F\xC2\x85z", 8), "a_b___z", "a_b___z"},
        {" .-Hidden. . ", "Hidden", "Hidden"},
        {"-rf", "rf", "rf"},
        {"", "", "_"},
        {"...", "", "_"},
        {"CON", "CON_", "CON_"},
        {"nul.ttf", "nul_.ttf", "nul_.ttf"},
        {"Com1 .x.y", "Com1_ .x.y", "Com1_ .x.y"},
        {"LPT\xC2\xB2", "LPT\xC2\xB2_", "LPT\xC2\xB2_"},
        {"conin$", "conin$_", "conin$_"},
        {"COM", "COM", "COM"},
        {"COM10", "COM10", "COM10"},
        {"Console", "Console", "Console"},
        {"e\xCC\x81t\xC3\xA9", "\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},  // composed
        {"Caf\xE9", "Caf\xC3\xA9", "Caf\xC3\xA9"},                         // ISO 8859-1
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0_", "\xC3\xAD\xC2\xA0_"},        // half a pair
        {"<\xCC\xB8", "\xE2\x89\xAE", "\xE2\x89\xAE"},  // no "<" any more once composed
        {"\xE6\x98\x8E\xE6\x9C\x9D", "\xE6\x98\x8E\xE6\x9C\x9D", "\xE6\x98\x8E\xE6\x9C\x9D"},
        {"\u202Efdp.\u200Btxt", "_fdp._txt", "_fdp._txt"},  // turned and unseen
        {"\u0645\u200C\u0627", "\u0645\u200C\u0627", "\u0645\u200C\u0627"},
        {times(121, "a"), times(120, "a"), times(120, "a")},
        {times(119, "a") + ".ttf", times(119, "a"), times(116, "a") + ".ttf"},
        {"a" + times(60, "\xC3\xA9"), "a" + times(59, "\xC3\xA9"), "a" + times(59, "\xC3\xA9")},
        {times(117, "a") + " .pfb", times(117, "a") + " .p", times(116, "a") + ".pfb"},
        {times(130, "a") + "." + times(20, "b"), times(120, "a"), times(120, "a")},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(safeName(c.text), c.folder) << c.text;
        EXPECT_EQ(safeFileName(c.text), c.file) << c.text;
        EXPECT_EQ(safeName(safeName(c.text)), safeName(c.text)) << c.text;
        EXPECT_EQ(safeFileName(safeFileName(c.text)), safeFileName(c.text)) << c.text;
    }
    // Marks without end, in the order that costs most to mend.
    EXPECT_LE(safeName("a" + times(30000, "\xCC\x81\xCC\xA3")).size(), kLongestSafeName);
}

TEST(SafeNames, HaveInitialsAndNumbers) {
    EXPECT_EQ(initialOf("\xE6\x98\x8E\xE6\x9C\x9D"), "\xE6\x98\x8E");
    EXPECT_EQ(initialOf("Acme"), "A");
    EXPECT_EQ(initialOf(""), "");
    EXPECT_EQ(numberedFileName("a.b.ttf", 2), "a.b-2.ttf");
    EXPECT_EQ(numberedFileName("Chart", 12), "Chart-12");
    EXPECT_EQ(numberedFileName(times(116, "a") + ".ttf", 3), times(114, "a") + "-3.ttf");
    EXPECT_EQ(numberedFolderName("a.b.ttf", 2), "a.b-2");
}

TEST(SafeNames, AreComparedWithoutCase) {
    EXPECT_EQ(caseFolded("\xC3\x89tienne"), caseFolded("e\xCC\x81TIENNE"));
    EXPECT_EQ(caseFolded("\xD0\x96\xD0\xA3\xD0\x9A"), caseFolded("\xD0\xB6\xD1\x83\xD0\xBA"));
    EXPECT_EQ(caseFolded("\xE9"), caseFolded("\xC3\x89"));
    EXPECT_NE(caseFolded("Acme"), caseFolded("Acme 2"));
}

}  // namespace
