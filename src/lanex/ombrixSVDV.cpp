// SVD and Cholesky solver, vector variants: the algorithms of
// ombrixSVDScalar.h over four-lane row kernels. The dot product keeps one
// running sum per lane and combines them as (s0 + s2) + (s1 + s3), the order
// the reference kernels use, and the rotations and updates are lane-wise
// multiplies and adds, so the results equal the reference's bits.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"
#include "ombrixSVDScalar.h"

namespace {

struct VectorRows {
    static float dot(const float* a, const float* b, uint32_t n) {
        float32x4_t acc = vdupq_n_f32(0.0f);
        uint32_t t = 0;
        for (; t + 4 <= n; t += 4) acc = vaddq_f32(acc, vmulq_f32(vld1q_f32(a + t), vld1q_f32(b + t)));
        const float32x2_t pairs = vadd_f32(vget_low_f32(acc), vget_high_f32(acc));
        float sum = vget_lane_f32(pairs, 0) + vget_lane_f32(pairs, 1);
        for (; t < n; ++t) sum += a[t] * b[t];
        return sum;
    }
    static void rotate(float* a, float* b, float c, float s, uint32_t n) {
        const float32x4_t vc = vdupq_n_f32(c), vs = vdupq_n_f32(s);
        uint32_t t = 0;
        for (; t + 4 <= n; t += 4) {
            const float32x4_t x = vld1q_f32(a + t), y = vld1q_f32(b + t);
            vst1q_f32(a + t, vaddq_f32(vmulq_f32(vc, x), vmulq_f32(vs, y)));
            vst1q_f32(b + t, vsubq_f32(vmulq_f32(vc, y), vmulq_f32(vs, x)));
        }
        ombrix_svd::ScalarRows::rotate(a + t, b + t, c, s, n - t);
    }
    static void subtractScaled(float* a, const float* b, float k, uint32_t n) {
        const float32x4_t vk = vdupq_n_f32(k);
        uint32_t t = 0;
        for (; t + 4 <= n; t += 4) vst1q_f32(a + t, vsubq_f32(vld1q_f32(a + t), vmulq_f32(vk, vld1q_f32(b + t))));
        ombrix_svd::ScalarRows::subtractScaled(a + t, b + t, k, n - t);
    }
};

}  // namespace

void obxSVDf32V(const float* A, uint32_t m, uint32_t n, float* w, float* U, float* Vt, float* tmpU, float* tmpV) {
    OMBRIX_ASSERT((A != 0) && (m > 0) && (n > 0) && (w != 0) && (U != 0) && (Vt != 0) && (tmpU != 0) && (tmpV != 0));
    ombrix_svd::svd<VectorRows>(A, m, n, w, U, Vt, tmpU, tmpV);
}

int32_t obxSolveCholeskyf32V(float* A, const float* b, float* diag, uint32_t N, float* x) {
    OMBRIX_ASSERT((A!=0) && (b!=0) && (diag!=0) && (x!=0));
    return ombrix_svd::solveCholesky<VectorRows>(A, b, diag, N, x);
}
