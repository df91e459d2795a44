#include "OxParserPFMImp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <log4cpp/Category.hh>
#include <log4cpp/StringQueueAppender.hh>
#include <memory>

#include "FileBytes.h"
#include "Md5.h"
#include "Type1Builder.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class OxParserPFMImpTest : public testing::Test {
  protected:
    std::unique_ptr<OxFont> parse(const boost::filesystem::path& file) {
        const std::unique_ptr<boost::ptr_vector<OxFont>> fonts(parser_.parseFontFile(file));
        EXPECT_EQ(fonts->size(), 1u);
        return std::unique_ptr<OxFont>(fonts->release(fonts->begin()).release());
    }
    std::unique_ptr<OxFont> parse(const Bytes& bytes) {
        return parse(folder_.write("font.pfm", bytes));
    }
    std::vector<std::string> diagnosticsWith(std::string_view field, std::uint32_t value) {
        return diagnosticLines(*parse(PfmBuilder().set(field, value).bytes()));
    }

    TemporaryFolder folder_;
    OxParserPFMImp parser_;
};

TEST_F(OxParserPFMImpTest, TakesFilesByTheirExtension) {
    EXPECT_TRUE(parser_.inspectFont("font.pfm"));
    EXPECT_TRUE(parser_.inspectFont("FONT.PFM"));
    EXPECT_FALSE(parser_.inspectFont("font.pfb"));
    EXPECT_TRUE(parser_.diagnoseFont("font"));
    EXPECT_TRUE(parser_.repairFont("font"));
}

TEST_F(OxParserPFMImpTest, AGoodFileHasNoDiagnostics) {
    const Bytes bytes = PfmBuilder().bytes();
    const auto font = parse(bytes);
    EXPECT_THAT(diagnosticLines(*font), ElementsAre());
    EXPECT_THAT(
        font->attributes(),
        UnorderedElementsAre(
            std::pair(eFontFilePath, folder_.path().string()), std::pair(eFileName, "font.pfm"),
            std::pair(eFoundry, "Unknown"), std::pair(eItalic, "false"),
            std::pair(eFingerprint, md5Hex(ByteView(bytes.data(), bytes.size())))));
    const auto italic = [this](std::uint32_t flags) {
        return parse(PfmBuilder().set("italic", flags).bytes())->getAttribute(eItalic);
    };
    EXPECT_EQ(italic(1), "true");
    EXPECT_EQ(italic(0xFE), "false") << "bit 0 decides";
}

TEST_F(OxParserPFMImpTest, EveryRuleFiresAlone) {
    struct Case {
        const char* field;
        std::uint32_t value;
        const char* line;
    };
    static constexpr Case kCases[] = {
        {"version", 512, "warning 15100 header= 512"},
        {"version", 0, "warning 15100 header= 0"},
        {"size", 4000000000u, "warning 15105 size= 4000000000"},
        {"type", 0x0080, "warning 15106 type= 128"},
        {"vertical resolution", 65535, "warning 15107 vertical resolution= 65535"},
        {"horizontal resolution", 0, "warning 15108 horizontal resolution= 0"},
        {"width bytes", 2, "note 15109 width bytes= 2"},
        {"device", 0, "error 15110 device offset= 0"},
        {"device", 0xFFFFFFFF, "error 15111 device offset= 4294967295"},
        {"face", 0, "error 15112 face offset= 0"},
        {"face", 70000, "error 15113 face offset= 70000"},
        {"extension size", 28, "error 15200 extension size = 28"},
        {"metrics offset", 0, "error 15210 extension metrics offset = 0"},
        {"extents offset", 0, "error 15211 extents offset = 0"},
        {"origin offset", 0x80000000, "warning 15212 origin table offset = 2147483648"},
        {"kern pair offset", 70000, "error 15204 kern pair table offset = 70000"},
        {"kern track offset", 70000, "error 15205 kern track table offset = 70000"},
        {"reserved", 9, "warning 15207 extension reserved = 9"},
        {"driver offset", 70000, "error 15209 extension driver offset = 70000"},
        {"driver offset", 0, "error 15208 extension driver offset = 0"},
        {"metrics size", 53, "warning 15300 extended text metrics size = 53"},
        {"point size", 200, "note 15301 extended text metrics point size = 200"},
        {"orientation", 65535, "note 15302 extended text metrics orientation = 65535"},
        {"master height", 999, "note 15303 extended text metrics master height = 999"},
        {"min scale", 4, "note 15304 extended text metrics min scale = 4"},
        {"max scale", 2000, "note 15305 extended text metrics max scale = 2000"},
        {"master units", 2048, "note 15306 extended text metrics master units = 2048"},
        {"superscript", 5, "note 15306 extended text metrics superscript offset = 5"},
    };
    for (const Case& c : kCases) {
        EXPECT_THAT(diagnosticsWith(c.field, c.value), ElementsAre(c.line));
    }
}

TEST_F(OxParserPFMImpTest, BordersAreAllowed) {
    const std::uint32_t size = PfmBuilder().size();
    for (const char* field :
         {"size", "device", "face", "kern pair offset", "kern track offset", "driver offset"}) {
        EXPECT_THAT(diagnosticsWith(field, size), ElementsAre()) << field;
        EXPECT_EQ(diagnosticsWith(field, size + 1).size(), 1u) << field;
    }
    EXPECT_THAT(diagnosticsWith("size", 1), ElementsAre()) << "a smaller claim is fine";
    EXPECT_THAT(diagnosticsWith("metrics size", 0), ElementsAre());
}

TEST_F(OxParserPFMImpTest, FileLengthsAroundTheMinimum) {
    for (const auto& [length, line] :
         {std::pair(0u, "error 10000 file length = 0"), {198u, "error 10000 file length = 198"}}) {
        const auto font = parse(Bytes(length, 1));
        EXPECT_THAT(diagnosticLines(*font), ElementsAre(line));
        EXPECT_EQ(font->attributes().size(), 3u);
    }
    // The order of findings is the order of the rules, not of the fields.
    const auto font = parse(Bytes(199));
    EXPECT_THAT(
        diagnosticLines(*font),
        ElementsAre("warning 15100 header= 0", "warning 15106 type= 0",
                    "warning 15107 vertical resolution= 0",
                    "warning 15108 horizontal resolution= 0", "error 15110 device offset= 0",
                    "error 15112 face offset= 0", "error 15200 extension size = 0",
                    "error 15210 extension metrics offset = 0", "error 15211 extents offset = 0",
                    "error 15208 extension driver offset = 0",
                    "note 15301 extended text metrics point size = 0",
                    "note 15303 extended text metrics master height = 0",
                    "note 15304 extended text metrics min scale = 0",
                    "note 15305 extended text metrics max scale = 0",
                    "note 15306 extended text metrics master units = 0"));
    const auto full = diagnosticLines(*parse(Bytes(199, 0xFF)));
    const auto position = [&full](const char* part) {
        return std::find_if(full.begin(), full.end(), [part](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    };
    EXPECT_EQ(full.size(), 22u);
    EXPECT_LT(position("15207"), position("15209")) << "reserved before driver";
    EXPECT_EQ(full.back(), "note 15306 extended text metrics superscript offset = 65535");
}

TEST_F(OxParserPFMImpTest, FilesThatCannotBeRead) {
    EXPECT_THAT(diagnosticLines(*parse(folder_.path() / "missing.pfm")),
                ElementsAre("error -1001"));
    const auto pipe = folder_.path() / "pipe.pfm";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(diagnosticLines(*parse(pipe)), ElementsAre("error -1001"));

    const auto huge = folder_.write("huge.pfm", PfmBuilder().bytes());
    boost::filesystem::resize_file(huge, kTooLargeToRead);
    EXPECT_THAT(diagnosticLines(*parse(huge)),
                ElementsAre("error 0 Font file is too large to read"));
}

TEST_F(OxParserPFMImpTest, AShortReadGivesNoDiagnostic) {
    // Its size says one page, and it reads as a few bytes.
    const boost::filesystem::path file("/sys/devices/system/cpu/online");
    if (regularFileSize(file).value_or(0) < 4096) {
        GTEST_SKIP() << "no such file on this system";
    }
    const auto font = parse(file);
    EXPECT_THAT(diagnosticLines(*font), ElementsAre());
    EXPECT_EQ(font->attributes().size(), 3u);
}

TEST_F(OxParserPFMImpTest, ChecksOutsideOfAParseReadNothing) {
    parse(PfmBuilder().bytes());
    OxFont font;
    EXPECT_TRUE(parser_.check_T1_kernPairs(font));
    EXPECT_TRUE(parser_.check_T1_kernTrack(font));
    EXPECT_THROW(parser_.check_T1_header(font, 1000), ReadPastEnd);
    EXPECT_THAT(diagnosticLines(font), ElementsAre());
}

TEST_F(OxParserPFMImpTest, LogsUnderThePfbParsersCategory) {
    // The category owns its appender.
    auto* lines = new log4cpp::StringQueueAppender("lines");
    log4cpp::Category& category = log4cpp::Category::getInstance("OxParserPFBImp");
    category.addAppender(lines);
    parse(PfmBuilder().bytes());
    std::vector<std::string> logged;
    while (lines->queueSize() != 0) {
        logged.push_back(lines->popMessage());
    }
    category.removeAppender(lines);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_THAT(logged[0], testing::HasSubstr("INFO OxParserPFBImp"));
    EXPECT_THAT(logged[0], testing::HasSubstr("parseFontFile:  \n"));
}

TEST_F(OxParserPFMImpTest, DamageNeverEscapes) {
    const Bytes good = PfmBuilder().bytes();
    for (std::size_t length = 0; length < good.size(); ++length) {
        const auto font =
            parse(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
        ASSERT_EQ(font->attributes().count(eItalic), length > 198 ? 1u : 0u) << length;
    }
    for (std::size_t i = 0; i < good.size(); ++i) {
        Bytes flipped = good;
        flipped[i] ^= 0xFF;
        ASSERT_EQ(parse(flipped)->attributes().count(eItalic), 1u) << i;
    }
}

}  // namespace
