#pragma once

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>
#include <memory>

#include "Export.h"
#include "OxFont.h"
#include "OxQueue.h"

class OxParser;

/// Runs the two parsing-side threads: the file consumer takes paths, has the coordinator parse each
/// and queues the records; the font producer reports each record to the coordinator's callbacks.
class OXPARSER_EXPORT OxFontFactory {
  public:
    using PathQueue = OxQueue<boost::filesystem::path>;
    using FontQueue = OxQueue<boost::shared_ptr<OxFont>>;

    OxFontFactory();
    /// `coordinator` is not owned and must live until the font completion callbacks have returned.
    OxFontFactory(OxParser* coordinator, boost::shared_ptr<PathQueue>& pathQueue,
                  boost::shared_ptr<FontQueue>& fontQueue);
    OxFontFactory(const OxFontFactory&) = delete;
    OxFontFactory& operator=(const OxFontFactory&) = delete;
    /// Lets go of the threads without waiting for them.
    virtual ~OxFontFactory();

    /// Starts both threads and returns at once. Raises boost::thread_resource_error, with neither
    /// of them left and no callback called, when one cannot be made.
    void run();
    /// Drops the queued paths. The file in hand is finished and its records are reported. May be
    /// called from any thread.
    void cancel();

    /// The file consumer's body: an exception out of one file is logged and the next file follows.
    void consumeFiles();
    /// The font producer's body: an exception out of a callback is logged and the next record
    /// follows. Its last act on anything shared is to unlock the coordinator's mutex.
    void produceFonts();

  private:
    std::unique_ptr<boost::thread> fontProducer_;
    std::unique_ptr<boost::thread> fileConsumer_;
    boost::shared_ptr<PathQueue> pathQueue_;
    boost::shared_ptr<FontQueue> fontQueue_;
    OxParser* coordinator_ = nullptr;
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> producing_{false};  // somebody takes the queued records
    std::atomic<bool> abandoned_{false};  // nobody was there to queue any
};

/// The function object of the file-consumer thread.
class OxFileConsumer {
  public:
    explicit OxFileConsumer(OxFontFactory* factory) : factory_(factory) {}
    void operator()() { factory_->consumeFiles(); }

  private:
    OxFontFactory* factory_;
};

/// The function object of the font-producer thread.
class OxFontProducer {
  public:
    explicit OxFontProducer(OxFontFactory* factory) : factory_(factory) {}
    void operator()() { factory_->produceFonts(); }

  private:
    OxFontFactory* factory_;
};
