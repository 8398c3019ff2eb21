// Vector 3x3 dilation and erosion.
//
// Taking a maximum (or minimum) twice over the same pixel changes nothing, so
// the rows above and below the image are replaced by the row itself, and
// columns left and right of it by the neutral value (0 for the maximum, 255
// for the minimum). Each row is then the horizontal extreme of the vertical
// extreme of three rows; 16 columns at a time, the left and right neighbours
// come from the neighbouring vectors.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

struct Maximum {
    static constexpr uint8_t kNeutral = 0;
    static uint8x16_t pick(uint8x16_t a, uint8x16_t b) { return vmaxq_u8(a, b); }
    static uint8_t pick(uint8_t a, uint8_t b) { return a > b ? a : b; }
};
struct Minimum {
    static constexpr uint8_t kNeutral = 255;
    static uint8x16_t pick(uint8x16_t a, uint8x16_t b) { return vminq_u8(a, b); }
    static uint8_t pick(uint8_t a, uint8_t b) { return a < b ? a : b; }
};

// The three rows of one output row.
struct Rows {
    const uint8_t *above, *centre, *below;
};

template <typename Pick>
inline uint8x16_t verticalExtreme(const Rows& rows, uint32_t x) {
    return Pick::pick(Pick::pick(vld1q_u8(rows.above + x), vld1q_u8(rows.centre + x)), vld1q_u8(rows.below + x));
}

template <typename Pick>
inline uint8_t verticalExtreme1(const Rows& rows, uint32_t x) {
    return Pick::pick(Pick::pick(rows.above[x], rows.centre[x]), rows.below[x]);
}

template <typename Pick>
inline uint8x16_t combine(uint8x16_t left, uint8x16_t centre, uint8x16_t right) {
    return Pick::pick(centre, Pick::pick(left, right));
}

// Output columns x .. x + 15 of a row at least 16 wide, x + 16 <= width.
template <typename Pick>
inline void writeSixteenAt(uint8_t* out, const Rows& rows, uint32_t x, uint32_t width) {
    const uint8x16_t neutral = vdupq_n_u8(Pick::kNeutral);
    const uint8x16_t centre = verticalExtreme<Pick>(rows, x);
    const uint8x16_t left = x > 0 ? verticalExtreme<Pick>(rows, x - 1) : vextq_u8(neutral, centre, 15);
    const uint8x16_t right = x + 16 < width ? verticalExtreme<Pick>(rows, x + 1) : vextq_u8(centre, neutral, 1);
    vst1q_u8(out + x, combine<Pick>(left, centre, right));
}

template <typename Pick>
void extremeRow(uint8_t* out, const Rows& rows, uint32_t width) {
    if (width < 16) {
        for (uint32_t x = 0; x < width; ++x) {
            uint8_t extreme = verticalExtreme1<Pick>(rows, x);
            if (x > 0) extreme = Pick::pick(extreme, verticalExtreme1<Pick>(rows, x - 1));
            if (x + 1 < width) extreme = Pick::pick(extreme, verticalExtreme1<Pick>(rows, x + 1));
            out[x] = extreme;
        }
        return;
    }
    const uint8x16_t neutral = vdupq_n_u8(Pick::kNeutral);
    uint8x16_t previous = neutral, current = verticalExtreme<Pick>(rows, 0);
    uint32_t x = 0;
    for (; x + 32 <= width; x += 16) {
        const uint8x16_t next = verticalExtreme<Pick>(rows, x + 16);
        vst1q_u8(out + x, combine<Pick>(vextq_u8(previous, current, 15), current, vextq_u8(current, next, 1)));
        previous = current;
        current = next;
    }
    // 16 to 31 columns remain: one group at x and one ending at the last
    // column, which may overlap it and writes the same values again.
    writeSixteenAt<Pick>(out, rows, x, width);
    writeSixteenAt<Pick>(out, rows, width - 16, width);
}

template <typename Pick>
void neighbourhoodExtreme3x3(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride) {
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* centre = src + static_cast<size_t>(y) * srcStride;
        const Rows rows = {y > 0 ? centre - srcStride : centre, centre,
                           y + 1 < height ? centre + srcStride : centre};
        extremeRow<Pick>(dst + static_cast<size_t>(y) * dstStride, rows, width);
    }
}

}  // namespace

extern "C" {

void obxFilterDilate3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    neighbourhoodExtreme3x3<Maximum>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxFilterErode3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    neighbourhoodExtreme3x3<Minimum>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // extern "C"
