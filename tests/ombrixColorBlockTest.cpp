// Block-layout conversions (8x8 blocks grouped into MCUs, to RGB888):
// hand-checked pixels, the MCU walk against a per-pixel model, the 16x16
// layout's band advance, partial MCUs, assertion texts, and the vector
// variants against the references.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct Layout {
    const char* name;
    obxColorYCrCbBlocksToRGB888u8_fn* reference;
    obxColorYCrCbBlocksToRGB888u8_fn* vector;
    uint32_t h, v;  // luma blocks across and down an MCU
};
void PrintTo(const Layout& l, std::ostream* os) { *os << l.name; }

const Layout kLayouts[] = {
    {"H1V1", obxColorYCrCbH1V1toRGB888u8C, obxColorYCrCbH1V1toRGB888u8V, 1, 1},
    {"H2V1", obxColorYCrCbH2V1toRGB888u8C, obxColorYCrCbH2V1toRGB888u8V, 2, 1},
    {"H1V2", obxColorYCrCbH1V2toRGB888u8C, obxColorYCrCbH1V2toRGB888u8V, 1, 2},
    {"H2V2", obxColorYCrCbH2V2toRGB888u8C, obxColorYCrCbH2V2toRGB888u8V, 2, 2},
};

// ---- The layout, written from its description --------------------------------------

uint32_t mcuBytes(const Layout& l) { return 64 * l.h * l.v + 128; }
uint32_t mcusPerBand(const Layout& l, uint32_t width) { return (width + 8 * l.h - 1) / (8 * l.h); }
uint32_t bands(const Layout& l, uint32_t height) { return (height + 8 * l.v - 1) / (8 * l.v); }

// From one band to the next: the MCUs a band needs, except in the 16x16
// layout, which advances by (width + 8) >> 4 MCUs: one MCU less than a band
// needs when width % 16 is 1..7.
size_t bandAdvance(const Layout& l, uint32_t width) {
    const uint32_t mcus = (l.h == 2 && l.v == 2) ? (width + 8) >> 4 : mcusPerBand(l, width);
    return static_cast<size_t>(mcus) * mcuBytes(l);
}

// Bytes the source must hold: every band's MCUs from its start.
size_t sourceBytes(const Layout& l, uint32_t width, uint32_t height) {
    return (bands(l, height) - 1) * bandAdvance(l, width) + static_cast<size_t>(mcusPerBand(l, width)) * mcuBytes(l);
}

struct Sample {
    size_t luma, cb, cr;
};
// Where pixel (x, y) of the image finds its bytes.
Sample sampleOf(const Layout& l, uint32_t width, uint32_t x, uint32_t y) {
    const uint32_t mw = 8 * l.h, mh = 8 * l.v;
    const size_t mcu = (y / mh) * bandAdvance(l, width) + static_cast<size_t>(x / mw) * mcuBytes(l);
    const uint32_t px = x % mw, py = y % mh;
    const size_t luma = mcu + ((py / 8) * l.h + px / 8) * 64 + (py % 8) * 8 + px % 8;
    const size_t cb = mcu + 64 * l.h * l.v + (py / l.v) * 8 + px / l.h;
    return {luma, cb, cb + 64};
}

uint8_t clampModel(int32_t v) { return static_cast<uint8_t>(std::min(255, std::max(0, v))); }

std::vector<uint8_t> modelPixel(int Y, int Cb, int Cr) {
    const int32_t b = 2 * Cb - 255, r = 2 * Cr - 255;
    return {clampModel(Y + ((r * 22970 + 16384) >> 15)), clampModel(Y + ((b * -5638 + r * -11700 + 16384) >> 15)),
            clampModel(Y + ((b * 29032 + 16384) >> 15))};
}

std::vector<uint8_t> pixelAt(const GuardedBuffer& dst, uint32_t width, uint32_t x, uint32_t y) {
    const uint8_t* p = dst.data() + (static_cast<size_t>(y) * width + x) * 3;
    return {p[0], p[1], p[2]};
}

class ColorBlock : public ::testing::TestWithParam<Layout> {};

// Every pixel against the model, including images that end inside an MCU:
// only the pixels inside width x height are written (the guards right after
// the image stay intact), and only the MCUs that exist are read. Square
// images have neutral chroma, centred on 127.5 so that Cb = Cr = 128 is
// slightly positive: luma 100 gives 101, 99, 101 and luma 0 gives 1, 0, 1.
TEST_P(ColorBlock, MatchesThePerPixelModel) {
    const Layout& l = GetParam();
    EXPECT_EQ(modelPixel(100, 128, 128), (std::vector<uint8_t>{101, 99, 101}));
    EXPECT_EQ(modelPixel(0, 128, 128), (std::vector<uint8_t>{1, 0, 1}));
    std::mt19937 rng(7);
    for (uint32_t w : {1u, 7u, 8u, 9u, 16u, 20u, 25u, 32u, 40u}) {
        for (uint32_t h : {1u, 5u, 8u, 13u, 16u, 17u, 32u}) {
            GuardedBuffer src(sourceBytes(l, w, h), 3);
            fillRandom(src.data(), src.size(), rng);
            for (size_t m = 0; m < src.size() && w == h; m += mcuBytes(l)) {
                memset(src.data() + m, w >= 16 ? 100 : 0, 64 * l.h * l.v);
                memset(src.data() + m + 64 * l.h * l.v, 128, 128);
            }
            for (auto* fn : {l.reference, l.vector}) {
                SCOPED_TRACE(::testing::Message() << (fn == l.vector ? "vector " : "reference ") << w << "x" << h);
                GuardedBuffer dst(static_cast<size_t>(w) * h * 3, 1);
                fn(src.data(), w, h, dst.data());
                ASSERT_TRUE(dst.guardsIntact());
                for (uint32_t y = 0; y < h; ++y)
                    for (uint32_t x = 0; x < w; ++x) {
                        const Sample s = sampleOf(l, w, x, y);
                        ASSERT_EQ(pixelAt(dst, w, x, y), modelPixel(src.data()[s.luma], src.data()[s.cb], src.data()[s.cr]))
                            << x << "," << y;
                    }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, ColorBlock, ::testing::ValuesIn(kLayouts),
                         [](const auto& info) { return std::string(info.param.name); });

// The 16x16 layout's band advance is ((width + 8) >> 4) MCUs. For widths 1..7
// past a multiple of 16 that is one MCU less than a band holds, so the second
// band starts at the last MCU of the first; from 8 past a multiple on it is
// exactly the band's MCU count.
TEST(ColorBlockH2V2, BandAdvanceIsWidthPlus8Over16Mcus) {
    const Layout& l = kLayouts[3];
    struct Case {
        uint32_t width, firstMcuOfSecondBand;
    };
    for (const Case c : {Case{17, 1}, Case{20, 1}, Case{23, 1}, Case{24, 2}, Case{32, 2}, Case{39, 2}, Case{40, 3}}) {
        for (const auto& impl : {l.reference, l.vector}) {
            const uint32_t h = 32, mcus = (c.width + 15) / 16;
            // MCU i has luma 10 * (i + 1) and neutral chroma; the source holds
            // the first band and the second band from its (shorter) offset on.
            const uint32_t count = c.firstMcuOfSecondBand + mcus;
            GuardedBuffer src(static_cast<size_t>(count) * 384, 0), dst(static_cast<size_t>(c.width) * h * 3, 0);
            for (uint32_t i = 0; i < count; ++i) {
                memset(src.data() + i * 384, static_cast<int>(10 * (i + 1)), 256);
                memset(src.data() + i * 384 + 256, 128, 128);
            }
            impl(src.data(), c.width, h, dst.data());
            ASSERT_TRUE(dst.guardsIntact()) << c.width;
            for (uint32_t m = 0; m < mcus; ++m) {
                EXPECT_EQ(pixelAt(dst, c.width, 16 * m, 0)[0], 10 * (m + 1) + 1) << c.width << " band 0 MCU " << m;
                EXPECT_EQ(pixelAt(dst, c.width, 16 * m, 16)[0], 10 * (c.firstMcuOfSecondBand + m + 1) + 1)
                    << c.width << " band 1 MCU " << m;
            }
        }
    }
}

// ---- Assertion texts ----------------------------------------------------------------

// Two conditions per function, all four per layout: each case is a process
// of its own, and slow under an emulator. The 8x8 member names its source
// `src`, the others `ysrc`.
std::vector<AssertionCase> assertionCases() {
    static uint8_t src[384], dst[16 * 16 * 3];
    const struct {
        const char* what;
        bool nullSrc, nullDst;
        uint32_t width, height;
    } violations[] = {{"null src", true, false, 8, 8}, {"null dst", false, true, 8, 8},
                      {"zero width", false, false, 0, 8}, {"zero height", false, false, 8, 0}};
    std::vector<AssertionCase> cases;
    for (const Layout& l : kLayouts) {
        for (obxColorYCrCbBlocksToRGB888u8_fn* fn : {l.reference, l.vector}) {
            const size_t first = (l.h * 2 + l.v + (fn == l.vector ? 2 : 0)) % 4;
            for (size_t i : {first, (first + 1) % 4}) {
                const auto v = violations[i];
                cases.push_back({std::string(l.name) + (fn == l.vector ? " V " : " C ") + v.what,
                                 [fn, v] { fn(v.nullSrc ? nullptr : src, v.width, v.height, v.nullDst ? nullptr : dst); },
                                 moduleOf("ColorBlock", fn == l.vector),
                                 std::string(l.h * l.v == 1 ? "src" : "ysrc") + " && dst && width && height"});
            }
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorBlock, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

// ---- Vector variants against the references ---------------------------------------------

TEST_P(ColorBlock, VectorMatchesReference) {
    const Layout& l = GetParam();
    std::mt19937 rng(31 + l.h * 2 + l.v);
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 300 + l.h * 2 + l.v, 30)) {
        GuardedBuffer src(sourceBytes(l, g.width, g.height), g.srcOffset);
        fillRandom(src.data(), src.size(), rng);
        const size_t bytes = static_cast<size_t>(g.width) * g.height * 3;
        GuardedBuffer expected(bytes, g.dstOffset), actual(bytes, g.dstOffset);
        l.reference(src.data(), g.width, g.height, expected.data());
        l.vector(src.data(), g.width, g.height, actual.data());
        ASSERT_EQ(memcmp(expected.data(), actual.data(), bytes), 0) << l.name << " " << g;
        ASSERT_TRUE(actual.guardsIntact()) << l.name << " " << g;
    }
}

// Every luma value against every third Cb and Cr value (0, 3, ..., 255), in
// 8x8 MCUs: band b has Cb = 3b, MCU i of a band has Cr = 3 (i / 4) and the
// luma values 64 (i % 4) .. 64 (i % 4) + 63. The vector variants split the
// green products differently from the reference, so every term's extremes
// are compared.
TEST(ColorBlockVector, SweepsLumaAndChromaRanges) {
    const Layout& l = kLayouts[0];
    const uint32_t steps = 86, perBand = 4 * steps, w = 8 * perBand, h = 8 * steps;
    GuardedBuffer src(sourceBytes(l, w, h), 0);
    for (uint32_t b = 0; b < steps; ++b)
        for (uint32_t i = 0; i < perBand; ++i) {
            uint8_t* mcu = src.data() + (static_cast<size_t>(b) * perBand + i) * 192;
            for (uint32_t j = 0; j < 64; ++j) mcu[j] = static_cast<uint8_t>(64 * (i % 4) + j);
            memset(mcu + 64, static_cast<int>(3 * b), 64);
            memset(mcu + 128, static_cast<int>(3 * (i / 4)), 64);
        }
    const size_t bytes = static_cast<size_t>(w) * h * 3;
    std::vector<uint8_t> expected(bytes), actual(bytes);
    l.reference(src.data(), w, h, expected.data());
    l.vector(src.data(), w, h, actual.data());
    EXPECT_EQ(memcmp(expected.data(), actual.data(), bytes), 0);
}

}  // namespace
