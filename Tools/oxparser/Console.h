#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

/// Standard error: complaints, notes, and one status line that is redrawn in place on a terminal
/// that can. Safe from any thread. Texts are made safe for a terminal here.
class Console {
  public:
    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() { hideStatus(); }

    /// Whether a status line can be redrawn in place.
    bool redraws() const { return redraws_; }

    /// One line, introduced by the program's name, about something that failed; counted.
    void complain(const std::string& text);
    /// One line, introduced by the program's name, that is no failure.
    void note(const std::string& text);
    /// One line as it stands.
    void line(const std::string& text);
    int complaints() const { return complaints_; }

    /// The status line now shows `text`, cut to the terminal's width; where it cannot be redrawn,
    /// the text is a line of its own.
    void showStatus(const std::string& text);
    /// Wipes the status line.
    void hideStatus();

    /// As long as one of these lives, no status line is shown: what is written to the terminal in
    /// another way meanwhile stands on lines of its own.
    class StatusPause {
      public:
        explicit StatusPause(Console& console) : console_(console) { console_.pauseStatus(true); }
        StatusPause(const StatusPause&) = delete;
        StatusPause& operator=(const StatusPause&) = delete;
        ~StatusPause() { console_.pauseStatus(false); }

      private:
        Console& console_;
    };

  private:
    void pauseStatus(bool paused);
    void writeLine(const std::string& text);
    void wipe();
    static void write(std::string_view bytes);

    const bool redraws_;
    std::atomic<int> complaints_{0};
    std::mutex mutex_;
    bool statusShown_ = false;
    bool statusPaused_ = false;
};
