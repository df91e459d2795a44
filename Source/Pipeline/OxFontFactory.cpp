#include "OxFontFactory.h"

#include <chrono>
#include <exception>
#include <optional>
#include <utility>
#include <vector>

#include "Log.h"
#include "LookAhead.h"
#include "OxParser.h"

namespace {

namespace fs = boost::filesystem;

const LogChannel& logChannel() {
    static const LogChannel channel("OxFontFactory");
    return channel;
}

// Runs one step of a thread's body. An exception that left the body would end the host's process.
template <typename Step>
void guarded(const Step& step) {
    try {
        step();
    } catch (const std::exception& error) {
        logChannel().error(error.what());
    } catch (...) {
        logChannel().error("Unknown exception");
    }
}

// Records on their way to the font queue. Whoever takes them from there has to be woken, and waits
// for the parse in hand; so they go several at a time, but none waits for more than the next file
// and, when that took long, the one after.
class RecordBatch {
  public:
    explicit RecordBatch(OxFontFactory::FontQueue& fonts) : fonts_(fonts) {}

    void add(const boost::shared_ptr<OxFont>& font) {
        if (records_.empty()) {
            since_ = Clock::now();
        }
        records_.push_back(font);
    }
    /// To be called after each file.
    void passOnWhenDue() {
        if (records_.size() >= kEnough ||
            (!records_.empty() && Clock::now() - since_ >= kLongest)) {
            passOn();
        }
    }
    void passOn() { fonts_.pushAll(std::exchange(records_, {})); }

  private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kEnough = 16;
    static constexpr std::chrono::milliseconds kLongest{2};

    OxFontFactory::FontQueue& fonts_;
    std::vector<boost::shared_ptr<OxFont>> records_;
    Clock::time_point since_;
};

OxFont* takeNext(boost::ptr_vector<OxFont>& fonts, bool first) {
    return (first ? fonts.release(fonts.begin()) : fonts.pop_back()).release();
}

void letGo(std::unique_ptr<boost::thread>& thread) {
    if (thread && thread->joinable()) {
        thread->detach();
    }
    thread.reset();
}

}  // namespace

OxFontFactory::OxFontFactory() = default;

OxFontFactory::OxFontFactory(OxParser* coordinator, boost::shared_ptr<PathQueue>& pathQueue,
                             boost::shared_ptr<FontQueue>& fontQueue)
    : pathQueue_(pathQueue), fontQueue_(fontQueue), coordinator_(coordinator) {}

OxFontFactory::~OxFontFactory() {
    letGo(fontProducer_);
    letGo(fileConsumer_);
}

void OxFontFactory::run() {
    cancelled_ = false;
    producing_ = true;
    abandoned_ = false;
    letGo(fileConsumer_);
    letGo(fontProducer_);
    // The producer first: it touches nothing of the coordinator before a record comes.
    fontProducer_ = std::make_unique<boost::thread>(OxFontProducer(this));
    try {
        fileConsumer_ = std::make_unique<boost::thread>(OxFileConsumer(this));
    } catch (...) {
        abandoned_ = true;
        fontQueue_->push(boost::shared_ptr<OxFont>());
        fontProducer_->join();
        throw;
    }
    // Let go of now, while the coordinator's mutex keeps them from ending, and not in the
    // destructor, which may run while they end.
    fileConsumer_->detach();
    fontProducer_->detach();
}

void OxFontFactory::cancel() {
    cancelled_ = true;
    pathQueue_->clear();
    pathQueue_->push(fs::path());
}

void OxFontFactory::consumeFiles() {
    // Copies of its own: after the end marker is pushed, the factory may be gone at any moment.
    const boost::shared_ptr<PathQueue> paths = pathQueue_;
    const boost::shared_ptr<FontQueue> fonts = fontQueue_;
    std::unique_ptr<LookAhead> lookAhead;
    guarded([&] { lookAhead = coordinator_->startLookAhead(); });
    RecordBatch batch(*fonts);
    for (std::size_t number = 0;; ++number) {
        fs::path file;
        paths->wait_and_pop(file);
        if (file.empty()) {
            break;
        }
        guarded([&] {
            std::optional<LookAhead::Turn> turn;
            if (lookAhead) {
                turn.emplace(*lookAhead, number);
            }
            const OxParser::Parsed parsed = coordinator_->parse(file);
            while (parsed.fonts && !parsed.fonts->empty()) {
                // Hosts rely on the order.
                const boost::shared_ptr<OxFont> font(takeNext(*parsed.fonts, parsed.firstFirst));
                font->setSourceFile(file);
                if (producing_) {
                    coordinator_->recordQueued();
                }
                batch.add(font);
            }
        });
        guarded([&] { batch.passOnWhenDue(); });
    }
    lookAhead.reset();
    guarded([&] { batch.passOn(); });
    fonts->push(boost::shared_ptr<OxFont>());
}

void OxFontFactory::produceFonts() {
    const boost::shared_ptr<FontQueue> fonts = fontQueue_;
    for (;;) {
        boost::shared_ptr<OxFont> font;
        fonts->wait_and_pop(font);
        if (!font) {
            break;
        }
        bool isMore = true;
        coordinator_->reportRecords([&] {
            while (font && isMore) {
                if (producing_) {
                    coordinator_->recordTaken();
                }
                guarded([&] {
                    coordinator_->callFontProgress(coordinator_->filesParsed(),
                                                   coordinator_->totalFiles(), font);
                });
                isMore = fonts->try_pop(font);
            }
        });
        if (!font) {
            break;
        }
    }
    if (!abandoned_) {
        guarded([&] { coordinator_->NotifyFontCompletion(cancelled_); });
    }
}
