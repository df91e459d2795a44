#pragma once

/// What the program tells the shell. After a signal it is 128 plus the signal's number.
enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kSignalBase = 128,
};
