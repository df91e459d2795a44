#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "ByteView.h"

/// State of one MD5 computation (RFC 1321): md5_init, any number of md5_append, md5_finish.
struct md5_state_t {
    std::array<std::uint32_t, 4> words;
    std::uint64_t length;  // bytes appended so far
    std::array<std::uint8_t, 64> block;
};

void md5_init(md5_state_t* state);
void md5_append(md5_state_t* state, const std::uint8_t* data, std::size_t count);
void md5_finish(md5_state_t* state, std::uint8_t digest[16]);

/// How many computations md5AppendSideBySide takes at most.
constexpr std::size_t kMd5Lanes = 16;

/// What one of several computations is to take in next; its length so far is a multiple of 64.
struct Md5Piece {
    md5_state_t* state;
    const std::uint8_t* data;
};
/// Appends the next `blocks` blocks of 64 bytes to each of at least one and at most kMd5Lanes
/// computations. A computation is one long chain of operations that wait for each other; several
/// of them side by side take little longer than one.
void md5AppendSideBySide(std::span<const Md5Piece> pieces, std::size_t blocks);

/// The digest as 32 lower-case hexadecimal digits, as the "FingerPrint" attribute holds it; ends
/// the computation.
std::string md5FinishHex(md5_state_t* state);

/// The fingerprint of a whole block of bytes.
std::string md5Hex(ByteView bytes);
