// Comparison of an image operation with its reference over many shapes and
// contents, with guard bytes around every image.
#ifndef OMBRIX_NEIGHBOURHOOD_COMPARE_H
#define OMBRIX_NEIGHBOURHOOD_COMPARE_H

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

#include "ombrixTestSupport.h"

namespace ombrix_test {

// A u8 -> u8 image operation: src, width, height, srcStride, dst, dstStride.
using ImageCall = std::function<void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t)>;

enum class Content { Random, Sparse, AllZero, AllMax };

inline const char* contentName(Content content) {
    switch (content) {
        case Content::Random: return "random";
        case Content::Sparse: return "sparse";
        case Content::AllZero: return "all 0";
        case Content::AllMax: return "all 255";
    }
    return "?";
}

inline void fillContent(GuardedImage<uint8_t>& image, Content content, std::mt19937& rng) {
    switch (content) {
        case Content::Random: image.fillRandom(rng); return;
        case Content::AllZero: image.fill(0); return;
        case Content::AllMax: image.fill(255); return;
        case Content::Sparse:  // mostly 0 with a few pixels of any value
            image.fill(0);
            for (uint32_t y = 0; y < image.height(); ++y)
                for (uint32_t x = 0; x < image.width(); ++x)
                    if (rng() % 16 == 0) image.at(x, y) = static_cast<uint8_t>(rng());
            return;
    }
}

// Runs `reference` and `candidate` on every shape of comparisonGeometries()
// (contents rotating through random, sparse, all 0 and all 255) and expects
// equal pixels, untouched row padding and guards, and an unchanged source.
inline void expectSameAsReference(const ImageCall& reference, const ImageCall& candidate, uint32_t minWidth,
                                  uint32_t minHeight, uint32_t seed, int randomCount = 30) {
    std::mt19937 rng(seed);
    const Content contents[] = {Content::Random, Content::Sparse, Content::Random, Content::AllZero,
                                Content::Random, Content::AllMax};
    size_t index = 0;
    for (const ImageGeometry& g : comparisonGeometries(minWidth, minHeight, seed, randomCount)) {
        const Content content = contents[index++ % (sizeof contents / sizeof contents[0])];
        SCOPED_TRACE(::testing::Message() << g << ", " << contentName(content));
        GuardedImage<uint8_t> src(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        fillContent(src, content, rng);
        GuardedImage<uint8_t> expected(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
        GuardedImage<uint8_t> actual(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
        reference(src.data(), g.width, g.height, src.stride(), expected.data(), expected.stride());
        candidate(src.data(), g.width, g.height, src.stride(), actual.data(), actual.stride());
        ASSERT_EQ(pixelDifference(expected, actual), "");
        ASSERT_TRUE(actual.guardsIntact());
        ASSERT_TRUE(expected.guardsIntact());
        ASSERT_TRUE(src.guardsIntact());
    }
}

}  // namespace ombrix_test

#endif  // OMBRIX_NEIGHBOURHOOD_COMPARE_H
