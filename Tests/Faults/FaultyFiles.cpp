// Loaded before the C library (LD_PRELOAD), makes calls on one file or folder go wrong.
//
//     OXPARSER_FAULT="CALL ACTION SUFFIX [OFFSET]"
//
// CALL is open, read or list. SUFFIX is how the path ends that is meant. ACTION is the name of an
// error, each call then fails with it; "hang", each call then never returns; "short" or
// "interrupted" for reads that give a few bytes or are interrupted every other time; or what is
// done to the file itself, once and for real, right before the call: truncate, grow, unlink, forbid
// or remove (a folder with all in it). Bytes of the file before OFFSET are read as they should be.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>

namespace {

struct Fault {
    std::string call;
    std::string action;
    std::string suffix;
    std::uint64_t offset = 0;

    Fault() {
        const char* const text = std::getenv("OXPARSER_FAULT");
        std::istringstream(text != nullptr ? text : "") >> call >> action >> suffix >> offset;
    }
};

const Fault& fault() {
    static const Fault& fault = *new Fault;
    return fault;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string pathOf(int descriptor) {
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

int errorOf(const std::string& action) {
    static const auto& errors = *new std::map<std::string, int>{
        {"EIO", EIO}, {"EACCES", EACCES}, {"EMFILE", EMFILE}, {"ENOMEM", ENOMEM}};
    const auto found = errors.find(action);
    return found != errors.end() ? found->second : 0;
}

void change(const std::string& path) {
    static std::atomic<bool> done{false};
    const std::string& action = fault().action;
    struct stat status;
    if (::stat(path.c_str(), &status) != 0 || done.exchange(true)) {
        return;
    }
    std::error_code ignored;
    if (action == "truncate" || action == "grow") {
        const off_t size = action == "grow" ? 3 * status.st_size : status.st_size / 2;
        std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size), ignored);
    } else if (action == "unlink") {
        std::filesystem::remove(path, ignored);
    } else if (action == "forbid") {
        ::chmod(path.c_str(), 0);
    } else if (action == "remove") {
        std::filesystem::remove_all(path, ignored);
    }
}

// Whether a call on that path fails; what is to happen to the file happens now.
bool fails(const char* call, const std::string& path) {
    static thread_local bool within = false;  // what removes a folder lists it, too
    if (fault().call != call || within || fault().suffix.empty() ||
        !path.ends_with(fault().suffix)) {
        return false;
    }
    if (const int error = errorOf(fault().action)) {
        errno = error;
        return true;
    }
    while (fault().action == "hang") {
        ::pause();
    }
    within = true;
    change(path);
    within = false;
    return false;
}

ssize_t faultyRead(int descriptor, void* out, size_t count, off_t offset) {
    static auto* const real = next<ssize_t(int, void*, size_t, off_t)>("pread64");
    static std::atomic<unsigned> calls{0};
    const bool isMeant =
        fault().call == "read" && static_cast<std::uint64_t>(offset) + count > fault().offset;
    const std::string path = isMeant ? pathOf(descriptor) : std::string();
    if (isMeant && fails("read", path)) {
        return -1;
    }
    if (!path.empty() && path.ends_with(fault().suffix)) {
        if (fault().action == "short") {
            count = count < 7 ? count : 7;
        } else if (fault().action == "interrupted" && ++calls % 2 != 0) {
            errno = EINTR;
            return -1;
        }
    }
    return real(descriptor, out, count, offset);
}

// The mode counts only where a file is made, and then it is passed on whatever it is.
int faultyOpen(const char* path, int flags, mode_t mode) {
    static auto* const real = next<int(const char*, int, mode_t)>("open64");
    return fails("open", path) ? -1 : real(path, flags, mode);
}

// The second entry is the one that goes wrong.
template <typename Entry>
Entry* faultyList(DIR* folder, const char* name) {
    static auto* const real = next<Entry*(DIR*)>(name);
    static thread_local unsigned entries = 0;
    if (fault().call == "list" && pathOf(::dirfd(folder)).ends_with(fault().suffix) &&
        ++entries > 1 && fails("list", pathOf(::dirfd(folder)))) {
        return nullptr;
    }
    return real(folder);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

ssize_t pread(int descriptor, void* out, size_t count, off_t offset) {
    return faultyRead(descriptor, out, count, offset);
}
ssize_t pread64(int descriptor, void* out, size_t count, off64_t offset) {
    return faultyRead(descriptor, out, count, offset);
}
int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return faultyOpen(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return faultyOpen(path, flags, mode);
}
dirent* readdir(DIR* folder) {
    return faultyList<dirent>(folder, "readdir");
}
dirent64* readdir64(DIR* folder) {
    return faultyList<dirent64>(folder, "readdir64");
}

}  // extern "C"
#pragma GCC visibility pop
