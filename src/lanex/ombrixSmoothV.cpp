// Vector box (mean) filters.
//
// The 3x3 filter sums its window directly (see boxFilter3x3). The running-sum
// kernel serves the three sizes (the 3x3 below 18 columns), at a cost per
// pixel that does not depend on the kernel size. For each output row:
//   1. column sums: for each image column, the sum over the rows of the
//      row's window, kept in u16 (at most 11 * 255) and moved down one row by
//      adding the entering row and subtracting the leaving one;
//   2. in the same pass, a running (prefix) sum of the column sums along the
//      row, in u16 arithmetic modulo 65536;
//   3. each window sum is the difference of two running sums n columns apart,
//      exact because the true sum (at most 121 * 255) is below 65536;
//   4. sum * reciprocal + 32768, >> 16 (see scale()).
#include "ombrixAssert.h"
#include "ombrixBoxStrip.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

// Output columns per strip (see ombrixBoxStrip.h): one strip's column sums
// and running sums live on the stack (about 4 KiB).
constexpr uint32_t kStripWidth = 1024;
constexpr uint32_t kMaxRadius = 5;
constexpr uint32_t kColumnsCapacity = kStripWidth + 2 * kMaxRadius;

// Stands in for a row outside the image: entering or leaving, it changes nothing.
const uint8_t kZeroRow[kColumnsCapacity] = {};

// Inclusive running sum of eight lanes in three shift-and-add steps.
inline uint16x8_t scanEight(uint16x8_t v) {
    const uint16x8_t zero = vdupq_n_u16(0);
    v = vaddq_u16(v, vextq_u16(zero, v, 7));
    v = vaddq_u16(v, vextq_u16(zero, v, 6));
    return vaddq_u16(v, vextq_u16(zero, v, 4));
}

// Column sums moved down one row: sums + entering - leaving, for the eight
// columns of one half of a 16-pixel load.
inline uint16x8_t movedDown(const uint16_t* sums, uint8x8_t entering, uint8x8_t leaving) {
    return vaddq_u16(vld1q_u16(sums), vsubl_u8(entering, leaving));
}

// Moves the column sums down one row and rebuilds their running sum:
//   sums[j] += entering[j] - leaving[j],
//   prefix[j + 1] = prefix[j] + sums[j]   for j < count,
// all modulo 65536; prefix[0] holds the total of the columns before.
// Sixteen columns per step give two independent scans, so that in-order
// cores can overlap them; only the carry between steps is serial.
inline void updateAndScan(uint16_t* sums, uint16_t* prefix, const uint8_t* entering, const uint8_t* leaving,
                          uint32_t count) {
    uint16x8_t carry = vdupq_n_u16(prefix[0]);
    uint32_t j = 0;
    for (; j + 16 <= count; j += 16) {
        const uint8x16_t in = vld1q_u8(entering + j), out = vld1q_u8(leaving + j);
        const uint16x8_t low = movedDown(sums + j, vget_low_u8(in), vget_low_u8(out));
        const uint16x8_t high = movedDown(sums + j + 8, vget_high_u8(in), vget_high_u8(out));
        vst1q_u16(sums + j, low);
        vst1q_u16(sums + j + 8, high);
        const uint16x8_t lowScan = scanEight(low), highScan = scanEight(high);
        const uint16x8_t highRunning = vaddq_u16(highScan, vdupq_lane_u16(vget_high_u16(lowScan), 3));
        vst1q_u16(prefix + j + 1, vaddq_u16(lowScan, carry));
        const uint16x8_t total = vaddq_u16(highRunning, carry);
        vst1q_u16(prefix + j + 9, total);
        carry = vdupq_lane_u16(vget_high_u16(total), 3);
    }
    for (; j < count; ++j) {
        sums[j] = static_cast<uint16_t>(sums[j] + entering[j] - leaving[j]);
        prefix[j + 1] = static_cast<uint16_t>(prefix[j] + sums[j]);
    }
}

// (sum * Reciprocal + 32768) >> 16 for eight window sums (sum < 2^15).
template <uint32_t Reciprocal>
inline uint8x8_t scale(uint16x8_t sum) {
    if constexpr (Reciprocal % 2 == 0) {
        // The rounding doubling multiply-high computes (2 * sum * (Reciprocal / 2)
        // + 2^15) >> 16, which is the formula itself, in 16-bit lanes without
        // saturation (both factors are below 2^15).
        return vqmovun_s16(vqrdmulhq_s16(vreinterpretq_s16_u16(sum), vdupq_n_s16(Reciprocal / 2)));
    } else {
        // Odd reciprocal: the widening multiply (the product stays below 2^24),
        // then add-high-narrow adds the rounding term and keeps bits 16..31.
        const uint16x4_t reciprocal = vdup_n_u16(Reciprocal);
        const uint32x4_t half = vdupq_n_u32(32768);
        const uint16x4_t low = vaddhn_u32(vmull_u16(vget_low_u16(sum), reciprocal), half);
        const uint16x4_t high = vaddhn_u32(vmull_u16(vget_high_u16(sum), reciprocal), half);
        return vmovn_u16(vcombine_u16(low, high));
    }
}

// 16 outputs from the running sums: window i spans prefix[i .. i + Span].
template <uint32_t Span, uint32_t Reciprocal>
inline void writeSixteen(uint8_t* out, const uint16_t* prefix) {
    const uint16x8_t low = vsubq_u16(vld1q_u16(prefix + Span), vld1q_u16(prefix));
    const uint16x8_t high = vsubq_u16(vld1q_u16(prefix + 8 + Span), vld1q_u16(prefix + 8));
    vst1q_u8(out, vcombine_u8(scale<Reciprocal>(low), scale<Reciprocal>(high)));
}

template <uint32_t Span, uint32_t Reciprocal>
inline void writeRow(uint8_t* out, const uint16_t* prefix, uint32_t count) {
    if (count < 16) {
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t sum = static_cast<uint16_t>(prefix[i + Span] - prefix[i]);
            out[i] = static_cast<uint8_t>((sum * Reciprocal + 32768) >> 16);
        }
        return;
    }
    uint32_t i = 0;
    for (; i + 16 <= count; i += 16) writeSixteen<Span, Reciprocal>(out + i, prefix + i);
    // The last group overlaps the previous one; it writes the same values again.
    if (i < count) writeSixteen<Span, Reciprocal>(out + count - 16, prefix + count - 16);
}

// n x n box filter, n = 2 * Radius + 1, strip by strip (see
// ombrixBoxStrip.h). sums[p - first] is the column sum of the strip position p
// inside the image; prefix[p] is the total of the column sums before position
// p, with positions outside the image counting as 0.
template <uint32_t Radius, uint32_t Reciprocal>
void boxFilter(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
               uint32_t dstStride) {
    static_assert(Radius <= kMaxRadius, "column buffers too small");
    constexpr uint32_t kSpan = 2 * Radius + 1;
    uint16_t sums[kColumnsCapacity];
    uint16_t prefix[kColumnsCapacity + 1];
    for (uint32_t x0 = 0; x0 < width; x0 += kStripWidth) {
        const obxBoxStrip strip = obxBoxStripAt(x0, width, kStripWidth, Radius);
        const uint32_t insideCount = strip.last - strip.first;
        uint16_t* insidePrefix = prefix + strip.first;
        auto row = [&](uint32_t y) { return src + static_cast<size_t>(y) * srcStride + strip.column; };

        for (uint32_t j = 0; j < insideCount; ++j) sums[j] = 0;
        for (uint32_t p = 0; p <= strip.first; ++p) prefix[p] = 0;
        // The window of output row -1: image rows 0 .. Radius - 1.
        for (uint32_t y = 0; y < Radius; ++y) updateAndScan(sums, insidePrefix, row(y), kZeroRow, insideCount);

        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t* entering = y + Radius < height ? row(y + Radius) : kZeroRow;
            const uint8_t* leaving = y > Radius ? row(y - Radius - 1) : kZeroRow;
            updateAndScan(sums, insidePrefix, entering, leaving, insideCount);
            for (uint32_t p = strip.last + 1; p <= strip.length; ++p) prefix[p] = prefix[strip.last];
            writeRow<kSpan, Reciprocal>(dst + static_cast<size_t>(y) * dstStride + x0, prefix, strip.count);
        }
    }
}

// ---- 3x3: column sums in registers ---------------------------------------------------
//
// The 3x3 window is small enough to need no running sums: each output row
// adds the (up to) three image rows into u16 column sums (at most 3 * 255)
// sixteen columns at a time, and the two neighbours of each column come from
// the next and previous sixteen by lane extraction; columns outside the
// image are zero lanes. Rows outside the image are left out of the sums.

struct Sums16 {
    uint16x8_t low, high;
};

// Column sums of the 16 columns from x over the first N rows.
template <int N>
inline Sums16 columnSums16(const uint8_t* const* rows, ptrdiff_t x) {
    const uint8x16_t a = vld1q_u8(rows[0] + x), b = vld1q_u8(rows[1] + x);
    Sums16 sums = {vaddl_u8(vget_low_u8(a), vget_low_u8(b)), vaddl_u8(vget_high_u8(a), vget_high_u8(b))};
    if constexpr (N == 3) {
        const uint8x16_t c = vld1q_u8(rows[2] + x);
        sums.low = vaddw_u8(sums.low, vget_low_u8(c));
        sums.high = vaddw_u8(sums.high, vget_high_u8(c));
    }
    return sums;
}

// The column sums one column to the left of `current` (the last lane of
// `previous` enters) and one to the right (the first lane of `next` enters).
inline Sums16 leftOf(const Sums16& previous, const Sums16& current) {
    return {vextq_u16(previous.high, current.low, 7), vextq_u16(current.low, current.high, 7)};
}
inline Sums16 rightOf(const Sums16& current, const Sums16& next) {
    return {vextq_u16(current.low, current.high, 1), vextq_u16(current.high, next.low, 1)};
}

// 16 outputs from the column sums left of, at and right of them (window
// sums at most 9 * 255).
inline void writeSixteen3x3(uint8_t* out, const Sums16& left, const Sums16& centre, const Sums16& right) {
    const uint16x8_t low = vaddq_u16(vaddq_u16(left.low, centre.low), right.low);
    const uint16x8_t high = vaddq_u16(vaddq_u16(left.high, centre.high), right.high);
    vst1q_u8(out, vcombine_u8(scale<7282>(low), scale<7282>(high)));
}

// One output row of width >= kMinWidth3x3 from its N rows inside the image.
// The loop carries the sums of the previous, current and next 16 columns;
// the last outputs (fewer than 32) take their outer neighbours from loads
// one column over, the final 16 ending at the last column.
constexpr ptrdiff_t kMinWidth3x3 = 18;

template <int N>
void boxRow3x3(const uint8_t* const* rows, ptrdiff_t width, uint8_t* out) {
    const Sums16 zero = {vdupq_n_u16(0), vdupq_n_u16(0)};
    Sums16 previous = zero, current = columnSums16<N>(rows, 0);
    ptrdiff_t x = 0;
    for (; x + 32 <= width; x += 16) {
        const Sums16 next = columnSums16<N>(rows, x + 16);
        writeSixteen3x3(out + x, leftOf(previous, current), current, rightOf(current, next));
        previous = current;
        current = next;
    }
    if (width - x > 16) writeSixteen3x3(out + x, leftOf(previous, current), current, columnSums16<N>(rows, x + 1));
    const ptrdiff_t last = width - 16;
    const Sums16 final = columnSums16<N>(rows, last);
    writeSixteen3x3(out + last, columnSums16<N>(rows, last - 1), final, rightOf(final, zero));
}

void boxFilter3x3(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                  uint32_t dstStride) {
    auto row = [&](uint32_t y) { return src + static_cast<size_t>(y) * srcStride; };
    auto out = [&](uint32_t y) { return dst + static_cast<size_t>(y) * dstStride; };
    const uint8_t* top[2] = {row(0), row(1)};
    boxRow3x3<2>(top, width, out(0));
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const uint8_t* rows[3] = {row(y - 1), row(y), row(y + 1)};
        boxRow3x3<3>(rows, width, out(y));
    }
    const uint8_t* bottom[2] = {row(height - 2), row(height - 1)};
    boxRow3x3<2>(bottom, width, out(height - 1));
}

}  // namespace

extern "C" {

void obxBoxFilter3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && srcWidth > 2 && srcHeight > 2);
    if (srcWidth >= kMinWidth3x3)
        boxFilter3x3(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    else
        boxFilter<1, 7282>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxBoxFilter5x5u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && srcWidth > 4 && srcHeight > 4);
    boxFilter<2, 2621>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// The table's 11x11 variant and the exported obxBoxFilter11x11u8V2 share the
// kernel but are distinct functions: only the first is ever installed in a slot.
void obxBoxFilter11x11u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && srcHeight > 10);
    boxFilter<5, 542>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxBoxFilter11x11u8V2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && srcHeight > 10);
    boxFilter<5, 542>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // extern "C"
