#include "PfbHeader.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "Type1Builder.h"
#include "UnitTest.h"

namespace {

using namespace std::string_literals;

constexpr const char* kMagicLine = "%!PS-AdobeFont-1.0: Acme";

// Runs on a block of exactly the bytes that the function may read, so that a sanitizer sees any
// read behind them.
class Parsed {
  public:
    explicit Parsed(const std::string& text)
        : size_(std::max(text.size() + 1, kPfbHeaderBufferSize)), buffer_(new char[size_]()) {
        text.copy(buffer_.get(), text.size());
        std::memset(&record_, '#', sizeof record_);
        EXPECT_EQ(ParsePFBHeader(buffer_.get(), &record_), 0);
    }

    const PfbHeader* operator->() const { return &record_; }
    bool untouched() const {
        const auto* bytes = reinterpret_cast<const char*>(&record_);
        return std::all_of(bytes, bytes + sizeof record_, [](char c) { return c == '#'; });
    }
    std::string buffer() const { return std::string(buffer_.get(), size_); }

  private:
    std::size_t size_;
    std::unique_ptr<char[]> buffer_;
    PfbHeader record_;
};

// The fields after reading these lines below a proper first line.
Parsed parseLines(std::initializer_list<std::string_view> lines) {
    return Parsed(type1Text({kMagicLine}) + type1Text(lines));
}

TEST(PfbHeader, ReadsEveryKey) {
    const Parsed header("\x80\x01\x10\x02\x00\x00"s + acmeType1Text());
    EXPECT_STREQ(header->shortFontName, "Acme-Bold");
    EXPECT_STREQ(header->notice, "Copyrighted 1990 acme type inc. All (or most) rights");
    EXPECT_STREQ(header->fullName, "Acme Bold");
    EXPECT_STREQ(header->familyName, "Acme");
    EXPECT_STREQ(header->version, "001.003");
    EXPECT_STREQ(header->foundry, "Acme Type Inc");
    EXPECT_STREQ(header->fontType, "1");
    EXPECT_STREQ(header->weight, "(Bold)");
}

TEST(PfbHeader, LineEndsDecideWhatIsALine) {
    EXPECT_STREQ(Parsed(acmeType1Text("\r\n"))->shortFontName, "Acme-Bold");
    EXPECT_STREQ(Parsed(acmeType1Text("\r\r\r"))->shortFontName, "Acme-Bold");
    const Parsed lineFeeds(acmeType1Text("\n"));
    EXPECT_STREQ(lineFeeds->shortFontName, "") << "one long line";
    EXPECT_STREQ(lineFeeds->foundry, "") << "without a notice there is no foundry at all";
    EXPECT_FALSE(lineFeeds.untouched());
    EXPECT_STREQ(Parsed(acmeType1Text("\r").insert(30, 1, '\0'))->shortFontName, "")
        << "the text ends at its first zero byte";
}

TEST(PfbHeader, FindsTheProgramInTheFirst2047Bytes) {
    const std::string program = acmeType1Text();
    EXPECT_STREQ(Parsed(std::string(2043, '\0') + program)->familyName, "Acme");
    EXPECT_STREQ(Parsed(std::string(2044, 'x') + program)->familyName, "Acme") << "the % counts";
    EXPECT_STREQ(Parsed(std::string(2044, 'x') + "% no magic\r/Weight 7\r")->weight, "7");
    EXPECT_TRUE(Parsed(std::string(2045, '\0') + program).untouched());
    EXPECT_TRUE(Parsed(std::string(2044, 'x') + "$").untouched());
    EXPECT_TRUE(Parsed("%!P").untouched());
    EXPECT_TRUE(Parsed("").untouched());
    EXPECT_STREQ(Parsed("%!PS first\r/Weight 1\r%!PS second\r/Weight 2\r")->weight, "2");
}

TEST(PfbHeader, TheFirstLinesLengthLimitsTheIndent) {
    const auto weightAt = [](const std::string& indent, const std::string& first) {
        return std::string(Parsed(first + "\r" + indent + "/Weight 7\r/Weight 8\r")->weight);
    };
    EXPECT_EQ(weightAt("\t\n \t", "%!PS12"), "8") << "four of five";
    EXPECT_EQ(weightAt("\t\n \t ", "%!PS12"), "") << "five of five stop the reading";
    EXPECT_EQ(weightAt("\t\n \t  ", "%!PS12"), "");
    EXPECT_EQ(weightAt("\v", "%!PS12"), "8") << "no indent, no key";
    EXPECT_STREQ(Parsed("%!PS12\r    \r/Weight 8\r")->weight, "8") << "a blank line";
    EXPECT_STREQ(Parsed("%!PS12\r     \r/Weight 8\r")->weight, "");

    EXPECT_STREQ(Parsed(std::string(2044, 'x') + "%\r/Weight 8\r")->weight, "")
        << "a first line of one byte stops at once";
    EXPECT_STREQ(Parsed(std::string(2044, 'x') + "%%\r/Weight 8\r")->weight, "8");
}

TEST(PfbHeader, EveryKeyTakesItsPartOfTheLine) {
    const std::map<std::string, std::pair<const char*, char(PfbHeader::*)[PfbHeader::kFieldSize]>>
        fields = {{"/FontName", {"/FontName /Before def", &PfbHeader::shortFontName}},
                  {"/FamilyName", {"/FamilyName (Before) def", &PfbHeader::familyName}},
                  {"/version", {"/version (Before) def", &PfbHeader::version}},
                  {"/FontType", {"/FontType Before def", &PfbHeader::fontType}},
                  {"/Weight", {"/Weight Before def", &PfbHeader::weight}}};
    for (const Lines& row : rowsOf("pfb-lines.tsv")) {
        const auto& [before, field] = fields.at(row.at(0));
        EXPECT_STREQ((*parseLines({before, row.at(1)}).operator->()).*field, row.at(2).c_str())
            << row[1];
    }
}

TEST(PfbHeader, LaterLinesReplaceEarlierOnesWhole) {
    const Parsed header =
        parseLines({"/Notice (Copyrighted Acme Type)", "/FullName (Acme Extra Bold)", "/Notice (c)",
                    "/FullName (A)", "/UniqueID 12 def"});
    EXPECT_STREQ(header->notice, "c");
    EXPECT_STREQ(header->foundry, "Unknown");
    EXPECT_STREQ(header->fullName, "A");
    EXPECT_STREQ(parseLines({"/Notice (Copyright Acme)"})->foundry, "");
    EXPECT_STREQ(parseLines({"/Notice Acme"})->foundry, "Unknown") << "an empty notice";
}

TEST(PfbHeader, CutsValuesToTheirFields) {
    const std::string longText(3000, 'n');
    const Parsed header = parseLines(
        {"/FontName /" + longText + " def", "/Notice (" + longText + ")",
         "/FamilyName (" + longText + ")", "/Weight " + longText, "/FontType " + longText});
    EXPECT_EQ(std::strlen(header->shortFontName), 254u);
    EXPECT_EQ(std::strlen(header->notice), 255u);
    EXPECT_EQ(std::strlen(header->familyName), 254u);
    EXPECT_EQ(std::strlen(header->weight), 254u);
    EXPECT_EQ(std::strlen(header->fontType), 254u);
    EXPECT_EQ(std::strlen(header->fullName), 0u);

    // The foundry comes from the first 1023 characters of the notice, not from the 255 kept.
    const auto foundryBehind = [](std::size_t filler, const std::string& name) {
        return std::string(
            parseLines({"/Notice (" + std::string(filler, '.') + "Copyrighted " + name + ")"})
                ->foundry);
    };
    EXPECT_EQ(foundryBehind(1000, "Acme Type"), "Acme Type");
    EXPECT_EQ(foundryBehind(1007, "Acme Type"), "Acme");
    EXPECT_EQ(foundryBehind(0, std::string(600, 'A')), std::string(254, 'A'));
}

TEST(PfbHeader, OverwritesOnlySeparatorsThatWereReached) {
    const std::string text = "%!PS12\r\r/Weight 1\r       stop\r/Weight 2\r";
    std::string expected = text;
    expected[6] = expected[17] = expected[29] = '\0';
    EXPECT_EQ(Parsed(text).buffer().substr(0, text.size()), expected);
}

}  // namespace
