// Homography fit and inlier test, vector variants. The fit keeps the sums of
// ombrixGeomScalar.h in lanes, one pair at a time in the pairs' order, so the
// normal equations (and with them the solution) equal the reference's. The
// test takes four pairs per step, one per lane.
#include "ombrixAssert.h"
#include "ombrixGeomLanes.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

void obxGeomHomographyFitf32V(const obxCorrespondences* corrs, float* homography) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1);
    for (int i = 0; i < 9; ++i) homography[i] = 0.0f;
    const uint32_t n = corrs->numIndices;
    if (n < 4) return;

    const float32x4_t zero = vdupq_n_f32(0.0f);
    float32x4_t b = zero, xb = zero, yb = zero, q = zero, xq = zero, yq = zero, e = zero;
    float32x2_t rq = vdup_n_f32(0.0f);
    for (uint32_t i = 0; i < n; ++i) {
        const uint16_t k = corrs->indices[i];
        const float32x2_t xy = vld1_f32(fromPoint(corrs, k)), uv = vld1_f32(toPoint(corrs, k));
        const float32x4_t B = vcombine_f32(xy, uv);
        // q = -([u, u, v, v] * [x, y, x, y])
        const float32x4_t qp = vnegq_f32(
            vmulq_f32(vcombine_f32(vdup_lane_f32(uv, 0), vdup_lane_f32(uv, 1)), vcombine_f32(xy, xy)));
        b = vaddq_f32(b, B);
        xb = vaddq_f32(xb, vmulq_lane_f32(B, xy, 0));
        yb = vaddq_f32(yb, vmulq_lane_f32(B, xy, 1));
        q = vaddq_f32(q, qp);
        xq = vaddq_f32(xq, vmulq_lane_f32(qp, xy, 0));
        yq = vaddq_f32(yq, vmulq_lane_f32(qp, xy, 1));
        // [q0, q1, q0, q1] * [q0, q1, q1, q0] + [q2, q3, q2, q3] * [q2, q3, q3, q2]
        const float32x2_t qu = vget_low_f32(qp), qv = vget_high_f32(qp);
        const float32x4_t eu = vmulq_f32(vcombine_f32(qu, qu), vcombine_f32(qu, vrev64_f32(qu)));
        const float32x4_t ev = vmulq_f32(vcombine_f32(qv, qv), vcombine_f32(qv, vrev64_f32(qv)));
        e = vaddq_f32(e, vaddq_f32(eu, ev));
        // [q0, q1] * u + [q2, q3] * v
        rq = vadd_f32(rq, vadd_f32(vmul_lane_f32(qu, uv, 0), vmul_lane_f32(qv, uv, 1)));
    }
    HomographySums<float> sums;
    vst1q_f32(sums.b, b);
    vst1q_f32(sums.xb, xb);
    vst1q_f32(sums.yb, yb);
    vst1q_f32(sums.q, q);
    vst1q_f32(sums.xq, xq);
    vst1q_f32(sums.yq, yq);
    float eLanes[4];
    vst1q_f32(eLanes, e);
    for (int t = 0; t < 3; ++t) sums.e[t] = eLanes[t];
    vst1_f32(sums.rq, rq);

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
    const float* h = homography;
    const float32x4_t h0 = vdupq_n_f32(h[0]), h1 = vdupq_n_f32(h[1]), h2 = vdupq_n_f32(h[2]);
    const float32x4_t h3 = vdupq_n_f32(h[3]), h4 = vdupq_n_f32(h[4]), h5 = vdupq_n_f32(h[5]);
    const float32x4_t h6 = vdupq_n_f32(h[6]), h7 = vdupq_n_f32(h[7]), h8 = vdupq_n_f32(h[8]);
    const float32x4_t limit = vdupq_n_f32(maxsqerr);
    bool all = true;
    uint32_t count = 0, i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint16_t* idx = corrs->indices + i;
        const FourPairs p = loadFourPairs(corrs, idx);
        const float32x4_t w = vaddq_f32(h8, vaddq_f32(vmulq_f32(h6, p.x), vmulq_f32(h7, p.y)));
        const float32x4_t ex =
            vsubq_f32(vaddq_f32(h2, vaddq_f32(vmulq_f32(h0, p.x), vmulq_f32(h1, p.y))), vmulq_f32(w, p.u));
        const float32x4_t ey =
            vsubq_f32(vaddq_f32(h5, vaddq_f32(vmulq_f32(h3, p.x), vmulq_f32(h4, p.y))), vmulq_f32(w, p.v));
        const float32x4_t err = vaddq_f32(vmulq_f32(ex, ex), vmulq_f32(ey, ey));
        const uint32x4_t in = vcltq_f32(err, vmulq_f32(w, vmulq_f32(w, limit)));
        if (!appendFour(in, idx, inliers, &count, numinliers)) all = false;
    }
    if (!evaluatePairs<homographyInlier>(corrs, h, maxsqerr, i, inliers, numinliers)) all = false;
    return all ? 0 : -1;
}
