#pragma once

#include <memory>
#include <string>
#include <vector>

/// Records what the library logs, from construction to destruction, one line a message:
/// "OxParser INFO OxParser::initialize:".
class LogRecorder {
  public:
    LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    ~LogRecorder();

    std::vector<std::string> lines() const;
    /// The lines that hold `text`.
    std::vector<std::string> linesWith(const std::string& text) const;

  private:
    class Appender;
    Appender* appender_;  // owned by log4cpp's root category
};
