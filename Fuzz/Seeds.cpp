#include "Seeds.h"

#include <woff2/encode.h>

#include "BigEndian.h"
#include "MacFontBuilder.h"
#include "ResourceForkBuilder.h"
#include "SfntBuilder.h"
#include "SoundFont.h"
#include "Type1Builder.h"

namespace {

SfntBuilder kerningFont() {
    SfntBuilder font = SfntBuilder::goodFont();
    Bytes kerning = SfntBuilder::kernTable({2, 0});
    BigEndian classes = BigEndian().u16(0).u16(40).u16(0x0200).u16(2).u16(14).u16(22).u16(30);
    append(kerning, classes.u16(1).u16(2).zeros(4).u16(1).u16(1).zeros(14));
    kerning[3] = 3;
    font.table("kern", kerning);
    return font;
}

// Classes of no width: the subtable is not stepped over.
SfntBuilder standingFont() {
    const Bytes kerning =
        BigEndian().u16(0).u16(0xFFFF).zeros(4).u16(0x0200).u16(0).u16(14).u16(18).zeros(5000);
    return SfntBuilder::goodFont().table("kern", kerning);
}

Bytes behind(std::uint8_t first, const Bytes& bytes) {
    return BigEndian().u8(first).append(bytes);
}

// A text as a target takes it that reads several values: its length, then its bytes.
Bytes shortPart(std::string_view text) {
    return behind(static_cast<std::uint8_t>(text.size()), bytesOf(text));
}

Bytes joined(std::initializer_list<Bytes> parts) {
    BigEndian result;
    for (const Bytes& part : parts) {
        result.append(part);
    }
    return result;
}

void addSfnt(Seeds& seeds) {
    const SfntBuilder good = SfntBuilder::goodFont();
    const SfntBuilder kerning = kerningFont();
    SfntBuilder cff = good;
    cff.version(0x4F54544F).table("CFF ", bytesOf("\1\0\4\1\0\1\1\1\5Acme"));
    cff.table("cff", BigEndian().u32(0x01000401).u16(2).u8(1).u8(1).u8(5).u8(9).text("AcmeBold"));
    cff["cff"].tag = std::string("\0cff", 4);
    SfntBuilder signedFont = good;
    signedFont.table("DSIG", BigEndian().u32(1).zeros(4));

    seeds["TrueType"] = {{"good", good.build()},
                         {"kerning", kerning.build()},
                         {"signed", signedFont.build()},
                         {"mac", SfntBuilder(good).version(0x74727565).build()}};
    seeds["OpenType"] = {{"good", good.build()},
                         {"kerning", kerning.build()},
                         {"standing", standingFont().build()},
                         {"names", cff.build()}};
    seeds["SfntMemory"] = {{"good", behind(0, good.build())},
                           {"kerning", behind(1, kerning.build())},
                           {"signed", behind(2, signedFont.build())}};
    seeds["Collection"] = {{"shared", SfntBuilder::collection({good, kerning, good})},
                           {"separate", SfntBuilder::collection({good, signedFont}, false)}};
}

void addType1(Seeds& seeds) {
    const std::string text = acmeType1Text();
    seeds["Pfb"] = {{"good", pfbFile(text)}, {"line-feeds", pfbFile(acmeType1Text("\n"))}};
    seeds["PfbHeader"] = {{"good", bytesOf(text)},
                          {"binary", joined({Bytes{0x80, 1, 0, 0, 0, 0}, bytesOf(text)})},
                          {"late", joined({Bytes(2044, 'x'), bytesOf("%\r/FontName /A def\r")})}};
    seeds["Pfm"] = {{"good", PfmBuilder().bytes()}};
    seeds["TokenScanner"] = {{"words", bytesOf("Copyright 1990, 12 Acme-Bold. - 12,1990 .x")}};
}

void addFoundries(Seeds& seeds) {
    constexpr std::string_view kNotices[] = {"Copyrighted (c) 1990 acme type Inc. All rights",
                                             "Copyright 1990 Acme, Inc.",
                                             "(c) Acme",
                                             "\\(c\\) Acme.",
                                             "\xA9 1990 Acme",
                                             "Copyrighted \xA9 C Acme"};
    for (const std::string_view notice : kNotices) {
        seeds["FoundryName"][std::to_string(seeds["FoundryName"].size())] =
            joined({shortPart("acme"), bytesOf(notice)});
    }
    seeds["FoundryLists"] = {
        {"two", joined({shortPart("(c) Acme Type"), shortPart("ACME"), Bytes{0, 15},
                        bytesOf("Zeta\nAcme\nType\n"), bytesOf("ACME\tAcme\n\nX\nZETA\t\tZeta")})}};
    seeds["RecordJson"] = {
        {"two", joined({Bytes{0, 0, 0}, shortPart("Acme \xA9 \"Sans\"\n"), Bytes{128, 43, 1},
                        shortPart("caf\xC3\xA9 \xED\xA0\x80")})}};
    seeds["MacRoman"] = {{"all", joined({bytesOf("Acme \xA9\xDB\xF0\x80 "), Bytes(200, 0xDE)})}};
}

Bytes suitcase() {
    FondBuilder family = FondBuilder::helvetica({12, 0, 300});
    family.entries.push_back({0, 1, 301});
    return ResourceForkBuilder()
        .add("FOND", 20, family.build(), "Helvetica")
        .add("NFNT", 300, strike(), "Plain")
        .add("sfnt", 301, outline())
        .build();
}

Bytes multipleMaster() {
    return ResourceForkBuilder()
        .add("FOND", 20, FondBuilder::helvetica({9, 3, 300}).build(), "%MMAcme_400 BD")
        .add("FOND", 21, FondBuilder::helvetica({9, 300, 300}).build(), "AcmeMM")
        .add("FONT", 300, strike(400))
        .build();
}

Bytes printerFont() {
    return postChunks({{1, type1Program()}, {2, "binary"}, {5, ""}}).build();
}

void addMac(Seeds& seeds) {
    const Bytes small =
        ResourceForkBuilder().add("FOND", 1, Bytes(60), "Acme").add("sfnt", -2, Bytes(9)).build();
    seeds["ResourceFile"] = {
        {"small", small},
        {"placeholder", placeholderFork()},
        {"twice", ResourceForkBuilder().add("FOND", 1, {}).addTypeAgain("FOND", "FOND").build()}};
    seeds["ResourceWriter"] = {
        {"two", joined({bytesOf("FOND"), Bytes{0, 1, 0}, shortPart("Acme"), Bytes{0, 3, 1, 2, 3},
                        bytesOf("sfnt"), Bytes{0, 2, 1}, shortPart(""), Bytes{0, 0}})}};
    seeds["Suitcase"] = {{"family", suitcase()}, {"masters", multipleMaster()}};
    seeds["Dfont"] = {{"family", suitcase()}, {"small", small}};
    seeds["PSOutline"] = {{"fork", behind(0, printerFont())},
                          {"text", behind(1, bytesOf(type1Program()))}};
    seeds["AppleDouble"] = {
        {"double", appleDouble("FFIL", "DMOV", small)},
        {"single",
         appleFile(0x00051600, {{1, {}}, {9, finderInfoBytes("FFIL", "DMOV")}, {2, small}})}};
    MacBinaryOptions old;
    old.version = 1;
    seeds["MacBinary"] = {{"three", macBinary(small)}, {"one", macBinary(small, old)}};
    seeds["BinHex"] = {{"good", behind(7, binHex(small))}};
    seeds["FinderRecords"] = {{"dat", finderDat({{"Acme", "ACME    TTF", "FFIL", "DMOV"},
                                                 {"Zeta", "ZETA       ", "FFIL", "DMOV"}},
                                                512)},
                              {"afp", afpInfo("FFIL", "DMOV")}};
    std::uint8_t layout = 0;
    for (const Bytes& file :
         {appleDouble("FFIL", "DMOV", small), small, afpInfo("FFIL", "DMOV"), macBinary(small),
          binHex(small),
          appleFile(0x00051600, {{9, finderInfoBytes("FFIL", "DMOV")}, {2, small}})}) {
        for (std::uint8_t place = 0; place < 16; ++place) {
            seeds["ForkLocator"][std::to_string(layout++)] = behind(place, file);
        }
    }
}

// WOFF 1.0, each table stored as it is.
Bytes woffOf(const Bytes& font) {
    constexpr std::uint32_t kHeader = 44;
    const ByteView sfnt(font.data(), font.size());
    const std::uint16_t count = sfnt.u16be(4);
    BigEndian directory;
    BigEndian data;
    const std::uint32_t start = kHeader + 20U * count;
    for (std::uint32_t i = 0; i < count; ++i) {
        const ByteView record = sfnt.slice(12 + 16 * i, 16);
        const std::uint32_t length = record.u32be(12);
        const auto at = start + static_cast<std::uint32_t>(Bytes(data).size());
        directory.u32(record.u32be(0)).u32(at).u32(length).u32(length).u32(record.u32be(4));
        const ByteView table = sfnt.clamped(record.u32be(8), length);
        data.append(Bytes(table.data(), table.data() + table.size())).zeros((4 - length % 4) % 4);
    }
    const auto total = start + static_cast<std::uint32_t>(Bytes(data).size());
    const auto unpacked = static_cast<std::uint32_t>((font.size() + 3) / 4 * 4);
    return BigEndian()
        .text("wOFF")
        .u32(sfnt.u32be(0))
        .u32(total)
        .u16(count)
        .u16(0)
        .u32(unpacked)
        .zeros(24)
        .append(directory)
        .append(data);
}

Bytes woff2Of(const Bytes& font) {
    Bytes packed(woff2::MaxWOFF2CompressedSize(font.data(), font.size()));
    std::size_t size = packed.size();
    packed.resize(woff2::ConvertTTFToWOFF2(font.data(), font.size(), packed.data(), &size) ? size
                                                                                           : 0);
    return packed;
}

constexpr std::string_view kAfm =
    "StartFontMetrics 4.1\nFontName Acme-Bold\nFullName Acme Bold\nFamilyName Acme\n"
    "Weight Bold\nItalicAngle 0\nIsFixedPitch false\nStartCharMetrics 2\n"
    "C 32 ; WX 250 ; N space ; B 0 0 0 0 ;\nC 65 ; WX 722 ; N A ; B 15 0 706 674 ;\n"
    "EndCharMetrics\nStartKernData\nStartKernPairs 1\nKPX A space -55\nEndKernPairs\n"
    "EndKernData\nEndFontMetrics\n";

// What the modern reading is given, each also as a file of some name.
void addReaders(Seeds& seeds) {
    const Bytes sound = adjusted(soundFont());
    const Bytes bareCff = bytesOf("\1\0\4\1\0\1\1\1\5Acme");
    seeds["SfntFace"] = {{"sound", sound},
                         {"kerning", kerningFont().build()},
                         {"shared", seeds["Collection"]["shared"]}};
    seeds["WoffFace"] = {{"sound", woffOf(sound)}};
    seeds["Woff2Face"] = {
        {"sound", woff2Of(adjusted(soundFont().table("loca", Bytes(10)).table("glyf", Bytes(2))))}};
    seeds["Type1Face"] = {
        {"pfb", pfbFile(acmeType1Text())}, {"text", bytesOf(type1Program())}, {"cff", bareCff}};
    seeds["MetricsFace"] = {{"pfm", PfmBuilder().bytes()}, {"sound-afm", bytesOf(kAfm)}};
    seeds["MacFace"] = {
        {"family", suitcase()}, {"masters", multipleMaster()}, {"printer", printerFont()}};
    std::uint8_t name = 0;
    for (const char* target : {"SfntFace", "WoffFace", "Type1Face", "MetricsFace", "MacFace"}) {
        for (const auto& [seed, bytes] : seeds[target]) {
            seeds["Recognition"][std::string(target) + "-" + seed] = behind(name++, bytes);
        }
    }
    seeds["Recognition"]["macbinary"] = behind(7, macBinary(suitcase()));
}

void addImport(Seeds& seeds) {
    const auto fields = [](std::string_view family, std::string_view foundry,
                           std::string_view file) {
        return joined({shortPart(family), shortPart(foundry), bytesOf(file)});
    };
    seeds["ImportPath"] = {{"good", fields("Garamond", "Acme", "GaramondBold.ttf")},
                           {"up", fields("../..", "..", "x.ttf")},
                           {"root", fields("/etc", "", "passwd")},
                           {"dots", fields(".", "//", "..")}};
}

}  // namespace

Seeds makeSeeds() {
    Seeds seeds;
    addSfnt(seeds);
    addType1(seeds);
    addFoundries(seeds);
    addMac(seeds);
    addImport(seeds);
    addReaders(seeds);
    return seeds;
}
