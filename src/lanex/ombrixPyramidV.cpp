// Vector variants of the gradient pyramids: the reference's level loop (one
// template, shared rather than copied), whose planar Sobel gradients run
// through their slots and so are the vector ones in the vector modes.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixPyramidGradients.h"

extern "C" {

int32_t obxPyramidSobelGradientCreatei16V(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                          obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanars16_v2_);
}

int32_t obxPyramidSobelGradientCreatei8V(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                         obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanars8_v2_);
}

int32_t obxPyramidSobelGradientCreatef32V(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                          obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanarf32_v2_);
}

}  // extern "C"
