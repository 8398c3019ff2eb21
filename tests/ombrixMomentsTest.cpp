// Tile moments: closed forms on small tiles, and every vector variant equal
// to its reference over sizes, strides and (u8) unaligned rows.
#include <cstring>
#include <random>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using Moments = std::vector<double>;

template <typename T, typename Fn>
Moments run(Fn* fn, const std::vector<T>& data, uint32_t width, uint32_t height, uint32_t strideElems,
            size_t offset = 0) {
    double m[12];
    for (double& v : m) v = -7.5;  // guards around the ten outputs
    fn(data.data() + offset, width, height, strideElems * sizeof(T), m + 1);
    EXPECT_EQ(m[0], -7.5);
    EXPECT_EQ(m[11], -7.5);
    return Moments(m + 1, m + 11);
}

TEST(Moments, SinglePixelGivesPowersOfItsPosition) {
    const uint32_t w = 13, h = 9, x = 11, y = 7;
    std::vector<uint8_t> u(w * h, 0);
    std::vector<int32_t> s(w * h, 0);
    std::vector<float> f(w * h, 0);
    u[y * w + x] = 3, s[y * w + x] = -3, f[y * w + x] = 3;
    const Moments expected = {3, 3. * x, 3. * y, 3. * x * x, 3. * x * y, 3. * y * y,
                              3. * x * x * x, 3. * x * x * y, 3. * x * y * y, 3. * y * y * y};
    Moments negated = expected;
    for (double& v : negated) v = -v;
    for (auto* fn : {obxMomentsInTileu8C, obxMomentsInTileu8V}) EXPECT_EQ(run(fn, u, w, h, w), expected);
    for (auto* fn : {obxMomentsInTiles32C, obxMomentsInTiles32V}) EXPECT_EQ(run(fn, s, w, h, w), negated);
    for (auto* fn : {obxMomentsInTilef32C, obxMomentsInTilef32V}) EXPECT_EQ(run(fn, f, w, h, w), expected);
}

TEST(Moments, ConstantTileMatchesClosedForms) {
    // Sums of x^k over 0..n-1.
    auto power = [](double n, int k) {
        return k == 0 ? n : k == 1 ? n * (n - 1) / 2 : k == 2 ? (n - 1) * n * (2 * n - 1) / 6
                                                             : (n * (n - 1) / 2) * (n * (n - 1) / 2);
    };
    for (uint32_t w : {1u, 7u, 40u, 301u})
        for (uint32_t h : {1u, 5u, 33u}) {
            const double c = 255;
            const Moments expected = {
                c * power(w, 0) * power(h, 0), c * power(w, 1) * power(h, 0), c * power(w, 0) * power(h, 1),
                c * power(w, 2) * power(h, 0), c * power(w, 1) * power(h, 1), c * power(w, 0) * power(h, 2),
                c * power(w, 3) * power(h, 0), c * power(w, 2) * power(h, 1), c * power(w, 1) * power(h, 2),
                c * power(w, 0) * power(h, 3)};
            std::vector<uint8_t> u(size_t{w + 3} * h, 255);
            std::vector<int32_t> s(size_t{w + 3} * h, 255);
            EXPECT_EQ(run(obxMomentsInTileu8C, u, w, h, w + 3), expected) << w << "x" << h;
            EXPECT_EQ(run(obxMomentsInTiles32C, s, w, h, w + 3), expected) << w << "x" << h;
        }
}

TEST(Moments, VectorMatchesReference) {
    std::mt19937 rng(11);
    for (uint32_t w = 1; w <= 300; w += (w < 40 ? 1 : 37)) {
        const uint32_t h = 1 + rng() % 23, stride = w + rng() % 9;
        const size_t n = size_t{stride} * h + 1;
        std::vector<uint8_t> u(n);
        std::vector<int32_t> s(n);
        std::vector<float> f(n);
        for (size_t i = 0; i < n; ++i) {
            u[i] = static_cast<uint8_t>(rng());
            s[i] = static_cast<int32_t>(rng());
            f[i] = std::uniform_real_distribution<float>(-2, 2)(rng);
        }
        const size_t off = rng() % 2;
        EXPECT_EQ(run(obxMomentsInTileu8V, u, w, h, stride, off), run(obxMomentsInTileu8C, u, w, h, stride, off))
            << w << "x" << h;
        EXPECT_EQ(run(obxMomentsInTiles32V, s, w, h, stride), run(obxMomentsInTiles32C, s, w, h, stride)) << w;
        EXPECT_EQ(run(obxMomentsInTilef32V, f, w, h, stride), run(obxMomentsInTilef32C, f, w, h, stride)) << w;
    }
}

}  // namespace
