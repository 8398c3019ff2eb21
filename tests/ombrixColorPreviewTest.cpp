// Camera-preview conversions (video-range 4:2:0 to RGBA8888 and RGB565):
// hand-checked pixels, the row and chroma walks against a per-pixel model,
// assertion texts, and the vector variants against the references.
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using ombrix_test::AssertionText;
using ombrix_test::GuardedBuffer;

// ---- Per-pixel model, written from the formulas --------------------------------

uint8_t clampModel(int32_t v) { return static_cast<uint8_t>(std::min(255, std::max(0, v))); }

// R, G, B of the Q10 conversion.
std::vector<uint8_t> modelQ10(int Y, int Cb, int Cr) {
    const int32_t y = std::max(Y - 16, 0) * 1192;
    auto ch = [](int32_t s) { return static_cast<uint8_t>(std::min(0x3FFFF, std::max(0, s)) >> 10); };
    return {ch(y + 1634 * (Cr - 128)), ch(y - 833 * (Cr - 128) - 400 * (Cb - 128)), ch(y + 2066 * (Cb - 128))};
}

uint16_t pack565(int r, int g, int b) { return static_cast<uint16_t>((b >> 3) << 11 | (g >> 2) << 5 | r >> 3); }

uint16_t model565(int Y, int Cb, int Cr) {
    const int32_t y = 298 * Y - 4768;
    return pack565(clampModel((y + 409 * (Cr - 128)) >> 8), clampModel((y - 100 * (Cb - 128) - 208 * (Cr - 128)) >> 8),
                   clampModel((y + 517 * (Cb - 128)) >> 8));
}

// ---- The YCrCb RGBA8888 conversion -------------------------------------------------

struct Rgb8888Implementation {
    const char* name;
    obxColorYCrCb420PseudoPlanarToRGB8888u8_fn* convert;
};
void PrintTo(const Rgb8888Implementation& p, std::ostream* os) { *os << p.name; }

const Rgb8888Implementation kRgb8888[] = {
    {"reference", obxColorYCrCb420PseudoPlanarToRGB8888u8C},
    {"vector", obxColorYCrCb420PseudoPlanarToRGB8888u8V},
};

// One luma plane followed by its chroma plane, in one guarded buffer.
struct YCrCbSource {
    uint32_t width, height, yStride, cStride;
    GuardedBuffer buffer;
    YCrCbSource(uint32_t w, uint32_t h, uint32_t ys, uint32_t cs, size_t offset)
        : width(w), height(h), yStride(ys), cStride(cs),
          buffer(static_cast<size_t>(ys) * h + static_cast<size_t>(cs) * ((h + 1) / 2), offset) {}
    uint8_t& luma(uint32_t x, uint32_t y) { return buffer.data()[static_cast<size_t>(y) * yStride + x]; }
    uint8_t& chroma(uint32_t i, uint32_t row) {
        return buffer.data()[static_cast<size_t>(yStride) * height + static_cast<size_t>(row) * cStride + i];
    }
};

// Pixel x of a word row as bytes R, G, B, A.
std::vector<uint8_t> bytesOf(const uint32_t* row, uint32_t x) {
    uint8_t b[4];
    memcpy(b, row + x, 4);
    return {b[0], b[1], b[2], b[3]};
}

class Rgb8888 : public ::testing::TestWithParam<Rgb8888Implementation> {};

// One row of `lumas`, all with the chroma pair (first, second).
std::vector<std::vector<uint8_t>> convertRow8888(const Rgb8888Implementation& impl, const std::vector<uint8_t>& lumas,
                                                 uint8_t first, uint8_t second) {
    const uint32_t w = static_cast<uint32_t>(lumas.size());
    YCrCbSource src(w, 1, w, w + 1, 3);
    for (uint32_t x = 0; x < w; ++x) src.luma(x, 0) = lumas[x];
    for (uint32_t i = 0; i < w; i += 2) src.chroma(i, 0) = first, src.chroma(i + 1, 0) = second;
    ombrix_test::GuardedImage<uint32_t> dst(w, 1, w * 4, 0);
    impl.convert(src.buffer.data(), w, 1, w, w + 1, dst.data(), dst.stride());
    EXPECT_TRUE(dst.guardsIntact());
    std::vector<std::vector<uint8_t>> out;
    for (uint32_t x = 0; x < w; ++x) out.push_back(bytesOf(dst.row(0), x));
    return out;
}

TEST_P(Rgb8888, LumaAtOrBelow16WithNeutralChromaIsBlack) {
    std::vector<uint8_t> lumas;
    for (uint8_t y = 0; y <= 16; ++y) lumas.push_back(y);
    for (const auto& px : convertRow8888(GetParam(), lumas, 128, 128))
        EXPECT_EQ(px, (std::vector<uint8_t>{0, 0, 0, 255}));
}

TEST_P(Rgb8888, Luma235Gives254And236Gives255) {
    // 219 * 1192 >> 10 = 254; 220 * 1192 >> 10 = 256, clamped to 255.
    const std::vector<uint8_t> lumas(20, 235);
    std::vector<uint8_t> mixed = lumas;
    mixed[5] = 236;
    const auto out = convertRow8888(GetParam(), mixed, 128, 128);
    for (uint32_t x = 0; x < out.size(); ++x)
        EXPECT_EQ(out[x], x == 5 ? (std::vector<uint8_t>{255, 255, 255, 255}) : (std::vector<uint8_t>{254, 254, 254, 255}))
            << x;
}

TEST_P(Rgb8888, ChromaPairsAreCrThenCb) {
    // Y 128, Cr 200, Cb 128: y = 112 * 1192 = 133504;
    // R = (133504 + 1634 * 72) >> 10 = 245, G = (133504 - 833 * 72) >> 10 = 71, B = 133504 >> 10 = 130.
    for (const auto& px : convertRow8888(GetParam(), std::vector<uint8_t>(18, 128), 200, 128))
        EXPECT_EQ(px, (std::vector<uint8_t>{245, 71, 130, 255}));
}

TEST_P(Rgb8888, DestinationRowsAdvanceByTheStrideRoundedDownToWholeWords) {
    // Width 3, dstStride 14: rows start 12 bytes apart; nothing past
    // 3 rows * 12 bytes is written.
    const uint32_t w = 3, h = 3;
    std::mt19937 rng(11);
    YCrCbSource src(w, h, 5, 4, 1);
    ombrix_test::fillRandom(src.buffer.data(), src.buffer.size(), rng);
    GuardedBuffer dst(h * 12, 0);
    GetParam().convert(src.buffer.data(), w, h, src.yStride, src.cStride, reinterpret_cast<uint32_t*>(dst.data()), 14);
    EXPECT_TRUE(dst.guardsIntact());
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const auto rgb = modelQ10(src.luma(x, y), src.chroma((x & ~1u) + 1, y / 2), src.chroma(x & ~1u, y / 2));
            const uint8_t* px = dst.data() + y * 12 + x * 4;
            EXPECT_EQ((std::vector<uint8_t>{px[0], px[1], px[2], px[3]}),
                      (std::vector<uint8_t>{rgb[0], rgb[1], rgb[2], 255}))
                << x << "," << y;
        }
}

// Every pixel against the model: chroma pair x / 2 of chroma row y / 2, the
// chroma plane right after srcHeight luma rows, padded strides.
TEST_P(Rgb8888, MatchesThePerPixelModel) {
    std::mt19937 rng(3);
    for (uint32_t w : {1u, 2u, 5u, 16u, 17u, 33u, 70u}) {
        for (uint32_t h : {1u, 2u, 3u, 6u}) {
            YCrCbSource src(w, h, w + 3, w + 1 + 5, 2);
            ombrix_test::fillRandom(src.buffer.data(), src.buffer.size(), rng);
            ombrix_test::GuardedImage<uint32_t> dst(w, h, w * 4 + 8, 4);
            GetParam().convert(src.buffer.data(), w, h, src.yStride, src.cStride, dst.data(), dst.stride());
            ASSERT_TRUE(dst.guardsIntact()) << w << "x" << h;
            for (uint32_t y = 0; y < h; ++y)
                for (uint32_t x = 0; x < w; ++x) {
                    const auto rgb =
                        modelQ10(src.luma(x, y), src.chroma((x & ~1u) + 1, y / 2), src.chroma(x & ~1u, y / 2));
                    ASSERT_EQ(bytesOf(dst.row(y), x), (std::vector<uint8_t>{rgb[0], rgb[1], rgb[2], 255}))
                        << w << "x" << h << " at " << x << "," << y;
                }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Implementations, Rgb8888, ::testing::ValuesIn(kRgb8888),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- The YUV 4:2:0 RGB565 conversions ------------------------------------------------

struct Rgb565Implementation {
    const char* name;
    obxColorYUV420toRGB565u8_fn* convert;
    bool rotated;
};
void PrintTo(const Rgb565Implementation& p, std::ostream* os) { *os << p.name; }

const Rgb565Implementation kRgb565[] = {
    {"reference", obxColorYUV420toRGB565u8C, false},
    {"vector", obxColorYUV420toRGB565u8V, false},
    {"rotatedReference", obxColorYUV420toRGB565u8Rotate180C, true},
    {"rotatedVector", obxColorYUV420toRGB565u8Rotate180V, true},
};

// A packed 4:2:0 image: width x height luma, then rows of width chroma bytes.
struct YuvSource {
    uint32_t width, height;
    GuardedBuffer buffer;
    YuvSource(uint32_t w, uint32_t h, size_t offset)
        : width(w), height(h), buffer(static_cast<size_t>(w) * h + static_cast<size_t>(w) * ((h + 1) / 2), offset) {}
    uint8_t& luma(uint32_t x, uint32_t y) { return buffer.data()[static_cast<size_t>(y) * width + x]; }
    uint8_t& chroma(uint32_t i, uint32_t row) {
        return buffer.data()[static_cast<size_t>(width) * height + static_cast<size_t>(row) * width + i];
    }
};

uint16_t valueAt(const GuardedBuffer& dst, uint32_t width, uint32_t x, uint32_t y) {
    uint16_t v;
    memcpy(&v, dst.data() + (static_cast<size_t>(y) * width + x) * 2, 2);
    return v;
}

class Rgb565 : public ::testing::TestWithParam<Rgb565Implementation> {};

// A w x 2 image of one luma and one chroma pair, converted; the values in
// destination order.
std::vector<uint16_t> convertUniform565(const Rgb565Implementation& impl, uint32_t w, uint8_t Y, uint8_t Cb, uint8_t Cr) {
    YuvSource src(w, 2, 1);
    for (uint32_t x = 0; x < w; ++x) src.luma(x, 0) = src.luma(x, 1) = Y;
    for (uint32_t i = 0; i < w; i += 2) src.chroma(i, 0) = Cb, src.chroma(i + 1, 0) = Cr;
    GuardedBuffer dst(w * 2 * 2, 3);
    impl.convert(src.buffer.data(), w, 2, dst.data());
    EXPECT_TRUE(dst.guardsIntact());
    std::vector<uint16_t> out;
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < w; ++x) out.push_back(valueAt(dst, w, x, y));
    return out;
}

TEST_P(Rgb565, LumaAtOrBelow16WithNeutralChromaIsBlack) {
    for (uint8_t Y : {0, 1, 15, 16})
        for (uint16_t v : convertUniform565(GetParam(), 20, Y, 128, 128)) EXPECT_EQ(v, 0) << +Y;
}

TEST_P(Rgb565, PureRedIs001FAndPureBlueIsF800) {
    // Y 81, Cb 90, Cr 255: y = 298 * 81 - 4768 = 19370; R = (19370 + 409 * 127) >> 8 = 278 -> 255,
    // G = (19370 + 100 * 38 - 208 * 127) >> 8 < 0 -> 0, B = (19370 - 517 * 38) >> 8 < 0 -> 0.
    for (uint16_t v : convertUniform565(GetParam(), 18, 81, 90, 255)) EXPECT_EQ(v, 0x001F);
    // Y 41, Cb 255, Cr 110: y = 7450; B = (7450 + 517 * 127) >> 8 = 285 -> 255,
    // R = (7450 - 409 * 18) >> 8 = 0, G = (7450 - 100 * 127 + 208 * 18) >> 8 < 0 -> 0.
    for (uint16_t v : convertUniform565(GetParam(), 18, 41, 255, 110)) EXPECT_EQ(v, 0xF800);
}

TEST_P(Rgb565, ChromaPairsAreCbThenCr) {
    // Y 128, Cb 200, Cr 128: y = 33376; R = 33376 >> 8 = 130,
    // G = (33376 - 100 * 72) >> 8 = 102, B = (33376 + 517 * 72) >> 8 = 275 -> 255.
    for (uint16_t v : convertUniform565(GetParam(), 20, 128, 200, 128)) EXPECT_EQ(v, pack565(130, 102, 255));
}

// Every pixel against the model, at (x, y) or, rotated, at (w-1-x, h-1-y).
// With an odd width the last source column is not converted, so its
// destination column keeps its previous contents.
TEST_P(Rgb565, MatchesThePerPixelModel) {
    const Rgb565Implementation& impl = GetParam();
    std::mt19937 rng(4);
    for (uint32_t w : {2u, 3u, 6u, 15u, 16u, 18u, 34u, 61u}) {
        for (uint32_t h : {1u, 2u, 3u, 5u}) {
            YuvSource src(w, h, 1);
            ombrix_test::fillRandom(src.buffer.data(), src.buffer.size(), rng);
            GuardedBuffer dst(static_cast<size_t>(w) * h * 2, 2);
            impl.convert(src.buffer.data(), w, h, dst.data());
            ASSERT_TRUE(dst.guardsIntact()) << w << "x" << h;
            for (uint32_t y = 0; y < h; ++y)
                for (uint32_t x = 0; x < w; ++x) {
                    const uint32_t dx = impl.rotated ? w - 1 - x : x, dy = impl.rotated ? h - 1 - y : y;
                    const uint16_t expected =
                        (x == w - 1 && w % 2)
                            ? static_cast<uint16_t>(GuardedBuffer::kSentinel * 0x101)
                            : model565(src.luma(x, y), src.chroma(x & ~1u, y / 2), src.chroma((x & ~1u) + 1, y / 2));
                    ASSERT_EQ(valueAt(dst, w, dx, dy), expected) << w << "x" << h << " at " << x << "," << y;
                }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Implementations, Rgb565, ::testing::ValuesIn(kRgb565),
                         [](const auto& info) { return std::string(info.param.name); });

// A small asymmetric image: the rotated result is the plain one turned by 180 degrees.
TEST(Rgb565Rotation, IsThePlainResultTurnedHalfWay) {
    const uint32_t w = 6, h = 4;
    YuvSource src(w, h, 0);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) src.luma(x, y) = static_cast<uint8_t>(20 + 30 * x + 7 * y);
    for (uint32_t i = 0; i < w * 2; ++i) src.buffer.data()[w * h + i] = static_cast<uint8_t>(60 + 13 * i);
    for (auto* rotate : {obxColorYUV420toRGB565u8Rotate180C, obxColorYUV420toRGB565u8Rotate180V}) {
        GuardedBuffer plain(w * h * 2, 0), turned(w * h * 2, 0);
        obxColorYUV420toRGB565u8C(src.buffer.data(), w, h, plain.data());
        rotate(src.buffer.data(), w, h, turned.data());
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x)
                EXPECT_EQ(valueAt(turned, w, w - 1 - x, h - 1 - y), valueAt(plain, w, x, y)) << x << "," << y;
        // The first source pixel is the last destination pixel, and the two differ from their neighbours.
        EXPECT_NE(valueAt(turned, w, w - 1, h - 1), valueAt(turned, w, w - 2, h - 1));
    }
}

// ---- Assertion texts ----------------------------------------------------------------

const char kRgb8888Text[] = "src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride";
const char kRgb565Text[] = "yuv420sp && rgb565 && width && height";
const char kReferenceModule[] = "src/cpu/ombrixColorPreviewC";
const char kVectorModule[] = "src/lanex/ombrixColorPreviewV";

struct Rgb8888Violation {
    const char* what;
    bool nullSrc, nullDst;
    uint32_t width, height, yStride, cStride, dstStride;
};
const Rgb8888Violation kRgb8888Violations[] = {
    {"null src", true, false, 4, 4, 4, 4, 16},  {"null dst", false, true, 4, 4, 4, 4, 16},
    {"zero width", false, false, 0, 4, 4, 4, 16}, {"zero height", false, false, 4, 0, 4, 4, 16},
    {"zero luma stride", false, false, 4, 4, 0, 4, 16}, {"zero chroma stride", false, false, 4, 4, 4, 0, 16},
    {"zero dst stride", false, false, 4, 4, 4, 4, 0},
};

struct Rgb565Violation {
    const char* what;
    bool nullSrc, nullDst;
    uint32_t width, height;
};
const Rgb565Violation kRgb565Violations[] = {
    {"null src", true, false, 4, 4}, {"null dst", false, true, 4, 4},
    {"zero width", false, false, 0, 4}, {"zero height", false, false, 4, 0},
};

std::vector<ombrix_test::AssertionCase> assertionCases() {
    static uint8_t src[256];
    static uint32_t dst[64];
    std::vector<ombrix_test::AssertionCase> cases;
    for (const Rgb8888Implementation& impl : kRgb8888) {
        const char* module = impl.convert == obxColorYCrCb420PseudoPlanarToRGB8888u8C ? kReferenceModule : kVectorModule;
        // Every condition once over the two functions, and the null source
        // for both: each case is a process of its own, slow under an emulator.
        const bool vector = module == kVectorModule;
        for (size_t i = 0; i < sizeof kRgb8888Violations / sizeof kRgb8888Violations[0]; ++i) {
            if (i != 0 && (i % 2 == 1) != vector) continue;
            const Rgb8888Violation& v = kRgb8888Violations[i];
            cases.push_back({std::string("RGB8888 ") + impl.name + " " + v.what,
                             [impl, v] {
                                 impl.convert(v.nullSrc ? nullptr : src, v.width, v.height, v.yStride, v.cStride,
                                              v.nullDst ? nullptr : dst, v.dstStride);
                             },
                             module, kRgb8888Text});
        }
    }
    for (const Rgb565Implementation& impl : kRgb565) {
        const bool reference = impl.convert == obxColorYUV420toRGB565u8C || impl.convert == obxColorYUV420toRGB565u8Rotate180C;
        // Two conditions per function, all four per pair of functions.
        const size_t first = 2 * static_cast<size_t>(&impl - kRgb565) % 4;
        for (size_t i : {first, first + 1}) {
            const Rgb565Violation& v = kRgb565Violations[i];
            cases.push_back({std::string("RGB565 ") + impl.name + " " + v.what,
                             [impl, v] {
                                 impl.convert(v.nullSrc ? nullptr : src, v.width, v.height,
                                              v.nullDst ? nullptr : reinterpret_cast<uint8_t*>(dst));
                             },
                             reference ? kReferenceModule : kVectorModule, kRgb565Text});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorPreview, AssertionText, ::testing::ValuesIn(assertionCases()),
                         ombrix_test::assertionCaseName);

// ---- Vector variants against the references ---------------------------------------------

TEST(ColorPreviewVector, Rgb8888MatchesReference) {
    std::mt19937 rng(21);
    for (const ombrix_test::ImageGeometry& g : ombrix_test::comparisonGeometries(1, 1, 210, 40)) {
        const uint32_t cStride = (g.width + 1) / 2 * 2 + g.srcPadding % 7;
        YCrCbSource src(g.width, g.height, g.width + g.srcPadding, cStride, g.srcOffset);
        ombrix_test::fillRandom(src.buffer.data(), src.buffer.size(), rng);
        // Any stride rounds down to the same whole words; the extra 0..3 bytes change nothing.
        const uint32_t strideBytes = (g.width + g.dstPadding) * 4;
        const uint32_t dstStride = strideBytes + static_cast<uint32_t>(rng() % 4);
        const size_t offset = g.dstOffset & ~size_t{3};
        ombrix_test::GuardedImage<uint32_t> expected(g.width, g.height, strideBytes, offset),
            actual(g.width, g.height, strideBytes, offset);
        obxColorYCrCb420PseudoPlanarToRGB8888u8C(src.buffer.data(), g.width, g.height, src.yStride, src.cStride,
                                                 expected.data(), dstStride);
        obxColorYCrCb420PseudoPlanarToRGB8888u8V(src.buffer.data(), g.width, g.height, src.yStride, src.cStride,
                                                 actual.data(), dstStride);
        ASSERT_EQ(ombrix_test::pixelDifference(expected, actual), "") << g;
        ASSERT_TRUE(actual.guardsIntact()) << g;
        ASSERT_TRUE(src.buffer.guardsIntact()) << g;
    }
}

TEST(ColorPreviewVector, Rgb565MatchesReference) {
    std::mt19937 rng(22);
    const std::pair<obxColorYUV420toRGB565u8_fn*, obxColorYUV420toRGB565u8_fn*> pairs[] = {
        {obxColorYUV420toRGB565u8C, obxColorYUV420toRGB565u8V},
        {obxColorYUV420toRGB565u8Rotate180C, obxColorYUV420toRGB565u8Rotate180V},
    };
    for (const auto& pair : pairs) {
        for (const ombrix_test::ImageGeometry& g : ombrix_test::comparisonGeometries(1, 1, 220, 40)) {
            YuvSource src(g.width, g.height, g.srcOffset);
            ombrix_test::fillRandom(src.buffer.data(), src.buffer.size(), rng);
            const size_t bytes = static_cast<size_t>(g.width) * g.height * 2;
            GuardedBuffer expected(bytes, g.dstOffset), actual(bytes, g.dstOffset);
            pair.first(src.buffer.data(), g.width, g.height, expected.data());
            pair.second(src.buffer.data(), g.width, g.height, actual.data());
            ASSERT_EQ(memcmp(expected.data(), actual.data(), bytes), 0) << g;
            ASSERT_TRUE(actual.guardsIntact()) << g;
        }
    }
}

// Every luma value against every third chroma value (0, 3, ..., 255 for
// each of the pair): one chroma row per chroma combination, its two luma
// rows holding every luma value. The vector variants split their products
// differently from the references, so every term's extremes are compared.
TEST(ColorPreviewVector, SweepsLumaAndChromaRanges) {
    const uint32_t w = 256, steps = 86, chromaRows = steps * steps, h = 2 * chromaRows;
    GuardedBuffer src(static_cast<size_t>(w) * (h + chromaRows), 0);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) src.data()[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(x);
    uint8_t* chroma = src.data() + static_cast<size_t>(w) * h;
    for (uint32_t k = 0; k < chromaRows; ++k)
        for (uint32_t x = 0; x < w; x += 2) {
            chroma[static_cast<size_t>(k) * w + x] = static_cast<uint8_t>(3 * (k / steps));
            chroma[static_cast<size_t>(k) * w + x + 1] = static_cast<uint8_t>(3 * (k % steps));
        }
    const size_t pixels = static_cast<size_t>(w) * h;
    std::vector<uint32_t> expected(pixels), actual(pixels);
    obxColorYCrCb420PseudoPlanarToRGB8888u8C(src.data(), w, h, w, w, expected.data(), w * 4);
    obxColorYCrCb420PseudoPlanarToRGB8888u8V(src.data(), w, h, w, w, actual.data(), w * 4);
    EXPECT_EQ(memcmp(expected.data(), actual.data(), pixels * 4), 0) << "RGB8888";
    for (const auto& pair : {std::make_pair(obxColorYUV420toRGB565u8C, obxColorYUV420toRGB565u8V),
                             std::make_pair(obxColorYUV420toRGB565u8Rotate180C, obxColorYUV420toRGB565u8Rotate180V)}) {
        std::fill(expected.begin(), expected.end(), 0);
        std::fill(actual.begin(), actual.end(), 0);
        pair.first(src.data(), w, h, reinterpret_cast<uint8_t*>(expected.data()));
        pair.second(src.data(), w, h, reinterpret_cast<uint8_t*>(actual.data()));
        EXPECT_EQ(memcmp(expected.data(), actual.data(), pixels * 2), 0) << "RGB565";
    }
}

TEST(ColorPreviewSlots, StartOnTheReferences) {
    EXPECT_EQ(*ppobxColorYCrCb420PseudoPlanarToRGB8888u8, &obxColorYCrCb420PseudoPlanarToRGB8888u8C);
    EXPECT_EQ(*ppobxColorYUV420toRGB565u8, &obxColorYUV420toRGB565u8C);
    EXPECT_EQ(*ppobxColorYUV420toRGB565u8Rotate180, &obxColorYUV420toRGB565u8Rotate180C);
}

}  // namespace
