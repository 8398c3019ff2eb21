// Reference conversion of 36-value integer descriptors to scaled floats.
#include "ombrix.h"
#include "ombrixAssert.h"

int32_t obxVecNormalize36s8f32C(const int8_t* src, uint32_t srcStride, const float* invLen, uint32_t numVecs,
                                float reqNorm, float* dst, const int32_t* stopFlag) {
    OMBRIX_ASSERT(src && invLen && dst);
    if (numVecs == 0 || *stopFlag != 0) return 0;
    for (uint32_t i = 0; i < numVecs; ++i, src += srcStride, dst += 36) {
        const float f = invLen[i] * reqNorm;
        for (uint32_t j = 0; j < 36; ++j) dst[j] = f * static_cast<float>(src[j]);
    }
    return 0;
}
