// Block matching: the 16x16 kernels against their definitions (hand-checked
// cases and random blocks at odd strides and alignments, both variants), the
// block matcher's acceptance rules on shifted, identical, dark and flat
// frames, its argument checks and its assertion text.
#include <algorithm>
#include <cstdlib>
#include <set>
#include <tuple>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct KernelVariant {
    const char* name;
    obxSumOfAbsoluteDiff16x16u8_fn* sad;
    calculateBlockSum16x16_fn* sum;
    calculateBlockSAD_ZeroMean16x16_fn* zeroMean;
};
const KernelVariant kKernelVariants[] = {
    {"reference", obxSumOfAbsoluteDiff16x16u8C, calculateBlockSum16x16C, calculateBlockSAD_ZeroMean16x16C},
    {"vector", obxSumOfAbsoluteDiff16x16u8V, calculateBlockSum16x16V, calculateBlockSAD_ZeroMean16x16V},
};

// The definitions: SAD, block sum, and SAD after removing the difference of
// the means truncated by >> 8.
struct Definitions {
    static int64_t sum(const uint8_t* p, uint32_t stride) {
        int64_t s = 0;
        for (int i = 0; i < 256; ++i) s += p[(i / 16) * stride + i % 16];
        return s;
    }
    static int64_t sad(const uint8_t* a, uint32_t as, const uint8_t* b, uint32_t bs, int64_t mean) {
        int64_t s = 0;
        for (int i = 0; i < 256; ++i) s += std::llabs(int64_t{b[(i / 16) * bs + i % 16]} - a[(i / 16) * as + i % 16] - mean);
        return s;
    }
};

class TrackKernels : public ::testing::TestWithParam<KernelVariant> {};

TEST_P(TrackKernels, HandCheckedBlocks) {
    const KernelVariant& v = GetParam();
    std::vector<uint8_t> a(256, 0), b(256, 255);
    EXPECT_EQ(v.sad(a.data(), 16, b.data(), 16), 65280u);
    EXPECT_EQ(v.sum(b.data(), 16), 65280u);
    EXPECT_EQ(v.zeroMean(a.data(), 16, b.data(), 16), 0u);  // a pure brightness change
    a[37] = 255;  // sum 255: its mean truncates to 0
    std::fill(b.begin(), b.end(), 0);
    EXPECT_EQ(v.zeroMean(a.data(), 16, b.data(), 16), 255u);
    EXPECT_EQ(v.zeroMean(b.data(), 16, a.data(), 16), 255u);
    a[38] = 1;  // sum 256: mean 1, so 254 + 0 + 254 * 1
    EXPECT_EQ(v.zeroMean(a.data(), 16, b.data(), 16), 254u + 254u);
    // b = a + 10 everywhere except one pixel 20 higher: means differ by 10.
    for (int i = 0; i < 256; ++i) a[i] = static_cast<uint8_t>(i % 200), b[i] = static_cast<uint8_t>(a[i] + 10);
    b[0] += 10;
    EXPECT_EQ(v.zeroMean(a.data(), 16, b.data(), 16), 10u);
    EXPECT_EQ(v.sad(a.data(), 16, b.data(), 16), 2570u);
}

TEST_P(TrackKernels, MatchDefinitionsOnRandomBlocks) {
    const KernelVariant& v = GetParam();
    std::mt19937 rng(7);
    for (uint32_t trial = 0; trial < 300; ++trial) {
        const uint32_t aStride = 16 + rng() % 40, bStride = 16 + rng() % 40;
        GuardedBuffer bufA(size_t{aStride} * 16, rng() % 16), bufB(size_t{bStride} * 16, rng() % 16);
        // Narrow ranges make equal means and small differences common.
        const uint32_t range = trial % 3 == 0 ? 256 : 1 + rng() % 40, base = rng() % (257 - range);
        for (size_t i = 0; i < bufA.size(); ++i) bufA.data()[i] = static_cast<uint8_t>(base + rng() % range);
        for (size_t i = 0; i < bufB.size(); ++i) bufB.data()[i] = static_cast<uint8_t>(base + rng() % range);
        const uint8_t *a = bufA.data(), *b = bufB.data();
        const int64_t mean = (Definitions::sum(b, bStride) >> 8) - (Definitions::sum(a, aStride) >> 8);
        ASSERT_EQ(v.sad(a, aStride, b, bStride), Definitions::sad(a, aStride, b, bStride, 0)) << trial;
        ASSERT_EQ(v.sum(a, aStride), Definitions::sum(a, aStride)) << trial;
        ASSERT_EQ(v.zeroMean(a, aStride, b, bStride), Definitions::sad(a, aStride, b, bStride, mean)) << trial;
        ASSERT_TRUE(bufA.guardsIntact() && bufB.guardsIntact());
    }
}

std::string variantName(const ::testing::TestParamInfo<KernelVariant>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Track, TrackKernels, ::testing::ValuesIn(kKernelVariants), variantName);

// ---- Block matching ------------------------------------------------------------------

struct Vectors {
    std::vector<std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>> entries;  // locX, locY, mvX, mvY
};

struct BlockMatchCall {
    uint32_t width = 96, height = 80, stride = 101;
    uint32_t roiLeft = 0, roiTop = 0, roiRight = 96, roiBottom = 80;
    uint32_t shift = 16, searchWidth = 8, searchHeight = 8, searchStep = 1;
};

Vectors runBlockMatch(const BlockMatchCall& c, const std::vector<uint8_t>& f1, const std::vector<uint8_t>& f2) {
    const size_t capacity = 4096;
    std::vector<uint32_t> locX(capacity), locY(capacity), mvX(capacity), mvY(capacity);
    uint32_t n = 12345;
    obxTrackBMOpticalFlow16x16u8_(f1.data(), f2.data(), c.width, c.height, c.stride, c.roiLeft, c.roiTop, c.roiRight,
                                  c.roiBottom, c.shift, c.searchWidth, c.searchHeight, c.searchStep, 0, &n,
                                  locX.data(), locY.data(), mvX.data(), mvY.data());
    Vectors v;
    EXPECT_LE(n, capacity);
    for (uint32_t i = 0; i < n && i < capacity; ++i) v.entries.emplace_back(locX[i], locY[i], mvX[i], mvY[i]);
    return v;
}

// Random texture in 40..255 (every block bright enough), and the same frame
// moved by (dx, dy) with fresh texture where nothing moved in.
std::vector<uint8_t> texture(const BlockMatchCall& c, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> f(size_t{c.stride} * c.height);
    for (auto& p : f) p = static_cast<uint8_t>(40 + rng() % 216);
    return f;
}
// Noise averaged over 4x4 and stretched, so that positions a pixel or two
// from the match still score better than unrelated ones.
std::vector<uint8_t> smoothTexture(const BlockMatchCall& c, uint32_t seed) {
    const std::vector<uint8_t> noise = texture(c, seed);
    std::vector<uint8_t> f(noise.size(), 147);
    for (uint32_t y = 0; y + 4 <= c.height; ++y)
        for (uint32_t x = 0; x + 4 <= c.width; ++x) {
            int32_t s = 0;
            for (uint32_t i = 0; i < 16; ++i) s += noise[size_t{y + i / 4} * c.stride + x + i % 4];
            f[size_t{y} * c.stride + x] = static_cast<uint8_t>(std::clamp(147 + (s / 16 - 147) * 5, 40, 255));
        }
    return f;
}
std::vector<uint8_t> moved(const BlockMatchCall& c, const std::vector<uint8_t>& f, uint32_t dx, uint32_t dy) {
    std::vector<uint8_t> g = texture(c, 99);
    for (uint32_t y = dy; y < c.height; ++y)
        for (uint32_t x = dx; x < c.width; ++x) g[size_t{y} * c.stride + x] = f[size_t{y - dy} * c.stride + x - dx];
    return g;
}

// The block matcher with its kernel slots on one variant's kernels, as the
// vector mode installs them; the slots go back to the references afterwards.
class BlockMatch : public ::testing::TestWithParam<KernelVariant> {
protected:
    void SetUp() override { point(GetParam()); }
    void TearDown() override { point(kKernelVariants[0]); }
    static void point(const KernelVariant& v) {
        obxSumOfAbsoluteDiff16x16u8_ = v.sad;
        calculateBlockSum16x16_ = v.sum;
        calculateBlockSAD_ZeroMean16x16_ = v.zeroMean;
    }
};

TEST_P(BlockMatch, FindsAKnownShift) {
    // A step of 2 misses x + 3 in the coarse search; the one-pixel
    // refinement around the coarse best reaches it on a smooth texture.
    for (uint32_t step : {1u, 2u}) {
        BlockMatchCall c;
        c.searchStep = step;
        const auto f1 = step == 1 ? texture(c, 1) : smoothTexture(c, 1), f2 = moved(c, f1, 3, 2);
        const Vectors v = runBlockMatch(c, f1, f2);
        std::set<std::pair<uint32_t, uint32_t>> found;
        for (auto [lx, ly, mx, my] : v.entries) {
            // Blocks nearer the top or left edge than the range are only compared in place.
            EXPECT_GE(lx, c.searchWidth);
            EXPECT_GE(ly, c.searchHeight);
            if (lx + 3 <= c.width - 16 && ly + 2 <= c.height - 16) {
                EXPECT_EQ(mx, lx + 3) << step;
                EXPECT_EQ(my, ly + 2) << step;
            }
            found.insert({lx, ly});
        }
        for (uint32_t y = 16; y + 2 <= c.height - 16; y += 16)
            for (uint32_t x = 16; x + 3 <= c.width - 16; x += 16) EXPECT_TRUE(found.count({x, y})) << x << "," << y;
    }
}

TEST_P(BlockMatch, IdenticalDarkAndBrightenedFramesGiveNothing) {
    BlockMatchCall c;
    const auto f1 = texture(c, 3);
    EXPECT_TRUE(runBlockMatch(c, f1, f1).entries.empty());
    // Dark: pixels below 20 keep every block sum under 5120.
    std::vector<uint8_t> d1(f1.size()), d2;
    for (size_t i = 0; i < f1.size(); ++i) d1[i] = f1[i] % 20;
    d2 = moved(c, d1, 3, 2);
    for (auto& p : d2) p %= 20;
    EXPECT_TRUE(runBlockMatch(c, d1, d2).entries.empty());
    // A brightness change alone leaves the zero-mean SAD at 0.
    std::vector<uint8_t> b2(f1);
    for (auto& p : b2) p = static_cast<uint8_t>(p - 30);
    EXPECT_TRUE(runBlockMatch(c, f1, b2).entries.empty());
}

TEST_P(BlockMatch, LowTextureBlocksAreSkipped) {
    // Texture of amplitude 2 on grey 150: shifting it changes the zero-mean
    // SAD by far less than 1280 + 8% of the block sum.
    BlockMatchCall c;
    std::mt19937 rng(5);
    std::vector<uint8_t> f1(size_t{c.stride} * c.height);
    for (auto& p : f1) p = static_cast<uint8_t>(150 + rng() % 3);
    EXPECT_TRUE(runBlockMatch(c, f1, moved(c, f1, 3, 2)).entries.empty());
}

TEST_P(BlockMatch, InvalidGeometryFindsNothing) {
    BlockMatchCall base;
    const auto f1 = texture(base, 1), f2 = moved(base, f1, 3, 2);
    ASSERT_FALSE(runBlockMatch(base, f1, f2).entries.empty());
    const std::function<void(BlockMatchCall&)> edits[] = {
        [](BlockMatchCall& c) { c.width = 15, c.roiRight = 15, c.roiLeft = 0; },
        [](BlockMatchCall& c) { c.height = 15, c.roiBottom = 15; },
        [](BlockMatchCall& c) { c.stride = 95; },
        [](BlockMatchCall& c) { c.roiRight = 97; },
        [](BlockMatchCall& c) { c.roiBottom = 81; },
        [](BlockMatchCall& c) { c.roiLeft = 81; },
        [](BlockMatchCall& c) { c.roiTop = 65; },
        [](BlockMatchCall& c) { c.shift = 0; },
        [](BlockMatchCall& c) { c.searchStep = 0; },
    };
    for (size_t i = 0; i < std::size(edits); ++i) {
        BlockMatchCall c = base;
        edits[i](c);
        EXPECT_TRUE(runBlockMatch(c, f1, f2).entries.empty()) << i;
    }
}

TEST_P(BlockMatch, RegionAndGridStep) {
    // A region inside the frame with a step of 8: rows and columns start at
    // the region's corner rounded down to the step.
    BlockMatchCall c;
    c.width = 128, c.height = 112, c.stride = 130, c.roiLeft = 21, c.roiTop = 27, c.roiRight = 70, c.roiBottom = 60;
    c.shift = 8;
    const auto f1 = texture(c, 2), f2 = moved(c, f1, 3, 2);
    std::set<std::pair<uint32_t, uint32_t>> found;
    for (auto [lx, ly, mx, my] : runBlockMatch(c, f1, f2).entries) {
        EXPECT_EQ(mx, lx + 3);
        EXPECT_EQ(my, ly + 2);
        found.insert({lx, ly});
    }
    std::set<std::pair<uint32_t, uint32_t>> grid;
    for (uint32_t y = 24; y <= 64; y += 8)
        for (uint32_t x = 16; x <= 72; x += 8) grid.insert({x, y});
    EXPECT_EQ(found, grid);
}

INSTANTIATE_TEST_SUITE_P(Track, BlockMatch, ::testing::ValuesIn(kKernelVariants), variantName);

uint8_t gFrame[32 * 32];
uint32_t gOut[64];

std::vector<AssertionCase> assertionCases() {
    const std::string module = "src/cpu/ombrixTrackC";
    const std::string text = "src1 && src2 && numMv && locX && locY && mvX && mvY";
    std::vector<AssertionCase> cases;
    for (int missing = 0; missing < 7; ++missing) {
        cases.push_back({"null argument " + std::to_string(missing),
                         [missing] {
                             const auto pick = [missing](int i, uint32_t* p) { return i == missing ? nullptr : p; };
                             obxTrackBMOpticalFlow16x16u8C(missing == 0 ? nullptr : gFrame, missing == 1 ? nullptr : gFrame,
                                                           32, 32, 32, 0, 0, 32, 32, 16, 4, 4, 1, 0, pick(2, gOut),
                                                           pick(3, gOut + 1), pick(4, gOut + 17), pick(5, gOut + 33),
                                                           pick(6, gOut + 49));
                         },
                         module, text});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Track, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
