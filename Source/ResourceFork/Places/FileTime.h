#pragma once

#include <sys/stat.h>

#include <ctime>

/// When a file was last modified; systems disagree on the name of the member.
inline timespec modificationTime(const struct stat& status) {
#ifdef __APPLE__
    return status.st_mtimespec;
#else
    return status.st_mtim;
#endif
}
