// Scalar building blocks of the image gradients: the three derivative
// kernels, the output scalings and one row of results. Included by the
// reference code and, for rows too narrow for whole vectors, by the vector
// code.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_EDGE_SCALAR_H
#define OMBRIX_EDGE_SCALAR_H

#include <stddef.h>
#include <stdint.h>

namespace ombrix_edge {

// Central differences, 3x3 Sobel (1 2 1 smoothing across the derivative) and
// 3x3 Scharr (3 10 3 smoothing).
enum class Kernel { Central, Sobel, Scharr };

// Weights of the smoothing across the derivative: outer, centre, outer.
template <Kernel K>
struct Smoothing;
template <>
struct Smoothing<Kernel::Sobel> {
    static constexpr int outer = 1, centre = 2;
};
template <>
struct Smoothing<Kernel::Scharr> {
    static constexpr int outer = 3, centre = 10;
};

// What is stored: the derivative as it is, shifted right by 3 (arithmetic,
// so -1 stays -1 and -9 becomes -2), or converted to float and times 0.125.
enum class Scale { None, Shift3, Eighth };

// 8-bit pixels give exact int32_t derivatives (Sobel within +-1020, Scharr
// within +-4080); float pixels give float derivatives.
template <typename Pixel>
struct SumOf {
    using type = int32_t;
};
template <>
struct SumOf<float> {
    using type = float;
};

// outer * a + centre * b + outer * c, added left to right: for float pixels
// both products are exact (weights 1 and 2), so the vector code, which adds
// in the same order, rounds identically.
template <Kernel K, typename Sum>
static inline Sum smooth(Sum a, Sum b, Sum c) {
    return Smoothing<K>::outer * a + Smoothing<K>::centre * b + Smoothing<K>::outer * c;
}

// dx and dy of pixel x of the centre row.
template <Kernel K, typename Pixel, typename Sum = typename SumOf<Pixel>::type>
static inline void derivatives(const Pixel* above, const Pixel* centre, const Pixel* below, uint32_t x, Sum& dx,
                               Sum& dy) {
    const uint32_t l = x - 1, r = x + 1;
    if constexpr (K == Kernel::Central) {
        dx = static_cast<Sum>(centre[r]) - static_cast<Sum>(centre[l]);
        dy = static_cast<Sum>(below[x]) - static_cast<Sum>(above[x]);
    } else {
        dx = smooth<K, Sum>(above[r], centre[r], below[r]) - smooth<K, Sum>(above[l], centre[l], below[l]);
        dy = smooth<K, Sum>(below[l], below[x], below[r]) - smooth<K, Sum>(above[l], above[x], above[r]);
    }
}

template <Scale S, typename Out, typename Sum>
static inline Out scaled(Sum d) {
    if constexpr (S == Scale::Shift3) return static_cast<Out>(static_cast<int32_t>(d) >> 3);
    else if constexpr (S == Scale::Eighth) return static_cast<Out>(static_cast<float>(d) * 0.125f);
    else return static_cast<Out>(d);
}

// The scaled derivatives of centre-row pixels x in [first, end): dx of pixel
// x goes to dxOut[(x - first) * step], dy to dyOut[(x - first) * step], which
// serves interleaved pairs (step 2) and separate planes (step 1) alike.
template <Kernel K, Scale S, typename Out, typename Pixel>
static inline void gradientRow(const Pixel* above, const Pixel* centre, const Pixel* below, uint32_t first,
                               uint32_t end, Out* dxOut, Out* dyOut, size_t step) {
    typename SumOf<Pixel>::type dx, dy;
    for (uint32_t x = first; x < end; ++x) {
        derivatives<K>(above, centre, below, x, dx, dy);
        dxOut[(x - first) * step] = scaled<S, Out>(dx);
        dyOut[(x - first) * step] = scaled<S, Out>(dy);
    }
}

// min(|dx| + |dy|, 255) of the Sobel derivatives of pixels x in [first, end),
// stored at out[x].
static inline void sobelMagnitudeRow(const uint8_t* above, const uint8_t* centre, const uint8_t* below,
                                     uint32_t first, uint32_t end, uint8_t* out) {
    int32_t dx, dy;
    for (uint32_t x = first; x < end; ++x) {
        derivatives<Kernel::Sobel>(above, centre, below, x, dx, dy);
        const int32_t magnitude = (dx < 0 ? -dx : dx) + (dy < 0 ? -dy : dy);
        out[x] = static_cast<uint8_t>(magnitude < 255 ? magnitude : 255);
    }
}

// Row y of an image whose stride is in elements.
template <typename T>
static inline T* rowAt(T* image, size_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}

}  // namespace ombrix_edge

#endif  // OMBRIX_EDGE_SCALAR_H
