// Pieces shared by the reference and vector descriptors and dot products:
// the descriptor's weight table, its clamp limit, and the scalar dot
// products the vector variants use for the elements left after their last
// full vector. Everything here has internal linkage, so that the copies
// compiled with and without NEON never merge.
#ifndef OMBRIX_DESCRIPTOR_SCALAR_H
#define OMBRIX_DESCRIPTOR_SCALAR_H

#include <cstdint>

namespace ombrix_descriptor {
namespace {

constexpr uint32_t kPatchSize = 17;
constexpr uint32_t kValues = 36;

// 15 x 15 entries (weight, accumulator base), one per interior pixel of the
// 17x17 patch, patch row 1 first. The base is 4 * cell, the cells being the
// 3x3 grid of 5x5 blocks of the interior, row-major. Weights peak at the
// centre and fall towards the border; |weight * difference| <= 44 * 255.
constexpr uint8_t kWeightTable[450] = {
    4,0, 4,0, 6,0, 6,0, 8,0, 8,4, 8,4, 8,4, 8,4, 8,4, 8,8, 6,8, 6,8, 4,8, 4,8,
    4,0, 9,0, 12,0, 12,0, 10,0, 10,4, 15,4, 15,4, 15,4, 10,4, 10,8, 12,8, 12,8, 9,8, 4,8,
    6,0, 12,0, 16,0, 15,0, 12,0, 12,4, 18,4, 24,4, 18,4, 12,4, 12,8, 15,8, 16,8, 12,8, 6,8,
    6,0, 12,0, 15,0, 18,0, 12,0, 14,4, 21,4, 21,4, 21,4, 14,4, 12,8, 18,8, 15,8, 12,8, 6,8,
    8,0, 10,0, 12,0, 12,0, 14,0, 18,4, 18,4, 18,4, 18,4, 18,4, 14,8, 12,8, 12,8, 10,8, 8,8,
    8,12, 10,12, 12,12, 14,12, 18,12, 20,16, 20,16, 20,16, 20,16, 20,16, 18,20, 14,20, 12,20, 10,20, 8,20,
    8,12, 15,12, 18,12, 21,12, 18,12, 20,16, 30,16, 30,16, 30,16, 20,16, 18,20, 21,20, 18,20, 15,20, 8,20,
    8,12, 15,12, 24,12, 21,12, 18,12, 20,16, 30,16, 44,16, 30,16, 20,16, 18,20, 21,20, 24,20, 15,20, 8,20,
    8,12, 15,12, 18,12, 21,12, 18,12, 20,16, 30,16, 30,16, 30,16, 20,16, 18,20, 21,20, 18,20, 15,20, 8,20,
    8,12, 10,12, 12,12, 14,12, 18,12, 20,16, 20,16, 20,16, 20,16, 20,16, 18,20, 14,20, 12,20, 10,20, 8,20,
    8,24, 10,24, 12,24, 12,24, 14,24, 18,28, 18,28, 18,28, 18,28, 18,28, 14,32, 12,32, 12,32, 10,32, 8,32,
    6,24, 12,24, 15,24, 18,24, 12,24, 14,28, 21,28, 21,28, 21,28, 14,28, 12,32, 18,32, 15,32, 12,32, 6,32,
    6,24, 12,24, 16,24, 15,24, 12,24, 12,28, 18,28, 24,28, 18,28, 12,28, 12,32, 15,32, 16,32, 12,32, 6,32,
    4,24, 9,24, 12,24, 12,24, 10,24, 10,28, 15,28, 15,28, 15,28, 10,28, 10,32, 12,32, 12,32, 9,32, 4,32,
    4,24, 4,24, 6,24, 6,24, 8,24, 8,28, 8,28, 8,28, 8,28, 8,28, 8,32, 6,32, 6,32, 4,32, 4,32,
};

// The largest r with r * r <= v, digit by digit (no float rounding).
inline uint32_t integerSqrt(uint32_t v) {
    uint32_t root = 0, bit = 1u << 30;
    while (bit > v) bit >>= 2;
    while (bit) {
        if (v >= root + bit) {
            v -= root + bit;
            root = (root >> 1) + bit;
        } else {
            root >>= 1;
        }
        bit >>= 2;
    }
    return root;
}

// The clamp bound for accumulators whose squares sum to normSq (wrapped to
// 32 bits): 20/128 of the norm, at least 1. At most (20 * 65535) >> 7.
inline int32_t clampLimit(uint32_t normSq) {
    const int32_t limit = static_cast<int32_t>((20 * integerSqrt(normSq)) >> 7);
    return limit < 1 ? 1 : limit;
}

// Products summed in element order in 32 bits; unsigned arithmetic wraps
// where a signed sum would overflow.
inline uint32_t dotS8(const int8_t* a, const int8_t* b, uint32_t len, uint32_t sum = 0) {
    for (uint32_t i = 0; i < len; ++i) sum += static_cast<uint32_t>(int32_t{a[i]} * int32_t{b[i]});
    return sum;
}
inline uint32_t dotU8(const uint8_t* a, const uint8_t* b, uint32_t len, uint32_t sum = 0) {
    for (uint32_t i = 0; i < len; ++i) sum += uint32_t{a[i]} * uint32_t{b[i]};
    return sum;
}

}  // namespace
}  // namespace ombrix_descriptor

#endif  // OMBRIX_DESCRIPTOR_SCALAR_H
