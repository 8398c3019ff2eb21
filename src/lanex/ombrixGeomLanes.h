// Lane helpers of the geometry vector variants: correctly rounded lane-wise
// division (ARMv7 NEON has none, so its lanes go through the scalar divider
// and give the reference's quotients), the gather of four correspondences by
// index, and the append of the inliers among them.
#ifndef OMBRIX_GEOM_LANES_H
#define OMBRIX_GEOM_LANES_H

#include "ombrixGeomScalar.h"
#include "ombrixNeon.h"

namespace ombrix_geom {
namespace {

#if defined(__aarch64__)
OMBRIX_ALWAYS_INLINE float32x4_t divideLanes(float32x4_t a, float32x4_t b) { return vdivq_f32(a, b); }
OMBRIX_ALWAYS_INLINE float32x2_t divideLanes(float32x2_t a, float32x2_t b) { return vdiv_f32(a, b); }
#else
// Through memory: ARMv7 divides each lane in its scalar unit (fewer moves
// than lane by lane in registers), and hosts turn the loop back into one
// vector division.
OMBRIX_ALWAYS_INLINE float32x4_t divideLanes(float32x4_t a, float32x4_t b) {
    float n[4], d[4];
    vst1q_f32(n, a);
    vst1q_f32(d, b);
    for (int j = 0; j < 4; ++j) n[j] /= d[j];
    return vld1q_f32(n);
}
OMBRIX_ALWAYS_INLINE float32x2_t divideLanes(float32x2_t a, float32x2_t b) {
    float n[2], d[2];
    vst1_f32(n, a);
    vst1_f32(d, b);
    for (int j = 0; j < 2; ++j) n[j] /= d[j];
    return vld1_f32(n);
}
#endif

// Lane-wise err < limit for err that is +0, positive or NaN, as the scalar
// comparison decides it (false when either side is NaN). Such values order
// like their bit patterns read as unsigned integers, and every limit above
// the pattern of +infinity is a NaN or negative, so the test stays in the
// integer unit: the compiler leaves float comparisons to the scalar unit.
OMBRIX_ALWAYS_INLINE uint32x4_t belowLimit(float32x4_t err, float32x4_t limit) {
    const uint32x4_t e = vreinterpretq_u32_f32(err), l = vreinterpretq_u32_f32(limit);
    return vandq_u32(vcltq_u32(e, l), vcleq_u32(l, vdupq_n_u32(0x7F800000u)));
}

// Where pair k's points are, with the strides known at compile time when
// both are 2 (packed pairs): an address is then one shifted add.
template <bool Packed>
struct PairAddress {
    const float *from, *to;
    uint32_t fromStride, toStride;
    explicit PairAddress(const obxCorrespondences* c)
        : from(c->from), to(c->to), fromStride(c->fromStride), toStride(c->toStride) {}
    const float* source(uint32_t k) const { return from + size_t{k} * (Packed ? 2 : fromStride); }
    const float* destination(uint32_t k) const { return to + size_t{k} * (Packed ? 2 : toStride); }
};
inline bool packedPairs(const obxCorrespondences* c) { return c->fromStride == 2 && c->toStride == 2; }

// x, y, u, v of the four pairs named by idx[0..3], one pair per lane.
struct FourPairs {
    float32x4_t x, y, u, v;
};
template <bool Packed>
OMBRIX_ALWAYS_INLINE FourPairs loadFourPairs(const PairAddress<Packed>& a, const uint16_t* idx) {
    const uint16_t k0 = idx[0], k1 = idx[1], k2 = idx[2], k3 = idx[3];
    const float32x4x2_t xy = vuzpq_f32(vcombine_f32(vld1_f32(a.source(k0)), vld1_f32(a.source(k1))),
                                       vcombine_f32(vld1_f32(a.source(k2)), vld1_f32(a.source(k3))));
    const float32x4x2_t uv = vuzpq_f32(vcombine_f32(vld1_f32(a.destination(k0)), vld1_f32(a.destination(k1))),
                                       vcombine_f32(vld1_f32(a.destination(k2)), vld1_f32(a.destination(k3))));
    return {xy.val[0], xy.val[1], uv.val[0], uv.val[1]};
}

// Appends the pairs of idx[0..3] whose lane of `inlier` is set, in lane
// order, keeping *numinliers current. Returns whether all four were set.
OMBRIX_ALWAYS_INLINE bool appendFour(uint32x4_t inlier, const uint16_t* idx, uint16_t* inliers, uint32_t* count,
                                     uint32_t* numinliers) {
    static const uint32_t kBits[4] = {1, 2, 4, 8};
    const uint32x4_t bits = vandq_u32(inlier, vld1q_u32(kBits));
    const uint32x2_t pairs = vadd_u32(vget_low_u32(bits), vget_high_u32(bits));
    const uint32_t mask = vget_lane_u32(vpadd_u32(pairs, pairs), 0);
    if (mask == 0) return false;
    uint32_t n = *count;
    if (mask == 15) {
        inliers[n] = idx[0], inliers[n + 1] = idx[1], inliers[n + 2] = idx[2], inliers[n + 3] = idx[3];
        *numinliers = *count = n + 4;
        return true;
    }
    for (int j = 0; j < 4; ++j)
        if (mask & (1u << j)) {
            inliers[n++] = idx[j];
            *numinliers = n;
        }
    *count = n;
    return mask == 15;
}

}  // namespace
}  // namespace ombrix_geom

#endif  // OMBRIX_GEOM_LANES_H
