// Reference 36-value gradient descriptor of a 17x17 patch.
#include <cstdlib>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixDescriptorScalar.h"

using namespace ombrix_descriptor;

int32_t obxDescriptor17x17u8To36s8C(const uint8_t* patch, int8_t* descriptorChar, int32_t* descriptorNormSq) {
    OMBRIX_ASSERT(patch && descriptorChar && descriptorNormSq);

    // Per cell: sum of weighted x differences, of weighted y differences,
    // and of the absolute values of both. |w * g| <= 44 * 255.
    int32_t acc[kValues] = {};
    const uint8_t* entry = kWeightTable;
    for (uint32_t row = 1; row <= 15; ++row) {
        const uint8_t* above = patch + (row - 1) * kPatchSize;
        const uint8_t* p = above + kPatchSize;
        const uint8_t* below = p + kPatchSize;
        for (uint32_t col = 1; col <= 15; ++col, entry += 2) {
            const int32_t gx = p[col + 1] - p[col - 1];
            const int32_t gy = below[col] - above[col];
            const int32_t w = entry[0], base = entry[1];
            const int32_t t1 = w * gx, t2 = w * gy;
            acc[base] += t1;
            acc[base + 1] += t2;
            acc[base + 2] += std::abs(t1);
            acc[base + 3] += std::abs(t2);
        }
    }

    uint32_t normSq = 0;
    for (uint32_t i = 0; i < kValues; ++i) {
        acc[i] >>= 3;
        normSq += static_cast<uint32_t>(acc[i]) * static_cast<uint32_t>(acc[i]);
    }
    if (normSq == 0) return -1;

    // Clamp so that no single cell dominates, then stretch the largest
    // magnitude (the limit, if anything was clamped) to 127.
    const int32_t limit = clampLimit(normSq);
    int32_t largest = 0;
    bool clamped = false;
    for (uint32_t i = 0; i < kValues; ++i) {
        if (acc[i] > limit || acc[i] < -limit) {
            clamped = true;
            acc[i] = acc[i] > limit ? limit : -limit;
        }
        const int32_t magnitude = std::abs(acc[i]);
        if (magnitude > largest) largest = magnitude;
    }
    const int32_t m = clamped ? limit : largest;
    const float scale = 127.0f / static_cast<float>(m);

    int32_t outNormSq = 0;
    for (uint32_t i = 0; i < kValues; ++i) {
        const int32_t val = static_cast<int32_t>(scale * static_cast<float>(acc[i]));
        OMBRIX_ASSERT(val>=-127 && val<=127);
        descriptorChar[i] = static_cast<int8_t>(val);
        outNormSq += val * val;
    }
    *descriptorNormSq = outNormSq;
    return 0;
}
