// Affine fit and inlier test, vector variants. The fit keeps the sums of
// ombrixGeomScalar.h in lanes, one pair at a time in the pairs' order, and
// solves with the reference Cholesky solver as the reference does; the test
// takes four pairs per step, one per lane.
#include "ombrixAssert.h"
#include "ombrixGeomLanes.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

namespace {

// The sums of ombrixGeomScalar.h over the pairs, in their order.
template <bool Packed>
void affineSums(const obxCorrespondences* corrs, AffineSums* sums) {
    const PairAddress<Packed> at(corrs);
    const uint32_t n = corrs->numIndices;
    float32x4_t b = vdupq_n_f32(0.0f), xb = b, yb = b;
    for (uint32_t i = 0; i < n; ++i) {
        const uint16_t k = corrs->indices[i];
        const float32x2_t xy = vld1_f32(at.source(k));
        const float32x4_t B = vcombine_f32(xy, vld1_f32(at.destination(k)));
        b = vaddq_f32(b, B);
        xb = vaddq_f32(xb, vmulq_lane_f32(B, xy, 0));
        yb = vaddq_f32(yb, vmulq_lane_f32(B, xy, 1));
    }
    vst1q_f32(sums->b, b);
    vst1q_f32(sums->xb, xb);
    vst1q_f32(sums->yb, yb);
}

// Four pairs per step; returns the first pair not tested.
template <bool Packed>
uint32_t evaluateFours(const obxCorrespondences* corrs, const float* a, float maxsqerr, uint16_t* inliers,
                       uint32_t* numinliers, bool* all) {
    const PairAddress<Packed> at(corrs);
    // a0..a3 and a4 as lane operands; the added constants broadcast.
    const float32x4_t aA = vld1q_f32(a);
    const float32x2_t a01 = vget_low_f32(aA), a23 = vget_high_f32(aA), a45 = vld1_f32(a + 4);
    const float32x4_t a2 = vdupq_n_f32(a[2]), a5 = vdupq_n_f32(a[5]), limit = vdupq_n_f32(maxsqerr);
    const uint32_t n = corrs->numIndices;
    uint32_t count = 0, i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint16_t* idx = corrs->indices + i;
        const FourPairs p = loadFourPairs(at, idx);
        const float32x4_t ex =
            vsubq_f32(vaddq_f32(a2, vaddq_f32(vmulq_lane_f32(p.x, a01, 0), vmulq_lane_f32(p.y, a01, 1))), p.u);
        const float32x4_t ey =
            vsubq_f32(vaddq_f32(a5, vaddq_f32(vmulq_lane_f32(p.x, a23, 1), vmulq_lane_f32(p.y, a45, 0))), p.v);
        // A sum of squares is +0, positive or NaN.
        const uint32x4_t in = belowLimit(vaddq_f32(vmulq_f32(ex, ex), vmulq_f32(ey, ey)), limit);
        if (!appendFour(in, idx, inliers, &count, numinliers)) *all = false;
    }
    return i;
}

}  // namespace

void obxGeomAffineFitf32V(const obxCorrespondences* corrs, float* affine) {
    OMBRIX_ASSERT(corrs && affine);
    for (int i = 0; i < 9; ++i) affine[i] = 0.0f;
    const uint32_t n = corrs->numIndices;
    if (n < 3) return;

    AffineSums sums;
    if (packedPairs(corrs))
        affineSums<true>(corrs, &sums);
    else
        affineSums<false>(corrs, &sums);
    float M[36], r[6], diag[6], x[6] = {0, 0, 0, 0, 0, 0};
    assembleAffine(sums, n, M, r);
    obxSolveCholeskyf32C(M, r, diag, 6, x);
    for (int t = 0; t < 6; ++t) affine[t] = x[t];
    affine[8] = 1.0f;
}

int32_t obxGeomAffineEvaluatef32V(const obxCorrespondences* corrs, const float* affine, float maxsqerr,
                                  uint16_t* inliers, uint32_t* numinliers) {
    OMBRIX_ASSERT(corrs && affine && inliers && numinliers);
    *numinliers = 0;
    const uint32_t n = corrs->numIndices;
    if (n == 0) return 0;
    bool all = true;
    const uint32_t i = packedPairs(corrs) ? evaluateFours<true>(corrs, affine, maxsqerr, inliers, numinliers, &all)
                                          : evaluateFours<false>(corrs, affine, maxsqerr, inliers, numinliers, &all);
    if (!evaluatePairs<affineInlier>(corrs, affine, maxsqerr, i, inliers, numinliers)) all = false;
    return all ? 0 : -1;
}
