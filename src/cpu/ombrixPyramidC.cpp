// Image pyramids: level buffers from the aligned allocator, 8-bit and float
// pyramids by repeated Gaussian 5x5 reduction, and gradient pyramids. Every
// reduction and gradient goes through its slot.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixPyramidGradients.h"

namespace {

constexpr uint32_t kLevelAlignment = 16;

template <typename Pixel>
int32_t createPyramid(const Pixel* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                      obxPyramidLevel* pyramid, void (*const* reduce)(const Pixel*, uint32_t, uint32_t, Pixel*)) {
    // Level 0 is the caller's image itself, never copied.
    pyramid[0] = {const_cast<Pixel*>(base), baseWidth, baseHeight};
    for (uint32_t i = 1; i < numLevels; ++i) {
        const obxPyramidLevel& above = pyramid[i - 1];
        pyramid[i].width = above.width / 2;
        pyramid[i].height = above.height / 2;
        if (!pyramid[i].ptr || !above.ptr) return -1;
        (*reduce)(static_cast<const Pixel*>(above.ptr), above.width, above.height, static_cast<Pixel*>(pyramid[i].ptr));
    }
    return 0;
}

}  // namespace

extern "C" {

int32_t obxPyramidAllocateC(obxPyramidLevel* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t bytesPerPixel,
                            uint32_t numLevels, uint32_t allocateBase) {
    OMBRIX_ASSERT(pyr);
    OMBRIX_ASSERT(numLevels > 0);
    if (allocateBase) {
        pyr[0].width = baseWidth;
        pyr[0].height = baseHeight;
        pyr[0].ptr = obxMemAlloc(baseHeight * baseWidth * bytesPerPixel, kLevelAlignment);
        if (!pyr[0].ptr) return -1;
    }
    // Sizes are halved from the base size given, whether or not level 0 is
    // allocated here.
    uint32_t width = baseWidth, height = baseHeight;
    for (uint32_t i = 1; i < numLevels; ++i) {
        width >>= 1;
        height >>= 1;
        void* buffer = obxMemAlloc(height * width * bytesPerPixel, kLevelAlignment);
        if (!buffer) return -1;
        pyr[i] = {buffer, width, height};
    }
    return 0;
}

void obxPyramidDeleteC(obxPyramidLevel* pyr, uint32_t numLevels, uint32_t startLevel) {
    OMBRIX_ASSERT(pyr && ((signed)startLevel >= 0) && (startLevel <= numLevels));
    for (uint32_t i = startLevel; i < numLevels; ++i)
        if (pyr[i].ptr) obxMemFree(pyr[i].ptr);
}

int32_t obxPyramidCreateu8C(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                            obxPyramidLevel* pyramid) {
    OMBRIX_ASSERT(base && numLevels && baseHeight && baseWidth && pyramid);
    OMBRIX_ASSERT(( (baseWidth & ((1 << (numLevels - 1)) - 1)) == 0 ) & ( (baseHeight & ((1 << (numLevels - 1)) - 1)) == 0 ));
    return createPyramid(base, baseWidth, baseHeight, numLevels, pyramid, &obxScaleDownBy2Gaussian5x5u8_);
}

int32_t obxPyramidCreatef32C(const float32_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                             obxPyramidLevel* pyramid) {
    OMBRIX_ASSERT(base && numLevels && baseHeight && baseWidth && pyramid);
    OMBRIX_ASSERT(( (baseWidth & ((1 << (numLevels - 1)) - 1)) == 0 ) & ( (baseHeight & ((1 << (numLevels - 1)) - 1)) == 0 ));
    return createPyramid(base, baseWidth, baseHeight, numLevels, pyramid, &obxScaleDownBy2Gaussian5x5f32_);
}

int32_t obxPyramidSobelGradientCreatei16C(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                          obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanars16_v2_);
}

int32_t obxPyramidSobelGradientCreatei8C(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                         obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanars8_v2_);
}

int32_t obxPyramidSobelGradientCreatef32C(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr,
                                          obxPyramidLevel* dyPyr, uint32_t numLevels) {
    OMBRIX_ASSERT(imgPyr && dxPyr && dyPyr);
    return ombrix_pyramid::sobelGradientPyramid(imgPyr, dxPyr, dyPyr, numLevels, &obxImageGradientSobelPlanarf32_v2_);
}

}  // extern "C"
