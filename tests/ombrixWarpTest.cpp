// Perspective warps, affine patches, rotated and translated copies and RGBA
// remaps: hand-checked cases of the sampling rules (identity and integer
// shifts, a quarter turn, truncation, samples on the last row and column,
// maps outside the image), the assertion texts, and randomized
// vector-against-reference comparisons over odd sizes, padded strides,
// misaligned rows and guard bytes.
#include <cmath>
#include <limits>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// ---- Perspective warps ---------------------------------------------------------------------

using Warp = obxWarpPerspectiveu8_v2_fn;
struct WarpImpl {
    const char* name;
    Warp* f;
    uint32_t channels;
};
const WarpImpl kWarps[] = {{"C", obxWarpPerspectiveu8_v2C, 1},
                           {"V", obxWarpPerspectiveu8_v2V, 1},
                           {"3C", obx3ChannelWarpPerspectiveu8_v2C, 3},
                           {"3V", obx3ChannelWarpPerspectiveu8_v2V, 3}};

void PrintTo(const WarpImpl& impl, std::ostream* os) { *os << impl.name; }

class WarpHand : public ::testing::TestWithParam<WarpImpl> {};

// Pixels of an image that are not 0: the comparisons below check that the
// random cases sample the source often enough to mean something.
size_t nonZero(const GuardedImage<uint8_t>& image) {
    size_t n = 0;
    for (uint32_t y = 0; y < image.height(); ++y)
        for (uint32_t x = 0; x < image.width(); ++x) n += image.at(x, y) != 0;
    return n;
}

// Identity and integer shifts reproduce the source, shifted; destination
// pixels whose top-left neighbour is on the last column or row, or beyond,
// are 0. Odd sizes and padded strides.
TEST_P(WarpHand, IntegerShiftsCopyTheSource) {
    const WarpImpl& impl = GetParam();
    std::mt19937 rng(7);
    const int shifts[][2] = {{0, 0}, {2, 1}, {-3, 2}, {1, -1}};
    for (uint32_t w : {1u, 2u, 5u, 17u}) {
        for (auto& d : shifts) {
            const uint32_t h = 7, ch = impl.channels;
            GuardedImage<uint8_t> src(w * ch, h, w * ch + 3, 1), dst(w * ch, h, w * ch + 5, 3);
            src.fillRandom(rng);
            const float m[9] = {1, 0, float(d[0]), 0, 1, float(d[1]), 0, 0, 1};
            impl.f(src.data(), w, h, src.stride(), dst.data(), w, h, dst.stride(), m);
            for (uint32_t y = 0; y < h; ++y)
                for (uint32_t x = 0; x < w; ++x) {
                    const int sx = int(x) + d[0], sy = int(y) + d[1];
                    const bool inside = sx >= 0 && sy >= 0 && sx < int(w) - 1 && sy < int(h) - 1;
                    for (uint32_t c = 0; c < ch; ++c)
                        ASSERT_EQ(dst.at(x * ch + c, y), inside ? src.at(sx * ch + c, sy) : 0)
                            << impl.name << " w " << w << " shift " << d[0] << "," << d[1] << " at " << x << "," << y;
                }
            ASSERT_TRUE(dst.guardsIntact());
        }
    }
}

// A quarter turn, (x, y) -> (5 - y, x), and half-pixel shifts whose blends
// truncate: 10 and 21 give 15.5 -> 15; four corners 10, 21, 40, 3 at (0.5,
// 0.5) give top 15.5, bottom 21.5, result 18.5 -> 18.
TEST_P(WarpHand, QuarterTurnAndTruncatedBlends) {
    const WarpImpl& impl = GetParam();
    const uint32_t ch = impl.channels, w = 8, h = 8;
    GuardedImage<uint8_t> src(w * ch, h, w * ch, 0), dst(w * ch, h, w * ch, 0);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w * ch; ++x) src.at(x, y) = uint8_t(x * 7 + y * 31 + 3);
    const float turn[9] = {0, -1, 5, 1, 0, 0, 0, 0, 1};
    impl.f(src.data(), w, h, src.stride(), dst.data(), w, h, dst.stride(), turn);
    const uint32_t picks[][2] = {{0, 0}, {3, 2}, {6, 5}, {1, 4}};
    for (auto& p : picks)
        for (uint32_t c = 0; c < ch; ++c)
            EXPECT_EQ(dst.at(p[0] * ch + c, p[1]), src.at((5 - p[1]) * ch + c, p[0])) << impl.name;
    EXPECT_EQ(dst.at(0, 6), 0);  // u = -1

    const uint8_t quad[4] = {10, 21, 40, 3};
    for (uint32_t c = 0; c < ch; ++c) {
        src.at(c, 0) = quad[0], src.at(ch + c, 0) = quad[1];
        src.at(c, 1) = quad[2], src.at(ch + c, 1) = quad[3];
    }
    const float half[9] = {1, 0, 0.5f, 0, 1, 0.5f, 0, 0, 1};
    impl.f(src.data(), w, h, src.stride(), dst.data(), w, h, dst.stride(), half);
    for (uint32_t c = 0; c < ch; ++c) EXPECT_EQ(dst.at(c, 0), 18) << impl.name;
    const float across[9] = {1, 0, 0.5f, 0, 1, 0, 0, 0, 1};
    impl.f(src.data(), w, h, src.stride(), dst.data(), w, h, dst.stride(), across);
    for (uint32_t c = 0; c < ch; ++c) EXPECT_EQ(dst.at(c, 0), 15) << impl.name;
}

// Samples just short of the last column are blended with it; exactly on
// it, at negative u, or with W = 0 (u NaN) they are outside.
TEST_P(WarpHand, SamplesOnTheLastColumnAreOutside) {
    const WarpImpl& impl = GetParam();
    const uint32_t ch = impl.channels, w = 6, h = 3;
    GuardedImage<uint8_t> src(w * ch, h, w * ch, 0), dst(w * ch, 1, w * ch, 0);
    src.fill(200);
    struct Case {
        float m2, m8;
        uint8_t expected;
    } cases[] = {{4.999f, 1, 200}, {5.0f, 1, 0}, {-0.0001f, 1, 0}, {0, 0, 0}, {0.5f, -1, 0},
                 {-1, -1, 200}};  // the last: v = 0 * (1 / -1) = -0, which counts as 0
    for (const Case& c : cases) {
        const float m[9] = {0, 0, c.m2, 0, 0, 0, 0, 0, c.m8};
        impl.f(src.data(), w, h, src.stride(), dst.data(), w, 1, dst.stride(), m);
        for (uint32_t x = 0; x < w * ch; ++x) ASSERT_EQ(dst.at(x, 0), c.expected) << impl.name << " m2 " << c.m2;
    }
}

INSTANTIATE_TEST_SUITE_P(Warp, WarpHand, ::testing::ValuesIn(kWarps),
                         [](const ::testing::TestParamInfo<WarpImpl>& i) { return std::string("impl") + i.param.name; });

TEST(WarpHand, PackedFormsUseTheWidthAsStride) {
    std::mt19937 rng(3);
    std::vector<uint8_t> src(13 * 9 * 3), a(11 * 7 * 3), b(a.size());
    for (auto& v : src) v = uint8_t(rng());
    const float m[9] = {0.9f, 0.2f, 1.5f, -0.1f, 1.1f, 0.7f, 0.001f, 0.002f, 1.0f};
    obxWarpPerspectiveu8C(src.data(), 13, 9, a.data(), 11, 7, m);
    obxWarpPerspectiveu8_v2C(src.data(), 13, 9, 13, b.data(), 11, 7, 11, m);
    EXPECT_EQ(a, b);
    obxWarpPerspectiveu8V(src.data(), 13, 9, b.data(), 11, 7, m);
    EXPECT_EQ(a, b);
    obx3ChannelWarpPerspectiveu8C(src.data(), 13, 9, a.data(), 11, 7, m);
    obx3ChannelWarpPerspectiveu8_v2C(src.data(), 13, 9, 39, b.data(), 11, 7, 33, m);
    EXPECT_EQ(a, b);
    obx3ChannelWarpPerspectiveu8V(src.data(), 13, 9, b.data(), 11, 7, m);
    EXPECT_EQ(a, b);
}

// A random rotation with scale that takes the destination's centre near
// the source's, with perspective terms; one in four has W = 0 on a line
// through the destination.
void randomMatrix(std::mt19937& rng, uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, float* m) {
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    const float angle = u(rng) * 3.2f, scale = 1.0f + 0.5f * u(rng);
    const float c = std::cos(angle) * scale, s = std::sin(angle) * scale;
    const float cx = 0.5f * dw, cy = 0.5f * dh;
    m[0] = c, m[1] = -s, m[2] = (0.5f + 0.3f * u(rng)) * sw - (c * cx - s * cy);
    m[3] = s, m[4] = c, m[5] = (0.5f + 0.3f * u(rng)) * sh - (s * cx + c * cy);
    m[6] = u(rng) * 0.002f, m[7] = u(rng) * 0.002f, m[8] = 1.0f;
    if (rng() % 4 == 0) m[8] = -(m[6] * cx + m[7] * cy);
}

TEST(WarpVector, PerspectiveMatchesReference) {
    for (uint32_t ch : {1u, 3u}) {
        Warp* reference = ch == 1 ? obxWarpPerspectiveu8_v2C : obx3ChannelWarpPerspectiveu8_v2C;
        Warp* vector = ch == 1 ? obxWarpPerspectiveu8_v2V : obx3ChannelWarpPerspectiveu8_v2V;
        std::mt19937 rng(41 + ch);
        size_t sampled = 0;
        for (const ImageGeometry& g : comparisonGeometries(1, 1, 17 + ch, 40)) {
            SCOPED_TRACE(::testing::Message() << g << " channels " << ch);
            const uint32_t sw = 1 + rng() % 300, sh = 1 + rng() % 200;
            GuardedImage<uint8_t> src(sw * ch, sh, sw * ch + g.srcPadding, g.srcOffset);
            src.fillRandom(rng);
            GuardedImage<uint8_t> expected(g.width * ch, g.height, g.width * ch + g.dstPadding, g.dstOffset);
            GuardedImage<uint8_t> actual(g.width * ch, g.height, g.width * ch + g.dstPadding, g.dstOffset);
            float m[9];
            randomMatrix(rng, sw, sh, g.width, g.height, m);
            reference(src.data(), sw, sh, src.stride(), expected.data(), g.width, g.height, expected.stride(), m);
            vector(src.data(), sw, sh, src.stride(), actual.data(), g.width, g.height, actual.stride(), m);
            ASSERT_EQ(pixelDifference(expected, actual), "");
            ASSERT_TRUE(actual.guardsIntact());
            ASSERT_TRUE(src.guardsIntact());
            sampled += nonZero(expected);
        }
        EXPECT_GT(sampled, 50000u);
    }
}

// ---- Affine patches ----------------------------------------------------------------------------

TEST(AffineHand, Q16PatchCopiesAndRejects) {
    for (auto* f : {obxTransformAffine8x8u8C, obxTransformAffine8x8u8V}) {
        GuardedImage<uint8_t> src(12, 10, 15, 1), patch(8, 8, 11, 2);
        std::mt19937 rng(5);
        src.fillRandom(rng);
        const int32_t identity[4] = {65536, 0, 0, 65536};
        const int32_t centre[2] = {4 << 16, 4 << 16};
        ASSERT_EQ(f(src.data(), 12, 10, src.stride(), centre, identity, patch.data(), patch.stride()), 0);
        for (uint32_t y = 0; y < 8; ++y)
            for (uint32_t x = 0; x < 8; ++x) ASSERT_EQ(patch.at(x, y), src.at(x, y));
        // Corners on the last column and row (fractions 0) are inside.
        const int32_t last[2] = {8 << 16, 6 << 16};
        ASSERT_EQ(f(src.data(), 12, 10, src.stride(), last, identity, patch.data(), patch.stride()), 0);
        EXPECT_EQ(patch.at(7, 7), src.at(11, 9));
        // One column too far left, one too far right, or a turned patch out: 1, nothing written.
        patch.fill(77);
        const int32_t left[2] = {3 << 16, 4 << 16}, right[2] = {(8 << 16) + 1, 4 << 16};
        const int32_t turn[4] = {0, -65536, 65536, 0};
        EXPECT_EQ(f(src.data(), 12, 10, src.stride(), left, identity, patch.data(), patch.stride()), 1);
        EXPECT_EQ(f(src.data(), 12, 10, src.stride(), right, identity, patch.data(), patch.stride()), 1);
        const int32_t nearTop[2] = {6 << 16, 3 << 16};
        EXPECT_EQ(f(src.data(), 12, 10, src.stride(), nearTop, turn, patch.data(), patch.stride()), 1);
        EXPECT_EQ(patch.at(0, 0), 77);
        ASSERT_TRUE(patch.guardsIntact());
        // Half a pixel right and down: top = 10 + ((11 * 128) >> 8) = 15,
        // bottom = 40 + ((-37 * 128) >> 8) = 21 (flooring), result 15 + 3 = 18.
        src.at(0, 0) = 10, src.at(1, 0) = 21, src.at(0, 1) = 40, src.at(1, 1) = 3;
        const int32_t half[2] = {(4 << 16) + 32768, (4 << 16) + 32768};
        ASSERT_EQ(f(src.data(), 12, 10, src.stride(), half, identity, patch.data(), patch.stride()), 0);
        EXPECT_EQ(patch.at(0, 0), 18);
    }
}

using FloatAffine = obxTransformAffineu8_v2_fn;

// The identity copies the patch; beyond the image the border repeats
// (clamped form) or the pixel is 0 (clipped form).
TEST(AffineHand, FloatPatchesClampOrClip) {
    struct Impl {
        FloatAffine* f;
        bool clip;
    } impls[] = {{obxTransformAffineu8_v2C, false}, {obxTransformAffineu8_v2V, false},
                 {obxTransformAffineClippedu8C, true}, {obxTransformAffineClippedu8V, true}};
    std::mt19937 rng(9);
    GuardedImage<uint8_t> src(20, 15, 23, 3);
    src.fillRandom(rng);
    for (const Impl& impl : impls) {
        GuardedImage<uint8_t> patch(11, 9, 13, 1);
        const float identity[4] = {1, 0, 0, 1};
        const float pos[2] = {15.0f, 10.0f};  // columns 10 .. 20 (one beyond), rows 6 .. 14
        impl.f(src.data(), 20, 15, src.stride(), pos, identity, patch.data(), 11, 9, patch.stride());
        for (uint32_t y = 0; y < 9; ++y)
            for (uint32_t x = 0; x < 11; ++x) {
                const uint32_t sx = 10 + x, sy = 6 + y;
                const uint8_t expected = sx < 20 ? src.at(sx, sy) : impl.clip ? 0 : src.at(19, sy);
                ASSERT_EQ(patch.at(x, y), expected) << x << "," << y << (impl.clip ? " clipped" : " clamped");
            }
        ASSERT_TRUE(patch.guardsIntact());
        // A NaN position: clamped to (0, 0), or clipped to 0.
        const float nan[2] = {kNaN, kNaN};
        impl.f(src.data(), 20, 15, src.stride(), nan, identity, patch.data(), 11, 9, patch.stride());
        EXPECT_EQ(patch.at(10, 8), impl.clip ? 0 : src.at(0, 0));
    }
}

TEST(AffineVector, PatchesMatchReference) {
    std::mt19937 rng(23);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    for (int round = 0; round < 300; ++round) {
        const uint32_t sw = 1 + rng() % 300, sh = 1 + rng() % 120;
        const uint32_t pw = 1 + rng() % 40, ph = 1 + rng() % 40;
        SCOPED_TRACE(::testing::Message() << "round " << round << " source " << sw << "x" << sh << " patch " << pw << "x" << ph);
        GuardedImage<uint8_t> src(sw, sh, sw + rng() % 9, rng() % 16);
        src.fillRandom(rng);
        const float angle = u(rng) * 3.2f, scale = 1.0f + 0.6f * u(rng);
        const float a[4] = {std::cos(angle) * scale, -std::sin(angle) * scale, std::sin(angle) * scale, std::cos(angle) * scale};
        const float pos[2] = {(0.5f + 0.8f * u(rng)) * sw, (0.5f + 0.8f * u(rng)) * sh};
        const uint32_t stride = pw + rng() % 7;
        const size_t offset = rng() % 16;
        for (bool clip : {false, true}) {
            GuardedImage<uint8_t> expected(pw, ph, stride, offset), actual(pw, ph, stride, offset);
            (clip ? obxTransformAffineClippedu8C : obxTransformAffineu8_v2C)(src.data(), sw, sh, src.stride(), pos, a,
                                                                              expected.data(), pw, ph, stride);
            (clip ? obxTransformAffineClippedu8V : obxTransformAffineu8_v2V)(src.data(), sw, sh, src.stride(), pos, a,
                                                                              actual.data(), pw, ph, stride);
            ASSERT_EQ(pixelDifference(expected, actual), "") << (clip ? "clipped" : "clamped");
            ASSERT_TRUE(actual.guardsIntact());
        }
        // The Q16 form with the same transform; most patches near the
        // border are rejected, which both must agree on.
        int32_t aq[4], pq[2] = {int32_t(pos[0] * 65536.0f), int32_t(pos[1] * 65536.0f)};
        for (int k = 0; k < 4; ++k) aq[k] = int32_t(a[k] * 65536.0f);
        GuardedImage<uint8_t> expected(8, 8, 8 + rng() % 5, offset), actual(8, 8, expected.stride(), offset);
        const int32_t re = obxTransformAffine8x8u8C(src.data(), sw, sh, src.stride(), pq, aq, expected.data(), expected.stride());
        const int32_t ve = obxTransformAffine8x8u8V(src.data(), sw, sh, src.stride(), pq, aq, actual.data(), actual.stride());
        ASSERT_EQ(re, ve);
        ASSERT_EQ(pixelDifference(expected, actual), "") << "Q16";
        ASSERT_TRUE(actual.guardsIntact());
    }
}

// ---- Rotated and translated copies ----------------------------------------------------------------

TEST(CopyHand, RotatedPatchTurnsAboutTheCentre) {
    GuardedImage<uint8_t> src(31, 31, 33, 5);
    std::mt19937 rng(13);
    src.fillRandom(rng);
    const uint8_t* centre = &src.at(15, 15);
    for (auto* f : {obxCopyRotated17x17u8C, obxCopyRotated17x17u8V}) {
        GuardedBuffer patch(289, 3);
        f(centre, src.stride(), 0.0f, patch.data());
        for (uint32_t y = 0; y < 17; ++y)
            for (uint32_t x = 0; x < 17; ++x) ASSERT_EQ(patch.data()[17 * y + x], src.at(7 + x, 7 + y));
        // A half turn: cos = -1 exactly, sin about -8.7e-8, so patch (8, 8 + j)
        // samples (8.7e-8 j, -j), which the Q8 conversion takes as (0, -j).
        f(centre, src.stride(), 3.14159265f, patch.data());
        EXPECT_EQ(patch.data()[17 * 8 + 8], src.at(15, 15));
        EXPECT_EQ(patch.data()[17 * 16 + 8], src.at(15, 7));
        EXPECT_EQ(patch.data()[17 * 0 + 8], src.at(15, 23));
        ASSERT_TRUE(patch.guardsIntact());
    }
}

TEST(CopyVector, RotatedMatchesReference) {
    GuardedImage<uint8_t> src(40, 40, 47, 7);
    std::mt19937 rng(29);
    src.fillRandom(rng);
    for (int k = 0; k < 400; ++k) {
        const float orientation = (float(rng() % 100000) / 100000.0f - 0.5f) * 14.0f;
        const uint8_t* centre = &src.at(12 + rng() % 16, 12 + rng() % 16);
        GuardedBuffer expected(289, 1), actual(289, 2);
        obxCopyRotated17x17u8C(centre, src.stride(), orientation, expected.data());
        obxCopyRotated17x17u8V(centre, src.stride(), orientation, actual.data());
        ASSERT_EQ(memcmp(expected.data(), actual.data(), 289), 0) << "orientation " << orientation;
        ASSERT_TRUE(actual.guardsIntact());
    }
}

// Whole pixels shift with the border repeated; half pixels average,
// rounding up: (a + b + 1) >> 1. The float form rounds to Q7 first.
TEST(CopyHand, TranslatedCopies) {
    const uint32_t w = 5, h = 3, stride = 7;
    uint8_t src[stride * h] = {};
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) src[y * stride + x] = uint8_t(10 * x + 100 * y + 1);
    uint8_t dst[stride * h];
    obxCopyTranslatedSubPixu8Q7C(src, w, h, stride, 128, -128, dst);
    EXPECT_EQ(dst[0], src[1]);                      // (1, -1) clamps to row 0
    EXPECT_EQ(dst[stride + 4], src[4]);             // (5, 0) clamps to column 4
    EXPECT_EQ(dst[2 * stride + 1], src[stride + 2]);
    obxCopyTranslatedSubPixu8Q7C(src, w, h, stride, 64, 0, dst);
    EXPECT_EQ(dst[stride + 1], (src[stride + 1] + src[stride + 2] + 1) >> 1);
    EXPECT_EQ(dst[4], src[4]);  // both neighbours clamp to the last column
    uint8_t viaFloat[stride * h];
    obxCopyTranslatedSubPixu8Q7C(src, w, h, stride, -193, 37, dst);
    obxCopyTranslatedSubPixu8f32C(src, w, h, stride, -1.50390625f, 0.2891f, viaFloat);  // -192.5 -> -193, 37.005 -> 37
    for (uint32_t y = 0; y < h; ++y) EXPECT_EQ(memcmp(dst + y * stride, viaFloat + y * stride, w), 0);
    obxCopyTranslatedSubPixu8Q7C(src, w, h, stride, 0, 0, dst);
    for (uint32_t y = 0; y < h; ++y) EXPECT_EQ(memcmp(dst + y * stride, src + y * stride, w), 0);
}

// ---- RGBA remaps ---------------------------------------------------------------------------------

using Remap = obxRemapRGBA8888u8_fn;

struct RemapSetup {
    GuardedImage<uint8_t> src{4 * 4, 3, 4 * 4 + 4, 0};
    std::vector<float> mx, my;
    RemapSetup() {
        for (uint32_t y = 0; y < 3; ++y)
            for (uint32_t x = 0; x < 16; ++x) src.at(x, y) = uint8_t(1 + x * 5 + y * 60);
    }
    // One destination row of maps.
    std::vector<uint8_t> run(Remap* f) {
        std::vector<uint8_t> out(mx.size() * 4, 0xEE);
        f(src.data(), 4, 3, src.stride(), out.data(), uint32_t(mx.size()), 1, uint32_t(out.size()), mx.data(), my.data(),
          uint32_t(mx.size() * 4));
        return out;
    }
    uint8_t at(uint32_t x, uint32_t y, uint32_t c) { return src.at(4 * x + c, y); }
};

TEST(RemapHand, NearestRoundsHalvesAwayFromZero) {
    for (Remap* f : {obxRemapRGBA8888NNu8C, obxRemapRGBA8888NNu8V}) {
        RemapSetup s;
        s.mx = {3.0f, 0.49f, 0.5f, -0.49f, -0.5f, 3.5f, 1.0f, kNaN, 2.4f, 1e10f};
        s.my = {2.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 2.5f, 0.0f, 1.6f, 0.0f};
        const int expect[][2] = {{3, 2}, {0, 0}, {1, 0}, {0, 0}, {-1, -1}, {-1, -1}, {-1, -1}, {-1, -1}, {2, 2}, {-1, -1}};
        const std::vector<uint8_t> out = s.run(f);
        for (size_t i = 0; i < s.mx.size(); ++i)
            for (uint32_t c = 0; c < 4; ++c)
                ASSERT_EQ(out[4 * i + c], expect[i][0] < 0 ? 0 : s.at(expect[i][0], expect[i][1], c)) << "entry " << i;
    }
}

TEST(RemapHand, BilinearFadesAtTheBorder) {
    for (Remap* f : {obxRemapRGBA8888BLu8C, obxRemapRGBA8888BLu8V}) {
        RemapSetup s;
        s.mx = {3.0f, -0.5f, 1.5f, 1.25f, 3.5f, -1.0f, kNaN, 2.0f};
        s.my = {2.0f, 1.0f, 0.0f, 0.5f, 0.0f, 0.0f, 0.0f, -0.75f};
        const std::vector<uint8_t> out = s.run(f);
        for (uint32_t c = 0; c < 4; ++c) {
            EXPECT_EQ(out[c], s.at(3, 2, c));                              // last pixel, fractions 0
            EXPECT_EQ(out[4 + c], uint8_t(0.5f * s.at(0, 1, c) + 0.5f));  // half of column 0
            EXPECT_EQ(out[8 + c], uint8_t(0.5f * s.at(1, 0, c) + 0.5f * s.at(2, 0, c) + 0.5f));
            const float w = 0.75f * 0.5f, e = 0.25f * 0.5f;
            EXPECT_EQ(out[12 + c], uint8_t(w * s.at(1, 0, c) + e * s.at(2, 0, c) + w * s.at(1, 1, c) + e * s.at(2, 1, c) + 0.5f));
            EXPECT_EQ(out[16 + c], uint8_t(0.5f * s.at(3, 0, c) + 0.5f));  // column 4 is outside
            EXPECT_EQ(out[20 + c], 0);  // (-1, 0): its right neighbour has weight 0
            EXPECT_EQ(out[24 + c], 0);
            EXPECT_EQ(out[28 + c], uint8_t(0.25f * s.at(2, 0, c) + 0.5f));  // row -1 outside
        }
    }
}

TEST(RemapVector, MatchesReference) {
    std::mt19937 rng(31);
    std::uniform_real_distribution<float> u(-0.2f, 1.2f);
    size_t sampled = 0;
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 33, 30)) {
        SCOPED_TRACE(::testing::Message() << g);
        const uint32_t sw = 1 + rng() % 200, sh = 1 + rng() % 100, mapPad = rng() % 3;
        GuardedImage<uint8_t> src(4 * sw, sh, 4 * (sw + g.srcPadding % 5), g.srcOffset);
        src.fillRandom(rng);
        std::vector<float> mx(size_t{g.width + mapPad} * g.height), my(mx.size());
        for (size_t i = 0; i < mx.size(); ++i) {
            const uint32_t kind = rng() % 16;
            mx[i] = kind == 0 ? float(int(rng() % (sw + 2)) - 1) : kind == 1 ? -0.5f : u(rng) * sw;
            my[i] = kind == 0 ? float(int(rng() % (sh + 2)) - 1) : kind == 2 ? kNaN : kind == 3 ? -3e9f : u(rng) * sh;
        }
        for (bool bilinear : {false, true}) {
            GuardedImage<uint8_t> expected(4 * g.width, g.height, 4 * (g.width + g.dstPadding), g.dstOffset);
            GuardedImage<uint8_t> actual(4 * g.width, g.height, expected.stride(), g.dstOffset);
            Remap* reference = bilinear ? obxRemapRGBA8888BLu8C : obxRemapRGBA8888NNu8C;
            Remap* vector = bilinear ? obxRemapRGBA8888BLu8V : obxRemapRGBA8888NNu8V;
            const uint32_t mapStride = (g.width + mapPad) * 4;
            reference(src.data(), sw, sh, src.stride(), expected.data(), g.width, g.height, expected.stride(), mx.data(),
                      my.data(), mapStride);
            vector(src.data(), sw, sh, src.stride(), actual.data(), g.width, g.height, actual.stride(), mx.data(),
                   my.data(), mapStride);
            ASSERT_EQ(pixelDifference(expected, actual), "") << (bilinear ? "bilinear" : "nearest");
            ASSERT_TRUE(actual.guardsIntact());
            sampled += nonZero(expected);
        }
    }
    EXPECT_GT(sampled, 100000u);
}

// ---- Assertion texts -------------------------------------------------------------------------------

alignas(16) uint8_t gBytes[8192];
alignas(16) float gFloats[64];

const char* const kWarpContract =
    "src && dst && warpmatrix && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride >= srcWidth) && (dstStride >= dstWidth)";
const char* const kAffine8x8Contract =
    "src && nPos && nAffine && patch && srcWidth && srcHeight && (srcStride >= srcWidth) && ((patchStride >= 8))";
const char* const kAffineContract =
    "nImage && nPatch && ( sizeof(*nPos)==sizeof(float) ) && ( sizeof(*nAffine) ==sizeof(float) ) && srcWidth && "
    "srcHeight && patchWidth && patchHeight && (srcStride >= srcWidth) && (patchStride >= patchWidth)";
const char* const kRemapContract =
    "(src != 0) && (srcStride >= srcWidth*4) && (dst != 0) && (dstStride >= dstWidth*4) && (mapX != 0) && (mapY != 0) "
    "&& (mapStride >= (dstWidth*sizeof(float32_t)))";
const char* const kTranslatedContract = "src && dst && width && height && (stride >= width)";

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const auto add = [&](const std::string& what, bool vector, const char* contract, std::function<void()> call) {
        cases.push_back({what + (vector ? " V" : " C"), std::move(call), moduleOf("Warp", vector), contract});
    };
    uint8_t* const b = gBytes;
    float* const m = gFloats;
    for (bool v : {false, true}) {
        Warp* warp = v ? obxWarpPerspectiveu8_v2V : obxWarpPerspectiveu8_v2C;
        Warp* warp3 = v ? obx3ChannelWarpPerspectiveu8_v2V : obx3ChannelWarpPerspectiveu8_v2C;
        add("warp null matrix", v, kWarpContract, [=] { warp(b, 4, 4, 4, b + 100, 4, 4, 4, nullptr); });
        add("warp srcStride short", v, kWarpContract, [=] { warp(b, 4, 4, 3, b + 100, 4, 4, 4, m); });
        add("warp zero dstHeight", v, kWarpContract, [=] { warp(b, 4, 4, 4, b + 100, 4, 0, 4, m); });
        add("warp3 dstStride short", v, kWarpContract, [=] { warp3(b, 4, 4, 12, b + 100, 4, 4, 3, m); });
        add("warp3 null dst", v, kWarpContract, [=] { warp3(b, 4, 4, 12, nullptr, 4, 4, 12, m); });
        auto* packed = v ? obxWarpPerspectiveu8V : obxWarpPerspectiveu8C;
        add("packed warp zero width", v, kWarpContract, [=] { packed(b, 0, 4, b + 100, 4, 4, m); });

        auto* affine8 = v ? obxTransformAffine8x8u8V : obxTransformAffine8x8u8C;
        const int32_t* q = reinterpret_cast<const int32_t*>(gFloats);
        add("8x8 patchStride 7", v, kAffine8x8Contract, [=] { affine8(b, 16, 16, 16, q, q, b + 300, 7); });
        add("8x8 null affine", v, kAffine8x8Contract, [=] { affine8(b, 16, 16, 16, q, nullptr, b + 300, 8); });
        for (bool clip : {false, true}) {
            FloatAffine* f = clip ? (v ? obxTransformAffineClippedu8V : obxTransformAffineClippedu8C)
                                  : (v ? obxTransformAffineu8_v2V : obxTransformAffineu8_v2C);
            const std::string name = clip ? "clipped" : "affine";
            add(name + " patchStride short", v, kAffineContract, [=] { f(b, 16, 16, 16, m, m, b + 300, 8, 8, 7); });
            add(name + " null image", v, kAffineContract, [=] { f(nullptr, 16, 16, 16, m, m, b + 300, 8, 8, 8); });
            add(name + " zero patchHeight", v, kAffineContract, [=] { f(b, 16, 16, 16, m, m, b + 300, 8, 0, 8); });
        }
        auto* rotated = v ? obxCopyRotated17x17u8V : obxCopyRotated17x17u8C;
        add("rotated null patch", v, "region && patch", [=] { rotated(b + 600, 40, 0.0f, nullptr); });
        for (bool bilinear : {false, true}) {
            Remap* f = bilinear ? (v ? obxRemapRGBA8888BLu8V : obxRemapRGBA8888BLu8C)
                                : (v ? obxRemapRGBA8888NNu8V : obxRemapRGBA8888NNu8C);
            const std::string name = bilinear ? "BL" : "NN";
            add(name + " srcStride short", v, kRemapContract, [=] { f(b, 4, 4, 15, b + 100, 4, 4, 16, m, m, 16); });
            add(name + " null mapY", v, kRemapContract, [=] { f(b, 4, 4, 16, b + 100, 4, 4, 16, m, nullptr, 16); });
            add(name + " mapStride short", v, kRemapContract, [=] { f(b, 4, 4, 16, b + 100, 4, 4, 16, m, m, 15); });
        }
    }
    add("translated stride short", false, kTranslatedContract,
        [=] { obxCopyTranslatedSubPixu8Q7C(b, 8, 4, 7, 0, 0, b + 100); });
    add("translated float zero height", false, kTranslatedContract,
        [=] { obxCopyTranslatedSubPixu8f32C(b, 8, 0, 8, 0.0f, 0.0f, b + 100); });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Warp, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
