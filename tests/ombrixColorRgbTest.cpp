// RGB to YCbCr and gray: hand-checked pixels (rounding ties among them),
// every layout against a per-pixel model, the row converters reached
// through their slots, the vector variants against the references, and the
// assertion texts.
#include "ombrixKernels.h"
#include "ombrixRuntime.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// ---- Input formats and the model --------------------------------------------------------

enum Format { kRgb565, kRgb888, kRgba8888 };
constexpr uint32_t kBytes[] = {2, 3, 4};
const char* const kFormatNames[] = {"RGB565", "RGB888", "RGBA8888"};

struct Ycc {
    int y, cb, cr;
};

// One pixel of `format` as the conversions read it: RGB565 words with R on
// top, widened by shifting; the 8-bit formats as bytes B, G, R. Q8 with
// rounding; the 8-bit formats clamp a chroma term of 128 to 255.
Ycc model(Format format, const uint8_t* p) {
    int r = p[2], g = p[1], b = p[0];
    if (format == kRgb565) {
        const int w = p[0] | p[1] << 8;
        r = (w >> 11) << 3, g = ((w >> 5) & 63) << 2, b = (w & 31) << 3;
    }
    const auto chroma = [format](int term) {
        const int shifted = (term + 128) >> 8;
        return format != kRgb565 && shifted > 127 ? 255 : 128 + shifted;
    };
    return {(29 * b + 150 * g + 77 * r + 128) >> 8, chroma(128 * b - 85 * g - 43 * r),
            chroma(128 * r - 107 * g - 21 * b)};
}

// ---- The fifteen row converters ---------------------------------------------------------

enum Shape { kPlanarFull, kPlanarPairs, kLuma, kInterleavedFull, kInterleavedPairs };
const char* const kShapeNames[] = {"yuvp", "yyuvp", "y", "yuv", "yyuv"};

struct Kernel {
    Format format;
    Shape shape;
    void* reference;
    void* vector;
    std::string name() const { return std::string(kFormatNames[format]) + "_" + kShapeNames[shape]; }
};

#define OMBRIX_KERNELS_OF(prefix, format)                                                              \
    {format, kPlanarFull, (void*)prefix##yuvpC, (void*)prefix##yuvpV},                                \
        {format, kPlanarPairs, (void*)prefix##yyuvpC, (void*)prefix##yyuvpV},                         \
        {format, kLuma, (void*)prefix##yC, (void*)prefix##yV},                                        \
        {format, kInterleavedFull, (void*)prefix##yuvC, (void*)prefix##yuvV},                         \
        {format, kInterleavedPairs, (void*)prefix##yyuvC, (void*)prefix##yyuvV}

const Kernel kKernels[] = {OMBRIX_KERNELS_OF(rgb5652, kRgb565), OMBRIX_KERNELS_OF(rgb8882, kRgb888),
                           OMBRIX_KERNELS_OF(rgba88882, kRgba8888)};

// Output rows of one call: Y, and either Cb/Cr planes or one CbCr row.
struct RowOutputs {
    GuardedBuffer y, a, b;
    RowOutputs(Shape shape, uint32_t width, size_t offset)
        : y(width, offset, 0x5A), a(chromaBytes(shape, width), offset + 3, 0x5A), b(shape <= kPlanarPairs ? a.size() : 0, offset + 7, 0x5A) {}
    static size_t chromaBytes(Shape shape, uint32_t width) {
        const size_t bytes[] = {width, width / 2, 0, 2 * size_t{width}, width / 2 * 2};
        return bytes[shape];
    }
    bool guardsIntact() const { return y.guardsIntact() && a.guardsIntact() && b.guardsIntact(); }
};

void runKernel(const Kernel& k, void* fn, const uint8_t* src, uint32_t width, RowOutputs& out) {
    switch (k.shape) {
        case kPlanarFull:
        case kPlanarPairs:
            return reinterpret_cast<obxRgbRowPlanar_fn*>(fn)(src, out.y.data(), out.a.data(), out.b.data(), width);
        case kLuma: return reinterpret_cast<obxRgbRowLuma_fn*>(fn)(src, out.y.data(), width);
        default: return reinterpret_cast<obxRgbRowInterleaved_fn*>(fn)(src, out.y.data(), out.a.data(), width);
    }
}

// ---- Hand-checked pixels ---------------------------------------------------------------

struct HandPixel {
    const char* what;
    Format format;
    uint8_t bytes[4];
    Ycc expected;
};

const HandPixel kHandPixels[] = {
    {"white", kRgb888, {255, 255, 255}, {255, 128, 128}},
    {"black", kRgb888, {0, 0, 0}, {0, 128, 128}},
    {"blue clamps Cb from 256", kRgb888, {255, 0, 0}, {29, 255, 107}},
    {"red clamps Cr from 256", kRgb888, {0, 0, 255}, {77, 85, 255}},
    {"RGBA blue, fourth byte ignored", kRgba8888, {255, 0, 0, 99}, {29, 255, 107}},
    {"RGBA white", kRgba8888, {255, 255, 255, 0}, {255, 128, 128}},
    {"RGB565 0xFFFF is 248, 252, 248", kRgb565, {0xFF, 0xFF}, {250, 127, 126}},
    {"RGB565 blue needs no clamp", kRgb565, {0x1F, 0x00}, {28, 252, 108}},
    {"RGB565 red in the top bits", kRgb565, {0x00, 0xF8}, {75, 86, 252}},
    {"RGB565 black", kRgb565, {0, 0}, {0, 128, 128}},
    // Sums on a half (128 mod 256), which the +128 lifts, and 1/256 below one.
    {"R 128: Y 77 * 128 = 38.5 * 256, Cr 64 exactly", kRgb888, {0, 0, 128}, {39, 107, 192}},
    {"B 1: Cb 128 = 0.5 * 256", kRgb888, {1, 0, 0}, {0, 129, 128}},
    {"G 1, B 1: Cr -107 - 21 = -0.5 * 256", kRgba8888, {1, 1, 0, 7}, {1, 128, 128}},
    {"B 75: Y 29 * 75 = 2175 = 8.5 * 256 - 1", kRgb888, {75, 0, 0}, {8, 166, 122}},
    {"G 125: Cb -85 * 125 = -10625 = -41.5 * 256 - 1", kRgba8888, {0, 125, 0, 0}, {73, 86, 76}},
    {"RGB565 B 128: Y 29 * 128 = 14.5 * 256, Cr -21 * 128 = -10.5 * 256", kRgb565, {0x10, 0x00}, {15, 192, 118}},
    {"RGB565 G 128: Cb -85 * 128 = -42.5 * 256", kRgb565, {0x00, 0x04}, {75, 86, 75}},
};

// 36 equal pixels: two vector steps and a scalar tail, through reference and
// vector converters.
TEST(ColorRgbHand, PixelsThroughEveryConverter) {
    for (const HandPixel& h : kHandPixels) {
        SCOPED_TRACE(h.what);
        const Ycc m = model(h.format, h.bytes);  // the test's own model agrees with the hand values
        EXPECT_TRUE(m.y == h.expected.y && m.cb == h.expected.cb && m.cr == h.expected.cr);
        const uint32_t width = 36, bpp = kBytes[h.format];
        std::vector<uint8_t> src(width * bpp);
        for (uint32_t x = 0; x < width; ++x) std::copy(h.bytes, h.bytes + bpp, src.data() + x * bpp);
        for (const Kernel& k : kKernels) {
            if (k.format != h.format) continue;
            for (void* fn : {k.reference, k.vector}) {
                SCOPED_TRACE(k.name() + (fn == k.vector ? " vector" : " reference"));
                RowOutputs out(k.shape, width, 0);
                runKernel(k, fn, src.data(), width, out);
                for (uint32_t x = 0; x < width; ++x) ASSERT_EQ(out.y.data()[x], h.expected.y) << x;
                const bool interleaved = k.shape >= kInterleavedFull;
                const size_t pairs = interleaved ? out.a.size() / 2 : out.a.size();
                for (size_t i = 0; i < pairs; ++i) {
                    ASSERT_EQ(out.a.data()[interleaved ? 2 * i : i], h.expected.cb) << i;
                    ASSERT_EQ(interleaved ? out.a.data()[2 * i + 1] : out.b.data()[i], h.expected.cr) << i;
                }
                ASSERT_TRUE(out.guardsIntact());
            }
        }
    }
}

// Bytes R, G, B: gray is Q16 with rounding, Y, Cr, Cb are Q15 with rounding.
struct HandRgb {
    uint8_t rgb[3];
    uint8_t gray;
    uint8_t yCrCb[3];
};

const HandRgb kHandRgb[] = {
    {{255, 0, 0}, 76, {76, 255, 85}},    // red weight on byte 0; Cr clamps from 256
    {{0, 0, 255}, 29, {29, 107, 255}},   // blue: Cb clamps from 256
    {{255, 255, 255}, 255, {255, 128, 128}},
    {{0, 0, 0}, 0, {0, 128, 128}},
    {{0, 255, 0}, 150, {150, 21, 44}},
    // Gray: 2 * 19595 + 79 * 38469 + 145 * 7471 = 4161536 = 63.5 * 65536, a tie
    // that rounds up; 3, 80, 146 give 4227071, one below 64.5 * 65536.
    {{2, 79, 145}, 64, {64, 84, 174}},
    {{3, 80, 146}, 64, {65, 84, 174}},
    // Y: 120 * 19235 + 97 * 3736 = 2670592 = 81.5 * 32768.
    {{0, 120, 97}, 81, {82, 70, 137}},
    // Cr: -13720 - 2664 = -16384 = -0.5 * 32768, so Cr = 128 + 0; Cb: 16384 * 1 = 0.5 * 32768.
    {{0, 1, 1}, 1, {1, 128, 128}},
    {{0, 0, 1}, 0, {0, 128, 129}},
};

TEST(ColorRgbHand, GrayAndYCrCbOrder) {
    for (const HandRgb& h : kHandRgb) {
        SCOPED_TRACE(::testing::Message() << +h.rgb[0] << " " << +h.rgb[1] << " " << +h.rgb[2]);
        const uint32_t width = 19;  // a vector step and a tail
        std::vector<uint8_t> src(3 * width);
        for (uint32_t x = 0; x < width; ++x) std::copy(h.rgb, h.rgb + 3, src.data() + 3 * x);
        for (auto* fn : {obxColorRGB888ToGrayu8C, obxColorRGB888ToGrayu8V}) {
            std::vector<uint8_t> dst(width, 1);
            fn(src.data(), width, 1, 3 * width, dst.data(), width);
            EXPECT_EQ(dst, std::vector<uint8_t>(width, h.gray));
        }
        for (auto* fn : {obxColorRGB888toYCrCbu8C, obxColorRGB888toYCrCbu8V}) {
            std::vector<uint8_t> dst(3 * width, 1);
            fn(src.data(), width, 1, 0, dst.data(), 0);
            for (uint32_t x = 0; x < 3 * width; ++x) ASSERT_EQ(dst[x], h.yCrCb[x % 3]) << x;
        }
    }
}

// ---- The eighteen layouts ---------------------------------------------------------------

enum Sampling { k444, k422, k420 };

struct Layout {
    Format format;
    Sampling sampling;
    obxRgbToYCbCrPlanaru8_fn* planar;        // one of these two is set
    obxRgbToYCbCrPseudoPlanaru8_fn* pseudo;
    std::string name() const {
        static const char* const samplings[] = {"444", "422", "420"};
        return std::string(kFormatNames[format]) + samplings[sampling] + (planar ? "Planar" : "PseudoPlanar");
    }
    uint32_t chromaWidth(uint32_t width) const { return sampling == k444 ? width : width / 2; }
    uint32_t chromaHeight(uint32_t height) const { return sampling == k420 ? (height + 1) / 2 : height; }
};

#define OMBRIX_LAYOUTS_OF(name, format)                                                                \
    {format, k444, obxColor##name##ToYCbCr444Planaru8C, nullptr},                                       \
        {format, k422, obxColor##name##ToYCbCr422Planaru8C, nullptr},                                   \
        {format, k420, obxColor##name##ToYCbCr420Planaru8C, nullptr},                                   \
        {format, k444, nullptr, obxColor##name##ToYCbCr444PseudoPlanaru8C},                             \
        {format, k422, nullptr, obxColor##name##ToYCbCr422PseudoPlanaru8C},                             \
        {format, k420, nullptr, obxColor##name##ToYCbCr420PseudoPlanaru8C}

void PrintTo(const Layout& l, std::ostream* os) { *os << l.name(); }

const Layout kLayouts[] = {OMBRIX_LAYOUTS_OF(RGB565, kRgb565), OMBRIX_LAYOUTS_OF(RGB888, kRgb888),
                           OMBRIX_LAYOUTS_OF(RGBA8888, kRgba8888)};

// Destination images of one call; `pad` bytes beyond each row (0 passes
// strides of 0, the packed default). Planar: a = Cb, b = Cr; pseudo-planar:
// a = CbCr pairs.
struct Planes {
    GuardedImage<uint8_t> y, a, b;
    uint32_t pad;
    Planes(const Layout& l, uint32_t width, uint32_t rows, uint32_t pad)
        : y(width, rows, width + pad, 5),
          a(l.chromaWidth(width) * (l.planar ? 1 : 2), l.chromaHeight(rows), l.chromaWidth(width) * (l.planar ? 1 : 2) + pad, 9),
          b(l.planar ? l.chromaWidth(width) : 0, l.planar ? l.chromaHeight(rows) : 0, l.chromaWidth(width) + pad, 13),
          pad(pad) {}
    bool guardsIntact() const { return y.guardsIntact() && a.guardsIntact() && b.guardsIntact(); }
};

void runLayout(const Layout& l, const GuardedImage<uint8_t>& src, uint32_t width, uint32_t height, Planes& p) {
    const uint32_t s = p.pad ? src.stride() : 0;
    const auto stride = [&p](const GuardedImage<uint8_t>& image) { return p.pad ? image.stride() : 0u; };
    if (l.planar)
        l.planar(src.data(), width, height, s, p.y.data(), p.a.data(), p.b.data(), stride(p.y), stride(p.a), stride(p.b));
    else
        l.pseudo(src.data(), width, height, s, p.y.data(), p.a.data(), stride(p.y), stride(p.a));
}

class ColorRgbLayout : public ::testing::TestWithParam<Layout> {};

// Every output byte, on the reference and on the vector table. 4:2:2 and
// 4:2:0 take chroma from the even pixel of each pair, and 4:2:0 from the
// first row of each pair of rows, whose second row gets luma only. With an
// odd width the two-pixel converters write nothing, so 4:2:2 leaves
// everything as it was and 4:2:0 writes only the luma of its second rows.
// With an odd height 4:2:0 also converts row `height`; the buffers here have
// one row more than the image, which the other layouts leave alone.
TEST_P(ColorRgbLayout, MatchesThePixelModelOnBothTables) {
    const Layout& l = GetParam();
    std::mt19937 rng(7);
    const uint32_t bpp = kBytes[l.format];
    const uint32_t sizes[][3] = {{2, 2, 0}, {16, 4, 3}, {34, 6, 0}, {50, 2, 17}, {64, 4, 1}, {8, 8, 0},
                                 {1, 4, 4}, {5, 4, 4},  {33, 4, 2}, {6, 3, 2},   {7, 5, 1}};
    for (bool vectorTable : {false, true}) {
        if (vectorTable) obxTableInstallVectorVariants();
        for (const auto& size : sizes) {
            const uint32_t width = size[0], height = size[1], pad = size[2], rows = height + 1;
            SCOPED_TRACE(::testing::Message() << width << "x" << height << " pad " << pad
                                              << (vectorTable ? " vector table" : ""));
            GuardedImage<uint8_t> src(width * bpp, rows, width * bpp + pad, 3);
            src.fillRandom(rng);
            Planes p(l, width, rows, pad);
            runLayout(l, src, width, height, p);
            ASSERT_TRUE(p.guardsIntact());
            const bool pairsWritten = l.sampling == k444 || width % 2 == 0;
            auto converted = [&](uint32_t y) { return y < height || (l.sampling == k420 && height % 2 && y == height); };
            for (uint32_t y = 0; y < rows; ++y)
                for (uint32_t x = 0; x < width; ++x) {
                    const bool written = converted(y) && (pairsWritten || (l.sampling == k420 && y % 2));
                    ASSERT_EQ(p.y.at(x, y), written ? model(l.format, src.row(y) + x * bpp).y : 0xA5) << x << "," << y;
                }
            const uint32_t stepX = l.sampling == k444 ? 1 : 2, stepY = l.sampling == k420 ? 2 : 1;
            for (uint32_t cy = 0; cy < p.a.height(); ++cy)
                for (uint32_t cx = 0; cx < l.chromaWidth(width); ++cx) {
                    const bool written = converted(cy * stepY) && pairsWritten;
                    const Ycc m = model(l.format, src.row(cy * stepY) + cx * stepX * bpp);
                    ASSERT_EQ(l.planar ? p.a.at(cx, cy) : p.a.at(2 * cx, cy), written ? m.cb : 0xA5) << cx << "," << cy;
                    ASSERT_EQ(l.planar ? p.b.at(cx, cy) : p.a.at(2 * cx + 1, cy), written ? m.cr : 0xA5) << cx << "," << cy;
                }
        }
    }
    obxTableResetToReferences();
}

INSTANTIATE_TEST_SUITE_P(Layouts, ColorRgbLayout, ::testing::ValuesIn(kLayouts),
                         [](const auto& info) { return info.param.name(); });

// ---- Row converters are reached through their slots -------------------------------------

std::vector<int> gCalls;
template <int Id>
void recordPlanar(const uint8_t*, uint8_t*, uint8_t*, uint8_t*, uint32_t) { gCalls.push_back(Id); }
template <int Id>
void recordLuma(const uint8_t*, uint8_t*, uint32_t) { gCalls.push_back(Id); }
template <int Id>
void recordInterleaved(const uint8_t*, uint8_t*, uint8_t*, uint32_t) { gCalls.push_back(Id); }

#define OMBRIX_RECORD_SLOTS(prefix, format)                     \
    prefix##yuvp_ = recordPlanar<format * 5 + kPlanarFull>;     \
    prefix##yyuvp_ = recordPlanar<format * 5 + kPlanarPairs>;   \
    prefix##y_ = recordLuma<format * 5 + kLuma>;                \
    prefix##yuv_ = recordInterleaved<format * 5 + kInterleavedFull>; \
    prefix##yyuv_ = recordInterleaved<format * 5 + kInterleavedPairs>

TEST(ColorRgbSlots, LayoutsCallTheRowConvertersThroughTheTable) {
    OMBRIX_RECORD_SLOTS(rgb5652, kRgb565);
    OMBRIX_RECORD_SLOTS(rgb8882, kRgb888);
    OMBRIX_RECORD_SLOTS(rgba88882, kRgba8888);
    static uint8_t src[4 * 4 * 4], y[16], a[32], b[16];
    for (const Layout& l : kLayouts) {
        SCOPED_TRACE(l.name());
        gCalls.clear();
        if (l.planar)
            l.planar(src, 4, 4, 0, y, a, b, 0, 0, 0);
        else
            l.pseudo(src, 4, 4, 0, y, a, 0, 0);
        const int base = l.format * 5;
        const int chroma = base + (l.planar ? 0 : 3) + (l.sampling == k444 ? 0 : 1);
        const std::vector<int> expected = l.sampling == k420
                                              ? std::vector<int>{chroma, base + kLuma, chroma, base + kLuma}
                                              : std::vector<int>{chroma, chroma, chroma, chroma};
        EXPECT_EQ(gCalls, expected);
    }
    obxTableResetToReferences();
}

// ---- Vector converters against the references -------------------------------------------

TEST(ColorRgbVector, RowConvertersMatchTheReferences) {
    std::mt19937 rng(2024);
    std::vector<uint32_t> widths;
    for (uint32_t w = 0; w <= 40; ++w) widths.push_back(w);
    for (int i = 0; i < 30; ++i) widths.push_back(rng() % 301);
    for (const Kernel& k : kKernels) {
        for (uint32_t width : widths) {
            SCOPED_TRACE(k.name() + " width " + std::to_string(width));
            GuardedBuffer src(size_t{width} * kBytes[k.format], rng() % 16);
            fillRandom(src.data(), src.size(), rng);
            const size_t offset = rng() % 16;
            RowOutputs expected(k.shape, width, offset), actual(k.shape, width, offset);
            runKernel(k, k.reference, src.data(), width, expected);
            runKernel(k, k.vector, src.data(), width, actual);
            for (const auto& [e, a] : {std::make_pair(&expected.y, &actual.y), std::make_pair(&expected.a, &actual.a),
                                       std::make_pair(&expected.b, &actual.b)})
                ASSERT_TRUE(std::equal(e->data(), e->data() + e->size(), a->data()));
            ASSERT_TRUE(actual.guardsIntact());
            ASSERT_TRUE(expected.guardsIntact());
        }
    }
}

TEST(ColorRgbVector, GrayAndYCrCbMatchTheReferences) {
    std::mt19937 rng(99);
    for (const auto& g : comparisonGeometries(1, 1, 31, 20)) {
        const uint32_t srcStride = 3 * g.width + g.srcPadding;
        GuardedImage<uint8_t> src(3 * g.width, g.height, srcStride, g.srcOffset);
        src.fillRandom(rng);
        for (const uint32_t bytes : {1u, 3u}) {
            const uint32_t stride = bytes * g.width + g.dstPadding;
            GuardedImage<uint8_t> c(bytes * g.width, g.height, stride, g.dstOffset);
            GuardedImage<uint8_t> v(bytes * g.width, g.height, stride, g.dstOffset);
            auto* reference = bytes == 1 ? obxColorRGB888ToGrayu8C : obxColorRGB888toYCrCbu8C;
            auto* vector = bytes == 1 ? obxColorRGB888ToGrayu8V : obxColorRGB888toYCrCbu8V;
            reference(src.data(), g.width, g.height, srcStride, c.data(), stride);
            vector(src.data(), g.width, g.height, srcStride, v.data(), stride);
            ASSERT_EQ(pixelDifference(c, v), "") << g << (bytes == 1 ? " gray" : " YCrCb");
            ASSERT_TRUE(v.guardsIntact()) << g;
        }
    }
}

// ---- Assertion texts -------------------------------------------------------------------

std::string layoutContract(const Layout& l) {
    const std::string bpp = std::to_string(kBytes[l.format]);
    const std::string head = l.planar ? "src && dstY && dstCb && dstCr && srcWidth && srcHeight && "
                                      : "src && dstY && dstC && srcWidth && srcHeight && ";
    const std::string source = "( srcStride == 0 || srcStride >= (srcWidth*" + bpp + ")" +
                               (l.sampling == k444 ? " )" : ")") + " && ( dstYStride == 0 || dstYStride >= srcWidth )";
    if (l.planar && l.sampling == k444)
        return head + source + " && ( dstCbStride == 0 || dstCbStride >= srcWidth ) && ( dstCrStride == 0 || dstCrStride >= srcWidth )";
    if (l.planar)
        return head + source +
               " && ( dstCbStride == 0 || dstCbStride >= ((srcWidth+1)/2) ) && ( dstCrStride == 0 || dstCrStride >= ((srcWidth+1)/2) )";
    if (l.sampling == k444) return head + source + " && ( dstCStride == 0 || dstCStride >= (srcWidth*2) )";
    return head + source + " && ( dstCStride == 0 || dstCStride >= srcWidth )";
}

std::vector<AssertionCase> assertionCases() {
    static uint8_t src[64 * 4], y[64], a[64], b[64];
    std::vector<AssertionCase> cases;
    int i = 0;
    for (const Layout& l : kLayouts) {
        // Alternate between a short source stride, a short chroma stride and a null plane.
        const int kind = i++ % 3;
        const uint32_t srcStride = kind == 0 ? 8 * kBytes[l.format] - 1 : 0;
        const uint32_t chromaStride = kind == 1 ? 1 : 0;
        uint8_t* const luma = kind == 2 ? nullptr : y;
        std::function<void()> call = l.planar
            ? std::function<void()>([=] { l.planar(src, 8, 2, srcStride, luma, a, b, 0, 0, chromaStride); })
            : std::function<void()>([=] { l.pseudo(src, 8, 2, srcStride, luma, a, 0, chromaStride); });
        cases.push_back({l.name(), call, "src/cpu/ombrixColorRgbC", layoutContract(l)});
    }
    const char kYCrCb[] = "src && dst && srcWidth && srcHeight";
    const char kGray[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth)";
    cases.push_back({"YCrCb C", [] { obxColorRGB888toYCrCbu8C(src, 4, 0, 12, y, 12); }, "src/cpu/ombrixColorRgbC", kYCrCb});
    cases.push_back({"YCrCb V", [] { obxColorRGB888toYCrCbu8V(src, 4, 2, 12, nullptr, 12); }, "src/lanex/ombrixColorRgbV", kYCrCb});
    cases.push_back({"Gray C", [] { obxColorRGB888ToGrayu8C(src, 8, 2, 7, y, 8); }, "src/cpu/ombrixColorRgbC", kGray});
    cases.push_back({"Gray V", [] { obxColorRGB888ToGrayu8V(src, 8, 2, 24, y, 7); }, "src/lanex/ombrixColorRgbV", kGray});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorRgb, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

}  // namespace
