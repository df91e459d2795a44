#pragma once

#include <string_view>
#include <vector>

#include "ByteView.h"

/// One entry of the library and the properties that must hold whatever bytes it is given.
///
/// `run` reports a broken property through check(), which ends the process; anything else that goes
/// wrong is found by the sanitizers.
struct FuzzTarget {
    using Run = void (*)(ByteView input);

    FuzzTarget(const char* targetName, Run target);
    FuzzTarget(const FuzzTarget&) = delete;
    FuzzTarget& operator=(const FuzzTarget&) = delete;

    /// The target of that name; null when there is none.
    static const FuzzTarget* find(std::string_view name);

    const char* const name;
    const Run run;
};

/// Defines a target, which registers itself: FUZZ_TARGET(Name) { ...what is done with `input`... }
#define FUZZ_TARGET(name)                            \
    void run##name(ByteView input);                  \
    const FuzzTarget target##name(#name, run##name); \
    void run##name(ByteView input)
