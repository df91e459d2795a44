#pragma once

#include <signal.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

/// Ends a scan early and cleanly: on SIGINT and SIGTERM, or when the program itself asks.
///
/// The constructor blocks both signals, so it must run before any other thread starts: threads
/// inherit the mask, and the signals are taken by a thread of this object alone, where anything
/// may be called. The destructor ends that thread and brings the old mask back. A second signal
/// ends the process at once.
class Interruption {
  public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// While it lives, `cancel` ends what is running; it is called on the interruption's thread,
    /// again and again: a coordinator forgets a cancellation that comes just while it starts its
    /// threads. It is called at once when an interruption came before. One at a time.
    class Attachment {
      public:
        Attachment(Interruption& interruption, std::function<void()> cancel);
        Attachment(const Attachment&) = delete;
        Attachment& operator=(const Attachment&) = delete;
        ~Attachment();

      private:
        Interruption& interruption_;
    };

    /// Asks for the same from any thread, callbacks of the coordinator included.
    void request();

    bool requested() const { return requested_; }
    /// The first signal taken; 0 when there was none.
    int signal() const { return signal_; }

  private:
    void watch();
    bool takeSignal();
    void cancel();
    void wake();

    sigset_t oldMask_;
    int signals_ = -1;
    int wakeUp_ = -1;
    std::atomic<bool> requested_{false};
    std::atomic<bool> ending_{false};
    std::atomic<int> signal_{0};
    std::mutex mutex_;
    std::function<void()> cancel_;
    std::thread thread_;
};
