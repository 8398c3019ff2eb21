// Reference FAST9 detection and scoring, the FAST9 score routine, and the
// non-maximum suppression shared by every scoring operation.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixFastScalar.h"
#include "ombrixKernels.h"

using namespace ombrix_fast;

void score_9(const uint8_t* im, uint32_t xsize, uint32_t ysize, int32_t barrier, const uint32_t* count,
             const uint32_t* xy, uint32_t* scores, uint32_t stride) {
    (void)ysize;
    scoreCorners(fast9_corner_score_, im, xsize, stride, barrier, *count, xy, scores);
}

// Suppression against raw neighbours with ">=": equal neighbours remove each
// other. The row table gives the first corner of every row; the rows above
// and below are read from cursors that only move forward, as both the
// current row and those rows are in x order, so the pass is linear.
void nms_processing(const uint32_t* xy, const uint32_t* scores, uint32_t* rowTable, uint32_t count,
                    uint32_t* xyOut, uint32_t* scoresOut, uint32_t* countOut) {
    if (count == 0) {
        *countOut = 0;
        return;
    }
    constexpr uint32_t kNoCorner = 0xFFFFFFFFu;
    const uint32_t lastY = xy[2 * (count - 1) + 1];
    for (uint32_t y = 0; y <= lastY; ++y) rowTable[y] = kNoCorner;
    for (uint32_t i = 0; i < count; ++i)
        if (i == 0 || xy[2 * i + 1] != xy[2 * i - 1]) rowTable[xy[2 * i + 1]] = i;

    const auto xOf = [xy](uint32_t i) { return xy[2 * i]; };
    const auto yOf = [xy](uint32_t i) { return xy[2 * i + 1]; };
    // True when a corner of row `row` at x - 1, x or x + 1 scores >= s; the
    // cursor first skips the row's corners left of x - 1.
    const auto rowSuppresses = [&](uint32_t& cursor, uint32_t row, uint32_t x, uint32_t s) {
        while (cursor < count && yOf(cursor) == row && xOf(cursor) + 1 < x) ++cursor;
        for (uint32_t j = cursor; j < count && yOf(j) == row && xOf(j) <= x + 1; ++j)
            if (scores[j] >= s) return true;
        return false;
    };

    uint32_t kept = 0, above = 0, below = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t x = xOf(i), y = yOf(i), s = scores[i];
        if (i == 0 || y != yOf(i - 1)) {  // a new row: restart both cursors
            above = y > 0 ? rowTable[y - 1] : kNoCorner;
            below = y != lastY ? rowTable[y + 1] : kNoCorner;
        }
        const bool suppressed =
            (i > 0 && yOf(i - 1) == y && xOf(i - 1) + 1 == x && scores[i - 1] >= s) ||
            (i + 1 < count && yOf(i + 1) == y && xOf(i + 1) == x + 1 && scores[i + 1] >= s) ||
            (above != kNoCorner && rowSuppresses(above, y - 1, x, s)) ||
            (below != kNoCorner && rowSuppresses(below, y + 1, x, s));
        if (suppressed) continue;
        xyOut[2 * kept] = x;
        xyOut[2 * kept + 1] = y;
        scoresOut[kept++] = s;
    }
    *countOut = kept;
}

extern "C" {

uint32_t fast9_corner_scoreC(const uint8_t* p, const int32_t* pixel, int32_t barrier) {
    return bisectionScore<9>(p, pixel, barrier);
}

void obxCornerFast9u8C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride, int32_t barrier,
                       uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners) {
    OMBRIX_ASSERT(im && xy && numcorners && (stride == 0 || stride >= xsize));
    *numcorners = 0;
    detect<9>(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners, NoMask{});
}

void obxCornerFast9Scoreu8C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride, int32_t barrier,
                            uint32_t border, uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                            uint32_t* numcorners) {
    OMBRIX_ASSERT(im && xy && scores && numcorners && (stride == 0 || stride >= xsize));
    obxCornerFast9u8_v2_(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners);
    score_9(im, xsize, ysize, barrier, numcorners, xy, scores, stride);
}

void obxCornerFast9Scoreu8_v2C(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride,
                               int32_t barrier, uint32_t border, uint32_t* xy, uint32_t* scores,
                               uint32_t nCornersMax, uint32_t* numcorners, uint32_t nmsEnabled, uint32_t* tempBuf) {
    OMBRIX_ASSERT(im && xy && scores && numcorners && (stride == 0 || stride >= xsize));
    if (nmsEnabled) OMBRIX_ASSERT(tempBuf);
    detectAndScore(
        [&](uint32_t* corners, uint32_t capacity, uint32_t* count) {
            obxCornerFast9u8_v2_(im, xsize, ysize, stride, barrier, border, corners, capacity, count);
        },
        [&](const uint32_t* count, const uint32_t* corners, uint32_t* out) {
            score_9(im, xsize, ysize, barrier, count, corners, out, stride);
        },
        xy, scores, nCornersMax, numcorners, nmsEnabled != 0, tempBuf);
}

}  // extern "C"
