#include "SfntReader.h"

#include <functional>

#include "SfntBuilder.h"
#include "SoundFont.h"
#include "UnitTest.h"

namespace {

using Name = SfntBuilder::Name;

std::string utf16(std::u16string_view text) {
    return SfntBuilder::utf16(text);
}

class SfntReaderTest : public testing::Test {
  protected:
    FontList readAll(const Bytes& bytes, SfntOrigin origin = SfntOrigin::eOriginal) {
        WorkLimit work(bytes.size());
        const fs::path file("/fonts/Acme.ttf");
        FaceContext context{file, details, container, "", work};
        FontFaces faces;
        readUnpackedSfnt(ByteView(bytes), origin, context, faces);
        return faces;
    }
    OxFont read(const Bytes& bytes) {
        const FontList faces = readAll(bytes);
        EXPECT_THAT(faces, SizeIs(1));
        return faces.front();
    }
    std::string found(const Bytes& bytes) { return problems(read(bytes)); }
    // A property as text; lists with blanks between, objects by their values.
    static std::string shown(const OxPropertyValue& value) {
        if (value.text() != nullptr) {
            return *value.text();
        }
        if (value.flag() != nullptr) {
            return *value.flag() ? "true" : "false";
        }
        std::string all;
        if (value.number() != nullptr) {
            char text[32];
            std::snprintf(text, sizeof text, "%.10g", *value.number());
            return text;
        }
        if (value.list() != nullptr) {
            for (const OxPropertyValue& one : *value.list()) {
                all += (all.empty() ? "" : " ") + shown(one);
            }
            return all;
        }
        for (const auto& [name, one] : *value.object()) {
            all += (all.empty() ? "" : ",") + shown(one);
        }
        return "{" + all + "}";
    }
    std::string property(const Bytes& bytes, const char* name) {
        const OxFont font = read(bytes);
        const OxPropertyValue* value = font.properties().find(name);
        return value == nullptr ? "-" : shown(*value);
    }

    ReadingDetails details;
    std::string container;
};

TEST_F(SfntReaderTest, ASoundFontIsSilentAndWholeInItsProperties) {
    const OxFont font = read(adjusted(soundFont()));
    EXPECT_EQ(problems(font), "");
    std::string all;
    for (const auto& [name, value] : font.properties()) {
        all += name + "=" + shown(value) + ";";
    }
    EXPECT_EQ(all,
              "format=truetype;container=sfnt;family=Acme Sans;style=Bold;fullName=Acme Sans Bold;"
              "postscriptName=AcmeSans-Bold;version=Version 1.0;uniqueId=Acme Sans Bold:2001;"
              "copyright=\xC2\xA9 Acme;trademark=Acme is a trademark;weight=400;width=5;"
              "italic=false;monospace=false;symbol=false;variable=false;color=false;hinted=false;"
              "italicAngle=0;vendor=ACME;embedding=installable;noSubsetting=false;"
              "bitmapOnly=false;unitsPerEm=1000;ascender=800;descender=-200;lineGap=90;xHeight=0;"
              "capHeight=0;glyphs=4;revision=2;codepoints=3;languages=;");
    EXPECT_EQ(font.getFontType(), OxFont::TTF);
    EXPECT_EQ(font.getAttribute(ePlatform), "MacOrWindows");
}

TEST_F(SfntReaderTest, EachDamageIsOneFinding) {
    struct Row {
        const char* expected;
        std::function<void(SfntBuilder&)> damage;
    };
    const auto set = [](const char* tag, std::size_t at, int width, std::uint32_t value) {
        return [=](SfntBuilder& font) { patch(font[tag].data, at, width, value); };
    };
    const auto cut = [](const char* tag, std::size_t size) {
        return [=](SfntBuilder& font) { font[tag].data.resize(size); };
    };
    const auto drop = [](const char* tag) { return [=](SfntBuilder& font) { font.drop(tag); }; };
    const Row rows[] = {
        {"error 11002 0x00020000, should be 0x00010000, OTTO, true or typ1",
         [](SfntBuilder& font) { font.version(0x00020000); }},
        {"error 20102 4000 bytes at 268, of 808 in all",
         [](SfntBuilder& font) { font["cmap"].length = 4000; }},
        {"error 11014", drop("cmap")},
        {"error 11022", drop("OS/2")},
        {"note 11022", [](SfntBuilder& font) { font.version(code("true")).drop("OS/2"); }},
        {"error 11019", drop("loca")},
        {"error 20114 none of glyf, CFF, CFF2, EBDT, bdat, sbix, CBDT",
         [](SfntBuilder& font) { font.drop("glyf").drop("loca"); }},
        {"error 11013 name", cut("name", 0)},
        {"error 11103 0x5f0f3cf4, should be 0x5f0f3cf5", set("head", 12, 4, 0x5F0F3CF4)},
        {"error 20115 15, should be 16 to 16384", set("head", 18, 2, 15)},
        {"error 11108 2, should be 0 to 1", set("head", 50, 2, 2)},
        {"error 11516 0, should be at least 1", set("hhea", 34, 2, 0)},
        {"error 20103 sxHeight, 2 bytes at 86 of a table of 86", cut("OS/2", 86)},
        {"error 20103 isFixedPitch, 4 bytes at 12 of a table of 12", cut("post", 12)},
        {"warning 20116 9 bytes, should be at least 10", cut("hmtx", 9)},
        {"error 20117 8 bytes, should be at least 10", cut("loca", 8)},
        {"error 20118 6 bytes, should be at least 8", set("loca", 8, 2, 4)},
        {"warning 11027 0x01020304, should be 0x06080304",
         [](SfntBuilder& font) { font["glyf"].checksum = 0x01020304; }},
        {"warning 20104 0x00000001, should be 0x61000000",
         [](SfntBuilder& font) { font.table("abcd", bytesOf("a"))["abcd"].checksum = 1; }},
        {"warning 11300 2, should be 0 or 1", set("name", 0, 2, 2)},
        {"error 11301 999, room for 25", set("name", 2, 2, 999)},
        {"warning 20108 1 of 9, the first name 0 of platform 1", set("name", 16, 2, 60000)},
        {"error 11201 0, room for 5", set("cmap", 2, 2, 0)},
        {"error 20109 (3,1) at 90000 of a table of 44", set("cmap", 8, 4, 90000)},
        {"error 20110 (3,1) has format 5", set("cmap", 12, 2, 5)},
        {"error 20111 (3,1): segments at 26 of a table of 44", set("cmap", 18, 2, 200)},
        {"error 20111 (3,1): glyphIdArray at 1038 of a table of 44", set("cmap", 40, 2, 998)},
        {"error 20112 2, should be 1",
         [](SfntBuilder& font) { font.table("GSUB", BigEndian().u16(2).zeros(8)); }},
        {"warning 11800 2, should be 0 or 0x00010000",
         [](SfntBuilder& font) { font.table("kern", BigEndian().u16(2).zeros(8)); }},
        {"error 11803 3, room for 2",
         [](SfntBuilder& font) {
             Bytes kern = SfntBuilder::kernTable({3});
             kern.resize(kern.size() - 6);
             font.table("kern", kern);
         }},
    };
    for (const Row& row : rows) {
        SfntBuilder font = soundFont();
        row.damage(font);
        EXPECT_EQ(found(adjusted(font)), row.expected);
    }
}

TEST_F(SfntReaderTest, SumsMayFillTheirLastWordFromTheFileAndOwnNoAdjustment) {
    SfntBuilder font = soundFont();
    EXPECT_EQ(found(font.build()).substr(0, 27), "note 11102 0x12345678, shou");
    const std::size_t glyf = 2;
    Bytes file = adjusted(font);
    const std::uint32_t offset = get32(file, 12 + 16 * glyf + 8);
    patch(file, offset + 6, 2, 0xABCD);  // behind the table's six bytes
    EXPECT_THAT(found(file), testing::HasSubstr("note 11102"));
    patch(file, 12 + 16 * glyf + 4, 4, get32(file, 12 + 16 * glyf + 4) + 0xABCD);
    EXPECT_THAT(found(file), testing::Not(testing::HasSubstr("11027")));
    font["glyf"].checksum = 7;
    EXPECT_EQ(problems(readAll(font, SfntOrigin::eUnpacked).front()),
              "warning 11027 0x00000007, should be 0x06080304");
    EXPECT_EQ(problems(readAll(font, SfntOrigin::eRebuilt).front()), "");
}

TEST_F(SfntReaderTest, TheBestOfSeveralNamesIsChosen) {
    const std::vector<Name> byRank = {{3, 10, 0x0409, 1, utf16(u"Windows US")},
                                      {0, 3, 0, 1, utf16(u"Unicode")},
                                      {3, 0, 0x0809, 1, utf16(u"Windows English")},
                                      {1, 0, 0, 1, "Roman English"},
                                      {3, 1, 0x0411, 1, utf16(u"\u65E5\u672C")},
                                      {1, 1, 11, 1, "\x93\xFA\x96\x7B"},
                                      {2, 2, 0, 1, "ISO \xE9"}};
    const char* expected[] = {"Windows US",   "Unicode",      "Windows English", "Roman English",
                              "\u65E5\u672C", "\u65E5\u672C", "ISO \u00E9"};
    for (std::size_t i = 0; i < byRank.size(); ++i) {
        const std::vector<Name> names(byRank.rbegin(), byRank.rend() - static_cast<long>(i));
        const Bytes file = soundFont().table("name", SfntBuilder::nameTable(names));
        EXPECT_EQ(property(file, "family"), expected[i]);
    }
    // Empty and lost texts do not count; what only pads a text goes.
    std::vector<Name> names = {{3, 1, 0x0409, 1, utf16(u" \n\0")}, byRank[3], byRank[1]};
    names[2].text += std::string("\0 \0\0", 4);
    Bytes table = SfntBuilder::nameTable(names);
    EXPECT_EQ(property(soundFont().table("name", table), "family"), "Unicode");
    patch(table, 6 + 2 * 12 + 10, 2, 9999);
    EXPECT_EQ(property(soundFont().table("name", table), "family"), "Roman English");
    // A typographic style without its family says nothing.
    names = {{3, 1, 0x0409, 17, utf16(u"Black")}, {3, 1, 0x8009, 1, utf16(u"Tagged")}};
    table = SfntBuilder::nameTable(names);
    EXPECT_EQ(property(soundFont().table("name", table), "typographicStyle"), "-");
    details.names = true;
    EXPECT_EQ(property(soundFont().table("name", table), "names"),
              "{3,1,1033,17,Black} {3,1,32777,1,Tagged}");
}

TEST_F(SfntReaderTest, CharactersOfEveryFormatAndTheOrderOfSubtables) {
    details.coverage = true;
    const BigEndian bytes0 = BigEndian().u16(0).u16(262).u16(0).zeros(0x80).u8(1).u8(9).padTo(262);
    const BigEndian two = BigEndian().u16(2).u32(0).padTo(6 + 2 * 0x81).u16(8).padTo(6 + 512);
    const BigEndian mixed = BigEndian(two)
                                .u16('A')
                                .u16(1)
                                .u16(0)
                                .u16(10)
                                .u16(0x40)
                                .u16(2)
                                .u16(1)
                                .u16(4)
                                .u16(1)
                                .u16(1)
                                .u16(2);
    const BigEndian head12 = BigEndian().u16(12).u16(0).u32(0).u32(0);
    const BigEndian rows[] = {
        format4({{'A', 'Z', 65536 - 'A'}, {0x100, 0x105, 65536 - 0x102}, {0xFFFF, 0xFFFF, 5}}),
        BigEndian().u16(6).u16(0).u16(0).u16(0x20).u16(3).u16(1).u16(0).u16(4),
        BigEndian().u16(6).u16(0).u16(0).u16(0x20).u16(3).u16(1).u16(0).u16(3),
        BigEndian().u16(8).u16(0).u32(0).u32(0).zeros(8192).u32(1).u32(0x10000).u32(0x10001).u32(3),
        BigEndian().u16(10).u16(0).u32(0).u32(0).u32(0x1F600).u32(2).u16(1).u16(2),
        BigEndian(head12).u32(2).u32(0x20).u32(0xFFFFFFFF).u32(0).u32(5).u32(4).u32(1),
        BigEndian().u16(13).u16(0).u32(0).u32(0).u32(1).u32(0).u32(0x10FFFF).u32(3),
        mixed,
        bytes0,
    };
    const char* expected[] = {"42-44,103-105", "20",       "20,22",        "10000", "1f600-1f601",
                              "21-23",         "0-10ffff", "41,8140-8141", "80"};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(property(soundFont().table("cmap", cmap({{3, 1, rows[i]}})), "coverage"),
                  expected[i]);
    }
    // The best first; each of another character.
    const std::pair<unsigned, unsigned> order[] = {{3, 10}, {0, 6}, {0, 4}, {3, 1}, {0, 3},
                                                   {0, 2},  {0, 1}, {0, 0}, {3, 0}, {1, 0}};
    std::vector<Encoded> subtables;
    for (const auto& [platform, encoding] : order) {
        const auto letter = static_cast<unsigned>('0' + subtables.size());
        subtables.insert(
            subtables.begin(),
            {platform, encoding, BigEndian().u16(6).u16(12).u16(0).u16(letter).u16(1).u16(1)});
    }
    for (char letter = '0'; !subtables.empty(); ++letter) {
        const Bytes file = soundFont().table("cmap", cmap(subtables));
        char text[8];
        std::snprintf(text, sizeof text, "%x", static_cast<unsigned>(letter));
        EXPECT_EQ(property(file, "coverage"), text);
        EXPECT_EQ(property(file, "symbol"), letter == '8' ? "true" : "false");
        subtables.pop_back();
    }
    // Macintosh codes by their script; other legacy encodings are not guessed at.
    EXPECT_EQ(property(soundFont().table("cmap", cmap({{1, 0, bytes0}})), "coverage"), "c4");
    EXPECT_EQ(property(soundFont().table("cmap", cmap({{3, 2, bytes0}})), "codepoints"), "-");
    EXPECT_EQ(property(soundFont().table("cmap", cmap({{1, 1, bytes0}})), "codepoints"), "-");
}

TEST_F(SfntReaderTest, EmbeddingByTheVersionOfItsTable) {
    const std::tuple<unsigned, unsigned, const char*, const char*> rows[] = {
        {0, 0x0000, "installable", "-"},    {2, 0x000E, "editable", "false"},
        {3, 0x000E, "restricted", "false"}, {2, 0x0006, "preview", "false"},
        {4, 0x010C, "preview", "true"},     {1, 0x0302, "restricted", "-"},
    };
    for (const auto& [version, fsType, embedding, noSubsetting] : rows) {
        SfntBuilder font = soundFont();
        patch(font["OS/2"].data, 0, 2, version);
        patch(font["OS/2"].data, 8, 2, fsType);
        EXPECT_EQ(property(font, "embedding"), embedding);
        EXPECT_EQ(property(font, "noSubsetting"), noSubsetting);
    }
}

TEST_F(SfntReaderTest, DatesStyleAndWhatTablesSay) {
    SfntBuilder font = soundFont();
    patch(font["head"].data, 24, 4, 0xB492F400);  // 2000-01-01
    patch(font["head"].data, 28, 4, 2);           // far in the future
    patch(font["head"].data, 44, 2, 2);
    font["post"].data = BigEndian().u32(0x00030000).u32(-0xC8000).u32(0).u32(1).padTo(32);
    font.table("prep", Bytes(8)).table("COLR", Bytes(4)).drop("OS/2");
    const std::pair<const char*, const char*> rows[] = {{"created", "2000-01-01T00:00:00Z"},
                                                        {"modified", "-"},
                                                        {"italic", "true"},
                                                        {"italicAngle", "-12.5"},
                                                        {"monospace", "true"},
                                                        {"hinted", "true"},
                                                        {"color", "true"},
                                                        {"weight", "-"},
                                                        {"vendor", "-"},
                                                        {"xHeight", "-"},
                                                        {"kerningPairs", "-"}};
    for (const auto& [name, expected] : rows) {
        EXPECT_EQ(property(font, name), expected) << name;
    }
    EXPECT_EQ(property(soundFont().table("kern", SfntBuilder::kernTable({3, 2})), "kerningPairs"),
              "5");
    const BigEndian apple = BigEndian().u32(0x00010000).u32(1).u32(22).u16(0).u16(0).u16(1);
    EXPECT_EQ(property(soundFont().table("kern", BigEndian(apple).zeros(12)), "kerningPairs"), "1");
    // More pairs than the length of a subtable can say.
    EXPECT_EQ(
        property(soundFont().table("kern", SfntBuilder::kernTable({12000, 1})), "kerningPairs"),
        "12001");
    const BigEndian layout = BigEndian().u32(0x00010000).u16(10).u16(18).u16(0);
    const BigEndian lists = BigEndian(layout).u16(1).text("latn").u16(0);
    font.table("GSUB", BigEndian(lists).u16(2).text("liga").u16(0).text("c\xE9  ").u16(0));
    font.table("GPOS", BigEndian(lists).u16(1).text("liga").u16(0));
    EXPECT_EQ(property(font, "scripts"), "latn");
    EXPECT_EQ(property(font, "features").substr(0, 3), "c\u00E9");
}

TEST_F(SfntReaderTest, VariationsAreNamed) {
    std::vector<Name> names = SfntBuilder::goodNames();
    names.push_back({3, 1, 0x0409, 256, utf16(u"Weight")});
    names.push_back({3, 1, 0x0409, 257, utf16(u"Black")});
    BigEndian fvar;
    fvar.u32(0x00010000).u16(16).u16(2).u16(1).u16(20).u16(2).u16(8);
    fvar.text("wght").u32(100 << 16).u32(0x01908000).u32(900 << 16).u16(0).u16(256);
    fvar.u16(257).u16(0).u32(900 << 16).u16(999).u16(0).u32(100 << 16);
    SfntBuilder font = soundFont();
    font.table("name", SfntBuilder::nameTable(names)).table("fvar", fvar);
    EXPECT_EQ(property(font, "axes"), "{wght,Weight,100,400.5,900}");
    EXPECT_EQ(property(font, "instances"), "{Black,{900}} {{100}}");
    EXPECT_EQ(property(font, "variable"), "true");
    patch(font["fvar"].data, 14, 2, 7);
    EXPECT_THAT(found(font), testing::StartsWith("error 20113 7, should be at least 8"));
    EXPECT_EQ(property(font, "instances"), "-");
}

TEST_F(SfntReaderTest, FormatsByTheirTables) {
    struct Row {
        std::uint32_t version;
        const char* table;
        const char* format;
        int type;
    };
    const Row rows[] = {{code("OTTO"), "CFF ", "cff", OxFont::OTPS},
                        {0x00010000, "CFF2", "cff2", OxFont::OTPS},
                        {0x00010000, "EBDT", "bitmap", OxFont::notSure},
                        {code("true"), "bdat", "bitmap", OxFont::notSure},
                        {0x00010000, "CBDT", "bitmap", OxFont::notSure},
                        {0x00010000, "sbix", "bitmap", OxFont::notSure},
                        {code("typ1"), "TYP1", "type1", OxFont::notSure},
                        {0x00010000, "TYP1", "-", OxFont::notSure}};
    for (const Row& row : rows) {
        SfntBuilder font = soundFont();
        font.version(row.version).drop("glyf").drop("loca").table(row.table, Bytes(4));
        EXPECT_EQ(property(font, "format"), row.format);
        EXPECT_EQ(read(font).getFontType(), row.type) << row.table;
        EXPECT_EQ(problems(readAll(adjusted(font), SfntOrigin::eUnpacked).front()).empty(),
                  std::string(row.format) != "-");
    }
}

TEST_F(SfntReaderTest, MembersOfACollection) {
    SfntBuilder cff = soundFont();
    cff.version(code("OTTO")).drop("glyf").drop("loca").table("CFF ", Bytes(4));
    Bytes file = SfntBuilder::collection({soundFont(), cff});
    FontList faces = readAll(file);
    ASSERT_THAT(faces, SizeIs(2));
    EXPECT_EQ(problems(faces[0]) + problems(faces[1]), "");
    EXPECT_EQ(shown(*faces[0].properties().find("container")), "collection");
    EXPECT_EQ(shown(*faces[1].properties().find("format")), "cff");
    EXPECT_EQ(shown(*faces[1].properties().find("index")), "1");
    EXPECT_EQ(shown(*faces[1].properties().find("offset")), std::to_string(get32(file, 16)));
    EXPECT_EQ(faces[1].getFontType(), OxFont::TTC);
    // A member past the end has no record; the last that has one says so.
    patch(file, 16, 4, 0x7FFFFFFF);
    container = "woff2";
    faces = readAll(file);
    ASSERT_THAT(faces, SizeIs(1));
    EXPECT_EQ(problems(faces[0]), "error 20106 1 of 2");
    EXPECT_EQ(shown(*faces[0].properties().find("container")), "woff2");
    patch(file, 12, 4, 0x7FFFFFFF);
    EXPECT_EQ(found(file), "error 20100 2 members");
    BigEndian many = BigEndian().text("ttcf").u32(0x00010000).u32(5000);
    faces = readAll(many.padTo(12 + 4 * 5000));
    EXPECT_THAT(faces, SizeIs(4096));
    EXPECT_THAT(problems(faces.back()),
                testing::EndsWith("error 20107 5000, at most 4096 are read"));
}

TEST_F(SfntReaderTest, WhatIsEntangledEndsSoon) {
    details = {true, true, true};
    constexpr char kEntangled[] = "error 20003";
    BigEndian groups = BigEndian().u16(13).u16(0).u32(0).u32(0).u32(~0U);
    for (int i = 0; i < 1000; ++i) {
        groups.u32(0).u32(~0U).u32(1);
    }
    EXPECT_EQ(found(soundFont().table("cmap", cmap({{3, 10, groups}}))), kEntangled);
    std::vector<Name> names(4000, {3, 1, 0x0409, 1, ""});
    Bytes table = SfntBuilder::nameTable(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        patch(table, 6 + 12 * i + 8, 2, 60000);
    }
    // Instances without a coordinate, whose name has as many empty records.
    BigEndian fvar = BigEndian().u32(0x00010000).u16(16).u16(2).u16(0).u16(20).u16(65535).u16(4);
    for (int i = 0; i < 65535; ++i) {
        fvar.u16(1).u16(0);
    }
    EXPECT_EQ(found(soundFont().table("name", SfntBuilder::nameTable(names)).table("fvar", fvar)),
              kEntangled);
    table.resize(table.size() + 60000, ' ');
    EXPECT_EQ(found(soundFont().table("name", table)), kEntangled);
    // Many members that name the same large tables.
    SfntBuilder large = soundFont().table("glyf", Bytes(1 << 20)).table("name", table);
    for (const char* tag : {"OS/2", "cmap", "glyf", "head", "name"}) {
        large[tag].offset = 100000;
    }
    BigEndian many = BigEndian().text("ttcf").u32(0x00010000).u32(4096);
    for (int i = 0; i < 4096; ++i) {
        many.u32(12 + 4 * 4096);
    }
    EXPECT_THAT(readAll(many.append(large)), SizeIs(4096));
}

}  // namespace
