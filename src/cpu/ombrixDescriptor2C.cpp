// Reference per-dimension sampled mean and variance of float descriptors.
#include "ombrix.h"
#include "ombrixAssert.h"

int32_t obxDescriptorSampledMeanAndVar36f32C(const float* src, int32_t first, int32_t last, const uint32_t* vind,
                                             float* means, float* vars, float* temp) {
    OMBRIX_ASSERT(src && vind && means && vars && temp);
    // Only the first 101 descriptors of the range are sampled.
    const int32_t end = last < first + 100 ? last : first + 100;
    const float inv = 1.0f / static_cast<float>(end - first + 1);
    for (uint32_t d = 0; d < 36; ++d) {
        float s = 0.0f, q = 0.0f;
        for (int32_t k = first; k <= end; ++k) {
            const float x = src[vind[k] * 36 + d];
            s += x;
            q += x * x;
        }
        // The sum of squared deviations, not divided by the count.
        means[d] = inv * s;
        vars[d] = q - s * (inv * s);
    }
    return 0;
}
