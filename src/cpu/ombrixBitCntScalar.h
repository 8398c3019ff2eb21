// Byte-wise population counts shared by the reference bit counts and the
// tails of their vector variants.
#ifndef OMBRIX_BIT_CNT_SCALAR_H
#define OMBRIX_BIT_CNT_SCALAR_H

#include <stdint.h>

namespace ombrix_bitcnt {

// Entry v holds the number of set bits of v.
struct PopulationTable {
    uint8_t bits[256];
    constexpr PopulationTable() : bits() {
        for (int v = 1; v < 256; ++v) bits[v] = static_cast<uint8_t>(bits[v >> 1] + (v & 1));
    }
};
static constexpr PopulationTable kPopulation{};

// Set bits of len bytes, eight per step, then the rest one at a time.
static inline uint32_t countBytes(const uint8_t* src, uint32_t len) {
    uint32_t sum = 0, i = 0;
    for (; i + 8 <= len; i += 8)
        for (uint32_t k = 0; k < 8; ++k) sum += kPopulation.bits[src[i + k]];
    for (; i < len; ++i) sum += kPopulation.bits[src[i]];
    return sum;
}

// Set bits of a XOR b over len bytes, in the same steps.
static inline uint32_t countXorBytes(const uint8_t* a, const uint8_t* b, uint32_t len) {
    uint32_t sum = 0, i = 0;
    for (; i + 8 <= len; i += 8)
        for (uint32_t k = 0; k < 8; ++k) sum += kPopulation.bits[a[i + k] ^ b[i + k]];
    for (; i < len; ++i) sum += kPopulation.bits[a[i] ^ b[i]];
    return sum;
}

}  // namespace ombrix_bitcnt

#endif  // OMBRIX_BIT_CNT_SCALAR_H
