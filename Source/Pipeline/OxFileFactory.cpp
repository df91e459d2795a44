#include "OxFileFactory.h"

#include <boost/filesystem/operations.hpp>
#include <exception>

#include "Log.h"
#include "OxParser.h"
#include "TolerantWalk.h"

namespace {

namespace fs = boost::filesystem;

const LogChannel& logChannel() {
    static const LogChannel channel("OxFileFactory");
    return channel;
}

}  // namespace

OxFileFactory::OxFileFactory() = default;

OxFileFactory::OxFileFactory(OxParser* coordinator, boost::shared_ptr<PathQueue>& pathQueue)
    : coordinator_(coordinator), pathQueue_(pathQueue) {}

OxFileFactory::~OxFileFactory() = default;

void OxFileFactory::run() {
    cancelled_ = false;
    thread_ = std::make_unique<boost::thread>(OxFileProducer(this));
    thread_->join();
}

void OxFileFactory::cancel() {
    cancelled_ = true;
    pathQueue_->clear();
    pathQueue_->push(fs::path());
}

void OxFileFactory::produceFiles() {
    // An exception that left a thread's body would end the host's process.
    try {
        for (fs::path source = coordinator_->getNextPath(); !source.empty();
             source = coordinator_->getNextPath()) {
            findFiles(source);
        }
    } catch (const std::exception& error) {
        logChannel().error(error.what());
    } catch (...) {
        logChannel().error("The walk was ended by an unknown exception");
    }
    coordinator_->setTotalFilesToParse(filesFound_);
    if (cancelled_ && coordinator_->tolerantWalk()) {
        pathQueue_->clear();  // of a file that was on its way while the walk was cancelled
    }
    pathQueue_->push(fs::path());
    try {
        coordinator_->NotifyFileCompletion(cancelled_);
    } catch (const std::exception& error) {
        logChannel().error(error.what());
    } catch (...) {
        logChannel().error("A file completion callback threw an unknown exception");
    }
}

void OxFileFactory::findFiles(const fs::path& path) {
    if (coordinator_->tolerantWalk()) {
        walkTolerantly(path);
        return;
    }
    const fs::file_status status = fs::status(path);
    if (!fs::exists(status)) {
        return;
    }
    if (!fs::is_directory(status)) {
        produce(path);
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (fs::is_directory(fs::status(entry.path()))) {
            findFiles(entry.path());
        } else {
            produce(entry.path());
        }
    }
}

void OxFileFactory::produce(const fs::path& file) {
    logChannel().info("File Produced:  %s", file.string());
    pathQueue_->push(file);
    ++filesFound_;
    coordinator_->NotifyFileProgress(filesFound_, filesFound_, nullptr);
}

void OxFileFactory::walkTolerantly(const fs::path& source) {
    if (!cancelled_) {
        TolerantWalk walk(
            cancelled_, coordinator_->leftOutFolders(),
            [this](const fs::path& file) { produce(file); },
            [this](const fs::path& path, const boost::system::error_code& error) {
                coordinator_->NotifyWalkError(path, error);
            });
        walk.run(source);
    }
}
