// The layout of the summed-area tables, shared by the reference and the
// vector variants: both walk the tables the same way and differ only in the
// row kernel.
//
// A table of a width x height block of pixels has (width + 1) x (height + 1)
// entries; row 0 and column 0 are 0, and entry (x + 1, y + 1) is the sum of
// the pixels (x', y') with x' <= x, y' <= y. Row y + 1 is row y plus the
// running sums of pixel row y, which is what a row kernel computes:
//
//   out[i] = above[i] + pixel 0 + ... + pixel i,   i = 0 .. count - 1
//
// (and, for the patch forms, the same over squared pixels into a second
// table). All sums wrap modulo 2^32.
//
// Only static inline code here: the header is compiled both with and without
// NEON, and each object must keep its own copy.
#ifndef OMBRIX_INTEGRAL_TABLES_H
#define OMBRIX_INTEGRAL_TABLES_H

#include <stddef.h>
#include <stdint.h>

// A table being written: its first entry and the distance between rows in
// entries. `data` is null for a table that is not wanted.
struct obxIntegralTable {
    uint32_t* data;
    size_t stride;
};

// The scalar row kernel. Pixel i is pixels[i * step]: step 2 reads one
// channel of a plane of interleaved pairs.
template <bool Squares>
static inline void obxIntegralRowScalar(const uint8_t* pixels, uint32_t step, uint32_t count,
                                        const uint32_t* above, uint32_t* out, const uint32_t* above2,
                                        uint32_t* out2) {
    uint32_t sum = 0, sum2 = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t p = pixels[static_cast<size_t>(i) * step];
        sum += p;
        out[i] = above[i] + sum;
        if (Squares) {
            sum2 += p * p;
            out2[i] = above2[i] + sum2;
        }
    }
}

// Fills the tables `sums` and, when its data is not null, `squares` of a
// width x height block whose rows start srcStride bytes apart. The kernel
// is called as rowKernel(source row, above, out, above2, out2) with the
// table rows' column-1 entries (above2 and out2 null without squares).
template <typename RowKernel>
static inline void obxFillIntegralTables(const uint8_t* src, size_t srcStride, uint32_t width, uint32_t height,
                                         obxIntegralTable sums, obxIntegralTable squares, RowKernel rowKernel) {
    for (uint32_t x = 0; x <= width; ++x) sums.data[x] = 0;
    if (squares.data)
        for (uint32_t x = 0; x <= width; ++x) squares.data[x] = 0;
    for (uint32_t y = 0; y < height; ++y) {
        uint32_t* above = sums.data + y * sums.stride;
        uint32_t* out = above + sums.stride;
        uint32_t* above2 = squares.data ? squares.data + y * squares.stride : nullptr;
        uint32_t* out2 = squares.data ? above2 + squares.stride : nullptr;
        out[0] = 0;
        if (out2) out2[0] = 0;
        rowKernel(src + y * srcStride, above + 1, out + 1, above2 ? above2 + 1 : nullptr, out2 ? out2 + 1 : nullptr);
    }
}

// The patch forms: packed tables with rows of patchWidth + 1 entries.
template <typename RowKernel>
static inline void obxFillPatchTables(const uint8_t* src, uint32_t srcStride, uint32_t patchX, uint32_t patchY,
                                      uint32_t patchWidth, uint32_t patchHeight, uint32_t* dst, uint32_t* dst2,
                                      RowKernel rowKernel) {
    obxFillIntegralTables(src + static_cast<size_t>(patchY) * srcStride + patchX, srcStride, patchWidth, patchHeight,
                          {dst, size_t{patchWidth} + 1}, {dst2, size_t{patchWidth} + 1}, rowKernel);
}

// The exclusive tables of a 4:2:0 frame. An exclusive table of w x h
// entries is the inclusive table of the first (w - 1) x (h - 1) samples, so
// the last sample row and column never enter a sum. The luma kernel reads
// plain rows, the chroma kernels one channel each of the rows of Cb,Cr pairs.
template <typename LumaKernel, typename CbKernel, typename CrKernel>
static inline void obxFillYCbCr420Tables(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                         uint32_t* integralY, uint32_t* integralCb, uint32_t* integralCr,
                                         uint32_t integralYStride, uint32_t integralCbStride,
                                         uint32_t integralCrStride, LumaKernel luma, CbKernel cb, CrKernel cr) {
    const obxIntegralTable none = {nullptr, 0};
    obxFillIntegralTables(srcY, srcYStride, srcWidth - 1, srcHeight - 1,
                          {integralY, integralYStride / sizeof(uint32_t)}, none, luma);
    const uint32_t chromaWidth = srcWidth / 2, chromaHeight = srcHeight / 2;
    if (chromaWidth == 0 || chromaHeight == 0) return;
    obxFillIntegralTables(srcC, srcCStride, chromaWidth - 1, chromaHeight - 1,
                          {integralCb, integralCbStride / sizeof(uint32_t)}, none, cb);
    obxFillIntegralTables(srcC, srcCStride, chromaWidth - 1, chromaHeight - 1,
                          {integralCr, integralCrStride / sizeof(uint32_t)}, none, cr);
}

#endif  // OMBRIX_INTEGRAL_TABLES_H
