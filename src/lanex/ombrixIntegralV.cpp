// Vector integral images.
//
// A table row is the row above plus the running sums of its pixel row (see
// ombrixIntegralTables.h). Sixteen or eight pixels at a time: the running
// sums within the group come from the pixel pairs' sums in 16-bit lanes,
// are widened onto the running total of the pixels before the group, which
// stays in a register, and are added to the row above. They are formed as
// even and odd entries, which a de-interleaving load and a re-interleaving
// store move between the table and the registers, eight entries each.
// (Hosts take put16() for sixteen pixels of a plain row instead.)
// Squared pixels take the same path in 32-bit lanes.
//
// A row's last partial group is done as the eight pixels ending the row:
// the running total before them is read back from the entries just written
// (entry minus the entry above), and the overlapped entries are written
// again with the same values. Rows of fewer than eight pixels are scalar.
#include "ombrixAssert.h"
#include "ombrixIntegralTables.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

// Pixels of a row: a plain row, or channel 0 or 1 of a row of pairs.
template <uint32_t Step, uint32_t Channel>
struct Pixels {
    static constexpr uint32_t kStep = Step, kChannel = Channel;
    static uint8x8_t load8(const uint8_t* pixels) {
        if constexpr (Step == 1) {
            return vld1_u8(pixels);
        } else {
            return vld2_u8(pixels).val[Channel];
        }
    }
    static uint8x16_t load16(const uint8_t* pixels) {
        if constexpr (Step == 1) {
            return vld1q_u8(pixels);
        } else {
            return vld2q_u8(pixels).val[Channel];
        }
    }
};
using Plain = Pixels<1, 0>;

// The running sums of a group of eight values, held as its even entries
// (0, 2, 4, 6) and its odd ones (1, 3, 5, 7): the layout that one
// de-interleaving load and store of eight table entries use.
struct GroupSums {
    uint32x4_t even, odd;
};

// Pixel sums on top of `running`. The running sums of the pixel pairs,
// formed in 16-bit lanes (at most 16 * 255), are the sums up to each odd
// pixel; less that pixel they are the sums up to each even one.
OMBRIX_ALWAYS_INLINE GroupSums pixelSums(uint8x8_t pixels, uint32x4_t running) {
    const uint16x4_t zero = vdup_n_u16(0);
    uint16x4_t pairs = vpaddl_u8(pixels);
    pairs = vadd_u16(pairs, vext_u16(zero, pairs, 3));
    pairs = vadd_u16(pairs, vext_u16(zero, pairs, 2));
    const uint32x4_t odd = vaddw_u16(running, pairs);
    const uint16x4_t oddPixels = vshr_n_u16(vreinterpret_u16_u8(pixels), 8);
    return {vsubw_u16(odd, oddPixels), odd};
}

// The same for sixteen pixels, as two groups of eight entries.
OMBRIX_ALWAYS_INLINE void pixelSums(uint8x16_t pixels, uint32x4_t running, GroupSums& first, GroupSums& second) {
    const uint16x8_t zero = vdupq_n_u16(0);
    uint16x8_t pairs = vpaddlq_u8(pixels);
    pairs = vaddq_u16(pairs, vextq_u16(zero, pairs, 7));
    pairs = vaddq_u16(pairs, vextq_u16(zero, pairs, 6));
    pairs = vaddq_u16(pairs, vextq_u16(zero, pairs, 4));
    const uint16x8_t oddPixels = vshrq_n_u16(vreinterpretq_u16_u8(pixels), 8);
    const uint32x4_t odd0 = vaddw_u16(running, vget_low_u16(pairs));
    const uint32x4_t odd1 = vaddw_u16(running, vget_high_u16(pairs));
    first = {vsubw_u16(odd0, vget_low_u16(oddPixels)), odd0};
    second = {vsubw_u16(odd1, vget_high_u16(oddPixels)), odd1};
}

// The same for squared pixels, in 32-bit lanes.
OMBRIX_ALWAYS_INLINE GroupSums squareSums(uint8x8_t pixels, uint32x4_t running) {
    const uint32x4_t zero = vdupq_n_u32(0);
    const uint16x8_t squares = vmull_u8(pixels, pixels);
    uint32x4_t pairs = vpaddlq_u16(squares);
    pairs = vaddq_u32(pairs, vextq_u32(zero, pairs, 3));
    pairs = vaddq_u32(pairs, vextq_u32(zero, pairs, 2));
    const uint32x4_t odd = vaddq_u32(running, pairs);
    const uint32x4_t oddSquares = vshrq_n_u32(vreinterpretq_u32_u16(squares), 16);
    return {vsubq_u32(odd, oddSquares), odd};
}

// Row lengths known at compile time (the fixed patch sizes) let GCC fold
// every table address into an immediate offset. Otherwise it rewrites the
// row pointers as one shared index plus fixed bases, spends an address
// addition on every access, and carries each address a row derives from row
// to row in a register of its own, spilling them; pointers hidden from it
// keep their post-incrementing loads and stores.
template <bool Opaque, typename T, typename U>
OMBRIX_ALWAYS_INLINE void hideFromOptimiser(T*& first, U*& second) {
    if constexpr (Opaque) __asm__("" : "+r"(first), "+r"(second));
}

// A table row being written and the row above it, both advancing by eight
// entries a group.
struct RowCursor {
    const uint32_t* above;
    uint32_t* out;
};

// Eight entries: the row above plus the group's sums; the running total (in
// every lane) moves past the group.
template <bool Opaque>
OMBRIX_ALWAYS_INLINE void put8(RowCursor& row, uint32x4_t& running, GroupSums sums) {
    running = vdupq_lane_u32(vget_high_u32(sums.odd), 1);
    const uint32x4x2_t above = vld2q_u32(row.above);
    const uint32x4x2_t entries = {{vaddq_u32(above.val[0], sums.even), vaddq_u32(above.val[1], sums.odd)}};
    vst2q_u32(row.out, entries);
    row.above += 8;
    row.out += 8;
    hideFromOptimiser<Opaque>(row.above, row.out);
}

#if !defined(__ARM_NEON) && !defined(__ARM_NEON__)
// Hosts: SIMDe turns the de-interleaving load and re-interleaving store of
// put8() into shuffles, the widening of 64-bit halves into several more, and
// each vext into a byte shuffle, of which x86 cores run fewer per cycle than
// plain arithmetic. Here the running sums of the pixel pairs are formed
// within each 64-bit half (eight pixels) by shifts of the 64-bit lanes; the
// odd and, less the odd pixels, even sums are zipped into two 16-bit vectors
// in pixel order, each zipped with zero into two 32-bit ones, and added to
// the running total and the row above with plain loads and stores. The
// second half starts from the running total after the first.
template <bool Opaque>
OMBRIX_ALWAYS_INLINE void put16(RowCursor& row, uint32x4_t& running, uint8x16_t pixels) {
    const uint16x8_t zero = vdupq_n_u16(0);
    uint64x2_t pairs = vreinterpretq_u64_u16(vpaddlq_u8(pixels));
    pairs = vaddq_u64(pairs, vshlq_n_u64(pairs, 16));
    pairs = vaddq_u64(pairs, vshlq_n_u64(pairs, 32));
    const uint16x8_t odd = vreinterpretq_u16_u64(pairs);
    const uint16x8_t even = vsubq_u16(odd, vshrq_n_u16(vreinterpretq_u16_u8(pixels), 8));
    const uint16x8x2_t sums = vzipq_u16(even, odd);
    const uint16x8x2_t low = vzipq_u16(sums.val[0], zero), high = vzipq_u16(sums.val[1], zero);
    uint32x4_t s[4];
    s[0] = vaddq_u32(running, vreinterpretq_u32_u16(low.val[0]));
    s[1] = vaddq_u32(running, vreinterpretq_u32_u16(low.val[1]));
    running = vdupq_laneq_u32(s[1], 3);
    s[2] = vaddq_u32(running, vreinterpretq_u32_u16(high.val[0]));
    s[3] = vaddq_u32(running, vreinterpretq_u32_u16(high.val[1]));
    running = vdupq_laneq_u32(s[3], 3);
    for (int q = 0; q < 4; ++q) vst1q_u32(row.out + 4 * q, vaddq_u32(vld1q_u32(row.above + 4 * q), s[q]));
    row.above += 16;
    row.out += 16;
    hideFromOptimiser<Opaque>(row.above, row.out);
}
#endif

// The row kernel: out[i] = above[i] + pixels 0 .. i, i < count, and the
// same over squared pixels into out2 when Squares is set. Sums alone go
// sixteen pixels a group, then eight; with squares, whose groups need twice
// the registers, always eight. Opaque is off for compile-time row lengths.
template <typename Px, bool Squares, bool Opaque = true>
OMBRIX_ALWAYS_INLINE void integrateRow(const uint8_t* row, uint32_t count, const uint32_t* above, uint32_t* out,
                                       const uint32_t* above2, uint32_t* out2) {
    if (count < 8) {
        obxIntegralRowScalar<Squares>(row + Px::kChannel, Px::kStep, count, above, out, above2, out2);
        return;
    }
    hideFromOptimiser<Opaque>(above, out);
    hideFromOptimiser<Opaque && Squares>(above2, out2);
    uint32x4_t running = vdupq_n_u32(0), running2 = running;
    RowCursor sums = {above, out}, squares = {above2, out2};
    auto group8 = [&](const uint8_t* pixels) {
        const uint8x8_t p = Px::load8(pixels);
        put8<Opaque>(sums, running, pixelSums(p, running));
        if (Squares) put8<Opaque>(squares, running2, squareSums(p, running2));
    };
    const uint8_t* pixels = row;
    uint32_t eights = count / 8;
    if constexpr (!Squares) {
        for (; eights >= 2; eights -= 2, pixels += 16 * Px::kStep) {
#if !defined(__ARM_NEON) && !defined(__ARM_NEON__)
            if constexpr (Px::kStep == 1) {
                put16<Opaque>(sums, running, vld1q_u8(pixels));
                continue;
            }
#endif
            GroupSums first, second;
            pixelSums(Px::load16(pixels), running, first, second);
            put8<Opaque>(sums, running, first);
            put8<Opaque>(sums, running, second);
        }
    }
    for (; eights > 0; --eights, pixels += 8 * Px::kStep) group8(pixels);
    if (count % 8) {
        const uint32_t i = count - 8;
        running = vdupq_n_u32(out[i - 1] - above[i - 1]);
        sums = {above + i, out + i};
        if (Squares) {
            running2 = vdupq_n_u32(out2[i - 1] - above2[i - 1]);
            squares = {above2 + i, out2 + i};
        }
        group8(row + i * Px::kStep);
    }
}

template <typename Px>
auto sumRows(uint32_t count) {
    return [count](const uint8_t* row, const uint32_t* above, uint32_t* out, const uint32_t*,
                   uint32_t*) __attribute__((always_inline)) {
        integrateRow<Px, false>(row, count, above, out, nullptr, nullptr);
    };
}

// The worker of all patch forms; inlined, with its row kernel, into the
// fixed sizes (FixedSize), whose rows then have a constant length.
template <bool FixedSize>
OMBRIX_ALWAYS_INLINE void integratePatch(const uint8_t* src, uint32_t srcStride, uint32_t patchX, uint32_t patchY,
                                         uint32_t patchWidth, uint32_t patchHeight, uint32_t* dst, uint32_t* dst2) {
    obxFillPatchTables(src, srcStride, patchX, patchY, patchWidth, patchHeight, dst, dst2,
                       [patchWidth](const uint8_t* row, const uint32_t* above, uint32_t* out, const uint32_t* above2,
                                    uint32_t* out2) __attribute__((always_inline)) {
                           integrateRow<Plain, true, !FixedSize>(row, patchWidth, above, out, above2, out2);
                       });
}

// Sum of the four lanes.
OMBRIX_ALWAYS_INLINE uint32_t addLanes(uint32x4_t v) {
    const uint32x2_t pairs = vadd_u32(vget_low_u32(v), vget_high_u32(v));
    return vget_lane_u32(vpadd_u32(pairs, pairs), 0);
}

// Sums and squares of sixteen pixels, added to per-lane totals.
OMBRIX_ALWAYS_INLINE void addLine16(uint8x16_t pixels, uint32x4_t& sums, uint32x4_t& squares) {
    sums = vpadalq_u16(sums, vpaddlq_u8(pixels));
    squares = vpadalq_u16(squares, vmull_u8(vget_low_u8(pixels), vget_low_u8(pixels)));
    squares = vpadalq_u16(squares, vmull_u8(vget_high_u8(pixels), vget_high_u8(pixels)));
}

}  // namespace

extern "C" {

void obxIntegrateImageu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= (srcWidth+1)*sizeof(uint32_t)));
    obxFillIntegralTables(src, srcStride, srcWidth, srcHeight, {dst, dstStride / sizeof(uint32_t)}, {nullptr, 0},
                          sumRows<Plain>(srcWidth));
}

void obxIntegratePatchu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint32_t patchX, uint32_t patchY, uint32_t patchWidth, uint32_t patchHeight, uint32_t* dst,
                          uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch<false>(src, srcStride, patchX, patchY, patchWidth, patchHeight, dst, dst2);
}

void obxIntegratePatch12x12u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t patchX, uint32_t patchY, uint32_t* dst, uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch<true>(src, srcStride, patchX, patchY, 12, 12, dst, dst2);
}

void obxIntegratePatch18x18u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t patchX, uint32_t patchY, uint32_t* dst, uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch<true>(src, srcStride, patchX, patchY, 18, 18, dst, dst2);
}

void obxIntegrateImageLineu8V(const uint8_t* imageIn, uint16_t numPxls, uint32_t* intgrl, uint32_t* intgrlSqrd) {
    OMBRIX_ASSERT(imageIn && intgrl && intgrlSqrd);
    // Per-lane totals stay below 2^32: all 65535 squares of 255 fit.
    uint32x4_t sums = vdupq_n_u32(0), squares = sums;
    uint32_t i = 0;
    for (; i + 16 <= numPxls; i += 16) addLine16(vld1q_u8(imageIn + i), sums, squares);
    uint32_t sum = addLanes(sums), sum2 = addLanes(squares);
    for (; i < numPxls; ++i) {
        sum += imageIn[i];
        sum2 += uint32_t{imageIn[i]} * imageIn[i];
    }
    *intgrl = sum;
    *intgrlSqrd = sum2;
}

void obxIntegrateImageLine64u8V(const uint8_t* pxls, uint16_t* sum, uint32_t* sum2) {
    OMBRIX_ASSERT(pxls && sum && sum2);
    uint32x4_t sums = vdupq_n_u32(0), squares = sums;
    for (uint32_t i = 0; i < 64; i += 16) addLine16(vld1q_u8(pxls + i), sums, squares);
    *sum = static_cast<uint16_t>(addLanes(sums));
    *sum2 = addLanes(squares);
}

void obxIntegrateImageYCbCr420PseudoPlanaru8V(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                              uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                              uint32_t* integralY, uint32_t* integralCb, uint32_t* integralCr,
                                              uint32_t integralYStride, uint32_t integralCbStride,
                                              uint32_t integralCrStride) {
    OMBRIX_ASSERT(srcY && srcC && integralY && integralCb && integralCr && srcWidth && srcHeight && (srcYStride >= srcWidth) && (srcCStride >= srcWidth) && (integralYStride >= srcWidth*sizeof(uint32_t)) && (integralCbStride >= (srcWidth/2)*sizeof(uint32_t)) && (integralCrStride >= (srcWidth/2)*sizeof(uint32_t)));
    const uint32_t chromaCount = srcWidth / 2 ? srcWidth / 2 - 1 : 0;
    obxFillYCbCr420Tables(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, integralY, integralCb, integralCr,
                          integralYStride, integralCbStride, integralCrStride, sumRows<Plain>(srcWidth - 1),
                          sumRows<Pixels<2, 0>>(chromaCount), sumRows<Pixels<2, 1>>(chromaCount));
}

}  // extern "C"
