// Global threshold: every pixel value against thresholds at and beyond the
// ends of the range, and the vector variant against the reference.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

obxFilterThresholdu8_v2_fn* const kImplementations[] = {obxFilterThresholdu8C, obxFilterThresholdu8V};

// Every pixel value 0..255 once, in rows of `width` (the last row padded
// with 0): below the threshold is 0, from the threshold up (equal included)
// 255, so 0 makes everything 255 and 256 or more everything 0.
TEST(Threshold, BelowIsZeroAndFromTheThresholdUpIs255) {
    for (obxFilterThresholdu8_v2_fn* threshold : kImplementations) {
        for (uint32_t width : {1u, 7u, 16u, 31u, 64u, 67u}) {
            GuardedImage<uint8_t> src(width, (256 + width - 1) / width, width + 3, 1);
            src.fill(0);
            for (uint32_t v = 0; v < 256; ++v) src.at(v % width, v / width) = static_cast<uint8_t>(v);
            for (uint32_t t : {0u, 1u, 100u, 128u, 200u, 255u, 256u, 1000u, 0x7FFFFFFFu}) {
                SCOPED_TRACE(::testing::Message() << (threshold == obxFilterThresholdu8V ? "vector" : "reference")
                                                  << " width " << width << " threshold " << t);
                GuardedImage<uint8_t> dst(src.width(), src.height(), width + 5, 2);
                threshold(src.data(), src.width(), src.height(), src.stride(), dst.data(), dst.stride(), t);
                for (uint32_t v = 0; v < 256; ++v) ASSERT_EQ(dst.at(v % width, v / width), v < t ? 0 : 255) << v;
                EXPECT_TRUE(dst.guardsIntact());
            }
        }
    }
}

TEST(Threshold, ZeroWidthOrHeightWritesNothing) {
    for (obxFilterThresholdu8_v2_fn* threshold : kImplementations) {
        GuardedImage<uint8_t> src(20, 4, 20, 0), dst(20, 4, 20, 0);
        src.fill(200);
        threshold(src.data(), 0, 4, src.stride(), dst.data(), dst.stride(), 10);
        threshold(src.data(), 20, 0, src.stride(), dst.data(), dst.stride(), 10);
        threshold(src.data(), 0, 0, 1, dst.data(), 1, 10);
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 20; ++x) EXPECT_EQ(dst.at(x, y), GuardedBuffer::kSentinel);
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(ThresholdVector, MatchesReference) {
    for (uint32_t threshold : {0u, 1u, 128u, 255u, 256u, 65536u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(threshold);
        auto with = [threshold](obxFilterThresholdu8_v2_fn* f) {
            return [f, threshold](const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcStride, uint8_t* dst,
                                  uint32_t dstStride) { f(src, w, h, srcStride, dst, dstStride, threshold); };
        };
        expectSameAsReference(with(kImplementations[0]), with(kImplementations[1]), 1, 1, 5000 + threshold % 1000, 15);
    }
}

}  // namespace
