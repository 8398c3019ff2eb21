/*
 * The one list of table slots. The table, the reset to references, the
 * install of vector variants, the conformance tests and the demo's counts are
 * all expanded from it. Include it after defining the entry kinds you need;
 * kinds left undefined expand to nothing, and all are undefined afterwards.
 *
 *   OBX_OP(name, reference, vector)   public; vector modes install `vector`
 *   OBX_OP_REF(name, reference)       public; reference in every mode
 *   OBX_OP_STATIC(name, reference)    public; never written by a mode call
 *   OBX_KERNEL(name, reference, vector)  internal kernel with a vector variant
 *   OBX_KERNEL_REF(name, reference)      internal kernel, reference only
 *   OBX_KERNEL_FIXED(name, reference)    internal, never written by a mode call
 *
 * Every slot is `name_` and has the function type `name_fn`. Public entries
 * also get `ppname` and `nameR_`.
 *
 * Adding an operation: declare `name_fn` and its reference in inc/ombrix.h
 * (or src/runtime/ombrixKernels.h for an internal kernel), write the code,
 * and add one line below.
 */

#ifndef OBX_OP
#define OBX_OP(name, reference, vector)
#endif
#ifndef OBX_OP_REF
#define OBX_OP_REF(name, reference)
#endif
#ifndef OBX_OP_STATIC
#define OBX_OP_STATIC(name, reference)
#endif
#ifndef OBX_KERNEL
#define OBX_KERNEL(name, reference, vector)
#endif
#ifndef OBX_KERNEL_REF
#define OBX_KERNEL_REF(name, reference)
#endif
#ifndef OBX_KERNEL_FIXED
#define OBX_KERNEL_FIXED(name, reference)
#endif

/* Runtime */
OBX_OP(obxCopy, obxCopyC, obxCopyV)
OBX_OP_REF(probeZ9Time, probeZ9TimeC)
OBX_KERNEL_FIXED(obxGetScratchBufferAligned, obxScratchGetAligned)
OBX_KERNEL_FIXED(obxGetScratchBufferUnaligned, obxScratchGetUnaligned)
OBX_KERNEL_FIXED(obxReleaseScratchBuffer, obxScratchRelease)

/* Color conversion: YCbCr to RGB, full-range planar and pseudo-planar */

/* Color conversion: YCbCr to RGB, camera preview and block layouts */
OBX_OP(obxColorYCrCb420PseudoPlanarToRGB8888u8, obxColorYCrCb420PseudoPlanarToRGB8888u8C, obxColorYCrCb420PseudoPlanarToRGB8888u8V)
OBX_OP(obxColorYUV420toRGB565u8, obxColorYUV420toRGB565u8C, obxColorYUV420toRGB565u8V)
OBX_OP(obxColorYUV420toRGB565u8Rotate180, obxColorYUV420toRGB565u8Rotate180C, obxColorYUV420toRGB565u8Rotate180V)
OBX_OP(obxColorYCrCbH1V1toRGB888u8, obxColorYCrCbH1V1toRGB888u8C, obxColorYCrCbH1V1toRGB888u8V)
OBX_OP(obxColorYCrCbH2V2toRGB888u8, obxColorYCrCbH2V2toRGB888u8C, obxColorYCrCbH2V2toRGB888u8V)
OBX_OP(obxColorYCrCbH2V1toRGB888u8, obxColorYCrCbH2V1toRGB888u8C, obxColorYCrCbH2V1toRGB888u8V)
OBX_OP(obxColorYCrCbH1V2toRGB888u8, obxColorYCrCbH1V2toRGB888u8C, obxColorYCrCbH1V2toRGB888u8V)

/* Color conversion: RGB to YCbCr and gray, with their row-converter kernels */

/* Filtering: Gaussian smoothing and median */
OBX_OP(obxFilterGaussian3x3u8_v2, obxFilterGaussian3x3u8C, obxFilterGaussian3x3u8V)
OBX_OP(obxFilterGaussian5x5u8_v2, obxFilterGaussian5x5u8C, obxFilterGaussian5x5u8V)
OBX_OP(obxFilterGaussian11x11u8_v2, obxFilterGaussian11x11u8C, obxFilterGaussian11x11u8V)
OBX_OP(obxFilterGaussian5x5s16_v2, obxFilterGaussian5x5s16C, obxFilterGaussian5x5s16V)
OBX_OP(obxFilterGaussian5x5s32_v2, obxFilterGaussian5x5s32C, obxFilterGaussian5x5s32V)
OBX_OP(obxFilterMedian3x3u8_v2, obxFilterMedian3x3u8C, obxFilterMedian3x3u8V)

/* Filtering: box smoothing, morphology, global threshold */
OBX_OP(obxBoxFilter3x3u8, obxBoxFilter3x3u8C, obxBoxFilter3x3u8V)
OBX_OP(obxBoxFilter5x5u8, obxBoxFilter5x5u8C, obxBoxFilter5x5u8V)
OBX_OP(obxBoxFilter11x11u8, obxBoxFilter11x11u8C, obxBoxFilter11x11u8V)
OBX_OP(obxFilterDilate3x3u8_v2, obxFilterDilate3x3u8C, obxFilterDilate3x3u8V)
OBX_OP(obxFilterErode3x3u8_v2, obxFilterErode3x3u8C, obxFilterErode3x3u8V)
OBX_OP(obxFilterThresholdu8_v2, obxFilterThresholdu8C, obxFilterThresholdu8V)

/* Filtering: adaptive thresholds */
OBX_OP(obxAdaptiveThresholdGaussian3x3u8, obxAdaptiveThresholdGaussian3x3u8C, obxAdaptiveThresholdGaussian3x3u8V)
OBX_OP(obxAdaptiveThresholdGaussian5x5u8, obxAdaptiveThresholdGaussian5x5u8C, obxAdaptiveThresholdGaussian5x5u8V)
OBX_OP(obxAdaptiveThresholdGaussian11x11u8, obxAdaptiveThresholdGaussian11x11u8C, obxAdaptiveThresholdGaussian11x11u8V)
OBX_OP(obxAdaptiveThresholdMean3x3u8, obxAdaptiveThresholdMean3x3u8C, obxAdaptiveThresholdMean3x3u8V)
OBX_OP(obxAdaptiveThresholdMean5x5u8, obxAdaptiveThresholdMean5x5u8C, obxAdaptiveThresholdMean5x5u8V)
OBX_OP(obxAdaptiveThresholdMean11x11u8, obxAdaptiveThresholdMean11x11u8C, obxAdaptiveThresholdMean11x11u8V)

#undef OBX_OP
#undef OBX_OP_REF
#undef OBX_OP_STATIC
#undef OBX_KERNEL
#undef OBX_KERNEL_REF
#undef OBX_KERNEL_FIXED
