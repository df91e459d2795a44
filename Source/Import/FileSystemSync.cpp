#include "FileSystemSync.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using boost::system::error_code;

void FileSystemSync::noteFileIn(const boost::filesystem::path& folder) {
    const char* path = folder.empty() ? "." : folder.c_str();
    struct stat status;
    if (::stat(path, &status) != 0) {
        trouble_ = lastSystemError();
        return;
    }
    if (systems_.find(status.st_dev) == systems_.end()) {
        FileDescriptor system(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!system.isOpen()) {
            trouble_ = lastSystemError();
            return;
        }
        systems_.emplace(status.st_dev, std::move(system));
    }
}

error_code FileSystemSync::sync() {
    error_code error = trouble_;
    for (const auto& [device, system] : systems_) {
        if (::syncfs(system.get()) != 0 && !error) {
            error = lastSystemError();
        }
    }
    return error;
}
