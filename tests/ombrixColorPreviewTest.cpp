// Camera-preview conversions (video-range 4:2:0 to RGBA8888 and RGB565):
// hand-checked pixels, the row and chroma walks against a per-pixel model,
// assertion texts, and the vector variants against the references.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// ---- Per-pixel model, written from the formulas --------------------------------

// The RGBA8888 word of the Q10 conversion (bytes R, G, B, 255 in memory).
uint32_t modelQ10(int Y, int Cb, int Cr) {
    const int32_t y = std::max(Y - 16, 0) * 1192;
    auto ch = [](int32_t s) { return static_cast<uint32_t>(std::min(0x3FFFF, std::max(0, s)) >> 10); };
    return ch(y + 1634 * (Cr - 128)) | ch(y - 833 * (Cr - 128) - 400 * (Cb - 128)) << 8 |
           ch(y + 2066 * (Cb - 128)) << 16 | 0xFF000000u;
}

uint32_t rgba(uint32_t r, uint32_t g, uint32_t b) {
    const uint8_t bytes[4] = {static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b), 255};
    uint32_t word;
    memcpy(&word, bytes, 4);
    return word;
}

uint16_t pack565(int r, int g, int b) { return static_cast<uint16_t>((b >> 3) << 11 | (g >> 2) << 5 | r >> 3); }

uint16_t model565(int Y, int Cb, int Cr) {
    auto clamp = [](int32_t v) { return std::min(255, std::max(0, v)); };
    const int32_t y = 298 * Y - 4768;
    return pack565(clamp((y + 409 * (Cr - 128)) >> 8), clamp((y - 100 * (Cb - 128) - 208 * (Cr - 128)) >> 8),
                   clamp((y + 517 * (Cb - 128)) >> 8));
}

// ---- The YCrCb RGBA8888 conversion -------------------------------------------------

using Rgb8888Fn = obxColorYCrCb420PseudoPlanarToRGB8888u8_fn;
Rgb8888Fn* const kRgb8888[] = {obxColorYCrCb420PseudoPlanarToRGB8888u8C, obxColorYCrCb420PseudoPlanarToRGB8888u8V};

// The packed 4:2:0 to RGB565 conversions, plain and turned by 180 degrees.
struct Rgb565Implementation {
    const char* name;
    obxColorYUV420toRGB565u8_fn* convert;
    bool rotated;
};

const Rgb565Implementation kRgb565[] = {
    {"reference", obxColorYUV420toRGB565u8C, false},
    {"vector", obxColorYUV420toRGB565u8V, false},
    {"rotatedReference", obxColorYUV420toRGB565u8Rotate180C, true},
    {"rotatedVector", obxColorYUV420toRGB565u8Rotate180V, true},
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

// Uniform rows of 18 pixels (a vector step and a tail), worked out by hand.
struct HandPixel {
    uint8_t y, cb, cr;
    uint32_t rgba8888;
    uint16_t rgb565;
};
const HandPixel kHandPixels[] = {
    // Luma at or below 16 with neutral chroma is black.
    {0, 128, 128, rgba(0, 0, 0), 0}, {1, 128, 128, rgba(0, 0, 0), 0}, {15, 128, 128, rgba(0, 0, 0), 0},
    {16, 128, 128, rgba(0, 0, 0), 0},
    // Q10: 219 * 1192 >> 10 = 254; 220 * 1192 >> 10 = 256, clamped to 255.
    // Q8: 298 * 235 - 4768 = 65262 >> 8 = 254, which packs as 255 does.
    {235, 128, 128, rgba(254, 254, 254), 0xFFFF}, {236, 128, 128, rgba(255, 255, 255), 0xFFFF},
    // Chroma pairs are Cr, Cb in the RGBA8888 source and Cb, Cr in the
    // RGB565 one; each table row gives its (Cb, Cr).
    // Q10: Y 128, Cr 200: y = 112 * 1192 = 133504; R = (133504 + 1634 * 72) >> 10 = 245,
    // G = (133504 - 833 * 72) >> 10 = 71, B = 133504 >> 10 = 130.
    // Q8: y = 298 * 128 - 4768 = 33376; R = (33376 + 409 * 72) >> 8 = 245, G = (33376 - 208 * 72) >> 8 = 71,
    // B = 33376 >> 8 = 130.
    {128, 128, 200, rgba(245, 71, 130), pack565(245, 71, 130)},
    // Q8, Y 128, Cb 200: R = 33376 >> 8 = 130, G = (33376 - 100 * 72) >> 8 = 102,
    // B = (33376 + 517 * 72) >> 8 = 275 -> 255. Q10: G = (133504 - 400 * 72) >> 10 = 102, B = 275 -> 255.
    {128, 200, 128, rgba(130, 102, 255), pack565(130, 102, 255)},
    // Q8, Y 81, Cb 90, Cr 255: y = 19370; R = (19370 + 409 * 127) >> 8 = 278 -> 255,
    // G = (19370 + 100 * 38 - 208 * 127) >> 8 < 0, B = (19370 - 517 * 38) >> 8 < 0: pure red.
    // Q10: y = 65 * 1192 = 77480; R = 77480 + 1634 * 127 = 284998 -> 255,
    // G = 77480 - 833 * 127 + 400 * 38 < 0, B = 77480 - 2066 * 38 < 0.
    {81, 90, 255, rgba(255, 0, 0), 0x001F},
    // Q8, Y 41, Cb 255, Cr 110: y = 7450; B = (7450 + 517 * 127) >> 8 = 285 -> 255,
    // R = (7450 - 409 * 18) >> 8 = 0, G = (7450 - 100 * 127 + 208 * 18) >> 8 < 0: pure blue.
    // Q10: y = 25 * 1192 = 29800; R = (29800 - 1634 * 18) >> 10 = 388 >> 10 = 0,
    // G = 29800 + 833 * 18 - 400 * 127 < 0, B = 29800 + 2066 * 127 = 292182 -> 255.
    {41, 255, 110, rgba(0, 0, 255), 0xF800},
};

TEST(ColorPreview, HandCheckedPixels) {
    const uint32_t w = 18;
    for (const HandPixel& p : kHandPixels) {
        SCOPED_TRACE(::testing::Message() << +p.y << " " << +p.cb << " " << +p.cr);
        YCrCbSource crcb(w, 1, w, w + 1, 3);  // RGBA8888 from Cr,Cb pairs
        GuardedBuffer cbcr(w * 2 + w, 1);      // RGB565 from two luma rows and Cb,Cr pairs
        for (uint32_t x = 0; x < w; ++x) {
            crcb.luma(x, 0) = cbcr.data()[x] = cbcr.data()[w + x] = p.y;
            crcb.chroma(x, 0) = x % 2 ? p.cb : p.cr;
            cbcr.data()[2 * w + x] = x % 2 ? p.cr : p.cb;
        }
        for (Rgb8888Fn* fn : kRgb8888) {
            GuardedImage<uint32_t> dst(w, 1, w * 4, 0);
            fn(crcb.buffer.data(), w, 1, w, w + 1, dst.data(), dst.stride());
            EXPECT_EQ(std::vector<uint32_t>(dst.row(0), dst.row(0) + w), std::vector<uint32_t>(w, p.rgba8888));
            EXPECT_TRUE(dst.guardsIntact());
        }
        for (const Rgb565Implementation& impl : kRgb565) {
            GuardedBuffer dst(w * 2 * 2, 3);
            impl.convert(cbcr.data(), w, 2, dst.data());
            std::vector<uint16_t> values(2 * w);
            memcpy(values.data(), dst.data(), dst.size());
            EXPECT_EQ(values, std::vector<uint16_t>(2 * w, p.rgb565));
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

// Every pixel against the model: chroma pair x / 2 of chroma row y / 2, the
// chroma plane right after srcHeight luma rows, padded strides. The
// destination advances by the stride rounded down to whole words: the 0..3
// bytes passed beyond the image's word stride change nothing.
TEST(ColorPreview, Rgb8888MatchesThePerPixelModel) {
    std::mt19937 rng(3);
    for (Rgb8888Fn* fn : kRgb8888) {
        for (uint32_t w : {1u, 2u, 3u, 5u, 16u, 17u, 33u, 70u}) {
            for (uint32_t h : {1u, 2u, 3u, 6u}) {
                YCrCbSource src(w, h, w + 3, w + 1 + 5, 2);
                fillRandom(src.buffer.data(), src.buffer.size(), rng);
                const uint32_t strideBytes = (w + h % 3) * 4;
                GuardedImage<uint32_t> dst(w, h, strideBytes, 4);
                fn(src.buffer.data(), w, h, src.yStride, src.cStride, dst.data(), strideBytes + (w + h) % 4);
                ASSERT_TRUE(dst.guardsIntact()) << w << "x" << h;
                for (uint32_t y = 0; y < h; ++y)
                    for (uint32_t x = 0; x < w; ++x)
                        ASSERT_EQ(dst.at(x, y),
                                  modelQ10(src.luma(x, y), src.chroma((x & ~1u) + 1, y / 2), src.chroma(x & ~1u, y / 2)))
                            << w << "x" << h << " at " << x << "," << y;
            }
        }
    }
}

// ---- The YUV 4:2:0 RGB565 conversions ------------------------------------------------

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

// Every pixel against the model, at (x, y) or, rotated, at (w-1-x, h-1-y).
// With an odd width the last source column is not converted, so its
// destination column keeps its previous contents.
TEST(ColorPreview, Rgb565MatchesThePerPixelModel) {
    std::mt19937 rng(4);
    for (uint32_t w : {2u, 3u, 6u, 15u, 16u, 18u, 34u, 61u}) {
        for (uint32_t h : {1u, 2u, 3u, 5u}) {
            YuvSource src(w, h, 1);
            fillRandom(src.buffer.data(), src.buffer.size(), rng);
            for (const Rgb565Implementation& impl : kRgb565) {
                SCOPED_TRACE(::testing::Message() << impl.name << " " << w << "x" << h);
                GuardedBuffer dst(static_cast<size_t>(w) * h * 2, 2);
                impl.convert(src.buffer.data(), w, h, dst.data());
                ASSERT_TRUE(dst.guardsIntact());
                for (uint32_t y = 0; y < h; ++y)
                    for (uint32_t x = 0; x < w; ++x) {
                        const uint32_t dx = impl.rotated ? w - 1 - x : x, dy = impl.rotated ? h - 1 - y : y;
                        const uint16_t expected =
                            (x == w - 1 && w % 2)
                                ? static_cast<uint16_t>(GuardedBuffer::kSentinel * 0x101)
                                : model565(src.luma(x, y), src.chroma(x & ~1u, y / 2), src.chroma((x & ~1u) + 1, y / 2));
                        ASSERT_EQ(valueAt(dst, w, dx, dy), expected) << x << "," << y;
                    }
            }
        }
    }
}

// ---- Assertion texts ----------------------------------------------------------------

struct Violation {
    const char* what;
    bool nullSrc, nullDst;
    uint32_t width, height, yStride = 0, cStride = 0, dstStride = 0;
};

// Every condition once over the two functions of each kind (each case is a
// process of its own, slow under an emulator), and the null source for both
// RGB8888 functions.
std::vector<AssertionCase> assertionCases() {
    static uint8_t src[256];
    static uint32_t dst[64];
    const Violation rgb8888[] = {
        {"null src", true, false, 4, 4, 4, 4, 16},  {"null dst", false, true, 4, 4, 4, 4, 16},
        {"zero width", false, false, 0, 4, 4, 4, 16}, {"zero height", false, false, 4, 0, 4, 4, 16},
        {"zero luma stride", false, false, 4, 4, 0, 4, 16}, {"zero chroma stride", false, false, 4, 4, 4, 0, 16},
        {"zero dst stride", false, false, 4, 4, 4, 4, 0},
    };
    const Violation rgb565[] = {{"null src", true, false, 4, 4}, {"null dst", false, true, 4, 4},
                                {"zero width", false, false, 0, 4}, {"zero height", false, false, 4, 0}};
    std::vector<AssertionCase> cases;
    for (Rgb8888Fn* fn : kRgb8888) {
        const bool vector = fn == kRgb8888[1];
        for (size_t i = 0; i < 7; ++i) {
            if (i != 0 && (i % 2 == 1) != vector) continue;
            const Violation v = rgb8888[i];
            cases.push_back({std::string("RGB8888 ") + (vector ? "V " : "C ") + v.what,
                             [fn, v] {
                                 fn(v.nullSrc ? nullptr : src, v.width, v.height, v.yStride, v.cStride,
                                    v.nullDst ? nullptr : dst, v.dstStride);
                             },
                             moduleOf("ColorPreview", vector),
                             "src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride"});
        }
    }
    for (size_t k = 0; k < 4; ++k) {
        const Rgb565Implementation& impl = kRgb565[k];
        for (size_t i : {2 * k % 4, 2 * k % 4 + 1}) {  // two conditions per function, all four per pair
            const Violation v = rgb565[i];
            cases.push_back({std::string("RGB565 ") + impl.name + " " + v.what,
                             [impl, v] {
                                 impl.convert(v.nullSrc ? nullptr : src, v.width, v.height,
                                              v.nullDst ? nullptr : reinterpret_cast<uint8_t*>(dst));
                             },
                             moduleOf("ColorPreview", k % 2 == 1), "yuv420sp && rgb565 && width && height"});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorPreview, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

// ---- Vector variants against the references ---------------------------------------------

TEST(ColorPreviewVector, Rgb8888MatchesReference) {
    std::mt19937 rng(21);
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 210, 40)) {
        const uint32_t cStride = (g.width + 1) / 2 * 2 + g.srcPadding % 7;
        YCrCbSource src(g.width, g.height, g.width + g.srcPadding, cStride, g.srcOffset);
        fillRandom(src.buffer.data(), src.buffer.size(), rng);
        // Any stride rounds down to the same whole words; the extra 0..3 bytes change nothing.
        const uint32_t strideBytes = (g.width + g.dstPadding) * 4;
        const uint32_t dstStride = strideBytes + static_cast<uint32_t>(rng() % 4);
        const size_t offset = g.dstOffset & ~size_t{3};
        GuardedImage<uint32_t> expected(g.width, g.height, strideBytes, offset),
            actual(g.width, g.height, strideBytes, offset);
        kRgb8888[0](src.buffer.data(), g.width, g.height, src.yStride, src.cStride, expected.data(), dstStride);
        kRgb8888[1](src.buffer.data(), g.width, g.height, src.yStride, src.cStride, actual.data(), dstStride);
        ASSERT_EQ(pixelDifference(expected, actual), "") << g;
        ASSERT_TRUE(actual.guardsIntact()) << g;
        ASSERT_TRUE(src.buffer.guardsIntact()) << g;
    }
}

TEST(ColorPreviewVector, Rgb565MatchesReference) {
    std::mt19937 rng(22);
    for (size_t k = 0; k < 4; k += 2) {
        for (const ImageGeometry& g : comparisonGeometries(1, 1, 220, 40)) {
            YuvSource src(g.width, g.height, g.srcOffset);
            fillRandom(src.buffer.data(), src.buffer.size(), rng);
            const size_t bytes = static_cast<size_t>(g.width) * g.height * 2;
            GuardedBuffer expected(bytes, g.dstOffset), actual(bytes, g.dstOffset);
            kRgb565[k].convert(src.buffer.data(), g.width, g.height, expected.data());
            kRgb565[k + 1].convert(src.buffer.data(), g.width, g.height, actual.data());
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
    kRgb8888[0](src.data(), w, h, w, w, expected.data(), w * 4);
    kRgb8888[1](src.data(), w, h, w, w, actual.data(), w * 4);
    EXPECT_EQ(memcmp(expected.data(), actual.data(), pixels * 4), 0) << "RGB8888";
    for (size_t k = 0; k < 4; k += 2) {
        std::fill(expected.begin(), expected.end(), 0);
        std::fill(actual.begin(), actual.end(), 0);
        kRgb565[k].convert(src.data(), w, h, reinterpret_cast<uint8_t*>(expected.data()));
        kRgb565[k + 1].convert(src.data(), w, h, reinterpret_cast<uint8_t*>(actual.data()));
        EXPECT_EQ(memcmp(expected.data(), actual.data(), pixels * 2), 0) << kRgb565[k].name;
    }
}

}  // namespace
