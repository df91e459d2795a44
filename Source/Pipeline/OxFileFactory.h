#pragma once

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>
#include <memory>

#include "Export.h"
#include "OxQueue.h"

class OxParser;

/// Turns a coordinator's source paths into the stream of file paths that the parsers consume. The
/// walk runs on a thread of its own.
class OXPARSER_EXPORT OxFileFactory {
  public:
    using PathQueue = OxQueue<boost::filesystem::path>;

    OxFileFactory();
    /// `coordinator` is not owned and must outlive the factory's walk.
    OxFileFactory(OxParser* coordinator, boost::shared_ptr<PathQueue>& pathQueue);
    OxFileFactory(const OxFileFactory&) = delete;
    OxFileFactory& operator=(const OxFileFactory&) = delete;
    virtual ~OxFileFactory();

    /// Walks every source path; returns when the walk has ended.
    void run();
    /// Empties the path queue and leaves the end marker in it. A plain walk goes on to its end; a
    /// tolerant one stops. May be called from any thread.
    void cancel();

    /// The walk thread's body. Lets no exception out: one that the walk or a callback raises is
    /// logged and stops the walk, and the stream is closed as usual.
    void produceFiles();
    /// Produces the file at `path`, or every file below that folder, links followed; in the way
    /// that the coordinator asks for.
    void findFiles(const boost::filesystem::path& path);

  private:
    void produce(const boost::filesystem::path& file);
    void walkTolerantly(const boost::filesystem::path& source);

    OxParser* coordinator_ = nullptr;
    boost::shared_ptr<PathQueue> pathQueue_;
    std::unique_ptr<boost::thread> thread_;
    int filesFound_ = 0;
    std::atomic<bool> cancelled_{false};
};

/// The function object of the walk thread.
class OxFileProducer {
  public:
    explicit OxFileProducer(OxFileFactory* factory) : factory_(factory) {}
    void operator()() { factory_->produceFiles(); }

  private:
    OxFileFactory* factory_;
};
