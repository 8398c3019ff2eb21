// Scalar building blocks of the Lucas-Kanade gradients, shared by the
// reference and the vector variant so that tails match bit for bit.
//
// The Scharr weights 3/32 and 10/32 are exact in float32; every product and
// every sum is rounded on its own, in the order written, which the vector
// lanes repeat (no fused multiply-add anywhere).
//
// Everything here has internal linkage (an unnamed namespace), so a copy
// compiled with NEON enabled in src/lanex/ can never be merged into the
// reference path.
#ifndef OMBRIX_TRACK_SCALAR_H
#define OMBRIX_TRACK_SCALAR_H

#include <stdint.h>

#include "ombrix.h"

namespace ombrix_track {
namespace {

constexpr float32_t kScharrOuter = 0.09375f;  // 3 / 32
constexpr float32_t kScharrInner = 0.3125f;   // 10 / 32

// Gradients of the inner pixels x in [first, end) of one row; above, row and
// below point at the rows y - 1, y and y + 1 of the bordered patch, each at
// its first inner pixel.
inline void scharrRow(const float32_t* above, const float32_t* row, const float32_t* below, uint32_t first,
                      uint32_t end, float32_t* dx, float32_t* dy) {
    for (uint32_t x = first; x < end; ++x) {
        const float32_t *a = above + x, *m = row + x, *b = below + x;  // a[-1]: the border column
        const float32_t gx = kScharrOuter * (a[1] - a[-1]) + kScharrInner * (m[1] - m[-1]) +
                             kScharrOuter * (b[1] - b[-1]);
        const float32_t gy = kScharrOuter * (b[-1] - a[-1]) + kScharrInner * (b[0] - a[0]) +
                             kScharrOuter * (b[1] - a[1]);
        dx[x] = gx;
        dy[x] = gy;
    }
}

}  // namespace
}  // namespace ombrix_track

#endif  // OMBRIX_TRACK_SCALAR_H
