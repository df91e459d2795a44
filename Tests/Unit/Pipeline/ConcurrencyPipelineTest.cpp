// Host and pipeline on different threads; the suite that thread checkers run.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <locale>
#include <random>
#include <thread>

#include "FontFoundryList.h"
#include "ScanTest.h"
#include "SfntBuilder.h"
#include "Type1Builder.h"

namespace {

// Debug builds and those with sanitizers take too long for the full numbers.
#ifdef NDEBUG
constexpr bool kThorough = true;
#else
constexpr bool kThorough = false;
#endif

class ConcurrencyPipeline : public ScanTest {};

TEST_F(ConcurrencyPipeline, DestroyAfterCompletion) {
    writeFiles(2);
    const int coordinators = kThorough ? 10000 : 300;
    std::atomic<int> records{0};
    for (int i = 0; i < coordinators; ++i) {
        std::unique_ptr<OxParser> parser = coordinator();
        parser->fontProgressCallbacks.push_back(
            [&](int, int, const boost::shared_ptr<OxFont>&) { ++records; });
        std::atomic<bool> completed{false};
        parser->fontCompletionCallbacks.push_back([&](bool) { completed = true; });
        parser->run();
        // No politeness: the callback may not even have returned when the destructor begins.
        while (!completed) {
            std::this_thread::yield();
        }
        parser.reset();
    }
    EXPECT_EQ(records, 2 * coordinators);
}

TEST_F(ConcurrencyPipeline, CancelAtAnyMomentStillCompletes) {
    writeFiles(30);
    std::mt19937 random(20);
    for (int round = 0; round < (kThorough ? 400 : 60); ++round) {
        const auto parser = coordinator();
        parser->setTolerantWalk(round % 2 == 0);
        parser->setLookAhead(static_cast<unsigned>(round % 3));
        ScanHost host(*parser);
        const auto delay = std::chrono::microseconds(random() % 3000);
        std::thread canceller([&] {
            std::this_thread::sleep_for(delay);
            parser->cancel();
        });
        host.run();
        canceller.join();
        ASSERT_THAT(host.fileCompletions, SizeIs(1));
        ASSERT_THAT(host.fontCompletions, SizeIs(1));
        ASSERT_LE(host.fonts.size(), 30u);
    }
}

TEST_F(ConcurrencyPipeline, RecordsArriveWhileLaterFilesAreParsed) {
    constexpr int kFiles = 500;
    constexpr int kMostWaiting = 64;
    writeFiles(kFiles);
    const auto parser = coordinator();
    int received = 0;
    int mostWaiting = 0;
    int parsedAtFirst = 0;
    parser->fontProgressCallbacks.push_back([&](int parsed, int, const boost::shared_ptr<OxFont>&) {
        parsedAtFirst = received == 0 ? parsed : parsedAtFirst;
        ++received;
        // The coordinator's counter now: the host may be slow, and parsing must wait for it.
        mostWaiting = std::max(mostWaiting, parser->filesParsed() - received);
    });
    ScanHost host(*parser);
    host.run();
    EXPECT_EQ(received, kFiles);
    EXPECT_LE(parsedAtFirst, kMostWaiting);
    EXPECT_LE(mostWaiting, kMostWaiting);
}

TEST_F(ConcurrencyPipeline, AFileOfManyRecordsDoesNotStopTheParsing) {
    writeFiles(3);
    const auto parser = coordinator([](const fs::path&) {
        return ScriptedParser::records(std::vector<std::string>(1000, "member"));
    });
    ScanHost host(*parser);
    host.run();
    EXPECT_THAT(host.fonts, SizeIs(3000));
}

TEST_F(ConcurrencyPipeline, TheRegistryAndTheCountersCanBeUsedWhileAScanRuns) {
    writeFiles(200);
    const auto parser = coordinator();
    parser->setLookAhead(2);  // helpers ask all parsers about each file
    ScanHost host(*parser);
    std::atomic<bool> ended{false};
    std::thread registrar([&] {
        int last = -1;
        while (!ended) {
            auto* const extra = new ScriptedParser(ScriptedParser::oneRecord,
                                                   [](const fs::path&) { return false; });
            parser->addParserImp(extra);
            const int parsed = parser->filesParsed();
            EXPECT_GE(parsed, last);
            last = parsed;
            parser->removeParserImp(extra);
        }
    });
    host.run();
    ended = true;
    registrar.join();
    EXPECT_THAT(host.fonts, SizeIs(200));
}

TEST_F(ConcurrencyPipeline, TwoCoordinatorsRunSideBySide) {
    writeFiles(100);
    const auto one = coordinator();
    const auto other = coordinator();
    ScanHost host(*one);
    ScanHost otherHost(*other);
    std::thread second([&] { otherHost.run(); });
    host.run();
    second.join();
    EXPECT_THAT(host.fonts, SizeIs(100));
    EXPECT_THAT(otherHost.fonts, SizeIs(100));
}

// Digits in groups, a comma where the point belongs, and letters without cases.
struct ForeignNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};
struct ForeignLetters : std::ctype<char> {
    char do_toupper(char) const override { return '?'; }
    char do_tolower(char) const override { return '?'; }
};

TEST_F(ConcurrencyPipeline, AHostMayChangeTheGlobalLocaleWhileAScanRuns) {
    for (int i = 0; i < 20; ++i) {
        const std::string name = std::to_string(i);
        folder.write(name + ".TTF", SfntBuilder::goodFont().patch("head.magicNumber", 7).build());
        folder.write(name + ".Pfb", pfbFile(acmeType1Text()));
        folder.write(name + ".pfm", PfmBuilder().bytes());
    }
    const auto scan = [this] {
        OxParser parser(folder.path(), kNoList, kNoList);
        std::vector<std::string> records;
        parser.fontProgressCallbacks.push_back(
            [&](int, int, const boost::shared_ptr<OxFont>& font) {
                std::string record = problems(*font);
                for (const auto& [key, value] : font->attributes()) {
                    record.append("\n").append(key).append("=").append(value);
                }
                records.push_back(record);
            });
        ScanHost host(parser);
        host.run();
        return records;
    };
    const std::vector<std::string> expected = scan();
    ASSERT_THAT(expected, SizeIs(60));
    const std::locale classic = std::locale::classic();
    const std::locale foreign(std::locale(classic, new ForeignNumbers), new ForeignLetters);
    const std::locale before = std::locale::global(foreign);
    EXPECT_EQ(scan(), expected);
    std::atomic<bool> ended{false};
    std::thread changer([&] {
        for (int i = 0; !ended; ++i) {
            std::locale::global(i % 2 == 0 ? classic : foreign);
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(scan(), expected);
    ended = true;
    changer.join();
    std::locale::global(before);
}

// How many hosts of the next test there are; OXPARSER_ROUNDS asks for more.
int hosts() {
    const char* const wanted = std::getenv("OXPARSER_ROUNDS");
    return wanted != nullptr ? std::atoi(wanted) : kThorough ? 300 : 60;
}

TEST_F(ConcurrencyPipeline, HostsOfEveryKindGetTheirCompletion) {
    constexpr int kFiles = 12;
    writeFiles(kFiles);
    for (int round = 0; round < hosts(); ++round) {
        std::mt19937 random(static_cast<unsigned>(round));
        auto parser = coordinator([](const fs::path& file) {
            return file.filename() == "3.tst" ? throw std::runtime_error("a parser's trouble")
                                              : ScriptedParser::oneRecord(file);
        });
        parser->setTolerantWalk(random() % 2 == 0);
        parser->setLookAhead(static_cast<unsigned>(round % 3));
        const unsigned empty = random() % 16;
        const unsigned thrower = random() % 8;
        const bool isSlow = random() % 8 == 0;
        std::atomic<int> seen{0};
        std::atomic<bool> completed{false};
        parser->fileProgressCallbacks.push_back([thrower](int found, int, void*) {
            if (thrower == 0 && found == 7) {
                throw std::runtime_error("a host's trouble");
            }
        });
        parser->fontProgressCallbacks.push_back(
            [&, isSlow, thrower](int, int, const boost::shared_ptr<OxFont>&) {
                ++seen;
                if (isSlow) {
                    std::this_thread::sleep_for(std::chrono::microseconds(500));
                }
                if (thrower == 1) {
                    throw 17;
                }
            });
        parser->fontCompletionCallbacks.push_back([&](bool) { completed = true; });
        const std::function<void()> addEmptyCallbacks[] = {
            [&] { parser->fileProgressCallbacks.emplace_back(); },
            [&] { parser->fontProgressCallbacks.emplace_back(); },
            [&] { parser->fileCompletionCallbacks.emplace_back(); },
            [&] { parser->fontCompletionCallbacks.emplace_back(); }};
        if (empty < std::size(addEmptyCallbacks)) {
            addEmptyCallbacks[empty]();
        }
        const bool cancels = random() % 2 == 0;
        const auto delay = std::chrono::microseconds(random() % 1500);
        std::thread canceller([&] {
            if (cancels) {
                std::this_thread::sleep_for(delay);
                parser->cancel();
            }
        });
        parser->run();
        while (!completed) {
            std::this_thread::yield();
        }
        canceller.join();
        parser.reset();
        ASSERT_LT(seen, kFiles) << round;
        if (!cancels && thrower != 0 && empty != 0) {
            ASSERT_EQ(seen, kFiles - 1) << round;
        }
    }
}

TEST_F(ConcurrencyPipeline, FindsAListThatIsBeingLoadedWhole) {
    // A pipe: the first coordinator is in the middle of its list for as long as this test
    // wants.
    const fs::path names = folder.path() / "names";
    ASSERT_EQ(::mkfifo(names.c_str(), 0600), 0);
    struct stat made;
    ASSERT_EQ(::stat(names.c_str(), &made), 0);
    const auto foundryOfANewCoordinator = [&names] {
        const OxParser parser(names, kNoList);
        return theFoundries.FindFoundryFromCopyright("Drawn by Piped Letters, 1990");
    };
    auto first = std::async(std::launch::async, foundryOfANewCoordinator);
    const int pipe = ::open(names.c_str(), O_WRONLY);
    ASSERT_GE(pipe, 0);
    auto second = std::async(std::launch::async, foundryOfANewCoordinator);
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);

    const std::string line = "Piped Letters\n";
    EXPECT_EQ(::write(pipe, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    const timespec times[] = {made.st_atim, made.st_mtim};
    EXPECT_EQ(::futimens(pipe, times), 0) << "writing must not make it another list";
    ::close(pipe);
    EXPECT_EQ(first.get(), "Piped Letters");
    EXPECT_EQ(second.get(), "Piped Letters");
}

}  // namespace
