#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "CharacterWidths.h"
#include "Utf8.h"

namespace {

constexpr int kColumnsUnknown = 80;
constexpr int kMostColumns = 10000;
constexpr int kMostPathCells = 160;
constexpr int kPathStartCells = 60;  // of a path that is longer
constexpr char kEllipsis[] = "\u2026";
constexpr char kReplacement[] = "\uFFFD";

int columnsFromEnvironment() {
    const char* text = std::getenv("COLUMNS");
    if (text == nullptr) {
        return 0;
    }
    const std::string_view value(text);
    int columns = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), columns);
    const bool whole = error == std::errc() && end == value.data() + value.size();
    return whole && columns > 0 ? std::min(columns, kMostColumns) : 0;
}

bool isLineSpace(char32_t c) {
    return (c >= '\t' && c <= '\r') || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// Embedding, override and isolate characters: they would reorder the cells behind them.
bool turnsDirection(char32_t c) {
    return c == 0x200E || c == 0x200F || c == 0x061C || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

// The first cells of a text and its last, with an ellipsis between. Combining marks go with the
// character before them, so none is left without its base.
std::string withoutMiddle(const std::string& text, int firstCells, int lastCells) {
    std::size_t startEnd = 0;
    std::size_t position = 0;
    int left = displayWidth(text);
    for (int taken = 0; position < text.size();) {
        const int cells = characterWidth(nextCodePoint(text, position));
        taken += cells;
        if (taken > firstCells) {
            break;
        }
        left -= cells;
        startEnd = position;
    }
    std::size_t end = startEnd;
    while (end < text.size()) {
        position = end;
        const int cells = characterWidth(nextCodePoint(text, position));
        if (left <= lastCells && cells > 0) {
            break;
        }
        left -= cells;
        end = position;
    }
    return text.substr(0, startEnd) + kEllipsis + text.substr(end);
}

}  // namespace

bool isTerminal(int descriptor) {
    return ::isatty(descriptor) == 1;
}

int terminalColumns(int descriptor) {
    if (!isTerminal(descriptor)) {
        return 0;
    }
    if (const int columns = columnsFromEnvironment(); columns > 0) {
        return columns;
    }
    struct winsize size = {};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return kColumnsUnknown;
}

bool takesControlSequences(int descriptor) {
    const char* kind = std::getenv("TERM");
    return isTerminal(descriptor) && kind != nullptr && *kind != '\0' &&
           std::string_view(kind) != "dumb";
}

bool mayColour(int descriptor) {
    const char* noColour = std::getenv("NO_COLOR");
    return takesControlSequences(descriptor) && (noColour == nullptr || *noColour == '\0');
}

std::string safeText(std::string_view bytes) {
    const std::string text = toUtf8(bytes);
    std::string safe;
    safe.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t start = position;
        const char32_t c = nextCodePoint(text, position);
        if (isLineSpace(c)) {
            safe += ' ';
        } else if (isControl(c) || turnsDirection(c)) {
            safe += kReplacement;
        } else {
            safe.append(text, start, position - start);
        }
    }
    return safe;
}

int displayWidth(std::string_view safeText) {
    int width = 0;
    for (std::size_t position = 0; position < safeText.size();) {
        width += characterWidth(nextCodePoint(safeText, position));
    }
    return width;
}

std::string cutToWidth(const std::string& safeText, int width, Cut cut) {
    if (displayWidth(safeText) <= width || cut == Cut::eNever) {
        return safeText;
    }
    if (width <= 0) {
        return {};
    }
    const int text = width - 1;
    // Much more of the start: a detail at the end is a number or a name.
    const int start = cut == Cut::eEnd ? text : cut == Cut::eStart ? 0 : text * 4 / 5;
    return withoutMiddle(safeText, start, text - start);
}

std::string pathText(std::string_view path) {
    const std::string text = safeText(path);
    const std::size_t slash = text.rfind('/', text.find_last_not_of('/'));
    const int name = displayWidth(text.substr(slash == std::string::npos ? 0 : slash));
    const int end = std::max(kMostPathCells - kPathStartCells, name);
    return displayWidth(text) <= kPathStartCells + end ? text
                                                       : withoutMiddle(text, kPathStartCells, end);
}
