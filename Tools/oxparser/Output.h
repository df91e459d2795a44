#pragma once

#include <chrono>
#include <string>
#include <string_view>

/// The program's standard output, which holds results only.
///
/// The library writes lines of its own to std::cout, and a log configuration may do so too. So the
/// constructor keeps the real standard output under another descriptor and points descriptor 1
/// elsewhere. That works below every buffer: whatever std::cout holds back and writes late, even
/// at exit, never reaches the results. The program itself never uses std::cout or stdio's stdout.
///
/// To be made before any other thread and before anything is written. Used by one thread at a
/// time.
class Output {
  public:
    /// Keeps the real standard output; descriptor 1 is /dev/null from then on.
    Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    /// Descriptor 1 is standard error from then on, so that a log to the console is seen.
    static void showForeignLines();

    /// Appends whole lines. A pipe, terminal or socket gets them at once, so that a reader can
    /// follow; a file gets them in blocks, but no later than with the next lines after a quarter
    /// of a second.
    void write(std::string_view lines);
    void flush();

    /// The descriptor of the real standard output; -1 when the program was started without one.
    int descriptor() const { return descriptor_; }
    /// Whether a write failed; everything after it was dropped.
    bool failed() const { return error_ != 0; }
    /// The first failure's errno; EPIPE means that the reader has gone.
    int error() const { return error_; }

  private:
    using Clock = std::chrono::steady_clock;

    int descriptor_;
    bool isFile_ = false;
    int error_ = 0;
    std::string pending_;
    Clock::time_point lastFlush_ = Clock::now();
};
