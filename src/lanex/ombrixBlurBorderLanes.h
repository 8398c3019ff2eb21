// The border of the vector binomial filters, for every element type and
// radius. A border pixel is the weighted sum over the taps inside the image
// divided by the weight of those taps. The kernel is separable, so that
// weight is rowWeight(y) * columnWeight(x), where each factor is the sum of
// the 1-D taps that stay inside the image: the border is the separable kernel
// run over zero-padded rows and columns, followed by a per-lane division.
//
//   - The first and last R rows are done in full: the column sums of all R
//     rows at an edge come from one pass over the 2R rows there and go to a
//     buffer with zeros for the columns outside; the horizontal kernel then
//     takes eight outputs at a time from it by lane extraction.
//   - The other rows need only their R outermost pixels on each side: the
//     column sums of the 2R columns at each edge stay in registers, and the
//     lanes beyond the image read as zero.
//
// Division is exact: n / d = (n * m) >> (32 + s) with 2^s < d <= 2^(s+1) and
// m = ceil(2^(32+s) / d), for every 0 <= n <= 2^31 (see reciprocalOf).
// Signed images divide the magnitude and restore the sign, which truncates
// toward zero like the reference.
//
// Images smaller than this layout needs (see kMinWidth) take the scalar
// border of the reference.
#ifndef OMBRIX_BLUR_BORDER_LANES_H
#define OMBRIX_BLUR_BORDER_LANES_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "../cpu/ombrixBlurScalar.h"
#include "ombrixNeon.h"

namespace ombrix_blur {

// In an unnamed namespace, like the kernels, so that the NEON-compiled code
// stays in the object that uses it.
namespace {

// Weight of the 1-D taps inside the image when the window is cut `cut` taps
// short on one side (cut 0: the full window).
template <int R>
constexpr uint32_t weightInside(int cut) {
    uint32_t weight = 0;
    for (int i = cut; i <= 2 * R; ++i) weight += Binomial<R>::taps[i];
    return weight;
}

// n / d as (n * multiplier) >> 32 >> shift (shift stored negated, for a
// per-lane left shift). With 2^s < d <= 2^(s+1): m = ceil(2^(32+s) / d) is at
// most 2^32 - 1 (2^31 when d is a power of two), and e = m*d - 2^(32+s) < d
// <= 2^(s+1). Then n*m / 2^(32+s) = n/d + n*e / (d * 2^(32+s)), and for
// n <= 2^31 the second term is below 1/d, too little to reach the next
// integer. Every 2-D border weight is at least 4.
struct LaneReciprocal {
    uint32_t multiplier;
    int32_t negatedShift;
};

constexpr LaneReciprocal reciprocalOf(uint32_t d) {
    int s = 0;
    while ((uint64_t{1} << (s + 1)) < d) ++s;
    const uint64_t m = ((uint64_t{1} << (32 + s)) + d - 1) / d;
    return {static_cast<uint32_t>(m), -s};
}

// Reciprocals of rowWeight * columnWeight by row cut and column cut.
template <int R>
struct BorderReciprocals {
    LaneReciprocal of[R + 1][R + 1];
    constexpr BorderReciprocals() : of{} {
        for (int row = 0; row <= R; ++row)
            for (int column = 0; column <= R; ++column)
                of[row][column] = reciprocalOf(weightInside<R>(row) * weightInside<R>(column));
    }
};

// Eight column sums (or eight sums of any kind) in two u32 registers, as the
// u32 bit patterns of the reference's sums.
struct Lanes8 {
    uint32x4_t low, high;
};

// x * tap and acc + x * tap in u32 lanes modulo 2^32, for a tap below 256
// (a vector constant: one immediate move on ARM). SIMDe forms u32 products
// as signed ints, whose overflow is undefined, so on hosts the product is
// assembled from the two 16-bit halves of x (each partial product below
// 2^24).
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
inline uint32x4_t multiplyTap(uint32x4_t x, uint32_t tap) { return vmulq_u32(x, vdupq_n_u32(tap)); }
#else
inline uint32x4_t multiplyTap(uint32x4_t x, uint32_t tap) {
    const uint32x4_t t = vdupq_n_u32(tap);
    const uint32x4_t low = vmulq_u32(vandq_u32(x, vdupq_n_u32(0xFFFF)), t);
    const uint32x4_t high = vmulq_u32(vshrq_n_u32(x, 16), t);
    return vaddq_u32(low, vshlq_n_u32(high, 16));
}
#endif
inline uint32x4_t multiplyAddTap(uint32x4_t acc, uint32x4_t x, uint32_t tap) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return vmlaq_u32(acc, x, vdupq_n_u32(tap));
#else
    return vaddq_u32(acc, multiplyTap(x, tap));
#endif
}

// Loading and accumulating per element type: load() takes eight pixels of
// a row (contiguous, or two groups of four); Sums<R> holds the column sums
// of eight columns, and add() adds a row times a tap. store() narrows
// eight results back to pixels.
template <typename Pixel>
struct BorderPixels;

template <>
struct BorderPixels<uint8_t> {
    static constexpr bool kSigned = false;
    using Block = uint8x8_t;
    static inline Block load(const uint8_t* p) { return vld1_u8(p); }
    static inline Block load(const uint8_t* low, const uint8_t* high) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
        // Lane loads carry no alignment requirement on ARM.
        const uint32x2_t first = vld1_dup_u32(reinterpret_cast<const uint32_t*>(low));
        return vreinterpret_u8_u32(vld1_lane_u32(reinterpret_cast<const uint32_t*>(high), first, 1));
#else
        uint32_t a, b;
        memcpy(&a, low, 4);
        memcpy(&b, high, 4);
        return vreinterpret_u8_u32(vset_lane_u32(b, vdup_n_u32(a), 1));
#endif
    }
    // Column sums are formed in u16 lanes with multiply-accumulates of the
    // bytes. Up to 5 taps the sum is at most 16 * 255. With 11 taps, those
    // of 1, 10 and 45 go to `outer` (at most 112 * 255 = 28560) and those of
    // 120, 210 and 252 to `inner` at a sixth of their weight (at most
    // 152 * 255 = 38760); the sum is outer + 6 * inner, formed when widened.
    template <int R>
    struct Sums {
        uint16x8_t outer = vdupq_n_u16(0), inner = vdupq_n_u16(0);
        inline void add(Block block, uint32_t tap) {
            if (R > 2 && tap >= 120)
                inner = vmlal_u8(inner, block, vdup_n_u8(static_cast<uint8_t>(tap / 6)));
            else
                outer = vmlal_u8(outer, block, vdup_n_u8(static_cast<uint8_t>(tap)));
        }
        inline Lanes8 lanes() const {
            const Lanes8 wide = {vmovl_u16(vget_low_u16(outer)), vmovl_u16(vget_high_u16(outer))};
            if constexpr (R <= 2) return wide;
            const uint16x4_t six = vdup_n_u16(6);
            return {vmlal_u16(wide.low, vget_low_u16(inner), six), vmlal_u16(wide.high, vget_high_u16(inner), six)};
        }
    };
    // Quotients are at most 255.
    static inline void store(uint8_t* out, Lanes8 q) {
        vst1_u8(out, vmovn_u16(vcombine_u16(vmovn_u32(q.low), vmovn_u32(q.high))));
    }
};

template <>
struct BorderPixels<int16_t> {
    static constexpr bool kSigned = true;
    using Block = int16x8_t;
    static inline Block load(const int16_t* p) { return vld1q_s16(p); }
    static inline Block load(const int16_t* low, const int16_t* high) {
        return vcombine_s16(vld1_s16(low), vld1_s16(high));
    }
    // |column sum| <= 16 * 32768: exact in s32 lanes.
    template <int R>
    struct Sums {
        int32x4_t low = vdupq_n_s32(0), high = vdupq_n_s32(0);
        inline void add(Block block, uint32_t tap) {
            const int16x4_t t = vdup_n_s16(static_cast<int16_t>(tap));
            low = vmlal_s16(low, vget_low_s16(block), t);
            high = vmlal_s16(high, vget_high_s16(block), t);
        }
        inline Lanes8 lanes() const { return {vreinterpretq_u32_s32(low), vreinterpretq_u32_s32(high)}; }
    };
    // Quotients lie within the s16 range.
    static inline void store(int16_t* out, Lanes8 q) {
        vst1q_s16(out, vreinterpretq_s16_u16(vcombine_u16(vmovn_u32(q.low), vmovn_u32(q.high))));
    }
};

template <>
struct BorderPixels<int32_t> {
    static constexpr bool kSigned = true;
    using Block = Lanes8;
    static inline Block load(const int32_t* p) {
        return {vreinterpretq_u32_s32(vld1q_s32(p)), vreinterpretq_u32_s32(vld1q_s32(p + 4))};
    }
    static inline Block load(const int32_t* low, const int32_t* high) {
        return {vreinterpretq_u32_s32(vld1q_s32(low)), vreinterpretq_u32_s32(vld1q_s32(high))};
    }
    // Modulo 2^32, like the reference's sums.
    template <int R>
    struct Sums {
        Lanes8 sums = {vdupq_n_u32(0), vdupq_n_u32(0)};
        inline void add(Block block, uint32_t tap) {
            sums.low = multiplyAddTap(sums.low, block.low, tap);
            sums.high = multiplyAddTap(sums.high, block.high, tap);
        }
        inline Lanes8 lanes() const { return sums; }
    };
    static inline void store(int32_t* out, Lanes8 q) {
        vst1q_s32(out, vreinterpretq_s32_u32(q.low));
        vst1q_s32(out + 4, vreinterpretq_s32_u32(q.high));
    }
};

// Per-lane reciprocals of four lanes.
struct Reciprocals4 {
    uint32x4_t multiplier;
    int32x4_t negatedShift;
};

inline Reciprocals4 reciprocals4(LaneReciprocal r) {
    return {vdupq_n_u32(r.multiplier), vdupq_n_s32(r.negatedShift)};
}
inline Reciprocals4 reciprocals4(const LaneReciprocal* r) {
    const uint32_t m[4] = {r[0].multiplier, r[1].multiplier, r[2].multiplier, r[3].multiplier};
    const int32_t s[4] = {r[0].negatedShift, r[1].negatedShift, r[2].negatedShift, r[3].negatedShift};
    return {vld1q_u32(m), vld1q_s32(s)};
}

// floor(n / d) for 0 <= n <= 2^31, each lane with its own d.
inline uint32x4_t divideUnsigned(uint32x4_t n, Reciprocals4 r) {
    const uint64x2_t low = vmull_u32(vget_low_u32(n), vget_low_u32(r.multiplier));
    const uint64x2_t high = vmull_u32(vget_high_u32(n), vget_high_u32(r.multiplier));
    // The high halves of the four products, de-interleaved.
    const uint32x4_t product = vuzpq_u32(vreinterpretq_u32_u64(low), vreinterpretq_u32_u64(high)).val[1];
    return vshlq_u32(product, r.negatedShift);
}

// The reference's quotient of the sum (its u32 bit pattern) by d: unsigned
// for u8, truncated toward zero for signed images. The magnitude of a
// negative s32 is at most 2^31, which the u32 lane holds.
template <typename Pixel>
inline uint32x4_t divideSum(uint32x4_t sum, Reciprocals4 r) {
    if constexpr (!BorderPixels<Pixel>::kSigned) {
        return divideUnsigned(sum, r);
    } else {
        const uint32x4_t sign = vreinterpretq_u32_s32(vshrq_n_s32(vreinterpretq_s32_u32(sum), 31));
        const uint32x4_t magnitude = vsubq_u32(veorq_u32(sum, sign), sign);
        return vsubq_u32(veorq_u32(divideUnsigned(magnitude, r), sign), sign);
    }
}

// A row of 4N column sums in N registers, lanes outside it reading as zero.
// lanesAt<O>() is lanes O .. O+3 (O may lie outside), by lane extraction.
template <int N>
struct LaneRow {
    uint32x4_t q[N];

    template <int O>
    inline uint32x4_t lanesAt() const {
        constexpr int block = O >= 0 ? O / 4 : -((3 - O) / 4);
        constexpr int offset = O - 4 * block;
        if constexpr (offset == 0) return at<block>();
        else return vextq_u32(at<block>(), at<block + 1>(), offset);
    }
    template <int B>
    inline uint32x4_t at() const {
        if constexpr (B >= 0 && B < N) return q[B];
        else return vdupq_n_u32(0);
    }
};

// Horizontal kernel of the four outputs centred on lanes O .. O+3, the
// symmetric taps paired: taps[I] * (lanes O-R+I + lanes O+R-I) for I < R.
template <int R, int O, int I = 0, int N>
inline uint32x4_t horizontalAt(const LaneRow<N>& row) {
    if constexpr (I == R) {
        return multiplyTap(row.template lanesAt<O>(), Binomial<R>::taps[R]);
    } else {
        const uint32x4_t before = row.template lanesAt<O - R + I>(), after = row.template lanesAt<O + R - I>();
        const uint32x4_t pair = vaddq_u32(before, after);
        const uint32x4_t rest = horizontalAt<R, O, I + 1>(row);
        if constexpr (Binomial<R>::taps[I] == 1) return vaddq_u32(rest, pair);
        else return multiplyAddTap(rest, pair, Binomial<R>::taps[I]);
    }
}

constexpr uint32_t largest(uint32_t a, uint32_t b) { return a > b ? a : b; }

template <typename Pixel, int R>
class BorderVector {
public:
    // Images narrower than this, or with fewer than 2R+1 rows, take the
    // scalar border: the layout needs blocks of eight columns, the side
    // columns inside the image, and windows cut on one side at most.
    static constexpr int kQuads = (2 * R + 3) / 4;  // groups of four side columns per side
    static constexpr uint32_t kMinWidth = largest(8, largest(2 * R + 1, 4 * kQuads));

    static void run(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                    uint32_t dstStride) {
        if (width < kMinWidth || height < 2u * R + 1) {
            blurBorderReference<Pixel, R>(src, width, height, srcStride, dst, dstStride);
            return;
        }
        edgeRows(src, width, height, srcStride, dst, dstStride, true);
        edgeRows(src, width, height, srcStride, dst, dstStride, false);
        sides(src, width, height, srcStride, dst, dstStride);
    }

private:
    using Pixels = BorderPixels<Pixel>;
    using Sums = typename Pixels::template Sums<R>;
    static constexpr int kTaps = 2 * R + 1;
    // Outputs per chunk of a full border row: the column sums of a chunk and
    // of the R columns on either side stay on the stack.
    static constexpr ptrdiff_t kChunk = 256;
    static constexpr ptrdiff_t kLead = 8;
    static constexpr BorderReciprocals<R> kReciprocals{};

    // Cut of the window of column (or row) x in an image of `size` columns
    // (rows) of at least 2R+1: 0 inside, up to R at the edges.
    static inline int cutAt(ptrdiff_t x, ptrdiff_t size) {
        return x < R ? static_cast<int>(R - x) : x + R >= size ? static_cast<int>(x + R - (size - 1)) : 0;
    }

    // Eight outputs x .. x+7 from the column sums of columns x-8 .. x+15,
    // of which x-R .. x+7+R are used.
    static constexpr int kFirstBlock = (8 - R) / 4, kLastBlock = (15 + R) / 4;
    using Window = LaneRow<6>;
    static inline Window windowAt(const uint32_t* sums) {  // sums: column x - 8
        Window window;
        for (int k = 0; k < 6; ++k)
            window.q[k] = k >= kFirstBlock && k <= kLastBlock ? vld1q_u32(sums + 4 * k) : vdupq_n_u32(0);
        return window;
    }
    static OMBRIX_ALWAYS_INLINE void outputs8(const Window& window, Pixel* out, const Reciprocals4& low,
                                              const Reciprocals4& high) {
        Pixels::store(out, {divideSum<Pixel>(horizontalAt<R, 8>(window), low),
                            divideSum<Pixel>(horizontalAt<R, 12>(window), high)});
    }

    // The same for outputs x .. x+7 of which some lie within R of an edge.
    static __attribute__((noinline)) void edgeOutputs8(const uint32_t* sums, Pixel* out, ptrdiff_t x, ptrdiff_t width,
                                                       int rowCut) {
        LaneReciprocal lanes[8];
        for (int l = 0; l < 8; ++l) lanes[l] = kReciprocals.of[rowCut][cutAt(x + l, width)];
        outputs8(windowAt(sums), out, reciprocals4(lanes), reciprocals4(lanes + 4));
    }

    // The first R rows (top) or the last R rows, in chunks of outputs
    // [x0, x0 + n), n >= 8. Counted from that edge, output row y < R takes
    // the source rows k = 0 .. y + R with tap taps[R - y + k] (for the last
    // rows by the kernel's symmetry), so all R rows are summed in one pass
    // that loads each of the 2R source rows once. mid[y][kLead + c - (x0 - R)]
    // is the column sum of column c for row y, zero outside the image; the
    // eight entries on either side are read into unused lanes only.
    static void edgeRows(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                         uint32_t dstStride, bool top) {
        const Pixel* rows[2 * R];
        Pixel* outs[R];
        for (int k = 0; k < 2 * R; ++k) rows[k] = rowAt(src, srcStride, top ? k : height - 1 - k);
        for (int y = 0; y < R; ++y) outs[y] = rowAt(dst, dstStride, top ? y : height - 1 - y);
        const ptrdiff_t w = width;
        uint32_t mid[R][kLead + kChunk + 2 * R + kLead] = {};
        for (ptrdiff_t x0 = 0; x0 < w; x0 += kChunk) {
            ptrdiff_t n = w - x0 < kChunk ? w - x0 : kChunk;
            if (n < 8) {  // a short last chunk moves back to eight outputs
                x0 = w - 8;
                n = 8;
            }
            const ptrdiff_t base = x0 - R;
            const ptrdiff_t first = base > 0 ? base : 0;
            const ptrdiff_t last = x0 + n + R < w ? x0 + n + R : w;
            for (int y = 0; y < R; ++y) {
                for (ptrdiff_t c = base; c < first; ++c) mid[y][kLead + c - base] = 0;
                for (ptrdiff_t c = last; c < x0 + n + R; ++c) mid[y][kLead + c - base] = 0;
            }
            // Blocks of eight columns inside the image (there are at least
            // eight), the last one moved back to end at `last`.
            auto columns = [&](ptrdiff_t c) {
                Sums sums[R];
#pragma GCC unroll 10
                for (int k = 0; k < 2 * R; ++k) {
                    const typename Pixels::Block input = Pixels::load(rows[k] + c);
#pragma GCC unroll 5
                    for (int y = 0; y < R; ++y)
                        if (k <= y + R) sums[y].add(input, Binomial<R>::taps[R - y + k]);
                }
                for (int y = 0; y < R; ++y) {
                    const Lanes8 lanes = sums[y].lanes();
                    vst1q_u32(mid[y] + kLead + (c - base), lanes.low);
                    vst1q_u32(mid[y] + kLead + (c - base) + 4, lanes.high);
                }
            };
            ptrdiff_t c = first;
            for (; c + 8 <= last; c += 8) columns(c);
            if (c < last) columns(last - 8);
            for (int y = 0; y < R; ++y) {
                const int rowCut = R - y;
                const Reciprocals4 inside = reciprocals4(kReciprocals.of[rowCut][0]);
                // Outputs x .. x+7 read mid from column x - 8 on.
                auto outputs = [&](ptrdiff_t x) {
                    const uint32_t* sums = mid[y] + kLead + (x - 8 - base);
                    if (x >= R && x + 8 + R <= w)
                        outputs8(windowAt(sums), outs[y] + x, inside, inside);
                    else
                        edgeOutputs8(sums, outs[y] + x, x, w, rowCut);
                };
                ptrdiff_t x = x0;
                for (; x + 8 <= x0 + n; x += 8) outputs(x);
                if (x < x0 + n) outputs(x0 + n - 8);
            }
        }
    }

    // The side columns: kQuads groups of four columns on the left (from
    // column 0) and kQuads on the right (ending at the last column), 2R
    // columns each side at least; a block of eight lanes is two groups, so
    // with an odd kQuads one block holds the last left group and the first
    // right one. The outputs of a side are the eight lanes at its edge.

    // Reciprocals of the eight output lanes of each side (rows with a full
    // window): left lane l is column l, right lane l column width - 8 + l.
    struct SideReciprocals {
        uint32_t multiplier[2][8];
        int32_t negatedShift[2][8];
        constexpr SideReciprocals() : multiplier{}, negatedShift{} {
            for (int l = 0; l < 8; ++l) {
                const LaneReciprocal left = kReciprocals.of[0][l < R ? R - l : 0];
                const LaneReciprocal right = kReciprocals.of[0][7 - l < R ? R - (7 - l) : 0];
                multiplier[0][l] = left.multiplier;
                negatedShift[0][l] = left.negatedShift;
                multiplier[1][l] = right.multiplier;
                negatedShift[1][l] = right.negatedShift;
            }
        }
    };
    static constexpr SideReciprocals kSideReciprocals{};

    static inline Reciprocals4 sideReciprocals(int side, int half) {
        return {vld1q_u32(kSideReciprocals.multiplier[side] + 4 * half),
                vld1q_s32(kSideReciprocals.negatedShift[side] + 4 * half)};
    }

    // Four quotients centred on lanes O .. O+3 of a side's column sums,
    // divided with the reciprocals of that side's output lanes
    // 4 * half .. 4 * half + 3.
    template <int O, int N>
    static OMBRIX_ALWAYS_INLINE uint32x4_t sideQuotients(const LaneRow<N>& sums, int side, int half) {
        return divideSum<Pixel>(horizontalAt<R, O>(sums), sideReciprocals(side, half));
    }

    // The R outputs of one side when they take two groups of four lanes
    // (R > 4), out of line: the eleven-tap kernel's column sums and output
    // lanes together would not fit the registers. `out` is the side's first
    // output pixel.
    static __attribute__((noinline)) void leftOutputs(const LaneRow<kQuads>& left, Pixel* out) {
        Pixel quotients[8];
        Pixels::store(quotients, {sideQuotients<0>(left, 0, 0), sideQuotients<4>(left, 0, 1)});
        memcpy(out, quotients, R * sizeof(Pixel));
    }
    static __attribute__((noinline)) void rightOutputs(const LaneRow<kQuads>& right, Pixel* out) {
        constexpr int kEnd = 4 * kQuads;
        Pixel quotients[8];
        Pixels::store(quotients, {sideQuotients<kEnd - 8>(right, 1, 0), sideQuotients<kEnd - 4>(right, 1, 1)});
        memcpy(out, quotients + 8 - R, R * sizeof(Pixel));
    }

    // The R outermost pixels on each side of the rows with a full window.
    // Each side's column sums stay in registers, lanes beyond the image
    // edge reading as zero; lanes beyond the other end of a side are never
    // reached by its R outputs.
    static void sides(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                      uint32_t dstStride) {
        ptrdiff_t quadColumn[2 * kQuads];
        for (int q = 0; q < 2 * kQuads; ++q)
            quadColumn[q] = q < kQuads ? 4 * q : static_cast<ptrdiff_t>(width) - 4 * (2 * kQuads - q);
        for (uint32_t y = R; y + R < height; ++y) {
            const Pixel* top = rowAt(src, srcStride, y - R);
            // Column sums of all blocks, the window's rows taken in turn.
            Sums blocks[kQuads];
            const Pixel* row = top;
#pragma GCC unroll 11
            for (int j = 0; j < kTaps; ++j, row += srcStride) {
#pragma GCC unroll 3
                for (int b = 0; b < kQuads; ++b) {
                    const ptrdiff_t low = quadColumn[2 * b], high = quadColumn[2 * b + 1];
                    const bool contiguous = 2 * b + 1 < kQuads || 2 * b >= kQuads;
                    blocks[b].add(contiguous ? Pixels::load(row + low) : Pixels::load(row + low, row + high),
                                  Binomial<R>::taps[j]);
                }
            }
            LaneRow<2 * kQuads> lanes;  // left groups, then right groups
            for (int b = 0; b < kQuads; ++b) {
                const Lanes8 sums = blocks[b].lanes();
                lanes.q[2 * b] = sums.low;
                lanes.q[2 * b + 1] = sums.high;
            }
            LaneRow<kQuads> left, right;
            for (int q = 0; q < kQuads; ++q) {
                left.q[q] = lanes.q[q];
                right.q[q] = lanes.q[kQuads + q];
            }
            // Up to R = 4 one group of four lanes per side: the left outputs
            // in lanes 0 .. R-1 and the right ones in lanes 8-R .. 7 of one
            // store.
            Pixel* out = rowAt(dst, dstStride, y);
            if constexpr (R <= 4) {
                constexpr int kEnd = 4 * kQuads;  // one past the last lane of a side
                Pixel quotients[8];
                Pixels::store(quotients, {sideQuotients<0>(left, 0, 0), sideQuotients<kEnd - 4>(right, 1, 1)});
                memcpy(out, quotients, R * sizeof(Pixel));
                memcpy(out + width - R, quotients + 8 - R, R * sizeof(Pixel));
            } else {
                leftOutputs(left, out);
                rightOutputs(right, out + width - R);
            }
        }
    }
};

// Every border pixel, exactly as blurBorderReference computes it.
template <typename Pixel, int R>
void blurBorderVector(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                      uint32_t dstStride) {
    BorderVector<Pixel, R>::run(src, width, height, srcStride, dst, dstStride);
}

}  // namespace

}  // namespace ombrix_blur

#endif  // OMBRIX_BLUR_BORDER_LANES_H
