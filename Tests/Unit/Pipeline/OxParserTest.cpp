#include "OxParser.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <boost/function.hpp>
#include <cstdlib>
#include <fstream>
#include <future>
#include <stdexcept>

#include "ChildProcess.h"
#include "FontFoundryList.h"
#include "LogRecorder.h"
#include "MacFontBuilder.h"
#include "ScanTest.h"
#include "SfntBuilder.h"
#include "Type1Builder.h"

namespace {

class Pipeline : public ScanTest {};

TEST_F(Pipeline, CoordinatorsTakeTheirSourcesAndLists) {
    std::queue<fs::path> sources;
    sources.push("/a");
    sources.push("/b");
    const LogRecorder log;
    OxParser none("/names", "/codes");
    OxParser one("/a", "/names", "/codes");
    OxParser two(sources, "/names", "/codes");
    const std::pair<OxParser*, Lines> kCases[] = {
        {&none, {}}, {&one, {"/a"}}, {&two, {"/a", "/b"}}};
    for (const auto& [parser, expected] : kCases) {
        Lines found;
        for (fs::path next = parser->getNextPath(); !next.empty(); next = parser->getNextPath()) {
            found.push_back(next.string());
        }
        EXPECT_EQ(found, expected);
    }
    const Lines logged = log.linesWith("foundyCodeListPath");
    ASSERT_THAT(logged, SizeIs(6));
    for (std::size_t i = 0; i < logged.size(); ++i) {
        EXPECT_TRUE(logged[i].ends_with(i % 2 == 0 ? "  /codes" : "  /names")) << logged[i];
    }
}

TEST_F(Pipeline, FilesOfEveryFormatFindTheirParser) {
    const auto sfnt = SfntBuilder::goodFont();
    const auto fork = ResourceForkBuilder()
                          .add("FOND", 1, FondBuilder::of({{0, 0, 2}}))
                          .add("sfnt", 2, outline());
    const struct {
        const char* name;
        Bytes bytes;
        const char* type;
    } kFiles[] = {{"a.ttf", sfnt, "TTF"},
                  {"a.otf", sfnt, "OTPS"},
                  {"a.ttc", SfntBuilder::collection({sfnt}), "TTC"},
                  {"a.pfb", pfbFile(acmeType1Text()), "PFB"},
                  {"a.pfm", PfmBuilder().bytes(), ""},
                  {"a.dfont", fork, "TTF"},
                  {"suitcase", macBinary(fork), "TTF"}};
    OxParser parser(kNoList, kNoList);
    for (const auto& file : kFiles) {
        const FontList fonts = taken(parser.parseFile(folder.write(file.name, file.bytes)));
        ASSERT_THAT(fonts, SizeIs(1)) << file.name;
        EXPECT_EQ(fonts.front().getAttribute(eType), file.type) << file.name;
    }
    EXPECT_EQ(parser.parseFile(folder.write("a.txt", "text")), nullptr);
}

TEST_F(Pipeline, CountersTellHowFarTheScanIs) {
    writeFiles(3);
    folder.write("nobody.takes-this", "");
    const auto parser = coordinator();
    EXPECT_EQ(parser->filesParsed(), -1);
    EXPECT_EQ(parser->totalFiles(), -1);
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.found, ElementsAre(1, 2, 3, 4));
    ASSERT_THAT(host.fonts, SizeIs(3));
    EXPECT_EQ(host.fonts[0].total, 4);
    EXPECT_GE(host.fonts[0].parsed, 1);
    EXPECT_EQ(parser->filesParsed(), 4) << "files that nobody takes count, too";
    EXPECT_EQ(parser->totalFiles(), 4);
    EXPECT_THAT(host.fileCompletions, ElementsAre(false));
    EXPECT_THAT(host.fontCompletions, ElementsAre(false));
}

TEST_F(Pipeline, WithoutSourcesOnlyCompletionIsReported) {
    OxParser parser(kNoList, kNoList);
    ScanHost host(parser);
    host.run();
    EXPECT_THAT(host.found, IsEmpty());
    EXPECT_THAT(host.fonts, IsEmpty());
    EXPECT_THAT(host.fileCompletions, ElementsAre(false));
    EXPECT_THAT(host.fontCompletions, ElementsAre(false));
    EXPECT_EQ(parser.totalFiles(), 0);
}

TEST_F(Pipeline, TheFirstRegisteredParserThatAcceptsWins) {
    writeFiles(1);
    const auto parser =
        coordinator([](const fs::path&) { return ScriptedParser::records({"first"}); });
    parser->addParserImp(
        new ScriptedParser([](const fs::path&) { return ScriptedParser::records({"second"}); }));
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.fontNames(), ElementsAre("first"));
}

TEST_F(Pipeline, FileErrorsReachTheHostOnceAndBeforeTheRecordsOfTheirFile) {
    struct Troubled : ScriptedParser {
        Troubled() : ScriptedParser(oneRecord) {}
        bool inspectFont(fs::path file) override {
            reportFileError(file, "seen");
            return takesTestFiles(file);
        }
        boost::ptr_vector<OxFont>* parseFontFile(fs::path file) override {
            reportFileError(file, "seen");
            reportFileError(file, "read");
            return ScriptedParser::parseFontFile(file);
        }
    };
    writeFiles(2);
    folder.write("none", "");
    OxParser parser(folder.path(), kNoList, kNoList);
    parser.addParserImp(new Troubled);
    std::map<std::string, Lines> events;
    parser.fileErrorCallbacks.push_back([&](const fs::path& file, const std::string& reason) {
        events[file.filename().string()].push_back(reason);
    });
    parser.fontProgressCallbacks.push_back([&](int, int, const boost::shared_ptr<OxFont>& font) {
        events[font->sourceFile().filename().string()].emplace_back("record");
    });
    ScanHost(parser).run();
    const Lines whole{"seen", "read", "record"};
    EXPECT_THAT(events, ElementsAre(Pair("0.tst", whole), Pair("1.tst", whole),
                                    Pair("none", Lines{"seen"})));
    // Without a coordinator nobody is told, and nothing else happens.
    EXPECT_TRUE(Troubled().inspectFont("a.tst"));
}

// EndToEnd/test_faults.py runs it with such a fault.
TEST_F(Pipeline, RunsAgainAfterAThreadCouldNotBeMade) {
    writeFiles(3);
    const auto parser = coordinator();
    ScanHost host(*parser);
    bool hasFailed = false;
    try {
        parser->run();
    } catch (const boost::thread_resource_error&) {
        hasFailed = true;
        parser->run();
    }
    host.wait();
    EXPECT_EQ(hasFailed, std::getenv("OXPARSER_FAULT") != nullptr);
    EXPECT_EQ(host.fonts.size(), 3u);
}

TEST_F(Pipeline, RemovesExactlyTheParserGiven) {
    struct Noticed : ScriptedParser {
        explicit Noticed(bool& gone) : ScriptedParser(oneRecord), gone_(gone) {}
        ~Noticed() override { gone_ = true; }
        bool& gone_;
    };
    bool firstGone = false;
    bool secondGone = false;
    {
        OxParser parser(kNoList, kNoList);
        parser.addParserImp(new Noticed(firstGone));
        auto* const second = new Noticed(secondGone);
        parser.addParserImp(second);
        ScriptedParser stranger(ScriptedParser::oneRecord);
        parser.removeParserImp(&stranger);
        parser.removeParserImp(second);
        EXPECT_TRUE(secondGone);
        EXPECT_FALSE(firstGone);
    }
    EXPECT_TRUE(firstGone) << "the registry owns its parsers";
}

TEST_F(Pipeline, RecordsOfAFileAreReportedLastToFirst) {
    writeFiles(1);
    const auto parser = coordinator([](const fs::path&) {
        return ScriptedParser::records({"A", "B", "C"});
    });
    fs::path source;
    parser->fontProgressCallbacks.push_back(
        [&](int, int, const boost::shared_ptr<OxFont>& font) { source = font->sourceFile(); });
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.fontNames(), ElementsAre("C", "B", "A"));
    EXPECT_EQ(source, folder.path() / "0.tst");
}

TEST_F(Pipeline, ANullListAndAnEmptyOneAreNoRecords) {
    writeFiles(2);
    const auto parser = coordinator([](const fs::path& file) {
        return file.filename() == "0.tst" ? nullptr : ScriptedParser::records({});
    });
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.fonts, IsEmpty());
    EXPECT_EQ(parser->filesParsed(), 2);
}

TEST_F(Pipeline, CallbacksOfAListRunInTheirOrder) {
    OxParser parser(kNoList, kNoList);
    std::vector<int> order;
    parser.fileCompletionCallbacks.push_back([&](bool) { order.push_back(1); });
    parser.fileCompletionCallbacks.push_back([&](bool) { order.push_back(2); });
    parser.NotifyFileCompletion(false);
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(Pipeline, NotifyRaisesWhatACallbackRaises) {
    OxParser parser(kNoList, kNoList);
    parser.fileProgressCallbacks.emplace_back();
    parser.fileCompletionCallbacks.emplace_back();
    parser.fontProgressCallbacks.emplace_back();
    parser.fontCompletionCallbacks.emplace_back();
    EXPECT_THROW(parser.NotifyFileProgress(1, 1, nullptr), boost::bad_function_call);
    EXPECT_THROW(parser.NotifyFileCompletion(false), boost::bad_function_call);
    EXPECT_THROW(parser.NotifyFontProgress(1, 1, nullptr), boost::bad_function_call);
    EXPECT_THROW(parser.NotifyFontCompletion(false), boost::bad_function_call);
    // The mutex was let go of each time, or these calls would never have come back.
}

TEST_F(Pipeline, AThrowingWalkCallbackStopsTheWalkThere) {
    writeFiles(5);
    const LogRecorder log;
    std::queue<fs::path> sources;
    sources.push(folder.path());
    sources.push(folder.write("other/one.tst", ""));
    OxParser parser(sources, kNoList, kNoList);
    parser.addParserImp(new ScriptedParser(ScriptedParser::oneRecord));
    ScanHost host(parser);
    parser.fileProgressCallbacks.push_back([](int found, int, void*) {
        if (found == 2) {
            throw std::runtime_error("the host gave up");
        }
    });
    host.run();
    EXPECT_THAT(host.found, ElementsAre(1, 2));
    EXPECT_THAT(host.fonts, SizeIs(2));
    EXPECT_EQ(parser.totalFiles(), 2);
    EXPECT_THAT(host.fileCompletions, ElementsAre(false));
    EXPECT_THAT(host.fontCompletions, ElementsAre(false));
    EXPECT_THAT(log.linesWith("the host gave up"),
                ElementsAre("OxFileFactory ERROR the host gave up"));
}

TEST_F(Pipeline, AThrowingFontCallbackLosesNoOtherRecord) {
    writeFiles(4);
    const LogRecorder log;
    const auto parser = coordinator();
    ScanHost host(*parser);
    parser->fontProgressCallbacks.push_back(
        [](int, int, const boost::shared_ptr<OxFont>&) { throw std::runtime_error("no more"); });
    host.run();
    EXPECT_THAT(host.fonts, SizeIs(4));
    EXPECT_THAT(log.linesWith("no more"), SizeIs(4));
}

TEST_F(Pipeline, AThrowingParserLosesNoOtherFile) {
    writeFiles(6);
    const LogRecorder log;
    const auto parser = coordinator(
        [](const fs::path& file) -> FontList* {
            if (file.filename() == "1.tst") {
                throw std::runtime_error("a parser's trouble");
            }
            if (file.filename() == "2.tst") {
                throw 17;  // not even an exception class
            }
            return ScriptedParser::oneRecord(file);
        },
        [](const fs::path& file) {
            return file.filename() == "3.tst" ? throw std::runtime_error("cannot look")
                                              : ScriptedParser::takesTestFiles(file);
        });
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.fontNames(), UnorderedElementsAre("0.tst", "4.tst", "5.tst"));
    EXPECT_EQ(parser->filesParsed(), 6);
    EXPECT_THAT(log.linesWith("ERROR"),
                UnorderedElementsAre("OxFontFactory ERROR a parser's trouble",
                                     "OxFontFactory ERROR Unknown exception",
                                     "OxFontFactory ERROR cannot look"));
}

TEST_F(Pipeline, CancelDuringTheWalkDropsEverythingAndOnlyTheWalkSaysSo) {
    writeFiles(20);
    const auto parser = coordinator();
    ScanHost host(*parser);
    host.cancelAt(3);
    host.run();
    EXPECT_THAT(host.found, SizeIs(20)) << "a walk that is not tolerant goes on";
    EXPECT_THAT(host.fileCompletions, ElementsAre(true));
    EXPECT_THAT(host.fonts, IsEmpty());
    EXPECT_THAT(host.fontCompletions, ElementsAre(false));
}

TEST_F(Pipeline, CancelDuringAParseFinishesTheFileInHand) {
    writeFiles(20);
    std::promise<void> parsing;
    std::promise<void> cancelled;
    bool first = true;
    const auto parser = coordinator([&](const fs::path&) {
        if (std::exchange(first, false)) {
            parsing.set_value();
            cancelled.get_future().wait();
        }
        return ScriptedParser::records({"A", "B"});
    });
    ScanHost host(*parser);
    parser->run();
    parsing.get_future().wait();
    parser->cancel();
    cancelled.set_value();
    host.wait();
    EXPECT_THAT(host.fontNames(), ElementsAre("B", "A"));
    EXPECT_THAT(host.fileCompletions, ElementsAre(false));
    EXPECT_THAT(host.fontCompletions, ElementsAre(true));
}

TEST_F(Pipeline, AHostMayExitWhileAScanRuns) {
    for (int i = 0; i < 60; ++i) {
        folder.write(std::to_string(i) + ".ttf", SfntBuilder::goodFont().build());
    }
    for (int round = 0; round < 20; ++round) {
        const int status = runInChild([&] {
            std::promise<void> reached;
            std::atomic<int> seen{0};
            // Still in use when the process ends, so neither destroyed nor, to a leak checker,
            // lost.
            static OxParser* parser = nullptr;
            parser = new OxParser(folder.path(), kNoList, kNoList);
            parser->fontProgressCallbacks.push_back(
                [&, round](int, int, const boost::shared_ptr<OxFont>&) {
                    if (seen++ == round) {
                        reached.set_value();
                    }
                });
            parser->run();
            reached.get_future().wait();
            std::exit(17);
            return 0;
        });
        ASSERT_EQ(status, 17) << round;
    }
}

// Every file's records in their order, as text.
std::string recordsOf(const fs::path& source, unsigned helpers) {
    OxParser parser(source, kNoList, kNoList);
    parser.setLookAhead(helpers);
    std::string records;
    parser.fontProgressCallbacks.push_back([&](int, int, const boost::shared_ptr<OxFont>& font) {
        records += font->sourceFile().string() + " " + problems(*font) + " " +
                   font->getAttribute(eFingerprint) + "\n";
    });
    ScanHost host(parser);
    host.run();
    return records;
}

TEST_F(Pipeline, HelpersTakeNoDescriptorThatTheReaderNeeds) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors of its own to look at memory";
#endif
    const Bytes fork = ResourceForkBuilder()
                           .add("FOND", 1, FondBuilder::of({{0, 0, 2}}))
                           .add("sfnt", 2, outline());
    for (int i = 0; i < 300; ++i) {
        const std::string name = std::to_string(i);
        i % 50 == 7 ? folder.write(name + ".dfont", fork)
                    : folder.write(name + ".ttf", SfntBuilder::goodFont());
    }
    const int failed = runInChild([this] {
        ::close_range(STDERR_FILENO + 1, ~0U, 0);
        const std::string good = recordsOf(folder.path(), 0);
        bool succeeds = false;
        rlimit limit;
        ::getrlimit(RLIMIT_NOFILE, &limit);
        for (int most = 4; most <= 64; ++most) {
            limit.rlim_cur = static_cast<rlim_t>(most);
            if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
                return 1;
            }
            succeeds = succeeds || recordsOf(folder.path(), 0) == good;
            if (succeeds && recordsOf(folder.path(), 4) != good) {
                return most;
            }
        }
        return succeeds ? 0 : 2;
    });
    EXPECT_EQ(failed, 0);
}

TEST_F(Pipeline, LoadsAFoundryListOnceHoweverManyCoordinatorsThereAre) {
    const fs::path codes = folder.write("codes.txt", "no tab here\nOXT1\tOnce Foundry\n");
    const fs::path names = folder.write("names.txt", "A name nobody has\n");
    const LogRecorder log;
    const auto loads = [&log] { return log.linesWith("fewer than two fields").size(); };
    for (int i = 0; i < 5; ++i) {
        const OxParser parser(names, codes);
    }
    EXPECT_EQ(loads(), 1u);
    EXPECT_EQ(theFoundries.FindFoundryFromCode("OXT1"), "Once Foundry");

    folder.write("codes.txt", "no tab here\nOXT1\tAnother Foundry\n");
    const OxParser parser(names, codes);
    EXPECT_EQ(loads(), 2u) << "a list that has changed";
    EXPECT_EQ(theFoundries.FindFoundryFromCode("OXT1"), "Another Foundry");
}

TEST_F(Pipeline, LogsUnderTheClassesOwnCategories) {
    const fs::path file = folder.write("Acme.ttf", SfntBuilder::goodFont().build());
    const LogRecorder log;
    OxParser parser(file, folder.path() / "names", folder.path() / "codes");
    ScanHost host(parser);
    host.run();
    const Lines expected = {
        "OxParser INFO OxParser::initialize:",
        "OxParser INFO foundyCodeListPath:  " + (folder.path() / "codes").string(),
        "OxParser INFO foundyCodeListPath:  " + (folder.path() / "names").string(),
        "OxFileFactory INFO File Produced:  " + file.string(),
        "OxParserTrueTypeImp INFO parseFontFile:  ",
        "OxParserTrueTypeImp INFO Parsing:  " + file.string()};
    Lines lines = log.lines();
    lines.resize(6);
    EXPECT_EQ(lines, expected);
    for (const std::string line : {"parsing cmap", "parsing os/2"}) {
        EXPECT_THAT(log.linesWith(line), ElementsAre("OxParserTrueTypeImp INFO " + line));
    }
    EXPECT_THAT(log.linesWith("ERROR"), IsEmpty());
}

TEST_F(Pipeline, ABadLoggingConfigurationIsToldAndSwallowed) {
    const fs::path file = folder.write(
        "log.properties", "log4cpp.rootCategory=INFO, A\nlog4cpp.appender.A=NoSuchAppender\n");
    testing::internal::CaptureStdout();
    OxParser::configure_log4cpp(file.c_str());
    OxParser::configure_log4cpp("/nonexistent/log.properties");
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(output.rfind("Configure Problem ", 0), 0u) << output;
    EXPECT_NE(output.find("\nConfigure Problem "), std::string::npos) << output;
    EXPECT_EQ(output.back(), '\n');
}

}  // namespace
