/*
 * Internal kernel slots and the declarations that the manifest implies:
 * every vector variant and every internal reference, typed by its slot's
 * function type so that prototypes cannot drift from the table.
 */
#ifndef OMBRIX_KERNELS_H
#define OMBRIX_KERNELS_H

#include "ombrix.h"

extern "C" {

/* Scratch memory (see ombrixMemory.cpp). Sizes and alignments in bytes. */
typedef void* obxGetScratchBufferAligned_fn(uint32_t size, uint32_t alignment);
typedef void* obxGetScratchBufferUnaligned_fn(uint32_t size);
typedef void obxReleaseScratchBuffer_fn(void* buffer);

/* Row converters from packed RGB to YCbCr. */
/* Planar: Y, Cb and Cr rows. */
typedef void obxRgbRowPlanar_fn(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                uint32_t width);
/* Interleaved: Y row and a row of Cb, Cr pairs. */
typedef void obxRgbRowInterleaved_fn(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width);
/* Luma only. */
typedef void obxRgbRowLuma_fn(const uint8_t* src, uint8_t* dstY, uint32_t width);
typedef obxRgbRowPlanar_fn rgb5652yuvp_fn;
typedef obxRgbRowPlanar_fn rgb5652yyuvp_fn;
typedef obxRgbRowLuma_fn rgb5652y_fn;
typedef obxRgbRowInterleaved_fn rgb5652yuv_fn;
typedef obxRgbRowInterleaved_fn rgb5652yyuv_fn;
typedef obxRgbRowPlanar_fn rgb8882yuvp_fn;
typedef obxRgbRowPlanar_fn rgb8882yyuvp_fn;
typedef obxRgbRowLuma_fn rgb8882y_fn;
typedef obxRgbRowInterleaved_fn rgb8882yuv_fn;
typedef obxRgbRowInterleaved_fn rgb8882yyuv_fn;
typedef obxRgbRowPlanar_fn rgba88882yuvp_fn;
typedef obxRgbRowPlanar_fn rgba88882yyuvp_fn;
typedef obxRgbRowLuma_fn rgba88882y_fn;
typedef obxRgbRowInterleaved_fn rgba88882yuv_fn;
typedef obxRgbRowInterleaved_fn rgba88882yyuv_fn;

/* FAST corner score of the centre at p: the largest threshold (from barrier
 * up, at most 255) at which the circle pixels at p + pixel[0..15] still hold
 * an arc of 9 or 10. barrier must not exceed 255. */
typedef uint32_t obxFastCornerScore_fn(const uint8_t* p, const int32_t* pixel, int32_t barrier);
typedef obxFastCornerScore_fn fast9_corner_score_fn;
typedef obxFastCornerScore_fn fast10_corner_score_fn;

/* Sum of the 256 pixels of a 16x16 block. */
typedef uint32_t calculateBlockSum16x16_fn(const uint8_t* block, uint32_t stride);
/* Sum of |(b - a) - m| over two 16x16 blocks, where m = (sum(b) >> 8) -
 * (sum(a) >> 8): the SAD once the difference of the truncated means is
 * removed. */
typedef uint32_t calculateBlockSAD_ZeroMean16x16_fn(const uint8_t* a, uint32_t aStride, const uint8_t* b,
                                                    uint32_t bStride);

/* Scharr gradients of the inner width x height pixels of a float patch with
 * a one-pixel border: src points at the first inner pixel, rows srcStride
 * bytes apart; dx and dy get width x height values, rows dstStride bytes
 * apart. Per pixel, with d(r, c) = p[r][c + 1] - p[r][c - 1]:
 *   dx = 0.09375 * d(y - 1, x) + 0.3125 * d(y, x) + 0.09375 * d(y + 1, x)
 * each product and sum rounded to float32, left to right; dy alike with
 * rows and columns exchanged. */
typedef void calcIxIy_32f_fn(const float32_t* src, uint32_t srcStride, uint32_t width, uint32_t height,
                             float32_t* dx, float32_t* dy, uint32_t dstStride);

/* The ten spatial moments m00, m10, m01, m20, m11, m02, m30, m21, m12, m03
 * (m_pq = sum of x^p * y^q * w) of a width x height tile, x and y counted
 * from the tile's top-left pixel, rows stride bytes apart. Integer weights
 * are summed exactly (modulo 2^64, signed for s32) and converted to double at
 * the end; float32 weights are summed per row in float32 (products x*w,
 * x*(x*w), x*(x*(x*w)) rounded to float32, four column lanes x % 4 combined
 * as (l0 + l2) + (l1 + l3), then the last width % 4 columns in order) and
 * the rows' sums in double, in row order. */
typedef void obxMomentsInTileu8_fn(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                   double moments[10]);
typedef void obxMomentsInTiles32_fn(const int32_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                    double moments[10]);
typedef void obxMomentsInTilef32_fn(const float* src, uint32_t width, uint32_t height, uint32_t stride,
                                    double moments[10]);

#define OBX_OP(name, reference, vector) name##_fn vector;
#define OBX_KERNEL(name, reference, vector) \
    OBX_API extern name##_fn* name##_;      \
    name##_fn reference;                    \
    name##_fn vector;
#define OBX_KERNEL_REF(name, reference) \
    OBX_API extern name##_fn* name##_;  \
    name##_fn reference;
#define OBX_KERNEL_FIXED(name, reference) \
    OBX_API extern name##_fn* name##_;    \
    name##_fn reference;
#include "ombrixManifest.h"

}  // extern "C"

#endif  // OMBRIX_KERNELS_H
