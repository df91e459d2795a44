#pragma once

#include <vector>

#include "ByteView.h"

/// One entry of the library and the properties that must hold whatever bytes it is given. A target
/// is a static object of its own file; it registers itself.
///
/// `run` reports a broken property through check(), which ends the process; anything else that goes
/// wrong is found by the sanitizers.
struct FuzzTarget {
    using Run = void (*)(ByteView input);

    FuzzTarget(const char* targetName, Run target);
    FuzzTarget(const FuzzTarget&) = delete;
    FuzzTarget& operator=(const FuzzTarget&) = delete;

    /// The targets that are linked into this program.
    static const std::vector<const FuzzTarget*>& all();

    const char* const name;
    const Run run;
};
