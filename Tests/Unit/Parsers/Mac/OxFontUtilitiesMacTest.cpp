#include "OxFontUtilitiesMac.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "OxParserPostscriptImp.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Lines = std::vector<std::string>;
using Mac = OxFontUtilitiesMac;

struct Checked {
    bool passed;
    Lines lines;
};

Checked checkFond(const Bytes& fond) {
    const OpenResources open(ResourceForkBuilder().add("FOND", 128, fond));
    OxFont font;
    const bool passed = Mac::validateFOND(font, 1);
    return {passed, diagnosticLines(font)};
}

Bytes goodFond(std::size_t size = 60) {
    Bytes fond = FondBuilder{{{12, 0, 1}}, {}, {}}.build();
    fond.resize(size);
    return fond;
}

TEST(ValidateFond, FieldsAndTheirBorders) {
    struct Case {
        std::size_t offset;
        int width;
        std::uint32_t good;
        std::uint32_t bad;
        const char* text;
    };
    static constexpr Case kCases[] = {
        {4, 2, 255, 256, "Invalid first character"},
        {6, 2, 255, 0x8000, "Invalid last character"},
        {16, 4, 60, 61, "Invalid width table offset"},
        {16, 4, 0, 0xFFFFFFFF, "Invalid width table offset"},
        {20, 4, 60, 61, "Invalid kerning table offset"},
        {24, 4, 60, 0xFFFFFFFF, "Invalid style table offset"},
        {52, 2, 50, 51, "Invalid number of assoc entries"},
        {52, 2, 0, 0xFFFF, "Invalid number of assoc entries"},
    };
    for (const Case& c : kCases) {
        Bytes fond = goodFond();
        const auto set = [&fond, &c](std::uint32_t value) {
            patch(fond, c.offset, c.width, value);
        };
        set(c.good);
        const Checked good = checkFond(fond);
        EXPECT_TRUE(good.passed) << c.text;
        EXPECT_THAT(good.lines, IsEmpty());
        set(c.bad);
        const Checked bad = checkFond(fond);
        EXPECT_FALSE(bad.passed) << c.text;
        EXPECT_THAT(bad.lines, ElementsAre(std::string("error 0 Corrupt FOND:  ") + c.text));
    }
}

TEST(ValidateFond, AStrangeSizeIsReportedAndPasses) {
    for (const std::size_t good : {60u, 250000u}) {
        EXPECT_THAT(checkFond(goodFond(good)).lines, IsEmpty()) << good;
    }
    for (const std::size_t strange : {0u, 5u, 59u, 250001u}) {
        const Checked checked = checkFond(goodFond(strange));
        EXPECT_TRUE(checked.passed) << strange;
        EXPECT_THAT(checked.lines, ElementsAre("error 0 Corrupt FOND:  Invalide Size"));
    }
}

TEST(ValidateFond, TheFirstDefectStopsTheChecks) {
    Bytes fond = goodFond(59);
    patch(fond, 6, 2, 999);
    patch(fond, 16, 4, 999);
    EXPECT_THAT(checkFond(fond).lines,
                ElementsAre("error 0 Corrupt FOND:  Invalide Size",
                            "error 0 Corrupt FOND:  Invalid last character"));
}

TEST(ValidateFond, AMissingOneGivesTheStatus) {
    const OpenResources open(ResourceForkBuilder().add("FOND", 128, goodFond()));
    OxFont font;
    EXPECT_FALSE(Mac::validateFOND(font, 2));
    EXPECT_THAT(diagnosticLines(font), ElementsAre("error 0 Corrupt FOND:  -192"));
}

class ValidateAssoc : public testing::Test {
  protected:
    Checked check(const char* type, const Bytes& data, short size) {
        const OpenResources open(ResourceForkBuilder().add(type, 7, data));
        const bool passed = Mac::validateAssoc(font, size, 7);
        return {passed, diagnosticLines(font)};
    }
    OxFont font;
};

TEST_F(ValidateAssoc, OutlinesCountFrom5000BytesOn) {
    EXPECT_FALSE(check("sfnt", Bytes(4999), 0).passed);
    EXPECT_EQ(font.getAttribute(eFntSize), "");
    EXPECT_TRUE(check("sfnt", Bytes(5000), 0).passed);
    EXPECT_EQ(font.getAttribute(eFntSize), "5000");
    EXPECT_EQ(font.getFontType(), OxFont::TT);
    EXPECT_THAT(font.resources(), ElementsAre(Pair(kSfntType, 7)));
    EXPECT_THAT(font.diagnostics(), IsEmpty());
}

TEST_F(ValidateAssoc, AMissingOutlineSetsTheTypeOnly) {
    EXPECT_FALSE(check("NFNT", strike(), 0).passed);
    EXPECT_EQ(font.getFontType(), OxFont::TT);
    EXPECT_THAT(font.resources(), IsEmpty());
    EXPECT_THAT(font.diagnostics(), IsEmpty());
}

TEST_F(ValidateAssoc, ANegativeSizeIsNotLookedAt) {
    EXPECT_TRUE(check("POST", {}, -1).passed);
    EXPECT_EQ(font.getFontType(), OxFont::notSure);
}

TEST_F(ValidateAssoc, BordersOfStrikes) {
    struct Case {
        Bytes data;
        const char* text;  // null: good
    };
    const Case cases[] = {
        {strike(300), nullptr},
        {strike(100000), nullptr},
        {strike(299), "Invalid NFNT size"},
        {strike(100001), "Invalid NFNT size"},
        {strike(300, 255, 255), nullptr},
        {strike(300, 256, 255), "Invalid first character"},
        {strike(300, 0x8000, 0x8001), "Invalid first character"},
        {strike(300, 0, 256), "Invalid last character"},
        {strike(300, 3, 2), "First character greater than last character"},
    };
    for (const Case& c : cases) {
        OxFont fresh;
        const OpenResources open(ResourceForkBuilder().add("NFNT", 7, c.data));
        EXPECT_EQ(Mac::validateAssoc(fresh, 9, 7), c.text == nullptr);
        EXPECT_EQ(fresh.getFontType(), OxFont::T1);
        EXPECT_THAT(
            diagnosticLines(fresh),
            c.text == nullptr ? Lines() : Lines{std::string("error 0 Corrupt Assoc:  ") + c.text});
        const bool sizeKnown = c.text == nullptr || std::string(c.text) != "Invalid NFNT size";
        EXPECT_EQ(fresh.getAttribute(eFntSize),
                  sizeKnown ? std::to_string(c.data.size()) : std::string());

        // The parser's own check records only what it has found.
        OxFont record;
        const AsscEntry entry{9, 0, 7};
        EXPECT_EQ(OxParserPostscriptImp().validateAssoc(record, &entry), c.text == nullptr);
        EXPECT_EQ(diagnosticLines(record), diagnosticLines(fresh));
        EXPECT_EQ(record.attributes(), fresh.attributes());
        EXPECT_THAT(record.resources(), ElementsAre(Pair(kNfntType, 7)));
    }
}

TEST_F(ValidateAssoc, FontStandsInForNfntAndBothAreRecorded) {
    EXPECT_TRUE(check("FONT", strike(), 9).passed);
    EXPECT_THAT(font.resources(), ElementsAre(Pair(kNfntType, 7), Pair(kFontType, 7)));
}

TEST_F(ValidateAssoc, AMissingStrikeIsRecordedAndReported) {
    EXPECT_THAT(check("sfnt", {}, 9).lines,
                ElementsAre("error 0 Corrupt Assoc:  NULL HFNT Resource"));
    EXPECT_THAT(font.resources(), ElementsAre(Pair(kNfntType, 7), Pair(kFontType, 7)));
    EXPECT_EQ(font.getFontType(), OxFont::T1);
}

struct StyleNames {
    std::string postscript = "untouched";
    std::string file;
};

StyleNames namesOf(const Bytes& styleTable, int style) {
    StyleNames names;
    const StyleTable table(ZeroPaddedView(ByteView(styleTable.data(), styleTable.size())));
    Mac::GetNamesForStyle(table, names.postscript, names.file, style);
    return names;
}

Bytes styleTable(const FondBuilder& fond) {
    const Bytes bytes = fond.build();
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(fond.styleTableAt()), bytes.end());
}

TEST(StyleNamesOfAFamily, PostScriptAndFileNames) {
    const Bytes table = styleTable(FondBuilder::helvetica({9, 0, 1}));
    EXPECT_EQ(namesOf(table, 0).postscript, "Helvetica");
    EXPECT_EQ(namesOf(table, 0).file, "Helve");
    EXPECT_EQ(namesOf(table, 1).postscript, "Helvetica-Bold");
    EXPECT_EQ(namesOf(table, 1).file, "HelveBol");
    // "-Bold" loses its hyphen in the file name only
    EXPECT_EQ(namesOf(table, 3).postscript, "Helvetica-BoldOblique");
    EXPECT_EQ(namesOf(table, 3).file, "HelveBolObl");
}

TEST(StyleNamesOfAFamily, IndexesThatNameNothing) {
    FondBuilder fond = FondBuilder::helvetica({9, 0, 1});
    fond.names[1] = std::string("\x04\x00\x63\x05", 4);  // pieces 0 and 99 are no strings
    fond.styleIndexes[4] = 0;
    fond.styleIndexes[5] = 200;
    const Bytes table = styleTable(fond);
    EXPECT_EQ(namesOf(table, 1).postscript, "Helvetica-Bold");
    EXPECT_EQ(namesOf(table, 4).postscript, "Helvetica");
    EXPECT_EQ(namesOf(table, 5).file, "Helve");
    // Style code 48 reads the byte behind the indexes, the high byte of the count.
    EXPECT_EQ(namesOf(table, 48).postscript, "Helvetica");
    EXPECT_EQ(namesOf(table, 65535).postscript, "Helvetica");

    fond.names = {"", "x"};
    EXPECT_EQ(namesOf(styleTable(fond), 1).postscript, "untouched");
    EXPECT_EQ(namesOf(styleTable(fond), 0).postscript, "") << "index 1 takes even an empty name";
}

TEST(StyleNamesOfAFamily, TablesCutAnywhereReadAsZero) {
    const Bytes whole = styleTable(FondBuilder::helvetica({9, 0, 1}));
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        namesOf(cut, 3);
    }
    Bytes cutName = whole;
    cutName.resize(58 + 2 + 1 + 4);
    EXPECT_EQ(namesOf(cutName, 0).postscript, "Helv");
}

TEST(NameTableView, CountsFromOneToItsCount) {
    const Bytes bytes =
        bytesOf(std::string("\x00\x02\x01"
                            "A\x02"
                            "BCxyz",
                            9));
    const NameTable names(ZeroPaddedView(ByteView(bytes.data(), bytes.size())));
    EXPECT_EQ(Mac::GetNumStyleNames(names), 2);
    EXPECT_EQ(Mac::NthStyleName(names, 0), std::nullopt);
    EXPECT_EQ(Mac::NthStyleName(names, 1), "A");
    EXPECT_EQ(Mac::NthStyleName(names, 2), "BC");
    EXPECT_EQ(Mac::NthStyleName(names, 3), std::nullopt);

    const Bytes negative = bytesOf(
        "\xFF\xFF\x01"
        "A");
    const NameTable none(ZeroPaddedView(ByteView(negative.data(), negative.size())));
    EXPECT_EQ(Mac::NthStyleName(none, 1), std::nullopt);
}

TEST(FondStyleMappingTable, ItsOffsetIsAsserted) {
    const auto textFor = [](std::uint32_t offset) -> std::string {
        Bytes fond = goodFond();
        patch(fond, FondBuilder::kStyleTableField, 4, offset);
        const OpenResources open(ResourceForkBuilder().add("FOND", 1, fond));
        try {
            return Mac::GetFondStyleMappingTable(Get1Resource(kFondType, 1)) ? "table" : "none";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(textFor(0), "none");
    EXPECT_EQ(textFor(59), "table");
    EXPECT_EQ(textFor(60), "offset < GetHandleSize(inFondH)");
    EXPECT_EQ(textFor(0x80000000), "offset > 0");
}

TEST(PrinterFontFileName, FiveThreeThree) {
    struct Case {
        const char* before;
        const char* part;
        bool first;
        const char* result;
    };
    static constexpr Case kCases[] = {
        {"", "Times", true, "Times"},
        {"Times", "Bold", false, "TimesBol"},
        {"", "NewCenturySchlbk", true, "NewCenSch"},
        {"", "lowerCase", true, "Case"},
        {"", "lower", true, ""},
        {"", "9Pins", true, "9Pin"},
        {"", "Ab9Cd", true, "Ab9Cd"},  // a digit inside starts no first word
        {"", "Condensed", false, "Con"},
        {"X", "12pt", false, "X12pt"},
        {"X", "a-bc", false, "X-bc"},
        {"", "Stone_SansBold", true, "Stone"},
        {"", "_Bold", true, ""},
        {"X", "Bo\x8Eld", false, "XBo\x8Eld"},  // no letter of the C locale
    };
    for (const Case& c : kCases) {
        std::string name = c.before;
        Mac::MakeName(name, c.part, c.first);
        EXPECT_EQ(name, c.result) << c.part;
    }
}

TEST(MultipleMasterNames, AreToldAndTaken) {
    EXPECT_TRUE(Mac::isMultipleMasterStem("%Myria_400"));
    EXPECT_FALSE(Mac::isMultipleMasterStem("%Myria"));
    EXPECT_FALSE(Mac::isMultipleMasterStem("Myria_400"));
    EXPECT_TRUE(Mac::isMultipleMasterFond("Myria_400"));
    EXPECT_TRUE(Mac::isMultipleMasterFond("MyriadMM"));
    EXPECT_FALSE(Mac::isMultipleMasterFond("Myriad"));
    EXPECT_FALSE(Mac::isMultipleMasterFond("MyriadMM_%"));

    const auto stripped = [](std::string name) {
        Mac::stripMultipleMasterEncoding(name);
        return name;
    };
    EXPECT_EQ(stripped("Myria_400_600"), "Myria");
    EXPECT_EQ(stripped("MyriadMM"), "MyriadMM");
    EXPECT_EQ(stripped("%Myria_400"), "yria");
    EXPECT_EQ(stripped("%Myria"), "%Myria");

    EXPECT_EQ(Mac::getMMFamilyName("MyriadMM"), "Myriad");
    EXPECT_EQ(Mac::getMMFamilyName("Myriad"), "Myriad");
    EXPECT_EQ(Mac::getMMFamilyName("%MyriadMM_1"), "yriad");
    EXPECT_EQ(Mac::getMMFamilyName("%MMyriadMM"), "MyriadMM") << "the prefix's M counts, too";
    EXPECT_EQ(Mac::getMMFamilyName("%M"), "");
}

TEST(MacRomanNames, BecomeUtf8) {
    unsigned char pascal[256] = {3, 'A', 0x8E, 'B', 'C'};
    EXPECT_EQ(Mac::convertMacRomanToUTF8(pascal),
              "A\xC3\xA9"
              "B");
    pascal[2] = 0;
    EXPECT_EQ(Mac::convertMacRomanToUTF8(pascal), "A");
    EXPECT_EQ(Mac::convertMacRomanToUTF8("\xA9x", 1), "\xC2\xA9");
    EXPECT_EQ(Mac::convertMacRomanToUTF8(nullptr, 3), "");
    EXPECT_EQ(Mac::convertMacRomanToUTF8(std::string(300, '\xA9').c_str(), 300).size(), 254u);
}

}  // namespace
