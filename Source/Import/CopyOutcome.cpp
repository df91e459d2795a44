#include "CopyOutcome.h"

const char* copyOutcomeName(CopyOutcome outcome) {
    static constexpr const char* kNames[] = {"copied",  "same",    "differs", "no-folder",
                                             "no-file", "refused", "failed",  "same-file"};
    return kNames[static_cast<int>(outcome)];
}
