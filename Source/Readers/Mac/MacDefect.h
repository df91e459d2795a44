#pragma once

#include <cstdint>
#include <string>

/// Something in a resource that cannot be right.
struct MacDefect {
    std::string field;
    std::uint64_t offset;  // in the resource's bytes
    std::string detail;    // what was found, and what was expected
};
