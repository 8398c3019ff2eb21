// The scratch pool, stand-alone scratch blocks and the aligned allocator.
#include <gtest/gtest.h>
#include <string.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixMemory.h"

namespace {

struct Header {
    uint32_t tag;
    uint8_t* back;
};

Header headerOf(void* buffer) {
    const uint8_t* at = static_cast<uint8_t*>(buffer) - kScratchHeaderSize;
    Header header;
    memcpy(&header.tag, at, sizeof header.tag);
    memcpy(&header.back, at + sizeof header.tag, sizeof header.back);
    return header;
}

bool alignedTo(const void* p, uintptr_t alignment) {
    return reinterpret_cast<uintptr_t>(p) % alignment == 0;
}

void* getAligned(uint32_t size, uint32_t alignment) {
    return obxGetScratchBufferAligned_(size, alignment);
}
void release(void* buffer) { obxReleaseScratchBuffer_(buffer); }
constexpr uint32_t kUnaligned = 0xFFFFFFFF;  // a request through the unaligned slot

// ---- Without the pool ----------------------------------------------------------

// A stand-alone block carries its own header; the buffer starts between
// header and header + alignment - 1 into the block. An alignment that is not
// a power of two behaves as 1; an unaligned request follows the header
// directly. Releasing null or a pointer without a tag does nothing.
TEST(ScratchStandAlone, BlocksCarryTheirOwnHeader) {
    for (uint32_t alignment : {1u, 2u, 4u, 16u, 64u, 128u, 12u, 3u, 0u, kUnaligned}) {
        SCOPED_TRACE(alignment);
        const bool powerOfTwo = alignment && !(alignment & (alignment - 1));
        uint8_t* buffer = static_cast<uint8_t*>(alignment == kUnaligned ? obxGetScratchBufferUnaligned_(100)
                                                                        : getAligned(100, alignment));
        ASSERT_NE(buffer, nullptr);
        const Header header = headerOf(buffer);
        EXPECT_EQ(header.tag, kScratchTagStandAlone);
        EXPECT_TRUE(alignedTo(buffer, powerOfTwo ? alignment : 1));
        EXPECT_GE(buffer - header.back, static_cast<ptrdiff_t>(kScratchHeaderSize));
        EXPECT_LE(buffer - header.back, static_cast<ptrdiff_t>(kScratchHeaderSize + (powerOfTwo ? alignment - 1 : 0)));
        memset(buffer, 0x5A, 100);
        release(buffer);  // a bad free or leak is a sanitizer failure
    }
    release(nullptr);  // ignored, as is a pointer without a tag
    uint8_t foreign[32] = {};
    release(foreign + 16);
}

// ---- With the pool ---------------------------------------------------------------

class ScratchPool : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(obxMemInit(), 0); }
    void TearDown() override { ASSERT_EQ(obxMemDeInit(), 0); }
};

TEST_F(ScratchPool, ThirtyTwoOutThenNull) {
    std::vector<void*> out;
    for (uint32_t i = 0; i < kScratchPoolSize; ++i) {
        void* buffer = getAligned(64, 16);
        ASSERT_NE(buffer, nullptr) << i;
        EXPECT_TRUE(alignedTo(buffer, 16));
        EXPECT_EQ(headerOf(buffer).tag, kScratchTagPool);
        out.push_back(buffer);
    }
    EXPECT_EQ(getAligned(64, 16), nullptr);
    EXPECT_EQ(obxGetScratchBufferUnaligned_(1), nullptr);

    void* freed = out[5];
    release(freed);
    void* again = getAligned(32, 16);  // smaller: the freed entry's block is reused
    EXPECT_EQ(again, freed);
    out[5] = again;
    for (void* buffer : out) release(buffer);
}

TEST_F(ScratchPool, EntryGrowsButNeverShrinks) {
    void* small = getAligned(100, 16);
    ASSERT_NE(small, nullptr);
    release(small);
    EXPECT_EQ(obxScratchPoolEntryCapacity(0), 100u);

    for (uint32_t size : {100u, 50u}) {  // the same size or smaller: the same buffer
        void* again = getAligned(size, 16);
        EXPECT_EQ(again, small);
        EXPECT_EQ(obxScratchPoolEntryCapacity(0), 100u);
        release(again);
    }

    void* oneMore = getAligned(101, 16);
    EXPECT_EQ(obxScratchPoolEntryCapacity(0), 101u) << "one byte more than the capacity grows it";
    release(oneMore);

    uint8_t* larger = static_cast<uint8_t*>(getAligned(5000, 16));
    ASSERT_NE(larger, nullptr);
    EXPECT_EQ(obxScratchPoolEntryCapacity(0), 5000u);
    memset(larger, 1, 5000);
    release(larger);
}

TEST_F(ScratchPool, StricterAlignmentReplacesTheBlock) {
    // Alignment 1 places the buffer right after the header, which on every
    // host leaves it off a 128-byte boundary.
    uint8_t* loose = static_cast<uint8_t*>(getAligned(256, 1));
    ASSERT_NE(loose, nullptr);
    const bool wasAligned = alignedTo(loose, 128);
    release(loose);
    uint8_t* strict = static_cast<uint8_t*>(getAligned(64, 128));
    EXPECT_TRUE(alignedTo(strict, 128));
    if (!wasAligned) {
        EXPECT_NE(strict, loose);
        EXPECT_EQ(obxScratchPoolEntryCapacity(0), 64u) << "a fresh block records the new size";
    }
    release(strict);
}

TEST_F(ScratchPool, UnalignedRequestReusesWhateverFits) {
    void* aligned = getAligned(200, 64);
    release(aligned);
    void* plain = obxGetScratchBufferUnaligned_(150);
    EXPECT_EQ(plain, aligned);
    release(plain);
}

// A second init keeps the pool; de-init runs once, and init after it
// starts with empty entries.
TEST_F(ScratchPool, InitAndDeInitRunOnceEach) {
    release(getAligned(300, 16));
    EXPECT_EQ(obxMemInit(), 0);
    EXPECT_EQ(obxScratchPoolEntryCapacity(0), 300u);
    ASSERT_EQ(obxMemDeInit(), 0);
    EXPECT_EQ(obxMemDeInit(), 0);
    ASSERT_EQ(obxMemInit(), 0);
    EXPECT_EQ(obxScratchPoolEntryCapacity(0), 0u);
    void* buffer = getAligned(10, 16);
    EXPECT_EQ(headerOf(buffer).tag, kScratchTagPool);
    release(buffer);
}

TEST_F(ScratchPool, StandAloneBufferOutlivesThePool) {
    ASSERT_EQ(obxMemDeInit(), 0);
    void* standAlone = getAligned(64, 16);
    ASSERT_EQ(obxMemInit(), 0);
    EXPECT_EQ(headerOf(standAlone).tag, kScratchTagStandAlone);
    release(standAlone);  // freed although the pool is ready now
}

TEST_F(ScratchPool, ConcurrentThreadsNeverShareABuffer) {
    constexpr int kThreads = 4, kHeld = 8, kRounds = 300;  // 4 x 8 = the whole pool
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &failures] {
            for (int round = 0; round < kRounds; ++round) {
                uint8_t* held[kHeld];
                for (int i = 0; i < kHeld; ++i) {
                    held[i] = static_cast<uint8_t*>(getAligned(64 + 16 * i, 16));
                    if (!held[i] || !alignedTo(held[i], 16)) {
                        ++failures;
                        return;
                    }
                    memset(held[i], t * kHeld + i, 64);
                }
                for (int i = 0; i < kHeld; ++i) {
                    for (int b = 0; b < 64; ++b)
                        if (held[i][b] != t * kHeld + i) ++failures;
                    release(held[i]);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
}

// ---- The aligned allocator -------------------------------------------------------

TEST(MemAlloc, AlignmentAndStoredDistance) {
    for (uint32_t alignment : {1u, 4u, 16u, 32u, 128u}) {
        for (uint32_t size : {0u, 1u, 17u, 4096u}) {
            uint8_t* p = static_cast<uint8_t*>(obxMemAlloc(size, alignment));
            ASSERT_NE(p, nullptr);
            EXPECT_TRUE(alignedTo(p, alignment));
            EXPECT_GE(p[-1], 2u);
            EXPECT_LE(p[-1], alignment + 1);
            memset(p, 0xEE, size);
            obxMemFree(p);
        }
    }
}

TEST(MemAlloc, OutOfContractAlignments) {
    EXPECT_EQ(obxMemAlloc(16, 256), nullptr);
    void* p = obxMemAlloc(16, 12);  // not a power of two: as alignment 1
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(static_cast<uint8_t*>(p)[-1], 2u);
    obxMemFree(p);
    obxMemFree(nullptr);
}

}  // namespace
