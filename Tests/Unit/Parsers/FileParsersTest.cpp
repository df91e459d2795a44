// What the parsers of plain files have in common.
#include <sys/stat.h>

#include "FileBytes.h"
#include "OxParserDfontImp.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserPFBImp.h"
#include "OxParserPFMImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "ParserSupport.h"
#include "UnitTest.h"

namespace {

constexpr char kTooLarge[] = "error 0 Font file is too large to read";
constexpr char kNoRecord[] = "no record";

class FileParsers : public testing::Test {
  protected:
    struct Row {
        const char* extension;
        std::unique_ptr<OxParserImp> parser;
        const char* withoutStatus;
        const char* tooLarge;
        const char* shortRead;
    };

    // Adds rows one by one: they own their parsers.
    FileParsers() {
        add<OxParserTrueTypeImp>(".ttf", "error 2", kTooLarge, "error -1003", 0);
        add<OxParserOpenTypeImp>(".otf", "error 2", kTooLarge, "error -1003", 0);
        add<OxParserTrueTypeCollectionImp>(".ttc", kNoRecord, kTooLarge, kNoRecord, 0);
        add<OxParserPFBImp>(".pfb", "error -1001", kTooLarge, "error -1003");
        add<OxParserPFMImp>(".pfm", "error -1001", kTooLarge, "");
        add<OxParserDfontImp>(".dfont", kNoRecord, kNoRecord, kNoRecord);
    }
    template <typename Parser, typename... Arguments>
    void add(const char* extension, const char* withoutStatus, const char* tooLarge,
             const char* shortRead, Arguments... arguments) {
        rows.push_back({extension, std::make_unique<Parser>(arguments...), withoutStatus, tooLarge,
                        shortRead});
    }
    // Diagnostics of a file's only record, which has the two paths, "Foundry" and maybe a type.
    static std::string found(const Row& row, const fs::path& file) {
        const FontList fonts = taken(row.parser->parseFontFile(file));
        if (fonts.empty()) {
            return kNoRecord;
        }
        const bool hasType = fonts.front().getFontType() != OxFont::notSure;
        EXPECT_EQ(fonts.front().attributes().size(), hasType ? 4u : 3u) << file;
        EXPECT_EQ(fonts.front().getAttribute(eFileName), file.filename().string());
        return problems(fonts.front());
    }

    std::vector<Row> rows;
    TemporaryFolder folder;
};

TEST_F(FileParsers, TakeFilesByTheirExtensionAlone) {
    for (const Row& row : rows) {
        const std::string extension = row.extension;
        std::string upper = extension;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        std::string mixed = extension;
        mixed[2] = upper[2];
        for (const std::string& taken :
             {"/nowhere/a" + extension, "A" + upper, "a" + mixed, extension, "a.b" + extension}) {
            EXPECT_TRUE(row.parser->inspectFont(taken)) << taken;
        }
        for (const std::string& left :
             {extension.substr(1), "a" + extension + "2", std::string("a."), std::string("a"),
              "a" + extension + ".gz", extension + ".bak"}) {
            EXPECT_FALSE(row.parser->inspectFont(left)) << left;
        }
        for (const Row& other : rows) {
            EXPECT_EQ(row.parser->inspectFont("a" + extension + other.extension), &other == &row);
        }
        EXPECT_TRUE(row.parser->diagnoseFont("x"));
        EXPECT_TRUE(row.parser->repairFont("x"));
    }
}

TEST_F(FileParsers, FilesWithoutAReadableStatus) {
    const fs::path fifo = folder.path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const Row& row : rows) {
        for (const fs::path& file : {fifo, folder.path(), folder.path() / "missing"}) {
            EXPECT_EQ(found(row, file), row.withoutStatus) << row.extension << " " << file;
        }
    }
}

TEST_F(FileParsers, FilesOfTwoGigabytesAreNotRead) {
    const fs::path file = folder.write("huge", Bytes(300));
    fs::resize_file(file, kTooLargeToRead);
    for (const Row& row : rows) {
        EXPECT_EQ(found(row, file), row.tooLarge) << row.extension;
    }
}

TEST_F(FileParsers, AFileThatGivesLessThanItsSize) {
    // Its size says one page, and it reads as a few bytes.
    const fs::path file("/sys/devices/system/cpu/online");
    if (regularFileSize(file).value_or(0) < 4096) {
        GTEST_SKIP() << "no such file on this system";
    }
    for (const Row& row : rows) {
        EXPECT_EQ(found(row, file), row.shortRead) << row.extension;
    }
}

TEST(ParserSupport, ReadsNoFileThatHasGrownTooLargeSinceItsStatusWasRead) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("grown.pfb", "%!PS");
    ByteBuffer buffer;
    const auto read = [&](std::uint64_t size, std::size_t padding) {
        FileBytes bytes;
        return readWhole(file, size, bytes, buffer, padding);
    };
    ASSERT_TRUE(read(4, 2));
    EXPECT_EQ(buffer.size(), 6u);
    EXPECT_FALSE(read(5, 0));
    fs::resize_file(file, kTooLargeToRead);
    EXPECT_THROW(read(4, 0), FileTooLarge);
}

}  // namespace
