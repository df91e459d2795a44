#include "Interruption.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "ExitStatus.h"

namespace {

constexpr int kRepeatMilliseconds = 50;

sigset_t watchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

}  // namespace

Interruption::Interruption() {
    const sigset_t watched = watchedSignals();
    signals_ = ::signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
    wakeUp_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (signals_ < 0 || wakeUp_ < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
    }
    ::pthread_sigmask(SIG_BLOCK, &watched, &oldMask_);
    thread_ = std::thread([this] { watch(); });
}

Interruption::~Interruption() {
    ending_ = true;
    wake();
    thread_.join();
    // A signal that came too late to cancel anything must not kill the program now: its results
    // are complete.
    takeSignal();
    ::pthread_sigmask(SIG_SETMASK, &oldMask_, nullptr);
    ::close(signals_);
    ::close(wakeUp_);
}

Interruption::Attachment::Attachment(Interruption& interruption, std::function<void()> cancel)
    : interruption_(interruption) {
    const std::lock_guard lock(interruption_.mutex_);
    interruption_.cancel_ = std::move(cancel);
    if (interruption_.requested_) {
        interruption_.wake();
    }
}

Interruption::Attachment::~Attachment() {
    const std::lock_guard lock(interruption_.mutex_);
    interruption_.cancel_ = nullptr;
}

void Interruption::request() {
    requested_ = true;
    wake();
}

void Interruption::watch() {
    while (!ending_) {
        struct pollfd sources[] = {{signals_, POLLIN, 0}, {wakeUp_, POLLIN, 0}};
        ::poll(sources, 2, requested_ ? kRepeatMilliseconds : -1);
        eventfd_t count;
        ::eventfd_read(wakeUp_, &count);
        if (takeSignal()) {
            requested_ = true;
        }
        if (requested_) {
            cancel();
        }
    }
}

bool Interruption::takeSignal() {
    bool taken = false;
    struct signalfd_siginfo info;
    while (::read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        const int number = static_cast<int>(info.ssi_signo);
        if (signal_ != 0) {
            ::_exit(eSignalBase + number);
        }
        signal_ = number;
        taken = true;
    }
    return taken;
}

void Interruption::cancel() {
    const std::lock_guard lock(mutex_);
    if (cancel_) {
        cancel_();
    }
}

void Interruption::wake() {
    ::eventfd_write(wakeUp_, 1);
}
