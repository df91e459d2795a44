#include "LogRecorder.h"

#include <algorithm>
#include <iterator>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include <mutex>

class LogRecorder::Appender : public log4cpp::AppenderSkeleton {
  public:
    Appender() : AppenderSkeleton("recorder") {}

    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout*) override {}

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

  protected:
    void _append(const log4cpp::LoggingEvent& event) override {
        const std::lock_guard lock(mutex_);
        lines_.push_back(event.categoryName + " " +
                         log4cpp::Priority::getPriorityName(event.priority) + " " + event.message);
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

LogRecorder::LogRecorder() : appender_(new Appender) {
    log4cpp::Category::getRoot().addAppender(appender_);
}

LogRecorder::~LogRecorder() {
    log4cpp::Category::getRoot().removeAppender(appender_);
}

std::vector<std::string> LogRecorder::lines() const {
    return appender_->lines();
}

std::vector<std::string> LogRecorder::linesWith(const std::string& text) const {
    std::vector<std::string> found = lines();
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&text](const std::string& line) {
                                   return line.find(text) == std::string::npos;
                               }),
                found.end());
    return found;
}
