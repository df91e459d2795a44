#include "MacFontReader.h"

#include <gtest/gtest.h>

#include <sstream>

#include "BigEndian.h"
#include "ContainedDataFork.h"
#include "FondRecord.h"
#include "MacFileLook.h"
#include "MacFontBuilder.h"
#include "Md5.h"
#include "PrinterFileName.h"
#include "ResourceForkBuilder.h"
#include "StrikeRecord.h"
#include "Support.h"

namespace {

namespace fs = boost::filesystem;

// Characters A to C, the missing one and the end, all but B with a glyph 5 points wide.
Bytes smallStrike() {
    BigEndian nfnt;
    nfnt.u16(0x9000).u16(65).u16(67).u16(5).u16(0).u16(0).u16(5).u16(2).u16(12);
    nfnt.u16(2).u16(0).u16(0).u16(1).u16(0xF0F0).u16(0x0F0F);
    for (const unsigned place : {0U, 5U, 5U, 10U, 15U}) {
        nfnt.u16(place);
    }
    for (const unsigned width : {0x0005U, 0xFFFFU, 0x0005U, 0x0005U, 0xFFFFU}) {
        nfnt.u16(width);
    }
    return nfnt.padTo(50);
}

std::string shown(const OxPropertyValue* value) {
    std::ostringstream out;
    if (value == nullptr) {
        return "-";
    }
    if (value->text() != nullptr) {
        out << *value->text();
    } else if (value->number() != nullptr) {
        out << *value->number();
    } else if (value->flag() != nullptr) {
        out << (*value->flag() ? "yes" : "no");
    } else if (const OxProperties* object = value->object()) {
        out << shown(object->find("type")) << " " << shown(object->find("id"));
    }
    return out.str();
}

/// Reads a fork of the file "Fonts" in a folder of its own.
class MacFontReaderTest : public testing::Test {
  protected:
    FontFaces& read(const Bytes& fork, bool inDataFork = false) {
        WorkLimit work(fork.size());
        const fs::path file = folder_.path() / "Fonts";
        FaceContext context{file, {}, "", "", work};
        const ResourceFileOrigin origin{inDataFork, inDataFork ? "" : "place",
                                        [this] { return ByteView(dataFork_); }};
        faces_.clear();
        readMacFonts(ByteView(fork), origin, forks_, context, faces_);
        return faces_;
    }

    /// A face a line: the properties, then the codes of the findings, errors with "!".
    std::string lines(const Bytes& fork, const std::vector<const char*>& properties) {
        std::string text;
        for (const OxFont& face : read(fork)) {
            for (const char* const property : properties) {
                text += shown(face.properties().find(property)) + " ";
            }
            for (const FontDiagnostic& found : face.diagnostics()) {
                if (found.code >= 20500) {
                    text += std::to_string(found.code) + (found.type == eError ? "! " : " ");
                }
            }
            text.back() = '\n';
        }
        return text;
    }

    MacFile look(const fs::path& file) {
        bytes_ = readFile(file);
        return lookAtMacFile(forks_, inHand(file));
    }
    FileInHand inHand(const fs::path& file) {
        bytes_ = readFile(file);
        return {file, bytes_.size(), ByteView(bytes_).clamped(0, 4096),
                [this] { return ByteView(bytes_); }};
    }

    TemporaryFolder folder_;
    ForkLocator forks_;
    FontFaces faces_;
    Bytes dataFork_;
    Bytes bytes_;
};

TEST_F(MacFontReaderTest, OneFaceAResourceInTheOrderOfFamiliesThenOfTypes) {
    const Bytes fork = ResourceForkBuilder()
                           .add("POST", 501, bytesOf(std::string("\1\0", 2) + type1Program()))
                           .add("POST", 502, {5, 0})
                           .add("FONT", 2 * 128, {}, "Geneva")
                           .add("FONT", 2 * 128 + 9, smallStrike())
                           .add("NFNT", 7, smallStrike(), "seven")
                           .add("NFNT", 8, smallStrike())
                           .add("NFNT", 9, smallStrike())
                           .add("sfnt", 6, outline())
                           .add("sfnt", 5, outline())
                           .add("FOND", 300, FondBuilder::of({{12, 3, 7}, {0, 0, 5}}), "Second\x8E")
                           .add("FOND", 200, FondBuilder::of({{14, 1, 8}, {9, 0, 7}}), "First")
                           .build();
    EXPECT_EQ(lines(fork, {"resource"}),
              "NFNT 7 20513\nsfnt 5\nNFNT 8\nsfnt 6\nNFNT 9\nFONT 265\nPOST 501\n");
    const auto strikeLine = [this](std::size_t face) {
        std::string line;
        for (const char* const property : {"family", "size", "weight", "italic", "glyphs"}) {
            line += shown(faces_[face].properties().find(property)) + " ";
        }
        return line;
    };
    EXPECT_EQ(strikeLine(0), "Second\u00E9 12 700 yes 3 ");
    EXPECT_EQ(strikeLine(2), "First 14 700 no 3 ");
    EXPECT_EQ(strikeLine(4), "- - - - 3 ");
    EXPECT_EQ(strikeLine(5), "Geneva 9 - - 3 ");
    const OxFont& strike = faces_[0];
    EXPECT_EQ(strike.diagnostics()[0].text, "also by First");
    EXPECT_EQ(shown(strike.properties().find("container")), "printer-font");
    EXPECT_EQ(shown(strike.properties().find("fork")), "place");
    EXPECT_EQ(strike.getAttribute(eFingerprint), md5Hex(ByteView(smallStrike())));
    EXPECT_EQ(strike.resources(),
              (std::vector<std::pair<int, int>>{{0x464F4E44, 300}, {0x4E464E54, 7}}));
    for (const auto& [key, value] : {std::pair(eResourcename, "Second\u00E9"),
                                     {eFontId, "7"},
                                     {eStyle, "3"},
                                     {eFntSize, "50"},
                                     {ePlatform, "Macintosh"},
                                     {eType, "Bi"},
                                     {eMultipleMaster, "NO"}}) {
        EXPECT_EQ(strike.getAttribute(key), value) << key;
    }
    EXPECT_EQ(faces_[6].getAttribute(eType), "T1Outline");
}

TEST_F(MacFontReaderTest, DamageIsAFindingOnAFace) {
    const Bytes fond = FondBuilder::of({{12, 0, 7}});
    const auto patched = [](Bytes bytes, std::size_t at, std::uint8_t value) {
        bytes.at(at) = value;
        return bytes;
    };
    const auto with = [&](const Bytes& family, const Bytes& strike) {
        return ResourceForkBuilder().add("FOND", 1, family, "F").add("NFNT", 7, strike);
    };
    ResourceForkBuilder good = with(fond, smallStrike());
    const Bytes compressed =
        ResourceForkBuilder().add("FOND", 1, fond, "F").add("NFNT", 7, compressedResource(), "", 1);
    const struct {
        const char* name;
        Bytes fork;
        const char* expected;  // family, glyphs, findings
    } cases[] = {
        {"sound", good, "F 3\n"},
        {"no resource file", bytesOf("nothing of the kind"), "- - 20500!\n"},
        {"references past the map", patched(good, good.typeEntryAt(1) + 5, 9), "F 3 20500!\n"},
        {"data past the fork", patched(good, good.referenceAt(1) + 5, 0x7F), "F - 20505!\n"},
        {"family past the fork", patched(good, good.referenceAt(0) + 5, 0x7F), "F - 20505!\n- 3\n"},
        {"compressed", compressed, "F - 20506!\n"},
        {"missing", ResourceForkBuilder().add("FOND", 1, fond, "F"), "F - 20504!\n"},
        {"short family", with({1, 2, 3}, smallStrike()), "F - 20503!\n- 3\n"},
        {"more entries than room", with(patched(fond, 52, 1), smallStrike()), "F 3 20503!\n"},
        {"style table outside", with(patched(fond, 25, 1), smallStrike()), "F 3 20503!\n"},
        {"short strike", with(fond, Bytes(20)), "F 0 20507!\n"},
        {"strike without rows", with(fond, Bytes(26)), "F 0\n"},
        {"last before first", with(fond, patched(smallStrike(), 5, 60)), "F 0 20507!\n"},
        {"rows past the end", with(fond, patched(smallStrike(), 15, 200)), "F 3 20507!\n"},
        {"table past the end", with(fond, patched(smallStrike(), 17, 13)), "F 2 20507!\n"},
        {"glyph past its row", with(fond, patched(smallStrike(), 35, 60)), "F 3 20507!\n"},
        {"number twice", good.add("NFNT", 7, smallStrike()), "F 3 20514\n"},
        {"family name only", ResourceForkBuilder().add("FONT", 256, {}, "Geneva"), ""},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(lines(test.fork, {"family", "glyphs"}), test.expected) << test.name;
    }
}

TEST_F(MacFontReaderTest, PostScriptFamiliesNameTheirPrinterFonts) {
    const Bytes fork = ResourceForkBuilder()
                           .add("FOND", 1, FondBuilder::helvetica({12, 3, 7}), "Helv")
                           .add("NFNT", 7, smallStrike());
    EXPECT_EQ(lines(fork, {"postscriptName"}), "Helvetica-BoldOblique 20508\n");
    EXPECT_EQ(faces_[0].getAttribute(eType), "T1");
    const Bytes program = postChunks({{1, type1Program()}, {5, ""}});
    const std::pair<const char*, Bytes> places[] = {{"HelveBolObl", program},
                                                    {"HelveBolObl.rsrc", program},
                                                    {"HelveBolObl.bin", macBinary(program)},
                                                    {"HelveBolObl.hqx", binHex(program)},
                                                    {"HelveBolObl", macBinary(program)}};
    for (const auto& [name, bytes] : places) {
        const fs::path path = folder_.write(name, bytes);
        EXPECT_EQ(lines(fork, {"postscriptName"}), "Helvetica-BoldOblique\n") << name;
        EXPECT_EQ(faces_[0].printerFontPaths, std::vector<fs::path>{path});
        EXPECT_EQ(*(*faces_[0].properties().find("printerFonts")->list())[0].text(), path.string());
        EXPECT_EQ(faces_[0].getAttribute(ePrinterFilePath), name);
        fs::remove(path);
    }
    folder_.write("HelveBolObl", fork);  // bears the name, holds no program
    EXPECT_EQ(lines(fork, {"format"}), "bitmap 20508\n");
    FondBuilder both = FondBuilder::helvetica({12, 3, 7});
    both.entries.push_back({0, 0, 5});
    read(ResourceForkBuilder().add("FOND", 1, both).add("NFNT", 7, smallStrike()));
    EXPECT_EQ(faces_[0].getAttribute(eType), "Bi");
}

TEST(FondRecordTest, MakesPostScriptNamesAndFileNames) {
    FondBuilder fond = FondBuilder::of({{12, 0, 1}});
    fond.names = {"NewCenturySchlbk", "\x03\x04", "-", "Roman", "-CondensedBold", "\x05\xFF"};
    fond.styleIndexes = {{0, 2}, {0x11, 6}};
    const Bytes bytes = fond;
    const FondRecord record{ByteView(bytes)};
    const auto names = [&](std::uint16_t style) {
        std::string name;
        for (const std::string_view part : record.nameParts(style)) {
            name += part;
        }
        return name + " " + printerFileName(record.nameParts(style));
    };
    EXPECT_EQ(names(0), "NewCenturySchlbk-Roman NewCenSchRom");
    EXPECT_EQ(names(2), "NewCenturySchlbk NewCenSch");
    // Condensed is 0x20; underlining, 0x04, has no place of its own.
    EXPECT_EQ(names(0x21), "NewCenturySchlbk-CondensedBold NewCenSchConBol");
    EXPECT_EQ(names(0x25), names(0x21));
    EXPECT_EQ(printerFileName({"Sonata"}), "Sonat");
    EXPECT_EQ(printerFileName({"CMR10"}), "CMR10");
    EXPECT_EQ(printerFileName({"TektoMM_240", "-", "lightItalic"}), "TektoMMligIta");
}

TEST_F(MacFontReaderTest, JoinsPrinterFontsByTheirNumbers) {
    const std::string program = type1Program();
    const std::string half = program.substr(0, 40);
    const std::string rest = program.substr(40);
    const auto chunk = [](char kind, const std::string& data) {
        return bytesOf(std::string{kind, '\0'} + data);
    };
    dataFork_ = bytesOf(program);
    const Bytes end = {5, 0};
    const Bytes sound = ResourceForkBuilder()
                            .add("POST", 504, end)
                            .add("POST", 502, {})
                            .add("POST", 503, chunk(2, rest))
                            .add("POST", 501, chunk(1, half));
    const std::string whole =
        std::string("\1\0", 2) + half + std::string("\2\0", 2) + rest + std::string("\5\0", 2);
    const auto one = [&] { return ResourceForkBuilder().add("POST", 501, chunk(1, program)); };
    const std::pair<Bytes, const char*> cases[] = {
        {sound, "type1\n"},
        {ResourceForkBuilder().add("POST", 501, chunk(4, "")).add("POST", 502, end), "type1\n"},
        {one().add("POST", 503, end), "type1 20509!\n"},
        {ResourceForkBuilder().add("POST", 502, end), "- 20509!\n"},
        {one(), "type1 20511\n"},
        {one().add("POST", 502, {9, 0}).add("POST", 503, end), "type1 20510!\n"},
        {one().add("POST", 502, end).add("POST", 503, {1, 0}), "type1 20512\n"},
        {ResourceForkBuilder().add("POST", 501, chunk(1, "%!PS ProcSet")).add("POST", 502, end),
         ""},
        {one().add("POST", 502, end).add("POST", 100, {1, 0}), "type1\n"},
    };
    for (const auto& [fork, expected] : cases) {
        EXPECT_EQ(lines(fork, {"format"}), expected);
    }
    EXPECT_EQ(read(sound)[0].getAttribute(eFingerprint), md5Hex(ByteView(bytesOf(whole))));
    read(postChunks({{1, "%!FontType3-1.0: X\n/FontType 3 def\n"}, {5, ""}}));
    EXPECT_EQ(faces_[0].getAttribute(eType), "T3Outline");
}

TEST_F(MacFontReaderTest, TellsWhatAFileIs) {
    const Bytes fork = ResourceForkBuilder().add("NFNT", 7, smallStrike());
    const Bytes other = ResourceForkBuilder().add("TEXT", 7, bytesOf("text"));
    Bytes cut = fork;
    cut.resize(cut.size() - 3);
    using Kind = MacFile::Kind;
    const struct {
        std::vector<std::pair<const char*, Bytes>> files;  // the last is asked about
        Kind kind;
        int finding;
    } cases[] = {
        {{{"text", bytesOf("just text, no font")}}, Kind::eNothing, 0},
        {{{"any.name", fork}}, Kind::eFonts, 0},
        {{{"other.dfont", other}}, Kind::eNothing, 0},
        {{{"cut.dfont", cut}}, Kind::eBroken, 20500},
        {{{"cut.data", cut}}, Kind::eNothing, 0},
        {{{"lost.suit", {}}}, Kind::eBroken, 20502},
        {{{"empty", {}}}, Kind::eNothing, 0},
        {{{"._a", appleDouble("FFIL", "DMOV", fork)}, {"a", {}}}, Kind::eFonts, 0},
        {{{"._b", appleDouble("FFIL", "DMOV", {})}, {"b", {}}}, Kind::eBroken, 20502},
        {{{"._c", appleDouble("FFIL", "DMOV", cut)}, {"c", {}}}, Kind::eBroken, 20500},
        {{{"d", {}}, {"._d", appleDouble("FFIL", "DMOV", fork)}}, Kind::eSidecar, 0},
        {{{"._orphan", appleDouble("FFIL", "DMOV", fork)}}, Kind::eFonts, 0},
        {{{"e/f", {}}, {"e/RESOURCE.FRK/F", fork}}, Kind::eSidecar, 0},
        {{{"e/.resource/g", fork}}, Kind::eFonts, 0},
        {{{"h/i", {}}, {"__MACOSX/h/._i", appleDouble("FFIL", "DMOV", fork)}}, Kind::eSidecar, 0},
        {{{"j", {}}, {"j.rsrc", fork}}, Kind::eSidecar, 0},
    };
    for (const auto& test : cases) {
        fs::path asked;
        for (const auto& [name, bytes] : test.files) {
            asked = folder_.write(name, bytes);
        }
        const MacFile found = look(asked);
        EXPECT_EQ(found.kind, test.kind) << asked;
        EXPECT_EQ(found.finding, test.finding) << asked;
    }
}

TEST_F(MacFontReaderTest, GivesTheDataForkInAContainer) {
    const Bytes data = bytesOf(type1Program());
    Bytes broken = binHex({}, {.dataFork = data});
    broken[broken.size() / 2] = '~';
    const std::pair<Bytes, bool> cases[] = {
        {appleFile(0x00051600, {{9, finderInfoBytes("TEXT", "ttxt")}, {1, data}}), true},
        {macBinary({}, {.dataFork = data}), true},
        {binHex(placeholderFork(), {.dataFork = data}), true},
        {broken, false},
        {data, false},
    };
    for (const auto& [bytes, expected] : cases) {
        const FileInHand file = inHand(folder_.write("file", bytes));
        const ContainedFork fork = containedDataFork(file);
        EXPECT_EQ(fork.bytes.text() == ByteView(data).text(), expected);
        EXPECT_EQ(fork.isDamaged, bytes == broken);
    }
}

}  // namespace
