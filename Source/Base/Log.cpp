#include "Log.h"

#include <atomic>
#include <log4cpp/Category.hh>

namespace {

// log4cpp's categories are destroyed by the process's exit handlers, while a scan may still run on
// detached threads. This flag goes down first: it is constructed after the categories' registry.
std::atomic<bool> loggingEnded{false};

struct EndOfLogging {
    EndOfLogging() { log4cpp::Category::getRoot(); }
    EndOfLogging(const EndOfLogging&) = delete;
    EndOfLogging& operator=(const EndOfLogging&) = delete;
    ~EndOfLogging() { loggingEnded.store(true); }
};

// The category, when a message of this priority would reach an appender.
log4cpp::Category* listeningCategory(const char* name, log4cpp::Priority::Value priority) {
    static const EndOfLogging guard;
    if (loggingEnded.load(std::memory_order_relaxed)) {
        return nullptr;
    }
    log4cpp::Category& category = log4cpp::Category::getInstance(name);
    if (!category.isPriorityEnabled(priority)) {
        return nullptr;
    }
    for (log4cpp::Category* c = &category; c != nullptr; c = c->getParent()) {
        if (c->getAppender() != nullptr) {
            return &category;
        }
        if (!c->getAdditivity()) {
            break;
        }
    }
    return nullptr;
}

}  // namespace

void LogChannel::info(const char* format, const std::string& value) const {
    if (log4cpp::Category* category = listeningCategory(category_, log4cpp::Priority::INFO)) {
        category->info(format, value.c_str());
    }
}

void LogChannel::info(const char* text) const {
    if (log4cpp::Category* category = listeningCategory(category_, log4cpp::Priority::INFO)) {
        category->info("%s", text);
    }
}

void LogChannel::error(const std::string& text) const {
    if (log4cpp::Category* category = listeningCategory(category_, log4cpp::Priority::ERROR)) {
        category->error("%s", text.c_str());
    }
}

void LogChannel::warn(const std::string& text) const {
    if (log4cpp::Category* category = listeningCategory(category_, log4cpp::Priority::WARN)) {
        category->warn("%s", text.c_str());
    }
}
