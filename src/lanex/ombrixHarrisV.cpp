// Harris corners, vector variants. The detectors run the reference's row
// pipeline (ombrixHarrisScalar.h) with vector row kernels:
//   products  16 pixels at a time: a halving subtraction of u8 lanes forms
//             the 9-bit difference and keeps its bits 8..1, which read as
//             s8 is exactly the floor shift (a - b) >> 1; vmull_s8 gives
//             the three products as s16;
//   smooth    the 1 4 6 4 1 column sums in s32 (they reach 262144),
//             sixteen columns per step, carried along the row so that every
//             column is summed once; the row pass takes its five neighbours
//             by vext and narrows after the one >> 8;
//   responses four or eight at a time in s32;
//   examine   sixteen responses at a time against the threshold, so that
//             the many pixels below it cost one comparison per group; in
//             groups with a candidate, eight pixels at a time against the
//             largest of their 24 neighbours (the four outer rows' maximum
//             first, then five columns of it by vext, and the centre row's
//             four); the last columns of a row go through the reference's
//             scan.
// Steps that do not fill a row end with a step moved back to end at the
// row's end, rewriting equal values. The local maximum holds the patch's
// rows in vectors, keeps one row of products per step on the stack and
// smooths twelve lanes per row, of which five are used.

// On hosts with AVX-512, SIMDe translates the halving subtraction through
// GCC's _mm256_cvtepi16_epi8, whose own header trips -Wmaybe-uninitialized.
#if !defined(__ARM_NEON) && !defined(__ARM_NEON__) && defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "ombrixAssert.h"
#include "ombrixHarrisScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_harris;

// ---- Gradient products -------------------------------------------------------------

OMBRIX_ALWAYS_INLINE int8x16_t halfDifference16(uint8x16_t a, uint8x16_t b) {
    return vreinterpretq_s8_u8(vhsubq_u8(a, b));
}

OMBRIX_ALWAYS_INLINE void storeProducts8(int8x8_t gx, int8x8_t gy, int16_t* gxx, int16_t* gyy, int16_t* gxy) {
    vst1q_s16(gxx, vmull_s8(gx, gx));
    vst1q_s16(gyy, vmull_s8(gy, gy));
    vst1q_s16(gxy, vmull_s8(gx, gy));
}

// [first, end) holds at least 8 columns.
void productsRowV(const uint8_t* above, const uint8_t* centre, const uint8_t* below, uint32_t first, uint32_t end,
                  int16_t* gxx, int16_t* gyy, int16_t* gxy) {
    uint32_t x = first;
    for (; x + 16 <= end; x += 16) {
        const int8x16_t gx = halfDifference16(vld1q_u8(centre + x + 1), vld1q_u8(centre + x - 1));
        const int8x16_t gy = halfDifference16(vld1q_u8(below + x), vld1q_u8(above + x));
        storeProducts8(vget_low_s8(gx), vget_low_s8(gy), gxx + x, gyy + x, gxy + x);
        storeProducts8(vget_high_s8(gx), vget_high_s8(gy), gxx + x + 8, gyy + x + 8, gxy + x + 8);
    }
    while (x < end) {
        const uint32_t at = x + 8 <= end ? x : end - 8;
        const int8x8_t gx = vreinterpret_s8_u8(vhsub_u8(vld1_u8(centre + at + 1), vld1_u8(centre + at - 1)));
        const int8x8_t gy = vreinterpret_s8_u8(vhsub_u8(vld1_u8(below + at), vld1_u8(above + at)));
        storeProducts8(gx, gy, gxx + at, gyy + at, gxy + at);
        x = at + 8;
    }
}

// ---- Smoothing -------------------------------------------------------------------------

// Five product rows of one plane, held in registers across a row's loop.
struct ProductRows {
    const int16_t *r0, *r1, *r2, *r3, *r4;
};

// The weights 4 and 6, made once per row: GCC rebuilds the scalar operand
// of vmlaq_n_s32 in every step of a loop.
struct Weights {
    int32x4_t four, six;
    int16x4_t six16;
    Weights() : four(vdupq_n_s32(4)), six(vdupq_n_s32(6)), six16(vdup_n_s16(6)) {}
};

// 1 4 6 4 1 down columns [x, x + 4).
OMBRIX_ALWAYS_INLINE int32x4_t columnSums4(const ProductRows& p, uint32_t x, const Weights& k) {
    const int32x4_t outer = vaddl_s16(vld1_s16(p.r0 + x), vld1_s16(p.r4 + x));
    const int32x4_t sum = vmlaq_s32(outer, vaddl_s16(vld1_s16(p.r1 + x), vld1_s16(p.r3 + x)), k.four);
    return vmlal_s16(sum, vld1_s16(p.r2 + x), k.six16);
}

// The same for columns [x, x + 8), as two halves.
OMBRIX_ALWAYS_INLINE void columnSums8(const ProductRows& p, uint32_t x, const Weights& k, int32x4_t* low,
                                      int32x4_t* high) {
    const int16x8_t r0 = vld1q_s16(p.r0 + x), r1 = vld1q_s16(p.r1 + x), r2 = vld1q_s16(p.r2 + x),
                    r3 = vld1q_s16(p.r3 + x), r4 = vld1q_s16(p.r4 + x);
    *low = vmlal_s16(vmlaq_s32(vaddl_s16(vget_low_s16(r0), vget_low_s16(r4)),
                               vaddl_s16(vget_low_s16(r1), vget_low_s16(r3)), k.four),
                     vget_low_s16(r2), k.six16);
    *high = vmlal_s16(vmlaq_s32(vaddl_s16(vget_high_s16(r0), vget_high_s16(r4)),
                                vaddl_s16(vget_high_s16(r1), vget_high_s16(r3)), k.four),
                      vget_high_s16(r2), k.six16);
}

// Smoothed values of columns [c + 2, c + 6) from the column sums of
// [c, c + 4) and [c + 4, c + 8): 1 4 6 4 1 along the row, then the >> 8.
OMBRIX_ALWAYS_INLINE int16x4_t rowSmooth4(int32x4_t a, int32x4_t b, const Weights& k) {
    const int32x4_t outer = vaddq_s32(a, b);
    const int32x4_t inner = vaddq_s32(vextq_s32(a, b, 1), vextq_s32(a, b, 3));
    return vshrn_n_s32(vmlaq_s32(vmlaq_s32(outer, inner, k.four), vextq_s32(a, b, 2), k.six), 8);
}

// [first, end) holds at least 4 columns; products exist two beyond it.
void smoothRowV(const int16_t* const* rows, uint32_t first, uint32_t end, int16_t* out) {
    const ProductRows p{rows[0], rows[1], rows[2], rows[3], rows[4]};
    const Weights k;
    uint32_t x = first;
    int32x4_t sums = columnSums4(p, x - 2, k);  // columns [x - 2, x + 2)
    if (x + 8 <= end) {
        // Sixteen columns a step, then eight if needed; the rows walk by
        // pointer, which lets the loads advance them.
        ProductRows at{p.r0 + x + 2, p.r1 + x + 2, p.r2 + x + 2, p.r3 + x + 2, p.r4 + x + 2};
        int16_t* o = out + x;
        const uint32_t steps = (end - x) / 8;
        for (uint32_t i = 0; i + 2 <= steps; i += 2) {
            int32x4_t b, c, d, e;
            columnSums8(at, 0, k, &b, &c);
            columnSums8(at, 8, k, &d, &e);
            vst1q_s16(o, vcombine_s16(rowSmooth4(sums, b, k), rowSmooth4(b, c, k)));
            vst1q_s16(o + 8, vcombine_s16(rowSmooth4(c, d, k), rowSmooth4(d, e, k)));
            sums = e;
            at = {at.r0 + 16, at.r1 + 16, at.r2 + 16, at.r3 + 16, at.r4 + 16};
            o += 16;
        }
        if (steps % 2) {
            int32x4_t b, c;
            columnSums8(at, 0, k, &b, &c);
            vst1q_s16(o, vcombine_s16(rowSmooth4(sums, b, k), rowSmooth4(b, c, k)));
            sums = c;
        }
        x += 8 * steps;
    }
    while (x < end) {
        const uint32_t at = x + 4 <= end ? x : end - 4;
        vst1_s16(out + at, rowSmooth4(columnSums4(p, at - 2, k), columnSums4(p, at + 2, k), k));
        x = at + 4;
    }
}

// ---- Responses ---------------------------------------------------------------------------

OMBRIX_ALWAYS_INLINE int32x4_t response4(int16x4_t sxx, int16x4_t syy, int16x4_t sxy) {
    const int32x4_t det = vmlsl_s16(vmull_s16(sxx, syy), sxy, sxy);
    const int32x4_t trace = vaddl_s16(sxx, syy);
    return vsubq_s32(det, vshrq_n_s32(vmulq_s32(trace, trace), 4));
}

// [first, end) holds at least 4 columns.
void responseRowV(const int16_t* sxx, const int16_t* syy, const int16_t* sxy, uint32_t first, uint32_t end,
                  int32_t* out) {
    uint32_t x = first;
    for (; x + 8 <= end; x += 8) {
        const int16x8_t a = vld1q_s16(sxx + x), b = vld1q_s16(syy + x), c = vld1q_s16(sxy + x);
        vst1q_s32(out + x, response4(vget_low_s16(a), vget_low_s16(b), vget_low_s16(c)));
        vst1q_s32(out + x + 4, response4(vget_high_s16(a), vget_high_s16(b), vget_high_s16(c)));
    }
    while (x < end) {
        const uint32_t at = x + 4 <= end ? x : end - 4;
        vst1q_s32(out + at, response4(vld1_s16(sxx + at), vld1_s16(syy + at), vld1_s16(sxy + at)));
        x = at + 4;
    }
}

// ---- Examining a row ---------------------------------------------------------------------

OMBRIX_ALWAYS_INLINE bool anyAbove(int32x4_t values, int32x4_t threshold) {
    const uint16x4_t above = vmovn_u32(vcgtq_s32(values, threshold));
    return vget_lane_u64(vreinterpret_u64_u16(above), 0) != 0;
}

// Corners among the centre-row columns [c + 2, c + 6), given for columns
// [c, c + 4) and [c + 4, c + 8) the largest response of the four other rows
// (outerA, outerB) and the centre row's responses (centreA, centreB): the
// centre must beat the threshold and the largest of its 24 neighbours.
OMBRIX_ALWAYS_INLINE uint32x4_t corners4(int32x4_t outerA, int32x4_t outerB, int32x4_t centreA, int32x4_t centreB,
                                         int32x4_t threshold) {
    const int32x4_t centre = vextq_s32(centreA, centreB, 2);
    const int32x4_t outer = vmaxq_s32(vmaxq_s32(vmaxq_s32(outerA, outerB), vextq_s32(outerA, outerB, 2)),
                                      vmaxq_s32(vextq_s32(outerA, outerB, 1), vextq_s32(outerA, outerB, 3)));
    const int32x4_t sides = vmaxq_s32(vmaxq_s32(centreA, centreB),
                                      vmaxq_s32(vextq_s32(centreA, centreB, 1), vextq_s32(centreA, centreB, 3)));
    return vandq_u32(vcgtq_s32(centre, vmaxq_s32(outer, sides)), vcgtq_s32(centre, threshold));
}

// The largest of the four outer rows' responses at columns [x, x + 4).
OMBRIX_ALWAYS_INLINE int32x4_t outerMax4(const int32_t* const* rows, uint32_t x) {
    return vmaxq_s32(vmaxq_s32(vld1q_s32(rows[0] + x), vld1q_s32(rows[1] + x)),
                     vmaxq_s32(vld1q_s32(rows[3] + x), vld1q_s32(rows[4] + x)));
}

// One byte per column of [x, x + 8), 1 where a corner is, 0 elsewhere;
// reads the responses of columns x - 2 .. x + 9.
OMBRIX_ALWAYS_INLINE uint64_t corners8(const int32_t* const* rows, uint32_t x, int32x4_t threshold) {
    const int32x4_t outerA = outerMax4(rows, x - 2), outerB = outerMax4(rows, x + 2), outerC = outerMax4(rows, x + 6);
    const int32_t* centre = rows[2];
    const int32x4_t centreA = vld1q_s32(centre + x - 2), centreB = vld1q_s32(centre + x + 2),
                    centreC = vld1q_s32(centre + x + 6);
    const uint16x8_t found = vcombine_u16(vmovn_u32(corners4(outerA, outerB, centreA, centreB, threshold)),
                                          vmovn_u32(corners4(outerB, outerC, centreB, centreC, threshold)));
    return vget_lane_u64(vreinterpret_u64_u8(vand_u8(vmovn_u16(found), vdup_n_u8(1))), 0);
}

// Passes the corners of [x, x + 8) to corner() in order.
template <typename Corner>
OMBRIX_ALWAYS_INLINE bool reportCorners8(const int32_t* const* rows, uint32_t x, int32x4_t threshold,
                                         const Corner& corner) {
    for (uint64_t found = corners8(rows, x, threshold); found; found &= found - 1)
        if (corner(x + static_cast<uint32_t>(__builtin_ctzll(found)) / 8)) return true;
    return false;
}

struct VectorKernels {
    static void products(const uint8_t* above, const uint8_t* centre, const uint8_t* below, uint32_t first,
                         uint32_t end, int16_t* gxx, int16_t* gyy, int16_t* gxy) {
        productsRowV(above, centre, below, first, end, gxx, gyy, gxy);
    }
    static void smooth(const int16_t* const* rows, uint32_t first, uint32_t end, int16_t* out) {
        smoothRowV(rows, first, end, out);
    }
    static void responses(const int16_t* sxx, const int16_t* syy, const int16_t* sxy, uint32_t first, uint32_t end,
                          int32_t* out) {
        responseRowV(sxx, syy, sxy, first, end, out);
    }
    // Groups of 16 whose largest response is not above the threshold are
    // skipped whole; in the others each half of 8 is tested at once against
    // all its neighbours. The columns after the last group go through the
    // reference's scan.
    template <typename Corner>
    static bool corners(const int32_t* const* rows, uint32_t first, uint32_t end, int32_t threshold,
                        const Corner& corner) {
        const int32x4_t limit = vdupq_n_s32(threshold);
        const int32_t* centre = rows[2];
        uint32_t x = first;
        for (; x + 16 <= end; x += 16) {
            const int32_t* r = centre + x;
            const int32x4_t largest = vmaxq_s32(vmaxq_s32(vld1q_s32(r), vld1q_s32(r + 4)),
                                                vmaxq_s32(vld1q_s32(r + 8), vld1q_s32(r + 12)));
            if (!anyAbove(largest, limit)) continue;
            if (reportCorners8(rows, x, limit, corner) || reportCorners8(rows, x + 8, limit, corner)) return true;
        }
        if (x + 8 <= end) {
            if (reportCorners8(rows, x, limit, corner)) return true;
            x += 8;
        }
        return scanCorners(rows, x, end, threshold, corner);
    }
};

// The three scratch buffers; a missing one ends the process.
Rings takeRings(uint32_t width) {
    const Rings rings = requestRings(width);
    const void *grads = rings.products, *blurgrads = rings.smoothed, *corner = rings.responses;
    OMBRIX_ASSERT(corner && grads && blurgrads);
    return rings;
}

}  // namespace

extern "C" {

void obxCornerHarrisu8V(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride, uint32_t border,
                        uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners, int32_t threshold) {
    OMBRIX_ASSERT((srcImg) && (xy) && (numcorners) && (width) && (height) && (stride == 0 || stride >= width) && width > 4 && height > 4);
    *numcorners = 0;
    const Rings rings = takeRings(width);
    const Detection d{srcImg, width, height, stride ? stride : width, border, xy, nCornersMax, numcorners, threshold};
    detectCorners<VectorKernels>(d, rings, [](uint32_t, uint32_t) { return false; });
    releaseRings(rings);
}

void obxCornerHarrisInMasku8V(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride,
                              uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                              int32_t threshold, const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT((srcImg) && (xy) && (numcorners) && (bitMask) && (width) && (height) && (stride == 0 || stride >= width) && (maskHeight) && (maskWidth));
    *numcorners = 0;
    int shift;
    if (!maskShift(width, height, maskWidth, maskHeight, &shift)) return;
    const Mask mask{bitMask, (maskWidth + 7) / 8, shift};
    const Rings rings = takeRings(width);
    const Detection d{srcImg, width, height, stride ? stride : width, border, xy, nCornersMax, numcorners, threshold};
    detectCorners<VectorKernels>(d, rings, [&mask](uint32_t x, uint32_t y) { return mask.excludes(x, y); });
    releaseRings(rings);
}

// Row j of the 11x11 patch in lanes 0..10 of a vector, from two
// overlapping 8-byte loads that stay within the patch; lanes 11..15 repeat
// bytes 3..7 and only reach results that are thrown away.
OMBRIX_ALWAYS_INLINE uint8x16_t patchRow(const uint8_t* row) {
    const uint8x8_t tail = vld1_u8(row + 3);
    return vcombine_u8(vld1_u8(row), vext_u8(tail, tail, 5));
}

// Lane k of a row's gradient vectors holds column k + 1 of the patch, so
// columns 1..9 fill lanes 0..8; the column sums of lanes 0..11 give the
// smoothed columns 3..10, of which 3..7 (lanes 0..4) are used.
int32_t obxLocalHarrisMaxu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t posX, uint32_t posY, uint32_t* maxX, uint32_t* maxY, uint32_t* maxScore) {
    OMBRIX_ASSERT((src) && (srcWidth) && (srcHeight) && (srcStride == 0 || srcStride >= srcWidth) && (maxX) && (maxY) && (maxScore));
    const uint32_t rowLen = srcStride ? srcStride : srcWidth;
    if (!patchFits(posX, posY, rowLen, srcHeight)) return 0;

    const uint8_t* row = src + static_cast<size_t>(posY - 5) * rowLen + (posX - 5);
    uint8x16_t above = patchRow(row), centre = patchRow(row + rowLen);
    row += 2 * static_cast<size_t>(rowLen);
    alignas(16) int16_t products[kPatch][kPlanes][16];
#pragma GCC unroll 1
    for (uint32_t j = 1; j + 1 < kPatch; ++j, row += rowLen) {
        const uint8x16_t below = patchRow(row);
        const int8x16_t gx = halfDifference16(vextq_u8(centre, centre, 2), centre);
        const int8x16_t dy = halfDifference16(below, above);
        const int8x16_t gy = vextq_s8(dy, dy, 1);
        storeProducts8(vget_low_s8(gx), vget_low_s8(gy), products[j][0], products[j][1], products[j][2]);
        storeProducts8(vget_high_s8(gx), vget_high_s8(gy), products[j][0] + 8, products[j][1] + 8,
                       products[j][2] + 8);
        above = centre;
        centre = below;
    }

    const Weights k;
    int32_t responses[25];
#pragma GCC unroll 1
    for (uint32_t j = 3; j < 8; ++j) {
        int16x8_t smoothed[kPlanes];
        for (uint32_t p = 0; p < kPlanes; ++p) {
            const ProductRows rows{products[j - 2][p], products[j - 1][p], products[j][p], products[j + 1][p],
                                   products[j + 2][p]};
            int32x4_t a, b;
            columnSums8(rows, 0, k, &a, &b);
            const int32x4_t c = columnSums4(rows, 8, k);
            smoothed[p] = vcombine_s16(rowSmooth4(a, b, k), rowSmooth4(b, c, k));
        }
        int32_t rowResponses[8];
        vst1q_s32(rowResponses,
                  response4(vget_low_s16(smoothed[0]), vget_low_s16(smoothed[1]), vget_low_s16(smoothed[2])));
        vst1q_s32(rowResponses + 4,
                  response4(vget_high_s16(smoothed[0]), vget_high_s16(smoothed[1]), vget_high_s16(smoothed[2])));
        memcpy(responses + 5 * (j - 3), rowResponses, 5 * sizeof(int32_t));
    }
    return reportStrongest(responses, posX, posY, maxX, maxY, maxScore);
}

}  // extern "C"
