// What a file may cost: the worst that is known for each parser, measured by what the records hold
// and by what was read, never by time. A parser that breaks its bound badly runs into the time
// limit of the tests.
#include <fstream>
#include <functional>
#include <ostream>

#include "MacFontBuilder.h"
#include "OxParserDfontImp.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserPFBImp.h"
#include "OxParserPSOutlineImp.h"
#include "OxParserSuitcaseImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "SfntBuilder.h"
#include "TokenScanner.h"
#include "Type1Builder.h"
#include "UnitTest.h"
#include "WorkBudget.h"

namespace {

constexpr char kEntangled[] = "error 0 Font data is too entangled to check";
constexpr std::uint32_t kMostTables = 36;

// What directory records all name: 'kern' subtables without pairs, each of 14 bytes and worth a
// warning.
Bytes emptySubtables(std::size_t size) {
    return BigEndian().u16(0).u16(0xFFFF).padTo(size);
}

// A class subtable that the passes stand on while its bytes change in a circle of seven, which the
// reader has no short cut for.
Bytes standingClasses(std::size_t size) {
    BigEndian table;
    table.u16(0).u16(0xFFFF).zeros(4).u16(0x0200).u16(0).u16(0x0B00).u16(0x0A00).u16(0x0600);
    return table.padTo(size);
}

// 65,535 Windows records, all of the longest text, of the eight ids.
Bytes longNames(std::size_t size) {
    BigEndian table;
    table.u16(0).u16(0xFFFF).u16(6);
    for (std::uint32_t i = 0; i < 0xFFFF && table.size() + 12 + 65534 + 6 < size; ++i) {
        table.u16(3).u16(1).u16(0x0409).u16(i % 8).u16(65534).u16(0);
    }
    Bytes bytes = table;
    patch(bytes, 2, 2, static_cast<std::uint32_t>((bytes.size() - 6) / 12));
    bytes.resize(size, 'x');
    return bytes;
}

// 65,535 names of one byte.
Bytes nameIndex(std::size_t size) {
    return BigEndian().u8(1).u8(0).u8(4).u8(1).u16(0xFFFF).u8(1).padTo(size);
}

// As many members as wanted, all of one directory whose 36 records name one table by this length.
Bytes entangled(std::string_view tag, std::uint32_t length, const Bytes& table,
                std::uint32_t members, bool offsets) {
    BigEndian file;
    const std::uint32_t directory = offsets ? 12 + 4 * members : 0;
    if (offsets) {
        file.text("ttcf").u32(0x00010000).u32(members);
    }
    for (std::uint32_t i = 0; offsets && i < members; ++i) {
        file.u32(directory);
    }
    file.u32(0x00010000).u16(kMostTables).u16(0).u16(0).u16(0);
    for (std::uint32_t i = 0; i < kMostTables; ++i) {
        file.text(tag).u32(0).u32(directory + 12 + kMostTables * 16).u32(length);
    }
    return file.append(table);
}

std::uint64_t bytesKept(const FontList& fonts) {
    std::uint64_t bytes = 0;
    for (const OxFont& font : fonts) {
        bytes += SuitcaseWork::sizeOf(font);
    }
    return bytes;
}

std::ptrdiff_t count(const OxFont& font, const std::string& diagnostic) {
    const Lines lines = diagnosticLines(font);
    return std::count(lines.begin(), lines.end(), diagnostic);
}

// What this process has read so far.
std::uint64_t bytesRead() {
    std::ifstream file("/proc/self/io");
    std::string key;
    std::uint64_t value = 0;
    file >> key >> value;
    return value;
}

struct Hostile {
    const char* name;
    const char* fileName;
    std::function<Bytes()> make;
    std::size_t records = 0;  // 0: as many as the memory for them allows
    bool isCut = true;
    std::uint64_t mostKept = std::uint64_t{40} << 20;  // beside 32 times the file's size
};

Bytes resources(const Bytes& outline) {
    return ResourceForkBuilder()
        .add("FOND", 1, FondBuilder::of({{0, 0, 4}}))
        .add("sfnt", 4, outline);
}

// So many families, whose entries all name one outline.
Bytes families(int count, const Bytes& outline) {
    const FondBuilder family = FondBuilder::of(std::vector<FondBuilder::Entry>(51, {0, 0, 4}));
    ResourceForkBuilder builder;
    for (int id = 0; id < count; ++id) {
        builder.add("FOND", id, family);
    }
    return builder.add("sfnt", 4, outline);
}

// A collection that claims so many members, of no tables, in so many bytes.
Bytes claims(std::uint32_t members, std::size_t size) {
    return BigEndian().text("ttcf").u32(0x00010000).u32(members).padTo(size);
}

Bytes withLongName() {
    auto names = SfntBuilder::goodNames();
    names[8].text = SfntBuilder::utf16(std::u16string(30000, u'x'));
    return SfntBuilder::goodFont().table("name", SfntBuilder::nameTable(names));
}

Bytes halfKeys() {
    std::string text = type1Text({"%!PS-AdobeFont-1.0: Acme"});
    while (text.size() < 16u << 20) {
        text += "/Notice(\r\n/FontName /\r/Weight\r";
    }
    return bytesOf(text);
}

void PrintTo(const Hostile& font, std::ostream* out) {
    *out << font.name;
}

constexpr std::size_t kMegabyte = 1'000'000;

std::function<Bytes()> otf(std::string_view tag, Bytes (*table)(std::size_t), std::size_t size) {
    return [=] { return entangled(tag, 4, table(size), 1, false); };
}

std::function<Bytes()> ttc(std::string_view tag, Bytes (*table)(std::size_t), std::size_t size,
                           std::uint32_t members, std::uint32_t length = 4) {
    return [=] { return entangled(tag, length, table(size), members, true); };
}

Bytes zeros(std::size_t size) {
    return Bytes(size);
}

std::vector<Hostile> hostileFonts() {
    return {
        {"EmptySubtables", "a.otf", otf("kern", emptySubtables, kMegabyte)},
        {"NameIndexes", "a.otf", otf(std::string_view("\0cff", 4), nameIndex, 140'000)},
        {"FewMembers", "a.ttc", ttc("kern", emptySubtables, 56'000, 16)},
        {"ManyMembers", "a.ttc", ttc("kern", emptySubtables, 56'000, 100'000)},
        {"MembersThatStand", "a.ttc", ttc("kern", standingClasses, 5'000, 4096)},
        {"MembersNames", "a.ttc", ttc("name", longNames, 80'000, 4096, 12)},
        {"MoreMembersThanAreRead", "a.ttc", [] { return claims(1'000'000, 20'012); }, 4096},
        // 36 MB a member against 256 times the file and 16 MiB.
        {"Sums", "a.ttc", ttc("glyf", zeros, kMegabyte, 20, kMegabyte), 8},
        // Nothing is added up of a table of such a length, so it costs nothing.
        {"LengthsWithoutASum", "a.ttc", ttc("glyf", zeros, 64, 30, 0xFFFFFFFF), 30, false},
        {"AResource", "a.dfont",
         [] { return resources(ttc("kern", emptySubtables, 56'000, 4000)()); }},
        // Table counts up to byte 4,998 can be read: members 0 to 1,245.
        {"ClaimsOfASmallResource", "a.dfont", [] { return resources(claims(0xFFFFFFFF, 5'000)); },
         1246, false},
        // 30,000 bytes a member against 64 times that and 16 MiB.
        {"ClaimsOfAResource", "a.dfont", [] { return resources(claims(7'000, 30'000)); }, 624},
        {"OneLongName", "a.dfont", [] { return families(250, withLongName()); }, 0, true,
         std::uint64_t{257} << 20},
        {"OneLargeFont", "a.suit", [] { return macBinary(families(1000, outline("A", 1 << 20))); },
         1, false},
        {"HalfKeys", "a.pfb", halfKeys, 1, false},
    };
}

FontList parse(const char* fileName, const Bytes& bytes) {
    const TemporaryFolder folder;
    const fs::path file = folder.write(fileName, bytes);
    const fs::path extension = file.extension();
    if (extension == ".dfont") {
        return taken(OxParserDfontImp().parseFontFile(file));
    }
    if (extension == ".suit") {
        return taken(OxParserSuitcaseImp().parseFontFile(file));
    }
    if (extension == ".ttc") {
        return taken(OxParserTrueTypeCollectionImp(0).parseFontFile(file));
    }
    if (extension == ".pfb") {
        return taken(OxParserPFBImp().parseFontFile(file));
    }
    OxParserOpenTypeImp parser(0);
    FontList fonts = taken(parser.parseFontFile(file));
    for (const std::string& name : parser.fontNames()) {
        EXPECT_LE(name.size(), 255u);
    }
    EXPECT_LE(parser.fontNames().size(), 5u * 65536);
    return fonts;
}

class HostileFont : public testing::TestWithParam<Hostile> {};

TEST_P(HostileFont, KeepsWithinAMultipleOfItsSize) {
    const Hostile& font = GetParam();
    const Bytes bytes = font.make();
    const FontList fonts = parse(font.fileName, bytes);
    ASSERT_FALSE(fonts.empty());
    EXPECT_LE(bytesKept(fonts), 32 * bytes.size() + font.mostKept);
    EXPECT_EQ(count(fonts.back(), kEntangled), font.isCut ? 1 : 0);
    if (font.records != 0) {
        EXPECT_THAT(fonts, SizeIs(font.records));
    }
}

INSTANTIATE_TEST_SUITE_P(BoundedWork, HostileFont, testing::ValuesIn(hostileFonts()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(BoundedWork, EveryTableByItselfIsReadWhole) {
    SfntBuilder font = SfntBuilder::goodFont();
    font.table("kern", emptySubtables(4 + 14 * 65535));
    font.table("name", longNames(900'000));
    const FontList fonts = parse("a.otf", font);
    EXPECT_EQ(count(fonts.front(), "warning 11803 Invalid kerning subtable"), 65535);
    EXPECT_EQ(count(fonts.front(), kEntangled), 0);

    // So are all name records of one font, however often its directory names their table.
    const Bytes names = entangled("name", 12, longNames(1'000'000), 1, false);
    EXPECT_EQ(count(parse("a.otf", names).front(), kEntangled), 0);
}

TEST(BoundedWork, ChunksThatAllNameTheDataForkReadItOnce) {
    constexpr int kChunks = 2000;
    const TemporaryFolder folder;
    const std::vector<std::pair<int, std::string>> chunks(kChunks, {4, ""});
    MacBinaryOptions options;
    options.type = "LWFN";
    options.dataFork = Bytes(1 << 20, 'x');
    const auto file = folder.write("AcmeBol", macBinary(postChunks(chunks).build(), options));
    const std::uint64_t before = bytesRead();
    const FontList fonts = taken(OxParserPSOutlineImp().parseFontFile(file));
    EXPECT_LE(bytesRead() - before, 8u << 20);
    EXPECT_EQ(count(fonts.front(), "error 0 Corrupt Font:  No program in data fork"), kChunks);
}

TEST(BoundedWork, ALongLineIsScannedOnce) {
    std::string line;
    while (line.size() < 8u << 20) {
        line += "abc,";
    }
    set_line(line.c_str());
    std::size_t tokens = 0;
    for (get_next_token(); tokentype != eTokenEndOfLine; get_next_token()) {
        ++tokens;
        ++iIndex;
    }
    EXPECT_EQ(tokens, line.size() / 4);
    set_line(nullptr);
}

}  // namespace
