#include "OxFileFactory.h"

#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <exception>

#include "Log.h"
#include "OxParser.h"

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

void OxFileFactory::reportWalkError(const fs::path& path, const boost::system::error_code& error) {
    coordinator_->NotifyWalkError(path, error);
}

void OxFileFactory::walkTolerantly(const fs::path& path) {
    if (cancelled_) {
        return;
    }
    boost::system::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::status_error) {
        reportWalkError(path, error);
    } else if (fs::is_directory(status)) {
        walkFolderTolerantly(path);
    } else if (fs::exists(status)) {
        produce(path);
    }
}

void OxFileFactory::walkFolderTolerantly(const fs::path& folder) {
    struct stat status;
    if (::stat(folder.c_str(), &status) != 0) {
        reportWalkError(folder, {errno, boost::system::system_category()});
        return;
    }
    const auto [self, isNew] = openFolders_.emplace(status.st_dev, status.st_ino);
    if (!isNew) {
        return;  // its own ancestor, through a link
    }
    boost::system::error_code error;
    fs::directory_iterator entry(folder, error);
    if (error) {
        reportWalkError(folder, error);
    }
    while (!error && !cancelled_ && entry != fs::directory_iterator()) {
        const fs::path path = entry->path();
        boost::system::error_code statusError;
        const fs::file_status entryStatus = fs::status(path, statusError);
        if (entryStatus.type() == fs::status_error) {
            reportWalkError(path, statusError);
        } else if (fs::is_directory(entryStatus)) {
            if (!ForkLocator::isSidecarFolder(path.filename().string())) {
                walkFolderTolerantly(path);
            }
        } else if (!forks_.isSidecar(path)) {
            produce(path);
        }
        entry.increment(error);
        if (error) {
            reportWalkError(folder, error);
        }
    }
    openFolders_.erase(self);
}
