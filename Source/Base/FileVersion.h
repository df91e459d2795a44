#pragma once

#include <cstdint>

/// What tells one state of a file from another: equal as long as nobody has written to it.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;  // nanoseconds, as is `changed`
    std::int64_t changed = 0;

    bool operator==(const FileVersion&) const = default;
};
