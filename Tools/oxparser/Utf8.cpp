#include "Utf8.h"

namespace {

unsigned byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

bool isContinuation(unsigned byte) {
    return (byte & 0xC0) == 0x80;
}

// Length of the well-formed sequence at `position`; 0 when there is none.
std::size_t sequenceLength(std::string_view text, std::size_t position) {
    const unsigned lead = byteAt(text, position);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - position < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(byteAt(text, position + i))) {
            return 0;
        }
    }
    const unsigned second = byteAt(text, position + 1);
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool surrogate = lead == 0xED && second >= 0xA0;
    const bool tooLarge = lead == 0xF4 && second >= 0x90;
    return overlong || surrogate || tooLarge ? 0 : length;
}

}  // namespace

bool isUtf8(std::string_view bytes) {
    for (std::size_t position = 0; position < bytes.size();) {
        const std::size_t length = sequenceLength(bytes, position);
        if (length == 0) {
            return false;
        }
        position += length;
    }
    return true;
}

std::string toUtf8(std::string_view bytes) {
    if (isUtf8(bytes)) {
        return std::string(bytes);
    }
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned byte = byteAt(bytes, i);
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

char32_t nextCodePoint(std::string_view utf8, std::size_t& position) {
    const unsigned lead = byteAt(utf8, position++);
    if (lead < 0x80) {
        return lead;
    }
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    char32_t point = lead & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
        point = (point << 6) | (byteAt(utf8, position++) & 0x3F);
    }
    return point;
}
