// The separable driver of the vector binomial filters. A kernel class K
// supplies the two stages for one element type and radius:
//
//   K::Pixel, K::Mid       image element, column-sum element
//   K::R                   radius
//   K::kColumnLanes        columns per call of K::columns
//   K::kOutputLanes        outputs per call of K::outputs
//   K::columns(rows, x, mid)   vertical kernel of columns x .. x+kColumnLanes-1
//   K::column(rows, x)         the same for one column
//   K::outputs(mid, out)       horizontal kernel: out[j] from mid[j .. j+2R]
//   K::output(mid)             the same for one output
//
// Each interior row is done in chunks: the column sums of the chunk go to a
// stack buffer, then the horizontal kernel reads them back. A stage whose
// count is not a multiple of its lanes finishes with one step overlapping the
// previous one backwards (it rewrites equal values); counts below one step
// use the scalar forms, which compute the same formula. Nothing outside the
// interior columns of the interior rows is read past the image or written.
#ifndef OMBRIX_BLUR_LANES_H
#define OMBRIX_BLUR_LANES_H

#include <stddef.h>
#include <stdint.h>

#include "../cpu/ombrixBlurScalar.h"

namespace ombrix_blur {

// Runs vector(i) over [0, count) in steps of `lanes`, the last step moved
// back to end at count, or scalar(i) for each i when count < lanes.
template <typename Vector, typename Scalar>
static inline void forEachStep(ptrdiff_t count, ptrdiff_t lanes, Vector vector, Scalar scalar) {
    if (count < lanes) {
        for (ptrdiff_t i = 0; i < count; ++i) scalar(i);
        return;
    }
    ptrdiff_t i = 0;
    for (; i + lanes <= count; i += lanes) vector(i);
    if (i < count) vector(count - lanes);
}

template <class K>
static void blurInteriorVector(const typename K::Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               typename K::Pixel* dst, uint32_t dstStride) {
    using Pixel = typename K::Pixel;
    constexpr int R = K::R;
    constexpr ptrdiff_t kChunk = 256;
    const ptrdiff_t interior = interiorWidth(width, R);
    if (interior <= 0 || height <= 2u * R) return;
    typename K::Mid mid[kChunk + 2 * R];
    for (uint32_t y = R; y + R < height; ++y) {
        const Pixel* rows[2 * R + 1];
        for (int j = 0; j <= 2 * R; ++j) rows[j] = rowAt(src, srcStride, y - R + j);
        Pixel* out = rowAt(dst, dstStride, y) + R;
        for (ptrdiff_t start = 0; start < interior; start += kChunk) {
            const ptrdiff_t count = interior - start < kChunk ? interior - start : kChunk;
            // Output column R + start + j needs source columns start + j .. start + j + 2R.
            forEachStep(
                count + 2 * R, K::kColumnLanes, [&](ptrdiff_t i) { K::columns(rows, start + i, mid + i); },
                [&](ptrdiff_t i) { mid[i] = K::column(rows, start + i); });
            forEachStep(
                count, K::kOutputLanes, [&](ptrdiff_t j) { K::outputs(mid + j, out + start + j); },
                [&](ptrdiff_t j) { out[start + j] = K::output(mid + j); });
        }
    }
}

// A whole vector filter: the vector interior, then the shared scalar border
// pass when blurBorder is 1.
template <class K>
static void blurVector(const typename K::Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                       typename K::Pixel* dst, uint32_t dstStride, uint32_t blurBorder) {
    blurInteriorVector<K>(src, width, height, srcStride, dst, dstStride);
    if (blurBorder == 1)
        blurBorderReference<typename K::Pixel, K::R>(src, width, height, srcStride, dst, dstStride);
}

// The scalar forms of both stages, the reference's arithmetic, for a kernel
// whose column sums are stored as Mid (wide enough for every column sum, or
// uint32_t holding them modulo 2^32).
template <typename PixelType, int Radius, typename MidType>
struct ScalarStages {
    using Pixel = PixelType;
    using Mid = MidType;
    static constexpr int R = Radius;
    static Mid column(const Pixel* const* rows, ptrdiff_t x) {
        return static_cast<Mid>(columnSum<Pixel, R>(rows, x));
    }
    static Pixel output(const Mid* mid) { return normaliseShift<Pixel>(rowSum<R>(mid), Binomial<R>::shift); }
};

}  // namespace ombrix_blur

#endif  // OMBRIX_BLUR_LANES_H
