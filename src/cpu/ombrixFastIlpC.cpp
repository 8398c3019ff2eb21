// Reference masked FAST9 detection and scoring: pixels whose mask bit is set
// are not examined.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixFastScalar.h"
#include "ombrixKernels.h"

using namespace ombrix_fast;

extern "C" {

void obxCornerFast9InMasku8C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride, int32_t barrier,
                             uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                             const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT(im && xy && numcorners && bitMask && (stride == 0 || stride >= xsize));
    *numcorners = 0;
    MaskMap mask;
    if (!mapMask(bitMask, maskWidth, maskHeight, xsize, ysize, &mask)) return;
    detect<9>(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners, mask);
}

void obxCornerFast9InMaskScoreu8C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride,
                                  int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                                  uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                  uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT(im && xy && scores && numcorners && bitMask && (stride == 0 || stride >= xsize));
    obxCornerFast9InMasku8_v2_(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners, bitMask,
                               maskWidth, maskHeight);
    score_9(im, xsize, ysize, barrier, numcorners, xy, scores, stride);
}

void obxCornerFast9InMaskScoreu8_v2C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride,
                                     int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                                     uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                     uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled,
                                     uint32_t* tempBuf) {
    OMBRIX_ASSERT(im && xy && scores && numcorners && bitMask && (stride == 0 || stride >= xsize));
    if (nmsEnabled) OMBRIX_ASSERT(tempBuf);
    detectAndScore(
        [&](uint32_t* corners, uint32_t capacity, uint32_t* count) {
            obxCornerFast9InMasku8_v2_(im, xsize, ysize, stride, barrier, border, corners, capacity, count,
                                       bitMask, maskWidth, maskHeight);
        },
        [&](const uint32_t* count, const uint32_t* corners, uint32_t* out) {
            score_9(im, xsize, ysize, barrier, count, corners, out, stride);
        },
        xy, scores, nCornersMax, numcorners, nmsEnabled != 0, tempBuf);
}

}  // extern "C"
