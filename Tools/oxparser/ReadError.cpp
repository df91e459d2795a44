#include "ReadError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// What the parsers say of a file that they cannot read, though not of such a file alone.
constexpr int kUnreadCodes[] = {-1003, -1001, 2};

}  // namespace

bool looksUnread(const OxFont& font) {
    const auto& diagnostics = font.diagnostics();
    if (diagnostics.empty()) {
        return font.getFontType() == OxFont::notSure;
    }
    return std::any_of(
        diagnostics.begin(), diagnostics.end(), [](const FontDiagnostic& diagnostic) {
            return std::find(std::begin(kUnreadCodes), std::end(kUnreadCodes), diagnostic.code) !=
                   std::end(kUnreadCodes);
        });
}

int readError(const std::string& file) {
    struct stat status;
    if (::stat(file.c_str(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return 0;
    }
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return errno;
    }
    char byte;
    const int error = ::pread(descriptor, &byte, 1, 0) < 0 ? errno : 0;
    ::close(descriptor);
    return error;
}
