// Reference FAST10 detection and scoring, masked and unmasked, and the
// FAST10 score routine.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixFastScalar.h"
#include "ombrixKernels.h"

using namespace ombrix_fast;

namespace {

// Scores the listed corners through the FAST10 score slot.
void scoreWithFast10(const uint8_t* src, uint32_t srcWidth, uint32_t srcStride, int32_t barrier,
                     const uint32_t* count, const uint32_t* xy, uint32_t* scores) {
    scoreCorners(fast10_corner_score_, src, srcWidth, srcStride, barrier, *count, xy, scores);
}

}  // namespace

extern "C" {

uint32_t fast10_corner_scoreC(const uint8_t* p, const int32_t* pixel, int32_t barrier) {
    return bisectionScore<10>(p, pixel, barrier);
}

void obxCornerFast10u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners) {
    OMBRIX_ASSERT(src && xy && nCorners && (srcStride == 0 || srcStride >= srcWidth));
    *nCorners = 0;
    detect<10>(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners, NoMask{});
}

void obxCornerFast10Scoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                             uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf) {
    OMBRIX_ASSERT(src && xy && scores && nCorners && (srcStride == 0 || srcStride >= srcWidth));
    if (nmsEnabled) OMBRIX_ASSERT(tempBuf);
    detectAndScore(
        [&](uint32_t* corners, uint32_t capacity, uint32_t* count) {
            obxCornerFast10u8_(src, srcWidth, srcHeight, srcStride, barrier, border, corners, capacity, count);
        },
        [&](const uint32_t* count, const uint32_t* corners, uint32_t* out) {
            scoreWithFast10(src, srcWidth, srcStride, barrier, count, corners, out);
        },
        xy, scores, nCornersMax, nCorners, nmsEnabled != 0, tempBuf);
}

void obxCornerFast10InMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                              uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT(src && xy && nCorners && mask && (srcStride == 0 || srcStride >= srcWidth));
    *nCorners = 0;
    MaskMap map;
    if (!mapMask(mask, maskWidth, maskHeight, srcWidth, srcHeight, &map)) return;
    detect<10>(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners, map);
}

void obxCornerFast10InMaskScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                                   uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                                   uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled,
                                   uint32_t* tempBuf) {
    OMBRIX_ASSERT(src && xy && scores && nCorners && mask && (srcStride == 0 || srcStride >= srcWidth));
    if (nmsEnabled) OMBRIX_ASSERT(tempBuf);
    detectAndScore(
        [&](uint32_t* corners, uint32_t capacity, uint32_t* count) {
            obxCornerFast10InMasku8_(src, srcWidth, srcHeight, srcStride, barrier, border, corners, capacity,
                                     count, mask, maskWidth, maskHeight);
        },
        [&](const uint32_t* count, const uint32_t* corners, uint32_t* out) {
            scoreWithFast10(src, srcWidth, srcStride, barrier, count, corners, out);
        },
        xy, scores, nCornersMax, nCorners, nmsEnabled != 0, tempBuf);
}

}  // extern "C"
