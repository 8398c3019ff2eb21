// Mean shift: window clamping, the stopping rules, rounding of the step, and
// convergence on a blob, the same for u8, s32 and f32 weights.
#include <array>
#include <cmath>

#include "ombrix.h"
#include "ombrixTestSupport.h"

namespace {

using Window = std::array<int32_t, 4>;

// Runs the three element types on the same weights (given as u8) and checks
// that they agree; returns the u8 result.
struct Weights {
    uint32_t width, height;
    std::vector<uint8_t> u8;
    Weights(uint32_t w, uint32_t h) : width(w), height(h), u8(size_t{w} * h, 0) {}
    uint8_t& at(uint32_t x, uint32_t y) { return u8[size_t{y} * width + x]; }
    void blob(int32_t cx, int32_t cy, int32_t radius) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const int32_t d2 = (int32_t(x) - cx) * (int32_t(x) - cx) + (int32_t(y) - cy) * (int32_t(y) - cy);
                if (d2 <= radius * radius) at(x, y) = static_cast<uint8_t>(200 - 150 * d2 / (radius * radius));
            }
    }
    std::pair<int32_t, Window> shift(Window window, uint32_t maxIterations, float eps) const {
        // Rows padded beyond the width, so that the byte stride matters.
        const uint32_t pad = 3;
        std::vector<uint8_t> a(size_t{width + pad} * height);
        std::vector<int32_t> b(size_t{width + pad} * height);
        std::vector<float> c(size_t{width + pad} * height);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const size_t i = size_t{y} * (width + pad) + x;
                a[i] = u8[size_t{y} * width + x], b[i] = a[i] * 1000, c[i] = a[i] * 0.25f;
            }
        Window wa = window, wb = window, wc = window;
        const int32_t ra = obxMeanShiftu8_(a.data(), width, height, width + pad, wa.data(), maxIterations, eps);
        const int32_t rb = obxMeanShifts32_(b.data(), width, height, 4 * (width + pad), wb.data(), maxIterations, eps);
        const int32_t rc = obxMeanShiftf32_(c.data(), width, height, 4 * (width + pad), wc.data(), maxIterations, eps);
        EXPECT_EQ(ra, rb);
        EXPECT_EQ(ra, rc);
        EXPECT_EQ(wa, wb);
        EXPECT_EQ(wa, wc);
        return {ra, wa};
    }
};

TEST(MeanShift, ZeroWeightsStopInTheFirstPassWithTheWindowClamped) {
    const Weights w(64, 48);
    EXPECT_EQ(w.shift({-5, 60, 30, 30}, 10, 1.0f), std::make_pair(0, Window{0, 47, 30, 1}));
    EXPECT_EQ(w.shift({50, 40, 30, 30}, 10, 1.0f), std::make_pair(0, Window{50, 40, 14, 8}));
    EXPECT_EQ(w.shift({10, 10, 0, -3}, 10, 1.0f), std::make_pair(0, Window{10, 10, 1, 1}));
}

TEST(MeanShift, NoIterationsLeavesTheWindowAsGiven) {
    Weights w(64, 48);
    w.blob(30, 20, 6);
    EXPECT_EQ(w.shift({-5, 60, 30, 30}, 0, 1.0f), std::make_pair(0, Window{-5, 60, 30, 30}));
}

TEST(MeanShift, StepsRoundHalvesAwayFromZero) {
    Weights w(16, 1);
    w.at(4, 0) = w.at(5, 0) = 9;  // centroid 0.5 in a window of width 4: step -1.5 -> -2
    EXPECT_EQ(w.shift({4, 0, 4, 1}, 1, 1.0f), std::make_pair(1, Window{2, 0, 4, 1}));
    Weights v(16, 1);
    v.at(6, 0) = v.at(7, 0) = 9;  // centroid 2.5: step +0.5 -> +1
    EXPECT_EQ(v.shift({4, 0, 4, 1}, 1, 1.0f), std::make_pair(1, Window{5, 0, 4, 1}));
}

TEST(MeanShift, CentredOnASymmetricBlobStopsAtOnce) {
    Weights w(64, 48);
    w.blob(32, 24, 7);
    EXPECT_EQ(w.shift({22, 14, 20, 20}, 10, 1.0f), std::make_pair(0, Window{22, 14, 20, 20}));
}

TEST(MeanShift, ConvergesOnABlob) {
    Weights w(96, 80);
    w.blob(60, 30, 9);
    const auto [passes, window] = w.shift({35, 20, 24, 24}, 30, 1.0f);
    EXPECT_GT(passes, 0);
    EXPECT_LT(passes, 30);
    EXPECT_NEAR(window[0] + 12, 60, 1);
    EXPECT_NEAR(window[1] + 12, 30, 1);
    // eps = 0 never stops on the step: every pass is counted.
    EXPECT_EQ(w.shift({35, 20, 24, 24}, 7, 0.0f).first, 7);
}

TEST(MeanShift, WindowsAtTheBorderShrinkBeforeTheirMoments) {
    Weights w(64, 48);
    w.blob(60, 44, 5);
    // The window is cut to 14 x 8 first; its centre (57, 44) lies left of the
    // blob's clipped centroid, so it moves right and keeps the clamped size.
    const auto [passes, window] = w.shift({50, 40, 30, 30}, 10, 1.0f);
    EXPECT_GE(window[0], 50);
    EXPECT_LE(window[0] + window[2], 64);
    EXPECT_LE(window[1] + window[3], 48);
    EXPECT_LE(window[2], 14);
    EXPECT_LT(passes, 10);
}

}  // namespace
