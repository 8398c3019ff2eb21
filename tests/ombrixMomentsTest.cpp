// Tile moments: closed forms on small tiles, and every vector variant equal
// to its reference over sizes, strides and (u8) unaligned rows.
#include <array>
#include <cmath>
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

// ---- Continuously adaptive mean shift ----

namespace {

using Window = std::array<int32_t, 4>;
using Box = std::array<float, 5>;

// A weight image of all three types from a u8 picture; track() runs the three
// trackers, checks that they agree and returns the u8 result.
struct Picture {
    uint32_t width, height;
    std::vector<uint8_t> u8;
    Picture(uint32_t w, uint32_t h) : width(w), height(h), u8(size_t{w} * h, 0) {}
    // A uniform ellipse of semi-axes a, b, the a axis turned by degrees.
    void ellipse(double cx, double cy, double a, double b, double degrees, uint8_t value) {
        const double c = std::cos(degrees * M_PI / 180), s = std::sin(degrees * M_PI / 180);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const double u = (x - cx) * c + (y - cy) * s, v = -(x - cx) * s + (y - cy) * c;
                if (u * u / (a * a) + v * v / (b * b) <= 1) u8[size_t{y} * width + x] = value;
            }
    }
    int32_t track(Window& window, Box& box) const {
        std::vector<int32_t> s(u8.begin(), u8.end());
        std::vector<float> f(u8.begin(), u8.end());
        Window ws = window, wf = window;
        Box bs, bf;
        const int32_t r = obxConAdaTracku8_(u8.data(), width, height, width, window.data(), 10, 1.0f, box.data());
        EXPECT_EQ(obxConAdaTracks32_(s.data(), width, height, 4 * width, ws.data(), 10, 1.0f, bs.data()), r);
        EXPECT_EQ(obxConAdaTrackf32_(f.data(), width, height, 4 * width, wf.data(), 10, 1.0f, bf.data()), r);
        EXPECT_EQ(ws, window);
        EXPECT_EQ(wf, window);
        EXPECT_EQ(bs, box);
        // float32 rows are summed in float32: the box agrees to rounding.
        for (int i = 0; i < 5; ++i) EXPECT_NEAR(bf[i], box[i], 1e-4 * (1 + std::fabs(box[i])));
        return r;
    }
};

TEST(ConAdaTrack, RecoversCentreOrientationAndAxesOfAnEllipse) {
    Picture p(160, 120);
    p.ellipse(82, 57, 30, 12, 30, 200);
    Window window = {60, 40, 30, 30};
    Box box;
    for (int frame = 0; frame < 4; ++frame) p.track(window, box);
    EXPECT_NEAR(box[0], 82, 0.25);
    EXPECT_NEAR(box[1], 57, 0.25);
    EXPECT_NEAR(box[2], 60, 1.5);
    EXPECT_NEAR(box[3], 24, 1.5);
    EXPECT_NEAR(box[4], 30, 1.0);
    // The window is the square of twice the root of the area, around the centre.
    const int32_t side = static_cast<int32_t>(std::lround(2 * std::sqrt(M_PI * 30 * 12)));
    EXPECT_NEAR(window[2], side, 2);
    EXPECT_EQ(window[2], window[3]);
    EXPECT_NEAR(window[0] + window[2] / 2.0, 82, 1);
    // Turned the other way, the angle is negative.
    Picture q(160, 120);
    q.ellipse(80, 60, 30, 12, -45, 200);
    window = {65, 45, 30, 30};
    for (int frame = 0; frame < 4; ++frame) q.track(window, box);
    EXPECT_NEAR(box[4], -45, 1.0);
}

TEST(ConAdaTrack, WindowGrowsToCoverABiggerBlob) {
    Picture p(200, 200);
    p.ellipse(100, 100, 40, 40, 0, 90);
    Window window = {95, 95, 10, 10};
    Box box;
    p.track(window, box);
    // The 10x10 tile is all weight: side 2 * 10.
    EXPECT_EQ(window[2], 20);
    EXPECT_EQ(window[3], 20);
    for (int frame = 0; frame < 5; ++frame) p.track(window, box);
    EXPECT_LE(window[0], 60);
    EXPECT_GE(window[0] + window[2], 140);
    EXPECT_NEAR(box[2], 80, 1.5);
    EXPECT_NEAR(box[3], 80, 1.5);
}

TEST(ConAdaTrack, ZeroWeightsKeepTheClampedWindowAndGiveAnEmptyBox) {
    const Picture p(64, 48);
    Window window = {50, -4, 30, 30};
    Box box;
    EXPECT_EQ(p.track(window, box), 0);
    EXPECT_EQ(window, (Window{50, 0, 14, 30}));
    EXPECT_EQ(box, (Box{57, 15, 0, 0, 0}));
}

}  // namespace
