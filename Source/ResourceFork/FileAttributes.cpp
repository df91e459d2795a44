#include "FileAttributes.h"

#include <sys/types.h>
#include <sys/xattr.h>

#include <cstring>

namespace {

// The lists of names are short; the kernel of Linux allows 64 KiB.
constexpr std::size_t kListLimit = std::size_t{64} * 1024;

#ifdef __APPLE__
ssize_t listNames(const char* file, char* out, std::size_t size) {
    return ::listxattr(file, out, size, 0);
}
ssize_t readValue(const char* file, const char* name, void* out, std::size_t size) {
    return ::getxattr(file, name, out, size, 0, 0);
}
#else
ssize_t listNames(const char* file, char* out, std::size_t size) {
    return ::listxattr(file, out, size);
}
ssize_t readValue(const char* file, const char* name, void* out, std::size_t size) {
    return ::getxattr(file, name, out, size);
}
#endif

}  // namespace

std::vector<std::string> listFileAttributes(const boost::filesystem::path& file) {
    std::vector<std::string> names;
    std::string list(1024, '\0');
    ssize_t size = listNames(file.c_str(), list.data(), list.size());
    if (size < 0 && errno == ERANGE) {
        list.resize(kListLimit);
        size = listNames(file.c_str(), list.data(), list.size());
    }
    const std::size_t end = size < 0 ? 0 : static_cast<std::size_t>(size);
    for (std::size_t at = 0; at < end;) {
        const std::string name(list.data() + at, ::strnlen(list.data() + at, end - at));
        at += name.size() + 1;
        names.push_back(name);
    }
    return names;
}

std::optional<std::vector<std::uint8_t>> readFileAttribute(const boost::filesystem::path& file,
                                                           const std::string& name,
                                                           std::uint64_t limit) {
    const ssize_t size = readValue(file.c_str(), name.c_str(), nullptr, 0);
    if (size < 0 || static_cast<std::uint64_t>(size) > limit) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> value(static_cast<std::size_t>(size));
    if (value.empty()) {
        return value;
    }
    const ssize_t got = readValue(file.c_str(), name.c_str(), value.data(), value.size());
    if (got < 0) {
        return std::nullopt;
    }
    value.resize(static_cast<std::size_t>(got));
    return value;
}
