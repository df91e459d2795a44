#pragma once

/// What a modern record also carries when it is asked for, since it takes room or time.
struct ReadingDetails {
    bool names = false;     ///< `names`: every name record
    bool coverage = false;  ///< `coverage`: the characters themselves
    bool tables = false;    ///< `tables`: the table directory, with computed sums
};
