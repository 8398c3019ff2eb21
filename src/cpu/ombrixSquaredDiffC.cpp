// Reference distances of 36-element descriptors: each dot product through
// the obxDotProduct36x1s8 slot, then the unit-vector distance in float.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixSquaredDiffScalar.h"

void obxSumOfSquaredDiffs36xNs8C(const int8_t* a, float invLenA, const int8_t* b, const float* invLenB,
                                 uint32_t numB, float* distances) {
    OMBRIX_ASSERT(a && b && invLenB && distances);
    for (uint32_t i = 0; i < numB; ++i)
        distances[i] = unitDistanceFromDot(obxDotProduct36x1s8_(a, b + 36 * size_t{i}), invLenA, invLenB[i]);
}
