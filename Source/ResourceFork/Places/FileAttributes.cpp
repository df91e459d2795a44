#include "FileAttributes.h"

#include <sys/types.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>

#include "FileDescriptor.h"

using boost::system::error_code;

namespace {

constexpr int kAttempts = 3;
// The lists of names are short; the kernel of Linux allows 64 KiB.
constexpr std::size_t kListLimit = std::size_t{64} * 1024;

#ifdef __APPLE__
constexpr int kNoSuchAttribute = ENOATTR;
ssize_t listNames(const char* file, char* out, std::size_t size) {
    return ::listxattr(file, out, size, 0);
}
ssize_t readValue(const char* file, const char* name, void* out, std::size_t size) {
    return ::getxattr(file, name, out, size, 0, 0);
}
#else
constexpr int kNoSuchAttribute = ENODATA;
ssize_t listNames(const char* file, char* out, std::size_t size) {
    return ::listxattr(file, out, size);
}
ssize_t readValue(const char* file, const char* name, void* out, std::size_t size) {
    return ::getxattr(file, name, out, size);
}
#endif

// What a failed call on attributes tells: often only that there is nothing to find.
error_code lastError() {
    switch (errno) {
        case ENOTSUP:
        case ENOSYS:
        case kNoSuchAttribute:
        case ENOENT:
        case ENOTDIR:
        case ELOOP:
            return {};
        default:
            return lastSystemError();
    }
}

}  // namespace

std::vector<std::string> listFileAttributes(const boost::filesystem::path& file,
                                            error_code& error) {
    error.clear();
    std::vector<std::string> names;
    std::string list(1024, '\0');
    ssize_t size = listNames(file.c_str(), list.data(), list.size());
    if (size < 0 && errno == ERANGE) {
        list.resize(kListLimit);
        size = listNames(file.c_str(), list.data(), list.size());
    }
    if (size < 0) {
        error = lastError();
        return names;
    }
    const auto end = static_cast<std::size_t>(size);
    for (std::size_t at = 0; at < end;) {
        const std::string name(list.data() + at, ::strnlen(list.data() + at, end - at));
        at += name.size() + 1;
        names.push_back(name);
    }
    return names;
}

std::optional<std::vector<std::uint8_t>> readFileAttribute(const boost::filesystem::path& file,
                                                           const std::string& name,
                                                           std::uint64_t limit, error_code& error) {
    error.clear();
    std::vector<std::uint8_t> value;
    ssize_t size = readValue(file.c_str(), name.c_str(), nullptr, 0);
    // Somebody may make the value longer at any time.
    for (int i = 0; i < kAttempts && size > 0 && static_cast<std::uint64_t>(size) <= limit; ++i) {
        value.resize(static_cast<std::size_t>(size));
        size = readValue(file.c_str(), name.c_str(), value.data(), value.size());
        if (size >= 0) {
            value.resize(static_cast<std::size_t>(size));
            return value;
        }
        if (errno == ERANGE) {
            size = readValue(file.c_str(), name.c_str(), nullptr, 0);
        }
    }
    if (size == 0) {
        return std::vector<std::uint8_t>();
    }
    error = size < 0 ? lastError() : systemError(EFBIG);
    return std::nullopt;
}
