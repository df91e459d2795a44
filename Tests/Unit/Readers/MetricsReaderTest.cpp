#include "MetricsReader.h"

#include "FolderPartners.h"
#include "ReaderTest.h"
#include "Type1Builder.h"
#include "Type1Reader.h"

namespace {

std::string pfm(const PfmBuilder& builder = PfmBuilder()) {
    return std::string(builder.bytes().begin(), builder.bytes().end());
}

TEST(MetricsReader, ReadsPfm) {
    std::string file = pfm();
    file.replace(6, 9, "(c) Acme\xE9", 9);
    file[80] = 1;                        // dfItalic
    file[83] = '\x58', file[84] = '\2';  // dfWeight
    file[96] = 2;                        // dfLastChar
    const std::string kerned = file + std::string("\2\0AB\1\0AC\1\0", 10);
    EXPECT_EQ(
        "format=metrics container=pfm family=Acme postscriptName=Acme-Bold "
        "copyright=(c) Acme\xC3\xA9 weight=600 italic=true glyphs=3",
        shown(readOne(readPfm, file)));
    PfmBuilder plain;
    std::string withPairs =
        pfm(plain.set("kern pair offset", plain.size()).set("size", plain.size() + 10)) +
        kerned.substr(file.size());
    withPairs[195] = 2;  // etmKernPairs
    EXPECT_EQ("2", shown(readOne(readPfm, withPairs), "kerningPairs"));
    EXPECT_EQ("note 15001", problems(readOne(readPfm, withPairs)));
}

TEST(MetricsReader, ChecksThePfmWhereItsExtensionSays) {
    const auto patched = [](std::string_view field, std::uint32_t value) {
        return pfm(PfmBuilder().set(field, value));
    };
    std::string moved = patched("metrics offset", PfmBuilder().size()) + pfm().substr(147, 52);
    moved[2] = static_cast<char>(moved.size());
    moved[147] = 99;  // no metrics any more
    const std::pair<std::string, std::string> rows[] = {
        {moved, ""},
        {patched("version", 0x200), "warning 15100 512, should be 256; "},
        {patched("size", 9), "note 15105 9, should be 231; "},
        {patched("size", 999), "warning 15105 999, should be 231; "},
        {patched("device", 0), "error 15110 0; "},
        {patched("face", 231), "error 15113 231, file has 231 bytes; "},
        {patched("driver offset", 0), "error 15208 0; "},
        {patched("metrics offset", 180), "error 15201 180, file has 231 bytes; "},
        {patched("extents offset", 230), "error 20401 0, should be 1; "},
        {patched("kern pair offset", 217), "error 20402"},
        {patched("master units", 2048), "note 15306 2048, should be 1000; "},
        {pfm().substr(0, 140), "error 15000 140, should be at least 147; "},
    };
    for (const auto& [bytes, expected] : rows) {
        EXPECT_THAT(problems(readOne(readPfm, bytes)), testing::StartsWith(expected));
    }
    for (std::size_t size = 0; size < 231; ++size) {
        EXPECT_NE("", problems(readOne(readPfm, pfm().substr(0, size))));
    }
}

const std::string kAfm =
    "StartFontMetrics 4.1\r\nFontName Acme-Bold\r\nFullName \tAcme Bold \r\nFamilyName Acme\r\n"
    "Weight Bold\r\nItalicAngle -12.50\r\nIsFixedPitch false\r\nVersion 1.0\r\nNotice (c) "
    "Acm\xE9\r\n"
    "StartCharMetrics 2\r\nC 32 ; WX 9 ; N space ;\r\nCH <41> ; WX 9 ; N A ;\r\nEndCharMetrics\r\n"
    "StartKernData\r\nStartKernPairs 1\r\nKPX A A 1\r\nEndKernPairs\r\nEndKernData\r\n"
    "EndFontMetrics\r\n\x1A";

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = text.find(what); at != text.npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

TEST(MetricsReader, ReadsAfmWhateverItsLineEnds) {
    for (const std::string lineEnd : {"\r\n", "\r", "\n"}) {
        const OxFont font = readOne(readAfm, replaced(kAfm, "\r\n", lineEnd));
        EXPECT_EQ(
            "format=metrics container=afm family=Acme fullName=Acme Bold "
            "postscriptName=Acme-Bold version=1.0 copyright=(c) Acm\xC3\xA9 weight=700 "
            "italic=true monospace=false italicAngle=-12.5 glyphs=2 kerningPairs=1",
            shown(font));
        EXPECT_EQ("", problems(font));
    }
}

TEST(MetricsReader, SetsNoNumberThatIsNone) {
    for (const std::string angle : {"nan", "inf", "1e307", "1e999"}) {
        const OxFont font = readOne(readAfm, replaced(kAfm, "-12.5", angle));
        EXPECT_EQ("", shown(font, "italicAngle")) << angle;
    }
}

TEST(MetricsReader, SaysWhatIsWrongWithAnAfm) {
    const std::pair<std::string, std::string> rows[] = {
        {replaced(kAfm, "CharMetrics 2", "CharMetrics 3"), "note 20404 2, claimed are 3"},
        {replaced(kAfm, "Pairs 1", "Pairs 2"), "note 20404 1, claimed are 2"},
        {replaced(kAfm, "EndFontMetrics", ""), "warning 20405 EndFontMetrics"},
        {replaced(kAfm, "EndKernPairs", ""), "warning 20405 EndKernPairs"},
        {replaced(kAfm, "FontName", "Name"), "warning 20406 FontName"},
    };
    for (const auto& [bytes, expected] : rows) {
        EXPECT_EQ(expected, problems(readOne(readAfm, bytes)));
    }
}

TEST(MetricsReader, FindsPartnersWhateverTheCase) {
    const TemporaryFolder folder;
    const fs::path pfmFile = folder.write("acme.pfm", "");
    const fs::path afmFile = folder.write("Acme.AFM", "");
    const fs::path program = folder.write("ACME.Pfb", pfbFile(acmeType1Text()));
    folder.write("acme2.inf", "");
    fs::create_directory(folder.path() / "acme.inf");
    const auto list = [](const fs::path& path) { return "[" + path.string() + "]"; };

    const OxFont metrics = readOne(readPfm, pfm(), "", pfmFile);
    EXPECT_EQ(list(program), shown(metrics, "outline"));
    EXPECT_EQ("", problems(metrics));
    const std::string text = acmeType1Text();
    EXPECT_EQ("[" + pfmFile.string() + "," + afmFile.string() + "]",
              shown(readOne(readType1, text, "", program), "metrics"));
    EXPECT_EQ("note 20400 Acme-Bald, in ACME.Pfb Acme-Bold",
              problems(readOne(readAfm, replaced(kAfm, "Acme-Bold", "Acme-Bald"), "", afmFile)));
    folder.write("ACME.Pfb", "no program");
    EXPECT_EQ("warning 15002 ACME.Pfb", problems(readOne(readPfm, pfm(), "", pfmFile)));
    folder.write("ACME.Pfb", "\x80\x01");  // shorter than a segment's header
    EXPECT_EQ("", problems(readOne(readPfm, pfm(), "", pfmFile)));
    fs::remove(program);
    EXPECT_EQ("note 15001", problems(readOne(readPfm, pfm(), "", pfmFile)));
}

}  // namespace
