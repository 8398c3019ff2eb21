// Reference bit counts and Hamming distances: one table lookup per byte.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixBitCntScalar.h"

using ombrix_bitcnt::countBytes;
using ombrix_bitcnt::countXorBytes;

namespace {

void countFour(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, uint32_t* count,
               uint32_t len) {
    OMBRIX_ASSERT(A && B && C && D && count);
    const uint8_t* const strings[4] = {A, B, C, D};
    for (int i = 0; i < 4; ++i) count[i] = countBytes(strings[i], len);
}

void distancesFour(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                   uint32_t* HamminDistances, uint32_t len) {
    OMBRIX_ASSERT(A && B && C && D && E && HamminDistances);
    const uint8_t* const others[4] = {B, C, D, E};
    for (int i = 0; i < 4; ++i) HamminDistances[i] = countXorBytes(A, others[i], len);
}

uint32_t distance(const uint8_t* a, const uint8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return countXorBytes(a, b, len);
}

uint32_t count(const uint8_t* src, uint32_t len) {
    OMBRIX_ASSERT(src);
    return countBytes(src, len);
}

}  // namespace

uint32_t obxBitCountu8C(const uint8_t* src, uint32_t len) { return count(src, len); }

uint32_t obxBitCountu32C(const uint32_t* src, uint32_t numIntegers) {
    OMBRIX_ASSERT(src);
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(src);
    uint32_t sum = 0;
    for (uint32_t i = 0; i < numIntegers; ++i) sum += countBytes(bytes + 4 * size_t{i}, 4);
    return sum;
}

uint32_t obxBitCount32x1u8C(const uint8_t* src) { return count(src, 32); }
uint32_t obxBitCount64x1u8C(const uint8_t* src) { return count(src, 64); }

void obxBitCount32x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, uint32_t* count) {
    countFour(A, B, C, D, count, 32);
}
void obxBitCount64x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, uint32_t* count) {
    countFour(A, B, C, D, count, 64);
}

uint32_t obxHammingDistanceu8C(const uint8_t* a, const uint8_t* b, uint32_t len) { return distance(a, b, len); }
uint32_t obxHammingDistance32x1u8C(const uint8_t* a, const uint8_t* b) { return distance(a, b, 32); }
uint32_t obxHammingDistance32x1u8a4C(const uint8_t* a, const uint8_t* b) { return distance(a, b, 32); }
uint32_t obxHammingDistance64x1u8C(const uint8_t* a, const uint8_t* b) { return distance(a, b, 64); }
uint32_t obxHammingDistance64x1u8a4C(const uint8_t* a, const uint8_t* b) { return distance(a, b, 64); }

void obxHammingDistance32x4u8a4C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                 const uint8_t* E, uint32_t* HamminDistances) {
    distancesFour(A, B, C, D, E, HamminDistances, 32);
}
void obxHammingDistance64x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                               const uint8_t* E, uint32_t* HamminDistances) {
    distancesFour(A, B, C, D, E, HamminDistances, 64);
}
void obxHammingDistance64x4u8a4C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                 const uint8_t* E, uint32_t* HamminDistances) {
    distancesFour(A, B, C, D, E, HamminDistances, 64);
}
