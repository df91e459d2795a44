#include "ByteView.h"

ReadPastEnd::ReadPastEnd(const char* field, std::uint64_t offset, std::uint64_t count)
    : std::runtime_error("read past the end of the font data"),
      field_(field),
      offset_(offset),
      count_(count) {}

// Out of line, so that the type's identity lives in the library alone.
ReadPastEnd::~ReadPastEnd() = default;

void ByteView::fail(const char* field, std::uint64_t offset, std::uint64_t count) {
    throw ReadPastEnd(field, offset, count);
}
