#include "OxFontReader.h"

#include <sys/stat.h>

#include "ResourceForkBuilder.h"
#include "SfntBuilder.h"
#include "UnitTest.h"

namespace {

// What a file's only record says, and what it says of the file beside its records; "none" without
// a record.
std::string told(const fs::path& file) {
    OxFontReader reader;
    std::string result;
    reader.setFileErrorReport(
        [&](const fs::path&, const std::string& reason) { result = " | " + reason; });
    if (!reader.inspectFont(file)) {
        return "none" + result;
    }
    const FontList fonts = taken(reader.parseFontFile(file));
    return fonts.size() == 1 ? problems(fonts.front()) : std::to_string(fonts.size()) + " records";
}

TEST(OxFontReader, TellsWhatCannotBeRead) {
    const TemporaryFolder folder;
    const Bytes font = SfntBuilder::goodFont();
    Bytes garbled = binHex({}, {.dataFork = font});
    garbled[garbled.size() / 2] = '~';
    Bytes cut = macBinary({}, {.dataFork = font});
    cut.resize(cut.size() - 300);
    folder.write("garbled", garbled);
    folder.write("cut", cut);
    for (const char* const name : {"large.ttf", "large.pfb", "large"}) {
        folder.write(name, font);
        fs::resize_file(folder.path() / name, std::uintmax_t{1} << 31);
    }
    for (const char* const name : {"pipe", "pipe.ttf"}) {
        ASSERT_EQ(::mkfifo((folder.path() / name).c_str(), 0600), 0);
    }
    for (const char* const name : {"link", "link.ttf"}) {
        fs::create_symlink("nowhere", folder.path() / name);
    }
    constexpr char kTooLarge[] = "error 20004 Font file is too large to read";
    const std::pair<const char*, std::string> cases[] = {
        {"garbled", "error 20516"},
        {"large.ttf", kTooLarge},
        {"large", kTooLarge},
        {"large.pfb", kTooLarge + std::string("; note 20002 named .pfb")},
        {"pipe", "none"},
        {"pipe.ttf", "error 20004 cannot read the file: Operation not supported"},
        {"link", "none"},
        {"link.ttf", "error 20004 cannot read the file: No such file or directory"},
    };
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(told(folder.path() / name), expected) << name;
    }
    EXPECT_THAT(told(folder.path() / "cut"), testing::EndsWith("error 20516 it is cut off"));
}

}  // namespace
