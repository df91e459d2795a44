#include <thread>

#include "CharacterSet.h"
#include "GlyphNames.h"
#include "Orthographies.h"
#include "TextDecoding.h"
#include "UnitTest.h"

namespace {

using testing::Contains;
using testing::Not;

ByteView viewOf(std::string_view text) {
    return ByteView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

CharacterSet setOf(std::initializer_list<std::pair<char32_t, char32_t>> ranges) {
    CharacterSet result;
    for (const auto& [first, last] : ranges) {
        result.addRange(first, last);
    }
    return result;
}

TEST(CharacterSet, RangesAreJoinedAndSorted) {
    const struct {
        CharacterSet set;
        const char* ranges;
        std::size_t count;
    } kSets[] = {
        {{}, "", 0},
        {setOf({{0x20, 0x7E}, {0xA0, 0xA0}}), "20-7e,a0", 96},
        {setOf({{0xA0, 0xA0}, {0x20, 0x7E}}), "20-7e,a0", 96},
        // Across words and pages.
        {setOf({{0x3F, 0x40}, {0xFF, 0x100}, {0x1FF, 0x2FF}}), "3f-40,ff-100,1ff-2ff", 261},
        {setOf({{0x41, 0x41}, {0x42, 0x5A}, {0x43, 0x43}}), "41-5a", 26},
        {setOf({{0, 0xFFFFFFFF}}), "0-10ffff", 0x110000},
        {setOf({{5, 4}, {0x110000, 0x110000}}), "", 0},
        {setOf({{0x10FFFF, 0x10FFFF}, {0, 0}}), "0,10ffff", 2},
    };
    for (const auto& row : kSets) {
        EXPECT_EQ(row.set.ranges(), row.ranges);
        EXPECT_EQ(row.set.count(), row.count) << row.ranges;
    }
}

TEST(CharacterSet, TellsWhatItHolds) {
    const CharacterSet set = setOf({{0x20, 0x7E}, {0x4E00, 0x9FFF}});
    EXPECT_TRUE(set.contains(0x7E) && set.contains(0x9FFF) && !set.contains(0x7F) &&
                !set.contains(0xA000) && !set.contains(0x110000));
    EXPECT_TRUE(set.containsAll(setOf({{0x30, 0x39}, {0x5000, 0x5200}})));
    EXPECT_TRUE(set.containsAll({}));
    EXPECT_FALSE(set.containsAll(setOf({{0x30, 0x39}, {0xA000, 0xA000}})));
    EXPECT_FALSE(set.containsAll(setOf({{0x1F, 0x20}})));
    EXPECT_EQ(set, setOf({{0x4E00, 0x9FFF}, {0x20, 0x7E}}));
}

TEST(TextDecoding, Utf16OfAnyBytesIsValid) {
    const std::pair<std::string_view, const char*> kTexts[] = {
        {"", ""},
        {{"\0A\x20\xAC\xD8\x3D\xDE\x00", 8}, "A€😀"},
        {{"\0A\xD8\x3D", 4}, "A\uFFFD"},
        {{"\xD8\x3D\0A", 4}, "\uFFFDA"},
        {{"\xDE\x00\xD8\x3D", 4}, "\uFFFD\uFFFD"},
        {{"\xD8\x3D\xD8\x3D\xDE\x00", 6}, "\uFFFD😀"},
        {{"\0A\0", 3}, "A"},
    };
    for (const auto& [bytes, text] : kTexts) {
        EXPECT_EQ(fromUtf16(viewOf(bytes)), text);
        EXPECT_EQ(fromWindowsEncoding(viewOf(bytes), 10), text);
    }
}

TEST(TextDecoding, WindowsCodePages) {
    const struct {
        unsigned encoding;
        std::string_view bytes;
        const char* text;
    } kTexts[] = {
        {2, "MS \x83\x53\x83\x56\x83\x62\x83\x4E \xB1", "MS ゴシック ｱ"},
        {2, {"\0M\0S\0\x83\0\x53", 8}, "MSゴ"},  // each byte as 16 bits
        {3, "\xCB\xCE\xCC\xE5\x80", "宋体€"},
        {4, "\xB7\x73\xB2\xD3", "新細"},
        {5, "\xB1\xBC\xB8\xB2", "굴림"},
        {6, "\x8B\xA9\x5C", "길\\"},
        // Cut in a character; bytes that mean nothing; a lead byte before ASCII.
        {2, "A\x83", "A\uFFFD"},
        {2,
         "A\xFF\xFF"
         "B",
         "A\uFFFDB"},
        {5, "\xB1\xBC\xC9\xFF\xB8\xB2", "굴\uFFFD림"},
    };
    for (const auto& row : kTexts) {
        EXPECT_EQ(fromWindowsEncoding(viewOf(row.bytes), row.encoding), row.text);
    }
}

TEST(TextDecoding, MacintoshScriptsAndTheirLanguages) {
    const struct {
        unsigned script;
        unsigned language;
        std::string_view bytes;
        const char* text;
    } kTexts[] = {
        {0, 0, "\x80\xDB\xDE\xF0", "Ä€ﬁ\uF8FF"},
        {0, 15, "\xDE", "Þ"},   // Icelandic
        {0, 30, "\xDE", "Þ"},   // Faroese
        {0, 17, "\xDE", "Ş"},   // Turkish
        {0, 18, "\xE8", "č"},   // Croatian
        {0, 40, "\xE8", "č"},   // Slovenian
        {0, 37, "\xAE", "Ă"},   // Romanian
        {0, 25, "\xB8", "ł"},   // Polish
        {29, 38, "\xDE", "ř"},  // Central European
        {37, 0, "\xDE", "Þ"},
        {4, 12, "\xC7\xB1", "ا١"},
        {4, 31, "\xC7\xB1", "ا۱"},  // Farsi
        {5, 10, "\xF9\x81\xC0", "שײַלֹ"},
        {6, 14, "\xE1", "α"},
        {7, 32, "\x80\xDF", "Ая"},
        {9, 21, "\xB3\xE8\xE8\xA1\xE9", "क्\u200Cॐ"},
        {10, 70, "\x91\xB3", "ੜਕ"},
        {11, 69, "\xA1\xE9\xB3", "ૐક"},
        {21, 22, "\xA1\x83", "ก่"},
        {1, 11, "\x80\xA0\xFD\xFE\xFF\x83\x53", "\\\u00A0©™…ゴ"},
        {2, 19, "\xB7\x73\xFE", "新™"},
        {3, 23, "\x81\x82\xB1\xBC", "₩—굴"},
        {25, 33, "\xCB\xCE\x80\xFF", "宋ü…"},
        {1, 11, "\x83", "\uFFFD"},
        {21, 22, "\xFC", "\uFFFD"},
        {13, 0, "a\x80\xFF", "a\uFFFD\uFFFD"},  // no published table
        {4000000000, 0, "a\x80", "a\uFFFD"},
    };
    for (const auto& row : kTexts) {
        EXPECT_EQ(fromMacScript(viewOf(row.bytes), row.script, row.language), row.text)
            << row.script << ' ' << row.language;
    }
    EXPECT_EQ(macScriptCharacter(0, 'A'), U'A');
    EXPECT_EQ(macScriptCharacter(7, 0x80), U'А');
    EXPECT_EQ(macScriptCharacter(5, 0x81), 0u);  // two characters
    EXPECT_EQ(macScriptCharacter(1, 'A'), 0u);
}

TEST(TextDecoding, UnstatedTextIsUtf8OrLatin1) {
    const std::pair<std::string_view, std::string_view> kTexts[] = {
        {"caf\xC3\xA9 \xF0\x9F\x98\x80", "café 😀"},
        {"caf\xE9", "café"},
        {"\xC3", "Ã"},
        {"\xC0\xAF", "À¯"},                 // overlong
        {"\xED\xA0\x80", "í\u00A0\u0080"},  // half of a pair
        {"\xF4\x90\x80\x80", "ô\u0090\u0080\u0080"},
        {"\xF8\x88", "ø\u0088"},
        {{"a\0b", 3}, {"a\0b", 3}},
    };
    for (const auto& [bytes, text] : kTexts) {
        EXPECT_EQ(fromUnstated(bytes), text);
    }
}

TEST(GlyphNames, FollowTheGlyphListsRule) {
    const std::pair<const char*, char32_t> kNames[] = {
        {"A", 'A'},
        {"A.sc", 'A'},
        {"A.b.c", 'A'},
        {"afii10017", 0x410},
        {"zukatakana", 0x30BA},
        {"Euro", 0x20AC},
        {"uni20AC", 0x20AC},
        {"uni20AC.x", 0x20AC},
        {"u20AC", 0x20AC},
        {"u1F600", 0x1F600},
        {"u10FFFF", 0x10FFFF},
        {"union", 0x222A},
        {"uni20ac", 0},
        {"uni20AC0041", 0},
        {"uniD800", 0},
        {"u110000", 0},
        {"u20A", 0},
        {"u0010FFFF", 0},
        {"uni+0AC", 0},
        {"f_i", 0},
        {"lamedholamhebrew", 0},
        {".notdef", 0},
        {"", 0},
        {"g12", 0},
    };
    for (const auto& [name, character] : kNames) {
        EXPECT_EQ(glyphNameCharacter(name), character) << name;
    }
}

TEST(Orthographies, CoveredWholeOrNotAtAll) {
    const CharacterSet english = setOf({{'A', 'Z'}, {'a', 'z'}, {0xC0, 0xFF}});
    EXPECT_THAT(coveredLanguages(english), Contains("de"));
    EXPECT_THAT(coveredLanguages(english), Not(Contains("ru")));
    // One letter less.
    const CharacterSet torn = setOf({{'A', 'Z'}, {'a', 'z'}, {0xC0, 0xDE}, {0xE0, 0xFF}});
    EXPECT_THAT(coveredLanguages(torn), Not(Contains("de")));
    EXPECT_THAT(coveredLanguages({}), IsEmpty());
    const Lines all = coveredLanguages(setOf({{0, CharacterSet::kLast}}));
    EXPECT_GT(all.size(), 200u);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
}

TEST(ConcurrencyFaces, DecodesAndCoversOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int turn = 0; turn < 50; ++turn) {
                EXPECT_EQ(fromMacScript(viewOf("\x83\x53"), 1, 11), "ゴ");
                EXPECT_THAT(coveredLanguages(setOf({{'A', 'z'}})), Contains("so"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
