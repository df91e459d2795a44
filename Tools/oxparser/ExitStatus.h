#pragma once

/// What the program tells the shell. After a signal it is 128 plus the signal's number.
enum ExitStatus : int {
    eDone = 0,
    eFailed = 1,
    eWrongUsage = 2,
    eSignalBase = 128,
};
