// Binomial smoothing filters and the 3x3 median: hand-checked cases, the
// assertion texts of every reference and vector variant, a direct 2-D
// evaluation of the definition, and randomized vector-against-reference
// comparisons over many shapes.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using ombrix_test::comparisonGeometries;
using ombrix_test::GuardedImage;
using ombrix_test::ImageGeometry;
using ombrix_test::pixelDifference;

template <typename T>
using BlurFn = void(const T*, uint32_t, uint32_t, uint32_t, T*, uint32_t, uint32_t);

template <typename T>
struct BlurOp {
    const char* name;
    BlurFn<T>* reference;
    BlurFn<T>* vector;
    int radius;
    uint32_t minWidth, minHeight;  // the smallest image the assertions admit
};

const BlurOp<uint8_t> kGaussian3x3u8 = {"Gaussian3x3u8", obxFilterGaussian3x3u8C, obxFilterGaussian3x3u8V, 1, 2, 1};
const BlurOp<uint8_t> kGaussian5x5u8 = {"Gaussian5x5u8", obxFilterGaussian5x5u8C, obxFilterGaussian5x5u8V, 2, 5, 5};
const BlurOp<uint8_t> kGaussian11x11u8 = {"Gaussian11x11u8", obxFilterGaussian11x11u8C, obxFilterGaussian11x11u8V,
                                          5, 11, 11};
const BlurOp<int16_t> kGaussian5x5s16 = {"Gaussian5x5s16", obxFilterGaussian5x5s16C, obxFilterGaussian5x5s16V, 2, 1, 2};
const BlurOp<int32_t> kGaussian5x5s32 = {"Gaussian5x5s32", obxFilterGaussian5x5s32C, obxFilterGaussian5x5s32V, 2, 5, 5};

// ---- The definition, evaluated directly ------------------------------------------

int64_t binomialTap(int radius, int k) {  // C(2 * radius, k)
    int64_t c = 1;
    for (int i = 0; i < k; ++i) c = c * (2 * radius - i) / (i + 1);
    return c;
}

// The filtered value of pixel (x, y): the weighted sum over the taps inside
// the image, formed modulo 2^32 as signed 32-bit arithmetic would; interior
// pixels shift it right by 2 * 2r bits, border pixels divide it by the
// weights used, truncating toward zero.
template <typename T>
T expectedBlur(const GuardedImage<T>& src, int radius, uint32_t x, uint32_t y) {
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
// unless blurBorder is 1.
template <typename T>
std::string definitionDifference(const GuardedImage<T>& src, const GuardedImage<T>& before,
                                 const GuardedImage<T>& dst, int radius, uint32_t blurBorder) {
    const uint32_t r = static_cast<uint32_t>(radius);
    for (uint32_t y = 0; y < src.height(); ++y) {
        for (uint32_t x = 0; x < src.width(); ++x) {
            const bool interior = x >= r && y >= r && x + r < src.width() && y + r < src.height();
            const T expected = interior || blurBorder == 1 ? expectedBlur(src, radius, x, y) : before.at(x, y);
            if (dst.at(x, y) != expected)
                return "at (" + std::to_string(x) + ", " + std::to_string(y) + ") expected " +
                       std::to_string(+expected) + ", got " + std::to_string(+dst.at(x, y));
        }
    }
    return {};
}

uint8_t expectedMedian(const GuardedImage<uint8_t>& src, uint32_t x, uint32_t y) {
    uint8_t nine[9];
    for (int k = 0; k < 9; ++k) nine[k] = src.at(x - 1 + k % 3, y - 1 + k / 3);
    std::nth_element(nine, nine + 4, nine + 9);
    return nine[4];
}

// ---- Hand-checked cases ----------------------------------------------------------

template <typename T>
GuardedImage<T> imageOf(uint32_t width, uint32_t height, const std::vector<T>& pixels, uint32_t padding = 3) {
    GuardedImage<T> image(width, height, (width + padding) * sizeof(T), 0);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) image.at(x, y) = pixels[y * width + x];
    return image;
}

template <typename T>
void runBoth(const BlurOp<T>& op, const GuardedImage<T>& src, uint32_t blurBorder,
             const std::function<void(const GuardedImage<T>&, const char*)>& check, T initial = T{77}) {
    for (int v = 0; v < 2; ++v) {
        GuardedImage<T> dst(src.width(), src.height(), src.stride(), 5 * sizeof(T));  // misaligned rows, aligned elements
        dst.fill(initial);
        (v ? op.vector : op.reference)(src.data(), src.width(), src.height(), src.stride(), dst.data(),
                                       dst.stride(), blurBorder);
        check(dst, v ? "vector" : "reference");
        EXPECT_TRUE(dst.guardsIntact()) << op.name << (v ? " vector" : " reference");
    }
}

TEST(Gaussian3x3u8, CentreOfAPointIsTruncated) {
    const GuardedImage<uint8_t> src = imageOf<uint8_t>(3, 3, {0, 0, 0, 0, 15, 0, 0, 0, 0});
    runBoth<uint8_t>(kGaussian3x3u8, src, 0, [](const GuardedImage<uint8_t>& dst, const char* which) {
        EXPECT_EQ(dst.at(1, 1), 3) << which << ": 60 / 16 truncates to 3";
        EXPECT_EQ(dst.at(0, 0), 77) << which;
    });
}

TEST(Gaussian3x3u8, BorderDividesByTheWeightsInside) {
    // Corners use weights 4 2 2 1 (divisor 9), edges 2 4 2 + 1 2 1 (divisor 12).
    const GuardedImage<uint8_t> src = imageOf<uint8_t>(3, 3, {10, 20, 30, 40, 50, 60, 70, 80, 99});
    const uint8_t expected[9] = {
        23, 30, 36,  // 210/9, 360/12, 330/9
        43, 50, 58,  // 520/12, 809/16, 698/12
        63, 71, 80,  // 570/9, 858/12, 726/9
    };
    runBoth<uint8_t>(kGaussian3x3u8, src, 1, [&](const GuardedImage<uint8_t>& dst, const char* which) {
        for (uint32_t i = 0; i < 9; ++i) EXPECT_EQ(dst.at(i % 3, i / 3), expected[i]) << which << " pixel " << i;
    });
}

template <typename T>
void expectConstantStaysConstant(const BlurOp<T>& op, T value, uint32_t width, uint32_t height) {
    GuardedImage<T> src(width, height, (width + 2) * sizeof(T), 0);
    src.fill(value);
    runBoth<T>(op, src, 1, [&](const GuardedImage<T>& dst, const char* which) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                ASSERT_EQ(dst.at(x, y), value) << op.name << " " << which << " at " << x << ", " << y;
    });
}

TEST(Gaussian, ConstantImageStaysConstantBorderIncluded) {
    for (uint8_t v : {0, 1, 128, 200, 255}) {
        expectConstantStaysConstant(kGaussian3x3u8, v, 9, 7);
        expectConstantStaysConstant(kGaussian5x5u8, v, 23, 9);
        expectConstantStaysConstant(kGaussian11x11u8, v, 40, 13);
    }
    for (int16_t v : {int16_t{-32768}, int16_t{-7}, int16_t{0}, int16_t{1234}, int16_t{32767}}) {
        expectConstantStaysConstant(kGaussian5x5s16, v, 21, 6);
        expectConstantStaysConstant(kGaussian5x5s16, v, 3, 2);
    }
    // 256 * |v| must stay below 2^31 for a constant to survive the sum.
    for (int32_t v : {-8388608, -5, 0, 99, 8388607}) expectConstantStaysConstant(kGaussian5x5s32, v, 19, 7);
}

template <typename T>
void expectBorderUntouched(const BlurOp<T>& op, uint32_t blurBorder) {
    const uint32_t width = 4 * op.radius + 9, height = 2 * op.radius + 3, r = op.radius;
    GuardedImage<T> src(width, height, width * sizeof(T), 0);
    src.fill(T{100});
    runBoth<T>(op, src, blurBorder, [&](const GuardedImage<T>& dst, const char* which) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const bool interior = x >= r && y >= r && x + r < width && y + r < height;
                ASSERT_EQ(dst.at(x, y), interior ? T{100} : T{77})
                    << op.name << " " << which << " blurBorder " << blurBorder << " at " << x << ", " << y;
            }
    });
}

TEST(Gaussian, BorderUntouchedUnlessBlurBorderIsOne) {
    for (uint32_t blurBorder : {0u, 2u, 0xFFFFFFFFu}) {
        expectBorderUntouched(kGaussian3x3u8, blurBorder);
        expectBorderUntouched(kGaussian5x5u8, blurBorder);
        expectBorderUntouched(kGaussian11x11u8, blurBorder);
        expectBorderUntouched(kGaussian5x5s16, blurBorder);
        expectBorderUntouched(kGaussian5x5s32, blurBorder);
    }
}

// A single -100 in the middle of a 5x5 image: the interior shift rounds
// toward minus infinity, the border division toward zero.
template <typename T>
void expectSignedRounding(const BlurOp<T>& op) {
    std::vector<T> pixels(25, T{0});
    pixels[12] = T{-100};
    const GuardedImage<T> src = imageOf<T>(5, 5, pixels);
    runBoth<T>(op, src, 1, [&](const GuardedImage<T>& dst, const char* which) {
        EXPECT_EQ(dst.at(2, 2), -15) << op.name << " " << which << ": -3600 >> 8";
        EXPECT_EQ(dst.at(1, 1), -7) << op.name << " " << which << ": -1600 / 225";
        EXPECT_EQ(dst.at(2, 0), -3) << op.name << " " << which << ": -600 / 176";
        EXPECT_EQ(dst.at(0, 0), 0) << op.name << " " << which << ": -100 / 121";
        EXPECT_EQ(dst.at(4, 3), -2) << op.name << " " << which << ": -400 / 165";
    });
}

TEST(Gaussian, NegativeValuesShiftDownAndDivideTowardZero) {
    expectSignedRounding(kGaussian5x5s16);
    expectSignedRounding(kGaussian5x5s32);
}

TEST(Gaussian5x5s32, SumsWrapLikeSigned32BitArithmetic) {
    // A 3x3 block of INT32_MAX: every sum that covers it wraps.
    std::vector<int32_t> pixels(49, 0);
    for (int y = 2; y <= 4; ++y)
        for (int x = 2; x <= 4; ++x) pixels[y * 7 + x] = std::numeric_limits<int32_t>::max();
    const GuardedImage<int32_t> src = imageOf<int32_t>(7, 7, pixels);
    const GuardedImage<int32_t> before = imageOf<int32_t>(7, 7, std::vector<int32_t>(49, 77));
    runBoth<int32_t>(kGaussian5x5s32, src, 1, [&](const GuardedImage<int32_t>& dst, const char* which) {
        EXPECT_EQ(definitionDifference(src, before, dst, 2, 1), "") << which;
        // The centre's weights over the block sum to 196: 196 * (2^31 - 1)
        // is -196 modulo 2^32, and -196 >> 8 is -1.
        EXPECT_EQ(dst.at(3, 3), -1) << which;
    });
}

template <typename T>
void expectMatchesDefinition(const BlurOp<T>& op, uint32_t width, uint32_t height, uint32_t blurBorder,
                             uint32_t seed) {
    std::mt19937 rng(seed);
    GuardedImage<T> src(width, height, width * sizeof(T), 3 * sizeof(T));
    src.fillRandom(rng);
    GuardedImage<T> before(width, height, (width + 1) * sizeof(T), 0);
    before.fillRandom(rng);
    for (int v = 0; v < 2; ++v) {
        GuardedImage<T> dst(width, height, before.stride(), 0);
        dst.copyPixelsFrom(before);
        (v ? op.vector : op.reference)(src.data(), width, height, src.stride(), dst.data(), dst.stride(),
                                       blurBorder);
        ASSERT_EQ(definitionDifference(src, before, dst, op.radius, blurBorder), "")
            << op.name << (v ? " vector " : " reference ") << width << "x" << height << " blurBorder "
            << blurBorder;
        ASSERT_TRUE(dst.guardsIntact());
    }
}

TEST(Gaussian, ReferenceAndVectorFollowTheDefinition) {
    uint32_t seed = 1;
    for (uint32_t blurBorder : {0u, 1u}) {
        // srcStride == srcWidth (packed source) throughout.
        for (uint32_t w : {2u, 3u, 7u, 8u, 13u, 31u})
            for (uint32_t h : {1u, 2u, 3u, 6u}) expectMatchesDefinition(kGaussian3x3u8, w, h, blurBorder, seed++);
        for (uint32_t w : {5u, 6u, 21u, 37u}) expectMatchesDefinition(kGaussian5x5u8, w, 5 + w % 4, blurBorder, seed++);
        for (uint32_t w : {11u, 12u, 30u, 45u})
            expectMatchesDefinition(kGaussian11x11u8, w, 11 + w % 5, blurBorder, seed++);
        for (uint32_t w : {5u, 9u, 26u}) expectMatchesDefinition(kGaussian5x5s32, w, 5 + w % 3, blurBorder, seed++);
        for (uint32_t w : {5u, 17u, 40u}) expectMatchesDefinition(kGaussian5x5s16, w, 5 + w % 3, blurBorder, seed++);
    }
}

TEST(Gaussian5x5s16, NarrowImagesHaveOnlyABorder) {
    uint32_t seed = 100;
    for (uint32_t w = 1; w <= 4; ++w)
        for (uint32_t h = 2; h <= 6; ++h)
            for (uint32_t blurBorder : {0u, 1u}) expectMatchesDefinition(kGaussian5x5s16, w, h, blurBorder, seed++);
}

// A 5x6 image with packed rows, passed with one byte more than the row in
// both strides: the extra byte must be dropped by the element conversion.
template <typename T>
void expectStrideRemainderDropped(const BlurOp<T>& op, uint32_t seed) {
    std::mt19937 rng(seed);
    const uint32_t rowBytes = 5 * sizeof(T);
    GuardedImage<T> src(5, 6, rowBytes, 0), reference(5, 6, rowBytes, 0), vector(5, 6, rowBytes, 0);
    src.fillRandom(rng);
    op.reference(src.data(), 5, 6, rowBytes + 1, reference.data(), rowBytes + 1, 1);
    op.vector(src.data(), 5, 6, rowBytes + 1, vector.data(), rowBytes + 1, 1);
    const GuardedImage<T> untouched(5, 6, rowBytes, 0);
    EXPECT_EQ(definitionDifference(src, untouched, reference, op.radius, 1), "") << op.name;
    EXPECT_EQ(pixelDifference(reference, vector), "") << op.name;
}

TEST(Gaussian, ByteStrideRemaindersAreDropped) {
    expectStrideRemainderDropped(kGaussian5x5s16, 7);  // 11 bytes: 5 elements
    expectStrideRemainderDropped(kGaussian5x5s32, 8);  // 21 bytes: 5 elements
}

TEST(Gaussian, ThroughTheSlots) {
    const GuardedImage<uint8_t> src = imageOf<uint8_t>(3, 3, {0, 0, 0, 0, 15, 0, 0, 0, 0}, 0);
    uint8_t dst[9] = {};
    (*ppobxFilterGaussian3x3u8_v2)(src.data(), 3, 3, 3, dst, 3, 0);
    EXPECT_EQ(dst[4], 3);
    uint8_t dstMedian[9] = {};
    (*ppobxFilterMedian3x3u8_v2)(src.data(), 3, 3, 3, dstMedian, 3);
    EXPECT_EQ(dstMedian[4], 0);
}

// ---- Median ----------------------------------------------------------------------

using MedianFn = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);
MedianFn* const kMedians[] = {obxFilterMedian3x3u8C, obxFilterMedian3x3u8V};

TEST(Median3x3u8, ThreeByThreeWritesOnlyTheCentre) {
    const GuardedImage<uint8_t> src = imageOf<uint8_t>(3, 3, {9, 1, 8, 2, 7, 3, 6, 4, 5});
    for (MedianFn* median : kMedians) {
        GuardedImage<uint8_t> dst(3, 3, 6, 1);
        dst.fill(200);
        median(src.data(), 3, 3, src.stride(), dst.data(), dst.stride());
        for (uint32_t i = 0; i < 9; ++i) EXPECT_EQ(dst.at(i % 3, i / 3), i == 4 ? 5 : 200) << i;
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(Median3x3u8, HandExample) {
    // Neighbourhood of (1, 1): 10 200 30 / 0 90 90 / 255 40 90 -> sorted
    // 0 10 30 40 90 90 90 200 255, median 90. Of (2, 1): 200 30 7 / 90 90 5 /
    // 40 90 1 -> 1 5 7 30 40 90 90 90 200, median 40.
    const GuardedImage<uint8_t> src = imageOf<uint8_t>(4, 3, {10, 200, 30, 7, 0, 90, 90, 5, 255, 40, 90, 1});
    for (MedianFn* median : kMedians) {
        GuardedImage<uint8_t> dst(4, 3, 4, 0);
        median(src.data(), 4, 3, src.stride(), dst.data(), dst.stride());
        EXPECT_EQ(dst.at(1, 1), 90);
        EXPECT_EQ(dst.at(2, 1), 40);
        EXPECT_EQ(dst.at(0, 1), 0xA5) << "the border is not written";
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(Median3x3u8, SmallImagesWriteNothing) {
    for (uint32_t w = 1; w <= 4; ++w)
        for (uint32_t h = 1; h <= 4; ++h) {
            if (w >= 3 && h >= 3) continue;
            GuardedImage<uint8_t> src(w, h, w, 0), dst(w, h, w + 2, 3);
            src.fill(9);
            for (MedianFn* median : kMedians) {
                median(src.data(), w, h, w, dst.data(), dst.stride());
                for (uint32_t y = 0; y < h; ++y)
                    for (uint32_t x = 0; x < w; ++x) ASSERT_EQ(dst.at(x, y), 0xA5) << w << "x" << h;
                ASSERT_TRUE(dst.guardsIntact());
            }
        }
}

TEST(Median3x3u8, ReferenceIsTheFifthSmallest) {
    std::mt19937 rng(11);
    for (uint32_t w : {3u, 4u, 17u, 50u}) {
        for (uint32_t h : {3u, 5u, 9u}) {
            GuardedImage<uint8_t> src(w, h, w + 1, 0), dst(w, h, w, 2);
            src.fillRandom(rng);
            if (w == 50) {  // few distinct values: many ties
                for (uint32_t y = 0; y < h; ++y)
                    for (uint32_t x = 0; x < w; ++x) src.at(x, y) = static_cast<uint8_t>(src.at(x, y) % 3);
            }
            obxFilterMedian3x3u8C(src.data(), w, h, src.stride(), dst.data(), dst.stride());
            for (uint32_t y = 1; y + 1 < h; ++y)
                for (uint32_t x = 1; x + 1 < w; ++x)
                    ASSERT_EQ(dst.at(x, y), expectedMedian(src, x, y)) << w << "x" << h << " at " << x << ", " << y;
        }
    }
}

// ---- Assertion texts -------------------------------------------------------------

using ombrix_test::AssertionCase;
using ombrix_test::AssertionText;

alignas(16) uint8_t gBytes[4096];
const uint8_t* const kSrc8 = gBytes;
uint8_t* const kDst8 = gBytes + 2048;
const int16_t* const kSrc16 = reinterpret_cast<const int16_t*>(gBytes);
int16_t* const kDst16 = reinterpret_cast<int16_t*>(gBytes + 2048);
const int32_t* const kSrc32 = reinterpret_cast<const int32_t*>(gBytes);
int32_t* const kDst32 = reinterpret_cast<int32_t*>(gBytes + 2048);

const char kGaussianContract[] = "srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
const char kMedianContract[] = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";

// Reference and vector variant of each operation take the same violations.
std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const std::string g = kGaussianContract;
    auto both = [&](const char* op, const char* referenceModule, const char* vectorModule, const std::string& text,
                    const char* what, auto call, auto reference, auto vector) {
        cases.push_back({std::string(op) + "C " + what, [=] { call(reference); }, referenceModule, text});
        cases.push_back({std::string(op) + "V " + what, [=] { call(vector); }, vectorModule, text});
    };
    const char* blurC = "src/cpu/ombrixBlurC";
    const char* blurV = "src/lanex/ombrixBlurV";
    const char* ilpC = "src/cpu/ombrixBlurIlpC";
    const char* ilpV = "src/lanex/ombrixBlurIlpV";

    using U8 = BlurFn<uint8_t>*;
    const U8 g3c = obxFilterGaussian3x3u8C, g3v = obxFilterGaussian3x3u8V;
    both("Gaussian3x3u8", blurC, blurV, g, "null source", [](U8 f) { f(nullptr, 8, 8, 8, kDst8, 8, 1); }, g3c, g3v);
    both("Gaussian3x3u8", blurC, blurV, g, "null destination", [](U8 f) { f(kSrc8, 8, 8, 8, nullptr, 8, 1); }, g3c, g3v);
    both("Gaussian3x3u8", blurC, blurV, g, "zero height", [](U8 f) { f(kSrc8, 8, 0, 8, kDst8, 8, 1); }, g3c, g3v);
    both("Gaussian3x3u8", blurC, blurV, g, "srcStride below width", [](U8 f) { f(kSrc8, 8, 8, 7, kDst8, 8, 1); }, g3c, g3v);
    both("Gaussian3x3u8", blurC, blurV, g, "zero dstStride", [](U8 f) { f(kSrc8, 8, 8, 8, kDst8, 0, 1); }, g3c, g3v);
    both("Gaussian3x3u8", blurC, blurV, "w6<=w_2 && w6>=w_2-5", "width 1 breaks the grouping bound",
         [](U8 f) { f(kSrc8, 1, 8, 1, kDst8, 1, 1); }, g3c, g3v);

    const std::string g5 = g + " && srcHeight > 4 && srcWidth > 4";
    const U8 g5c = obxFilterGaussian5x5u8C, g5v = obxFilterGaussian5x5u8V;
    both("Gaussian5x5u8", blurC, blurV, g5, "null source", [](U8 f) { f(nullptr, 8, 8, 8, kDst8, 8, 1); }, g5c, g5v);
    both("Gaussian5x5u8", blurC, blurV, g5, "height 4", [](U8 f) { f(kSrc8, 8, 4, 8, kDst8, 8, 1); }, g5c, g5v);
    both("Gaussian5x5u8", blurC, blurV, g5, "width 4", [](U8 f) { f(kSrc8, 4, 8, 8, kDst8, 8, 1); }, g5c, g5v);
    both("Gaussian5x5u8", blurC, blurV, g5, "srcStride below width", [](U8 f) { f(kSrc8, 8, 8, 7, kDst8, 8, 1); }, g5c, g5v);

    const std::string g11 = g + " && srcHeight > 10 && srcWidth > 10";
    const U8 g11c = obxFilterGaussian11x11u8C, g11v = obxFilterGaussian11x11u8V;
    both("Gaussian11x11u8", blurC, blurV, g11, "null destination", [](U8 f) { f(kSrc8, 16, 16, 16, nullptr, 16, 1); }, g11c, g11v);
    both("Gaussian11x11u8", blurC, blurV, g11, "height 10", [](U8 f) { f(kSrc8, 16, 10, 16, kDst8, 16, 1); }, g11c, g11v);
    both("Gaussian11x11u8", blurC, blurV, g11, "width 10", [](U8 f) { f(kSrc8, 10, 16, 16, kDst8, 16, 1); }, g11c, g11v);

    using S16 = BlurFn<int16_t>*;
    const std::string g16 = g + " && srcHeight > 1";
    const S16 s16c = obxFilterGaussian5x5s16C, s16v = obxFilterGaussian5x5s16V;
    both("Gaussian5x5s16", blurC, blurV, g16, "height 1", [](S16 f) { f(kSrc16, 8, 1, 16, kDst16, 16, 1); }, s16c, s16v);
    both("Gaussian5x5s16", blurC, blurV, g16, "srcStride of 15 bytes is 7 elements",
         [](S16 f) { f(kSrc16, 8, 8, 15, kDst16, 16, 1); }, s16c, s16v);
    both("Gaussian5x5s16", blurC, blurV, g16, "dstStride of 1 byte is 0 elements",
         [](S16 f) { f(kSrc16, 8, 8, 16, kDst16, 1, 1); }, s16c, s16v);
    both("Gaussian5x5s16", blurC, blurV, g16, "zero width", [](S16 f) { f(kSrc16, 0, 8, 16, kDst16, 16, 1); }, s16c, s16v);

    using S32 = BlurFn<int32_t>*;
    const std::string g32 = g + " && srcWidth > 4 && srcHeight > 4";
    const S32 s32c = obxFilterGaussian5x5s32C, s32v = obxFilterGaussian5x5s32V;
    both("Gaussian5x5s32", ilpC, ilpV, g32, "width 4", [](S32 f) { f(kSrc32, 4, 8, 32, kDst32, 32, 1); }, s32c, s32v);
    both("Gaussian5x5s32", ilpC, ilpV, g32, "height 4", [](S32 f) { f(kSrc32, 8, 4, 32, kDst32, 32, 1); }, s32c, s32v);
    both("Gaussian5x5s32", ilpC, ilpV, g32, "srcStride of 31 bytes is 7 elements",
         [](S32 f) { f(kSrc32, 8, 8, 31, kDst32, 32, 1); }, s32c, s32v);
    both("Gaussian5x5s32", ilpC, ilpV, g32, "dstStride of 1 byte", [](S32 f) { f(kSrc32, 8, 8, 32, kDst32, 1, 1); }, s32c, s32v);
    both("Gaussian5x5s32", ilpC, ilpV, g32, "dstStride of 2 bytes", [](S32 f) { f(kSrc32, 8, 8, 32, kDst32, 2, 1); }, s32c, s32v);
    both("Gaussian5x5s32", ilpC, ilpV, g32, "dstStride of 3 bytes", [](S32 f) { f(kSrc32, 8, 8, 32, kDst32, 3, 1); }, s32c, s32v);

    using M = MedianFn*;
    const M mc = obxFilterMedian3x3u8C, mv = obxFilterMedian3x3u8V;
    both("Median3x3u8", ilpC, ilpV, kMedianContract, "null source", [](M f) { f(nullptr, 8, 8, 8, kDst8, 8); }, mc, mv);
    both("Median3x3u8", ilpC, ilpV, kMedianContract, "null destination", [](M f) { f(kSrc8, 8, 8, 8, nullptr, 8); }, mc, mv);
    both("Median3x3u8", ilpC, ilpV, kMedianContract, "zero width", [](M f) { f(kSrc8, 0, 8, 8, kDst8, 8); }, mc, mv);
    both("Median3x3u8", ilpC, ilpV, kMedianContract, "srcStride below width", [](M f) { f(kSrc8, 8, 8, 7, kDst8, 8); }, mc, mv);
    both("Median3x3u8", ilpC, ilpV, kMedianContract, "zero dstStride", [](M f) { f(kSrc8, 8, 8, 8, kDst8, 0); }, mc, mv);
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Blur, AssertionText, ::testing::ValuesIn(assertionCases()),
                         ombrix_test::assertionCaseName);

TEST(Gaussian, SmallestAdmittedSizesAndPackedStridesAreAccepted) {
    // srcStride == srcWidth passes every assertion (srcWidth - 1 fails above).
    expectMatchesDefinition(kGaussian3x3u8, 2, 1, 1, 31);
    expectMatchesDefinition(kGaussian5x5u8, 5, 5, 1, 32);
    expectMatchesDefinition(kGaussian11x11u8, 11, 11, 1, 33);
    expectMatchesDefinition(kGaussian5x5s16, 1, 2, 1, 34);
    expectMatchesDefinition(kGaussian5x5s16, 2, 2, 1, 35);
    expectMatchesDefinition(kGaussian5x5s32, 5, 5, 1, 36);
}

// ---- Vector against reference ----------------------------------------------------

enum class Content { Random, Extremes, Saturated };

template <typename T>
void fillContent(GuardedImage<T>& image, Content content, std::mt19937& rng) {
    constexpr T lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
    switch (content) {
        case Content::Random:
            image.fillRandom(rng);
            break;
        case Content::Extremes:  // every pixel the type's minimum or maximum
            for (uint32_t y = 0; y < image.height(); ++y)
                for (uint32_t x = 0; x < image.width(); ++x) image.at(x, y) = rng() & 1 ? hi : lo;
            break;
        case Content::Saturated:  // 255 for u8, the minimum for signed types
            image.fill(std::numeric_limits<T>::is_signed ? lo : hi);
            break;
    }
}

// Geometries in elements; signed images keep element-aligned rows and get a
// byte-stride remainder that the operation must drop.
template <typename T>
void compareVectorWithReference(const BlurOp<T>& op, uint32_t seed, int randomCount) {
    std::mt19937 rng(seed);
    for (const ImageGeometry& g : comparisonGeometries(op.minWidth, op.minHeight, seed, randomCount)) {
        const size_t align = sizeof(T);
        const uint32_t srcStride = (g.width + g.srcPadding) * sizeof(T);
        const uint32_t dstStride = (g.width + g.dstPadding) * sizeof(T);
        const uint32_t extra = static_cast<uint32_t>(g.srcOffset % align);
        GuardedImage<T> src(g.width, g.height, srcStride, g.srcOffset / align * align);
        for (Content content : {Content::Random, Content::Extremes, Content::Saturated}) {
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
                    << op.name << " " << g << " content " << static_cast<int>(content) << " blurBorder "
                    << blurBorder;
                ASSERT_TRUE(reference.guardsIntact()) << op.name << " reference " << g;
                ASSERT_TRUE(vector.guardsIntact()) << op.name << " vector " << g;
                ASSERT_TRUE(src.guardsIntact()) << op.name << " source " << g;
            }
        }
    }
}

constexpr int kRandomShapes = 60;

TEST(Gaussian3x3u8, VectorMatchesReference) { compareVectorWithReference(kGaussian3x3u8, 301, kRandomShapes); }
TEST(Gaussian5x5u8, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5u8, 302, kRandomShapes); }
TEST(Gaussian11x11u8, VectorMatchesReference) { compareVectorWithReference(kGaussian11x11u8, 303, kRandomShapes); }
TEST(Gaussian5x5s16, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5s16, 304, kRandomShapes); }
TEST(Gaussian5x5s32, VectorMatchesReference) { compareVectorWithReference(kGaussian5x5s32, 305, kRandomShapes); }

TEST(Median3x3u8, VectorMatchesReference) {
    std::mt19937 rng(306);
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 306, kRandomShapes)) {
        GuardedImage<uint8_t> src(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        for (Content content : {Content::Random, Content::Extremes, Content::Saturated}) {
            fillContent(src, content, rng);
            GuardedImage<uint8_t> reference(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
            GuardedImage<uint8_t> vector(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
            reference.fillRandom(rng);
            vector.copyPixelsFrom(reference);
            obxFilterMedian3x3u8C(src.data(), g.width, g.height, src.stride(), reference.data(), reference.stride());
            obxFilterMedian3x3u8V(src.data(), g.width, g.height, src.stride(), vector.data(), vector.stride());
            ASSERT_EQ(pixelDifference(reference, vector), "") << g << " content " << static_cast<int>(content);
            ASSERT_TRUE(reference.guardsIntact()) << g;
            ASSERT_TRUE(vector.guardsIntact()) << g;
        }
    }
}

}  // namespace
