// Column strips of the box filters, shared by the reference and the vector
// variants. A filter of radius r works on at most `stripWidth` output columns
// x0 .. x0 + count - 1 at a time, so that its per-column state fits on the
// stack. Their windows cover the strip positions p = 0 .. length - 1, where
// position p is image column x0 - r + p; positions first .. last - 1 lie
// inside the image, the others count as zero pixels.
//
// Only static inline code here: the header is compiled both with and without
// NEON, and each object must keep its own copy.
#ifndef OMBRIX_BOX_STRIP_H
#define OMBRIX_BOX_STRIP_H

#include <stdint.h>

struct obxBoxStrip {
    uint32_t count;   // output columns in the strip
    uint32_t length;  // window positions: count + 2 r
    uint32_t first;   // first position inside the image
    uint32_t last;    // one past the last position inside the image
    uint32_t column;  // image column of position `first`
};

static inline obxBoxStrip obxBoxStripAt(uint32_t x0, uint32_t width, uint32_t stripWidth, uint32_t radius) {
    obxBoxStrip strip;
    strip.count = width - x0 < stripWidth ? width - x0 : stripWidth;
    strip.length = strip.count + 2 * radius;
    strip.first = x0 >= radius ? 0 : radius - x0;
    strip.last = strip.length < width + radius - x0 ? strip.length : width + radius - x0;
    strip.column = x0 + strip.first - radius;
    return strip;
}

#endif  // OMBRIX_BOX_STRIP_H
