// 36-value gradient descriptor of a 17x17 patch, vector variant. Each
// interior row is one 16-lane step (lane l is patch column l + 1; lane 15
// has weight 0): the weighted x and y differences are summed per column over
// the five rows of a cell row (signed sums in 32 bits, magnitudes in 16:
// 5 * 44 * 255 = 56100), then per cell over its five columns. The integer
// cell sums equal the reference's; clamping, scaling by 127 / m and the
// truncating conversion then run on the 36 values as nine 4-lane vectors
// with the reference's single float multiply per value.
#include <cstring>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixDescriptorScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

using namespace ombrix_descriptor;

namespace {

// The weight table's weights, one 16-byte row per interior patch row.
struct RowWeights {
    uint8_t w[15][16];
};
constexpr RowWeights makeRowWeights() {
    RowWeights r{};
    for (uint32_t row = 0; row < 15; ++row)
        for (uint32_t col = 0; col < 15; ++col) r.w[row][col] = kWeightTable[2 * (15 * row + col)];
    return r;
}
constexpr RowWeights kRowWeights = makeRowWeights();

// Sums of the five lanes of each cell column (lanes 0..4, 5..9, 10..14).
template <typename T>
OMBRIX_ALWAYS_INLINE void cellSums(const T* columns, int32_t* acc, uint32_t offset) {
    for (uint32_t cell = 0; cell < 3; ++cell) {
        const T* c = columns + 5 * cell;
        acc[4 * cell + offset] = int32_t{c[0]} + c[1] + c[2] + c[3] + c[4];
    }
}

// Accumulators 12 * cellRow .. 12 * cellRow + 11 over patch rows
// 5 * cellRow + 1 .. 5 * cellRow + 5.
OMBRIX_ALWAYS_INLINE void cellRow(const uint8_t* patch, uint32_t cellRowIndex, int32_t* acc) {
    int32x4_t sx[4], sy[4];
    uint16x8_t ax[2], ay[2];
    for (uint32_t i = 0; i < 4; ++i) sx[i] = sy[i] = vdupq_n_s32(0);
    for (uint32_t i = 0; i < 2; ++i) ax[i] = ay[i] = vdupq_n_u16(0);
    for (uint32_t r = 0; r < 5; ++r) {
        const uint32_t row = 5 * cellRowIndex + r + 1;
        const uint8_t* p = patch + row * kPatchSize;
        const uint8x16_t left = vld1q_u8(p), right = vld1q_u8(p + 2);
        const uint8x16_t up = vld1q_u8(p + 1 - kPatchSize), down = vld1q_u8(p + 1 + kPatchSize);
        const uint8x16_t w = vld1q_u8(kRowWeights.w[row - 1]);
        const int16x8_t gx[2] = {vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(right), vget_low_u8(left))),
                                 vreinterpretq_s16_u16(vsubl_u8(vget_high_u8(right), vget_high_u8(left)))};
        const int16x8_t gy[2] = {vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(down), vget_low_u8(up))),
                                 vreinterpretq_s16_u16(vsubl_u8(vget_high_u8(down), vget_high_u8(up)))};
        const int16x8_t ws[2] = {vreinterpretq_s16_u16(vmovl_u8(vget_low_u8(w))),
                                 vreinterpretq_s16_u16(vmovl_u8(vget_high_u8(w)))};
        for (uint32_t h = 0; h < 2; ++h) {
            const int16x8_t t1 = vmulq_s16(gx[h], ws[h]), t2 = vmulq_s16(gy[h], ws[h]);
            sx[2 * h] = vaddw_s16(sx[2 * h], vget_low_s16(t1));
            sx[2 * h + 1] = vaddw_s16(sx[2 * h + 1], vget_high_s16(t1));
            sy[2 * h] = vaddw_s16(sy[2 * h], vget_low_s16(t2));
            sy[2 * h + 1] = vaddw_s16(sy[2 * h + 1], vget_high_s16(t2));
            ax[h] = vaddq_u16(ax[h], vreinterpretq_u16_s16(vabsq_s16(t1)));
            ay[h] = vaddq_u16(ay[h], vreinterpretq_u16_s16(vabsq_s16(t2)));
        }
    }
    int32_t colX[16], colY[16];
    uint16_t colAX[16], colAY[16];
    for (uint32_t i = 0; i < 4; ++i) vst1q_s32(colX + 4 * i, sx[i]), vst1q_s32(colY + 4 * i, sy[i]);
    for (uint32_t i = 0; i < 2; ++i) vst1q_u16(colAX + 8 * i, ax[i]), vst1q_u16(colAY + 8 * i, ay[i]);
    int32_t* cells = acc + 12 * cellRowIndex;
    cellSums(colX, cells, 0);
    cellSums(colY, cells, 1);
    cellSums(colAX, cells, 2);
    cellSums(colAY, cells, 3);
}

OMBRIX_ALWAYS_INLINE int32_t maxAcross(int32x4_t v) {
    const int32x2_t m = vpmax_s32(vget_low_s32(v), vget_high_s32(v));
    return vget_lane_s32(vpmax_s32(m, m), 0);
}
OMBRIX_ALWAYS_INLINE int32_t minAcross(int32x4_t v) {
    const int32x2_t m = vpmin_s32(vget_low_s32(v), vget_high_s32(v));
    return vget_lane_s32(vpmin_s32(m, m), 0);
}
OMBRIX_ALWAYS_INLINE int8x16_t narrow16(const int32x4_t* v) {
    return vcombine_s8(vmovn_s16(vcombine_s16(vmovn_s32(v[0]), vmovn_s32(v[1]))),
                       vmovn_s16(vcombine_s16(vmovn_s32(v[2]), vmovn_s32(v[3]))));
}

}  // namespace

int32_t obxDescriptor17x17u8To36s8V(const uint8_t* patch, int8_t* descriptorChar, int32_t* descriptorNormSq) {
    OMBRIX_ASSERT(patch && descriptorChar && descriptorNormSq);
    int32_t acc[kValues];
    for (uint32_t cr = 0; cr < 3; ++cr) cellRow(patch, cr, acc);

    // Squares are below 2^31 (|acc| <= 44 * 255 * 25 >> 3); their sum wraps
    // in 32 bits as the reference's does.
    int32x4_t v[9];
    uint32x4_t squares = vdupq_n_u32(0);
    int32x4_t largestLanes = vdupq_n_s32(0);
    for (uint32_t i = 0; i < 9; ++i) {
        v[i] = vshrq_n_s32(vld1q_s32(acc + 4 * i), 3);
        squares = vaddq_u32(squares, vreinterpretq_u32_s32(vmulq_s32(v[i], v[i])));
        largestLanes = vmaxq_s32(largestLanes, vabsq_s32(v[i]));
    }
    const uint32_t normSq = sumAcrossU32(squares);
    if (normSq == 0) return -1;

    const int32_t limit = clampLimit(normSq);
    const int32_t largest = maxAcross(largestLanes);
    const int32_t m = largest > limit ? limit : largest;
    const float scale = 127.0f / static_cast<float>(m);
    const int32x4_t high = vdupq_n_s32(limit), low = vnegq_s32(high);
    int32x4_t lowest = vdupq_n_s32(0), highest = vdupq_n_s32(0), outSquares = vdupq_n_s32(0);
    for (uint32_t i = 0; i < 9; ++i) {
        const int32x4_t clamped = vminq_s32(vmaxq_s32(v[i], low), high);
        v[i] = vcvtq_s32_f32(vmulq_n_f32(vcvtq_f32_s32(clamped), scale));
        lowest = vminq_s32(lowest, v[i]);
        highest = vmaxq_s32(highest, v[i]);
        outSquares = vmlaq_s32(outSquares, v[i], v[i]);
    }
    int32_t val = minAcross(lowest);
    OMBRIX_ASSERT(val>=-127 && val<=127);
    val = maxAcross(highest);
    OMBRIX_ASSERT(val>=-127 && val<=127);

    vst1q_s8(descriptorChar, narrow16(v));
    vst1q_s8(descriptorChar + 16, narrow16(v + 4));
    int8_t tail[8];
    vst1_s8(tail, vmovn_s16(vcombine_s16(vmovn_s32(v[8]), vdup_n_s16(0))));
    memcpy(descriptorChar + 32, tail, 4);
    *descriptorNormSq = static_cast<int32_t>(sumAcrossU32(vreinterpretq_u32_s32(outSquares)));
    return 0;
}
