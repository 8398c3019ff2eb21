// The border of the vector binomial filters, for every element type and
// radius. A border pixel is the weighted sum over the taps inside the image
// divided by the weight of those taps. The kernel is separable, so that
// weight is rowWeight(y) * columnWeight(x), where each factor is the sum of
// the 1-D taps that stay inside the image: the border is the separable kernel
// run over zero-padded rows and columns, followed by a per-lane division.
//
//   - The first and last R rows are done in full: column sums over the rows
//     inside go to a buffer with zeros for the columns outside, then the
//     horizontal kernel reads eight outputs at a time from it.
//   - The other rows need only their R outermost pixels on each side. The
//     2R columns next to each edge are gathered into one buffer (left columns
//     first, then right columns), with zeros beyond both ends; the left
//     outputs only reach left columns and the right outputs only right ones.
//
// Division is exact: n / d = (n * m) >> (32 + s) with 2^s < d <= 2^(s+1) and
// m = ceil(2^(32+s) / d), for every 0 <= n <= 2^31 (see reciprocalOf).
// Signed images divide the magnitude and restore the sign, which truncates
// toward zero like the reference.
//
// Images too small for this layout (fewer than 2R+1 rows, or too few columns
// for an edge step that does not reach the other edge) take the scalar
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

// Loading and accumulating per element type: Sums<R> holds the column sums
// of eight columns; add() takes eight pixels of one row (contiguous, or two
// groups of four) times a tap, addPair() two rows with the same tap.
// store() narrows eight results back to pixels.
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
    // Column sums up to 16 * 255 (R <= 2) stay in u16 lanes and are widened
    // once; larger ones (below 2^28) are widened row by row.
    template <int R>
    struct Sums {
        uint16x8_t narrow = vdupq_n_u16(0);
        Lanes8 wide = {vdupq_n_u32(0), vdupq_n_u32(0)};
        inline void add(Block block, uint32_t tap) {
            if constexpr (R <= 2) {
                narrow = vmlal_u8(narrow, block, vdup_n_u8(static_cast<uint8_t>(tap)));
            } else {
                addWide(vmovl_u8(block), tap);
            }
        }
        inline void addPair(Block a, Block b, uint32_t tap) {
            if constexpr (R <= 2) {
                add(a, tap);
                add(b, tap);
            } else {
                addWide(vaddl_u8(a, b), tap);  // a pair of u8 fits u16
            }
        }
        // A row that feeds several sums is widened once.
        static inline auto widen(Block block) {
            if constexpr (R <= 2) return block;
            else return vmovl_u8(block);
        }
        inline void add(uint16x8_t pixels, uint32_t tap) { addWide(pixels, tap); }
        inline void addWide(uint16x8_t pixels, uint32_t tap) {
            wide.low = vmlal_n_u16(wide.low, vget_low_u16(pixels), static_cast<uint16_t>(tap));
            wide.high = vmlal_n_u16(wide.high, vget_high_u16(pixels), static_cast<uint16_t>(tap));
        }
        inline Lanes8 lanes() const {
            if constexpr (R <= 2) return {vmovl_u16(vget_low_u16(narrow)), vmovl_u16(vget_high_u16(narrow))};
            return wide;
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
        static inline Block widen(Block block) { return block; }
        inline void add(Block block, uint32_t tap) {
            const int16_t t = static_cast<int16_t>(tap);
            low = vmlal_n_s16(low, vget_low_s16(block), t);
            high = vmlal_n_s16(high, vget_high_s16(block), t);
        }
        inline void addPair(Block a, Block b, uint32_t tap) {
            add(a, tap);
            add(b, tap);
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
        static inline Block widen(Block block) { return block; }
        inline void add(Block block, uint32_t tap) {
            sums.low = vmlaq_n_u32(sums.low, block.low, tap);
            sums.high = vmlaq_n_u32(sums.high, block.high, tap);
        }
        inline void addPair(Block a, Block b, uint32_t tap) {
            add({vaddq_u32(a.low, b.low), vaddq_u32(a.high, b.high)}, tap);
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
    const uint32x4_t product = vcombine_u32(vshrn_n_u64(low, 32), vshrn_n_u64(high, 32));
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

// Horizontal kernel of four outputs: out[k] from mid[k .. k+2R].
template <int R>
inline uint32x4_t horizontal4(const uint32_t* mid) {
    uint32x4_t sum = vmulq_n_u32(vld1q_u32(mid + R), Binomial<R>::taps[R]);
    for (int i = 0; i < R; ++i)
        sum = vmlaq_n_u32(sum, vaddq_u32(vld1q_u32(mid + i), vld1q_u32(mid + 2 * R - i)), Binomial<R>::taps[i]);
    return sum;
}

template <typename Pixel, int R>
class BorderVector {
public:
    // Images narrower than this, or with fewer than 2R+1 rows, take the
    // scalar border (see the top of the file).
    static constexpr uint32_t kMinWidth = 2 * R + 8;

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
    static constexpr BorderReciprocals<R> kReciprocals{};

    // Cut of the window of column (or row) x in an image of `size` columns
    // (rows) of at least 2R+1: 0 inside, up to R at the edges.
    static inline int cutAt(ptrdiff_t x, ptrdiff_t size) {
        return x < R ? static_cast<int>(R - x) : x + R >= size ? static_cast<int>(x + R - (size - 1)) : 0;
    }

    // Eight outputs from the column sums sums[0 .. 7 + 2R].
    static OMBRIX_ALWAYS_INLINE void outputs8(const uint32_t* sums, Pixel* out, const Reciprocals4& low,
                                              const Reciprocals4& high) {
        Pixels::store(out, {divideSum<Pixel>(horizontal4<R>(sums), low),
                            divideSum<Pixel>(horizontal4<R>(sums + 4), high)});
    }

    // The same for outputs x .. x+7 of which some lie within R of an edge.
    static __attribute__((noinline)) void edgeOutputs8(const uint32_t* sums, Pixel* out, ptrdiff_t x, ptrdiff_t width,
                                                       int rowCut) {
        LaneReciprocal lanes[8];
        for (int l = 0; l < 8; ++l) lanes[l] = kReciprocals.of[rowCut][cutAt(x + l, width)];
        outputs8(sums, out, reciprocals4(lanes), reciprocals4(lanes + 4));
    }

    // The first R rows (top) or the last R rows, in chunks of outputs
    // [x0, x0 + n), n >= 8. Counted from that edge, output row y < R takes
    // the source rows k = 0 .. y + R with tap taps[R - y + k] (for the last
    // rows by the kernel's symmetry), so all R rows are summed in one pass
    // that loads each of the 2R source rows once. mid[y][c - (x0 - R)] is the
    // column sum of column c for row y, zero outside the image.
    static void edgeRows(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                         uint32_t dstStride, bool top) {
        const Pixel* rows[2 * R];
        Pixel* outs[R];
        for (int k = 0; k < 2 * R; ++k) rows[k] = rowAt(src, srcStride, top ? k : height - 1 - k);
        for (int y = 0; y < R; ++y) outs[y] = rowAt(dst, dstStride, top ? y : height - 1 - y);
        const ptrdiff_t w = width;
        uint32_t mid[R][kChunk + 2 * R];
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
                for (ptrdiff_t c = base; c < first; ++c) mid[y][c - base] = 0;
                for (ptrdiff_t c = last; c < x0 + n + R; ++c) mid[y][c - base] = 0;
            }
            // Blocks of eight columns inside the image (there are at least
            // eight), the last one moved back to end at `last`.
            auto columns = [&](ptrdiff_t c) {
                Sums sums[R];
#pragma GCC unroll 10
                for (int k = 0; k < 2 * R; ++k) {
                    const auto input = Sums::widen(Pixels::load(rows[k] + c));
#pragma GCC unroll 5
                    for (int y = 0; y < R; ++y)
                        if (k <= y + R) sums[y].add(input, Binomial<R>::taps[R - y + k]);
                }
                for (int y = 0; y < R; ++y) {
                    const Lanes8 lanes = sums[y].lanes();
                    vst1q_u32(mid[y] + (c - base), lanes.low);
                    vst1q_u32(mid[y] + (c - base) + 4, lanes.high);
                }
            };
            ptrdiff_t c = first;
            for (; c + 8 <= last; c += 8) columns(c);
            if (c < last) columns(last - 8);
            for (int y = 0; y < R; ++y) {
                const int rowCut = R - y;
                const Reciprocals4 inside = reciprocals4(kReciprocals.of[rowCut][0]);
                // Outputs x .. x+7 read mid from column x - R on.
                auto outputs = [&](ptrdiff_t x) {
                    if (x >= R && x + 8 + R <= w)
                        outputs8(mid[y] + (x - R - base), outs[y] + x, inside, inside);
                    else
                        edgeOutputs8(mid[y] + (x - R - base), outs[y] + x, x, w, rowCut);
                };
                ptrdiff_t x = x0;
                for (; x + 8 <= x0 + n; x += 8) outputs(x);
                if (x < x0 + n) outputs(x0 + n - 8);
            }
        }
    }

    // Lanes of the side columns: kQuads groups of four columns on the left
    // (from column 0) and kQuads on the right (ending at the last column),
    // 2R columns each side at least; a block of eight lanes is two groups.
    static constexpr int kQuads = (2 * R + 3) / 4;
    static constexpr int kLanes = 8 * kQuads;
    // Groups of four outputs per side: the left ones start at lane 0, the
    // right ones end at the last lane.
    static constexpr int kOutputGroups = (R + 3) / 4;
    static constexpr int kOutputLanes = 4 * kOutputGroups;

    // Reciprocals of the side outputs (rows with a full window): lane l of
    // the left groups is column l, lane l of the right groups is column
    // width - kOutputLanes + l.
    struct SideReciprocals {
        uint32_t multiplier[2][kOutputLanes];
        int32_t negatedShift[2][kOutputLanes];
        constexpr SideReciprocals() : multiplier{}, negatedShift{} {
            for (int l = 0; l < kOutputLanes; ++l) {
                const int fromEnd = kOutputLanes - 1 - l;
                const LaneReciprocal left = kReciprocals.of[0][l < R ? R - l : 0];
                const LaneReciprocal right = kReciprocals.of[0][fromEnd < R ? R - fromEnd : 0];
                multiplier[0][l] = left.multiplier;
                negatedShift[0][l] = left.negatedShift;
                multiplier[1][l] = right.multiplier;
                negatedShift[1][l] = right.negatedShift;
            }
        }
    };
    static constexpr SideReciprocals kSideReciprocals{};

    // The R outermost pixels on each side of the rows with a full window.
    // mid[R + lane] holds the column sum of a lane, with R zeros before the
    // first lane and after the last: the left outputs reach only left lanes,
    // the right outputs only right ones.
    static void sides(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                      uint32_t dstStride) {
        ptrdiff_t quadColumn[2 * kQuads];
        for (int q = 0; q < 2 * kQuads; ++q)
            quadColumn[q] = q < kQuads ? 4 * q : static_cast<ptrdiff_t>(width) - 4 * (2 * kQuads - q);
        Reciprocals4 reciprocals[2][kOutputGroups];
        for (int side = 0; side < 2; ++side)
            for (int g = 0; g < kOutputGroups; ++g)
                reciprocals[side][g] = {vld1q_u32(kSideReciprocals.multiplier[side] + 4 * g),
                                        vld1q_s32(kSideReciprocals.negatedShift[side] + 4 * g)};
        uint32_t mid[R + kLanes + R] = {};
        for (uint32_t y = R; y + R < height; ++y) {
            const Pixel* top = rowAt(src, srcStride, y - R);
            for (int b = 0; b < kQuads; ++b) {
                const ptrdiff_t low = quadColumn[2 * b], high = quadColumn[2 * b + 1];
                const bool contiguous = 2 * b + 1 < kQuads || 2 * b >= kQuads;
                auto load = [&](int j) {
                    const Pixel* row = top + static_cast<size_t>(j) * srcStride;
                    return contiguous ? Pixels::load(row + low) : Pixels::load(row + low, row + high);
                };
                Sums sums;
                for (int j = 0; j < R; ++j) sums.addPair(load(j), load(2 * R - j), Binomial<R>::taps[j]);
                sums.add(load(R), Binomial<R>::taps[R]);
                const Lanes8 lanes = sums.lanes();
                vst1q_u32(mid + R + 8 * b, lanes.low);
                vst1q_u32(mid + R + 8 * b + 4, lanes.high);
            }
            uint32_t quotients[2][kOutputLanes];
            for (int g = 0; g < kOutputGroups; ++g) {
                vst1q_u32(quotients[0] + 4 * g, divideSum<Pixel>(horizontal4<R>(mid + 4 * g), reciprocals[0][g]));
                vst1q_u32(quotients[1] + 4 * g, divideSum<Pixel>(horizontal4<R>(mid + kLanes - kOutputLanes + 4 * g),
                                                                 reciprocals[1][g]));
            }
            Pixel* out = rowAt(dst, dstStride, y);
            for (int k = 0; k < R; ++k) {
                out[k] = static_cast<Pixel>(quotients[0][k]);
                out[width - R + k] = static_cast<Pixel>(quotients[1][kOutputLanes - R + k]);
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
