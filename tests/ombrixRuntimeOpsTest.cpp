// The runtime operations: obxCopy's vector variant against its reference.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

TEST(Copy, VectorMatchesReferenceForEverySizeAndAlignment) {
    std::mt19937 rng(20261122);
    std::vector<uint32_t> sizes = {511, 1024, 4097, 65536 + 13};
    for (uint32_t size = 0; size <= 300; ++size) sizes.push_back(size);
    for (uint32_t size : sizes) {
        const size_t srcOffset = rng() % 16, dstOffset = rng() % 16;
        GuardedBuffer src(size, srcOffset);
        fillRandom(src.data(), size, rng);
        GuardedBuffer reference(size, dstOffset, 0x11), vector(size, dstOffset, 0x22);
        obxCopyC(reference.data(), src.data(), size);
        obxCopyV(vector.data(), src.data(), size);
        ASSERT_EQ(memcmp(reference.data(), src.data(), size), 0) << "size " << size;
        ASSERT_EQ(memcmp(vector.data(), reference.data(), size), 0)
            << "size " << size << " offsets " << srcOffset << "/" << dstOffset;
        ASSERT_TRUE(reference.guardsIntact()) << size;
        ASSERT_TRUE(vector.guardsIntact()) << size;
        ASSERT_TRUE(src.guardsIntact()) << size;
    }
}

}  // namespace
