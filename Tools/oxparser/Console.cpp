#include "Console.h"

#include <unistd.h>

#include <cerrno>

#include "Terminal.h"

namespace {

// Back to the line's start and clear to its end: the only sequences besides colours that the
// program sends.
constexpr char kWipe[] = "\r\033[K";

}  // namespace

Console::Console() : redraws_(takesControlSequences(STDERR_FILENO)) {}

void Console::complain(const std::string& text) {
    ++complaints_;
    note(text);
}

void Console::note(const std::string& text) {
    line("oxparser: " + text);
}

void Console::line(const std::string& text) {
    const std::lock_guard lock(mutex_);
    writeLine(text);
}

void Console::showStatus(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (!redraws_) {
        writeLine(text);
        return;
    }
    if (statusPaused_) {
        return;
    }
    // The last column stays free: a cursor behind it would wrap on some terminals.
    const int columns = terminalColumns(STDERR_FILENO) - 1;
    write(kWipe + cutToWidth(safeText(text), columns, Cut::eEnd));
    statusShown_ = true;
}

void Console::hideStatus() {
    const std::lock_guard lock(mutex_);
    wipe();
}

void Console::pauseStatus(bool paused) {
    const std::lock_guard lock(mutex_);
    statusPaused_ = paused;
    wipe();
}

void Console::writeLine(const std::string& text) {
    wipe();
    write(safeText(text) + "\n");
}

void Console::wipe() {
    if (statusShown_) {
        write(kWipe);
        statusShown_ = false;
    }
}

// Nobody can be told when standard error fails.
void Console::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}
