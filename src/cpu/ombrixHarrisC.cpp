// Harris corners, reference: the whole-image detector, the masked detector
// and the strongest response around a position. Definitions and the row
// pipeline are in ombrixHarrisScalar.h.
#include "ombrixAssert.h"
#include "ombrixHarrisScalar.h"
#include "ombrixKernels.h"

namespace {

using namespace ombrix_harris;

// The row kernels of the pipeline, one value at a time.
struct ScalarKernels {
    static void products(const uint8_t* above, const uint8_t* centre, const uint8_t* below, uint32_t first,
                         uint32_t end, int16_t* gxx, int16_t* gyy, int16_t* gxy) {
        productsRow(above, centre, below, first, end, gxx, gyy, gxy);
    }
    static void smooth(const int16_t* const* rows, uint32_t first, uint32_t end, int16_t* out) {
        smoothRow(rows, first, end, out);
    }
    static void responses(const int16_t* sxx, const int16_t* syy, const int16_t* sxy, uint32_t first, uint32_t end,
                          int32_t* out) {
        responseRow(sxx, syy, sxy, first, end, out);
    }
    template <typename Corner>
    static bool corners(const int32_t* const* rows, uint32_t first, uint32_t end, int32_t threshold,
                        const Corner& corner) {
        return scanCorners(rows, first, end, threshold, corner);
    }
};

// The three scratch buffers; a missing one ends the process.
Rings takeRings(uint32_t width) {
    const Rings rings = requestRings(width);
    const void *grads = rings.products, *blurgrads = rings.smoothed, *corner = rings.responses;
    OMBRIX_ASSERT(corner && grads && blurgrads);
    return rings;
}

}  // namespace

extern "C" {

void obxCornerHarrisu8C(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride, uint32_t border,
                        uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners, int32_t threshold) {
    OMBRIX_ASSERT((srcImg) && (xy) && (numcorners) && (width) && (height) && (stride == 0 || stride >= width) && width > 4 && height > 4);
    *numcorners = 0;
    const Rings rings = takeRings(width);
    const Detection d{srcImg, width, height, stride ? stride : width, border, xy, nCornersMax, numcorners, threshold};
    detectCorners<ScalarKernels>(d, rings, [](uint32_t, uint32_t) { return false; });
    releaseRings(rings);
}

void obxCornerHarrisInMasku8C(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t stride,
                              uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                              int32_t threshold, const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT((srcImg) && (xy) && (numcorners) && (bitMask) && (width) && (height) && (stride == 0 || stride >= width) && (maskHeight) && (maskWidth));
    *numcorners = 0;
    int shift;
    if (!maskShift(width, height, maskWidth, maskHeight, &shift)) return;
    const Mask mask{bitMask, (maskWidth + 7) / 8, shift};
    const Rings rings = takeRings(width);
    const Detection d{srcImg, width, height, stride ? stride : width, border, xy, nCornersMax, numcorners, threshold};
    detectCorners<ScalarKernels>(d, rings, [&mask](uint32_t x, uint32_t y) { return mask.excludes(x, y); });
    releaseRings(rings);
}

int32_t obxLocalHarrisMaxu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t posX, uint32_t posY, uint32_t* maxX, uint32_t* maxY, uint32_t* maxScore) {
    OMBRIX_ASSERT((src) && (srcWidth) && (srcHeight) && (srcStride == 0 || srcStride >= srcWidth) && (maxX) && (maxY) && (maxScore));
    const uint32_t rowLen = srcStride ? srcStride : srcWidth;
    if (!patchFits(posX, posY, rowLen, srcHeight)) return 0;

    // The patch's pixel (i, j) is the image's (posX - 5 + i, posY - 5 + j);
    // (posX, posY) is (5, 5). Gradients exist in columns and rows 1..9 of
    // it, smoothed values and responses in 3..7.
    uint8_t patch[kPatch][kPatch];
    for (uint32_t j = 0; j < kPatch; ++j)
        memcpy(patch[j], src + static_cast<size_t>(posY - 5 + j) * rowLen + (posX - 5), kPatch);
    int16_t products[kPatch][kPlanes][kPatch];
    for (uint32_t j = 1; j + 1 < kPatch; ++j)
        productsRow(patch[j - 1], patch[j], patch[j + 1], 1, kPatch - 1, products[j][0], products[j][1],
                    products[j][2]);
    int32_t responses[5][5];
    for (uint32_t j = 3; j < 8; ++j) {
        int16_t smoothed[kPlanes][kPatch];
        for (uint32_t p = 0; p < kPlanes; ++p) {
            const int16_t* rows[kRingRows];
            for (uint32_t k = 0; k < kRingRows; ++k) rows[k] = products[j - 2 + k][p];
            smoothRow(rows, 3, 8, smoothed[p]);
        }
        int32_t row[kPatch];
        responseRow(smoothed[0], smoothed[1], smoothed[2], 3, 8, row);
        memcpy(responses[j - 3], row + 3, sizeof responses[0]);
    }
    return reportStrongest(&responses[0][0], posX, posY, maxX, maxY, maxScore);
}

}  // extern "C"
