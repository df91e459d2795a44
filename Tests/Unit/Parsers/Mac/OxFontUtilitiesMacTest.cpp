#include "OxFontUtilitiesMac.h"

#include "MacFontBuilder.h"
#include "MacResourceTypes.h"
#include "OxParserPostscriptImp.h"
#include "UnitTest.h"

namespace {

using Mac = OxFontUtilitiesMac;

// "passes" or "fails", and the diagnostics.
std::string outcome(bool passed, const OxFont& font) {
    return (passed ? "passes " : "fails ") + problems(font);
}

std::string checkFond(const Bytes& fond) {
    const OpenResources open(ResourceForkBuilder().add("FOND", 128, fond));
    OxFont font;
    const bool passed = Mac::validateFOND(font, 1);
    return outcome(passed, font);
}

Bytes goodFond(std::size_t size = 60) {
    Bytes fond = FondBuilder::of({{12, 0, 1}});
    fond.resize(size);
    return fond;
}

TEST(ValidateFond, FieldsAndTheirBorders) {
    for (const Lines& row : rowsOf("fond-fields.tsv")) {
        const auto number = [&row](std::size_t i) {
            return static_cast<std::uint32_t>(std::stoul(row.at(i)));
        };
        const auto outcomeWith = [&](std::uint32_t value) {
            Bytes fond = goodFond();
            patch(fond, number(0), static_cast<int>(number(1)), value);
            return checkFond(fond);
        };
        EXPECT_EQ(outcomeWith(number(2)), "passes ") << row[0];
        EXPECT_EQ(outcomeWith(number(3)), "fails error 0 Corrupt FOND:  " + row.at(4));
    }
}

TEST(ValidateFond, AStrangeSizeIsReportedAndPassesButTheFirstOtherDefectStopsTheChecks) {
    const std::string strange = "error 0 Corrupt FOND:  Invalide Size";
    for (const std::size_t size : {0u, 5u, 59u, 60u, 250000u, 250001u}) {
        EXPECT_EQ(checkFond(goodFond(size)),
                  "passes " + (size >= 60 && size <= 250000 ? "" : strange));
    }
    Bytes fond = goodFond(59);
    patch(fond, 6, 2, 999);
    patch(fond, 16, 4, 999);
    EXPECT_EQ(checkFond(fond),
              "fails " + strange + "; error 0 Corrupt FOND:  Invalid last character");
}

TEST(ValidateFond, AMissingOneGivesTheStatus) {
    const OpenResources open(ResourceForkBuilder().add("FOND", 128, goodFond()));
    OxFont font;
    EXPECT_FALSE(Mac::validateFOND(font, 2));
    EXPECT_EQ(problems(font), "error 0 Corrupt FOND:  -192");
}

TEST(ValidateAssoc, LooksForTheResourceOfTheSize) {
    using Resources = std::vector<std::pair<int, int>>;
    const Resources strikes = {{kNfntType, 7}, {kFontType, 7}};
    const std::string missing = "fails error 0 Corrupt Assoc:  NULL HFNT Resource";
    const struct {
        const char* type;
        Bytes data;
        std::string outcome;
        Resources resources;
        const char* fontSize;
        int fontType;
        short size;
    } kCases[] = {
        {"sfnt", Bytes(4999), "fails ", {{kSfntType, 7}}, "", OxFont::TT, 0},
        {"sfnt", Bytes(5000), "passes ", {{kSfntType, 7}}, "5000", OxFont::TT, 0},
        {"NFNT", strike(), "fails ", {}, "", OxFont::TT, 0},   // no outline: sets the type only
        {"POST", {}, "passes ", {}, "", OxFont::notSure, -1},  // a negative size is not looked at
        {"FONT", strike(), "passes ", strikes, "300", OxFont::T1, 9},
        {"sfnt", {}, missing, strikes, "", OxFont::T1, 9}};
    for (const auto& c : kCases) {
        const OpenResources open(ResourceForkBuilder().add(c.type, 7, c.data));
        OxFont font;
        const bool passed = Mac::validateAssoc(font, c.size, 7);
        EXPECT_EQ(outcome(passed, font), c.outcome);
        EXPECT_EQ(font.getFontType(), c.fontType);
        EXPECT_THAT(font.resources(), testing::ElementsAreArray(c.resources));
        EXPECT_EQ(font.getAttribute(eFntSize), c.fontSize);
    }
}

TEST(ValidateAssoc, BordersOfStrikes) {
    const std::pair<Bytes, std::string> kCases[] = {
        {strike(300), ""},
        {strike(100000), ""},
        {strike(299), "Invalid NFNT size"},
        {strike(100001), "Invalid NFNT size"},
        {strike(300, 255, 255), ""},
        {strike(300, 256, 255), "Invalid first character"},
        {strike(300, 0x8000, 0x8001), "Invalid first character"},
        {strike(300, 0, 256), "Invalid last character"},
        {strike(300, 3, 2), "First character greater than last character"}};
    for (const auto& [data, text] : kCases) {
        const OpenResources open(ResourceForkBuilder().add("NFNT", 7, data));
        OxFont font;
        EXPECT_EQ(Mac::validateAssoc(font, 9, 7), text.empty());
        EXPECT_EQ(font.getFontType(), OxFont::T1);
        EXPECT_EQ(problems(font), text.empty() ? "" : "error 0 Corrupt Assoc:  " + text);
        const bool sizeKnown = text != "Invalid NFNT size";
        EXPECT_EQ(font.getAttribute(eFntSize), sizeKnown ? std::to_string(data.size()) : "");

        // The parser's own check records only what it has found.
        OxFont record;
        const AsscEntry entry{9, 0, 7};
        EXPECT_EQ(OxParserPostscriptImp().validateAssoc(record, &entry), text.empty());
        EXPECT_EQ(problems(record), problems(font));
        EXPECT_EQ(record.attributes(), font.attributes());
        EXPECT_THAT(record.resources(), ElementsAre(Pair(kNfntType, 7)));
    }
}

// PostScript name and file name of a style, "untouched" where none was given.
std::string namesOf(const Bytes& styleTable, int style) {
    std::string postscript = "untouched";
    std::string file;
    const StyleTable table(ZeroPaddedView{ByteView(styleTable)});
    Mac::GetNamesForStyle(table, postscript, file, style);
    return postscript + " " + file;
}

Bytes styleTable(const FondBuilder& fond) {
    const Bytes bytes = fond.build();
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(fond.styleTableAt()), bytes.end());
}

TEST(StyleNamesOfAFamily, PostScriptAndFileNames) {
    const Bytes table = styleTable(FondBuilder::helvetica({9, 0, 1}));
    EXPECT_EQ(namesOf(table, 0), "Helvetica Helve");
    EXPECT_EQ(namesOf(table, 1), "Helvetica-Bold HelveBol");
    // "-Bold" loses its hyphen in the file name only
    EXPECT_EQ(namesOf(table, 3), "Helvetica-BoldOblique HelveBolObl");
}

TEST(StyleNamesOfAFamily, IndexesThatNameNothing) {
    FondBuilder fond = FondBuilder::helvetica({9, 0, 1});
    fond.names[1] = std::string("\x04\x00\x63\x05", 4);  // pieces 0 and 99 are no strings
    fond.styleIndexes[4] = 0;
    fond.styleIndexes[5] = 200;
    const Bytes table = styleTable(fond);
    EXPECT_EQ(namesOf(table, 1), "Helvetica-Bold HelveBol");
    // Style code 48 reads the byte behind the indexes, the high byte of the count.
    for (const int style : {4, 5, 48, 65535}) {
        EXPECT_EQ(namesOf(table, style), "Helvetica Helve") << style;
    }
    fond.names = {"", "x"};
    EXPECT_EQ(namesOf(styleTable(fond), 1), "untouched ");
    EXPECT_EQ(namesOf(styleTable(fond), 0), " ") << "index 1 takes even an empty name";
}

TEST(StyleNamesOfAFamily, ATableThatIsCutReadsAsZero) {
    Bytes table = styleTable(FondBuilder::helvetica({9, 0, 1}));
    table.resize(58 + 2 + 1 + 4);
    EXPECT_EQ(namesOf(table, 0), "Helv Helv");
}

TEST(NameTableView, CountsFromOneToItsCount) {
    const Bytes bytes = BigEndian().u16(2).u8(1).text("A").u8(2).text("BCxyz");
    const NameTable names(ZeroPaddedView{ByteView(bytes)});
    EXPECT_EQ(Mac::GetNumStyleNames(names), 2);
    EXPECT_EQ(Mac::NthStyleName(names, 0), std::nullopt);
    EXPECT_EQ(Mac::NthStyleName(names, 1), "A");
    EXPECT_EQ(Mac::NthStyleName(names, 2), "BC");
    EXPECT_EQ(Mac::NthStyleName(names, 3), std::nullopt);

    const Bytes negative = BigEndian().u16(0xFFFF).u8(1).text("A");
    const NameTable none(ZeroPaddedView{ByteView(negative)});
    EXPECT_EQ(Mac::NthStyleName(none, 1), std::nullopt);
}

TEST(FondStyleMappingTable, ItsOffsetIsAsserted) {
    const auto textFor = [](std::uint32_t offset) {
        Bytes fond = goodFond();
        patch(fond, FondBuilder::kStyleTableField, 4, offset);
        const OpenResources open(ResourceForkBuilder().add("FOND", 1, fond));
        bool found = false;
        const std::string text = textOfException(
            [&] { found = !!Mac::GetFondStyleMappingTable(Get1Resource(kFondType, 1)); });
        return text.empty() ? found ? "table" : "none" : text;
    };
    EXPECT_EQ(textFor(0), "none");
    EXPECT_EQ(textFor(59), "table");
    EXPECT_EQ(textFor(60), "offset < GetHandleSize(inFondH)");
    EXPECT_EQ(textFor(0x80000000), "offset > 0");
}

TEST(PrinterFontFileName, FiveThreeThree) {
    for (const Lines& row : rowsOf("printer-font-names.tsv")) {
        std::string name = row.at(0);
        Mac::MakeName(name, row.at(1), row.at(2) == "first");
        EXPECT_EQ(name, row.at(3)) << row[1];
    }
}

TEST(MultipleMasterNames, AreToldAndTaken) {
    for (const Lines& row : rowsOf("multiple-master-names.tsv")) {
        std::string name = row.at(0);
        EXPECT_EQ(Mac::isMultipleMasterStem(name), row.at(1) == "stem") << name;
        EXPECT_EQ(Mac::isMultipleMasterFond(name), row.at(1) == "family") << name;
        EXPECT_EQ(Mac::getMMFamilyName(name), row.at(3)) << name;
        Mac::stripMultipleMasterEncoding(name);
        EXPECT_EQ(name, row.at(2));
    }
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
