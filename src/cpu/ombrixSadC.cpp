// Reference 16x16 sum of absolute differences.
#include "ombrix.h"

uint32_t obxSumOfAbsoluteDiff16x16u8C(const uint8_t* a, uint32_t aStride, const uint8_t* b, uint32_t bStride) {
    uint32_t sum = 0;
    for (uint32_t y = 0; y < 16; ++y, a += aStride, b += bStride)
        for (uint32_t x = 0; x < 16; ++x) sum += a[x] > b[x] ? a[x] - b[x] : b[x] - a[x];
    return sum;
}
