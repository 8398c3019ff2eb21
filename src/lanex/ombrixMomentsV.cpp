// Tile moments, vector variants.
//
// Integer weights: each row is cut into chunks of up to 32 columns whose
// local sums t_k = sum of j^k * w (j = column within the chunk, k = 0..3)
// gather in u32 lanes (u8; at most 255 * sum j^3 < 2^26) or s64 lanes (s32),
// and are moved to the chunk's columns by the binomial rule in 64-bit
// arithmetic. All sums are exact modulo 2^64, so they equal the reference's.
//
// float32 weights: four lanes hold columns x = 4i + l with the reference's
// products and sums (this file is built without fused multiply-add).
#include "ombrixKernels.h"
#include "ombrixMomentsScalar.h"
#include "ombrixNeon.h"

namespace {

// j, j^2 and j^3 for j = 0..31.
struct Powers {
    uint16_t u16[3][32] = {};
    int32_t s32[3][32] = {};
    constexpr Powers() {
        for (int j = 0; j < 32; ++j) {
            u16[0][j] = static_cast<uint16_t>(j), u16[1][j] = static_cast<uint16_t>(j * j);
            u16[2][j] = static_cast<uint16_t>(j * j * j);
            s32[0][j] = j, s32[1][j] = j * j, s32[2][j] = j * j * j;
        }
    }
};
constexpr Powers powers;

void rowU8(const uint8_t* row, uint32_t width, uint64_t s[4]) {
    uint32_t x = 0;
    while (x + 8 <= width) {
        const uint32_t steps = (width - x) / 8 < 4 ? (width - x) / 8 : 4;
        uint32x4_t t0 = vdupq_n_u32(0), t1 = t0, t2 = t0, t3 = t0;
        for (uint32_t i = 0; i < steps; ++i) {
            const uint16x8_t w = vmovl_u8(vld1_u8(row + x + 8 * i));
            const uint16x4_t lo = vget_low_u16(w), hi = vget_high_u16(w);
            t0 = vpadalq_u16(t0, w);
            t1 = vmlal_u16(vmlal_u16(t1, lo, vld1_u16(powers.u16[0] + 8 * i)), hi, vld1_u16(powers.u16[0] + 8 * i + 4));
            t2 = vmlal_u16(vmlal_u16(t2, lo, vld1_u16(powers.u16[1] + 8 * i)), hi, vld1_u16(powers.u16[1] + 8 * i + 4));
            t3 = vmlal_u16(vmlal_u16(t3, lo, vld1_u16(powers.u16[2] + 8 * i)), hi, vld1_u16(powers.u16[2] + 8 * i + 4));
        }
        momentsAddBlock(s, x, sumAcrossU32(t0), sumAcrossU32(t1), sumAcrossU32(t2), sumAcrossU32(t3));
        x += 8 * steps;
    }
    for (; x < width; ++x) momentsAddPixel(s, x, row[x]);
}

uint64_t sumAcrossS64(int64x2_t v) {
    return static_cast<uint64_t>(vgetq_lane_s64(v, 0)) + static_cast<uint64_t>(vgetq_lane_s64(v, 1));
}

void rowS32(const int32_t* row, uint32_t width, uint64_t s[4]) {
    uint32_t x = 0;
    while (x + 4 <= width) {
        const uint32_t steps = (width - x) / 4 < 8 ? (width - x) / 4 : 8;
        int64x2_t t0 = vdupq_n_s64(0), t1 = t0, t2 = t0, t3 = t0;
        for (uint32_t i = 0; i < steps; ++i) {
            const int32x4_t w = vld1q_s32(row + x + 4 * i);
            const int32x2_t lo = vget_low_s32(w), hi = vget_high_s32(w);
            t0 = vpadalq_s32(t0, w);
            t1 = vmlal_s32(vmlal_s32(t1, lo, vld1_s32(powers.s32[0] + 4 * i)), hi, vld1_s32(powers.s32[0] + 4 * i + 2));
            t2 = vmlal_s32(vmlal_s32(t2, lo, vld1_s32(powers.s32[1] + 4 * i)), hi, vld1_s32(powers.s32[1] + 4 * i + 2));
            t3 = vmlal_s32(vmlal_s32(t3, lo, vld1_s32(powers.s32[2] + 4 * i)), hi, vld1_s32(powers.s32[2] + 4 * i + 2));
        }
        momentsAddBlock(s, x, sumAcrossS64(t0), sumAcrossS64(t1), sumAcrossS64(t2), sumAcrossS64(t3));
        x += 4 * steps;
    }
    for (; x < width; ++x) momentsAddPixel(s, x, static_cast<uint64_t>(static_cast<int64_t>(row[x])));
}

template <typename T, void (*Row)(const T*, uint32_t, uint64_t*)>
void integerMoments(const T* src, uint32_t width, uint32_t height, uint32_t stride, bool isSigned,
                    double moments[10]) {
    uint64_t m[10] = {};
    for (uint32_t y = 0; y < height; ++y) {
        uint64_t s[4] = {};
        Row(reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + size_t{y} * stride), width, s);
        momentsAddRow(m, y, s);
    }
    momentsFinish(m, isSigned, moments);
}

float combineLanes(float32x4_t v) {
    return (vgetq_lane_f32(v, 0) + vgetq_lane_f32(v, 2)) + (vgetq_lane_f32(v, 1) + vgetq_lane_f32(v, 3));
}

}  // namespace

void obxMomentsInTileu8V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    integerMoments<uint8_t, rowU8>(src, width, height, stride, false, moments);
}

void obxMomentsInTiles32V(const int32_t* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    integerMoments<int32_t, rowS32>(src, width, height, stride, true, moments);
}

void obxMomentsInTilef32V(const float* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    static const float firstColumns[4] = {0, 1, 2, 3};
    double m[10] = {};
    const uint32_t body = width & ~3u;
    for (uint32_t y = 0; y < height; ++y) {
        const float* row = reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(src) + size_t{y} * stride);
        float32x4_t l0 = vdupq_n_f32(0), l1 = l0, l2 = l0, l3 = l0;
        float32x4_t xs = vld1q_f32(firstColumns);
        const float32x4_t four = vdupq_n_f32(4);
        for (uint32_t x = 0; x < body; x += 4) {
            float32x4_t p = vld1q_f32(row + x);
            l0 = vaddq_f32(l0, p);
            p = vmulq_f32(xs, p), l1 = vaddq_f32(l1, p);
            p = vmulq_f32(xs, p), l2 = vaddq_f32(l2, p);
            p = vmulq_f32(xs, p), l3 = vaddq_f32(l3, p);
            xs = vaddq_f32(xs, four);
        }
        float s[4] = {combineLanes(l0), combineLanes(l1), combineLanes(l2), combineLanes(l3)};
        momentsTailF32(row, body, width, s);
        momentsAddRowF32(m, y, s);
    }
    for (int i = 0; i < 10; ++i) moments[i] = m[i];
}
