// Reference integral images: whole-image and patch tables, line sums, the
// exclusive tables of a 4:2:0 frame and the 45-degree tilted table.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixIntegralTables.h"
#include "ombrixKernels.h"

namespace {

// Row kernels over `count` pixels `step` bytes apart, starting at byte
// `offset` of the row.
auto sumRows(uint32_t count, uint32_t step = 1, uint32_t offset = 0) {
    return [=](const uint8_t* row, const uint32_t* above, uint32_t* out, const uint32_t*, uint32_t*) {
        obxIntegralRowScalar<false>(row + offset, step, count, above, out, nullptr, nullptr);
    };
}

// Sum and sum of squares of `count` pixels.
void lineSums(const uint8_t* pixels, uint32_t count, uint32_t* sum, uint32_t* sum2) {
    uint32_t total = 0, squares = 0;
    for (uint32_t i = 0; i < count; ++i) {
        total += pixels[i];
        squares += uint32_t{pixels[i]} * pixels[i];
    }
    *sum = total;
    *sum2 = squares;
}

// The worker of all patch forms.
void integratePatch(const uint8_t* src, uint32_t srcStride, uint32_t patchX, uint32_t patchY, uint32_t patchWidth,
                    uint32_t patchHeight, uint32_t* dst, uint32_t* dst2) {
    obxFillPatchTables(src, srcStride, patchX, patchY, patchWidth, patchHeight, dst, dst2,
                       [patchWidth](const uint8_t* row, const uint32_t* above, uint32_t* out, const uint32_t* above2,
                                    uint32_t* out2) {
                           obxIntegralRowScalar<true>(row, 1, patchWidth, above, out, above2, out2);
                       });
}

}  // namespace

extern "C" {

void obxIntegrateImageu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= (srcWidth+1)*sizeof(uint32_t)));
    obxFillIntegralTables(src, srcStride, srcWidth, srcHeight, {dst, dstStride / sizeof(uint32_t)}, {nullptr, 0},
                          sumRows(srcWidth));
}

void obxIntegratePatchu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint32_t patchX, uint32_t patchY, uint32_t patchWidth, uint32_t patchHeight, uint32_t* dst,
                          uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch(src, srcStride, patchX, patchY, patchWidth, patchHeight, dst, dst2);
}

void obxIntegratePatch12x12u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t patchX, uint32_t patchY, uint32_t* dst, uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch(src, srcStride, patchX, patchY, 12, 12, dst, dst2);
}

void obxIntegratePatch18x18u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t patchX, uint32_t patchY, uint32_t* dst, uint32_t* dst2) {
    OMBRIX_ASSERT(src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth));
    integratePatch(src, srcStride, patchX, patchY, 18, 18, dst, dst2);
}

void obxIntegrateImageLineu8C(const uint8_t* imageIn, uint16_t numPxls, uint32_t* intgrl, uint32_t* intgrlSqrd) {
    OMBRIX_ASSERT(imageIn && intgrl && intgrlSqrd);
    lineSums(imageIn, numPxls, intgrl, intgrlSqrd);
}

void obxIntegrateImageLine64u8C(const uint8_t* pxls, uint16_t* sum, uint32_t* sum2) {
    OMBRIX_ASSERT(pxls && sum && sum2);
    uint32_t total;
    lineSums(pxls, 64, &total, sum2);
    *sum = static_cast<uint16_t>(total);
}

void obxIntegrateImageYCbCr420PseudoPlanaru8C(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                              uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                              uint32_t* integralY, uint32_t* integralCb, uint32_t* integralCr,
                                              uint32_t integralYStride, uint32_t integralCbStride,
                                              uint32_t integralCrStride) {
    OMBRIX_ASSERT(srcY && srcC && integralY && integralCb && integralCr && srcWidth && srcHeight && (srcYStride >= srcWidth) && (srcCStride >= srcWidth) && (integralYStride >= srcWidth*sizeof(uint32_t)) && (integralCbStride >= (srcWidth/2)*sizeof(uint32_t)) && (integralCrStride >= (srcWidth/2)*sizeof(uint32_t)));
    const uint32_t chromaCount = srcWidth / 2 ? srcWidth / 2 - 1 : 0;
    obxFillYCbCr420Tables(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, integralY, integralCb, integralCr,
                          integralYStride, integralCbStride, integralCrStride, sumRows(srcWidth - 1),
                          sumRows(chromaCount, 2, 0), sumRows(chromaCount, 2, 1));
}

// The tilted table T(X, Y) sums the cone C(X - 1, Y - 1) of pixels (x, y)
// with y <= b, |x - a| <= b - y below apex (a, b). C(a, b) is C(a - 1, b - 1)
// plus two diagonal rays running up and right, one from (a, b) and one from
// (a, b - 1); and the ray from (a, b) is pixel (a, b) plus the ray from
// (a + 1, b - 1). With R(a, b) the sum along the ray from (a, b):
//
//   T(X, Y) = T(X - 1, Y - 1) + src(X - 1, Y - 1) + R(X - 1, Y - 2) + R(X, Y - 2)
//   T(0, Y) = T(0, Y - 1) + R(0, Y - 2)        (the cone left of column 0)
//
// The scratch row holds R(a, Y - 2) for a = 0 .. srcWidth - 1 and a zero
// entry for the column right of the image; while row Y is computed, each
// entry is replaced by R(a, Y - 1) as soon as it has been read for the last
// time.
void obxTiltedIntegralu8s32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             int32_t* dst, uint32_t dstStride) {
    uint32_t* buf = static_cast<uint32_t*>(obxGetScratchBufferUnaligned_((srcWidth + 1) * sizeof(uint32_t)));
    OMBRIX_ASSERT(buf);
    if (srcStride == 0) srcStride = srcWidth;
    // Signed and unsigned entries may alias; unsigned arithmetic wraps.
    uint32_t* table = reinterpret_cast<uint32_t*>(dst);
    const size_t stride = dstStride / sizeof(int32_t);
    for (uint32_t x = 0; x <= srcWidth; ++x) table[x] = buf[x] = 0;
    for (uint32_t y = 1; y <= srcHeight; ++y) {
        const uint8_t* pixels = src + static_cast<size_t>(y - 1) * srcStride;
        const uint32_t* above = table + (y - 1) * stride;
        uint32_t* out = table + y * stride;
        out[0] = above[0] + buf[0];
        for (uint32_t x = 1; x <= srcWidth; ++x) {
            const uint32_t p = pixels[x - 1];
            out[x] = above[x - 1] + p + buf[x - 1] + buf[x];
            buf[x - 1] = p + buf[x];
        }
    }
    obxReleaseScratchBuffer_(buf);
}

}  // extern "C"
