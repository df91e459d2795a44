#include "ForkLocator.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <map>

#include "AppleDouble.h"
#include "LogRecorder.h"
#include "MacErrors.h"
#include "ResourceForkBuilder.h"

namespace fs = boost::filesystem;

namespace {

// Attributes as a test wants them, on any file system and under any name.
using Attributes = std::map<std::string, Bytes>;

ForkLocator::Environment environmentWith(const Attributes& attributes) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    environment.listAttributes = [attributes](const fs::path&) {
        std::vector<std::string> names;
        for (const auto& [name, value] : attributes) {
            names.push_back(name);
        }
        return names;
    };
    environment.readAttribute = [attributes](const fs::path&, const std::string& name,
                                             std::uint64_t) -> std::optional<Bytes> {
        const auto found = attributes.find(name);
        return found != attributes.end() ? std::optional<Bytes>(found->second) : std::nullopt;
    };
    return environment;
}

// A fork that tells from which place it came.
Bytes forkNamed(const std::string& text) {
    return ResourceForkBuilder().add("FOND", 128, bytesOf(text), text).build();
}

class ForkLocatorTest : public testing::Test {
  protected:
    // The file that all look for; not empty, so that nothing else is mistaken for it.
    fs::path font() const { return folder_.path() / "Font"; }
    void SetUp() override { folder_.write("Font", "no fork in here"); }
    fs::path write(const std::string& name, const Bytes& bytes) {
        return folder_.write(name, bytes);
    }

    // "TYPE from place".
    static std::string finder(ForkLocator& locator, const fs::path& file) {
        const FinderAnswer answer = locator.finderInfo(file);
        const auto text = answer.info.view().slice(0, 4).text();
        return answer.place == ForkPlace::eNone
                   ? "status " + std::to_string(answer.status)
                   : std::string(text) + " from " + forkPlaceName(answer.place);
    }
    std::string finder() { return finder(locator_, font()); }

    // The data of the fork's one resource and its place.
    static std::string fork(ForkLocator& locator, const fs::path& file) {
        const ForkAnswer answer = locator.resourceFork(file);
        if (answer.status != noErr) {
            return "status " + std::to_string(answer.status);
        }
        const auto length = get32(*answer.bytes, 8) == 0 ? 0 : get32(*answer.bytes, 256);
        EXPECT_EQ(answer.bytes->size(), answer.source.length);
        return std::string(answer.bytes->begin() + 260, answer.bytes->begin() + 260 + length) +
               " from " + forkPlaceName(answer.source.place);
    }
    std::string fork() { return fork(locator_, font()); }

    TemporaryFolder folder_;
    ForkLocator locator_;
};

TEST_F(ForkLocatorTest, AFileWithoutForkHasNone) {
    EXPECT_EQ(fork(), "status -39");
    EXPECT_EQ(finder(), "status 0");
    EXPECT_FALSE(locator_.hasForkOutsideFile(font()));
}

TEST_F(ForkLocatorTest, FoldersMissingFilesAndSpecialFilesAreNoFiles) {
    const fs::path fifo = folder_.path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    write("._fifo", appleDouble("FFIL", "DMOV", forkNamed("x")));
    for (const fs::path& path : {folder_.path(), folder_.path() / "none", font() / "below", fifo}) {
        EXPECT_EQ(fork(locator_, path), "status -43") << path;
        EXPECT_EQ(finder(locator_, path), "status -43") << path;
    }
}

TEST_F(ForkLocatorTest, AppleDoubleSidecars) {
    write("%Font", appleDouble("PERC", "DMOV", forkNamed("percent")));
    EXPECT_EQ(fork(), "percent from AppleDouble sidecar of A/UX");
    EXPECT_EQ(finder(), "PERC from AppleDouble sidecar of A/UX");
    write("._Font", appleDouble("FFIL", "DMOV", forkNamed("sidecar")));
    EXPECT_EQ(fork(), "sidecar from AppleDouble sidecar");
    EXPECT_EQ(finder(), "FFIL from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, EntriesOfASidecarComeInAnyOrderAndShape) {
    const Bytes info = finderInfoBytes("FFIL", "DMOV");
    Bytes longInfo = info;
    append(longInfo, std::string(2, '\0') + "ATTR and so on");
    for (const AppleEntries& entries :
         {AppleEntries{{2, forkNamed("f")}, {9, info}},
          AppleEntries{{9, longInfo}, {2, forkNamed("f")}},
          AppleEntries{{1, {}}, {0x80444556, Bytes(9)}, {9, info}, {2, forkNamed("f")}, {3, {}}},
          AppleEntries{{9, info}, {2, forkNamed("f")}, {2, forkNamed("second")}}}) {
        for (const std::uint32_t version : {0x10000u, 0x20000u}) {
            ForkLocator locator;
            write("._Font", appleFile(0x00051607, entries, version));
            EXPECT_EQ(fork(locator, font()), "f from AppleDouble sidecar");
            EXPECT_EQ(finder(locator, font()), "FFIL from AppleDouble sidecar");
        }
    }
}

TEST_F(ForkLocatorTest, DamagedSidecarsAreRefused) {
    const Bytes good = appleDouble("FFIL", "DMOV", forkNamed("fork"));
    const auto with = [&](std::size_t at, std::uint32_t value) {
        Bytes bad = good;
        patch(bad, at, 4, value);
        write("._Font", bad);
        ForkLocator locator;
        return fork(locator, font()) + ", " + finder(locator, font());
    };
    EXPECT_EQ(with(0, 0x00051608), "status -39, status 0");
    EXPECT_EQ(with(0, 0x00051600), "status -39, status 0");  // AppleSingle is no sidecar
    EXPECT_EQ(with(0, 0x00000000), "status -39, status 0");  // only under .AppleDouble
    EXPECT_EQ(with(4, 0x00030000), "status -39, status 0");
    EXPECT_EQ(with(22, 0x00000000), "status -39, status 0");  // no entries
    EXPECT_EQ(with(22, 0x0000FFFF), "status -39, status 0");  // a table past the end
    const std::string info = ", FFIL from AppleDouble sidecar";
    EXPECT_EQ(with(42, 20), "status -39" + info);          // a fork over the header
    EXPECT_EQ(with(42, 0xFFFFFFFF), "status -39" + info);  // a fork past the end
    EXPECT_EQ(with(46, 0), "status -39" + info);           // an empty fork
    EXPECT_EQ(with(46, 0xFFFFFFFF), "fork from AppleDouble sidecar" + info);  // a stale length
    EXPECT_EQ(with(82 + 4, 0x7FFFFFFF), "status -199" + info);  // a damaged resource header
    EXPECT_EQ(with(30, 4000), "fork from AppleDouble sidecar, status 0");  // no Finder information
}

TEST_F(ForkLocatorTest, PlaceholdersAndDamageYieldToARealForkOfALaterPlace) {
    write("._Font", appleDouble("FFIL", "DMOV", placeholderFork()));
    EXPECT_EQ(locator_.resourceFork(font()).bytes->size(), 286u);
    write(".AppleDouble/Font", appleDouble("LATE", "DMOV", forkNamed("real")));
    EXPECT_EQ(fork(), "real from .AppleDouble folder");
    EXPECT_EQ(finder(), "FFIL from AppleDouble sidecar");
    write("._Font", appleDouble("FFIL", "DMOV", bytesOf("this is no fork at all")));
    EXPECT_EQ(fork(), "real from .AppleDouble folder");
    write(".AppleDouble/Font", placeholderFork());
    EXPECT_EQ(fork(), "status -199");
}

TEST_F(ForkLocatorTest, SidecarsAreNeverReachedThroughLinksAndNeverBlock) {
    const TemporaryFolder elsewhere;
    const fs::path other = elsewhere.write("secret", appleDouble("FFIL", "DMOV", forkNamed("x")));
    fs::create_symlink(other, folder_.path() / "._Font");
    elsewhere.write("Font", appleDouble("FFIL", "DMOV", forkNamed("x")));
    fs::create_symlink(elsewhere.path(), folder_.path() / ".AppleDouble");
    ASSERT_EQ(::mkfifo((folder_.path() / "%Font").c_str(), 0600), 0);
    EXPECT_EQ(fork(), "status -39");
    EXPECT_EQ(finder(), "status 0");
}

TEST_F(ForkLocatorTest, SidecarsLieBesideALinkOrBesideItsTarget) {
    const fs::path target = write("real/Target", bytesOf("data"));
    write("real/._Target", appleDouble("FFIL", "DMOV", forkNamed("target")));
    fs::create_symlink(target, folder_.path() / "Link");
    write("._Link", appleDouble("LINK", "DMOV", forkNamed("link")));
    EXPECT_EQ(fork(locator_, folder_.path() / "Link"), "target from AppleDouble sidecar");
    fs::remove(folder_.path() / "real/._Target");
    ForkLocator fresh;
    EXPECT_EQ(fork(fresh, folder_.path() / "Link"), "link from AppleDouble sidecar");
    EXPECT_EQ(finder(fresh, folder_.path() / "Link"), "LINK from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, NamesMayDifferInNormalisation) {
    const std::string composed = "Caf\xC3\xA9 \xED\x95\x9C",
                      taken = "Cafe\xCC\x81 \xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB";
    write(composed, bytesOf("data"));
    write("._" + taken, appleDouble("FFIL", "DMOV", forkNamed("same")));
    EXPECT_EQ(fork(locator_, folder_.path() / composed), "same from AppleDouble sidecar");
    EXPECT_TRUE(locator_.isSidecar(folder_.path() / ("._" + taken)));
    write("._" + composed, appleDouble("FFIL", "DMOV", forkNamed("exact")));
    EXPECT_EQ(fork(locator_, folder_.path() / composed), "exact from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, NetatalkFolders) {
    Bytes old = appleFile(0, {{2, forkNamed("netatalk")}, {9, finderInfoBytes("FFIL", "DMOV")}}, 0);
    patch(old, 34, 4, 100000);  // a stale length
    write(".AppleDouble/Font", old);
    // Without magic only a consistent table is believed.
    EXPECT_EQ(fork(), "netatalk from .AppleDouble folder");
    EXPECT_EQ(finder(), "FFIL from .AppleDouble folder");
    patch(old, 30, 4, 100000);
    write(".AppleDouble/Font", old);
    EXPECT_EQ(fork(), "status -39");
}

TEST_F(ForkLocatorTest, PcExchangeAndDave) {
    write("FONT.SUI", bytesOf("data"));
    write("long name.txt", bytesOf("data"));
    write("RESOURCE.FRK/FONT.SUI", forkNamed("pc"));
    write("RESOURCE.FRK/LONGNA~1.TXT", forkNamed("by Mac name"));
    write("LONGNA~1.TXT", bytesOf(""));
    std::vector<FinderDatRecord> records(7, {"Other", "OTHER   TXT", "TEXT", "ttxt"});
    write("OTHER.TXT", bytesOf(""));
    records.push_back({"Font", "FONT    SUI", "FFIL", "DMOV"});
    records.push_back({"Long Name.txt", "LONGNA~1TXT", "LWFN", "ASPF"});
    for (const std::size_t cluster : {512u, 2048u, 100000u}) {
        write("FINDER.DAT", finderDat(records, cluster));
        ForkLocator locator;
        EXPECT_EQ(finder(locator, folder_.path() / "FONT.SUI"), "FFIL from PC Exchange") << cluster;
        EXPECT_EQ(finder(locator, folder_.path() / "long name.txt"), "LWFN from PC Exchange");
        EXPECT_EQ(fork(locator, folder_.path() / "FONT.SUI"), "pc from PC Exchange");
        EXPECT_EQ(fork(locator, folder_.path() / "long name.txt"), "by Mac name from PC Exchange");
    }
    write("lower/font.sui", bytesOf("data"));
    write("lower/resource.frk/FONT.SUI", appleDouble("FFIL", "DMOV", forkNamed("dave")));
    EXPECT_EQ(fork(locator_, folder_.path() / "lower/font.sui"), "dave from DAVE");
    EXPECT_EQ(finder(locator_, folder_.path() / "lower/font.sui"), "FFIL from DAVE");
}

TEST_F(ForkLocatorTest, FoldersOfUnixServers) {
    Bytes info = finderInfoBytes("FFIL", "DMOV");
    info.resize(300);
    write(".finderinfo/Font", info);
    write(".resource/Font", forkNamed("cap"));
    EXPECT_EQ(fork(), "cap from CAP");
    EXPECT_EQ(finder(), "status 0");  // without its two marks
    info[34] = 0xFF;
    info[36] = 0xDA;
    write(".finderinfo/Font", info);
    EXPECT_EQ(finder(), "FFIL from CAP");

    Bytes etherShare(512);
    patch(etherShare, 0, 4, 0x03681093);
    patch(etherShare, 8, 2, 0x0102);
    const Bytes type = finderInfoBytes("ETHR", "DMOV");
    std::copy(type.begin(), type.end(), etherShare.begin() + 32);
    append(etherShare, forkNamed("helios"));
    write("e/Font", bytesOf("data"));
    write("e/.rsrc/Font", etherShare);
    EXPECT_EQ(fork(locator_, folder_.path() / "e/Font"), "helios from EtherShare");
    EXPECT_EQ(finder(locator_, folder_.path() / "e/Font"), "ETHR from EtherShare");

    Bytes uShare = finderInfoBytes("USHR", "DMOV");
    uShare.resize(512);
    append(uShare, forkNamed("ushare"));
    write("u/Font", bytesOf("data"));
    write("u/.rsrc/Font", uShare);
    EXPECT_EQ(fork(locator_, folder_.path() / "u/Font"), "ushare from EtherShare");
    EXPECT_EQ(finder(locator_, folder_.path() / "u/Font"), "USHR from EtherShare");

    write("b/Font", bytesOf("data"));
    write("b/.rsrc/Font", forkNamed("basilisk"));
    write("b/.finf/Font", finderInfoBytes("BSLK", "DMOV"));
    EXPECT_EQ(fork(locator_, folder_.path() / "b/Font"), "basilisk from Basilisk II");
    EXPECT_EQ(finder(locator_, folder_.path() / "b/Font"), "BSLK from Basilisk II");

    Bytes ancillary(600);
    for (const std::size_t record : {0u, 300u}) {
        const std::string name = record == 0 ? "Fontless" : "Font", code = "XNETDMOV";
        std::copy(code.begin(), code.end(),
                  ancillary.begin() + static_cast<std::ptrdiff_t>(record) + 8);
        std::copy(name.begin(), name.end(),
                  ancillary.begin() + static_cast<std::ptrdiff_t>(record) + 254);
    }
    write("x/Font", bytesOf("data"));
    write("x/.HSancillary", ancillary);
    write("x/.HSResource/Font", forkNamed("xinet"));
    EXPECT_EQ(fork(locator_, folder_.path() / "x/Font"), "xinet from XINET");
    EXPECT_EQ(finder(locator_, folder_.path() / "x/Font"), "XNET from XINET");
}

TEST_F(ForkLocatorTest, LooseSidecarsOfArchiversAndProDos) {
    write("R.Font", appleDouble("PRDS", "DMOV", forkNamed("prodos")));
    EXPECT_EQ(fork(), "prodos from AppleDouble sidecar of ProDOS");
    write("Font.rsrc", forkNamed("raw"));
    EXPECT_EQ(fork(), "raw from file named .rsrc");
    EXPECT_EQ(finder(), "PRDS from AppleDouble sidecar of ProDOS");
}

TEST_F(ForkLocatorTest, AttributesAreReadUnderEachSystemsNames) {
    Bytes sambaFork = forkNamed("fork");
    sambaFork.push_back(0);
    Bytes sambaInfo = afpInfo("SMBA", "DMOV");
    sambaInfo.push_back(0);
    const Bytes metadata =
        appleFile(0x00051607, {{4, Bytes(200)}, {9, finderInfoBytes("NTLK", "DMOV")}});
    struct Case {
        Attributes attributes;
        std::string fork;
        std::string finder;
    };
    const Case cases[] = {
        {{{"com.apple.ResourceFork", forkNamed("fork")},
          {"com.apple.FinderInfo", finderInfoBytes("NATV", "DMOV")}},
         "fork from attribute of macOS",
         "NATV from attribute of macOS"},
        {{{"user.com.apple.ResourceFork", forkNamed("fork")},
          {"user.com.apple.FinderInfo", finderInfoBytes("COPY", "DMOV")}},
         "fork from copied attribute of macOS",
         "COPY from copied attribute of macOS"},
        {{{"user.org.netatalk.Metadata", metadata}},
         "status -39",
         "NTLK from attribute of Netatalk"},
        {{{"org.netatalk.Metadata", metadata}, {"org.netatalk.ResourceFork", forkNamed("fork")}},
         "fork from attribute of Netatalk",
         "NTLK from attribute of Netatalk"},
        {{{"user.DosStream.AFP_Resource:$DATA", sambaFork},
          {"user.DosStream.AFP_AfpInfo:$DATA", sambaInfo}},
         "fork from stream of Samba",
         "SMBA from stream of Samba"},
        {{{"user.DosStream.AFP_Resource:$DATA", forkNamed("whole")}},
         "whole from stream of Samba",
         "status 0"},
        {{{"user.AFP_Resource", forkNamed("fork")}, {"user.AFP_AfpInfo", afpInfo("NTFS", "DMOV")}},
         "fork from stream of NTFS",
         "NTFS from stream of NTFS"},
        {{{"user.AFP_AfpInfo", finderInfoBytes("BAD!", "DMOV")}}, "status -39", "status 0"},
        {{{"hfs.type", bytesOf("HFS1")}, {"hfs.creator", bytesOf("DMOV")}},
         "status -39",
         "HFS1 from HFS volume"},
        {{{"osx.com.apple.FinderInfo", finderInfoBytes("HFS2", "DMOV")}},
         "status -39",
         "HFS2 from HFS Plus volume"},
        {{{"com.apple.FinderInfo", Bytes(32)},
          {"osx.com.apple.FinderInfo", finderInfoBytes("HFS2", "DMOV")}},
         "status -39",
         "HFS2 from HFS Plus volume"},
    };
    for (const Case& c : cases) {
        ForkLocator locator(environmentWith(c.attributes));
        EXPECT_EQ(fork(locator, font()), c.fork);
        EXPECT_EQ(finder(locator, font()), c.finder);
    }
    ForkLocator samba(environmentWith(cases[4].attributes));
    EXPECT_EQ(*samba.externalForks(font()).resourceFork, forkNamed("fork"));
}

TEST_F(ForkLocatorTest, AnHfsPlusAttributeNeedNotBeListed) {
    auto environment =
        environmentWith({{"osx.com.apple.FinderInfo", finderInfoBytes("FFIL", "DMOV")}});
    environment.listAttributes = [](const fs::path&) {
        return std::vector<std::string>{"osx.com.apple.FinderInf"};
    };
    ForkLocator elsewhere(environment);
    EXPECT_EQ(finder(elsewhere, font()), "status 0");
    environment.hidesAttributes = [](const FolderListing&) { return true; };
    ForkLocator locator(environment);
    EXPECT_EQ(finder(locator, font()), "FFIL from HFS Plus volume");
}

TEST_F(ForkLocatorTest, ForksThatAMountDoesNotGiveAreLogged) {
    for (const Attributes& attributes :
         {Attributes{{"hfs.type", bytesOf("FFIL")}, {"hfs.creator", bytesOf("DMOV")}},
          Attributes{{"osx.com.apple.FinderInfo", finderInfoBytes("FFIL", "DMOV")}}}) {
        folder_.write("Font", "no fork in here");
        const LogRecorder log;
        ForkLocator locator(environmentWith(attributes));
        EXPECT_EQ(fork(locator, font()), "status -39");
        EXPECT_EQ(log.linesWith("out of reach on its volume:  " + font().string()).size(), 1u);
        write("Font", macBinary(forkNamed("binary")));
        EXPECT_EQ(fork(locator, font()), "binary from MacBinary file");
        EXPECT_EQ(log.linesWith("out of reach").size(), 1u);
    }
    const LogRecorder log;
    EXPECT_EQ(fork(locator_, write("Other", bytesOf("no fork in here"))), "status -39");
    EXPECT_TRUE(log.linesWith("out of reach").empty());
}

TEST_F(ForkLocatorTest, ForkAndFinderInformationComeFromDifferentPlaces) {
    // A server's attribute is newer than what its sidecar says.
    const Bytes metadata = appleFile(0x00051607, {{9, finderInfoBytes("FFIL", "DMOV")}});
    write("._Font", appleDouble("STAL", "DMOV", forkNamed("sidecar")));
    ForkLocator netatalk(environmentWith({{"user.org.netatalk.Metadata", metadata},
                                          {"user.org.netatalk.ResourceFork", forkNamed("later")}}));
    EXPECT_EQ(finder(netatalk, font()), "FFIL from attribute of Netatalk");
    EXPECT_EQ(fork(netatalk, font()), "sidecar from AppleDouble sidecar");
}

TEST_F(ForkLocatorTest, ReadsTheFileSystemsAttributes) {
    const Bytes info = finderInfoBytes("FFIL", "DMOV");
    const Bytes bytes = forkNamed("small");
    if (::setxattr(font().c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0) != 0 ||
        ::setxattr(font().c_str(), "user.com.apple.ResourceFork", bytes.data(), bytes.size(), 0) !=
            0) {
        GTEST_SKIP() << "no extended attributes in " << folder_.path();
    }
    EXPECT_EQ(finder(), "FFIL from copied attribute of macOS");
    EXPECT_EQ(fork(), "small from copied attribute of macOS");
    EXPECT_EQ(*locator_.externalForks(font()).resourceFork, bytes);
}

TEST_F(ForkLocatorTest, NativeForksAreReadThroughTheirPath) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    environment.namedForkSuffix = ".named";
    environment.hfsForkSuffix = ".hfs";
    ForkLocator locator(environment);
    write("Font.hfs", forkNamed("hfs"));
    EXPECT_EQ(fork(locator, font()), "hfs from HFS volume");
    write("Font.named", forkNamed("native"));
    EXPECT_EQ(fork(locator, font()), "native from named fork");
}

TEST_F(ForkLocatorTest, TheFileItselfMayBeAContainer) {
    const fs::path file = font();
    write("Font",
          appleFile(0x00051600,
                    {{2, forkNamed("single")}, {9, finderInfoBytes("SNGL", "DMOV")}, {1, {}}}));
    EXPECT_EQ(fork() + ", " + finder(), "single from AppleSingle file, SNGL from AppleSingle file");
    EXPECT_FALSE(locator_.hasForkOutsideFile(file));
    write("Font", appleDouble("DBLE", "DMOV", forkNamed("double")));
    EXPECT_EQ(fork() + ", " + finder(), "double from AppleDouble file, DBLE from AppleDouble file");
    write("Font", macBinary(forkNamed("binary")));
    EXPECT_EQ(fork() + ", " + finder(), "binary from MacBinary file, FFIL from MacBinary file");
    write("Font", binHex(forkNamed("hex")));
    EXPECT_EQ(fork() + ", " + finder(), "hex from BinHex file, FFIL from BinHex file");
    // What lies beside the file goes first.
    write("._Font", appleDouble("SIDE", "DMOV", {}));
    EXPECT_EQ(fork() + ", " + finder(), "hex from BinHex file, SIDE from AppleDouble sidecar");
    EXPECT_TRUE(locator_.hasForkOutsideFile(file));
}

TEST_F(ForkLocatorTest, MacBinaryVersionsAndTheirDamage) {
    const auto answer = [&](const Bytes& bytes) {
        write("Font", bytes);
        return fork() + ", " + finder();
    };
    const std::string found = "f from MacBinary file, FFIL from MacBinary file";
    const std::string refused = "status -39, status 0";
    MacBinaryOptions options;
    options.dataFork = Bytes(129, 'd');
    options.secondaryLength = 5;
    EXPECT_EQ(answer(macBinary(forkNamed("f"), options)), found);
    options.rightChecksum = false;  // the signature is enough
    EXPECT_EQ(answer(macBinary(forkNamed("f"), options)), found);
    options.version = 2;  // writers that get it wrong exist; the rest has to be right
    EXPECT_EQ(answer(macBinary(forkNamed("f"), options)), found);
    EXPECT_EQ(answer(macBinary(bytesOf("this is no fork"), options)), refused);
    options.rightChecksum = true;
    EXPECT_EQ(answer(macBinary(bytesOf("this is no fork"), options)),
              "status -199, FFIL from MacBinary file");

    options = {};
    options.version = 1;
    const Bytes first = macBinary(forkNamed("f"), options);
    EXPECT_EQ(answer(first), found);
    EXPECT_EQ(answer(Bytes(first.begin(), first.begin() + 128 +
                                              static_cast<std::ptrdiff_t>(forkNamed("f").size()))),
              found);  // a last block that is not padded
    for (const auto& [at, value] : {std::pair{0u, 1},
                                    {1u, 0},
                                    {1u, 64},
                                    {4u, 0},
                                    {65u, 0},
                                    {74u, 1},
                                    {82u, 1},
                                    {87u, 0x80},
                                    {110u, 1}}) {
        Bytes bad = first;
        bad[at] = static_cast<std::uint8_t>(value);
        EXPECT_EQ(answer(bad), refused) << at;
    }
    EXPECT_EQ(answer(Bytes(1000)), refused);  // zeros have a right checksum
    Bytes trueType(1000);
    trueType[1] = 1;
    patch(trueType, 102, 4, code("mBIN"));
    EXPECT_EQ(answer(trueType), refused);
    EXPECT_EQ(answer(Bytes(first.begin(), first.begin() + 127)), refused);
}

TEST_F(ForkLocatorTest, TheBinHexLineIsLookedForOnlyNearTheStart) {
    BinHexOptions options;
    options.before = std::string(87, '-') + "\n";  // the line begins at 88 and fits 128 just so
    write("Font", binHex(forkNamed("hex"), options));
    EXPECT_EQ(fork(), "hex from BinHex file");
    options.before.insert(0, "-");
    write("Font", binHex(forkNamed("hex"), options));
    EXPECT_EQ(fork(), "status -39");
    options.before = std::string(4000, '-') + "\r";
    const fs::path named = write("Font.HQX", binHex(forkNamed("hex"), options));
    EXPECT_EQ(fork(locator_, named), "hex from BinHex file");
    EXPECT_EQ(finder(locator_, named), "FFIL from BinHex file");
    options.before = std::string(5000, '-') + "\n";
    write("Font.HQX", binHex(forkNamed("hex"), options));
    EXPECT_EQ(fork(locator_, named), "status -39");
    options.before = "> ";
    write("Font.HQX", binHex(forkNamed("hex"), options));
    EXPECT_EQ(fork(locator_, named), "status -39");
}

TEST_F(ForkLocatorTest, BinHexIsUnpackedAsFarAsItIsWhole) {
    Bytes data(100000, 0x90);  // runs of the marker itself
    append(data, Bytes(500, 'a'));
    Bytes inFork(2000, 0x90);
    append(inFork, "\x90 abc");
    const Bytes bytes = ResourceForkBuilder().add("POST", 501, inFork).build();
    BinHexOptions options;
    options.dataFork = data;
    write("Font", binHex(bytes, options));
    EXPECT_EQ(*locator_.resourceFork(font()).bytes, bytes);

    options.lastColon = false;
    Bytes text = binHex(bytes, options);
    write("Font", text);
    EXPECT_EQ(*locator_.resourceFork(font()).bytes, bytes);
    text.resize(text.size() - 20);
    write("Font", text);
    EXPECT_EQ(fork(), "status -199");
    EXPECT_EQ(finder(), "FFIL from BinHex file");
    options.rightForkChecksum = false;
    write("Font", binHex(bytes, options));
    EXPECT_EQ(fork(), "status -199");

    text = binHex(bytes);
    text[60] = '7';  // none of the alphabet
    write("Font", text);
    EXPECT_EQ(fork() + ", " + finder(), "status -39, status 0");
}

TEST_F(ForkLocatorTest, ABinHexHeaderThatClaimsMuchCostsLittle) {
    Bytes header = bytesOf(std::string_view("\x01n\0FFILDMOV\0\0", 13));
    append32(header, 0x7FFFFFFF);
    append32(header, 0x7FFFFFFF);
    append16(header, xmodem(header));
    append(header, Bytes(300000, 0));
    write("Font", bytesOf("(This file must be converted with BinHex 4.0)\n:" + binHexText(header)));
    EXPECT_EQ(fork(), "status -199");
    EXPECT_EQ(finder(), "FFIL from BinHex file");
}

TEST_F(ForkLocatorTest, UnpackedArchivesKeepSidecarsInATreeBeside) {
    const fs::path file = write("top/a/b/Name", bytesOf("data"));
    write("top/__MACOSX/a/b/._Name", appleDouble("FFIL", "DMOV", forkNamed("zip")));
    EXPECT_EQ(fork(locator_, file), "zip from __MACOSX folder");
    EXPECT_EQ(finder(locator_, file), "FFIL from __MACOSX folder");
    write("top/a/__MACOSX/b/._Name", appleDouble("NEAR", "DMOV", forkNamed("nearer")));
    ForkLocator fresh;
    EXPECT_EQ(fork(fresh, file), "nearer from __MACOSX folder");
    const fs::path beside = write("flat/Name", bytesOf("data"));
    write("flat/__MACOSX/._Name", appleDouble("FLAT", "DMOV", forkNamed("flat")));
    EXPECT_EQ(finder(fresh, beside), "FLAT from __MACOSX folder");

    const fs::path linked = write("linked/a/Name", bytesOf("data"));
    fs::create_directories(folder_.path() / "linked/__MACOSX");
    fs::create_symlink(folder_.path() / "top/__MACOSX/a/b", folder_.path() / "linked/__MACOSX/a");
    EXPECT_EQ(fork(fresh, linked), "status -39");
}

TEST_F(ForkLocatorTest, AListingIsRenewedWhenTheFolderChanges) {
    EXPECT_EQ(fork(), "status -39");
    ::usleep(150000);  // from here on, the listing is kept
    EXPECT_EQ(fork(), "status -39");
    write("._Font", appleDouble("FFIL", "DMOV", forkNamed("new")));
    EXPECT_EQ(fork(), "new from AppleDouble sidecar");
    fs::remove(folder_.path() / "._Font");
    EXPECT_EQ(fork(), "status -39");
}

TEST_F(ForkLocatorTest, ForksOverTheLimitAreNotRead) {
    ForkLocator::Environment environment = ForkLocator::Environment::native();
    const Bytes bytes = forkNamed("large");
    environment.forkLimit = bytes.size();
    write("._Font", appleDouble("FFIL", "DMOV", bytes));
    ForkLocator exact(environment);
    EXPECT_EQ(fork(exact, font()), "large from AppleDouble sidecar");
    environment.forkLimit = bytes.size() - 1;
    ForkLocator less(environment);
    EXPECT_EQ(fork(less, font()), "status -108");
    EXPECT_EQ(less.externalForks(font()).status, memFullErr);
}

TEST_F(ForkLocatorTest, ExternalForksAreWhatACopyWouldLose) {
    EXPECT_TRUE(locator_.externalForks(font()).empty());
    const Bytes bytes = forkNamed("fork");
    write("._Font", appleDouble("FFIL", "DMOV", bytes));
    const ExternalForks forks = locator_.externalForks(font());
    EXPECT_EQ(forks.status, noErr);
    EXPECT_EQ(*forks.resourceFork, bytes);
    EXPECT_EQ(forks.finderInfo.type(), code("FFIL"));

    // A copy with the same sidecar tells the same.
    write("Copy", bytesOf("data"));
    write("._Copy", appledouble::makeAppleDouble(forks.finderInfo, ByteView(*forks.resourceFork)));
    EXPECT_EQ(readFile(folder_.path() / "._Copy").size(), 82 + bytes.size());
    EXPECT_EQ(fork(locator_, folder_.path() / "Copy"), "fork from AppleDouble sidecar");
    EXPECT_EQ(finder(locator_, folder_.path() / "Copy"), "FFIL from AppleDouble sidecar");

    // Damaged forks are kept as they are, placeholders are nothing.
    write("._Font", appleDouble("FFIL", "DMOV", bytesOf("damaged")));
    EXPECT_EQ(*locator_.externalForks(font()).resourceFork, bytesOf("damaged"));
    EXPECT_EQ(locator_.externalForks(font()).status, noErr);
    write("._Font", appleFile(0x00051607, {{9, Bytes(32)}, {2, placeholderFork()}}));
    EXPECT_TRUE(locator_.externalForks(font()).empty());
    EXPECT_FALSE(locator_.hasForkOutsideFile(font()));
    Bytes flags(32);
    flags[9] = 2;  // a label is worth keeping, too
    write("._Font", appleFile(0x00051607, {{9, flags}}));
    EXPECT_TRUE(locator_.hasForkOutsideFile(font()));
}

TEST_F(ForkLocatorTest, SidecarsOfExistingFilesAreRecognised) {
    const Bytes sidecar = appleDouble("FFIL", "DMOV", forkNamed("x"));
    EXPECT_TRUE(locator_.isSidecar(write("._Font", sidecar)));
    EXPECT_TRUE(locator_.isSidecar(write("%Font", sidecar)));
    EXPECT_FALSE(locator_.isSidecar(write("._Orphan", sidecar)));
    EXPECT_FALSE(locator_.isSidecar(write("Other", sidecar)));
    write("Real", bytesOf("data"));
    EXPECT_FALSE(locator_.isSidecar(write("._Real", bytesOf("a user's own file"))));
    EXPECT_FALSE(locator_.isSidecar(write("%", sidecar)));
    // An orphan is read as the container that it is.
    EXPECT_EQ(finder(locator_, folder_.path() / "._Orphan"), "FFIL from AppleDouble file");

    for (const char* name :
         {".AppleDouble", ".resource", ".finderinfo", ".rsrc", ".finf", ".HSResource",
          ".AppleDesktop", "__MACOSX", "resource.frk", "RESOURCE.FRK", "__macosx"}) {
        EXPECT_TRUE(ForkLocator::isSidecarFolder(name)) << name;
    }
    EXPECT_FALSE(ForkLocator::isSidecarFolder("resource"));
    EXPECT_FALSE(ForkLocator::isSidecarFolder(".HSancillary"));
}

}  // namespace
