#include "OxParser.h"

#include <sys/stat.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/thread/locks.hpp>
#include <iostream>
#include <log4cpp/PropertyConfigurator.hh>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>

#include "ByteBuffer.h"
#include "FontFoundryList.h"
#include "LibraryResources.h"
#include "Log.h"
#include "LookAhead.h"
#include "OxFontReader.h"
#include "OxParserDfontImp.h"
#include "OxParserOpenTypeImp.h"
#include "OxParserPFBImp.h"
#include "OxParserPFMImp.h"
#include "OxParserSuitcaseImp.h"
#include "OxParserTrueTypeCollectionImp.h"
#include "OxParserTrueTypeImp.h"

namespace {

namespace fs = boost::filesystem;

// More records than this waiting in the font queue, and parsing pauses until they are reported.
constexpr int kMostQueuedRecords = 32;

const LogChannel& logChannel() {
    static const LogChannel channel("OxParser");
    return channel;
}

enum class FoundryFile { eNames, eCodes };

// Held while lists are loaded: who finds a list loaded must find all of it.
std::mutex& loadingLists() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

// Whether a coordinator must load this list: not when one has done so and the file is the same.
// A host that makes many coordinators would otherwise grow the lists without changing an answer.
// With loadingLists() held.
bool notLoadedYet(FoundryFile kind, const fs::path& file) {
    struct stat status;
    if (::stat(file.c_str(), &status) != 0) {
        return true;
    }
    // The working folder may have been removed or unmounted, and most hosts name whole paths.
    boost::system::error_code error;
    const fs::path folder = file.is_absolute() ? fs::path() : fs::current_path(error);
    if (error) {
        return true;
    }
    using Version = std::tuple<off_t, time_t, long>;
    static auto& loaded = *new std::map<std::pair<FoundryFile, std::string>, Version>;
    const Version version(status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    const auto [entry, isNew] = loaded.try_emplace({kind, (folder / file).string()}, version);
    if (!isNew && entry->second == version) {
        return false;
    }
    entry->second = version;
    return true;
}

std::queue<fs::path> queueOf(const fs::path& source) {
    std::queue<fs::path> sources;
    sources.push(source);
    return sources;
}

using Parsers = std::vector<std::unique_ptr<OxParserImp>>;

// The order decides which parser wins a file.
Parsers parsersOf(Reading reading, const ReadingDetails& details) {
    Parsers parsers;
    if (reading == Reading::eModern) {
        parsers.push_back(std::make_unique<OxFontReader>(details));
        return parsers;
    }
    parsers.push_back(std::make_unique<OxParserTrueTypeImp>(0));
    parsers.push_back(std::make_unique<OxParserOpenTypeImp>(0));
    parsers.push_back(std::make_unique<OxParserPFMImp>());
    parsers.push_back(std::make_unique<OxParserPFBImp>());
    parsers.push_back(std::make_unique<OxParserTrueTypeCollectionImp>(0));
    parsers.push_back(std::make_unique<OxParserSuitcaseImp>());
    parsers.push_back(std::make_unique<OxParserDfontImp>());
    return parsers;
}

}  // namespace

/// One notification's turn at the mutex: announced before waiting for it, so that the next parse
/// stands back, and closed before the mutex is released.
class OxParser::NotificationTurn {
  public:
    explicit NotificationTurn(OxParser& parser) : parser_(parser) {
        ++parser_.waitingNotifications_;
        parser_.mutex_.lock();
        --parser_.waitingNotifications_;
    }
    NotificationTurn(const NotificationTurn&) = delete;
    NotificationTurn& operator=(const NotificationTurn&) = delete;
    ~NotificationTurn() {
        if (!parser_.notificationsGoFirst()) {
            parser_.notificationsDone_.notify_all();
        }
        // After this a host may destroy the coordinator: nothing of it is touched any more.
        parser_.mutex_.unlock();
    }

  private:
    OxParser& parser_;
};

OxParser::OxParser(const fs::path& foundryNames, const fs::path& foundryCodes)
    : OxParser(std::queue<fs::path>(), foundryNames, foundryCodes) {}

OxParser::OxParser(const fs::path& source, const fs::path& foundryNames,
                   const fs::path& foundryCodes)
    : OxParser(queueOf(source), foundryNames, foundryCodes) {}

OxParser::OxParser(const std::queue<fs::path>& sources, const fs::path& foundryNames,
                   const fs::path& foundryCodes)
    : sources_(sources) {
    initialize();
    loadFoundryList(foundryNames, foundryCodes);
}

// A mutex that cannot be locked is a host's fault that nothing can be done about.
// NOLINTNEXTLINE(bugprone-exception-escape)
OxParser::~OxParser() {
    // Waits for the thread that called the last completion callback to let go of the mutex.
    { const boost::lock_guard<boost::mutex> lock(mutex_); }
    pathQueue_.reset();
    fontQueue_.reset();
    fileFactory_.reset();
    fontFactory_.reset();
}

void OxParser::initialize() {
    logChannel().info("OxParser::initialize:");
    pathQueue_.reset(new OxFileFactory::PathQueue);
    fontQueue_.reset(new OxFontFactory::FontQueue);
    fileFactory_ = std::make_unique<OxFileFactory>(this, pathQueue_);
    fontFactory_ = std::make_unique<OxFontFactory>(this, pathQueue_, fontQueue_);
    setReading(Reading::eCompatible);
}

void OxParser::configure_log4cpp(const char* propertyFile) {
    try {
        log4cpp::PropertyConfigurator::configure(propertyFile);
    } catch (const log4cpp::ConfigureFailure& failure) {
        std::cout << "Configure Problem " << failure.what() << std::endl;
    }
}

void OxParser::loadFoundryList(const fs::path& foundryNames, const fs::path& foundryCodes) {
    // The spelling is what log readers look for.
    logChannel().info("foundyCodeListPath:  %s", foundryCodes.string());
    logChannel().info("foundyCodeListPath:  %s", foundryNames.string());
    const std::lock_guard lock(loadingLists());
    if (notLoadedYet(FoundryFile::eCodes, foundryCodes)) {
        theFoundries.LoadFoundryCodes(foundryCodes.string());
    }
    if (notLoadedYet(FoundryFile::eNames, foundryNames)) {
        theFoundries.LoadFoundryNames(foundryNames.string());
    }
}

void OxParser::loadFoundryList() {
    const fs::path names = libraryResource("foundrylist", "txt");
    const fs::path codes = libraryResource("foundrycodelist", "txt");
    const std::lock_guard lock(loadingLists());
    const bool namesWanted = notLoadedYet(FoundryFile::eNames, names);
    const bool codesWanted = notLoadedYet(FoundryFile::eCodes, codes);
    if (namesWanted && codesWanted) {
        theFoundries.LoadLists();
    } else if (namesWanted) {
        theFoundries.LoadFoundryNames(names.string());
    } else if (codesWanted) {
        theFoundries.LoadFoundryCodes(codes.string());
    }
}

void OxParser::setReading(Reading reading, const ReadingDetails& details) {
    Parsers own = parsersOf(reading, details);
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const boost::lock_guard<boost::mutex> registryLock(registry_);
    const auto isOwn = [this](const OxParserImp& parser) {
        return std::find(ownParsers_.begin(), ownParsers_.end(), &parser) != ownParsers_.end();
    };
    parsers_.erase_if(isOwn);
    lastParser_ = nullptr;
    ownParsers_.clear();
    for (std::unique_ptr<OxParserImp>& parser : own) {
        watchErrorsOf(*parser);
        const auto place = parsers_.begin() + static_cast<std::ptrdiff_t>(ownParsers_.size());
        ownParsers_.push_back(parser.get());
        parsers_.insert(place, parser.release());
    }
    reading_ = reading;
}

void OxParser::addParserImp(OxParserImp* imp) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const boost::lock_guard<boost::mutex> registryLock(registry_);
    parsers_.push_back(imp);
    watchErrorsOf(*imp);
}

// A parser is at work with the mutex held; what it tells waits until that is released.
void OxParser::watchErrorsOf(OxParserImp& parser) {
    parser.setFileErrorReport([this](const fs::path& file, const std::string& reason) {
        FileErrors::value_type error(file, reason);
        if (std::find(fileErrors_.begin(), fileErrors_.end(), error) == fileErrors_.end()) {
            fileErrors_.push_back(std::move(error));
        }
    });
}

void OxParser::removeParserImp(OxParserImp* imp) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const boost::lock_guard<boost::mutex> registryLock(registry_);
    const auto found =
        std::find_if(parsers_.begin(), parsers_.end(),
                     [imp](const OxParserImp& registered) { return &registered == imp; });
    if (found != parsers_.end()) {
        if (lastParser_ == imp) {
            lastParser_ = nullptr;
        }
        std::erase(ownParsers_, imp);
        parsers_.erase(found);
    }
}

bool OxParser::notificationsGoFirst() const {
    return waitingNotifications_ > 0 || queuedRecords_ > kMostQueuedRecords;
}

boost::ptr_vector<OxFont>* OxParser::parseFile(const fs::path& file) {
    return parse(file).fonts.release();
}

OxParser::Parsed OxParser::parse(const fs::path& file) {
    boost::unique_lock<boost::mutex> lock(mutex_);
    while (notificationsGoFirst()) {
        notificationsDone_.wait(lock);
    }
    // A file counts as parsed whatever becomes of it.
    struct Count {
        std::atomic<int>& parsed;
        ~Count() { ++parsed; }
    } const count{filesParsed_};
    Parsed parsed;
    for (OxParserImp& parser : parsers_) {
        if (parser.inspectFont(file)) {
            parsed.fonts.reset(parseWith(parser, file));
            parsed.firstFirst = parser.firstRecordFirst();
            break;
        }
    }
    const FileErrors errors = std::exchange(fileErrors_, {});
    lock.unlock();
    for (const auto& [path, reason] : errors) {
        try {
            NotifyFileError(path, reason);
        } catch (const std::exception& error) {
            // What a callback throws must not cost the host the file's records.
            logChannel().error(error.what());
        }
    }
    return parsed;
}

// The memory for a whole file goes from parser to parser, or back to the system.
boost::ptr_vector<OxFont>* OxParser::parseWith(OxParserImp& parser, const fs::path& file) {
    std::optional<ByteBuffer::Spare> spare;
    if (lastParser_ != &parser) {
        if (parser.readsWhole(file)) {
            spare.emplace();
        }
        if (lastParser_ != nullptr) {
            lastParser_->releaseMemory();
        }
        lastParser_ = &parser;
    }
    return parser.parseFontFile(file);
}

// The helpers end before the consumer does, and so before the coordinator.
std::unique_ptr<LookAhead> OxParser::startLookAhead() {
    if (lookAheadHelpers_ == 0) {
        return nullptr;
    }
    return std::make_unique<LookAhead>(lookAheadHelpers_, lookAheadBudget_, *pathQueue_,
                                       [this](const fs::path& file) { return readsWhole(file); });
}

bool OxParser::readsWhole(const fs::path& file) {
    const boost::lock_guard<boost::mutex> lock(registry_);
    return std::any_of(parsers_.begin(), parsers_.end(),
                       [&file](const OxParserImp& parser) { return parser.readsWhole(file); });
}

void OxParser::run() {
    filesParsed_ = 0;
    totalFiles_ = 0;
    fileFactory_->run();
    // With the mutex held, the completion callbacks, after which a host may destroy this object,
    // wait until both threads have been started.
    const boost::lock_guard<boost::mutex> lock(mutex_);
    fontFactory_->run();
}

void OxParser::cancel() {
    fileFactory_->cancel();
    fontFactory_->cancel();
}

fs::path OxParser::getNextPath() {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    if (sources_.empty()) {
        return {};
    }
    fs::path next = sources_.front();
    sources_.pop();
    return next;
}

void OxParser::setTotalFilesToParse(int total) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    totalFiles_ = total;
}

void OxParser::NotifyFileProgress(int found, int total, void* context) {
    const NotificationTurn turn(*this);
    for (const FileProgressCallback& callback : fileProgressCallbacks) {
        callback(found, total, context);
    }
}

void OxParser::NotifyFileCompletion(bool cancelled) {
    const NotificationTurn turn(*this);
    for (const CompletionCallback& callback : fileCompletionCallbacks) {
        callback(cancelled);
    }
}

// By value: hosts are built against this signature.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void OxParser::NotifyFontProgress(int parsed, int total, boost::shared_ptr<OxFont> font) {
    const NotificationTurn turn(*this);
    callFontProgress(parsed, total, font);
}

// Several records, each through callFontProgress, in one turn: every turn makes the two threads
// wait for each other.
void OxParser::reportRecords(const std::function<void()>& report) {
    const NotificationTurn turn(*this);
    report();
}

void OxParser::callFontProgress(int parsed, int total, const boost::shared_ptr<OxFont>& font) {
    for (const FontProgressCallback& callback : fontProgressCallbacks) {
        callback(parsed, total, font);
    }
}

void OxParser::NotifyFontCompletion(bool cancelled) {
    const NotificationTurn turn(*this);
    for (const CompletionCallback& callback : fontCompletionCallbacks) {
        callback(cancelled);
    }
}

void OxParser::NotifyWalkError(const fs::path& path, const boost::system::error_code& error) {
    const NotificationTurn turn(*this);
    for (const WalkErrorCallback& callback : walkErrorCallbacks) {
        callback(path, error);
    }
}

void OxParser::NotifyFileError(const fs::path& path, const std::string& reason) {
    const NotificationTurn turn(*this);
    for (const FileErrorCallback& callback : fileErrorCallbacks) {
        callback(path, reason);
    }
}
