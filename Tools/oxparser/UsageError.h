#pragma once

#include <stdexcept>

/// The command line asks for something that cannot be done; the text names the option or argument.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};
