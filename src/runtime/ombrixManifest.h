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
OBX_OP(obxColorYCbCr444PlanarToRGB565u8, obxColorYCbCr444PlanarToRGB565u8C, obxColorYCbCr444PlanarToRGB565u8V)
OBX_OP(obxColorYCbCr444PlanarToRGB888u8, obxColorYCbCr444PlanarToRGB888u8C, obxColorYCbCr444PlanarToRGB888u8V)
OBX_OP(obxColorYCbCr444PlanarToRGBA8888u8, obxColorYCbCr444PlanarToRGBA8888u8C, obxColorYCbCr444PlanarToRGBA8888u8V)
OBX_OP(obxColorYCbCr444PseudoPlanarToRGB565u8, obxColorYCbCr444PseudoPlanarToRGB565u8C, obxColorYCbCr444PseudoPlanarToRGB565u8V)
OBX_OP(obxColorYCbCr444PseudoPlanarToRGB888u8, obxColorYCbCr444PseudoPlanarToRGB888u8C, obxColorYCbCr444PseudoPlanarToRGB888u8V)
OBX_OP(obxColorYCbCr444PseudoPlanarToRGBA8888u8, obxColorYCbCr444PseudoPlanarToRGBA8888u8C, obxColorYCbCr444PseudoPlanarToRGBA8888u8V)
OBX_OP(obxColorYCbCr422PlanarToRGB565u8, obxColorYCbCr422PlanarToRGB565u8C, obxColorYCbCr422PlanarToRGB565u8V)
OBX_OP(obxColorYCbCr422PlanarToRGB888u8, obxColorYCbCr422PlanarToRGB888u8C, obxColorYCbCr422PlanarToRGB888u8V)
OBX_OP(obxColorYCbCr422PlanarToRGBA8888u8, obxColorYCbCr422PlanarToRGBA8888u8C, obxColorYCbCr422PlanarToRGBA8888u8V)
OBX_OP(obxColorYCbCr422PseudoPlanarToRGB565u8, obxColorYCbCr422PseudoPlanarToRGB565u8C, obxColorYCbCr422PseudoPlanarToRGB565u8V)
OBX_OP(obxColorYCbCr422PseudoPlanarToRGB888u8, obxColorYCbCr422PseudoPlanarToRGB888u8C, obxColorYCbCr422PseudoPlanarToRGB888u8V)
OBX_OP(obxColorYCbCr422PseudoPlanarToRGBA8888u8, obxColorYCbCr422PseudoPlanarToRGBA8888u8C, obxColorYCbCr422PseudoPlanarToRGBA8888u8V)
OBX_OP(obxColorYCbCr420PlanarToRGB565u8, obxColorYCbCr420PlanarToRGB565u8C, obxColorYCbCr420PlanarToRGB565u8V)
OBX_OP(obxColorYCbCr420PlanarToRGB888u8, obxColorYCbCr420PlanarToRGB888u8C, obxColorYCbCr420PlanarToRGB888u8V)
OBX_OP(obxColorYCbCr420PlanarToRGBA8888u8, obxColorYCbCr420PlanarToRGBA8888u8C, obxColorYCbCr420PlanarToRGBA8888u8V)
OBX_OP(obxColorYCbCr420PseudoPlanarToRGB565u8, obxColorYCbCr420PseudoPlanarToRGB565u8C, obxColorYCbCr420PseudoPlanarToRGB565u8V)
OBX_OP(obxColorYCbCr420PseudoPlanarToRGB888u8, obxColorYCbCr420PseudoPlanarToRGB888u8C, obxColorYCbCr420PseudoPlanarToRGB888u8V)
OBX_OP(obxColorYCbCr420PseudoPlanarToRGBA8888u8, obxColorYCbCr420PseudoPlanarToRGBA8888u8C, obxColorYCbCr420PseudoPlanarToRGBA8888u8V)

/* Color conversion: YCbCr to RGB, camera preview and block layouts */
OBX_OP(obxColorYCrCb420PseudoPlanarToRGB8888u8, obxColorYCrCb420PseudoPlanarToRGB8888u8C, obxColorYCrCb420PseudoPlanarToRGB8888u8V)
OBX_OP(obxColorYUV420toRGB565u8, obxColorYUV420toRGB565u8C, obxColorYUV420toRGB565u8V)
OBX_OP(obxColorYUV420toRGB565u8Rotate180, obxColorYUV420toRGB565u8Rotate180C, obxColorYUV420toRGB565u8Rotate180V)
OBX_OP(obxColorYCrCbH1V1toRGB888u8, obxColorYCrCbH1V1toRGB888u8C, obxColorYCrCbH1V1toRGB888u8V)
OBX_OP(obxColorYCrCbH2V2toRGB888u8, obxColorYCrCbH2V2toRGB888u8C, obxColorYCrCbH2V2toRGB888u8V)
OBX_OP(obxColorYCrCbH2V1toRGB888u8, obxColorYCrCbH2V1toRGB888u8C, obxColorYCrCbH2V1toRGB888u8V)
OBX_OP(obxColorYCrCbH1V2toRGB888u8, obxColorYCrCbH1V2toRGB888u8C, obxColorYCrCbH1V2toRGB888u8V)

/* Color conversion: RGB to YCbCr and gray, with their row-converter kernels */
OBX_OP_REF(obxColorRGB565ToYCbCr444Planaru8, obxColorRGB565ToYCbCr444Planaru8C)
OBX_OP_REF(obxColorRGB565ToYCbCr444PseudoPlanaru8, obxColorRGB565ToYCbCr444PseudoPlanaru8C)
OBX_OP_REF(obxColorRGB565ToYCbCr422Planaru8, obxColorRGB565ToYCbCr422Planaru8C)
OBX_OP_REF(obxColorRGB565ToYCbCr422PseudoPlanaru8, obxColorRGB565ToYCbCr422PseudoPlanaru8C)
OBX_OP_REF(obxColorRGB565ToYCbCr420Planaru8, obxColorRGB565ToYCbCr420Planaru8C)
OBX_OP_REF(obxColorRGB565ToYCbCr420PseudoPlanaru8, obxColorRGB565ToYCbCr420PseudoPlanaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr444Planaru8, obxColorRGB888ToYCbCr444Planaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr444PseudoPlanaru8, obxColorRGB888ToYCbCr444PseudoPlanaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr422Planaru8, obxColorRGB888ToYCbCr422Planaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr422PseudoPlanaru8, obxColorRGB888ToYCbCr422PseudoPlanaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr420Planaru8, obxColorRGB888ToYCbCr420Planaru8C)
OBX_OP_REF(obxColorRGB888ToYCbCr420PseudoPlanaru8, obxColorRGB888ToYCbCr420PseudoPlanaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr444Planaru8, obxColorRGBA8888ToYCbCr444Planaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr444PseudoPlanaru8, obxColorRGBA8888ToYCbCr444PseudoPlanaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr422Planaru8, obxColorRGBA8888ToYCbCr422Planaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr422PseudoPlanaru8, obxColorRGBA8888ToYCbCr422PseudoPlanaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr420Planaru8, obxColorRGBA8888ToYCbCr420Planaru8C)
OBX_OP_REF(obxColorRGBA8888ToYCbCr420PseudoPlanaru8, obxColorRGBA8888ToYCbCr420PseudoPlanaru8C)
OBX_OP(obxColorRGB888toYCrCbu8_v2, obxColorRGB888toYCrCbu8C, obxColorRGB888toYCrCbu8V)
OBX_OP(obxColorRGB888ToGrayu8, obxColorRGB888ToGrayu8C, obxColorRGB888ToGrayu8V)
OBX_KERNEL(rgb5652yuvp, rgb5652yuvpC, rgb5652yuvpV)
OBX_KERNEL(rgb5652yyuvp, rgb5652yyuvpC, rgb5652yyuvpV)
OBX_KERNEL(rgb5652y, rgb5652yC, rgb5652yV)
OBX_KERNEL(rgb5652yuv, rgb5652yuvC, rgb5652yuvV)
OBX_KERNEL(rgb5652yyuv, rgb5652yyuvC, rgb5652yyuvV)
OBX_KERNEL(rgb8882yuvp, rgb8882yuvpC, rgb8882yuvpV)
OBX_KERNEL(rgb8882yyuvp, rgb8882yyuvpC, rgb8882yyuvpV)
OBX_KERNEL(rgb8882y, rgb8882yC, rgb8882yV)
OBX_KERNEL(rgb8882yuv, rgb8882yuvC, rgb8882yuvV)
OBX_KERNEL(rgb8882yyuv, rgb8882yyuvC, rgb8882yyuvV)
OBX_KERNEL(rgba88882yuvp, rgba88882yuvpC, rgba88882yuvpV)
OBX_KERNEL(rgba88882yyuvp, rgba88882yyuvpC, rgba88882yyuvpV)
OBX_KERNEL(rgba88882y, rgba88882yC, rgba88882yV)
OBX_KERNEL(rgba88882yuv, rgba88882yuvC, rgba88882yuvV)
OBX_KERNEL(rgba88882yyuv, rgba88882yyuvC, rgba88882yyuvV)

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

/* Gradients, Sobel and Canny */
OBX_OP(obxFilterSobel3x3u8_v2, obxFilterSobel3x3u8C, obxFilterSobel3x3u8V)
OBX_OP(obxImageGradientInterleaveds16_v2, obxImageGradientInterleaveds16C, obxImageGradientInterleaveds16V)
OBX_OP(obxImageGradientPlanars16_v2, obxImageGradientPlanars16C, obxImageGradientPlanars16V)
OBX_OP(obxImageGradientInterleavedf32_v2, obxImageGradientInterleavedf32C, obxImageGradientInterleavedf32V)
OBX_OP(obxImageGradientPlanarf32_v2, obxImageGradientPlanarf32C, obxImageGradientPlanarf32V)
OBX_OP(obxImageGradientSobelInterleaveds16_v2, obxImageGradientSobelInterleaveds16C, obxImageGradientSobelInterleaveds16V)
OBX_OP(obxImageGradientSobelInterleaveds16_v3, obxImageGradientSobelInterleaveds16_v3C, obxImageGradientSobelInterleaveds16_v3V)
OBX_OP(obxImageGradientSobelInterleavedf32_v2, obxImageGradientSobelInterleavedf32C, obxImageGradientSobelInterleavedf32V)
OBX_OP(obxImageGradientSobelPlanars16_v2, obxImageGradientSobelPlanars16C, obxImageGradientSobelPlanars16V)
OBX_OP(obxImageGradientSobelPlanars16_v3, obxImageGradientSobelPlanars16_v3C, obxImageGradientSobelPlanars16_v3V)
OBX_OP(obxImageGradientSobelPlanars8_v2, obxImageGradientSobelPlanars8C, obxImageGradientSobelPlanars8V)
OBX_OP(obxImageGradientSobelPlanarf32_v2, obxImageGradientSobelPlanarf32C, obxImageGradientSobelPlanarf32V)
OBX_OP(obxImageGradientSobelPlanarf32f32_v2, obxImageGradientSobelPlanarf32f32C, obxImageGradientSobelPlanarf32f32V)
OBX_OP(obxImageGradientScharrInterleaveds16, obxImageGradientScharrInterleaveds16C, obxImageGradientScharrInterleaveds16V)
OBX_OP(obxFilterCanny3x3u8_v2, obxFilterCanny3x3u8C, obxFilterCanny3x3u8V)

/* Resampling: downscaling and pyramids */
OBX_OP(obxScaleDownBy2u8_v2, obxScaleDownBy2u8C, obxScaleDownBy2u8V)
OBX_OP(obxScaleDownBy4u8_v2, obxScaleDownBy4u8C, obxScaleDownBy4u8V)
OBX_OP(obxScaleDownBy2Gaussian5x5u8, obxScaleDownBy2Gaussian5x5u8C, obxScaleDownBy2Gaussian5x5u8V)
OBX_OP(obxScaleDownBy2Gaussian5x5u8_v2, obxScaleDownBy2Gaussian5x5u8_v2C, obxScaleDownBy2Gaussian5x5u8_v2V)
OBX_OP(obxScaleDownBy2Gaussian5x5f32, obxScaleDownBy2Gaussian5x5f32C, obxScaleDownBy2Gaussian5x5f32V)
OBX_OP(obxScaleUpBy2Gaussian5x5u8_v2, obxScaleUpBy2Gaussian5x5u8C, obxScaleUpBy2Gaussian5x5u8V)
OBX_OP(obxScaleDownu8_v2, obxScaleDownu8C, obxScaleDownu8V)
OBX_OP(obxScaleDown3To2u8, obxScaleDown3To2u8C, obxScaleDown3To2u8V)
OBX_OP(obxScaleDownNNu8, obxScaleDownNNu8C, obxScaleDownNNu8V)
OBX_OP_REF(obxPyramidAllocate, obxPyramidAllocateC)
OBX_OP_REF(obxPyramidCreateu8, obxPyramidCreateu8C)
OBX_OP_REF(obxPyramidCreatef32, obxPyramidCreatef32C)
OBX_OP_REF(obxPyramidDelete, obxPyramidDeleteC)
OBX_OP(obxPyramidSobelGradientCreatei16, obxPyramidSobelGradientCreatei16C, obxPyramidSobelGradientCreatei16V)
OBX_OP(obxPyramidSobelGradientCreatei8, obxPyramidSobelGradientCreatei8C, obxPyramidSobelGradientCreatei8V)
OBX_OP(obxPyramidSobelGradientCreatef32, obxPyramidSobelGradientCreatef32C, obxPyramidSobelGradientCreatef32V)

/* Resampling: integral images */
OBX_OP(obxIntegrateImageu8_v2, obxIntegrateImageu8_v2C, obxIntegrateImageu8_v2V)
OBX_OP(obxIntegratePatchu8_v2, obxIntegratePatchu8C, obxIntegratePatchu8V)
OBX_OP(obxIntegratePatch12x12u8_v2, obxIntegratePatch12x12u8C, obxIntegratePatch12x12u8V)
OBX_OP(obxIntegratePatch18x18u8_v2, obxIntegratePatch18x18u8C, obxIntegratePatch18x18u8V)
OBX_OP(obxIntegrateImageLineu8, obxIntegrateImageLineu8C, obxIntegrateImageLineu8V)
OBX_OP(obxIntegrateImageLine64u8, obxIntegrateImageLine64u8C, obxIntegrateImageLine64u8V)
OBX_OP(obxIntegrateImageYCbCr420PseudoPlanaru8, obxIntegrateImageYCbCr420PseudoPlanaru8C, obxIntegrateImageYCbCr420PseudoPlanaru8V)
OBX_OP_REF(obxTiltedIntegralu8s32, obxTiltedIntegralu8s32C)

/* Features: Harris corners */
OBX_OP(obxCornerHarrisu8, obxCornerHarrisu8C, obxCornerHarrisu8V)
OBX_OP(obxCornerHarrisInMasku8, obxCornerHarrisInMasku8C, obxCornerHarrisInMasku8V)
OBX_OP(obxLocalHarrisMaxu8, obxLocalHarrisMaxu8C, obxLocalHarrisMaxu8V)

/* Features: FAST corners */
OBX_OP(obxCornerFast9u8_v2, obxCornerFast9u8C, obxCornerFast9u8V)
OBX_OP_REF(obxCornerFast9Scoreu8_v3, obxCornerFast9Scoreu8C)
OBX_OP_REF(obxCornerFast9Scoreu8_v4, obxCornerFast9Scoreu8_v2C)
OBX_OP(obxCornerFast9InMasku8_v2, obxCornerFast9InMasku8C, obxCornerFast9InMasku8V)
OBX_OP_REF(obxCornerFast9InMaskScoreu8_v3, obxCornerFast9InMaskScoreu8C)
OBX_OP_REF(obxCornerFast9InMaskScoreu8_v4, obxCornerFast9InMaskScoreu8_v2C)
OBX_OP(obxCornerFast10u8, obxCornerFast10u8C, obxCornerFast10u8V)
OBX_OP_REF(obxCornerFast10Scoreu8, obxCornerFast10Scoreu8C)
OBX_OP(obxCornerFast10InMasku8, obxCornerFast10InMasku8C, obxCornerFast10InMasku8V)
OBX_OP_REF(obxCornerFast10InMaskScoreu8, obxCornerFast10InMaskScoreu8C)
OBX_KERNEL(fast9_corner_score, fast9_corner_scoreC, fast9_corner_scoreV)
OBX_KERNEL(fast10_corner_score, fast10_corner_scoreC, fast10_corner_scoreV)

/* Geometry: SVD and linear solvers */
OBX_OP(obxSVDf32, obxSVDf32C, obxSVDf32V)
OBX_OP_REF(obxSolvef32, obxSolvef32C)
OBX_OP(obxSolveCholeskyf32, obxSolveCholeskyf32C, obxSolveCholeskyf32V)

/* Features: 16x16 sum of absolute differences */
OBX_OP(obxSumOfAbsoluteDiff16x16u8, obxSumOfAbsoluteDiff16x16u8C, obxSumOfAbsoluteDiff16x16u8V)

/* Motion: block-matching optical flow */
OBX_OP_REF(obxTrackBMOpticalFlow16x16u8, obxTrackBMOpticalFlow16x16u8C)
OBX_KERNEL(calculateBlockSum16x16, calculateBlockSum16x16C, calculateBlockSum16x16V)
OBX_KERNEL(calculateBlockSAD_ZeroMean16x16, calculateBlockSAD_ZeroMean16x16C, calculateBlockSAD_ZeroMean16x16V)

/* Motion: mean shift */
OBX_OP_REF(obxMeanShiftu8, obxMeanShiftu8C)
OBX_OP_REF(obxMeanShifts32, obxMeanShifts32C)
OBX_OP_REF(obxMeanShiftf32, obxMeanShiftf32C)

/* Geometry: homography and affine fitting, projection and distortion */
OBX_OP(obxGeomHomographyFitf32, obxGeomHomographyFitf32C, obxGeomHomographyFitf32V)
OBX_OP(obxGeomHomographyEvaluatef32, obxGeomHomographyEvaluatef32C, obxGeomHomographyEvaluatef32V)
OBX_OP(obxGeomAffineFitf32, obxGeomAffineFitf32C, obxGeomAffineFitf32V)
OBX_OP(obxGeomAffineEvaluatef32, obxGeomAffineEvaluatef32C, obxGeomAffineEvaluatef32V)
OBX_OP_REF(obxGetPerspectiveTransformf32, obxGetPerspectiveTransformf32C)
OBX_OP(obxGeomDistortPoint2x1f32, obxGeomDistortPoint2x1f32C, obxGeomDistortPoint2x1f32V)
OBX_OP(obxGeomDistortPoint2xNf32, obxGeomDistortPoint2xNf32C, obxGeomDistortPoint2xNf32V)
OBX_OP(obxGeomUndistortPoint2x1f32, obxGeomUndistortPoint2x1f32C, obxGeomUndistortPoint2x1f32V)
OBX_OP(obxGeomUndistortPoint2xNf32, obxGeomUndistortPoint2xNf32C, obxGeomUndistortPoint2xNf32V)
OBX_OP(obxGeomProjectPoint3x1f32, obxGeomProjectPoint3x1f32C, obxGeomProjectPoint3x1f32V)
OBX_OP(obxGeomProjectPoint3xNf32, obxGeomProjectPoint3xNf32C, obxGeomProjectPoint3xNf32V)

/* Features: patch descriptors and dot products */
OBX_OP(obxDescriptor17x17u8To36s8, obxDescriptor17x17u8To36s8C, obxDescriptor17x17u8To36s8V)
OBX_OP(obxDescriptorSampledMeanAndVar36f32, obxDescriptorSampledMeanAndVar36f32C, obxDescriptorSampledMeanAndVar36f32V)
OBX_OP(obxVecNormalize36s8f32, obxVecNormalize36s8f32C, obxVecNormalize36s8f32V)
OBX_OP(obxDotProducts8, obxDotProducts8C, obxDotProducts8V)
OBX_OP(obxDotProductu8, obxDotProductu8C, obxDotProductu8V)
OBX_OP(obxDotProduct36x1s8, obxDotProduct36x1s8C, obxDotProduct36x1s8V)
OBX_OP(obxDotProduct64x1s8, obxDotProduct64x1s8C, obxDotProduct64x1s8V)
OBX_OP(obxDotProduct128x1s8, obxDotProduct128x1s8C, obxDotProduct128x1s8V)
OBX_OP(obxDotProduct36x1u8, obxDotProduct36x1u8C, obxDotProduct36x1u8V)
OBX_OP(obxDotProduct64x1u8, obxDotProduct64x1u8C, obxDotProduct64x1u8V)
OBX_OP(obxDotProduct128x1u8, obxDotProduct128x1u8C, obxDotProduct128x1u8V)
OBX_OP(obxDotProduct36x4s8, obxDotProduct36x4s8C, obxDotProduct36x4s8V)
OBX_OP(obxDotProduct64x4s8, obxDotProduct64x4s8C, obxDotProduct64x4s8V)
OBX_OP(obxDotProduct128x4s8, obxDotProduct128x4s8C, obxDotProduct128x4s8V)
OBX_OP(obxDotProduct36x4u8, obxDotProduct36x4u8C, obxDotProduct36x4u8V)
OBX_OP(obxDotProduct64x4u8, obxDotProduct64x4u8C, obxDotProduct64x4u8V)
OBX_OP(obxDotProduct128x4u8, obxDotProduct128x4u8C, obxDotProduct128x4u8V)
OBX_OP(obxDotProductNorm36x4s8, obxDotProductNorm36x4s8C, obxDotProductNorm36x4s8V)
OBX_OP(obxDotProductNorm64x4s8, obxDotProductNorm64x4s8C, obxDotProductNorm64x4s8V)
OBX_OP(obxDotProductNorm128x4s8, obxDotProductNorm128x4s8C, obxDotProductNorm128x4s8V)
OBX_OP(obxDotProductNorm36x4u8, obxDotProductNorm36x4u8C, obxDotProductNorm36x4u8V)
OBX_OP(obxDotProductNorm64x4u8, obxDotProductNorm64x4u8C, obxDotProductNorm64x4u8V)
OBX_OP(obxDotProductNorm128x4u8, obxDotProductNorm128x4u8C, obxDotProductNorm128x4u8V)
OBX_OP(obxDotProduct8x8u8, obxDotProduct8x8u8C, obxDotProduct8x8u8V)
OBX_OP(obxDotProduct11x12u8, obxDotProduct11x12u8C, obxDotProduct11x12u8V)

/* Motion: Lucas-Kanade optical flow */
OBX_OP_REF(obxTrackLKOpticalFlowf32, obxTrackLKOpticalFlowf32C)
OBX_OP_REF(obxTrackLKOpticalFlowu8, obxTrackLKOpticalFlowf32C)
OBX_KERNEL(calcIxIy_32f, calcIxIy_32fC, calcIxIy_32fV)

/* Shape analysis: contour finding */
OBX_OP_REF(obxFindContoursAllocate, obxFindContoursAllocateC)
OBX_OP_REF(obxFindContoursDelete, obxFindContoursDeleteC)
OBX_OP_REF(obxFindContoursExternalu8, obxFindContoursExternalu8C)
OBX_OP_REF(obxFindContoursListu8, obxFindContoursListu8C)
OBX_OP_REF(obxFindContoursCcompu8, obxFindContoursCcompu8C)
OBX_OP_REF(obxFindContoursTreeu8, obxFindContoursTreeu8C)

/* Resampling: perspective warps, affine patches and RGBA remaps */
OBX_OP(obxWarpPerspectiveu8, obxWarpPerspectiveu8C, obxWarpPerspectiveu8V)
OBX_OP(obxWarpPerspectiveu8_v2, obxWarpPerspectiveu8_v2C, obxWarpPerspectiveu8_v2V)
OBX_OP(obx3ChannelWarpPerspectiveu8, obx3ChannelWarpPerspectiveu8C, obx3ChannelWarpPerspectiveu8V)
OBX_OP(obx3ChannelWarpPerspectiveu8_v2, obx3ChannelWarpPerspectiveu8_v2C, obx3ChannelWarpPerspectiveu8_v2V)
OBX_OP(obxTransformAffine8x8u8_v2, obxTransformAffine8x8u8C, obxTransformAffine8x8u8V)
OBX_OP(obxTransformAffineu8_v2, obxTransformAffineu8_v2C, obxTransformAffineu8_v2V)
OBX_OP(obxTransformAffineClippedu8, obxTransformAffineClippedu8C, obxTransformAffineClippedu8V)
OBX_OP(obxCopyRotated17x17u8, obxCopyRotated17x17u8C, obxCopyRotated17x17u8V)
OBX_OP_REF(obxCopyTranslatedSubPixu8Q7, obxCopyTranslatedSubPixu8Q7C)
OBX_OP_REF(obxCopyTranslatedSubPixu8f32, obxCopyTranslatedSubPixu8f32C)
OBX_OP(obxRemapRGBA8888NNu8, obxRemapRGBA8888NNu8C, obxRemapRGBA8888NNu8V)
OBX_OP(obxRemapRGBA8888BLu8, obxRemapRGBA8888BLu8C, obxRemapRGBA8888BLu8V)

/* Features: bit counts and Hamming distances (one vector variant serves each
 * fixed-length Hamming form and its a4 twin) */
OBX_OP(obxBitCountu8, obxBitCountu8C, obxBitCountu8V)
OBX_OP(obxBitCountu32, obxBitCountu32C, obxBitCountu32V)
OBX_OP(obxBitCount32x1u8, obxBitCount32x1u8C, obxBitCount32x1u8V)
OBX_OP(obxBitCount64x1u8, obxBitCount64x1u8C, obxBitCount64x1u8V)
OBX_OP(obxBitCount32x4u8, obxBitCount32x4u8C, obxBitCount32x4u8V)
OBX_OP(obxBitCount64x4u8, obxBitCount64x4u8C, obxBitCount64x4u8V)
OBX_OP(obxHammingDistanceu8, obxHammingDistanceu8C, obxHammingDistanceu8V)
OBX_OP(obxHammingDistance32x1u8, obxHammingDistance32x1u8C, obxHammingDistance32x1u8V)
OBX_OP(obxHammingDistance32x1u8a4, obxHammingDistance32x1u8a4C, obxHammingDistance32x1u8V)
OBX_OP(obxHammingDistance64x1u8, obxHammingDistance64x1u8C, obxHammingDistance64x1u8V)
OBX_OP(obxHammingDistance64x1u8a4, obxHammingDistance64x1u8a4C, obxHammingDistance64x1u8V)
OBX_OP(obxHammingDistance32x4u8a4, obxHammingDistance32x4u8a4C, obxHammingDistance32x4u8a4V)
OBX_OP(obxHammingDistance64x4u8, obxHammingDistance64x4u8C, obxHammingDistance64x4u8V)
OBX_OP(obxHammingDistance64x4u8a4, obxHammingDistance64x4u8a4C, obxHammingDistance64x4u8V)

/* Features: distances of 36-element descriptors */
OBX_OP(obxSumOfSquaredDiffs36xNs8, obxSumOfSquaredDiffs36xNs8C, obxSumOfSquaredDiffs36xNs8V)

/* Features: KD-tree for 36-element descriptors */
OBX_OP_REF(obxKDTreeCreate36s8f32, obxKDTreeCreate36s8f32C)
OBX_OP_REF(obxKDTreeQuery36s8f32, obxKDTreeQuery36s8f32C)
OBX_OP_REF(obxKDTreeDestroy36s8f32, obxKDTreeDestroy36s8f32C)

/* Motion: spatial moments of a tile */
OBX_KERNEL(obxMomentsInTileu8, obxMomentsInTileu8C, obxMomentsInTileu8V)
OBX_KERNEL(obxMomentsInTiles32, obxMomentsInTiles32C, obxMomentsInTiles32V)
OBX_KERNEL(obxMomentsInTilef32, obxMomentsInTilef32C, obxMomentsInTilef32V)

/* Motion: continuously adaptive mean shift */
OBX_OP_REF(obxConAdaTracku8, obxConAdaTracku8C)
OBX_OP_REF(obxConAdaTracks32, obxConAdaTracks32C)
OBX_OP_REF(obxConAdaTrackf32, obxConAdaTrackf32C)

#undef OBX_OP
#undef OBX_OP_REF
#undef OBX_OP_STATIC
#undef OBX_KERNEL
#undef OBX_KERNEL_REF
#undef OBX_KERNEL_FIXED
