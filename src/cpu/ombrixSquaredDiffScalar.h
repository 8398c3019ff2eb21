// The distance of two 36-element descriptors from their dot product, shared
// by the reference and the vector variant so that both round alike.
#ifndef OMBRIX_SQUARED_DIFF_SCALAR_H
#define OMBRIX_SQUARED_DIFF_SCALAR_H

#include <math.h>
#include <stdint.h>

// |a/|a| - b/|b||^2 = 2 - 2 (a . b) / (|a| |b|); rounding can take it a
// little below 0 for equal vectors, hence the absolute value.
static inline float unitDistanceFromDot(int32_t dot, float invLenA, float invLenB) {
    return fabsf(2.0f - ((invLenB + invLenB) * invLenA) * static_cast<float>(dot));
}

#endif  // OMBRIX_SQUARED_DIFF_SCALAR_H
