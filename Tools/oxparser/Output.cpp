#include "Output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr std::size_t kBlock = std::size_t{64} * 1024;
constexpr std::chrono::milliseconds kLongestDelay(250);

// A program may be started with standard descriptors closed. The next file that is opened would
// get such a number and, say, complaints would be written into it.
void fillStandardDescriptors() {
    int descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = ::dup(descriptor);
    }
    if (descriptor > STDERR_FILENO) {
        ::close(descriptor);
    }
}

}  // namespace

Output::Output() : descriptor_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    fillStandardDescriptors();
    if (const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0) {
        ::dup2(null, STDOUT_FILENO);
        ::close(null);
    }
    struct stat status;
    isFile_ = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
}

Output::~Output() {
    flush();
}

void Output::showForeignLines() {
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

void Output::write(std::string_view lines) {
    if (failed()) {
        return;
    }
    pending_ += lines;
    const bool overdue = Clock::now() - lastFlush_ >= kLongestDelay;
    if (!isFile_ || pending_.size() >= kBlock || overdue) {
        flush();
    }
}

void Output::flush() {
    std::string_view rest = pending_;
    while (!rest.empty() && !failed()) {
        const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Whoever started the program left the descriptor in non-blocking mode.
            struct pollfd writable = {descriptor_, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    pending_.clear();
    lastFlush_ = Clock::now();
}
