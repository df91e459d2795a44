#include "Check.h"

#include <cstdio>
#include <cstdlib>

void check(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "Property does not hold: %s\n", property);
        std::abort();
    }
}

void check(bool holds, const char* property, const std::string& detail) {
    if (!holds) {
        std::fprintf(stderr, "Property does not hold: %s: %s\n", property, detail.c_str());
        std::abort();
    }
}
