#pragma once

#include <boost/system/error_code.hpp>
#include <cstdint>

#include "MacErrors.h"

/// The status that stands for a failed system call's `errno`.
std::int16_t statusOfErrno(int error);

/// The error that stands for a status: the system's own where there is one, else one of a category
/// whose messages tell in words what is wrong with a resource file. None for noErr.
boost::system::error_code errorOfStatus(std::int16_t status);
/// The status that stands for either kind of error.
std::int16_t statusOfError(const boost::system::error_code& error);
