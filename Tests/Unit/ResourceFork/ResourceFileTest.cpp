#include "ResourceFile.h"

#include "ResourceFileWriter.h"
#include "ResourceForkBuilder.h"
#include "UnitTest.h"

namespace {

constexpr std::uint32_t kFond = 0x464F4E44;
constexpr std::uint32_t kSfnt = 0x73666E74;

std::int16_t openStatus(const Bytes& fork) {
    return ResourceFile().open(ByteView(fork));
}

// A small file with names, attributes, empty data and several types.
ResourceForkBuilder twoTypes() {
    return ResourceForkBuilder()
        .add("FOND", 128, bytesOf("first family"), "Alpha")
        .add("FOND", -5, bytesOf("second"), "Beta")
        .add("FOND", 40, {})
        .add("sfnt", 128, bytesOf("outline"), "", 0x20);
}

// A fork that is kept while it is open.
struct Opened : ResourceFile {
    explicit Opened(Bytes fork) : bytes(std::move(fork)) {
        EXPECT_EQ(open(ByteView(bytes)), noErr);
    }
    std::vector<int> ids(std::uint32_t type) {
        std::vector<int> ids;
        for (const Reference& reference : references(type)) {
            ids.push_back(reference.id);
        }
        return ids;
    }
    // "name: data", or the status.
    std::string text(const Reference* reference) const {
        if (reference == nullptr) {
            return "none";
        }
        const Data found = data(*reference);
        EXPECT_NE(found.status == noErr, found.bytes.data() == nullptr);
        return std::string(name(*reference)) + ": " +
               (found.status == noErr ? std::string(found.bytes.text())
                                      : std::to_string(found.status));
    }

    const Bytes bytes;
};

TEST(ResourceFile, ReadsTypesReferencesNamesAndDataInTheOrderOfTheMap) {
    Opened file(twoTypes());
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
    EXPECT_THAT(file.ids(kFond), ElementsAre(128, -5, 40));
    EXPECT_THAT(file.ids(code("NFNT")), IsEmpty());
    EXPECT_EQ(file.text(file.find(kFond, -5)), "Beta: second");
    EXPECT_EQ(file.text(file.find(kFond, 40)), ": ");
    EXPECT_EQ(file.text(file.find(kSfnt, 128)), ": outline");
    EXPECT_EQ(file.find(kSfnt, 128)->attributes, 0x20);
    EXPECT_EQ(file.find(kSfnt, 129), nullptr);
}

TEST(ResourceFile, EmptyForksAndForksWithoutResources) {
    EXPECT_EQ(openStatus({}), eofErr);
    EXPECT_EQ(openStatus(placeholderFork()), noErr);
    EXPECT_THAT(Opened(ResourceForkBuilder()).types(), IsEmpty());
}

TEST(ResourceFile, RefusesForksWhoseMapOrTypeListDoesNotFit) {
    const ResourceForkBuilder builder = twoTypes();
    const Bytes good = builder;
    const auto mapLength = static_cast<std::uint32_t>(good.size() - builder.mapAt());
    const struct {
        std::size_t at;
        int width;
        std::uint32_t value;
        std::int16_t status;
    } kCases[] = {{4, 4, get32(good, 4) + 1, mapReadErr},
                  {4, 4, 0xFFFFFFF0, mapReadErr},  // offset + length would wrap
                  {12, 4, get32(good, 12) + 1, mapReadErr},
                  {12, 4, 29, mapReadErr},
                  {builder.mapAt() + 24, 2, mapLength - 1, mapReadErr},
                  {builder.mapAt() + 24, 2, 0xFFFF, mapReadErr},
                  {builder.typeListAt(), 2, 0xFFFE, mapReadErr},
                  {builder.typeListAt(), 2, 0xFFFF, noErr},  // no types
                  {builder.mapAt(), 4, 0xDEADBEEF, noErr}};  // a copy of the header
    for (const auto& c : kCases) {
        Bytes fork = good;
        patch(fork, c.at, c.width, c.value);
        EXPECT_EQ(openStatus(fork), c.status) << c.at << " " << c.value;
    }
    for (const std::size_t size : {std::size_t{15}, good.size() - 1}) {
        Bytes fork = good;
        fork.resize(size);
        EXPECT_EQ(openStatus(fork), mapReadErr);
    }
}

TEST(ResourceFile, CountsOnlyReferencesInsideTheMap) {
    const ResourceForkBuilder builder = twoTypes();
    Bytes fork = builder;
    patch(fork, builder.typeEntryAt(1) + 4, 2, 0xFFFE);
    // One reference is real; the names behind it have room for none.
    EXPECT_EQ(Opened(fork).references(kSfnt).size(), (fork.size() - builder.referenceAt(3)) / 12);

    patch(fork, builder.typeEntryAt(1) + 4, 2, 0xFFFF);  // none
    patch(fork, builder.typeEntryAt(0) + 6, 2, 0xFFFF);  // far outside
    Opened file(fork);
    EXPECT_THAT(file.ids(kSfnt), IsEmpty());
    EXPECT_TRUE(file.holdsType(kSfnt));
    EXPECT_THAT(file.ids(kFond), IsEmpty());
}

TEST(ResourceFile, TheFirstOfDuplicatesCounts) {
    Opened file(ResourceForkBuilder()
                    .add("FOND", 1, bytesOf("one"))
                    .add("FOND", 1, bytesOf("one more"))
                    .add("sfnt", 2, bytesOf("two"))
                    .addTypeAgain("FOND", "sfnt"));
    EXPECT_THAT(file.ids(kFond), ElementsAre(1, 1));
    EXPECT_EQ(file.text(file.find(kFond, 1)), ": one");
    EXPECT_EQ(file.text(&file.references(kFond)[1]), ": one more");
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
}

TEST(ResourceFile, DataAndNamesMayLieAnywhereInTheForkButNotOutside) {
    const ResourceForkBuilder builder = twoTypes();
    const Bytes good = builder;
    const auto room = static_cast<std::uint32_t>(good.size() - 256 - 4);
    const struct {
        std::size_t at;
        int width;
        std::uint32_t value;
        std::string text;  // of the first resource
    } kCases[] = {{256, 4, room, "Alpha: " + std::string(good.begin() + 260, good.end())},
                  {256, 4, room + 1, "Alpha: -192"},
                  {256, 4, 0xFFFFFFFF, "Alpha: -192"},
                  {builder.referenceAt(0) + 6, 2, 0xFFFF, "Alpha: -192"},
                  {0, 4, 0xFFFFFFFF, "Alpha: -192"},  // the data area itself
                  {builder.referenceAt(0), 2, 1, "Alpha: first family"},
                  {builder.referenceAt(0) + 2, 2, 0xFFFE, ": first family"},
                  {builder.mapAt() + 26, 2, 0xFFFF, ": first family"},
                  {good.size() - 5 - 6, 1, 10,
                   "Alpha\x04"
                   "Beta: first family"},  // just the whole list
                  {good.size() - 5 - 6, 1, 11, ": first family"}};
    for (const auto& c : kCases) {
        Bytes fork = good;
        patch(fork, c.at, c.width, c.value);
        Opened file(fork);
        EXPECT_EQ(file.text(&file.references(kFond)[0]), c.text) << c.at << " " << c.value;
    }
}

TEST(ResourceFile, CompressedResourcesAreNotDecompressed) {
    const Bytes compressed = {0xA8, 0x9F, 0x65, 0x72, 1, 2, 3};
    Opened file(ResourceForkBuilder()
                    .add("FOND", 1, compressed, "", 0x01)
                    .add("FOND", 2, compressed, "", 0x00)
                    .add("FOND", 3, bytesOf("plain"), "", 0x01));
    EXPECT_EQ(file.data(*file.find(kFond, 1)).status, CantDecompress);
    EXPECT_EQ(file.data(*file.find(kFond, 2)).status, noErr);
    EXPECT_EQ(file.data(*file.find(kFond, 3)).status, noErr);
}

TEST(ResourceFile, ManyReferencesAreFoundQuickly) {
    // All ids of 5,000 references, each looked for; a search through the list each time would take
    // 25 million steps per round.
    ResourceForkBuilder builder;
    for (int i = 0; i < 5000; ++i) {
        builder.add("NFNT", 5000 - i, Bytes(1, static_cast<std::uint8_t>(i)));
    }
    Opened file(builder);
    for (int round = 0; round < 100; ++round) {
        for (int id = 1; id <= 5000; ++id) {
            const auto* reference = file.find(code("NFNT"), static_cast<std::int16_t>(id));
            ASSERT_TRUE(reference != nullptr && reference->id == id) << id;
        }
    }
}

TEST(ResourceFileWriter, WritesWhatTheReaderReads) {
    const Bytes first = bytesOf("family"), second = bytesOf("outline");
    ResourceFileWriter writer;
    EXPECT_TRUE(writer.add(kFond, -3, "Name \x8E", 0x20, ByteView(first)));
    EXPECT_TRUE(writer.add(kSfnt, 7, std::string(300, 'x'), 0, ByteView(second)));
    EXPECT_TRUE(writer.add(kFond, 4, "", 0, {}));
    Opened file(writer.build());
    EXPECT_THAT(file.types(), ElementsAre(kFond, kSfnt));
    EXPECT_THAT(file.ids(kFond), ElementsAre(-3, 4));
    EXPECT_EQ(file.text(file.find(kFond, -3)), "Name \x8E: family");
    EXPECT_EQ(file.find(kFond, -3)->attributes, 0x20);
    EXPECT_EQ(file.text(file.find(kSfnt, 7)), std::string(255, 'x') + ": outline");
    EXPECT_EQ(file.text(file.find(kFond, 4)), ": ");
    EXPECT_EQ(openStatus(ResourceFileWriter().build()), noErr);
}

TEST(ResourceFileWriter, RefusesWhatTheFormatCannotHold) {
    const Bytes large(10 << 20);
    ResourceFileWriter full;
    EXPECT_TRUE(full.add(kSfnt, 1, "", 0, ByteView(large)));
    EXPECT_TRUE(full.add(kSfnt, 2, "", 0, ByteView(large)));
    EXPECT_FALSE(full.add(kSfnt, 3, "", 0, {}));  // would begin past 16 MiB
    Opened file(full.build());
    EXPECT_EQ(file.data(*file.find(kSfnt, 2)).bytes.size(), large.size());

    ResourceFileWriter many;
    int added = 0;
    while (added < 70000 && many.add(kSfnt, static_cast<std::int16_t>(added), "", 0, {})) {
        ++added;
    }
    EXPECT_EQ(added, (65535 - 30 - 8) / 12);
    EXPECT_EQ(openStatus(many.build()), noErr);
}

}  // namespace
