#include "Md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

inline std::uint32_t loadLittleEndian(const std::uint8_t* p) {
    std::uint32_t word;
    std::memcpy(&word, p, sizeof word);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap32(word);
    }
    return word;
}

inline void storeLittleEndian(std::uint8_t* p, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<std::uint8_t>(word >> (8 * i));
    }
}

// One word of each of several computations, which a processor's vector unit works on side by side.
using Lanes = std::uint32_t __attribute__((vector_size(sizeof(std::uint32_t) * kMd5Lanes)));

// Half a block of one computation; or, turned, one word of the blocks of eight computations.
using Row = std::uint32_t __attribute__((vector_size(32)));
constexpr std::size_t kRow = sizeof(Row) / sizeof(std::uint32_t);
// The same anywhere in memory.
using RowInMemory [[gnu::aligned(1), gnu::may_alias]] = Row;

// Makes rows of columns: eight words each from eight places to eight others. Each step interleaves
// what the step before has brought together: words, then pairs of them, then fours.
[[gnu::always_inline]] inline void turn(const std::uint8_t* const* from, std::size_t offset,
                                        std::uint8_t* to, std::size_t stride) {
    Row rows[kRow];
    Row pairs[kRow];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kRow; ++i) {
        rows[i] = *reinterpret_cast<const RowInMemory*>(from[i] + offset);
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kRow; i += 2) {
        pairs[i] = __builtin_shufflevector(rows[i], rows[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pairs[i + 1] = __builtin_shufflevector(rows[i], rows[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kRow; i += 2) {
        const std::size_t first = i / 4 * 4 + i % 4 / 2;
        rows[i] = __builtin_shufflevector(pairs[first], pairs[first + 2], 0, 1, 8, 9, 4, 5, 12, 13);
        rows[i + 1] =
            __builtin_shufflevector(pairs[first], pairs[first + 2], 2, 3, 10, 11, 6, 7, 14, 15);
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kRow / 2; ++i) {
        *reinterpret_cast<RowInMemory*>(to + i * stride) =
            __builtin_shufflevector(rows[i], rows[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        *reinterpret_cast<RowInMemory*>(to + (i + 4) * stride) =
            __builtin_shufflevector(rows[i], rows[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

// Where the message words come from: one block, or one block of each computation.
struct OneBlock {
    const std::uint8_t* data;

    [[gnu::always_inline]] void load(std::array<std::uint32_t, 16>& x) const {
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] = loadLittleEndian(data + 4 * i);
        }
    }
    void next() { data += 64; }
};
struct BlockOfEach {
    std::array<const std::uint8_t*, kMd5Lanes> data;

    [[gnu::always_inline]] void load(std::array<Lanes, 16>& x) const {
        for (std::size_t lane = 0; lane < kMd5Lanes; lane += kRow) {
            for (std::size_t word = 0; word < x.size(); word += kRow) {
                turn(&data[lane], 4 * word, reinterpret_cast<std::uint8_t*>(&x[word]) + 4 * lane,
                     sizeof(Lanes));
            }
        }
        if constexpr (std::endian::native == std::endian::big) {
            for (Lanes& word : x) {
                for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
                    word[lane] = __builtin_bswap32(word[lane]);
                }
            }
        }
    }
    void next() {
        for (const std::uint8_t*& p : data) {
            p += 64;
        }
    }
};

// The four rounds' mixing steps; `a` comes with the message word and the constant added, which does
// not depend on the step before. In round two the two halves of the selection have no bit in
// common, so they are added one after the other: the half that waits for the previous step's result
// comes last, and one step's latency is shorter by one operation. Words go by reference, since
// passing vectors by value differs from processor to processor.
template <int Shift, typename Word>
inline void rotateAndAdd(Word& a, const Word& b) {
    a = ((a << Shift) | (a >> (32 - Shift))) + b;
}
template <int Shift, typename Word>
inline void stepF(Word& a, const Word& b, const Word& c, const Word& d) {
    a += d ^ (b & (c ^ d));
    rotateAndAdd<Shift>(a, b);
}
template <int Shift, typename Word>
inline void stepG(Word& a, const Word& b, const Word& c, const Word& d) {
    a += c & ~d;
    a += b & d;
    rotateAndAdd<Shift>(a, b);
}
template <int Shift, typename Word>
inline void stepH(Word& a, const Word& b, const Word& c, const Word& d) {
    a += b ^ (c ^ d);
    rotateAndAdd<Shift>(a, b);
}
template <int Shift, typename Word>
inline void stepI(Word& a, const Word& b, const Word& c, const Word& d) {
    a += c ^ (b | ~d);
    rotateAndAdd<Shift>(a, b);
}

// floor(2^32 * abs(sin(i + 1))), RFC 1321 section 3.4.
constexpr std::array<std::uint32_t, 64> kSines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

template <typename Word, typename Source>
[[gnu::always_inline]] inline void processBlocks(std::array<Word, 4>& words, Source source,
                                                 std::size_t blocks) {
    auto [a, b, c, d] = words;
    for (; blocks != 0; --blocks, source.next()) {
        std::array<Word, 16> x;
        source.load(x);
        const std::array<Word, 4> before{a, b, c, d};
#pragma GCC unroll 4
        for (unsigned i = 0; i < 16; i += 4) {
            a += kSines[i] + x[i];
            stepF<7>(a, b, c, d);
            d += kSines[i + 1] + x[i + 1];
            stepF<12>(d, a, b, c);
            c += kSines[i + 2] + x[i + 2];
            stepF<17>(c, d, a, b);
            b += kSines[i + 3] + x[i + 3];
            stepF<22>(b, c, d, a);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 16; i += 4) {
            a += kSines[16 + i] + x[(5 * i + 1) % 16];
            stepG<5>(a, b, c, d);
            d += kSines[17 + i] + x[(5 * i + 6) % 16];
            stepG<9>(d, a, b, c);
            c += kSines[18 + i] + x[(5 * i + 11) % 16];
            stepG<14>(c, d, a, b);
            b += kSines[19 + i] + x[(5 * i + 16) % 16];
            stepG<20>(b, c, d, a);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 16; i += 4) {
            a += kSines[32 + i] + x[(3 * i + 5) % 16];
            stepH<4>(a, b, c, d);
            d += kSines[33 + i] + x[(3 * i + 8) % 16];
            stepH<11>(d, a, b, c);
            c += kSines[34 + i] + x[(3 * i + 11) % 16];
            stepH<16>(c, d, a, b);
            b += kSines[35 + i] + x[(3 * i + 14) % 16];
            stepH<23>(b, c, d, a);
        }
#pragma GCC unroll 4
        for (unsigned i = 0; i < 16; i += 4) {
            a += kSines[48 + i] + x[(7 * i) % 16];
            stepI<6>(a, b, c, d);
            d += kSines[49 + i] + x[(7 * i + 7) % 16];
            stepI<10>(d, a, b, c);
            c += kSines[50 + i] + x[(7 * i + 14) % 16];
            stepI<15>(c, d, a, b);
            b += kSines[51 + i] + x[(7 * i + 21) % 16];
            stepI<21>(b, c, d, a);
        }
        a += before[0];
        b += before[1];
        c += before[2];
        d += before[3];
    }
    words = {a, b, c, d};
}

}  // namespace

void md5_init(md5_state_t* state) {
    state->words = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    state->length = 0;
}

void md5_append(md5_state_t* state, const std::uint8_t* data, std::size_t count) {
    const std::size_t buffered = state->length % 64;
    state->length += count;
    if (buffered != 0) {
        const std::size_t taken = std::min(count, 64 - buffered);
        std::copy_n(data, taken, state->block.begin() + static_cast<std::ptrdiff_t>(buffered));
        if (buffered + taken < 64) {
            return;
        }
        processBlocks(state->words, OneBlock{state->block.data()}, 1);
        data += taken;
        count -= taken;
    }
    processBlocks(state->words, OneBlock{data}, count / 64);
    std::copy_n(data + count / 64 * 64, count % 64, state->block.begin());
}

namespace {

// Inlined into one function for each kind of vector unit.
[[gnu::always_inline]] inline void appendSideBySide(std::span<const Md5Piece> pieces,
                                                    std::size_t blocks) {
    std::array<Lanes, 4> words{};
    BlockOfEach source{};
    for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
        // A lane without a piece does the first one's work once more, for nothing.
        const Md5Piece& piece = pieces[lane < pieces.size() ? lane : 0];
        source.data[lane] = piece.data;
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i][lane] = piece.state->words[i];
        }
    }
    processBlocks(words, source, blocks);
    for (std::size_t lane = 0; lane < pieces.size(); ++lane) {
        md5_state_t& state = *pieces[lane].state;
        state.length += 64 * blocks;
        for (std::size_t i = 0; i < words.size(); ++i) {
            state.words[i] = words[i][lane];
        }
    }
}

using AppendSideBySide = void (*)(std::span<const Md5Piece> pieces, std::size_t blocks);

void appendAnywhere(std::span<const Md5Piece> pieces, std::size_t blocks) {
    appendSideBySide(pieces, blocks);
}

#ifdef __x86_64__
[[gnu::target("avx2")]] void appendWithAvx2(std::span<const Md5Piece> pieces, std::size_t blocks) {
    appendSideBySide(pieces, blocks);
}

// Has an instruction for rotations.
[[gnu::target("avx512vl")]] void appendWithAvx512(std::span<const Md5Piece> pieces,
                                                  std::size_t blocks) {
    appendSideBySide(pieces, blocks);
}
#endif

AppendSideBySide bestForThisProcessor() {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx512vl")) {
        return appendWithAvx512;
    }
    if (__builtin_cpu_supports("avx2")) {
        return appendWithAvx2;
    }
#endif
    return appendAnywhere;
}

}  // namespace

void md5AppendSideBySide(std::span<const Md5Piece> pieces, std::size_t blocks) {
    static const AppendSideBySide append = bestForThisProcessor();
    if (pieces.size() == 1) {
        md5_append(pieces[0].state, pieces[0].data, 64 * blocks);
    } else {
        append(pieces, blocks);
    }
}

void md5_finish(md5_state_t* state, std::uint8_t digest[16]) {
    const std::uint64_t bits = state->length * 8;
    std::array<std::uint8_t, 72> padding{0x80};
    const std::size_t zeros =
        (119 - state->length % 64) % 64;  // up to 8 bytes before a block's end
    storeLittleEndian(&padding[1 + zeros], static_cast<std::uint32_t>(bits));
    storeLittleEndian(&padding[5 + zeros], static_cast<std::uint32_t>(bits >> 32));
    md5_append(state, padding.data(), 9 + zeros);
    for (std::size_t i = 0; i < 4; ++i) {
        storeLittleEndian(digest + 4 * i, state->words[i]);
    }
}

std::string md5FinishHex(md5_state_t* state) {
    std::array<std::uint8_t, 16> digest;
    md5_finish(state, digest.data());
    std::string text;
    text.reserve(32);
    for (const std::uint8_t byte : digest) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string md5Hex(ByteView bytes) {
    md5_state_t state;
    md5_init(&state);
    md5_append(&state, bytes.data(), bytes.size());
    return md5FinishHex(&state);
}
