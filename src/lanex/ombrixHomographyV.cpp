// Homography fit and inlier test, vector variants. The fit keeps the sums of
// ombrixGeomScalar.h in lanes, one pair at a time in the pairs' order, so the
// normal equations (and with them the solution) equal the reference's. The
// test takes four pairs per step, one per lane.
#include "ombrixAssert.h"
#include "ombrixGeomLanes.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

namespace {

// The sums of ombrixGeomScalar.h over the pairs, in their order.
template <bool Packed>
void homographySums(const obxCorrespondences* corrs, HomographySums<float>* sums) {
    const float32x4_t zero = vdupq_n_f32(0.0f);
    float32x4_t b = zero, xb = zero, yb = zero, q = zero, xq = zero, yq = zero, qq = zero, qr = zero, qu = zero;
    const PairAddress<Packed> at(corrs);
    const uint32_t n = corrs->numIndices;
    for (uint32_t i = 0; i < n; ++i) {
        const uint16_t k = corrs->indices[i];
        const float32x2_t xy = vld1_f32(at.source(k)), uv = vld1_f32(at.destination(k));
        // Multiplying by -1 negates exactly (the compiler would take the
        // negation itself out of the vector unit).
        const float32x2_t negUV = vmul_n_f32(uv, -1.0f);
        // [(-u)*x, (-u)*y] and [(-v)*x, (-v)*y]
        const float32x2_t qU = vmul_lane_f32(xy, negUV, 0), qV = vmul_lane_f32(xy, negUV, 1);
        const float32x4_t B = vcombine_f32(xy, uv), Q = vcombine_f32(qU, qV);
        b = vaddq_f32(b, B);
        xb = vaddq_f32(xb, vmulq_lane_f32(B, xy, 0));
        yb = vaddq_f32(yb, vmulq_lane_f32(B, xy, 1));
        q = vaddq_f32(q, Q);
        xq = vaddq_f32(xq, vmulq_lane_f32(Q, xy, 0));
        yq = vaddq_f32(yq, vmulq_lane_f32(Q, xy, 1));
        qq = vaddq_f32(qq, vmulq_f32(Q, Q));
        qr = vaddq_f32(qr, vmulq_f32(Q, vrev64q_f32(Q)));
        qu = vaddq_f32(qu, vcombine_f32(vmul_lane_f32(qU, uv, 0), vmul_lane_f32(qV, uv, 1)));
    }
    vst1q_f32(sums->b, b);
    vst1q_f32(sums->xb, xb);
    vst1q_f32(sums->yb, yb);
    vst1q_f32(sums->q, q);
    vst1q_f32(sums->xq, xq);
    vst1q_f32(sums->yq, yq);
    vst1q_f32(sums->qq, qq);
    vst1q_f32(sums->qr, qr);
    vst1q_f32(sums->qu, qu);
}

// Four pairs per step; returns the first pair not tested.
template <bool Packed>
uint32_t evaluateFours(const obxCorrespondences* corrs, const float* h, float maxsqerr, uint16_t* inliers,
                       uint32_t* numinliers, bool* all) {
    const PairAddress<Packed> at(corrs);
    // h0..h3 and h4..h7 as lane operands; the added constants broadcast.
    const float32x4_t hA = vld1q_f32(h), hB = vld1q_f32(h + 4);
    const float32x2_t h01 = vget_low_f32(hA), h23 = vget_high_f32(hA), h45 = vget_low_f32(hB), h67 = vget_high_f32(hB);
    const float32x4_t h2 = vdupq_n_f32(h[2]), h5 = vdupq_n_f32(h[5]), h8 = vdupq_n_f32(h[8]);
    const uint32_t n = corrs->numIndices;
    uint32_t count = 0, i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint16_t* idx = corrs->indices + i;
        const FourPairs p = loadFourPairs(at, idx);
        const float32x4_t w = vaddq_f32(h8, vaddq_f32(vmulq_lane_f32(p.x, h67, 0), vmulq_lane_f32(p.y, h67, 1)));
        const float32x4_t ex =
            vsubq_f32(vaddq_f32(h2, vaddq_f32(vmulq_lane_f32(p.x, h01, 0), vmulq_lane_f32(p.y, h01, 1))),
                      vmulq_f32(w, p.u));
        const float32x4_t ey =
            vsubq_f32(vaddq_f32(h5, vaddq_f32(vmulq_lane_f32(p.x, h23, 1), vmulq_lane_f32(p.y, h45, 0))),
                      vmulq_f32(w, p.v));
        const float32x4_t err = vaddq_f32(vmulq_f32(ex, ex), vmulq_f32(ey, ey));
        // err and w * (w * maxsqerr) are +0, positive or NaN.
        const uint32x4_t in = belowLimit(err, vmulq_f32(w, vmulq_n_f32(w, maxsqerr)));
        if (!appendFour(in, idx, inliers, &count, numinliers)) *all = false;
    }
    return i;
}

}  // namespace

void obxGeomHomographyFitf32V(const obxCorrespondences* corrs, float* homography) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1);
    for (int i = 0; i < 9; ++i) homography[i] = 0.0f;
    const uint32_t n = corrs->numIndices;
    if (n < 4) return;

    HomographySums<float> sums;
    if (packedPairs(corrs))
        homographySums<true>(corrs, &sums);
    else
        homographySums<false>(corrs, &sums);

    float M[64], r[8], diag[8], x[8];
    assembleHomography(sums, n, M, r);
    if (!obxSolveCholeskyf32_(M, r, diag, 8, x)) {
        obxGeomHomographyFitDPf32C(corrs, homography);
        return;
    }
    for (int t = 0; t < 8; ++t) homography[t] = x[t];
    homography[8] = 1.0f;
}

int32_t obxGeomHomographyEvaluatef32V(const obxCorrespondences* corrs, const float* homography, float maxsqerr,
                                      uint16_t* inliers, uint32_t* numinliers) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices &&(inliers) && (numinliers) && (maxsqerr >= 0));
    *numinliers = 0;
    const uint32_t n = corrs->numIndices;
    if (n == 0) return 0;
    bool all = true;
    const uint32_t i = packedPairs(corrs) ? evaluateFours<true>(corrs, homography, maxsqerr, inliers, numinliers, &all)
                                          : evaluateFours<false>(corrs, homography, maxsqerr, inliers, numinliers, &all);
    if (!evaluatePairs<homographyInlier>(corrs, homography, maxsqerr, i, inliers, numinliers)) all = false;
    return all ? 0 : -1;
}
