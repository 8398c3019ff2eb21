/*
 * Ombrix: image-processing and computer-vision primitives for 32-bit ARM.
 *
 * Every operation is reached through a writable function-pointer slot:
 *   obx<Op>_    the slot, holding the implementation that answers calls;
 *   ppobx<Op>   a constant pointer to the slot, the name a front end resolves;
 *   obx<Op>R_   a remote slot, kept null by the library for the front end;
 *   obx<Op>C    the scalar reference implementation, which defines results.
 * obxSetOperationMode() decides once per process which implementation each
 * slot holds. Until it is called every slot holds its reference.
 */
#ifndef OMBRIX_H
#define OMBRIX_H

#include <stddef.h>
#include <stdint.h>

#if defined(OMBRIX_BUILDING_LIBRARY)
#define OBX_API __attribute__((visibility("default")))
#else
#define OBX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef float float32_t;

/* 0 low power, 1 performance, 2 vector without power request, 3 and above
 * reference only. Values with the top bit set form a private range. */
typedef enum {
    OBX_MODE_LOW_POWER = 0,
    OBX_MODE_PERFORMANCE = 1,
    OBX_MODE_VECTOR = 2,
    OBX_MODE_REFERENCE = 3,
    OBX_MODE_PRIVATE_BIT = (int32_t)0x80000000u
} obxOperationMode;

/* Declares the slot, pointer-to-slot and remote slot of a public operation
 * whose function type is <name>_fn. */
#define OBX_DECLARE_OPERATION(name)             \
    OBX_API extern name##_fn* name##_;          \
    OBX_API extern name##_fn** const pp##name;  \
    OBX_API extern name##_fn* name##R_;

/* ---- Table and operation modes ------------------------------------------ */

/* Selects implementations for the whole process.
 * Returns 0 (accepted), -1 (unknown private mode) or 999 (no FPU and no SIMD). */
OBX_API int32_t obxSetOperationMode(obxOperationMode mode);
/* Same results, but never re-points a slot; only clears the remote slots. */
OBX_API int32_t obxSetOperationModeRemoteLib(obxOperationMode mode);
/* Calls obxSetOperationModeRemoteLib, sets useRemoteLanex, returns its address. */
OBX_API uint8_t* obxInitRemoteLib(obxOperationMode mode);
OBX_API void obxCleanUp(void);
/* Writes "1.2.2" when length >= 6, otherwise zeroes `length` bytes. */
OBX_API void obxGetVersion(char* version, uint32_t length);
OBX_API void obxDisableFuzzingTest(uint8_t disable);
OBX_API void obxSelectZDSP9Mode(void);
OBX_API void uHWLowPowerMode(void);
OBX_API void uHWPerformanceMode(void);

OBX_API extern uint8_t libLogPrint;
OBX_API extern uint32_t obxFuzzingDisable;
OBX_API extern uint8_t useRemoteLanex;

/* ---- Hardware detection and the override library ------------------------ */

/* Bits of obxAvailableHardware(). */
#define OBX_HW_PROBED         0x2u
#define OBX_HW_SIMD           0x4u
#define OBX_HW_FPU            0x80u
#define OBX_HW_ARMV7          0x100u
#define OBX_HW_PREFERRED      0x800u

OBX_API uint32_t obxAvailableHardware(void);
/* Opens /data/local/libobxopt.so; 0 on success, -1 on failure. */
OBX_API int32_t obxPlatformOptLoad(void);
OBX_API void* obxPlatformOptGetFunc(const char* name);
OBX_API int32_t obxPlatformOptClose(void);

/* ---- Assertions, logging and timing ------------------------------------- */

/* Ends the process with status 1 when `value` is zero. */
OBX_API void OMBRIXs_ASSERT(intptr_t value, const char* message);
/* Always reports a failure of `function` and ends the process with status 1. */
OBX_API void ombrixs_assert(int32_t value, const char* function);
#ifdef __cplusplus
OBX_API void ombrix_libv_log(...);
#else
OBX_API void ombrix_libv_log();
#endif
/* Logs one entry tagged with the file name of `path`; a non-zero line is
 * prefixed as "%4d| ". Returns the length of the formatted caller part. */
OBX_API int32_t obxLogAssert(const char* path, uint32_t line, int32_t priority,
                             const char* format, ...)
    __attribute__((format(printf, 4, 5)));
/* Wall-clock time in microseconds. */
OBX_API int64_t obxGetTime(void);

/* ---- Memory ------------------------------------------------------------- */

OBX_API int32_t obxMemInit(void);
OBX_API int32_t obxMemDeInit(void);
/* `alignment` must be a power of two of at most 128; null on failure. */
OBX_API void* obxMemAlloc(uint32_t size, uint32_t alignment);
OBX_API void obxMemFree(void* ptr);
OBX_API void obxHeapStatsInit(void);
OBX_API void obxHeapStatsMalloc(void* block, uint32_t size);
OBX_API void obxHeapStatsFree(void* block);
OBX_API void obxHeapStats(void);

/* ---- Runtime operations ------------------------------------------------- */

/* Copies `size` bytes from srcPtr to dstPtr; the buffers must not overlap. */
typedef void obxCopy_fn(uint8_t* dstPtr, const uint8_t* srcPtr, uint32_t size);
OBX_DECLARE_OPERATION(obxCopy)
OBX_API obxCopy_fn obxCopyC;

/* Time probe of a remote processor; this library has none and returns 0. */
typedef uint64_t probeZ9Time_fn(void);
OBX_DECLARE_OPERATION(probeZ9Time)
OBX_API probeZ9Time_fn probeZ9TimeC;

/* ---- Smoothing filters ---------------------------------------------------- */

/* Binomial ("Gaussian") filters. The interior (pixels at least r from every
 * edge, r = 1, 2 or 5) is the exact weighted sum shifted right by 4, 8 or 20,
 * truncating (arithmetic shift for s16/s32). Only blurBorder == 1 computes the
 * border, each pixel normalised by the weights of the taps inside the image
 * (truncating division); otherwise the border of dst is left untouched.
 * Strides are in bytes. */
typedef void obxBlurBorderu8_fn(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, uint8_t* dstImg, uint32_t dstStride,
                                uint32_t blurBorder);
typedef void obxBlurBorders16_fn(const int16_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, int16_t* dstImg, uint32_t dstStride,
                                 uint32_t blurBorder);
typedef void obxBlurBorders32_fn(const int32_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, int32_t* dstImg, uint32_t dstStride,
                                 uint32_t blurBorder);

typedef obxBlurBorderu8_fn obxFilterGaussian3x3u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterGaussian3x3u8_v2)
OBX_API obxBlurBorderu8_fn obxFilterGaussian3x3u8C;

typedef obxBlurBorderu8_fn obxFilterGaussian5x5u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterGaussian5x5u8_v2)
OBX_API obxBlurBorderu8_fn obxFilterGaussian5x5u8C;

typedef obxBlurBorderu8_fn obxFilterGaussian11x11u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterGaussian11x11u8_v2)
OBX_API obxBlurBorderu8_fn obxFilterGaussian11x11u8C;

typedef obxBlurBorders16_fn obxFilterGaussian5x5s16_v2_fn;
OBX_DECLARE_OPERATION(obxFilterGaussian5x5s16_v2)
OBX_API obxBlurBorders16_fn obxFilterGaussian5x5s16C;

typedef obxBlurBorders32_fn obxFilterGaussian5x5s32_v2_fn;
OBX_DECLARE_OPERATION(obxFilterGaussian5x5s32_v2)
OBX_API obxBlurBorders32_fn obxFilterGaussian5x5s32C;

/* u8 -> u8 filters of a 3x3 (or n x n) neighbourhood: src, size, stride, dst, dstStride. */
typedef void obxNeighbourhoodu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                   uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/* Box (mean) filters: every pixel, border included, is the n x n sum with
 * outside pixels counted as 0, times 7282, 2621 or 542, plus 32768, >> 16. */
typedef obxNeighbourhoodu8_fn obxBoxFilter3x3u8_fn;
OBX_DECLARE_OPERATION(obxBoxFilter3x3u8)
OBX_API obxNeighbourhoodu8_fn obxBoxFilter3x3u8C;

typedef obxNeighbourhoodu8_fn obxBoxFilter5x5u8_fn;
OBX_DECLARE_OPERATION(obxBoxFilter5x5u8)
OBX_API obxNeighbourhoodu8_fn obxBoxFilter5x5u8C;

typedef obxNeighbourhoodu8_fn obxBoxFilter11x11u8_fn;
OBX_DECLARE_OPERATION(obxBoxFilter11x11u8)
OBX_API obxNeighbourhoodu8_fn obxBoxFilter11x11u8C;
/* The vector 11x11 box filter, exported beside the table (same results). */
OBX_API obxNeighbourhoodu8_fn obxBoxFilter11x11u8V2;

/* ---- Median, morphology and thresholds ---------------------------------------- */

/* Exact median of each interior 3x3 neighbourhood; the outer rows and
 * columns of dst are not written. */
typedef obxNeighbourhoodu8_fn obxFilterMedian3x3u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterMedian3x3u8_v2)
OBX_API obxNeighbourhoodu8_fn obxFilterMedian3x3u8C;

/* Maximum / minimum of the 3x3 neighbourhood pixels inside the image, for
 * every pixel. */
typedef obxNeighbourhoodu8_fn obxFilterDilate3x3u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterDilate3x3u8_v2)
OBX_API obxNeighbourhoodu8_fn obxFilterDilate3x3u8C;

typedef obxNeighbourhoodu8_fn obxFilterErode3x3u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterErode3x3u8_v2)
OBX_API obxNeighbourhoodu8_fn obxFilterErode3x3u8C;

/* dst = src < threshold ? 0 : 255. */
typedef void obxFilterThresholdu8_v2_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                                        uint32_t threshold);
OBX_DECLARE_OPERATION(obxFilterThresholdu8_v2)
OBX_API obxFilterThresholdu8_v2_fn obxFilterThresholdu8C;

/* Adaptive thresholds: with T = local average - value, thresholdType 0
 * writes maxValue where src > T and 0 elsewhere, 1 the inverse; any other
 * type zero-fills dst. The local average comes from the smoothing slots. */
typedef void obxAdaptiveThresholdu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                       int32_t value, uint8_t* dst, uint32_t dstStride);

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian3x3u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdGaussian3x3u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian3x3u8C;

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian5x5u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdGaussian5x5u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian5x5u8C;

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian11x11u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdGaussian11x11u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdGaussian11x11u8C;

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean3x3u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdMean3x3u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean3x3u8C;

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean5x5u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdMean5x5u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean5x5u8C;

typedef obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean11x11u8_fn;
OBX_DECLARE_OPERATION(obxAdaptiveThresholdMean11x11u8)
OBX_API obxAdaptiveThresholdu8_fn obxAdaptiveThresholdMean11x11u8C;

/* ---- Gradients, Sobel and Canny ------------------------------------------------ */

/* Derivatives of the interior pixels (1 <= x <= srcWidth - 2, 1 <= y <=
 * srcHeight - 2) of an 8-bit image: central differences dx = p(x+1, y) -
 * p(x-1, y), dy = p(x, y+1) - p(x, y-1); 3x3 Sobel (1 2 1 smoothing across
 * the difference, within +-1020); 3x3 Scharr (3 10 3, within +-4080). Scaled
 * forms shift right by 3 (arithmetic) or, in float, multiply by 0.125.
 * Interleaved outputs hold (dx, dy) pairs packed from their first row and
 * column: pixel (x, y) at row y - 1, pair x - 1. Planar outputs hold each
 * derivative at its pixel's own position and leave the outer rows and
 * columns unwritten. Images narrower or lower than 3 write nothing. All
 * strides are in bytes. */
typedef void obxGradientInterleaveds16_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, int16_t* gradients, uint32_t gradStride);
typedef void obxGradientInterleavedf32_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, float32_t* gradients, uint32_t gradStride);
typedef void obxGradientPlanars16_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* dx, int16_t* dy, uint32_t dxyStride);
typedef void obxGradientPlanars8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int8_t* dx, int8_t* dy, uint32_t dxyStride);
typedef void obxGradientPlanarf32_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float32_t* dx, float32_t* dy, uint32_t dxyStride);

/* min(|dx| + |dy|, 255) of the Sobel derivatives at each interior pixel's
 * own position; the outer rows and columns of dst are not written. */
typedef obxNeighbourhoodu8_fn obxFilterSobel3x3u8_v2_fn;
OBX_DECLARE_OPERATION(obxFilterSobel3x3u8_v2)
OBX_API obxNeighbourhoodu8_fn obxFilterSobel3x3u8C;

/* Central differences, unscaled. */
typedef obxGradientInterleaveds16_fn obxImageGradientInterleaveds16_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientInterleaveds16_v2)
OBX_API obxGradientInterleaveds16_fn obxImageGradientInterleaveds16C;

typedef obxGradientPlanars16_fn obxImageGradientPlanars16_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientPlanars16_v2)
OBX_API obxGradientPlanars16_fn obxImageGradientPlanars16C;

typedef obxGradientInterleavedf32_fn obxImageGradientInterleavedf32_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientInterleavedf32_v2)
OBX_API obxGradientInterleavedf32_fn obxImageGradientInterleavedf32C;

typedef obxGradientPlanarf32_fn obxImageGradientPlanarf32_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientPlanarf32_v2)
OBX_API obxGradientPlanarf32_fn obxImageGradientPlanarf32C;

/* Sobel: _v2 integer forms shift right by 3, _v3 forms are unscaled, float
 * forms multiply by 0.125. */
typedef obxGradientInterleaveds16_fn obxImageGradientSobelInterleaveds16_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelInterleaveds16_v2)
OBX_API obxGradientInterleaveds16_fn obxImageGradientSobelInterleaveds16C;

typedef obxGradientInterleaveds16_fn obxImageGradientSobelInterleaveds16_v3_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelInterleaveds16_v3)
OBX_API obxGradientInterleaveds16_fn obxImageGradientSobelInterleaveds16_v3C;

typedef obxGradientInterleavedf32_fn obxImageGradientSobelInterleavedf32_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelInterleavedf32_v2)
OBX_API obxGradientInterleavedf32_fn obxImageGradientSobelInterleavedf32C;

typedef obxGradientPlanars16_fn obxImageGradientSobelPlanars16_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelPlanars16_v2)
OBX_API obxGradientPlanars16_fn obxImageGradientSobelPlanars16C;

typedef obxGradientPlanars16_fn obxImageGradientSobelPlanars16_v3_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelPlanars16_v3)
OBX_API obxGradientPlanars16_fn obxImageGradientSobelPlanars16_v3C;

typedef obxGradientPlanars8_fn obxImageGradientSobelPlanars8_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelPlanars8_v2)
OBX_API obxGradientPlanars8_fn obxImageGradientSobelPlanars8C;

typedef obxGradientPlanarf32_fn obxImageGradientSobelPlanarf32_v2_fn;
OBX_DECLARE_OPERATION(obxImageGradientSobelPlanarf32_v2)
OBX_API obxGradientPlanarf32_fn obxImageGradientSobelPlanarf32C;

/* Sobel of a float image (srcStride in bytes), computed in float with each
 * smoothing added left to right, times 0.125. */
typedef void obxImageGradientSobelPlanarf32f32_v2_fn(const float32_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                     uint32_t srcStride, float32_t* dx, float32_t* dy,
                                                     uint32_t dxyStride);
OBX_DECLARE_OPERATION(obxImageGradientSobelPlanarf32f32_v2)
OBX_API obxImageGradientSobelPlanarf32f32_v2_fn obxImageGradientSobelPlanarf32f32C;

/* Scharr, unscaled. */
typedef obxGradientInterleaveds16_fn obxImageGradientScharrInterleaveds16_fn;
OBX_DECLARE_OPERATION(obxImageGradientScharrInterleaveds16)
OBX_API obxGradientInterleaveds16_fn obxImageGradientScharrInterleaveds16C;

/* Canny edge detector: 3x3 binomial smoothing, backward differences, squared
 * magnitudes, suppression across the edge and hysteresis with a bounded
 * trace. low and high are in 1/256 of the image's largest magnitude. dst gets
 * 255 on edges and 0 elsewhere; the clear covers width * height bytes from
 * dstImg on. Pixels within two of the border are never edges. */
typedef void obxFilterCanny3x3u8_v2_fn(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t srcStride,
                                       uint8_t* dstImg, uint32_t dstStride, int32_t low, int32_t high);
OBX_DECLARE_OPERATION(obxFilterCanny3x3u8_v2)
OBX_API obxFilterCanny3x3u8_v2_fn obxFilterCanny3x3u8C;

/* ---- Integral images ------------------------------------------------------------ */

/* Summed-area tables of 8-bit images. Sums wrap modulo 2^32; table strides
 * are in bytes and are converted to elements (a remainder is dropped). */

/* Table of (srcWidth + 1) x (srcHeight + 1) entries: row 0 and column 0 are
 * 0, dst(x + 1, y + 1) = sum of src(x', y') over x' <= x, y' <= y. */
typedef void obxIntegrateImageu8_v2_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint32_t* dst, uint32_t dstStride);
OBX_DECLARE_OPERATION(obxIntegrateImageu8_v2)
OBX_API obxIntegrateImageu8_v2_fn obxIntegrateImageu8_v2C;

/* The same table over the patchWidth x patchHeight patch whose top-left
 * pixel is (patchX, patchY), which must lie inside the image: dst gets the
 * sums of pixels and dst2 the sums of squared pixels, both packed, with rows
 * of patchWidth + 1 entries and patchHeight + 1 rows. The 12x12 and 18x18
 * forms are the same with a fixed patch size. */
typedef void obxIntegratePatchu8_v2_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint32_t patchX, uint32_t patchY,
                                       uint32_t patchWidth, uint32_t patchHeight, uint32_t* dst,
                                       uint32_t* dst2);
OBX_DECLARE_OPERATION(obxIntegratePatchu8_v2)
OBX_API obxIntegratePatchu8_v2_fn obxIntegratePatchu8C;

typedef void obxIntegrateFixedPatchu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                         uint32_t srcStride, uint32_t patchX, uint32_t patchY, uint32_t* dst,
                                         uint32_t* dst2);

typedef obxIntegrateFixedPatchu8_fn obxIntegratePatch12x12u8_v2_fn;
OBX_DECLARE_OPERATION(obxIntegratePatch12x12u8_v2)
OBX_API obxIntegrateFixedPatchu8_fn obxIntegratePatch12x12u8C;

typedef obxIntegrateFixedPatchu8_fn obxIntegratePatch18x18u8_v2_fn;
OBX_DECLARE_OPERATION(obxIntegratePatch18x18u8_v2)
OBX_API obxIntegrateFixedPatchu8_fn obxIntegratePatch18x18u8C;

/* *intgrl = sum and *intgrlSqrd = sum of squares of the first numPxls
 * pixels (both 0 for none; 65535 squares of 255 still fit 32 bits). */
typedef void obxIntegrateImageLineu8_fn(const uint8_t* imageIn, uint16_t numPxls, uint32_t* intgrl,
                                        uint32_t* intgrlSqrd);
OBX_DECLARE_OPERATION(obxIntegrateImageLineu8)
OBX_API obxIntegrateImageLineu8_fn obxIntegrateImageLineu8C;

/* The same for exactly 64 pixels; the sum (at most 16320) as 16 bits. */
typedef void obxIntegrateImageLine64u8_fn(const uint8_t* pxls, uint16_t* sum, uint32_t* sum2);
OBX_DECLARE_OPERATION(obxIntegrateImageLine64u8)
OBX_API obxIntegrateImageLine64u8_fn obxIntegrateImageLine64u8C;

/* Exclusive tables of a 4:2:0 frame whose chroma plane holds Cb,Cr pairs:
 * integralY is srcWidth x srcHeight with integralY(x, y) = sum of srcY(x', y')
 * over x' < x, y' < y, so row 0 and column 0 are 0 and the last row and
 * column of the source never enter a sum. integralCb and integralCr are the
 * same over the chroma samples, (srcWidth / 2) x (srcHeight / 2) entries. */
typedef void obxIntegrateImageYCbCr420PseudoPlanaru8_fn(const uint8_t* srcY, const uint8_t* srcC,
                                                        uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcYStride, uint32_t srcCStride,
                                                        uint32_t* integralY, uint32_t* integralCb,
                                                        uint32_t* integralCr, uint32_t integralYStride,
                                                        uint32_t integralCbStride, uint32_t integralCrStride);
OBX_DECLARE_OPERATION(obxIntegrateImageYCbCr420PseudoPlanaru8)
OBX_API obxIntegrateImageYCbCr420PseudoPlanaru8_fn obxIntegrateImageYCbCr420PseudoPlanaru8C;

/* 45-degree tilted table of (srcWidth + 1) x (srcHeight + 1) entries: dst(X, Y)
 * is the sum of the pixels in the upward-opening right-angled cone whose apex
 * is pixel (X - 1, Y - 1), the pixel just above-left of the entry:
 *   dst(X, Y) = sum of src(x, y) over y <= Y - 1 and |x - (X - 1)| <= Y - 1 - y,
 * pixels outside the image counting 0. Row 0 is 0 and row 1 is source row 0
 * shifted right by one column; column 0 is not 0 in general. With
 * D(a, b) = dst(a + 1, b + 1), the cone of apex (a, b), the rotated rectangle
 * of pixels with 0 <= (b - y) + (x - a) < 2h and 0 <= (b - y) - (x - a) < 2w
 * (bottom corner (a, b), w steps up-left, h up-right) sums to
 *   D(a, b) - D(a - w, b - w) - D(a + h, b - h) + D(a - w + h, b - w - h)
 * whenever all four entries lie in the table. Sums wrap modulo 2^32. A
 * srcStride of 0 means srcWidth. Needs one scratch row of srcWidth + 1
 * entries. */
typedef void obxTiltedIntegralu8s32_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, int32_t* dst, uint32_t dstStride);
OBX_DECLARE_OPERATION(obxTiltedIntegralu8s32)
OBX_API obxTiltedIntegralu8s32_fn obxTiltedIntegralu8s32C;

/* ---- Downscaling ---------------------------------------------------------------- */

/* Box reductions of an 8-bit image by 2 and by 4: each output is the sum of
 * its 2x2 or 4x4 source block shifted right by 2 or 4, truncating. Source
 * sizes are multiples of the factor. dst rows advance by dstStride, or by
 * dstStride rounded down to a multiple of 4 when srcWidth is a multiple of 16.
 * The 5x5 Gaussian up-scaler (obxScaleUpBy2Gaussian5x5u8_v2) has the same
 * arguments: see below. Strides are in bytes. */
typedef void obxScaleu8_fn(const uint8_t* imgSrc, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* imgDst, uint32_t dstStride);

typedef obxScaleu8_fn obxScaleDownBy2u8_v2_fn;
OBX_DECLARE_OPERATION(obxScaleDownBy2u8_v2)
OBX_API obxScaleu8_fn obxScaleDownBy2u8C;

typedef obxScaleu8_fn obxScaleDownBy4u8_v2_fn;
OBX_DECLARE_OPERATION(obxScaleDownBy4u8_v2)
OBX_API obxScaleu8_fn obxScaleDownBy4u8C;

/* Gaussian 5x5 reduction by 2 (weights (1 4 6 4 1) x (1 4 6 4 1)) centred on
 * source pixel (2x, 2y), into (width/2) x (height/2); width and height even.
 * Where all 25 taps lie inside the image: (sum + 128) >> 8 (u8), sum *
 * 0.00390625f (f32). At the borders the outside taps are dropped and the sum
 * is scaled by r = (float)(1/W), W the weights kept: floor(0.5 + sum * r) in
 * double (u8), sum * r (f32). f32 sums are formed per 5 taps as
 * ((t0 + t4) + (t2 + t2)) + 4 * ((t1 + t3) + t2), columns first and then
 * across them, outside taps as 0. The first form takes packed images
 * (strides width and width/2), the _v2 form byte strides. On ARMv7 the f32
 * vector variant runs on NEON, which flushes subnormal values to zero: it
 * matches the reference for images whose sums stay normal. */
typedef void obxScaleDownBy2Gaussian5x5u8_fn(const uint8_t* srcImg, uint32_t width, uint32_t height,
                                             uint8_t* dstImg);
OBX_DECLARE_OPERATION(obxScaleDownBy2Gaussian5x5u8)
OBX_API obxScaleDownBy2Gaussian5x5u8_fn obxScaleDownBy2Gaussian5x5u8C;

typedef obxScaleu8_fn obxScaleDownBy2Gaussian5x5u8_v2_fn;
OBX_DECLARE_OPERATION(obxScaleDownBy2Gaussian5x5u8_v2)
OBX_API obxScaleu8_fn obxScaleDownBy2Gaussian5x5u8_v2C;

typedef void obxScaleDownBy2Gaussian5x5f32_fn(const float32_t* srcImg, uint32_t width, uint32_t height,
                                              float32_t* dstImg);
OBX_DECLARE_OPERATION(obxScaleDownBy2Gaussian5x5f32)
OBX_API obxScaleDownBy2Gaussian5x5f32_fn obxScaleDownBy2Gaussian5x5f32C;

/* Gaussian 5x5 enlargement by 2 into (2 srcWidth) x (2 srcHeight): source
 * row r gives rows 2r (s(r-1) + 6 s(r) + s(r+1)) and 2r+1 (4 s(r) + 4
 * s(r+1)), then the same weights across these column values v give columns
 * 2k and 2k+1; result (sum + 32) >> 6. Above the first row and left of the
 * first column the neighbour is mirrored (s(-1) = s(1), v(-1) = v(1)); below
 * the last row and right of the last column the last one is repeated (s(H)
 * = s(H-1), v(W) = v(W-1)), so columns 2W-2 and 2W-1 use v(W-1) twice where
 * v(W) would be. A mirror beyond a single row or column repeats it. */
typedef obxScaleu8_fn obxScaleUpBy2Gaussian5x5u8_v2_fn;
OBX_DECLARE_OPERATION(obxScaleUpBy2Gaussian5x5u8_v2)
OBX_API obxScaleu8_fn obxScaleUpBy2Gaussian5x5u8C;

/* Reductions to a given size.
 * obxScaleDownu8_v2: kx = srcWidth / dstWidth, ky = srcHeight / dstHeight;
 * each output is the sum of its kx x ky block divided by kx * ky, truncating.
 * Source columns from dstWidth * kx and rows from dstHeight * ky on are
 * ignored.
 * obxScaleDownNNu8: nearest neighbour, output (x, y) = source
 * (floor(x * srcWidth / dstWidth), min(srcHeight - 1, floor(y * srcHeight /
 * dstHeight))), the quotients exact in 64-bit arithmetic; equal sizes copy the
 * rows. Strides of 0 mean packed (NN only). Strides are in bytes. */
typedef void obxScaleDownToSizeu8_fn(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                     uint32_t srcStride, uint8_t* dstImg, uint32_t dstWidth, uint32_t dstHeight,
                                     uint32_t dstStride);

typedef obxScaleDownToSizeu8_fn obxScaleDownu8_v2_fn;
OBX_DECLARE_OPERATION(obxScaleDownu8_v2)
OBX_API obxScaleDownToSizeu8_fn obxScaleDownu8C;

/* 3:2 reduction: every 3x3 block p00..p22 gives the 2x2 block
 * d00 = (9 p00 + 3 p01 + 3 p10 + p11) >> 4 and its mirror images towards the
 * other three corners. Blocks start at rows and columns 0, 3, 6, ... while
 * three fit; the rest is dropped. dst is (srcWidth/3)*2 wide. Returns 1 and
 * writes nothing when srcWidth or srcHeight is below 3, else 0. Strides in
 * bytes; 0 means packed. */
typedef int32_t obxScaleDown3To2u8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
OBX_DECLARE_OPERATION(obxScaleDown3To2u8)
OBX_API obxScaleDown3To2u8_fn obxScaleDown3To2u8C;

typedef obxScaleDownToSizeu8_fn obxScaleDownNNu8_fn;
OBX_DECLARE_OPERATION(obxScaleDownNNu8)
OBX_API obxScaleDownToSizeu8_fn obxScaleDownNNu8C;

/* ---- Image pyramids ---------------------------------------------------------------- */

/* One level of a pyramid: packed rows of width * element size bytes. */
typedef struct {
    void* ptr;
    uint32_t width;
    uint32_t height;
} obxPyramidLevel;

/* Allocates levels 1 .. numLevels-1 (each half the previous size, rounding
 * down) and, when allocateBase is non-zero, level 0, through obxMemAlloc with
 * 16-byte alignment. Returns 0, or -1 at the first failed allocation (the
 * levels allocated so far stay allocated). */
typedef int32_t obxPyramidAllocate_fn(obxPyramidLevel* pyr, uint32_t baseWidth, uint32_t baseHeight,
                                      uint32_t bytesPerPixel, uint32_t numLevels, uint32_t allocateBase);
OBX_DECLARE_OPERATION(obxPyramidAllocate)
OBX_API obxPyramidAllocate_fn obxPyramidAllocateC;

/* Frees the buffers of levels startLevel .. numLevels-1; pointers are kept. */
typedef void obxPyramidDelete_fn(obxPyramidLevel* pyr, uint32_t numLevels, uint32_t startLevel);
OBX_DECLARE_OPERATION(obxPyramidDelete)
OBX_API obxPyramidDelete_fn obxPyramidDeleteC;

/* Level 0 := the caller's base image (not copied); each further level is the
 * Gaussian 5x5 reduction of the one before, through its slot. Both base sizes
 * must be divisible by 2^(numLevels-1). Returns 0, or -1 when a level buffer
 * is null. */
typedef int32_t obxPyramidCreateu8_fn(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight,
                                      uint32_t numLevels, obxPyramidLevel* pyramid);
OBX_DECLARE_OPERATION(obxPyramidCreateu8)
OBX_API obxPyramidCreateu8_fn obxPyramidCreateu8C;

typedef int32_t obxPyramidCreatef32_fn(const float32_t* base, uint32_t baseWidth, uint32_t baseHeight,
                                       uint32_t numLevels, obxPyramidLevel* pyramid);
OBX_DECLARE_OPERATION(obxPyramidCreatef32)
OBX_API obxPyramidCreatef32_fn obxPyramidCreatef32C;

/* Planar Sobel gradients (the _v2 forms, through their slots) of every level
 * of an 8-bit pyramid into caller-allocated dx and dy pyramids. Level sizes
 * are halved from level 0's, rounding down, and written into dxPyr and dyPyr.
 * Returns 0, or -1 when a gradient buffer is null. */
typedef int32_t obxPyramidSobelGradientCreate_fn(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                                 obxPyramidLevel* dyPyr, uint32_t numLevels);

typedef obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatei16_fn;
OBX_DECLARE_OPERATION(obxPyramidSobelGradientCreatei16)
OBX_API obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatei16C;

typedef obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatei8_fn;
OBX_DECLARE_OPERATION(obxPyramidSobelGradientCreatei8)
OBX_API obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatei8C;

typedef obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatef32_fn;
OBX_DECLARE_OPERATION(obxPyramidSobelGradientCreatef32)
OBX_API obxPyramidSobelGradientCreate_fn obxPyramidSobelGradientCreatef32C;

/* ---- YCbCr to RGB: full-range planar and pseudo-planar ------------------------ */

/* Full-range YCbCr (Q8, rounded, no luma offset) to RGB565 (B in bits 15-11,
 * R in 4-0, little-endian), RGB888 (bytes R, G, B) or RGBA8888 (R, G, B, 255).
 * Planar: separate Cb and Cr planes; pseudo-planar: one plane of Cb,Cr pairs.
 * 4:2:2 and 4:2:0 share a chroma sample between pixels 2k and 2k+1 (the
 * last pixel of an odd width has its own) and need a width of at least 2;
 * 4:2:0 converts two rows per chroma row, so heights are to be even. A stride
 * of 0 means packed rows. Strides are in bytes. */
typedef void obxYCbCrPlanarToRGBu8_fn(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                      uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                      uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                      uint32_t dstStride);
typedef void obxYCbCrPseudoPlanarToRGBu8_fn(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                            uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                            uint8_t* dst, uint32_t dstStride);

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PlanarToRGB565u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGB565u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PlanarToRGB888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGB888u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PlanarToRGBA8888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr444PlanarToRGBA8888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PseudoPlanarToRGB565u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGB565u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PseudoPlanarToRGB888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGB888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr444PseudoPlanarToRGBA8888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr444PseudoPlanarToRGBA8888u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PlanarToRGB565u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGB565u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PlanarToRGB888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGB888u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PlanarToRGBA8888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr422PlanarToRGBA8888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PseudoPlanarToRGB565u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGB565u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PseudoPlanarToRGB888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGB888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr422PseudoPlanarToRGBA8888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr422PseudoPlanarToRGBA8888u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PlanarToRGB565u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGB565u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PlanarToRGB888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGB888u8C;

typedef obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PlanarToRGBA8888u8)
OBX_API obxYCbCrPlanarToRGBu8_fn obxColorYCbCr420PlanarToRGBA8888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGB565u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PseudoPlanarToRGB565u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGB565u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PseudoPlanarToRGB888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGB888u8C;

typedef obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGBA8888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCbCr420PseudoPlanarToRGBA8888u8)
OBX_API obxYCbCrPseudoPlanarToRGBu8_fn obxColorYCbCr420PseudoPlanarToRGBA8888u8C;

/* ---- YCbCr to RGB: camera preview and block layouts ---------------------------- */

/* Camera preview, video range (luma 16..235), truncating. 4:2:0 luma plane
 * followed at src + srcHeight*srcYStride by a plane of interleaved Cr,Cb
 * pairs (srcCStride bytes a row); every dst word holds the bytes R, G, B, 255.
 * Strides are in bytes and must not be 0; dst rows advance by dstStride
 * rounded down to a multiple of 4. */
typedef void obxColorYCrCb420PseudoPlanarToRGB8888u8_fn(const uint8_t* src, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCStride, uint32_t* dst, uint32_t dstStride);
OBX_DECLARE_OPERATION(obxColorYCrCb420PseudoPlanarToRGB8888u8)
OBX_API obxColorYCrCb420PseudoPlanarToRGB8888u8_fn obxColorYCrCb420PseudoPlanarToRGB8888u8C;

/* Camera preview to RGB565, video range, truncating. Packed 4:2:0: width x
 * height luma bytes, then rows of width bytes of interleaved Cb,Cr pairs;
 * rgb565 rows are width*2 bytes. Pixels are written in pairs, one 32-bit word
 * each, so width is to be even (an odd last column is not converted). The
 * Rotate180 form writes source pixel (x, y) to (width-1-x, height-1-y). */
typedef void obxColorYUV420toRGB565u8_fn(const uint8_t* yuv420sp, uint32_t width, uint32_t height,
                                         uint8_t* rgb565);
OBX_DECLARE_OPERATION(obxColorYUV420toRGB565u8)
OBX_API obxColorYUV420toRGB565u8_fn obxColorYUV420toRGB565u8C;

typedef obxColorYUV420toRGB565u8_fn obxColorYUV420toRGB565u8Rotate180_fn;
OBX_DECLARE_OPERATION(obxColorYUV420toRGB565u8Rotate180)
OBX_API obxColorYUV420toRGB565u8_fn obxColorYUV420toRGB565u8Rotate180C;

/* Block layouts to packed RGB888 (width*3 bytes a row), full range, Q15 with
 * rounding, chroma centred on 127.5. The source is a run of minimum coded
 * units (MCUs) left to right in bands, bands top to bottom; an MCU is H x V
 * luma blocks of 8x8 bytes followed by one 8x8 Cb and one 8x8 Cr block that
 * cover the whole MCU. The 16x16 member advances from band to band by
 * ((width + 8) >> 4) MCUs. Pixels of a last, partly covered MCU that lie
 * outside width x height are not written. */
typedef void obxColorYCrCbH1V1toRGB888u8_fn(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);
OBX_DECLARE_OPERATION(obxColorYCrCbH1V1toRGB888u8)
OBX_API obxColorYCrCbH1V1toRGB888u8_fn obxColorYCrCbH1V1toRGB888u8C;

typedef void obxColorYCrCbBlocksToRGB888u8_fn(const uint8_t* ysrc, uint32_t width, uint32_t height, uint8_t* dst);

typedef obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH2V2toRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCrCbH2V2toRGB888u8)
OBX_API obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH2V2toRGB888u8C;

typedef obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH2V1toRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCrCbH2V1toRGB888u8)
OBX_API obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH2V1toRGB888u8C;

typedef obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH1V2toRGB888u8_fn;
OBX_DECLARE_OPERATION(obxColorYCrCbH1V2toRGB888u8)
OBX_API obxColorYCrCbBlocksToRGB888u8_fn obxColorYCrCbH1V2toRGB888u8C;

/* ---- RGB to YCbCr and gray ------------------------------------------------------- */

/* Packed RGB to full-range YCbCr (Q8, rounding). Input pixels: RGB565 as a
 * little-endian word with R in bits 15-11, each field widened by a left shift;
 * RGB888 as bytes B, G, R; RGBA8888 as bytes B, G, R and an ignored byte.
 * 422 chroma comes from the even pixel of each pair and 420 chroma from the
 * top-left pixel of each 2x2 block; with an odd width the rows that carry
 * chroma are left unwritten, and 420 processes rows in pairs (an odd height
 * also converts row srcHeight). Strides are in bytes; 0 means packed. */
typedef void obxRgbToYCbCrPlanaru8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                      uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
/* The same with one plane of Cb, Cr pairs. */
typedef void obxRgbToYCbCrPseudoPlanaru8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                            uint32_t dstYStride, uint32_t dstCStride);
/* RGB888 read as bytes R, G, B into one u8 image. */
typedef void obxRgb888Convertu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                   uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr444Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr444Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr444Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr444PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr444PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr444PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr422Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr422Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr422Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr422PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr422PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr422PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr420Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr420Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB565ToYCbCr420Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr420PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB565ToYCbCr420PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB565ToYCbCr420PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr444Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr444Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr444Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr444PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr444PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr444PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr422Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr422Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr422Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr422PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr422PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr422PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr420Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr420Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGB888ToYCbCr420Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr420PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToYCbCr420PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGB888ToYCbCr420PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr444Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr444Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr444Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr444PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr444PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr444PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr422Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr422Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr422Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr422PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr422PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr422PseudoPlanaru8C;

typedef obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr420Planaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr420Planaru8)
OBX_API obxRgbToYCbCrPlanaru8_fn obxColorRGBA8888ToYCbCr420Planaru8C;

typedef obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr420PseudoPlanaru8_fn;
OBX_DECLARE_OPERATION(obxColorRGBA8888ToYCbCr420PseudoPlanaru8)
OBX_API obxRgbToYCbCrPseudoPlanaru8_fn obxColorRGBA8888ToYCbCr420PseudoPlanaru8C;

/* Interleaved Y, Cr, Cb per pixel, Q15 with rounding, clamped to 0..255.
 * A source stride of 0 means packed (srcWidth * 3), as does a destination
 * stride of 0. */
typedef obxRgb888Convertu8_fn obxColorRGB888toYCrCbu8_v2_fn;
OBX_DECLARE_OPERATION(obxColorRGB888toYCrCbu8_v2)
OBX_API obxRgb888Convertu8_fn obxColorRGB888toYCrCbu8C;

/* Gray = (19595 R + 38469 G + 7471 B + 32768) >> 16, R being byte 0. */
typedef obxRgb888Convertu8_fn obxColorRGB888ToGrayu8_fn;
OBX_DECLARE_OPERATION(obxColorRGB888ToGrayu8)
OBX_API obxRgb888Convertu8_fn obxColorRGB888ToGrayu8C;

/* ---- Harris corners ------------------------------------------------------------ */

/* Harris corners of an 8-bit image, in integer arithmetic: gradients
 * (I(x+1) - I(x-1)) >> 1 and (I(y+1) - I(y-1)) >> 1, their products smoothed
 * by the 5x5 binomial (1 4 6 4 1)^2 with one >> 8, and the response
 * R = Sxx*Syy - Sxy^2 - ((Sxx + Syy)^2 >> 4). A pixel at least
 * max(border, 5) from every edge is a corner when R > threshold and R is
 * strictly greater than the other 24 responses of its 5x5 neighbourhood.
 * Corners go to xy as (x, y) pairs in raster order, at most nCornersMax of
 * them; *numcorners gets their count. A stride of 0 means the width. */
typedef void obxCornerHarrisu8_fn(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                                  int32_t threshold);
OBX_DECLARE_OPERATION(obxCornerHarrisu8)
OBX_API obxCornerHarrisu8_fn obxCornerHarrisu8C;

/* The same, dropping corners whose bit is set in bitMask (rows of
 * ceil(maskWidth / 8) bytes, most significant bit first). The mask is the
 * image's size or 2, 4 or 8 times larger or smaller in both dimensions; any
 * other size gives no corners. */
typedef void obxCornerHarrisInMasku8_fn(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride,
                                        uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                                        int32_t threshold, const uint8_t* bitMask, uint32_t maskWidth,
                                        uint32_t maskHeight);
OBX_DECLARE_OPERATION(obxCornerHarrisInMasku8)
OBX_API obxCornerHarrisInMasku8_fn obxCornerHarrisInMasku8C;

/* The strongest Harris response in the 5x5 neighbourhood of (posX, posY),
 * computed from the 11x11 patch around it: the first greatest in raster
 * order, if it exceeds -1, goes to maxX, maxY and maxScore (the signed
 * response) and the result is 1; otherwise 0 and nothing is written. The
 * patch must lie within srcHeight rows and the stride (the width when the
 * stride is 0), else the result is 0. */
typedef int32_t obxLocalHarrisMaxu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint32_t posX, uint32_t posY, uint32_t* maxX,
                                       uint32_t* maxY, uint32_t* maxScore);
OBX_DECLARE_OPERATION(obxLocalHarrisMaxu8)
OBX_API obxLocalHarrisMaxu8_fn obxLocalHarrisMaxu8C;

/* ---- FAST corners ---------------------------------------------------------------- */

/* FAST corners of an 8-bit image: a pixel is a corner when 9 (FAST9) or 10
 * (FAST10) contiguous pixels of the radius-3 circle around it are all
 * brighter than centre + barrier, or all darker than centre - barrier
 * (strict). Pixels within max(border, 3) of an edge are not examined. Corners
 * are (x, y) pairs in raster order; the count is compared with nCornersMax
 * after each store, so a capacity of 0 still stores one corner (give room
 * for at least one pair). A stride of 0
 * means packed rows. Scores are the largest barrier at which the corner still
 * passes. With nmsEnabled, tempBuf (3 * nCornersMax + height words) holds the
 * raw list, and a corner is dropped when one of its 8 neighbours is a corner
 * with a score >= its own (at nCornersMax 0 the one corner stored has no
 * neighbours and goes straight to xy and scores). Masked forms skip pixels whose mask bit is set
 * (1 bit a pixel, MSB first, rows of ceil(maskWidth / 8) bytes); the mask is
 * the image's size or 2, 4 or 8 times larger or smaller in both dimensions,
 * and any other size yields no corners. */
typedef void obxCornerFastu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                uint32_t* nCorners);
typedef void obxCornerFastScoreu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                                     uint32_t nCornersMax, uint32_t* nCorners);
typedef void obxCornerFastScoreNmsu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                        uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                        uint32_t nmsEnabled, uint32_t* tempBuf);
typedef void obxCornerFastInMasku8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                      uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                      uint32_t maskHeight);
typedef void obxCornerFastInMaskScoreu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                           uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                           const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight);
typedef void obxCornerFastInMaskScoreNmsu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                              uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                              const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight,
                                              uint32_t nmsEnabled, uint32_t* tempBuf);

/* FAST9 detection. */
typedef obxCornerFastu8_fn obxCornerFast9u8_v2_fn;
OBX_DECLARE_OPERATION(obxCornerFast9u8_v2)
OBX_API obxCornerFastu8_fn obxCornerFast9u8C;

/* FAST9 detection through obxCornerFast9u8_v2, then scores; no suppression. */
typedef obxCornerFastScoreu8_fn obxCornerFast9Scoreu8_v3_fn;
OBX_DECLARE_OPERATION(obxCornerFast9Scoreu8_v3)
OBX_API obxCornerFastScoreu8_fn obxCornerFast9Scoreu8C;

/* The same with optional suppression. */
typedef obxCornerFastScoreNmsu8_fn obxCornerFast9Scoreu8_v4_fn;
OBX_DECLARE_OPERATION(obxCornerFast9Scoreu8_v4)
OBX_API obxCornerFastScoreNmsu8_fn obxCornerFast9Scoreu8_v2C;

/* Masked FAST9 detection. */
typedef obxCornerFastInMasku8_fn obxCornerFast9InMasku8_v2_fn;
OBX_DECLARE_OPERATION(obxCornerFast9InMasku8_v2)
OBX_API obxCornerFastInMasku8_fn obxCornerFast9InMasku8C;

/* Masked FAST9 detection through obxCornerFast9InMasku8_v2, then scores. */
typedef obxCornerFastInMaskScoreu8_fn obxCornerFast9InMaskScoreu8_v3_fn;
OBX_DECLARE_OPERATION(obxCornerFast9InMaskScoreu8_v3)
OBX_API obxCornerFastInMaskScoreu8_fn obxCornerFast9InMaskScoreu8C;

/* The same with optional suppression. */
typedef obxCornerFastInMaskScoreNmsu8_fn obxCornerFast9InMaskScoreu8_v4_fn;
OBX_DECLARE_OPERATION(obxCornerFast9InMaskScoreu8_v4)
OBX_API obxCornerFastInMaskScoreNmsu8_fn obxCornerFast9InMaskScoreu8_v2C;

/* FAST10 detection. */
typedef obxCornerFastu8_fn obxCornerFast10u8_fn;
OBX_DECLARE_OPERATION(obxCornerFast10u8)
OBX_API obxCornerFastu8_fn obxCornerFast10u8C;

/* FAST10 detection through obxCornerFast10u8, scores, optional suppression. */
typedef obxCornerFastScoreNmsu8_fn obxCornerFast10Scoreu8_fn;
OBX_DECLARE_OPERATION(obxCornerFast10Scoreu8)
OBX_API obxCornerFastScoreNmsu8_fn obxCornerFast10Scoreu8C;

/* Masked FAST10 detection. */
typedef obxCornerFastInMasku8_fn obxCornerFast10InMasku8_fn;
OBX_DECLARE_OPERATION(obxCornerFast10InMasku8)
OBX_API obxCornerFastInMasku8_fn obxCornerFast10InMasku8C;

/* Masked FAST10 detection through obxCornerFast10InMasku8, scores, optional
 * suppression. */
typedef obxCornerFastInMaskScoreNmsu8_fn obxCornerFast10InMaskScoreu8_fn;
OBX_DECLARE_OPERATION(obxCornerFast10InMaskScoreu8)
OBX_API obxCornerFastInMaskScoreNmsu8_fn obxCornerFast10InMaskScoreu8C;

/* ---- Linear algebra: SVD and solvers --------------------------------------- */

/* Singular value decomposition of the m x n row-major matrix A by one-sided
 * Jacobi rotations, so that A = U * diag(w) * Vt with k = min(m, n) singular
 * values in descending order in w. For m >= n, U is m x n (columns are the
 * left singular vectors) and Vt is n x n. For m < n the roles follow the
 * rows of A: U is m x m and Vt is m x n. A zero singular value's vector
 * is the constant vector made orthogonal to those before it, or zero when
 * nothing of it remains. tmpU holds m * n floats and tmpV k * k floats of
 * caller scratch. */
typedef void obxSVDf32_fn(const float* A, uint32_t m, uint32_t n, float* w, float* U, float* Vt, float* tmpU,
                          float* tmpV);
OBX_DECLARE_OPERATION(obxSVDf32)
OBX_API obxSVDf32_fn obxSVDf32C;

/* Least-squares (minimum-norm for rank-deficient A) solution of A x = b,
 * numRows >= numCols, through obxSVDf32 with singular values at or below
 * 1.2e-6 times their sum dropped. A scratch shortage leaves x unwritten. */
typedef void obxSolvef32_fn(const float* A, int32_t numRows, int32_t numCols, const float* b, float* x);
OBX_DECLARE_OPERATION(obxSolvef32)
OBX_API obxSolvef32_fn obxSolvef32C;

/* Solves the symmetric positive definite N x N system A x = b by an in-place
 * Cholesky factorisation of A's upper triangle (diag receives the factor's
 * diagonal). Returns 1, or 0 at the first pivot <= 0, leaving x unwritten. */
typedef int32_t obxSolveCholeskyf32_fn(float* A, const float* b, float* diag, uint32_t N, float* x);
OBX_DECLARE_OPERATION(obxSolveCholeskyf32)
OBX_API obxSolveCholeskyf32_fn obxSolveCholeskyf32C;

/* ---- Geometry: homography and affine fitting ------------------------------- */

/* 2-D point correspondences. Pair k has the source point (from[k * fromStride],
 * from[k * fromStride + 1]) and the destination point laid out the same way
 * in `to` with toStride (strides in float32 elements, 2 for packed pairs).
 * The operations visit only the pairs named by indices[0 .. numIndices - 1],
 * in that order; numCorrespondences is not read by them. */
typedef struct obxCorrespondences {
    const float32_t* from;
    const float32_t* to;
    uint32_t fromStride;
    uint32_t toStride;
    uint32_t numCorrespondences;
    const uint16_t* indices;
    uint32_t numIndices;
} obxCorrespondences;

/* Least-squares homography (h8 = 1) from four or more pairs, through the
 * float32 normal equations and the Cholesky solver's slot, without centring
 * or scaling the coordinates. Fewer than four pairs give nine zeros. When a
 * pivot is not positive the fit is redone in double precision by
 * obxGeomHomographyFitDPf32C, which writes [0, ..., 0, 1] if it fails too. */
typedef void obxGeomHomographyFitf32_fn(const obxCorrespondences* corrs, float32_t* homography);
OBX_DECLARE_OPERATION(obxGeomHomographyFitf32)
OBX_API obxGeomHomographyFitf32_fn obxGeomHomographyFitf32C;
OBX_API obxGeomHomographyFitf32_fn obxGeomHomographyFitDPf32C;

/* Inlier test of a homography: pair k is an inlier when its reprojection
 * error scaled by w^2, ex^2 + ey^2, is strictly below w * (w * maxsqerr),
 * so a pair with w = 0 never is. Appends each inlier's pair number k to
 * `inliers` (room for numIndices entries) and keeps *numinliers current.
 * Returns 0 when every used pair is an inlier, else -1. */
typedef int32_t obxGeomHomographyEvaluatef32_fn(const obxCorrespondences* corrs, const float32_t* homography,
                                                float32_t maxsqerr, uint16_t* inliers, uint32_t* numinliers);
OBX_DECLARE_OPERATION(obxGeomHomographyEvaluatef32)
OBX_API obxGeomHomographyEvaluatef32_fn obxGeomHomographyEvaluatef32C;

/* Least-squares affine transform (last row 0, 0, 1) from three or more pairs
 * through the reference Cholesky solver; fewer pairs, or a system that is not
 * positive definite, give zeros in the first six values. */
typedef void obxGeomAffineFitf32_fn(const obxCorrespondences* corrs, float32_t* affine);
OBX_DECLARE_OPERATION(obxGeomAffineFitf32)
OBX_API obxGeomAffineFitf32_fn obxGeomAffineFitf32C;

/* Inlier test of an affine transform: ex^2 + ey^2 strictly below maxsqerr
 * (a negative maxsqerr admits no pair). Outputs as the homography's. */
typedef int32_t obxGeomAffineEvaluatef32_fn(const obxCorrespondences* corrs, const float32_t* affine,
                                            float32_t maxsqerr, uint16_t* inliers, uint32_t* numinliers);
OBX_DECLARE_OPERATION(obxGeomAffineEvaluatef32)
OBX_API obxGeomAffineEvaluatef32_fn obxGeomAffineEvaluatef32C;

/* Homography mapping the four points src1 (x0, y0, ..., x3, y3) onto src2,
 * solved on normalised points (centroid at the origin, mean distance sqrt 2)
 * through the least-squares solver's slot. When either set has no spread the
 * output is left untouched. */
typedef void obxGetPerspectiveTransformf32_fn(const float32_t* src1, const float32_t* src2,
                                              float32_t* transformCoefficient);
OBX_DECLARE_OPERATION(obxGetPerspectiveTransformf32)
OBX_API obxGetPerspectiveTransformf32_fn obxGetPerspectiveTransformf32C;

/* ---- Geometry: camera projection and lens distortion ---------------------- */

/* cameraCalibration: fx, fy, cx, cy, k1, k2, p1, p2. Distortion maps a
 * normalised point to device coordinates with two radial and two tangential
 * terms. Undistortion takes x0 = fx * (u - cx), y0 = fy * (v - cy) (pass
 * 1/fx and 1/fy to invert a distortion) and runs exactly two fixed-point
 * steps. The N-point forms take byte strides between successive points and
 * do nothing for a count of 0. */
typedef void obxGeomDistortPoint2x1f32_fn(const float32_t* cameraCalibration, const float32_t* xyCamera,
                                          float32_t* xyDevice);
typedef void obxGeomUndistortPoint2x1f32_fn(const float32_t* cameraCalibration, const float32_t* xyDevice,
                                            float32_t* xyCamera);
typedef void obxGeomDistortPoint2xNf32_fn(const float32_t* cameraCalibration, const float32_t* xyCamera,
                                          uint32_t srcStride, uint32_t numPoints, float32_t* xyDevice,
                                          uint32_t dstStride);
typedef void obxGeomUndistortPoint2xNf32_fn(const float32_t* cameraCalibration, const float32_t* xyDevice,
                                            uint32_t srcStride, uint32_t numPoints, float32_t* xyCamera,
                                            uint32_t dstStride);
OBX_DECLARE_OPERATION(obxGeomDistortPoint2x1f32)
OBX_DECLARE_OPERATION(obxGeomUndistortPoint2x1f32)
OBX_DECLARE_OPERATION(obxGeomDistortPoint2xNf32)
OBX_DECLARE_OPERATION(obxGeomUndistortPoint2xNf32)
OBX_API obxGeomDistortPoint2x1f32_fn obxGeomDistortPoint2x1f32C;
OBX_API obxGeomUndistortPoint2x1f32_fn obxGeomUndistortPoint2x1f32C;
OBX_API obxGeomDistortPoint2xNf32_fn obxGeomDistortPoint2xNf32C;
OBX_API obxGeomUndistortPoint2xNf32_fn obxGeomUndistortPoint2xNf32C;

/* Projects the 3-D point xyz through the 3 x 4 row-major pose [R | t]: with
 * z its depth, xyCamera = (row 0, row 1) / z, and xyDevice its distortion
 * (through the distortion slot). Returns 1 when z > 0, else 0; a point at
 * z = 0 is not written, one behind the camera is. The N-point form reads
 * points srcStride bytes apart, writes xyCamera and xyDevice dstStride bytes
 * apart, stores each point's flag (1 or 0) in the bytes inFront[i], and
 * returns the number of points in front. */
typedef uint32_t obxGeomProjectPoint3x1f32_fn(const float32_t* pose, const float32_t* cameraCalibration,
                                              const float32_t* xyz, float32_t* xyCamera, float32_t* xyDevice);
typedef uint32_t obxGeomProjectPoint3xNf32_fn(const float32_t* pose, const float32_t* cameraCalibration,
                                              const float32_t* xyz, uint32_t srcStride, uint32_t numPoints,
                                              float32_t* xyCamera, float32_t* xyDevice, uint32_t dstStride,
                                              uint8_t* inFront);
OBX_DECLARE_OPERATION(obxGeomProjectPoint3x1f32)
OBX_DECLARE_OPERATION(obxGeomProjectPoint3xNf32)
OBX_API obxGeomProjectPoint3x1f32_fn obxGeomProjectPoint3x1f32C;
OBX_API obxGeomProjectPoint3xNf32_fn obxGeomProjectPoint3xNf32C;

/* ---- 16x16 sum of absolute differences ------------------------------------ */

/* Sum of |a - b| over the 256 pixel pairs of two 16x16 blocks, each given by
 * its top-left pixel and its row stride in bytes. */
typedef uint32_t obxSumOfAbsoluteDiff16x16u8_fn(const uint8_t* a, uint32_t aStride, const uint8_t* b,
                                                uint32_t bStride);
OBX_DECLARE_OPERATION(obxSumOfAbsoluteDiff16x16u8)
OBX_API obxSumOfAbsoluteDiff16x16u8_fn obxSumOfAbsoluteDiff16x16u8C;

/* ---- Block-matching optical flow -------------------------------------------- */

/* Motion of 16x16 blocks of src1 found in src2 on a grid of step shiftSize
 * over the region [roiLeft, roiRight) x [roiTop, roiBottom), searched within
 * +-searchWidth, +-searchHeight in steps of searchStep (then refined to one
 * pixel when searchStep >= 2). For each accepted block appends its position
 * (locX, locY) and the matched position in src2 (mvX, mvY, a position, not a
 * displacement); *numMv receives the count. The outputs need room for one
 * entry per grid block. `reserved` is not read; pass 0. */
typedef void obxTrackBMOpticalFlow16x16u8_fn(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                                             uint32_t srcHeight, uint32_t srcStride, uint32_t roiLeft,
                                             uint32_t roiTop, uint32_t roiRight, uint32_t roiBottom,
                                             uint32_t shiftSize, uint32_t searchWidth, uint32_t searchHeight,
                                             uint32_t searchStep, uint32_t reserved, uint32_t* numMv,
                                             uint32_t* locX, uint32_t* locY, uint32_t* mvX, uint32_t* mvY);
OBX_DECLARE_OPERATION(obxTrackBMOpticalFlow16x16u8)
OBX_API obxTrackBMOpticalFlow16x16u8_fn obxTrackBMOpticalFlow16x16u8C;

/* ---- Memory storage and sequences ----------------------------------------- */

/* Memory storage and sequences: a chain of equal-sized heap blocks from which
 * pieces are carved, and growable arrays of fixed-size elements kept in such a
 * chain. Every record is a plain struct of 32-bit words on the 32-bit target;
 * on 64-bit hosts its pointer fields take their natural size. A block starts
 * with a header of two pointers (previous, next); its data follows. */

typedef struct obxMemStorage {
    uint8_t* bottom;     /* first block, or null */
    uint8_t* top;        /* last block, carved from, or null */
    uint32_t block_size; /* bytes per block, header included */
    uint32_t free_space; /* bytes still free at the end of top */
} obxMemStorage;

typedef struct obxSeq {
    int32_t total;          /* elements pushed */
    uint32_t elem_size;     /* bytes per element */
    uint8_t* block_max;     /* end of the current block's element area */
    uint8_t* ptr;           /* where the next element is written */
    uint32_t elemsPerBlock; /* elements in one block's element area */
    uint32_t headerSize;    /* offset of the first element in a block */
    obxMemStorage* storage;
} obxSeq;

typedef struct obxSeqReader {
    uint8_t* ptr;       /* current element */
    uint8_t* block_max; /* end of the current block's element area */
    uint8_t* block;     /* current block */
    obxSeq* seq;
} obxSeqReader;

/* Default block size, header included. */
#define OBX_MEM_BLOCK_SIZE 65408u

OBX_API void obxInitMemStorage(obxMemStorage* storage);
/* Frees every block and empties the chain, keeping block_size; returns 0. */
OBX_API int32_t obxDeInitMemStorage(obxMemStorage* storage);
/* Starts a new block only when top has fewer than `size` bytes free, and
 * returns the address of its data; otherwise returns null (every successful
 * call starts a block). */
OBX_API void* obxAllocateMemBlock(obxMemStorage* storage, int32_t size);
/* Returns the number of elements per block. */
OBX_API uint32_t obxInitSeq(obxSeq* seq, uint32_t elem_size, obxMemStorage* storage);
/* Empties the sequence and frees all blocks of its storage. */
OBX_API void obxClearSeq(obxSeq* seq);
OBX_API void obxSeqPush(obxSeq* seq, const void* element);
/* Fills a new or cleared sequence with `count` elements. */
OBX_API void obxSeqPushMulti(obxSeq* seq, const void* elements, uint32_t count);
/* Copies the first `count` elements out; the sequence is unchanged. */
OBX_API void obxSeqPopMulti(obxSeq* seq, void* destination, uint32_t count);
/* Address of element `index`: the block is chosen by index / elemsPerBlock
 * and the offset within it is elem_size * index, so only indices of the first
 * block address the element itself. Null when index > total. */
OBX_API uint8_t* obxGetSeqElem(obxSeq* seq, int32_t index);
OBX_API void obxStartReadSeq(obxSeq* seq, obxSeqReader* reader);
/* Advances by `step` bytes, moving to the next block at the end of one; at the
 * end of the last block the reader stays where it was. */
OBX_API void obxNextSeqElem(obxSeqReader* reader, int32_t step);

/* ---- Mean shift ------------------------------------------------------------- */

/* Moves window = {x, y, width, height} over a weight image towards the centre
 * of mass of the weights under it: each pass clamps the window into the image
 * (a width or height that comes out 0 or below becomes 1), takes the float32
 * moments m00, m10, m01 relative to its corner, and moves it by the rounded
 * offset of the centroid from the window's centre (the quotient m10/m00 in
 * float32, the offset in double, halves away from zero). Stops when the
 * weights vanish, when the squared step is below round(eps^2), or after
 * maxIterations passes. Writes the window back (with the clamped size of the
 * last pass) and returns the index of the stopping pass, or maxIterations.
 * The stride is in bytes for every element type. */
typedef int32_t obxMeanShiftu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  int32_t* window, uint32_t maxIterations, float eps);
typedef int32_t obxMeanShifts32_fn(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t* window, uint32_t maxIterations, float eps);
typedef int32_t obxMeanShiftf32_fn(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t* window, uint32_t maxIterations, float eps);
OBX_DECLARE_OPERATION(obxMeanShiftu8)
OBX_DECLARE_OPERATION(obxMeanShifts32)
OBX_DECLARE_OPERATION(obxMeanShiftf32)
OBX_API obxMeanShiftu8_fn obxMeanShiftu8C;
OBX_API obxMeanShifts32_fn obxMeanShifts32C;
OBX_API obxMeanShiftf32_fn obxMeanShiftf32C;

/* Continuously adaptive mean shift: runs mean shift on window (as above),
 * then takes the ten tile moments of the weights under the converged window.
 * With M the largest weight in that window, the new window is a square of
 * side max(1, round(2 * sqrt(m00 / M))) centred on the centroid (corner
 * rounded half away from zero), clamped into the image as mean shift clamps.
 * box gets five values: the centroid x and y in image coordinates, the
 * length and width of the blob (4 * sqrt of the larger and smaller
 * eigenvalue of the second central moments / m00, i.e. the full axes of a
 * uniform ellipse) and the angle of its long axis in degrees from the x axis
 * towards y (image rows down), in (-90, 90]. When m00 or M is not positive
 * the window stays as mean shift left it and box is its centre with zero
 * size and angle. Returns mean shift's iteration count. */
typedef int32_t obxConAdaTracku8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int32_t* window, uint32_t maxIterations, float eps, float* box);
typedef int32_t obxConAdaTracks32_fn(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int32_t* window, uint32_t maxIterations, float eps, float* box);
typedef int32_t obxConAdaTrackf32_fn(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int32_t* window, uint32_t maxIterations, float eps, float* box);
OBX_DECLARE_OPERATION(obxConAdaTracku8)
OBX_DECLARE_OPERATION(obxConAdaTracks32)
OBX_DECLARE_OPERATION(obxConAdaTrackf32)
OBX_API obxConAdaTracku8_fn obxConAdaTracku8C;
OBX_API obxConAdaTracks32_fn obxConAdaTracks32C;
OBX_API obxConAdaTrackf32_fn obxConAdaTrackf32C;

/* ---- Patch descriptors and dot products -------------------------------------- */

/* A 36-value gradient descriptor of a 17x17 patch (stride 17): weighted x and
 * y differences and their magnitudes summed over a 3x3 grid of 5x5 cells of
 * the interior, shifted right by 3, clamped at 20/128 of their norm and
 * scaled so that the largest magnitude becomes 127 (truncating). Writes the
 * 36 values and the sum of their squares and returns 0; a patch without
 * gradient returns -1 and writes nothing. */
typedef int32_t obxDescriptor17x17u8To36s8_fn(const uint8_t* patch, int8_t* descriptorChar,
                                              int32_t* descriptorNormSq);
OBX_DECLARE_OPERATION(obxDescriptor17x17u8To36s8)
OBX_API obxDescriptor17x17u8To36s8_fn obxDescriptor17x17u8To36s8C;

/* Per-dimension mean and sum of squared deviations of the float descriptors
 * src + 36 * vind[k] for k = first .. min(first + 100, last), summed in float
 * in index order: means[d] = s / n (as (1 / n) * s), vars[d] = q - s * means[d].
 * temp must be non-null and is not used. Returns 0. */
typedef int32_t obxDescriptorSampledMeanAndVar36f32_fn(const float* src, int32_t first, int32_t last,
                                                       const uint32_t* vind, float* means, float* vars, float* temp);
OBX_DECLARE_OPERATION(obxDescriptorSampledMeanAndVar36f32)
OBX_API obxDescriptorSampledMeanAndVar36f32_fn obxDescriptorSampledMeanAndVar36f32C;

/* dst[36 i + j] = (invLen[i] * reqNorm) * src[i * srcStride + j] for numVecs
 * descriptors of 36 values (srcStride in bytes). Does nothing when *stopFlag
 * is non-zero on entry (read once). Returns 0. */
typedef int32_t obxVecNormalize36s8f32_fn(const int8_t* src, uint32_t srcStride, const float* invLen,
                                          uint32_t numVecs, float reqNorm, float* dst, const int32_t* stopFlag);
OBX_DECLARE_OPERATION(obxVecNormalize36s8f32)
OBX_API obxVecNormalize36s8f32_fn obxVecNormalize36s8f32C;

/* Integer dot products, summed in 32 bits in element order (wrapping like
 * unsigned arithmetic for long vectors). len = 0 gives 0. */
typedef int32_t obxDotProducts8_fn(const int8_t* a, const int8_t* b, uint32_t len);
typedef uint32_t obxDotProductu8_fn(const uint8_t* a, const uint8_t* b, uint32_t len);
OBX_DECLARE_OPERATION(obxDotProducts8)
OBX_DECLARE_OPERATION(obxDotProductu8)
OBX_API obxDotProducts8_fn obxDotProducts8C;
OBX_API obxDotProductu8_fn obxDotProductu8C;

/* a . b over 36, 64 or 128 elements. */
typedef int32_t obxDotProduct36x1s8_fn(const int8_t* a, const int8_t* b);
typedef uint32_t obxDotProduct36x1u8_fn(const uint8_t* a, const uint8_t* b);
typedef obxDotProduct36x1s8_fn obxDotProduct64x1s8_fn;
typedef obxDotProduct36x1s8_fn obxDotProduct128x1s8_fn;
typedef obxDotProduct36x1u8_fn obxDotProduct64x1u8_fn;
typedef obxDotProduct36x1u8_fn obxDotProduct128x1u8_fn;
OBX_DECLARE_OPERATION(obxDotProduct36x1s8)
OBX_DECLARE_OPERATION(obxDotProduct64x1s8)
OBX_DECLARE_OPERATION(obxDotProduct128x1s8)
OBX_DECLARE_OPERATION(obxDotProduct36x1u8)
OBX_DECLARE_OPERATION(obxDotProduct64x1u8)
OBX_DECLARE_OPERATION(obxDotProduct128x1u8)
OBX_API obxDotProduct36x1s8_fn obxDotProduct36x1s8C;
OBX_API obxDotProduct36x1s8_fn obxDotProduct64x1s8C;
OBX_API obxDotProduct36x1s8_fn obxDotProduct128x1s8C;
OBX_API obxDotProduct36x1u8_fn obxDotProduct36x1u8C;
OBX_API obxDotProduct36x1u8_fn obxDotProduct64x1u8C;
OBX_API obxDotProduct36x1u8_fn obxDotProduct128x1u8C;

/* dotProducts[i] = A . (B, C, D, E)[i] over 36, 64 or 128 elements. */
typedef void obxDotProduct36x4s8_fn(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D,
                                    const int8_t* E, int32_t* dotProducts);
typedef void obxDotProduct36x4u8_fn(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                    const uint8_t* E, uint32_t* dotProducts);
typedef obxDotProduct36x4s8_fn obxDotProduct64x4s8_fn;
typedef obxDotProduct36x4s8_fn obxDotProduct128x4s8_fn;
typedef obxDotProduct36x4u8_fn obxDotProduct64x4u8_fn;
typedef obxDotProduct36x4u8_fn obxDotProduct128x4u8_fn;
OBX_DECLARE_OPERATION(obxDotProduct36x4s8)
OBX_DECLARE_OPERATION(obxDotProduct64x4s8)
OBX_DECLARE_OPERATION(obxDotProduct128x4s8)
OBX_DECLARE_OPERATION(obxDotProduct36x4u8)
OBX_DECLARE_OPERATION(obxDotProduct64x4u8)
OBX_DECLARE_OPERATION(obxDotProduct128x4u8)
OBX_API obxDotProduct36x4s8_fn obxDotProduct36x4s8C;
OBX_API obxDotProduct36x4s8_fn obxDotProduct64x4s8C;
OBX_API obxDotProduct36x4s8_fn obxDotProduct128x4s8C;
OBX_API obxDotProduct36x4u8_fn obxDotProduct36x4u8C;
OBX_API obxDotProduct36x4u8_fn obxDotProduct64x4u8C;
OBX_API obxDotProduct36x4u8_fn obxDotProduct128x4u8C;

/* dotProducts[i] = ((float)(A . vBi) * invLengthA) * invLengthsB[i] over 36,
 * 64 or 128 elements. */
typedef void obxDotProductNorm36x4s8_fn(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                                        const int8_t* vB2, const int8_t* vB3, const float* invLengthsB,
                                        float* dotProducts);
typedef void obxDotProductNorm36x4u8_fn(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                                        const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB,
                                        float* dotProducts);
typedef obxDotProductNorm36x4s8_fn obxDotProductNorm64x4s8_fn;
typedef obxDotProductNorm36x4s8_fn obxDotProductNorm128x4s8_fn;
typedef obxDotProductNorm36x4u8_fn obxDotProductNorm64x4u8_fn;
typedef obxDotProductNorm36x4u8_fn obxDotProductNorm128x4u8_fn;
OBX_DECLARE_OPERATION(obxDotProductNorm36x4s8)
OBX_DECLARE_OPERATION(obxDotProductNorm64x4s8)
OBX_DECLARE_OPERATION(obxDotProductNorm128x4s8)
OBX_DECLARE_OPERATION(obxDotProductNorm36x4u8)
OBX_DECLARE_OPERATION(obxDotProductNorm64x4u8)
OBX_DECLARE_OPERATION(obxDotProductNorm128x4u8)
OBX_API obxDotProductNorm36x4s8_fn obxDotProductNorm36x4s8C;
OBX_API obxDotProductNorm36x4s8_fn obxDotProductNorm64x4s8C;
OBX_API obxDotProductNorm36x4s8_fn obxDotProductNorm128x4s8C;
OBX_API obxDotProductNorm36x4u8_fn obxDotProductNorm36x4u8C;
OBX_API obxDotProductNorm36x4u8_fn obxDotProductNorm64x4u8C;
OBX_API obxDotProductNorm36x4u8_fn obxDotProductNorm128x4u8C;

/* Correlation of an 8x8 patch (stride 8) with the 8x8 blocks of img (imgW is
 * also its stride) whose fifth column and row are (nX + i, nY), for i = 0 ..
 * nNum - 1: dotProducts[i] = sum of ptch(u, v) * img(nX - 4 + i + u, nY - 4 + v). */
typedef void obxDotProduct8x8u8_fn(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH,
                                   uint32_t nX, uint32_t nY, uint32_t nNum, uint32_t* dotProducts);
OBX_DECLARE_OPERATION(obxDotProduct8x8u8)
OBX_API obxDotProduct8x8u8_fn obxDotProduct8x8u8C;

/* The same correlation on a grid of 12 x 11 positions: dotProducts[12 dy + dx]
 * for the block whose top-left is (nX - 4 + dx, nY - 4 + dy). The caller keeps
 * the 19 x 18 pixels read inside the image. */
typedef void obxDotProduct11x12u8_fn(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH,
                                     uint32_t nX, uint32_t nY, uint32_t* dotProducts);
OBX_DECLARE_OPERATION(obxDotProduct11x12u8)
OBX_API obxDotProduct11x12u8_fn obxDotProduct11x12u8C;

/* ---- Lucas-Kanade optical flow ----------------------------------------------------------- */

/* Tracks n feature points from the 8-bit image src1 to src2 (both width x
 * height, packed) with the pyramidal iterative Lucas-Kanade method in
 * float32. src1Pyr and src2Pyr are their u8 pyramids of numLevels levels
 * (level 0 is src1/src2 themselves; levels 1.. are read from the pyramids);
 * the two gradient pyramids are accepted and not read. featureXY holds x, y
 * pairs; featureXY_out receives the tracked positions and featureStatus one
 * code per feature: 1 tracked, -2 singular gradient matrix, -4 window
 * clipped below 3 pixels or left the image. The window is
 * (2 * (windowWidth / 2) + 1) x (2 * (windowHeight / 2) + 1): only odd sizes
 * of at least 5 fit the working area the call allocates, so other sizes
 * return without writing anything. A feature that fails at a coarser level
 * keeps the position last stored, in that level's pixels. */
typedef void obxTrackLKOpticalFlowf32_fn(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                         const obxPyramidLevel* src1Pyr, const obxPyramidLevel* src2Pyr,
                                         const obxPyramidLevel* dxPyr, const obxPyramidLevel* dyPyr,
                                         const float32_t* featureXY, float32_t* featureXY_out,
                                         int32_t* featureStatus, int32_t numFeatures, int32_t windowWidth,
                                         int32_t windowHeight, int32_t maxIterations, int32_t numLevels);
typedef obxTrackLKOpticalFlowf32_fn obxTrackLKOpticalFlowu8_fn;
OBX_DECLARE_OPERATION(obxTrackLKOpticalFlowf32)
OBX_DECLARE_OPERATION(obxTrackLKOpticalFlowu8)
OBX_API obxTrackLKOpticalFlowf32_fn obxTrackLKOpticalFlowf32C;

/* ---- Contour finding ---------------------------------------------------- */

/* Borders of the 8-connected components of an 8-bit image (every non-zero
 * pixel is foreground), found by a raster scan and border following. The image
 * is working memory: its outermost rows and columns are cleared, foreground
 * becomes 1, and traced border pixels receive labels (2 / 254 in External and
 * List; the low byte of +-(index + 2) in Ccomp and Tree), which stay in the
 * caller's buffer. Each contour is written as x, y pairs of int32 into
 * pointBuffer (pointBufferSize counts int32 values); numContourPoints[i] is
 * its point count and contourStartPoints[i] the address of its first point.
 * Outer borders run counter-clockwise on screen from their top-left pixel.
 * hierarchy holds four int32 per contour: next and previous at the same level,
 * first child, parent (-1 for none); holeFlag is 1 for hole borders. A call
 * stops quietly, with the contours completed so far, when maxNumContours is
 * reached or a point would fill the point buffer. The hierarchical modes need
 * maxNumContours >= 127 and return at most 253 contours, as their labels are
 * 8-bit. contourHandle comes from obxFindContoursAllocate for the same
 * stride. */
typedef void* obxFindContoursAllocate_fn(uint32_t srcStride);
typedef void obxFindContoursDelete_fn(void* contourHandle);
typedef void obxFindContoursExternalu8_fn(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          uint32_t maxNumContours, uint32_t* numContours,
                                          uint32_t* numContourPoints, int32_t** contourStartPoints,
                                          int32_t* pointBuffer, uint32_t pointBufferSize, int32_t* hierarchy,
                                          void* contourHandle);
typedef void obxFindContoursListu8_fn(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t maxNumContours, uint32_t* numContours, uint32_t* numContourPoints,
                                      int32_t** contourStartPoints, int32_t* pointBuffer,
                                      uint32_t pointBufferSize, void* contourHandle);
typedef void obxFindContoursCcompu8_fn(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t maxNumContours, uint32_t* numContours, int32_t* holeFlag,
                                       uint32_t* numContourPoints, int32_t** contourStartPoints,
                                       int32_t* pointBuffer, uint32_t pointBufferSize, int32_t* hierarchy,
                                       void* contourHandle);
typedef obxFindContoursCcompu8_fn obxFindContoursTreeu8_fn;
OBX_DECLARE_OPERATION(obxFindContoursAllocate)
OBX_DECLARE_OPERATION(obxFindContoursDelete)
OBX_DECLARE_OPERATION(obxFindContoursExternalu8)
OBX_DECLARE_OPERATION(obxFindContoursListu8)
OBX_DECLARE_OPERATION(obxFindContoursCcompu8)
OBX_DECLARE_OPERATION(obxFindContoursTreeu8)
OBX_API obxFindContoursAllocate_fn obxFindContoursAllocateC;
OBX_API obxFindContoursDelete_fn obxFindContoursDeleteC;
OBX_API obxFindContoursExternalu8_fn obxFindContoursExternalu8C;
OBX_API obxFindContoursListu8_fn obxFindContoursListu8C;
OBX_API obxFindContoursCcompu8_fn obxFindContoursCcompu8C;
OBX_API obxFindContoursTreeu8_fn obxFindContoursTreeu8C;

/* ---- Warps and remaps ---------------------------------------------------- */

/* Perspective warp of an 8-bit image. warpmatrix (m0 .. m8, row-major) maps
 * destination pixel (x, y) to homogeneous source coordinates
 * (X, Y, W) = M (x, y, 1), evaluated incrementally in float32: each row starts
 * from (m2, m5, m8) plus m1, m4, m7 added once per earlier row, and m0, m3,
 * m6 are added after every pixel. u = X * (1 / W), v = Y * (1 / W). The pixel
 * is inside when u >= 0, v >= 0, trunc(u) < srcWidth - 1 and trunc(v) <
 * srcHeight - 1 (the last source column and row never serve as top-left
 * corner); outside pixels are 0. Inside, with ix = trunc(u), fx = u - ix (the
 * same for v): top = s(ix, iy) + fx (s(ix+1, iy) - s(ix, iy)), bottom alike
 * on row iy + 1, result trunc(top + fy (bottom - top)), all in float32. The
 * first form takes packed images; the _v2 form byte strides. The 3-channel
 * forms apply the same mapping and weights to each of three interleaved
 * channels (strides still in bytes, widths in pixels). */
typedef void obxWarpPerspectiveu8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                                     uint32_t dstWidth, uint32_t dstHeight, const float32_t* warpmatrix);
typedef void obxWarpPerspectiveu8_v2_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                        uint32_t dstStride, const float32_t* warpmatrix);
typedef obxWarpPerspectiveu8_fn obx3ChannelWarpPerspectiveu8_fn;
typedef obxWarpPerspectiveu8_v2_fn obx3ChannelWarpPerspectiveu8_v2_fn;
OBX_DECLARE_OPERATION(obxWarpPerspectiveu8)
OBX_DECLARE_OPERATION(obxWarpPerspectiveu8_v2)
OBX_DECLARE_OPERATION(obx3ChannelWarpPerspectiveu8)
OBX_DECLARE_OPERATION(obx3ChannelWarpPerspectiveu8_v2)
OBX_API obxWarpPerspectiveu8_fn obxWarpPerspectiveu8C;
OBX_API obxWarpPerspectiveu8_v2_fn obxWarpPerspectiveu8_v2C;
OBX_API obx3ChannelWarpPerspectiveu8_fn obx3ChannelWarpPerspectiveu8C;
OBX_API obx3ChannelWarpPerspectiveu8_v2_fn obx3ChannelWarpPerspectiveu8_v2C;

/* 8x8 patch around nPos = (px, py) under nAffine = (a0, a1, a2, a3), all Q16.
 * Patch pixel (i, j), i the column and j the row offset, both -4 .. +3,
 * samples x = px + a0 i + a1 j, y = py + a2 i + a3 j. When any of the four
 * corners (i, j in {-4, +3}) lies outside 0 <= x <= (srcWidth - 1) 65536,
 * 0 <= y <= (srcHeight - 1) 65536, returns 1 and writes nothing. Otherwise
 * with xi = x >> 16, fx = (x >> 8) & 255 (y alike): top = p00 + (((p01 - p00)
 * fx) >> 8), bottom alike on row yi + 1, result top + (((bottom - top) fy)
 * >> 8), flooring shifts; a neighbour whose weight is 0 is not read. Returns
 * 0. */
typedef int32_t obxTransformAffine8x8u8_v2_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const int32_t* nPos, const int32_t* nAffine,
                                              uint8_t* patch, uint32_t patchStride);
OBX_DECLARE_OPERATION(obxTransformAffine8x8u8_v2)
OBX_API obxTransformAffine8x8u8_v2_fn obxTransformAffine8x8u8C;

/* Patch of patchWidth x patchHeight around nPos = (px, py) under nAffine =
 * (a0, a1, a2, a3), all float32. Patch pixel (c, r) has offsets i = c -
 * patchWidth / 2, j = r - patchHeight / 2 and samples
 * x = (px + a1 j) + a0 i, y = (py + a3 j) + a2 i (float32, in that order).
 * obxTransformAffineu8_v2 clamps x into [0, srcWidth - 1] and y into
 * [0, srcHeight - 1] (NaN to 0), so the border is repeated;
 * obxTransformAffineClippedu8 writes 0 where x or y lies outside those
 * ranges (or is NaN). The clamped position is taken in Q8, xq = trunc(x 256),
 * and interpolated like obxTransformAffine8x8u8 with 8-bit fractions. On
 * ARMv7 the vector variants form positions on NEON, which flushes subnormal
 * values to zero: they match the references whenever a0 i, a2 i and the
 * positions stay normal or zero. */
typedef void obxTransformAffineu8_v2_fn(const uint8_t* nImage, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, const float32_t* nPos, const float32_t* nAffine,
                                        uint8_t* nPatch, uint32_t patchWidth, uint32_t patchHeight,
                                        uint32_t patchStride);
typedef obxTransformAffineu8_v2_fn obxTransformAffineClippedu8_fn;
OBX_DECLARE_OPERATION(obxTransformAffineu8_v2)
OBX_DECLARE_OPERATION(obxTransformAffineClippedu8)
OBX_API obxTransformAffineu8_v2_fn obxTransformAffineu8_v2C;
OBX_API obxTransformAffineClippedu8_fn obxTransformAffineClippedu8C;

/* 17x17 patch (packed, stride 17) rotated by `orientation` radians about the
 * pixel `region` points at: with c = cosf(orientation), s = sinf(orientation)
 * patch pixel (8 + i, 8 + j) samples the offset x = (-s j) + c i,
 * y = (c j) + s i from that pixel, in Q8 as trunc((x + 16) 256) - 4096, and
 * is interpolated like obxTransformAffine8x8u8. The samples stay within 12
 * pixels of the centre: the caller keeps that margin inside the image. */
typedef void obxCopyRotated17x17u8_fn(const uint8_t* region, uint32_t regionStride, float32_t orientation,
                                      uint8_t* patch);
OBX_DECLARE_OPERATION(obxCopyRotated17x17u8)
OBX_API obxCopyRotated17x17u8_fn obxCopyRotated17x17u8C;

/* Sub-pixel translated copy: dst(x, y) = src sampled at (x + dx, y + dy), both
 * images width x height with `stride` bytes per row. The shift is Q7 (1/128
 * pixel): the integer part is dx >> 7 (flooring), the fraction f = dx & 127;
 * with neighbour coordinates clamped into the image (the border repeats),
 * result = (p00 (128 - fx)(128 - fy) + p01 fx (128 - fy) + p10 (128 - fx) fy
 * + p11 fx fy + 8192) >> 14. The float form rounds dx * 128 and dy * 128 to
 * the nearest integer (halves away from zero; beyond +-2^24 pixels clamped)
 * and calls the Q7 form. */
typedef void obxCopyTranslatedSubPixu8Q7_fn(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                            int32_t dxQ7, int32_t dyQ7, uint8_t* dst);
typedef void obxCopyTranslatedSubPixu8f32_fn(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                             float32_t dx, float32_t dy, uint8_t* dst);
OBX_DECLARE_OPERATION(obxCopyTranslatedSubPixu8Q7)
OBX_DECLARE_OPERATION(obxCopyTranslatedSubPixu8f32)
OBX_API obxCopyTranslatedSubPixu8Q7_fn obxCopyTranslatedSubPixu8Q7C;
OBX_API obxCopyTranslatedSubPixu8f32_fn obxCopyTranslatedSubPixu8f32C;

/* RGBA8888 remaps through float32 maps (mapX, mapY, rows mapStride bytes
 * apart): destination pixel (x, y) samples (mapX(x, y), mapY(x, y)).
 * Nearest: each coordinate rounded half away from zero (+-0.5, truncate);
 * the 4-byte pixel is copied when the column is below srcWidth and the row
 * below srcHeight as unsigned values, otherwise all four bytes are 0.
 * Bilinear: x0 = floor(mx), fx = mx - x0 (y alike); the neighbours (x0, y0),
 * (x0+1, y0), (x0, y0+1), (x0+1, y0+1) weigh (1-fx)(1-fy), fx(1-fy),
 * (1-fx)fy, fx fy; only neighbours inside the image contribute, without
 * renormalising (the border fades to 0). Each channel is summed in float32
 * in that order and rounded half up. Coordinates beyond +-2^31 (or NaN) are
 * outside. */
typedef void obxRemapRGBA8888u8_fn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                   const float32_t* mapX, const float32_t* mapY, uint32_t mapStride);
typedef obxRemapRGBA8888u8_fn obxRemapRGBA8888NNu8_fn;
typedef obxRemapRGBA8888u8_fn obxRemapRGBA8888BLu8_fn;
OBX_DECLARE_OPERATION(obxRemapRGBA8888NNu8)
OBX_DECLARE_OPERATION(obxRemapRGBA8888BLu8)
OBX_API obxRemapRGBA8888u8_fn obxRemapRGBA8888NNu8C;
OBX_API obxRemapRGBA8888u8_fn obxRemapRGBA8888BLu8C;

/* ---- Bit counts and Hamming distances --------------------------------------- */

/* Every count is the number of set bits, byte by byte in order (for a Hamming
 * distance, of the XOR of the two strings). The a4 forms promise 4-byte
 * aligned inputs and give the same results as the unaligned ones. A length of
 * 0 returns 0 without reading. */
typedef uint32_t obxBitCountu8_fn(const uint8_t* src, uint32_t len);
/* numIntegers 32-bit words, that is 4 * numIntegers bytes. */
typedef uint32_t obxBitCountu32_fn(const uint32_t* src, uint32_t numIntegers);
/* One string of 32 or 64 bytes. */
typedef uint32_t obxBitCountFixed_fn(const uint8_t* src);
typedef obxBitCountFixed_fn obxBitCount32x1u8_fn;
typedef obxBitCountFixed_fn obxBitCount64x1u8_fn;
/* Four strings of 32 or 64 bytes: count[i] for the i-th. */
typedef void obxBitCountFixed4_fn(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                  uint32_t* count);
typedef obxBitCountFixed4_fn obxBitCount32x4u8_fn;
typedef obxBitCountFixed4_fn obxBitCount64x4u8_fn;
typedef uint32_t obxHammingDistanceu8_fn(const uint8_t* a, const uint8_t* b, uint32_t len);
/* One pair of 32- or 64-byte strings. */
typedef uint32_t obxHammingDistanceFixed_fn(const uint8_t* a, const uint8_t* b);
typedef obxHammingDistanceFixed_fn obxHammingDistance32x1u8_fn;
typedef obxHammingDistanceFixed_fn obxHammingDistance32x1u8a4_fn;
typedef obxHammingDistanceFixed_fn obxHammingDistance64x1u8_fn;
typedef obxHammingDistanceFixed_fn obxHammingDistance64x1u8a4_fn;
/* A against each of B, C, D, E: HamminDistances[i] for the i-th. */
typedef void obxHammingDistanceFixed4_fn(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                         const uint8_t* E, uint32_t* HamminDistances);
typedef obxHammingDistanceFixed4_fn obxHammingDistance32x4u8a4_fn;
typedef obxHammingDistanceFixed4_fn obxHammingDistance64x4u8_fn;
typedef obxHammingDistanceFixed4_fn obxHammingDistance64x4u8a4_fn;
OBX_DECLARE_OPERATION(obxBitCountu8)
OBX_DECLARE_OPERATION(obxBitCountu32)
OBX_DECLARE_OPERATION(obxBitCount32x1u8)
OBX_DECLARE_OPERATION(obxBitCount64x1u8)
OBX_DECLARE_OPERATION(obxBitCount32x4u8)
OBX_DECLARE_OPERATION(obxBitCount64x4u8)
OBX_DECLARE_OPERATION(obxHammingDistanceu8)
OBX_DECLARE_OPERATION(obxHammingDistance32x1u8)
OBX_DECLARE_OPERATION(obxHammingDistance32x1u8a4)
OBX_DECLARE_OPERATION(obxHammingDistance64x1u8)
OBX_DECLARE_OPERATION(obxHammingDistance64x1u8a4)
OBX_DECLARE_OPERATION(obxHammingDistance32x4u8a4)
OBX_DECLARE_OPERATION(obxHammingDistance64x4u8)
OBX_DECLARE_OPERATION(obxHammingDistance64x4u8a4)
OBX_API obxBitCountu8_fn obxBitCountu8C;
OBX_API obxBitCountu32_fn obxBitCountu32C;
OBX_API obxBitCountFixed_fn obxBitCount32x1u8C, obxBitCount64x1u8C;
OBX_API obxBitCountFixed4_fn obxBitCount32x4u8C, obxBitCount64x4u8C;
OBX_API obxHammingDistanceu8_fn obxHammingDistanceu8C;
OBX_API obxHammingDistanceFixed_fn obxHammingDistance32x1u8C, obxHammingDistance32x1u8a4C,
    obxHammingDistance64x1u8C, obxHammingDistance64x1u8a4C;
OBX_API obxHammingDistanceFixed4_fn obxHammingDistance32x4u8a4C, obxHammingDistance64x4u8C,
    obxHammingDistance64x4u8a4C;

/* ---- Distances of 36-element descriptors ---------------------------------- */

/* For each of numB descriptors b_i (36 signed bytes each, packed) with
 * inverse length invLenB[i], the squared Euclidean distance between the unit
 * vectors of a and b_i, from their dot product d_i (obxDotProduct36x1s8):
 *   distances[i] = |2 - ((invLenB[i] + invLenB[i]) * invLenA) * (float)d_i|
 * evaluated in float in that order. */
typedef void obxSumOfSquaredDiffs36xNs8_fn(const int8_t* a, float invLenA, const int8_t* b, const float* invLenB,
                                           uint32_t numB, float* distances);
OBX_DECLARE_OPERATION(obxSumOfSquaredDiffs36xNs8)
OBX_API obxSumOfSquaredDiffs36xNs8_fn obxSumOfSquaredDiffs36xNs8C;

/* ---- KD-tree for 36-element descriptors ------------------------------------ */

/* Approximate nearest neighbours among descriptors (36 signed bytes each, with
 * an inverse length so that the search works on unit vectors), by a
 * randomised KD-tree searched best bin first. The build draws its random
 * choices from lrand48(), which the library never seeds: seed it with
 * srand48() for a reproducible tree. The caller's vectors are referenced, not
 * copied, and must outlive the tree. A tree must not be queried from two
 * threads at once. */
struct obxKDTreeDataset36s8f32;
struct obxKDTreeIndex36s8f32;
typedef struct obxKDTrees36s8f32 {
    struct obxKDTreeDataset36s8f32* dataset; /* the points */
    struct obxKDTreeIndex36s8f32* nodes;     /* the built tree */
} obxKDTrees36s8f32;

/* Builds the tree over numVectors descriptors (vectors + 36 i) and stores
 * its handle in *kdtrees. Returns 0, or 1 when memory runs out (nothing is
 * left allocated). numVectors may be 0: every query then finds nothing. */
typedef int32_t obxKDTreeCreate36s8f32_fn(const int8_t* vectors, const float* invLengths, int32_t numVectors,
                                          obxKDTrees36s8f32** kdtrees);
/* Up to maxNNs nearest points to query, sorted by distance (ties by index),
 * each closer than maxDist (squared distance of unit vectors, 0..4). The
 * search stops once maxChecks points were compared and maxNNs were found.
 * mask is not read. Returns 0. */
typedef int32_t obxKDTreeQuery36s8f32_fn(obxKDTrees36s8f32* kdtrees, const int8_t* query, float queryInvLen,
                                         int32_t maxNNs, float maxDist, int32_t maxChecks, const uint8_t* mask,
                                         int32_t* numNNsFound, int32_t* NNInds, float* NNDists);
/* Frees the tree and its handle. Returns 0. */
typedef int32_t obxKDTreeDestroy36s8f32_fn(obxKDTrees36s8f32* kdtrees);
OBX_DECLARE_OPERATION(obxKDTreeCreate36s8f32)
OBX_DECLARE_OPERATION(obxKDTreeQuery36s8f32)
OBX_DECLARE_OPERATION(obxKDTreeDestroy36s8f32)
OBX_API obxKDTreeCreate36s8f32_fn obxKDTreeCreate36s8f32C;
OBX_API obxKDTreeQuery36s8f32_fn obxKDTreeQuery36s8f32C;
OBX_API obxKDTreeDestroy36s8f32_fn obxKDTreeDestroy36s8f32C;

#ifdef __cplusplus
}
#endif

#endif /* OMBRIX_H */
