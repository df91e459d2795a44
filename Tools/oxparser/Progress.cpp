#include "Progress.h"

namespace {

constexpr std::chrono::milliseconds kTerminalInterval(100);
constexpr std::chrono::milliseconds kPlainInterval(1000);

std::string leafName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

Progress::Progress(Console& console, ProgressMode mode)
    : console_(console),
      enabled_(mode == ProgressMode::eAlways ||
               (mode == ProgressMode::eAuto && console.redraws())) {}

void Progress::walking(int filesFound) {
    const std::lock_guard lock(mutex_);
    if (due()) {
        console_.showStatus("Looking for files: " + std::to_string(filesFound) + " found");
    }
}

void Progress::parsing(int filesParsed, int totalFiles) {
    const std::lock_guard lock(mutex_);
    if (!parsing_) {
        parsing_ = true;
        lastShown_ = {};  // what was shown last is about the walk
    }
    if (due()) {
        const std::string behind = file_.empty() ? std::string() : "  " + leafName(file_);
        console_.showStatus(parsingText(filesParsed, totalFiles) + behind);
    }
}

void Progress::record(const std::string& file, int fonts, int defects) {
    const std::lock_guard lock(mutex_);
    file_ = file;
    fonts_ = fonts;
    defects_ = defects;
}

void Progress::extra(const std::string& text) {
    const std::lock_guard lock(mutex_);
    extra_ = text;
}

void Progress::finish(int filesParsed, int totalFiles) {
    const std::lock_guard lock(mutex_);
    if (!enabled_) {
        return;
    }
    if (console_.redraws()) {
        console_.hideStatus();
    } else {
        console_.showStatus(parsingText(filesParsed, totalFiles));
    }
}

bool Progress::due() {
    if (!enabled_) {
        return false;
    }
    const Clock::time_point now = Clock::now();
    if (now - lastShown_ < (console_.redraws() ? kTerminalInterval : kPlainInterval)) {
        return false;
    }
    lastShown_ = now;
    return true;
}

std::string Progress::parsingText(int filesParsed, int totalFiles) const {
    const int percent = totalFiles > 0 ? static_cast<int>(100LL * filesParsed / totalFiles) : 100;
    return std::to_string(percent) + "%  " + std::to_string(filesParsed) + " of " +
           std::to_string(totalFiles) + " files, " + std::to_string(fonts_) + " fonts, " +
           std::to_string(defects_) + " defects" + (extra_.empty() ? "" : ", " + extra_);
}
