#pragma once

#include <string>

/// Ends the process, with the text on standard error, when a property does not hold. Unlike
/// assert() it is there in every build.
void check(bool holds, const char* property);
/// The same with what broke the property.
void check(bool holds, const char* property, const std::string& detail);
