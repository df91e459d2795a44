#pragma once

/// Marks what leaves the library; everything else is hidden.
#define OXPARSER_EXPORT __attribute__((visibility("default")))
