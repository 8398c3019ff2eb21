// Sampled mean and variance of float descriptors, vector variant: twelve
// dimensions per pass over the sampled indices, each lane summing its
// dimension in index order exactly as the reference does.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

int32_t obxDescriptorSampledMeanAndVar36f32V(const float* src, int32_t first, int32_t last, const uint32_t* vind,
                                             float* means, float* vars, float* temp) {
    OMBRIX_ASSERT(src && vind && means && vars && temp);
    const int32_t end = last < first + 100 ? last : first + 100;
    const float inv = 1.0f / static_cast<float>(end - first + 1);
    for (uint32_t d = 0; d < 36; d += 12) {
        float32x4_t s[3], q[3];
        for (uint32_t j = 0; j < 3; ++j) s[j] = q[j] = vdupq_n_f32(0.0f);
        for (int32_t k = first; k <= end; ++k) {
            const float* x = src + vind[k] * 36 + d;
            for (uint32_t j = 0; j < 3; ++j) {
                const float32x4_t v = vld1q_f32(x + 4 * j);
                s[j] = vaddq_f32(s[j], v);
                q[j] = vaddq_f32(q[j], vmulq_f32(v, v));
            }
        }
        for (uint32_t j = 0; j < 3; ++j) {
            const float32x4_t mean = vmulq_n_f32(s[j], inv);
            vst1q_f32(means + d + 4 * j, mean);
            vst1q_f32(vars + d + 4 * j, vsubq_f32(q[j], vmulq_f32(s[j], mean)));
        }
    }
    return 0;
}
