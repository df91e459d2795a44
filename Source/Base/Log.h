#pragma once

#include <string>

/// The library's way to log4cpp: one named category per class, printf-style messages that are
/// formatted only when somebody listens (log4cpp's info level is on without any appender).
///
/// A channel is cheap to keep and is meant to be a function-local static. Safe from any thread,
/// also while the process is exiting.
class LogChannel {
  public:
    explicit LogChannel(const char* category) : category_(category) {}

    /// Info level; `format` holds one %s for `value`.
    void info(const char* format, const std::string& value) const;
    /// Info level; the text as it stands.
    void info(const char* text) const;
    /// Error level; the text as it stands.
    void error(const std::string& text) const;
    /// Warning level; the text as it stands.
    void warn(const std::string& text) const;

  private:
    const char* category_;
};
