#pragma once

#include <string>

/// "1 font", "2 fonts".
inline std::string counted(int count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}
