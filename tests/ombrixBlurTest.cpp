// Binomial smoothing filters and the 3x3 median: hand-checked cases, a
// direct 2-D evaluation of the definition, the assertion texts of every
// reference and vector variant, and randomized vector-against-reference
// comparisons over many shapes.
#include <limits>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

template <typename T>
using BlurFn = void(const T*, uint32_t, uint32_t, uint32_t, T*, uint32_t, uint32_t);
using MedianFn = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

template <typename T>
struct BlurOp {
    const char* name;
    BlurFn<T>* reference;
    BlurFn<T>* vector;
    int radius;
    uint32_t minWidth, minHeight;  // the smallest image the assertions admit
    bool median = false;
};

// The median in the filters' shape; blurBorder does not apply to it.
template <MedianFn* Median>
void median(const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcStride, uint8_t* dst, uint32_t dstStride, uint32_t) {
    Median(src, w, h, srcStride, dst, dstStride);
}

const BlurOp<uint8_t> kGaussian3x3u8 = {"Gaussian3x3u8", obxFilterGaussian3x3u8C, obxFilterGaussian3x3u8V, 1, 2, 1};
const BlurOp<uint8_t> kGaussian5x5u8 = {"Gaussian5x5u8", obxFilterGaussian5x5u8C, obxFilterGaussian5x5u8V, 2, 5, 5};
const BlurOp<uint8_t> kGaussian11x11u8 = {"Gaussian11x11u8", obxFilterGaussian11x11u8C, obxFilterGaussian11x11u8V,
                                          5, 11, 11};
const BlurOp<int16_t> kGaussian5x5s16 = {"Gaussian5x5s16", obxFilterGaussian5x5s16C, obxFilterGaussian5x5s16V, 2, 1, 2};
const BlurOp<int32_t> kGaussian5x5s32 = {"Gaussian5x5s32", obxFilterGaussian5x5s32C, obxFilterGaussian5x5s32V, 2, 5, 5};
const BlurOp<uint8_t> kMedian3x3u8 = {"Median3x3u8", median<obxFilterMedian3x3u8C>, median<obxFilterMedian3x3u8V>,
                                      1, 1, 1, true};

// ---- The definitions, evaluated directly ------------------------------------------

int64_t binomialTap(int radius, int k) {  // C(2 * radius, k)
    int64_t c = 1;
    for (int i = 0; i < k; ++i) c = c * (2 * radius - i) / (i + 1);
    return c;
}

// The filtered value of pixel (x, y): the weighted sum over the taps inside
// the image, formed modulo 2^32 as signed 32-bit arithmetic would; interior
// pixels shift it right by 2 * 2r bits, border pixels divide it by the
// weights used, truncating toward zero. The median: the fifth smallest of
// the nine pixels around an interior pixel.
template <typename T>
T expectedBlur(const GuardedImage<T>& src, const BlurOp<T>& op, uint32_t x, uint32_t y) {
    if (op.median) {
        T nine[9];
        for (int k = 0; k < 9; ++k) nine[k] = src.at(x - 1 + k % 3, y - 1 + k / 3);
        std::nth_element(nine, nine + 4, nine + 9);
        return nine[4];
    }
    const int radius = op.radius;
    int64_t sum = 0, weight = 0;
    for (int j = -radius; j <= radius; ++j) {
        for (int i = -radius; i <= radius; ++i) {
            const int64_t sx = int64_t{x} + i, sy = int64_t{y} + j;
            if (sx < 0 || sy < 0 || sx >= src.width() || sy >= src.height()) continue;
            const int64_t w = binomialTap(radius, i + radius) * binomialTap(radius, j + radius);
            sum += w * src.at(static_cast<uint32_t>(sx), static_cast<uint32_t>(sy));
            weight += w;
        }
    }
    const int32_t wrapped = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(sum)));
    const uint32_t r = static_cast<uint32_t>(radius);
    const bool interior = x >= r && y >= r && x + r < src.width() && y + r < src.height();
    return static_cast<T>(interior ? wrapped >> (4 * radius) : wrapped / static_cast<int32_t>(weight));
}

// Checks dst against the definition; border pixels must equal `before`
// unless blurBorder is 1 (the median never writes them).
template <typename T>
std::string definitionDifference(const GuardedImage<T>& src, const GuardedImage<T>& before,
                                 const GuardedImage<T>& dst, const BlurOp<T>& op, uint32_t blurBorder) {
    const uint32_t r = static_cast<uint32_t>(op.radius);
    for (uint32_t y = 0; y < src.height(); ++y) {
        for (uint32_t x = 0; x < src.width(); ++x) {
            const bool interior = x >= r && y >= r && x + r < src.width() && y + r < src.height();
            const bool written = interior || (blurBorder == 1 && !op.median);
            const T expected = written ? expectedBlur(src, op, x, y) : before.at(x, y);
            if (dst.at(x, y) != expected)
                return "at (" + std::to_string(x) + ", " + std::to_string(y) + ") expected " +
                       std::to_string(+expected) + ", got " + std::to_string(+dst.at(x, y));
        }
    }
    return {};
}

// ---- Hand-checked cases ----------------------------------------------------------

template <typename T>
GuardedImage<T> imageOf(uint32_t width, uint32_t height, const std::vector<T>& pixels) {
    GuardedImage<T> image(width, height, (width + 3) * sizeof(T), 0);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) image.at(x, y) = pixels[y * width + x];
    return image;
}

// Pixels of the result of both implementations, whose destination starts as 77.
template <typename T>
struct HandCase {
    const char* what;
    uint32_t width, height;
    std::vector<T> pixels;
    uint32_t blurBorder;
    std::vector<std::vector<int64_t>> expected;  // {x, y, value}
};

template <typename T>
void expectHandCases(const BlurOp<T>& op, const std::vector<HandCase<T>>& cases) {
    for (const HandCase<T>& c : cases) {
        const GuardedImage<T> src = imageOf(c.width, c.height, c.pixels);
        for (BlurFn<T>* fn : {op.reference, op.vector}) {
            SCOPED_TRACE(::testing::Message() << op.name << (fn == op.vector ? " vector: " : " reference: ") << c.what);
            GuardedImage<T> dst(c.width, c.height, src.stride(), 5 * sizeof(T));  // misaligned rows, aligned elements
            dst.fill(T{77});
            fn(src.data(), c.width, c.height, src.stride(), dst.data(), dst.stride(), c.blurBorder);
            for (const auto& e : c.expected) EXPECT_EQ(dst.at(e[0], e[1]), e[2]) << e[0] << "," << e[1];
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

TEST(Gaussian, HandCheckedPixels) {
    expectHandCases<uint8_t>(kGaussian3x3u8, {
        {"60 / 16 truncates; no border", 3, 3, {0, 0, 0, 0, 15, 0, 0, 0, 0}, 0, {{1, 1, 3}, {0, 0, 77}}},
        // Corners use weights 4 2 2 1 (divisor 9), edges 2 4 2 + 1 2 1 (divisor 12).
        {"the border divides by the weights inside", 3, 3, {10, 20, 30, 40, 50, 60, 70, 80, 99}, 1,
         {{0, 0, 23}, {1, 0, 30}, {2, 0, 36},    // 210/9, 360/12, 330/9
          {0, 1, 43}, {1, 1, 50}, {2, 1, 58},    // 520/12, 809/16, 698/12
          {0, 2, 63}, {1, 2, 71}, {2, 2, 80}}},  // 570/9, 858/12, 726/9
    });
    // A single -100 in the middle of a 5x5 image: the interior shift rounds
    // toward minus infinity, the border division toward zero.
    const std::vector<std::vector<int64_t>> signedRounding = {
        {2, 2, -15},  // -3600 >> 8
        {1, 1, -7},   // -1600 / 225
        {2, 0, -3},   // -600 / 176
        {0, 0, 0},    // -100 / 121
        {4, 3, -2},   // -400 / 165
    };
    std::vector<int16_t> s16(25, 0);
    std::vector<int32_t> s32(25, 0);
    s16[12] = -100, s32[12] = -100;
    expectHandCases<int16_t>(kGaussian5x5s16, {{"signed rounding", 5, 5, s16, 1, signedRounding}});
    // A 3x3 block of INT32_MAX: the centre's weights over the block sum to
    // 196, 196 * (2^31 - 1) is -196 modulo 2^32, and -196 >> 8 is -1.
    std::vector<int32_t> block(49, 0);
    for (int y = 2; y <= 4; ++y)
        for (int x = 2; x <= 4; ++x) block[y * 7 + x] = std::numeric_limits<int32_t>::max();
    expectHandCases<int32_t>(kGaussian5x5s32, {{"signed rounding", 5, 5, s32, 1, signedRounding},
                                               {"sums wrap like signed 32-bit arithmetic", 7, 7, block, 1, {{3, 3, -1}}}});
}

// Random contents (for every third seed only three values: many ties), or
// a constant that must come out unchanged (256 * |v| must stay below 2^31
// for a 32-bit constant to survive the sum); the border keeps its old
// pixels unless blurBorder is 1. Packed sources; for odd seeds the byte
// strides of 16- and 32-bit images carry one byte more, which the
// conversion to elements must drop.
template <typename T>
void expectMatchesDefinition(const BlurOp<T>& op, uint32_t width, uint32_t height, uint32_t blurBorder,
                             uint32_t seed, const T* constant = nullptr) {
    const uint32_t remainder = sizeof(T) > 1 ? seed % 2 : 0;
    std::mt19937 rng(seed);
    GuardedImage<T> src(width, height, width * sizeof(T), 3 * sizeof(T));
    src.fillRandom(rng);
    for (uint32_t y = 0; y < height && seed % 3 == 0; ++y)
        for (uint32_t x = 0; x < width; ++x) src.at(x, y) = static_cast<T>(src.at(x, y) % 3);
    if (constant) src.fill(*constant);
    GuardedImage<T> before(width, height, (width + 1) * sizeof(T), 0);
    before.fillRandom(rng);
    for (BlurFn<T>* fn : {op.reference, op.vector}) {
        GuardedImage<T> dst(width, height, before.stride(), 0);
        dst.copyPixelsFrom(before);
        fn(src.data(), width, height, src.stride() + remainder, dst.data(), dst.stride() + remainder, blurBorder);
        ASSERT_EQ(definitionDifference(src, before, dst, op, blurBorder), "")
            << op.name << (fn == op.vector ? " vector " : " reference ") << width << "x" << height << " blurBorder "
            << blurBorder << " remainder " << remainder << (constant ? " constant " + std::to_string(+*constant) : "");
        ASSERT_TRUE(dst.guardsIntact());
    }
}

// Every size with blurBorder 0 and 1; the constants on the first size with
// blurBorder 0, 1, 2 and 2^32 - 1 (all but 1 leave the border untouched).
template <typename T>
void definitionSweep(const BlurOp<T>& op, const std::vector<std::pair<uint32_t, uint32_t>>& sizes,
                     const std::vector<T>& constants, uint32_t seed) {
    for (const auto& [w, h] : sizes)
        for (uint32_t blurBorder : {0u, 1u}) expectMatchesDefinition(op, w, h, blurBorder, seed++);
    for (const T& v : constants)
        for (uint32_t blurBorder : {0u, 1u, 2u, 0xFFFFFFFFu})
            expectMatchesDefinition(op, sizes[0].first, sizes[0].second, blurBorder, seed, &v);
}

TEST(Blur, ReferenceAndVectorFollowTheDefinition) {
    std::vector<std::pair<uint32_t, uint32_t>> sizes3 = {{13, 5}}, sizes16 = {{21, 6}, {5, 7}, {17, 7}, {40, 6}};
    for (uint32_t w : {2u, 3u, 7u, 8u, 13u, 31u})
        for (uint32_t h : {1u, 2u, 3u, 6u}) sizes3.push_back({w, h});
    for (uint32_t w = 1; w <= 4; ++w)  // narrow images have only a border
        for (uint32_t h = 2; h <= 6; ++h) sizes16.push_back({w, h});
    const std::vector<uint8_t> bytes = {0, 1, 100, 128, 200, 255};
    definitionSweep(kGaussian3x3u8, sizes3, bytes, 1);
    definitionSweep(kGaussian5x5u8, {{23, 9}, {5, 5}, {5, 6}, {6, 7}, {21, 6}, {37, 6}}, bytes, 100);
    definitionSweep(kGaussian11x11u8, {{40, 13}, {11, 11}, {11, 12}, {12, 13}, {30, 11}, {45, 11}}, bytes, 200);
    definitionSweep<int16_t>(kGaussian5x5s16, sizes16, {-32768, -7, 0, 100, 1234, 32767}, 300);
    definitionSweep<int32_t>(kGaussian5x5s32, {{19, 7}, {5, 5}, {5, 7}, {9, 5}, {26, 7}},
                             {-8388608, -5, 0, 99, 100, 8388607}, 400);
    std::vector<std::pair<uint32_t, uint32_t>> sizesMedian = {{17, 5}, {17, 9}, {50, 5}, {50, 9}};
    for (uint32_t w = 1; w <= 4; ++w)  // images under 3 rows or columns are not written
        for (uint32_t h = 1; h <= 4; ++h) sizesMedian.push_back({w, h});
    definitionSweep(kMedian3x3u8, sizesMedian, bytes, 500);
}

// ---- Median ----------------------------------------------------------------------

TEST(Median3x3u8, HandCheckedPixels) {
    expectHandCases<uint8_t>(kMedian3x3u8, {
        {"a 3x3 image writes only its centre", 3, 3, {9, 1, 8, 2, 7, 3, 6, 4, 5}, 0,
         {{0, 0, 77}, {1, 0, 77}, {2, 0, 77}, {0, 1, 77}, {1, 1, 5}, {2, 1, 77}, {0, 2, 77}, {1, 2, 77}, {2, 2, 77}}},
        // Neighbourhood of (1, 1): 10 200 30 / 0 90 90 / 255 40 90 -> sorted
        // 0 10 30 40 90 90 90 200 255, median 90. Of (2, 1): 200 30 7 / 90 90 5 /
        // 40 90 1 -> 1 5 7 30 40 90 90 90 200, median 40.
        {"two neighbourhoods", 4, 3, {10, 200, 30, 7, 0, 90, 90, 5, 255, 40, 90, 1}, 0,
         {{1, 1, 90}, {2, 1, 40}, {0, 1, 77}, {3, 1, 77}}},
    });
}

// ---- Assertion texts -------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];

struct Violation {
    const char* what;
    uint32_t width, height, srcStride, dstStride;
    bool nullSrc, nullDst;
};

template <typename T>
void call(BlurFn<T>* f, const Violation& v) {
    f(v.nullSrc ? nullptr : reinterpret_cast<const T*>(gBytes), v.width, v.height, v.srcStride,
      v.nullDst ? nullptr : reinterpret_cast<T*>(gBytes + 2048), v.dstStride, 1);
}
void call(MedianFn* f, const Violation& v) {
    f(v.nullSrc ? nullptr : gBytes, v.width, v.height, v.srcStride, v.nullDst ? nullptr : gBytes + 2048, v.dstStride);
}

// Reference and vector variant of each operation take the same violations.
template <typename Fn>
void addBoth(std::vector<AssertionCase>& cases, const char* op, const char* family, Fn* reference,
             Fn* vector, const std::string& text, std::initializer_list<Violation> violations) {
    for (const Violation& v : violations)
        for (Fn* f : {reference, vector})
            cases.push_back({std::string(op) + (f == vector ? "V " : "C ") + v.what, [f, v] { call(f, v); },
                             moduleOf(family, f == vector), text});
}

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const std::string g = "srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
    addBoth(cases, "Gaussian3x3u8", "Blur", obxFilterGaussian3x3u8C, obxFilterGaussian3x3u8V, g,
            {{"null source", 8, 8, 8, 8, true, false}, {"null destination", 8, 8, 8, 8, false, true},
             {"zero height", 8, 0, 8, 8, false, false}, {"srcStride below width", 8, 8, 7, 8, false, false},
             {"zero dstStride", 8, 8, 8, 0, false, false}});
    addBoth(cases, "Gaussian3x3u8", "Blur", obxFilterGaussian3x3u8C, obxFilterGaussian3x3u8V, "w6<=w_2 && w6>=w_2-5",
            {{"width 1 breaks the grouping bound", 1, 8, 1, 1, false, false}});
    addBoth(cases, "Gaussian5x5u8", "Blur", obxFilterGaussian5x5u8C, obxFilterGaussian5x5u8V,
            g + " && srcHeight > 4 && srcWidth > 4",
            {{"null source", 8, 8, 8, 8, true, false}, {"height 4", 8, 4, 8, 8, false, false},
             {"width 4", 4, 8, 8, 8, false, false}, {"srcStride below width", 8, 8, 7, 8, false, false}});
    addBoth(cases, "Gaussian11x11u8", "Blur", obxFilterGaussian11x11u8C, obxFilterGaussian11x11u8V,
            g + " && srcHeight > 10 && srcWidth > 10",
            {{"null destination", 16, 16, 16, 16, false, true}, {"height 10", 16, 10, 16, 16, false, false},
             {"width 10", 10, 16, 16, 16, false, false}});
    addBoth(cases, "Gaussian5x5s16", "Blur", obxFilterGaussian5x5s16C, obxFilterGaussian5x5s16V, g + " && srcHeight > 1",
            {{"height 1", 8, 1, 16, 16, false, false}, {"srcStride of 15 bytes is 7 elements", 8, 8, 15, 16, false, false},
             {"dstStride of 1 byte is 0 elements", 8, 8, 16, 1, false, false}, {"zero width", 0, 8, 16, 16, false, false}});
    addBoth(cases, "Gaussian5x5s32", "BlurIlp", obxFilterGaussian5x5s32C, obxFilterGaussian5x5s32V,
            g + " && srcWidth > 4 && srcHeight > 4",
            {{"width 4", 4, 8, 32, 32, false, false}, {"height 4", 8, 4, 32, 32, false, false},
             {"srcStride of 31 bytes is 7 elements", 8, 8, 31, 32, false, false},
             {"dstStride of 1 byte", 8, 8, 32, 1, false, false}, {"dstStride of 2 bytes", 8, 8, 32, 2, false, false},
             {"dstStride of 3 bytes", 8, 8, 32, 3, false, false}});
    addBoth(cases, "Median3x3u8", "BlurIlp", obxFilterMedian3x3u8C, obxFilterMedian3x3u8V,
            "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride",
            {{"null source", 8, 8, 8, 8, true, false}, {"null destination", 8, 8, 8, 8, false, true},
             {"zero width", 0, 8, 8, 8, false, false}, {"srcStride below width", 8, 8, 7, 8, false, false},
             {"zero dstStride", 8, 8, 8, 0, false, false}});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Blur, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

// ---- Vector against reference ----------------------------------------------------

// Random pixels, every pixel the type's minimum or maximum, and all 255 for
// u8 or the minimum for signed types.
template <typename T>
void fillContent(GuardedImage<T>& image, int content, std::mt19937& rng) {
    constexpr T lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
    image.fillRandom(rng);
    for (uint32_t y = 0; y < image.height() && content; ++y)
        for (uint32_t x = 0; x < image.width(); ++x)
            image.at(x, y) = content == 2 ? (std::numeric_limits<T>::is_signed ? lo : hi) : image.at(x, y) & 1 ? hi : lo;
}

// Geometries in elements; signed images keep element-aligned rows and get a
// byte-stride remainder that the operation must drop.
template <typename T>
void compareVectorWithReference(const BlurOp<T>& op, uint32_t seed) {
    std::mt19937 rng(seed);
    for (const ImageGeometry& g : comparisonGeometries(op.minWidth, op.minHeight, seed, 60)) {
        const size_t align = sizeof(T);
        const uint32_t srcStride = (g.width + g.srcPadding) * sizeof(T);
        const uint32_t dstStride = (g.width + g.dstPadding) * sizeof(T);
        const uint32_t extra = static_cast<uint32_t>(g.srcOffset % align);
        GuardedImage<T> src(g.width, g.height, srcStride, g.srcOffset / align * align);
        for (int content : {0, 1, 2}) {
            fillContent(src, content, rng);
            for (uint32_t blurBorder : {0u, 1u}) {
                GuardedImage<T> reference(g.width, g.height, dstStride, g.dstOffset / align * align);
                GuardedImage<T> vector(g.width, g.height, dstStride, g.dstOffset / align * align);
                reference.fillRandom(rng);
                vector.copyPixelsFrom(reference);
                op.reference(src.data(), g.width, g.height, srcStride + extra, reference.data(), dstStride + extra,
                             blurBorder);
                op.vector(src.data(), g.width, g.height, srcStride + extra, vector.data(), dstStride + extra,
                          blurBorder);
                ASSERT_EQ(pixelDifference(reference, vector), "")
                    << op.name << " " << g << " content " << content << " blurBorder " << blurBorder;
                ASSERT_TRUE(reference.guardsIntact()) << op.name << " reference " << g;
                ASSERT_TRUE(vector.guardsIntact()) << op.name << " vector " << g;
                ASSERT_TRUE(src.guardsIntact()) << op.name << " source " << g;
            }
        }
    }
}

TEST(Gaussian3x3u8, VectorMatchesReference) { compareVectorWithReference(kGaussian3x3u8, 301); }
TEST(Gaussian5x5u8, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5u8, 302); }
TEST(Gaussian11x11u8, VectorMatchesReference) { compareVectorWithReference(kGaussian11x11u8, 303); }
TEST(Gaussian5x5s16, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5s16, 304); }
TEST(Gaussian5x5s32, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5s32, 305); }
TEST(Median3x3u8, VectorMatchesReference) { compareVectorWithReference(kMedian3x3u8, 306); }

}  // namespace
