#include "OxParserPFBImp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>

#include "FileBytes.h"
#include "Md5.h"
#include "ParserSupport.h"
#include "Type1Builder.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class OxParserPFBImpTest : public testing::Test {
  protected:
    std::unique_ptr<OxFont> parse(const boost::filesystem::path& file) {
        const std::unique_ptr<boost::ptr_vector<OxFont>> fonts(parser_.parseFontFile(file));
        EXPECT_EQ(fonts->size(), 1u);
        return std::unique_ptr<OxFont>(fonts->release(fonts->begin()).release());
    }
    std::unique_ptr<OxFont> parse(const Bytes& bytes) {
        return parse(folder_.write("font.pfb", bytes));
    }

    TemporaryFolder folder_;
    OxParserPFBImp parser_;
};

TEST_F(OxParserPFBImpTest, TakesFilesByTheirExtension) {
    EXPECT_TRUE(parser_.inspectFont("/nowhere/font.pfb"));
    EXPECT_TRUE(parser_.inspectFont("FONT.PfB"));
    EXPECT_TRUE(parser_.inspectFont(".pfb"));
    EXPECT_FALSE(parser_.inspectFont("font.pfm"));
    EXPECT_FALSE(parser_.inspectFont("font.pfb.gz"));
    EXPECT_FALSE(parser_.inspectFont("font"));
    EXPECT_TRUE(parser_.diagnoseFont("font"));
    EXPECT_TRUE(parser_.repairFont("font"));
}

TEST_F(OxParserPFBImpTest, RecordsNamesTypeAndFingerprint) {
    const Bytes bytes = pfbFile(acmeType1Text());
    const auto font = parse(bytes);
    EXPECT_THAT(
        font->attributes(),
        UnorderedElementsAre(
            std::pair(eFontFilePath, folder_.path().string()), std::pair(eFileName, "font.pfb"),
            std::pair(eFingerprint, md5Hex(ByteView(bytes.data(), bytes.size()))),
            std::pair(ePostscriptname, "Acme-Bold"), std::pair(eFullname, "Acme Bold"),
            std::pair(eFamilyname, "Acme"),
            std::pair(eCopyright, "Copyrighted 1990 acme type inc. All (or most) rights"),
            // The name from the notice is looked up once more, as a text that names a foundry.
            std::pair(eFoundry, "Unknown"), std::pair(eWeight, "(Bold)"),
            std::pair(eFontVersion, "001.003"), std::pair(eType, "PFB")));
    EXPECT_THAT(diagnosticLines(*font), ElementsAre());
}

TEST_F(OxParserPFBImpTest, AFileWithoutAProgramHasEmptyNames) {
    parse(pfbFile(acmeType1Text()));
    for (const Bytes& bytes : {Bytes{}, bytesOf("no font"), Bytes(5000, 0x80)}) {
        const auto font = parse(bytes);
        EXPECT_EQ(font->attributes().size(), 11u);
        EXPECT_EQ(font->getAttribute(ePostscriptname), "") << "nothing of the file before";
        EXPECT_EQ(font->getAttribute(eFoundry), "Unknown");
        EXPECT_EQ(font->getFontType(), OxFont::PFB);
        EXPECT_THAT(diagnosticLines(*font), ElementsAre());
    }
}

TEST_F(OxParserPFBImpTest, TextIsReadUpToTheEndOfAFileWithoutZeroBytes) {
    // A mebibyte: the buffer's own rounding leaves no room behind the file.
    std::string text = type1Text({"%!PS-AdobeFont-1.0: Acme"});
    const std::string last = "/Weight last";
    text += std::string((1u << 20) - text.size() - last.size() - 1, '.') + "\r" + last;
    EXPECT_EQ(parse(bytesOf(text))->getAttribute(eWeight), "last");
    // A shorter file must not see what the longer one left in the buffer.
    EXPECT_EQ(parse(bytesOf("%!PS-Adobe\r/Weight sh"))->getAttribute(eWeight), "sh");
}

TEST_F(OxParserPFBImpTest, FilesWithoutAReadableStatus) {
    const auto expectNoStatus = [this](const boost::filesystem::path& file) {
        const auto font = parse(file);
        EXPECT_THAT(diagnosticLines(*font), ElementsAre("error -1001"));
        EXPECT_EQ(font->attributes().size(), 3u) << "the paths and the unknown foundry";
        EXPECT_EQ(font->getAttribute(eType), "");
    };
    expectNoStatus(folder_.path() / "missing.pfb");
    const auto pipe = folder_.path() / "pipe.pfb";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    expectNoStatus(pipe);
    boost::filesystem::create_directory(folder_.path() / "folder.pfb");
    expectNoStatus(folder_.path() / "folder.pfb");
}

TEST_F(OxParserPFBImpTest, AShortReadIsAnError) {
    // Its size says one page, and it reads as a few bytes.
    const boost::filesystem::path file("/sys/devices/system/cpu/online");
    if (regularFileSize(file).value_or(0) < 4096) {
        GTEST_SKIP() << "no such file on this system";
    }
    const auto font = parse(file);
    EXPECT_THAT(diagnosticLines(*font), ElementsAre("error -1003"));
    EXPECT_EQ(font->attributes().count(eFingerprint), 0u);
}

TEST_F(OxParserPFBImpTest, HugeFilesAreRefused) {
    const auto file = folder_.write("huge.pfb", "%!PS");
    boost::filesystem::resize_file(file, kTooLargeToRead);
    const auto font = parse(file);
    EXPECT_THAT(diagnosticLines(*font), ElementsAre("error 0 Font file is too large to read"));
    EXPECT_EQ(font->attributes().size(), 3u);
}

TEST_F(OxParserPFBImpTest, DamageNeverEscapes) {
    const Bytes good = pfbFile(acmeType1Text());
    for (std::size_t length = 0; length < good.size(); ++length) {
        ASSERT_EQ(parse(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)))
                      ->getFontType(),
                  OxFont::PFB)
            << length;
    }
    for (std::size_t i = 0; i < good.size(); ++i) {
        Bytes flipped = good;
        flipped[i] ^= 0xFF;
        ASSERT_EQ(parse(flipped)->getFontType(), OxFont::PFB) << i;
    }
}

TEST(ParserSupport, ReadsNoFileThatHasGrownTooLargeSinceItsStatusWasRead) {
    const TemporaryFolder folder;
    const boost::filesystem::path file = folder.write("grown.pfb", "%!PS");
    FileBytes bytes;
    ByteBuffer buffer;
    ASSERT_TRUE(readWhole(file, 4, bytes, buffer, 2));
    EXPECT_EQ(buffer.size(), 6u);
    FileBytes shrunk;
    EXPECT_FALSE(readWhole(file, 5, shrunk, buffer));
    boost::filesystem::resize_file(file, kTooLargeToRead);
    FileBytes grown;
    EXPECT_THROW(readWhole(file, 4, grown, buffer), std::bad_alloc);
}

}  // namespace
