// Pieces of the tile moments shared by the reference and the vector variant:
// per-pixel and per-row accumulation, so that both add in the same order.
//
// Integer weights: the row sums S_k = sum over x of x^k * w (k = 0..3) and the
// ten moments are kept modulo 2^64 (two's complement for s32 weights), which
// is exact while the true values fit in 64 bits and makes any grouping of the
// additions give the same result.
//
// float32 weights: per row, the products w, x*w, x*(x*w), x*(x*(x*w)) are
// rounded to float32 and summed in four float32 lanes over the columns
// x = 4i + l, combined as (l0 + l2) + (l1 + l3), then the last width % 4
// columns are added in order; each row's four sums go to double accumulators
// in row order.
#ifndef OMBRIX_MOMENTS_SCALAR_H
#define OMBRIX_MOMENTS_SCALAR_H

#include <stdint.h>

namespace {

inline void momentsAddPixel(uint64_t s[4], uint32_t x, uint64_t w) {
    const uint64_t x1 = x;
    uint64_t p = w;
    s[0] += p;
    p *= x1, s[1] += p;
    p *= x1, s[2] += p;
    p *= x1, s[3] += p;
}

// Adds to s the sums of a block whose local sums t_k = sum of j^k * w over
// j = 0, 1, ... start at column x0: sum (x0 + j)^k * w by the binomial rule.
inline void momentsAddBlock(uint64_t s[4], uint64_t x0, uint64_t t0, uint64_t t1, uint64_t t2, uint64_t t3) {
    const uint64_t x2 = x0 * x0;
    s[0] += t0;
    s[1] += x0 * t0 + t1;
    s[2] += x2 * t0 + 2 * x0 * t1 + t2;
    s[3] += x2 * x0 * t0 + 3 * x2 * t1 + 3 * x0 * t2 + t3;
}

inline void momentsAddRow(uint64_t m[10], uint32_t y, const uint64_t s[4]) {
    const uint64_t y1 = y, y2 = y1 * y1, y3 = y2 * y1;
    m[0] += s[0], m[1] += s[1], m[2] += y1 * s[0];
    m[3] += s[2], m[4] += y1 * s[1], m[5] += y2 * s[0];
    m[6] += s[3], m[7] += y1 * s[2], m[8] += y2 * s[1], m[9] += y3 * s[0];
}

inline void momentsFinish(const uint64_t m[10], bool isSigned, double moments[10]) {
    for (int i = 0; i < 10; ++i)
        moments[i] = isSigned ? static_cast<double>(static_cast<int64_t>(m[i])) : static_cast<double>(m[i]);
}

// Columns [x, width) of a float row, added in order to s.
inline void momentsTailF32(const float* row, uint32_t x, uint32_t width, float s[4]) {
    for (; x < width; ++x) {
        const float xf = static_cast<float>(x);
        float p = row[x];
        s[0] += p;
        p = xf * p, s[1] += p;
        p = xf * p, s[2] += p;
        p = xf * p, s[3] += p;
    }
}

inline void momentsAddRowF32(double m[10], uint32_t y, const float s[4]) {
    const double y1 = y, y2 = y1 * y1, y3 = y2 * y1;
    const double s0 = s[0], s1 = s[1], s2 = s[2], s3 = s[3];
    m[0] += s0, m[1] += s1, m[2] += y1 * s0;
    m[3] += s2, m[4] += y1 * s1, m[5] += y2 * s0;
    m[6] += s3, m[7] += y1 * s2, m[8] += y2 * s1, m[9] += y3 * s0;
}

}  // namespace

#endif  // OMBRIX_MOMENTS_SCALAR_H
