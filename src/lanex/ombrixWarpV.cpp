// Vector variants of the perspective warps, the affine patch extractors, the
// rotated 17x17 copy and the RGBA8888 remaps.
//
// Source pixels are fetched one by one (each destination pixel has its own
// address); the position arithmetic, the inside tests and the blending run in
// lanes. Float steps mirror the scalar expressions of ombrixWarpScalar.h one
// for one, each product and sum rounded on its own.
//
// Perspective warps: the homogeneous coordinates are a running sum along
// the row and the division is per pixel, so both stay in scalar VFP code,
// exactly as in the reference; lanes take over from u = X / W, v = Y / W on.
// NEON flushes subnormal inputs to zero, so the inside tests compare the
// float bit patterns as integers, which nothing flushes.
#include <string.h>

// Every conversion below is of a value known to be in range and not NaN
// (positions are masked or clamped first), and no float minimum or maximum
// is taken, so hosts may skip the out-of-range and NaN handling that their
// translation of the NEON operations otherwise adds.
#if !defined(__ARM_NEON) && !defined(__ARM_NEON__)
#define SIMDE_FAST_CONVERSION_RANGE
#define SIMDE_FAST_NANS
#endif

#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"
#include "ombrixWarpScalar.h"

namespace {

using namespace ombrix_warp;

// a + b c with the product rounded before the sum: ARMv7's NEON
// multiply-accumulate does exactly that; hosts would fuse it.
OMBRIX_ALWAYS_INLINE float32x4_t mulAdd(float32x4_t a, float32x4_t b, float32x4_t c) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return vmlaq_f32(a, b, c);
#else
    return vaddq_f32(a, vmulq_f32(b, c));
#endif
}

// The low byte of a with b shifted in above it: (a & 255) | b << 8.
OMBRIX_ALWAYS_INLINE uint32x4_t insertAboveByte(uint32x4_t a, uint32x4_t b) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return vsliq_n_u32(a, b, 8);
#else
    return vorrq_u32(vandq_u32(a, vdupq_n_u32(255)), vshlq_n_u32(b, 8));
#endif
}

OMBRIX_ALWAYS_INLINE uint32_t floatBits(float f) {
    uint32_t bits;
    memcpy(&bits, &f, 4);
    return bits;
}

// Lanes with 0 <= v < limit (limit > 0), NaN excluded, from the bit
// patterns: non-negative floats order like their bits, -0 is admitted apart.
OMBRIX_ALWAYS_INLINE uint32x4_t inRangeOpen(float32x4_t v, uint32x4_t limitBits) {
    const uint32x4_t bits = vreinterpretq_u32_f32(v);
    return vorrq_u32(vcltq_u32(bits, limitBits), vceqq_u32(bits, vdupq_n_u32(0x80000000u)));
}
// The same with 0 <= v <= limit.
OMBRIX_ALWAYS_INLINE uint32x4_t inRangeClosed(float32x4_t v, uint32x4_t limitBits) {
    const uint32x4_t bits = vreinterpretq_u32_f32(v);
    return vorrq_u32(vcleq_u32(bits, limitBits), vceqq_u32(bits, vdupq_n_u32(0x80000000u)));
}

// Float comparisons are done on the bit patterns as integers throughout:
// GCC does not trust NEON's float compares (they flush subnormals) and
// splits them into scalar VFP compares, one lane at a time.

// Lanes with |v| < 2^31, whose truncation fits int32; NaN excluded.
OMBRIX_ALWAYS_INLINE uint32x4_t convertibleLanes(float32x4_t v) {
    const uint32x4_t magnitude = vandq_u32(vreinterpretq_u32_f32(v), vdupq_n_u32(0x7fffffffu));
    return vcltq_u32(magnitude, vdupq_n_u32(0x4f000000u));  // 2^31
}

// Lanes whose sign bit is set (negative values, -0, negative NaNs).
OMBRIX_ALWAYS_INLINE uint32x4_t signLanes(float32x4_t v) {
    return vreinterpretq_u32_s32(vshrq_n_s32(vreinterpretq_s32_f32(v), 31));
}

OMBRIX_ALWAYS_INLINE float32x4_t keepLanes(float32x4_t v, uint32x4_t mask) {
    return vreinterpretq_f32_u32(vandq_u32(vreinterpretq_u32_f32(v), mask));
}

OMBRIX_ALWAYS_INLINE uint16_t load16(const uint8_t* p) {
    uint16_t v;
    memcpy(&v, p, 2);
    return v;
}
OMBRIX_ALWAYS_INLINE uint32_t load32(const uint8_t* p) {
    uint32_t v;
    memcpy(&v, p, 4);
    return v;
}

// Four words, straight into the lanes (a vector load of words just stored
// one by one would wait for the stores on many cores).
OMBRIX_ALWAYS_INLINE uint32x4_t lanesOf(uint32_t w0, uint32_t w1, uint32_t w2, uint32_t w3) {
    uint32x4_t v = vdupq_n_u32(w0);
    v = vsetq_lane_u32(w1, v, 1);
    v = vsetq_lane_u32(w2, v, 2);
    return vsetq_lane_u32(w3, v, 3);
}

// The 32-bit words at base + offsets[k].
OMBRIX_ALWAYS_INLINE uint32x4_t gather32(const uint8_t* base, const uint32_t* offsets) {
    return lanesOf(load32(base + offsets[0]), load32(base + offsets[1]), load32(base + offsets[2]),
                   load32(base + offsets[3]));
}

// ---- Perspective warp ---------------------------------------------------------------

// Four destination pixels: positions, inside mask, fractions and source
// offsets (0 for outside lanes, so that every fetch stays in the image).
struct PerspectiveLanes {
    uint32x4_t inside, offset;
    float32x4_t fx, fy;
};

template <int Channels>
OMBRIX_ALWAYS_INLINE PerspectiveLanes perspectiveLanes(const float* m, Projection& p, uint32x4_t uLimitBits,
                                                       uint32x4_t vLimitBits, uint32_t srcStride) {
    float us[4], vs[4];
    for (int k = 0; k < 4; ++k) {
        const float r = 1.0f / p.W;
        us[k] = p.X * r;
        vs[k] = p.Y * r;
        p.X += m[0];
        p.Y += m[3];
        p.W += m[6];
    }
    PerspectiveLanes lanes;
    float32x4_t u = vld1q_f32(us), v = vld1q_f32(vs);
    lanes.inside = vandq_u32(inRangeOpen(u, uLimitBits), inRangeOpen(v, vLimitBits));
    u = keepLanes(u, lanes.inside);
    v = keepLanes(v, lanes.inside);
    const int32x4_t ix = vcvtq_s32_f32(u), iy = vcvtq_s32_f32(v);
    lanes.fx = vsubq_f32(u, vcvtq_f32_s32(ix));
    lanes.fy = vsubq_f32(v, vcvtq_f32_s32(iy));
    uint32x4_t column = vreinterpretq_u32_s32(ix);
    if (Channels == 3) column = vaddq_u32(column, vshlq_n_u32(column, 1));
    lanes.offset = mlaConst(column, vreinterpretq_u32_s32(iy), srcStride);
    return lanes;
}

// Four single-channel pixels: each lane's 2x2 neighbourhood fetched as one
// word p00 | p01 << 8 | p10 << 16 | p11 << 24, split and blended in float.
OMBRIX_ALWAYS_INLINE void perspectiveStep1(const uint8_t* src, uint32_t srcStride, const PerspectiveLanes& lanes,
                                           uint8_t* out) {
    const uint8_t* below = src + srcStride;
    uint32_t offset[4];
    vst1q_u32(offset, lanes.offset);
    const auto word = [&](int k) {
        return load16(src + offset[k]) | static_cast<uint32_t>(load16(below + offset[k])) << 16;
    };
    const uint32x4_t w = lanesOf(word(0), word(1), word(2), word(3)), byte = vdupq_n_u32(255);
    const int32x4_t p00 = vreinterpretq_s32_u32(vandq_u32(w, byte));
    const int32x4_t p01 = vreinterpretq_s32_u32(vandq_u32(vshrq_n_u32(w, 8), byte));
    const int32x4_t p10 = vreinterpretq_s32_u32(vandq_u32(vshrq_n_u32(w, 16), byte));
    const int32x4_t p11 = vreinterpretq_s32_u32(vshrq_n_u32(w, 24));
    const float32x4_t top = mulAdd(vcvtq_f32_s32(p00), lanes.fx, vcvtq_f32_s32(vsubq_s32(p01, p00)));
    const float32x4_t bottom = mulAdd(vcvtq_f32_s32(p10), lanes.fx, vcvtq_f32_s32(vsubq_s32(p11, p10)));
    const float32x4_t blend = mulAdd(top, lanes.fy, vsubq_f32(bottom, top));
    const uint16x4_t narrow = vmovn_u32(vandq_u32(vreinterpretq_u32_s32(vcvtq_s32_f32(blend)), lanes.inside));
    const uint8x8_t bytes = vmovn_u16(vcombine_u16(narrow, narrow));
    const uint32_t packed = vget_lane_u32(vreinterpret_u32_u8(bytes), 0);
    memcpy(out, &packed, 4);
}

// Byte Shift / 8 of every lane.
template <int Shift>
OMBRIX_ALWAYS_INLINE int32x4_t byteAt(uint32x4_t words) {
    const uint32x4_t moved = Shift ? vshrq_n_u32(words, Shift ? Shift : 1) : words;
    return vreinterpretq_s32_u32(Shift == 24 ? moved : vandq_u32(moved, vdupq_n_u32(255)));
}

// Channel C of four three-channel pixels: p00 is byte C of the words at
// the pixel (a), p01 byte C + 1 of the words two bytes on (b).
template <int C>
OMBRIX_ALWAYS_INLINE uint32x4_t perspectiveChannel3(uint32x4_t a0, uint32x4_t b0, uint32x4_t a1, uint32x4_t b1,
                                                     const PerspectiveLanes& lanes) {
    const int32x4_t p00 = byteAt<8 * C>(a0), p01 = byteAt<8 * C + 8>(b0);
    const int32x4_t p10 = byteAt<8 * C>(a1), p11 = byteAt<8 * C + 8>(b1);
    const float32x4_t top = mulAdd(vcvtq_f32_s32(p00), lanes.fx, vcvtq_f32_s32(vsubq_s32(p01, p00)));
    const float32x4_t bottom = mulAdd(vcvtq_f32_s32(p10), lanes.fx, vcvtq_f32_s32(vsubq_s32(p11, p10)));
    const float32x4_t blend = mulAdd(top, lanes.fy, vsubq_f32(bottom, top));
    return vandq_u32(vreinterpretq_u32_s32(vcvtq_s32_f32(blend)), lanes.inside);
}

// Four three-channel pixels. Per lane and source row two overlapping words
// cover the six bytes (c0 c1 c2 of ix, c0 c1 c2 of ix + 1): bytes 0..3 and
// bytes 2..5, both inside the row as ix <= srcWidth - 2.
OMBRIX_ALWAYS_INLINE void perspectiveStep3(const uint8_t* src, uint32_t srcStride, const PerspectiveLanes& lanes,
                                           uint8_t* out) {
    const uint8_t* below = src + srcStride;
    uint32_t offset[4];
    vst1q_u32(offset, lanes.offset);
    const uint32x4_t a0 = gather32(src, offset), b0 = gather32(src + 2, offset);
    const uint32x4_t a1 = gather32(below, offset), b1 = gather32(below + 2, offset);
    const uint16x4_t c0 = vmovn_u32(perspectiveChannel3<0>(a0, b0, a1, b1, lanes));
    const uint16x4_t c1 = vmovn_u32(perspectiveChannel3<1>(a0, b0, a1, b1, lanes));
    const uint16x4_t c2 = vmovn_u32(perspectiveChannel3<2>(a0, b0, a1, b1, lanes));
    const uint8x8_t c01 = vmovn_u16(vcombine_u16(c0, c1));
    uint8x8x3_t rgb;
    rgb.val[0] = c01;
    rgb.val[1] = vext_u8(c01, c01, 4);
    rgb.val[2] = vmovn_u16(vcombine_u16(c2, c2));
    vst3_lane_u8(out, rgb, 0);
    vst3_lane_u8(out + 3, rgb, 1);
    vst3_lane_u8(out + 6, rgb, 2);
    vst3_lane_u8(out + 9, rgb, 3);
}

template <int Channels>
void warpPerspectiveV(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                      uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, const float* m) {
    if (srcWidth < 2 || srcHeight < 2) {  // no pixel has a right and a lower neighbour: all outside
        for (uint32_t y = 0; y < dstHeight; ++y) memset(rowAt(dst, dstStride, y), 0, size_t{dstWidth} * Channels);
        return;
    }
    const float uLimit = static_cast<float>(srcWidth - 1), vLimit = static_cast<float>(srcHeight - 1);
    // Source offsets must fit the lanes' 32 bits.
    const bool lanes = uint64_t{srcStride} * srcHeight <= 0xffffffffu;
    const uint32x4_t uLimitBits = vdupq_n_u32(floatBits(uLimit)), vLimitBits = vdupq_n_u32(floatBits(vLimit));
    Projection row = {m[2], m[5], m[8]};
    for (uint32_t y = 0; y < dstHeight; ++y) {
        Projection p = row;
        uint8_t* out = rowAt(dst, dstStride, y);
        uint32_t x = 0;
        for (; lanes && x + 4 <= dstWidth; x += 4) {
            const PerspectiveLanes step = perspectiveLanes<Channels>(m, p, uLimitBits, vLimitBits, srcStride);
            if (Channels == 1)
                perspectiveStep1(src, srcStride, step, out + x);
            else
                perspectiveStep3(src, srcStride, step, out + size_t{x} * 3);
        }
        perspectiveRun<Channels>(src, srcStride, uLimit, vLimit, m, p, out, x, dstWidth);
        row.X += m[1];
        row.Y += m[4];
        row.W += m[7];
    }
}

// ---- Q8 bilinear patches ----------------------------------------------------------------

// (d f) >> 8 with a flooring shift, d in [-255, 255], f in [0, 255].
OMBRIX_ALWAYS_INLINE int16x8_t scaleQ8(int16x8_t d, int16x8_t f) {
    return vcombine_s16(vshrn_n_s32(vmull_s16(vget_low_s16(d), vget_low_s16(f)), 8),
                        vshrn_n_s32(vmull_s16(vget_high_s16(d), vget_high_s16(f)), 8));
}

// Eight positions in Q8, xq and yq in two halves each, relative to `origin`:
// fetches the 2x2 neighbourhoods and blends them like bilinearQ8. With
// Whole every neighbourhood lies in the image and is read whole; otherwise
// a neighbour of weight 0 is replaced by the pixel itself, as bilinearQ8
// does, so that nothing beyond the last column or row is read. Each lane's
// neighbourhood is one word p00 | p01 << 8 | p10 << 16 | p11 << 24.
template <bool Whole>
OMBRIX_ALWAYS_INLINE uint8x8_t sampleQ8x8(const uint8_t* origin, int32_t stride, const int32x4_t* xq,
                                          const int32x4_t* yq) {
    const int32x4_t frac = vdupq_n_s32(255);
    int32_t offset[8], right[8], down[8];
    int32x4_t fx[2], fy[2];
    for (int h = 0; h < 2; ++h) {
        fx[h] = vandq_s32(xq[h], frac);
        fy[h] = vandq_s32(yq[h], frac);
        vst1q_s32(offset + 4 * h, vmlaq_s32(vshrq_n_s32(xq[h], 8), vshrq_n_s32(yq[h], 8), vdupq_n_s32(stride)));
        if (!Whole) {
            vst1q_s32(right + 4 * h, vminq_s32(fx[h], vdupq_n_s32(1)));
            vst1q_s32(down + 4 * h, vandq_s32(vreinterpretq_s32_u32(vtstq_s32(fy[h], fy[h])), vdupq_n_s32(stride)));
        }
    }
    const auto word = [&](int k) -> uint32_t {
        const uint8_t* p = origin + offset[k];
        if (Whole) return load16(p) | static_cast<uint32_t>(load16(p + stride)) << 16;
        const uint8_t* q = p + down[k];
        return p[0] | static_cast<uint32_t>(p[right[k]]) << 8 | static_cast<uint32_t>(q[0]) << 16 |
               static_cast<uint32_t>(q[right[k]]) << 24;
    };
    const uint8x16_t w0 = vreinterpretq_u8_u32(lanesOf(word(0), word(1), word(2), word(3)));
    const uint8x16_t w1 = vreinterpretq_u8_u32(lanesOf(word(4), word(5), word(6), word(7)));
    const uint8x16x2_t pairs = vuzpq_u8(w0, w1);                 // (p00 p10 ...), (p01 p11 ...)
    const uint8x16x2_t left = vuzpq_u8(pairs.val[0], pairs.val[0]);   // p00 x 8, p10 x 8
    const uint8x16x2_t right2 = vuzpq_u8(pairs.val[1], pairs.val[1]);  // p01 x 8, p11 x 8
    const uint8x8_t p00 = vget_low_u8(left.val[0]), p10 = vget_low_u8(left.val[1]);
    const uint8x8_t p01 = vget_low_u8(right2.val[0]), p11 = vget_low_u8(right2.val[1]);
    const int16x8_t fx16 = vcombine_s16(vmovn_s32(fx[0]), vmovn_s32(fx[1]));
    const int16x8_t fy16 = vcombine_s16(vmovn_s32(fy[0]), vmovn_s32(fy[1]));
    const int16x8_t top = vaddq_s16(vreinterpretq_s16_u16(vmovl_u8(p00)),
                                    scaleQ8(vreinterpretq_s16_u16(vsubl_u8(p01, p00)), fx16));
    const int16x8_t bottom = vaddq_s16(vreinterpretq_s16_u16(vmovl_u8(p10)),
                                       scaleQ8(vreinterpretq_s16_u16(vsubl_u8(p11, p10)), fx16));
    return vqmovun_s16(vaddq_s16(top, scaleQ8(vsubq_s16(bottom, top), fy16)));
}

// Lane offsets i = first .. first + 7 as floats, in two halves.
OMBRIX_ALWAYS_INLINE void laneOffsets(int32_t first, float32x4_t* i) {
    static const int32_t kIota[4] = {0, 1, 2, 3};
    const int32x4_t lo = vaddq_s32(vdupq_n_s32(first), vld1q_s32(kIota));
    i[0] = vcvtq_f32_s32(lo);
    i[1] = vcvtq_f32_s32(vaddq_s32(lo, vdupq_n_s32(4)));
}

// x clamped into [0, limit] (NaN to 0), in Q8, as clampedQ8.
// On bit patterns: negative values (and negative NaNs) go to +0 by the
// signed maximum, positive NaNs to +0 by the mask, and for what remains
// (+0 .. +inf) the unsigned order of the patterns is the order of the values.
OMBRIX_ALWAYS_INLINE int32x4_t clampedQ8x4(float32x4_t x, uint32x4_t limitBits) {
    int32x4_t bits = vmaxq_s32(vreinterpretq_s32_f32(x), vdupq_n_s32(0));
    bits = vandq_s32(bits, vreinterpretq_s32_u32(vcleq_s32(bits, vdupq_n_s32(0x7f800000))));
    const uint32x4_t clamped = vminq_u32(vreinterpretq_u32_s32(bits), limitBits);
    return vcvtq_s32_f32(vmulq_f32(vreinterpretq_f32_u32(clamped), vdupq_n_f32(256.0f)));
}

// Lanes where the truncation t of v exceeds v: v negative (not -0) and not
// integral. For such v the truncation is either v itself or above it, so a
// differing bit pattern means above.
OMBRIX_ALWAYS_INLINE uint32x4_t truncationAbove(int32x4_t t, float32x4_t v) {
    const uint32x4_t bits = vreinterpretq_u32_f32(v);
    const uint32x4_t negative = vandq_u32(signLanes(v), vmvnq_u32(vceqq_u32(bits, vdupq_n_u32(0x80000000u))));
    return vandq_u32(negative, vmvnq_u32(vceqq_u32(vreinterpretq_u32_f32(vcvtq_f32_s32(t)), bits)));
}

// Calls step(c) for c = 0, 8, ... while eight outputs fit, then once at
// width - 8 (outputs depend on the source only, so the overlap rewrites the
// same values). Returns false, calling nothing, when width < 8.
template <typename Step>
OMBRIX_ALWAYS_INLINE bool coverRow8(uint32_t width, Step step) {
    if (width < 8) return false;
    uint32_t c = 0;
    for (; c + 8 <= width; c += 8) step(c);
    if (c < width) step(width - 8);
    return true;
}

template <bool Clip>
void transformAffineV(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const float* pos, const float* a, uint8_t* patch, uint32_t patchWidth, uint32_t patchHeight,
                      uint32_t patchStride) {
    const float xLimit = static_cast<float>(srcWidth - 1), yLimit = static_cast<float>(srcHeight - 1);
    const int32_t halfWidth = static_cast<int32_t>(patchWidth / 2);
    // Offsets into the image, and positions in Q8, must fit the lanes' 32 bits.
    const bool lanesFit = uint64_t{srcStride} * srcHeight <= 0x7fffffffu && srcWidth < (1u << 22) && srcHeight < (1u << 22);
    const uint32x4_t xLimBits = vdupq_n_u32(floatBits(xLimit)), yLimBits = vdupq_n_u32(floatBits(yLimit));
    const float32x4_t a0 = vdupq_n_f32(a[0]), a2 = vdupq_n_f32(a[2]);
    for (uint32_t r = 0; r < patchHeight; ++r) {
        const int32_t j = static_cast<int32_t>(r) - static_cast<int32_t>(patchHeight / 2);
        uint8_t* out = rowAt(patch, patchStride, r);
        const float32x4_t rx = vdupq_n_f32(affineRowX(pos, a, j)), ry = vdupq_n_f32(affineRowY(pos, a, j));
        const auto step = [&](uint32_t c) {
            float32x4_t i[2];
            laneOffsets(static_cast<int32_t>(c) - halfWidth, i);
            int32x4_t xq[2], yq[2];
            uint32x4_t inside[2];
            for (int h = 0; h < 2; ++h) {
                const float32x4_t x = vaddq_f32(rx, vmulq_f32(a0, i[h]));
                const float32x4_t y = vaddq_f32(ry, vmulq_f32(a2, i[h]));
                inside[h] = vandq_u32(inRangeClosed(x, xLimBits), inRangeClosed(y, yLimBits));
                xq[h] = clampedQ8x4(x, xLimBits);
                yq[h] = clampedQ8x4(y, yLimBits);
            }
            uint8x8_t values = sampleQ8x8<false>(src, static_cast<int32_t>(srcStride), xq, yq);
            if (Clip) values = vand_u8(values, vmovn_u16(vcombine_u16(vmovn_u32(inside[0]), vmovn_u32(inside[1]))));
            vst1_u8(out + c, values);
        };
        if (!lanesFit || !coverRow8(patchWidth, step))
            affineRun<Clip>(src, srcStride, xLimit, yLimit, pos, a, halfWidth, j, out, 0, patchWidth);
    }
}

}  // namespace

extern "C" {

void obxWarpPerspectiveu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                              const float32_t* warpmatrix) {
    OMBRIX_ASSERT(src && dst && warpmatrix && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride >= srcWidth) && (dstStride >= dstWidth));
    warpPerspectiveV<1>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, warpmatrix);
}

void obxWarpPerspectiveu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                           uint32_t dstWidth, uint32_t dstHeight, const float32_t* warpmatrix) {
    obxWarpPerspectiveu8_v2V(src, srcWidth, srcHeight, srcWidth, dst, dstWidth, dstHeight, dstWidth, warpmatrix);
}

void obx3ChannelWarpPerspectiveu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                      uint32_t dstStride, const float32_t* warpmatrix) {
    OMBRIX_ASSERT(src && dst && warpmatrix && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride >= srcWidth) && (dstStride >= dstWidth));
    warpPerspectiveV<3>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, warpmatrix);
}

void obx3ChannelWarpPerspectiveu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                                   uint32_t dstWidth, uint32_t dstHeight, const float32_t* warpmatrix) {
    obx3ChannelWarpPerspectiveu8_v2V(src, srcWidth, srcHeight, srcWidth * 3, dst, dstWidth, dstHeight,
                                     dstWidth * 3, warpmatrix);
}

int32_t obxTransformAffine8x8u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const int32_t* nPos, const int32_t* nAffine, uint8_t* patch,
                                 uint32_t patchStride) {
    OMBRIX_ASSERT(src && nPos && nAffine && patch && srcWidth && srcHeight && (srcStride >= srcWidth) && ((patchStride >= 8)));
    if (!affine8x8Inside(nPos, nAffine, srcWidth, srcHeight)) return 1;
    if (uint64_t{srcStride} * srcHeight > 0x7fffffffu || srcWidth > 32768 || srcHeight > 32768) {
        for (int32_t j = -4; j < 4; ++j)
            affine8x8Run(src, srcStride, nPos, nAffine, j, rowAt(patch, patchStride, static_cast<uint32_t>(j + 4)),
                         0, 8);
        return 0;
    }
    // Inside the image every position is below 2^31, so int32 lanes hold
    // them; the lanes' products are formed in wrapping unsigned arithmetic.
    static const int32_t kColumns[8] = {-4, -3, -2, -1, 0, 1, 2, 3};
    int32_t startX[8], startY[8];
    for (int k = 0; k < 8; ++k) {
        startX[k] = static_cast<int32_t>(static_cast<uint32_t>(nPos[0]) + static_cast<uint32_t>(nAffine[0]) * static_cast<uint32_t>(kColumns[k]) -
                                         4u * static_cast<uint32_t>(nAffine[1]));
        startY[k] = static_cast<int32_t>(static_cast<uint32_t>(nPos[1]) + static_cast<uint32_t>(nAffine[2]) * static_cast<uint32_t>(kColumns[k]) -
                                         4u * static_cast<uint32_t>(nAffine[3]));
    }
    const int32x4_t stepX = vdupq_n_s32(nAffine[1]), stepY = vdupq_n_s32(nAffine[3]);
    int32x4_t x[2] = {vld1q_s32(startX), vld1q_s32(startX + 4)};
    int32x4_t y[2] = {vld1q_s32(startY), vld1q_s32(startY + 4)};
    for (uint32_t r = 0; r < 8; ++r) {
        int32x4_t xq[2], yq[2];
        for (int h = 0; h < 2; ++h) {
            xq[h] = vshrq_n_s32(x[h], 8);
            yq[h] = vshrq_n_s32(y[h], 8);
            x[h] = vreinterpretq_s32_u32(vaddq_u32(vreinterpretq_u32_s32(x[h]), vreinterpretq_u32_s32(stepX)));
            y[h] = vreinterpretq_s32_u32(vaddq_u32(vreinterpretq_u32_s32(y[h]), vreinterpretq_u32_s32(stepY)));
        }
        vst1_u8(rowAt(patch, patchStride, r), sampleQ8x8<false>(src, static_cast<int32_t>(srcStride), xq, yq));
    }
    return 0;
}

void obxTransformAffineu8_v2V(const uint8_t* nImage, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const float32_t* nPos, const float32_t* nAffine, uint8_t* nPatch,
                              uint32_t patchWidth, uint32_t patchHeight, uint32_t patchStride) {
    OMBRIX_ASSERT(nImage && nPatch && ( sizeof(*nPos)==sizeof(float) ) && ( sizeof(*nAffine) ==sizeof(float) ) && srcWidth && srcHeight && patchWidth && patchHeight && (srcStride >= srcWidth) && (patchStride >= patchWidth));
    transformAffineV<false>(nImage, srcWidth, srcHeight, srcStride, nPos, nAffine, nPatch, patchWidth, patchHeight,
                            patchStride);
}

void obxTransformAffineClippedu8V(const uint8_t* nImage, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, const float32_t* nPos, const float32_t* nAffine,
                                  uint8_t* nPatch, uint32_t patchWidth, uint32_t patchHeight,
                                  uint32_t patchStride) {
    OMBRIX_ASSERT(nImage && nPatch && ( sizeof(*nPos)==sizeof(float) ) && ( sizeof(*nAffine) ==sizeof(float) ) && srcWidth && srcHeight && patchWidth && patchHeight && (srcStride >= srcWidth) && (patchStride >= patchWidth));
    transformAffineV<true>(nImage, srcWidth, srcHeight, srcStride, nPos, nAffine, nPatch, patchWidth, patchHeight,
                           patchStride);
}

void obxCopyRotated17x17u8V(const uint8_t* region, uint32_t regionStride, float32_t orientation, uint8_t* patch) {
    OMBRIX_ASSERT(region && patch);
    const float c = cosf(orientation), s = sinf(orientation);
    if (regionStride > 0x7fffffffu / 16) {  // offsets of 12 rows beyond the lanes' 32 bits
        for (int32_t r = 0; r < 17; ++r)
            rotatedRun(region, static_cast<ptrdiff_t>(regionStride), c, s, r, patch + 17 * r, 0, 17);
        return;
    }
    const float32x4_t vc = vdupq_n_f32(c), vs = vdupq_n_f32(s), bias = vdupq_n_f32(16.0f),
                      scale = vdupq_n_f32(256.0f);
    const int32x4_t unbias = vdupq_n_s32(4096);
    float32x4_t i[2][2];  // columns 0 .. 7 and 9 .. 16, each in two halves
    laneOffsets(-8, i[0]);
    laneOffsets(1, i[1]);
    for (int32_t r = 0; r < 17; ++r) {
        const float j = static_cast<float>(r - 8);
        const float32x4_t rx = vdupq_n_f32(-s * j), ry = vdupq_n_f32(c * j);
        uint8_t* out = patch + 17 * r;
        for (int part = 0; part < 2; ++part) {
            int32x4_t xq[2], yq[2];
            for (int h = 0; h < 2; ++h) {
                const float32x4_t x = vaddq_f32(rx, vmulq_f32(vc, i[part][h]));
                const float32x4_t y = vaddq_f32(ry, vmulq_f32(vs, i[part][h]));
                xq[h] = vsubq_s32(vcvtq_s32_f32(vmulq_f32(vaddq_f32(x, bias), scale)), unbias);
                yq[h] = vsubq_s32(vcvtq_s32_f32(vmulq_f32(vaddq_f32(y, bias), scale)), unbias);
            }
            vst1_u8(out + 9 * part, sampleQ8x8<true>(region, static_cast<int32_t>(regionStride), xq, yq));
        }
        rotatedRun(region, static_cast<ptrdiff_t>(regionStride), c, s, r, out, 8, 9);
    }
}

// ---- RGBA remaps ----------------------------------------------------------------------

void obxRemapRGBA8888NNu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                           const float32_t* mapX, const float32_t* mapY, uint32_t mapStride) {
    OMBRIX_ASSERT((src != 0) && (srcStride >= srcWidth*4) && (dst != 0) && (dstStride >= dstWidth*4) && (mapX != 0) && (mapY != 0) && (mapStride >= (dstWidth*sizeof(float32_t))));
    // An empty source has no pixel to fetch, and offsets must fit the lanes'
    // 32 bits; otherwise whole rows go the scalar way.
    const bool lanes = srcWidth && srcHeight && uint64_t{srcStride} * srcHeight <= 0xffffffffu;
    const float32x4_t half = vdupq_n_f32(0.5f);
    const uint32x4_t width = vdupq_n_u32(srcWidth), height = vdupq_n_u32(srcHeight);
    for (uint32_t y = 0; y < dstHeight; ++y) {
        const float* mx = mapRow(mapX, mapStride, y);
        const float* my = mapRow(mapY, mapStride, y);
        uint8_t* out = rowAt(dst, dstStride, y);
        uint32_t x = 0;
        for (; lanes && x + 4 <= dstWidth; x += 4) {
            const float32x4_t fx = vld1q_f32(mx + x), fy = vld1q_f32(my + x);
            // Halves away from zero; -0 and negative NaNs take the - 0.5
            // branch, which changes neither's outcome.
            float32x4_t rx = vbslq_f32(signLanes(fx), vsubq_f32(fx, half), vaddq_f32(fx, half));
            float32x4_t ry = vbslq_f32(signLanes(fy), vsubq_f32(fy, half), vaddq_f32(fy, half));
            const uint32x4_t valid = vandq_u32(convertibleLanes(rx), convertibleLanes(ry));
            rx = keepLanes(rx, valid);
            ry = keepLanes(ry, valid);
            const uint32x4_t col = vreinterpretq_u32_s32(vcvtq_s32_f32(rx));
            const uint32x4_t row = vreinterpretq_u32_s32(vcvtq_s32_f32(ry));
            const uint32x4_t inside = vandq_u32(valid, vandq_u32(vcltq_u32(col, width), vcltq_u32(row, height)));
            uint32_t offset[4];
            vst1q_u32(offset, vandq_u32(mlaConst(vshlq_n_u32(col, 2), row, srcStride), inside));
            vst1q_u8(out + size_t{x} * 4, vreinterpretq_u8_u32(vandq_u32(gather32(src, offset), inside)));
        }
        remapNearestRun(src, srcWidth, srcHeight, srcStride, mx, my, out, x, dstWidth);
    }
}

void obxRemapRGBA8888BLu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                           const float32_t* mapX, const float32_t* mapY, uint32_t mapStride) {
    OMBRIX_ASSERT((src != 0) && (srcStride >= srcWidth*4) && (dst != 0) && (dstStride >= dstWidth*4) && (mapX != 0) && (mapY != 0) && (mapStride >= (dstWidth*sizeof(float32_t))));
    // Pairs of neighbours need two columns.
    const bool lanes = srcWidth >= 2 && srcHeight && uint64_t{srcStride} * srcHeight <= 0xffffffffu;
    const int32x4_t lastPair = vdupq_n_s32(static_cast<int32_t>(srcWidth) - 2);
    const int32x4_t lastRow = vdupq_n_s32(static_cast<int32_t>(srcHeight) - 1);
    const float32x4_t zero = vdupq_n_f32(0.0f), one = vdupq_n_f32(1.0f), half = vdupq_n_f32(0.5f);
    const uint32x4_t width = vdupq_n_u32(srcWidth), height = vdupq_n_u32(srcHeight), unit = vdupq_n_u32(1);
    const int32x4_t byte = vdupq_n_s32(255);
    // Runs of up to kQuads groups of four pixels go in two passes: positions
    // to weights and offsets first, then fetches and blends. Short passes
    // keep more independent groups in flight than one long chain per group.
    constexpr uint32_t kQuads = 16;
    float weights[kQuads][4][4];
    uint32_t offsets[kQuads][2][4];
    for (uint32_t y = 0; y < dstHeight; ++y) {
        const float* mx = mapRow(mapX, mapStride, y);
        const float* my = mapRow(mapY, mapStride, y);
        uint8_t* out = rowAt(dst, dstStride, y);
        uint32_t x = 0;
        while (lanes && x + 4 <= dstWidth) {
            const uint32_t quads = (dstWidth - x) / 4 < kQuads ? (dstWidth - x) / 4 : kQuads;
            for (uint32_t q = 0; q < quads; ++q) {
                const uint32_t at = x + 4 * q;
                float32x4_t fxIn = vld1q_f32(mx + at), fyIn = vld1q_f32(my + at);
                const uint32x4_t valid = vandq_u32(convertibleLanes(fxIn), convertibleLanes(fyIn));
                fxIn = vbslq_f32(valid, fxIn, zero);
                fyIn = vbslq_f32(valid, fyIn, zero);
                // floor: truncate, then step down where the truncation exceeds the value
                int32x4_t tx = vcvtq_s32_f32(fxIn), ty = vcvtq_s32_f32(fyIn);
                tx = vaddq_s32(tx, vreinterpretq_s32_u32(truncationAbove(tx, fxIn)));
                ty = vaddq_s32(ty, vreinterpretq_s32_u32(truncationAbove(ty, fyIn)));
                const float32x4_t fx = vsubq_f32(fxIn, vcvtq_f32_s32(tx)), fy = vsubq_f32(fyIn, vcvtq_f32_s32(ty));
                const float32x4_t gx = vsubq_f32(one, fx), gy = vsubq_f32(one, fy);
                const uint32x4_t x0 = vreinterpretq_u32_s32(tx), y0 = vreinterpretq_u32_s32(ty);
                const uint32x4_t x1 = vaddq_u32(x0, unit), y1 = vaddq_u32(y0, unit);
                // A neighbour outside the image (or of an invalid position)
                // weighs 0: its column's or row's factor is cleared, and the
                // product with the other, finite factor is +0.
                const float32x4_t gxIn = keepLanes(gx, vandq_u32(valid, vcltq_u32(x0, width)));
                const float32x4_t fxIn1 = keepLanes(fx, vandq_u32(valid, vcltq_u32(x1, width)));
                const float32x4_t gyIn = keepLanes(gy, vcltq_u32(y0, height)), fyIn1 = keepLanes(fy, vcltq_u32(y1, height));
                // Each row's two neighbours come as one 8-byte pair starting at
                // column cs = x0 clamped into [0, srcWidth - 2], rows clamped
                // into the image. Where cs != x0 (x0 = -1 or srcWidth - 1, or
                // both neighbours outside) at most one of the two has weight,
                // and the pair holds it the other way round: the weights are
                // swapped instead. With one term +0 the order of the two
                // additions does not change the sum.
                const int32x4_t cs = vminq_s32(vmaxq_s32(tx, vdupq_n_s32(0)), lastPair);
                const uint32x4_t swap = vmvnq_u32(vceqq_s32(cs, tx));
                const float32x4_t left = vbslq_f32(swap, fxIn1, gxIn), right = vbslq_f32(swap, gxIn, fxIn1);
                vst1q_f32(weights[q][0], vmulq_f32(left, gyIn));
                vst1q_f32(weights[q][1], vmulq_f32(right, gyIn));
                vst1q_f32(weights[q][2], vmulq_f32(left, fyIn1));
                vst1q_f32(weights[q][3], vmulq_f32(right, fyIn1));
                const uint32x4_t column = vreinterpretq_u32_s32(vshlq_n_s32(cs, 2));
                const int32x4_t r0 = vminq_s32(vmaxq_s32(ty, vdupq_n_s32(0)), lastRow);
                const int32x4_t r1 = vminq_s32(vmaxq_s32(vaddq_s32(ty, vdupq_n_s32(1)), vdupq_n_s32(0)), lastRow);
                vst1q_u32(offsets[q][0], mlaConst(column, vreinterpretq_u32_s32(r0), srcStride));
                vst1q_u32(offsets[q][1], mlaConst(column, vreinterpretq_u32_s32(r1), srcStride));
            }
            for (uint32_t q = 0; q < quads; ++q) {
                int32x4_t pixels[4];
                for (int row = 0; row < 2; ++row) {
                    const uint32_t* at = offsets[q][row];
                    const uint32x4x2_t pairs = vuzpq_u32(
                        vreinterpretq_u32_u8(vcombine_u8(vld1_u8(src + at[0]), vld1_u8(src + at[1]))),
                        vreinterpretq_u32_u8(vcombine_u8(vld1_u8(src + at[2]), vld1_u8(src + at[3]))));
                    pixels[2 * row] = vreinterpretq_s32_u32(pairs.val[0]);
                    pixels[2 * row + 1] = vreinterpretq_s32_u32(pairs.val[1]);
                }
                const float32x4_t weight[4] = {vld1q_f32(weights[q][0]), vld1q_f32(weights[q][1]),
                                               vld1q_f32(weights[q][2]), vld1q_f32(weights[q][3])};
                // Channel values and sums stay below 2^31: signed conversions.
                uint32x4_t channel[4];
                for (int ch = 0; ch < 4; ++ch) {
                    // The channel in the low byte (the last one alone after the shifts).
                    const auto value = [&](int n) {
                        return vcvtq_f32_s32(ch == 3 ? pixels[n] : vandq_s32(pixels[n], byte));
                    };
                    float32x4_t sum = vmulq_f32(weight[0], value(0));
                    for (int n = 1; n < 4; ++n) sum = mulAdd(sum, weight[n], value(n));
                    channel[ch] = vreinterpretq_u32_s32(vcvtq_s32_f32(vaddq_f32(sum, half)));
                    for (int n = 0; n < 4; ++n)
                        pixels[n] = vreinterpretq_s32_u32(vshrq_n_u32(vreinterpretq_u32_s32(pixels[n]), 8));
                }
                const uint32x4_t packed =
                    insertAboveByte(channel[0], insertAboveByte(channel[1], insertAboveByte(channel[2], channel[3])));
                vst1q_u8(out + size_t{x + 4 * q} * 4, vreinterpretq_u8_u32(packed));
            }
            x += 4 * quads;
        }
        remapBilinearRun(src, srcWidth, srcHeight, srcStride, mx, my, out, x, dstWidth);
    }
}

}  // extern "C"
