// Loaded before the C library (LD_PRELOAD), makes calls on one file or folder go wrong.
//
//     OXPARSER_FAULT="CALL ACTION SUFFIX [OFFSET]"
//     OXPARSER_FAULT="thread ERROR NUMBER"
//
// CALL is open, read, close, list (a folder), attributes (the list of a file's) or attribute (the
// value of one). SUFFIX is how the path ends that is meant. ACTION is the name of an error, each
// call then fails with it; "hang", each call then never returns; "huge" for an attribute that is
// said to be so; "short" or "interrupted" for reads that give a few bytes or are interrupted every
// other time; or what is done to the file itself, once and for real, right before the call:
// truncate, grow, unlink, forbid or remove (a folder with all in it). Bytes of the file before
// OFFSET are read as they should be.
//
// The second form fails the making of one thread, the first of the process being number 1.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
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
    const std::string link = "/proc/thread-self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

int errorOf(const std::string& action) {
    static const auto& errors = *new std::map<std::string, int>{{"EIO", EIO},
                                                                {"EACCES", EACCES},
                                                                {"EMFILE", EMFILE},
                                                                {"ENOMEM", ENOMEM},
                                                                {"EAGAIN", EAGAIN}};
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
int faultyOpen(int folder, const char* path, int flags, mode_t mode) {
    static auto* const real = next<int(int, const char*, int, mode_t)>("openat64");
    const bool below = folder != AT_FDCWD && *path != '/' && fault().call == "open";
    return fails("open", below ? pathOf(folder) + "/" + path : path)
               ? -1
               : real(folder, path, flags, mode);
}

ssize_t faultyAttribute(const char* path, const char* name, void* value, size_t size) {
    if (fails("attribute", path)) {
        return -1;
    }
    const bool huge = fault().call == "attribute" && fault().action == "huge" &&
                      std::string(path).ends_with(fault().suffix);
    return huge ? ssize_t{1} << 30
                : static_cast<ssize_t>(::syscall(SYS_getxattr, path, name, value, size));
}

// Closes all the same.
int faultyClose(int descriptor) {
    const bool failing = fault().call == "close" && fails("close", pathOf(descriptor));
    const int error = errno;
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (failing) {
        errno = error;
    }
    return failing ? -1 : result;
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
    return faultyOpen(AT_FDCWD, path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return faultyOpen(AT_FDCWD, path, flags, mode);
}
int close(int descriptor) {
    return faultyClose(descriptor);
}
int openat(int folder, const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return faultyOpen(folder, path, flags, mode);
}
ssize_t listxattr(const char* path, char* list, size_t size) {
    return fails("attributes", path)
               ? -1
               : static_cast<ssize_t>(::syscall(SYS_listxattr, path, list, size));
}
ssize_t getxattr(const char* path, const char* name, void* value, size_t size) {
    return faultyAttribute(path, name, value, size);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const real = next<Create>("pthread_create");
    static std::atomic<int> threads{0};
    const bool isMeant = fault().call == "thread" && std::to_string(++threads) == fault().suffix;
    return isMeant ? errorOf(fault().action) : real(thread, attributes, body, argument);
}
dirent* readdir(DIR* folder) {
    return faultyList<dirent>(folder, "readdir");
}
dirent64* readdir64(DIR* folder) {
    return faultyList<dirent64>(folder, "readdir64");
}

}  // extern "C"
#pragma GCC visibility pop
